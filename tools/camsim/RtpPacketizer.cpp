#include "RtpPacketizer.h"

#include <algorithm>

namespace camsim {
namespace {

const uint8_t kNalFuA = 28;
const uint8_t kNalSei = 6;
const uint8_t kNalDelimiter = 9;

// Finds the next start code (00 00 01) at or after `from`; returns its index or `size`.
size_t findStartCode(const uint8_t* data, size_t size, size_t from) {
    for (size_t i = from; i + 2 < size; ++i)
        if (data[i] == 0 && data[i + 1] == 0 && data[i + 2] == 1) return i;
    return size;
}

struct Nal {
    const uint8_t* data;
    size_t size;
};

std::vector<Nal> splitAnnexB(const uint8_t* au, size_t size) {
    std::vector<Nal> units;
    size_t start = findStartCode(au, size, 0);
    while (start < size) {
        size_t begin = start + 3;
        size_t next = findStartCode(au, size, begin);
        size_t end = next;
        // Zero bytes before the next start code belong to it (00 00 00 01).
        while (end > begin && next < size && au[end - 1] == 0) --end;
        if (end > begin) units.push_back(Nal{au + begin, end - begin});
        start = next;
    }
    return units;
}

}  // namespace

RtpStream::RtpStream(uint8_t payloadType, uint32_t ssrc, uint16_t firstSequence)
    : payloadType_(payloadType), ssrc_(ssrc), sequence_(firstSequence) {}

bool RtpStream::emit(const RtpEmit& out, uint32_t timestamp, bool marker, const uint8_t* part1, size_t size1,
                     const uint8_t* part2, size_t size2) {
    packet_.resize(12);
    packet_[0] = 0x80;  // version 2, no padding, no extension, no CSRC
    packet_[1] = static_cast<uint8_t>((marker ? 0x80 : 0) | (payloadType_ & 0x7F));
    packet_[2] = static_cast<uint8_t>(sequence_ >> 8);
    packet_[3] = static_cast<uint8_t>(sequence_);
    for (int i = 0; i < 4; ++i) {
        packet_[4 + i] = static_cast<uint8_t>(timestamp >> (24 - 8 * i));
        packet_[8 + i] = static_cast<uint8_t>(ssrc_ >> (24 - 8 * i));
    }
    ++sequence_;
    packet_.insert(packet_.end(), part1, part1 + size1);
    if (part2 != nullptr) packet_.insert(packet_.end(), part2, part2 + size2);
    return out(packet_.data(), packet_.size());
}

bool packetizeH264(RtpStream& stream, const uint8_t* accessUnit, size_t size, uint32_t timestamp,
                   const RtpEmit& out) {
    std::vector<Nal> units = splitAnnexB(accessUnit, size);
    units.erase(std::remove_if(units.begin(), units.end(),
                               [](const Nal& n) {
                                   uint8_t type = n.data[0] & 0x1F;
                                   return type == kNalSei || type == kNalDelimiter;
                               }),
                units.end());
    for (size_t u = 0; u < units.size(); ++u) {
        const Nal& nal = units[u];
        const bool lastUnit = u + 1 == units.size();
        if (nal.size <= kMaxRtpPayload) {
            if (!stream.emit(out, timestamp, lastUnit, nal.data, nal.size)) return false;
            continue;
        }
        // FU-A: the NAL header is split into the indicator (F, NRI) and the FU header (S, E, type).
        const uint8_t indicator = static_cast<uint8_t>((nal.data[0] & 0xE0) | kNalFuA);
        const uint8_t type = nal.data[0] & 0x1F;
        const size_t chunk = kMaxRtpPayload - 2;
        for (size_t offset = 1; offset < nal.size; offset += chunk) {
            const size_t length = std::min(chunk, nal.size - offset);
            const bool first = offset == 1;
            const bool last = offset + length == nal.size;
            const uint8_t header[2] = {indicator,
                                       static_cast<uint8_t>((first ? 0x80 : 0) | (last ? 0x40 : 0) | type)};
            if (!stream.emit(out, timestamp, last && lastUnit, header, 2, nal.data + offset, length)) return false;
        }
    }
    return true;
}

bool packetizeAac(RtpStream& stream, const uint8_t* unit, size_t size, uint32_t timestamp, const RtpEmit& out) {
    if (size == 0 || size > 0x1FFF) return true;  // the 13-bit AU-size cannot describe it
    // AU-headers-length in bits (16), then AU-size (13 bits) and AU-index 0 (3 bits).
    const uint8_t headers[4] = {0x00, 0x10, static_cast<uint8_t>(size >> 5), static_cast<uint8_t>((size & 0x1F) << 3)};
    return stream.emit(out, timestamp, true, headers, 4, unit, size);
}

}  // namespace camsim
