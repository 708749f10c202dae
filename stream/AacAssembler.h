// Re-wraps AAC access units of an RTP (RFC 3640) stream as ADTS frames.
#pragma once

#include <cstddef>

#include "stream/JpegAssembler.h"

namespace kovo {

class AacAssembler {
public:
    // One RTP packet of an AAC (RFC 3640) stream, RTP header first; calls sink once per ADTS frame.
    void pushPacket(const unsigned char* packet, size_t length, FrameSink sink, void* user);
};

}  // namespace kovo
