// RTP packetisation of the coded media: H.264 as single NAL units and FU-A,
// JPEG with in-band quantisation tables, AAC with one AU-header.
#ifndef KOVO_CAMSIM_RTPPACKETIZER_H
#define KOVO_CAMSIM_RTPPACKETIZER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace camsim {

// Largest RTP payload, so that a packet fits a typical Ethernet frame.
const size_t kMaxRtpPayload = 1400;

// Gets one finished RTP packet; false stops the packetiser (peer gone).
using RtpEmit = std::function<bool(const uint8_t* packet, size_t size)>;

// The RTP header state of one stream: payload type, SSRC, sequence number.
class RtpStream {
public:
    RtpStream(uint8_t payloadType, uint32_t ssrc, uint16_t firstSequence);

    // Emits header + part1 + part2 as one packet.
    bool emit(const RtpEmit& out, uint32_t timestamp, bool marker, const uint8_t* part1, size_t size1,
              const uint8_t* part2 = nullptr, size_t size2 = 0);

private:
    uint8_t payloadType_;
    uint32_t ssrc_;
    uint16_t sequence_;
    std::vector<uint8_t> packet_;
};

// One Annex B access unit. SEI and access unit delimiters are left out;
// the marker is set on the last packet of the picture.
bool packetizeH264(RtpStream& stream, const uint8_t* accessUnit, size_t size, uint32_t timestamp,
                   const RtpEmit& out);

// One baseline 4:2:0 JFIF image. Returns true without sending anything for
// an image it cannot take apart.
bool packetizeJpeg(RtpStream& stream, const uint8_t* image, size_t size, uint32_t timestamp, const RtpEmit& out);

// One raw AAC access unit, one per packet.
bool packetizeAac(RtpStream& stream, const uint8_t* unit, size_t size, uint32_t timestamp, const RtpEmit& out);

// The pieces of a JPEG image that RTP/JPEG carries.
struct JpegParts {
    int width = 0;
    int height = 0;
    uint8_t luma[64] = {0};    // quantisation table of the first component, in stream order
    uint8_t chroma[64] = {0};  // table of the second and third components
    const uint8_t* scan = nullptr;  // entropy-coded data, up to (not including) EOI
    size_t scanSize = 0;
};

// Takes a baseline JPEG apart; false unless it is three-component 4:2:0 with
// 8-bit tables and no restart interval.
bool parseJpeg(const uint8_t* image, size_t size, JpegParts& parts);

}  // namespace camsim

#endif
