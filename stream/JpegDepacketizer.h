// Rebuilds JPEG files from RTP/JPEG packets.
//
// Native rules: the JpegAssembler worked off a receive buffer (headers
// read from a frame's first packet only, fragment offsets not checked, the
// first finished frame of the process dropped).
// Standard rules: types 0, 1, 64 and 65; every packet's restart marker
// header is skipped; in-band tables with their 16-bit length (8- or 16-bit
// entries); the fragment offset must continue the frame, else the frame is
// dropped and assembly resumes at the next frame's first packet.
#pragma once

#include <cstdint>
#include <vector>

#include "stream/Depacketizer.h"
#include "stream/JpegAssembler.h"
#include "stream/PacketBacklog.h"

namespace kovo {

class JpegDepacketizer final : public Depacketizer {
public:
    // Largest frame the standard rules assemble.
    static constexpr size_t kMaxStandardFrame = 8u << 20;

    JpegDepacketizer(ReceiveRules rules, FrameSink* sink);


private:
    void pushNative(const RtpPacket& packet) override;
    void pushStandard(const RtpPacket& packet, bool lossBefore) override;
    static void deliverNative(void* self, const unsigned char* data, size_t length);
    bool startFrame(const RtpPacket& packet, uint32_t headerSize);
    void dropFrame();

    PacketBacklog m_backlog;
    JpegAssembler m_assembler;
    RtpPacket m_front;          // native rules: the packet being worked off
    bool m_nextStartsFrame = true;
    uint16_t m_frameSequence = 0;

    std::vector<uint8_t> m_image;  // standard rules: the file being built
    bool m_frameOpen = false;
    uint32_t m_nextOffset = 0;     // fragment offset the next packet must carry
    uint32_t m_frameTimestamp = 0;
    int m_width = 0;
    int m_height = 0;
    bool m_typeTraced = false;
};

}  // namespace kovo
