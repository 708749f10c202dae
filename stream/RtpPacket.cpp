#include "stream/RtpPacket.h"

namespace kovo {

namespace {

uint16_t be16(const uint8_t* p) { return uint16_t((p[0] << 8) | p[1]); }
uint32_t be32(const uint8_t* p) {
    return (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | p[3];
}

}  // namespace

bool ParseRtpPacket(const uint8_t* data, uint32_t size, RtpRules rules, RtpPacket& out) {
    out = RtpPacket{};
    out.data = data;
    out.size = size;
    if (size < kRtpFixedHeader) return false;
    out.marker = (data[1] & 0x80) != 0;
    out.payloadType = data[1] & 0x7F;
    out.sequence = be16(data + 2);
    out.timestamp = be32(data + 4);
    out.ssrc = be32(data + 8);
    uint32_t begin = kRtpFixedHeader;
    uint32_t end = size;
    if (rules == RtpRules::Standard) {
        if ((data[0] >> 6) != 2) return false;
        begin += 4u * (data[0] & 0x0F);
        if (data[0] & 0x10) {
            if (begin + 4 > size) return false;
            begin += 4 + 4u * be16(data + begin + 2);
        }
        if (begin > size) return false;
        if (data[0] & 0x20) {
            const uint8_t padding = data[size - 1];
            if (padding == 0 || padding > size - begin) return false;
            end -= padding;
        }
    }
    out.payload = data + begin;
    out.payloadSize = end - begin;
    return true;
}

bool ReadSenderReport(const uint8_t* data, uint32_t size, SenderReport& out) {
    constexpr uint8_t kSenderReport = 200;
    uint32_t at = 0;
    while (at + 4 <= size && (data[at] >> 6) == 2) {
        const uint32_t length = 4u * (be16(data + at + 2) + 1u);
        if (at + length > size) return false;
        if (data[at + 1] == kSenderReport && length >= 28) {
            out.ssrc = be32(data + at + 4);
            out.ntp = (uint64_t(be32(data + at + 8)) << 32) | be32(data + at + 12);
            out.rtpTimestamp = be32(data + at + 16);
            return true;
        }
        at += length;
    }
    return false;
}

}  // namespace kovo
