// One RTP packet seen in place: the header fields and the payload span,
// read once from the bytes the de-interleaver found. Nothing is copied.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kovo {

constexpr uint32_t kRtpFixedHeader = 12;

// How the header is read. Fixed: the payload always starts at byte 12
// (what our cameras send). Standard: version, CSRC list, header extension
// and padding are honoured.
enum class RtpRules { Fixed, Standard };

struct RtpPacket {
    const uint8_t* data = nullptr;  // the whole packet
    uint32_t size = 0;
    bool marker = false;
    uint8_t payloadType = 0;
    uint16_t sequence = 0;
    uint32_t timestamp = 0;
    uint32_t ssrc = 0;
    const uint8_t* payload = nullptr;
    uint32_t payloadSize = 0;
};

// Fills out from size bytes at data. False when the bytes are not a packet
// under the rules: shorter than the fixed header, or (Standard) another
// version, or a CSRC list, extension or padding that overruns the packet.
// Under Fixed rules a short packet still yields its bytes (data, size) with
// an empty payload, for the receive rules that look at it themselves.
bool ParseRtpPacket(const uint8_t* data, uint32_t size, RtpRules rules, RtpPacket& out);

}  // namespace kovo

namespace kovo {

// The first sender report of an RTCP compound packet: the sender's NTP
// time (64-bit fixed point since 1900) and the RTP timestamp it matches.
struct SenderReport {
    uint32_t ssrc = 0;
    uint64_t ntp = 0;
    uint32_t rtpTimestamp = 0;
};
bool ReadSenderReport(const uint8_t* data, uint32_t size, SenderReport& out);

}  // namespace kovo
