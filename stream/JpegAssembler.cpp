#include "stream/JpegAssembler.h"

namespace kovo {

JpegAssembler::JpegAssembler() = default;
JpegAssembler::~JpegAssembler() = default;

void JpegAssembler::pushPacket(const unsigned char*, size_t, FrameSink, void*) {}

}  // namespace kovo
