// Rebuilds complete JPEG files from an RTP/JPEG (RFC 2435) packet stream.
#pragma once

#include <cstddef>

namespace kovo {

using FrameSink = void (*)(void* user, const unsigned char* data, size_t length);

class JpegAssembler {
public:
    JpegAssembler();
    ~JpegAssembler();
    JpegAssembler(const JpegAssembler&) = delete;
    JpegAssembler& operator=(const JpegAssembler&) = delete;

    // One RTP packet of an RFC 2435 stream, 12-byte RTP header first; calls sink once per complete JPEG file.
    void pushPacket(const unsigned char* packet, size_t length, FrameSink sink, void* user);
};

}  // namespace kovo
