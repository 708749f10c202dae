// RTP/JPEG: type 1 (4:2:0), Q 255 with both quantisation tables in the first
// packet of every frame, so that the receiver's rebuilt headers match the
// encoder's tables exactly whatever quality it chose for the picture.
#include <algorithm>
#include <cstring>

#include "RtpPacketizer.h"

namespace camsim {
namespace {

const uint8_t kJpegType420 = 1;
const uint8_t kInBandTablesQ = 255;

unsigned be16(const uint8_t* p) { return (static_cast<unsigned>(p[0]) << 8) | p[1]; }

bool parseTables(const uint8_t* segment, size_t length, uint8_t tables[4][64], bool present[4]) {
    size_t pos = 0;
    while (pos < length) {
        const uint8_t precision = segment[pos] >> 4, id = segment[pos] & 0x0F;
        if (precision != 0 || id > 3 || pos + 65 > length) return false;
        std::memcpy(tables[id], segment + pos + 1, 64);
        present[id] = true;
        pos += 65;
    }
    return true;
}

// Baseline frame header: 8-bit, three components, Y 2x2 and Cb/Cr 1x1 sharing one table.
bool parseFrame(const uint8_t* s, size_t length, JpegParts& parts, int& lumaTable, int& chromaTable) {
    if (length < 15 || s[0] != 8 || s[5] != 3) return false;
    parts.height = static_cast<int>(be16(s + 1));
    parts.width = static_cast<int>(be16(s + 3));
    const uint8_t* c = s + 6;
    if (c[1] != 0x22 || c[4] != 0x11 || c[7] != 0x11 || c[5] != c[8]) return false;
    lumaTable = c[2] & 3;
    chromaTable = c[5] & 3;
    return true;
}

}  // namespace

bool parseJpeg(const uint8_t* image, size_t size, JpegParts& parts) {
    if (size < 4 || image[0] != 0xFF || image[1] != 0xD8) return false;
    uint8_t tables[4][64];
    bool present[4] = {false, false, false, false};
    int lumaTable = -1, chromaTable = -1;
    size_t pos = 2;
    while (pos + 4 <= size) {
        if (image[pos] != 0xFF) return false;
        const uint8_t marker = image[pos + 1];
        if (marker == 0xFF) {  // fill byte
            ++pos;
            continue;
        }
        if (marker == 0x01 || (marker >= 0xD0 && marker <= 0xD8)) {
            pos += 2;
            continue;
        }
        const size_t length = be16(image + pos + 2);
        if (length < 2 || pos + 2 + length > size) return false;
        const uint8_t* segment = image + pos + 4;
        const size_t segmentLength = length - 2;
        if (marker == 0xDB && !parseTables(segment, segmentLength, tables, present)) return false;
        if (marker == 0xC0 && !parseFrame(segment, segmentLength, parts, lumaTable, chromaTable)) return false;
        if (marker > 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC) return false;
        if (marker == 0xDD && segmentLength >= 2 && be16(segment) != 0) return false;
        if (marker == 0xDA) {
            if (lumaTable < 0 || !present[lumaTable] || !present[chromaTable]) return false;
            if (parts.width % 8 != 0 || parts.height % 8 != 0 || parts.width > 2040 || parts.height > 2040)
                return false;
            std::memcpy(parts.luma, tables[lumaTable], 64);
            std::memcpy(parts.chroma, tables[chromaTable], 64);
            parts.scan = image + pos + 2 + length;
            size_t end = size;
            if (end >= 2 && image[end - 2] == 0xFF && image[end - 1] == 0xD9) end -= 2;
            if (end <= pos + 2 + length) return false;
            parts.scanSize = end - (pos + 2 + length);
            return true;
        }
        pos += 2 + length;
    }
    return false;
}

bool packetizeJpeg(RtpStream& stream, const uint8_t* image, size_t size, uint32_t timestamp, const RtpEmit& out) {
    JpegParts parts;
    if (!parseJpeg(image, size, parts)) return true;
    uint8_t header[8 + 4 + 128];
    for (size_t offset = 0; offset < parts.scanSize;) {
        size_t headerSize = 8;
        header[0] = 0;  // type-specific
        header[1] = static_cast<uint8_t>(offset >> 16);
        header[2] = static_cast<uint8_t>(offset >> 8);
        header[3] = static_cast<uint8_t>(offset);
        header[4] = kJpegType420;
        header[5] = kInBandTablesQ;
        header[6] = static_cast<uint8_t>(parts.width / 8);
        header[7] = static_cast<uint8_t>(parts.height / 8);
        if (offset == 0) {
            // Quantisation table header: MBZ, precision 0 (8-bit), length 128, then both tables.
            const uint8_t tableHeader[4] = {0, 0, 0, 128};
            std::memcpy(header + 8, tableHeader, 4);
            std::memcpy(header + 12, parts.luma, 64);
            std::memcpy(header + 76, parts.chroma, 64);
            headerSize += 4 + 128;
        }
        const size_t length = std::min(kMaxRtpPayload - headerSize, parts.scanSize - offset);
        const bool last = offset + length == parts.scanSize;
        if (!stream.emit(out, timestamp, last, header, headerSize, parts.scan + offset, length)) return false;
        offset += length;
    }
    return true;
}

}  // namespace camsim
