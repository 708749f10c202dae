#include "stream/AacAssembler.h"

namespace kovo {

void AacAssembler::pushPacket(const unsigned char*, size_t, FrameSink, void*) {}

}  // namespace kovo
