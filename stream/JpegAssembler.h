// Rebuilds complete JPEG files from an RTP/JPEG (RFC 2435) packet stream.
//
// The caller hands over each packet of the video track (12-byte RTP header
// first) while the stream is processing data (first packet extracted, a
// connect type set, data type Motion-JPEG); the assembler writes the JPEG headers for
// the first packet of a frame, appends the scan data of each packet and, after
// the packet with the RTP marker bit, the EOI marker. The finished file goes to
// the sink, except the very first finished frame of the process, which is
// dropped once for all streams.
#pragma once

#include <cstddef>

namespace kovo {

using ByteSink = void (*)(void* user, const unsigned char* data, size_t length);

constexpr size_t kJpegFrameBufferSize = 1048576;

enum class JpegAppend { Ok, Malformed, Overflow };

// Adds one packet's RTP payload to the frame at frameBuffer (capacity bytes, frameSize
// already built). Writes the headers first when *newJpeg is set (and clears it), the EOI
// after the payload when last is set. Nothing is written when the packet is malformed
// or the frame would not fit.
JpegAppend MakeMJPEGFrame(int* newJpeg, const unsigned char* payload, size_t payloadLen,
                          unsigned char* frameBuffer, size_t capacity, size_t* frameSize,
                          bool last);

class JpegAssembler {
public:
    JpegAssembler();
    ~JpegAssembler();
    JpegAssembler(const JpegAssembler&) = delete;
    JpegAssembler& operator=(const JpegAssembler&) = delete;

    // One RTP packet of an RFC 2435 stream, 12-byte RTP header first; calls sink once per complete JPEG file.
    // A null sink builds and discards the frames. A frame that would overflow the frame buffer,
    // or carries a packet too short for its headers, is dropped whole (with a trace) and assembly
    // resumes with the frame after the next marker packet.
    void pushPacket(const unsigned char* packet, size_t length, ByteSink sink, void* user);

    // Whether the process-wide drop of the first finished frame has happened. Tests use the
    // setter to arm or disarm it; the library never resets it.
    static bool firstFrameDropped();
    static void setFirstFrameDropped(bool dropped);

private:
    void finishFrame(ByteSink sink, void* user);
    void abandonFrame(bool resumeAtNextPacket);

    unsigned char* m_pJpegFrameBuffer;
    size_t m_nJpegFrameSize = 0;
    int m_nNewJpeg = 1;
    bool m_bDiscarding = false;  // skipping the rest of a dropped frame up to its marker packet
};

}  // namespace kovo
