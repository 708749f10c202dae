#include "stream/JpegDepacketizer.h"

#include <cstring>

#include "stream/JpegHeaders.h"

namespace kovo {

namespace {

constexpr uint32_t kMainHeader = 8;
constexpr uint32_t kRestartHeader = 4;
constexpr uint32_t kQuantHeader = 4;

uint32_t be16(const uint8_t* p) { return uint32_t((p[0] << 8) | p[1]); }

}  // namespace

JpegDepacketizer::JpegDepacketizer(ReceiveRules rules, FrameSink* sink)
    : Depacketizer(rules, sink) {}

// ---- native rules -------------------------------------------------------

void JpegDepacketizer::pushNative(const RtpPacket& packet) {
    m_backlog.queue(packet);
    if (!m_sink->processing()) return;
    const uint8_t* front = nullptr;
    uint32_t length = 0;
    if (m_backlog.front(&front, &length)) {
        ParseRtpPacket(front, length, RtpRules::Fixed, m_front);
        if (m_nextStartsFrame) m_frameSequence = m_front.sequence;
        m_nextStartsFrame = m_front.marker;
        // The process drops its first finished frame once, for all streams.
        const bool firstDropPending = !JpegAssembler::firstFrameDropped();
        m_assembler.pushPacket(front, length, deliverNative, this);
        if (firstDropPending && JpegAssembler::firstFrameDropped()) m_sink->onFrameDropped(MJPEGDATA_TYPE);
    }
    // Whatever else the receive buffer holds goes with this packet.
    m_backlog.clear();
}

void JpegDepacketizer::deliverNative(void* self, const unsigned char* data, size_t length) {
    auto* unit = static_cast<JpegDepacketizer*>(self);
    MediaFrame frame = MediaFrame::of(MJPEGDATA_TYPE, I_FRAME, data, length,
                                      unit->m_front.timestamp, unit->m_frameSequence);
    if (unit->m_front.payloadSize >= kMainHeader) {
        frame.width = unit->m_front.payload[6] * 8;
        frame.height = unit->m_front.payload[7] * 8;
    }
    unit->m_sink->onFrame(frame);
}

// ---- standard rules --------------------------------------------------------

void JpegDepacketizer::pushStandard(const RtpPacket& packet, bool lossBefore) {
    if (!m_sink->processing()) return;
    if (lossBefore) dropFrame();
    const uint8_t* p = packet.payload;
    if (packet.payloadSize < kMainHeader) return dropFrame();
    const uint32_t offset = (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | p[3];
    const uint8_t type = p[4];
    if ((type & 0x3F) > 1 || (type & 0x80)) {
        if (!m_typeTraced) KovoTrace("RTP/JPEG type %d is not supported, frames dropped\n", type);
        m_typeTraced = true;
        return dropFrame();
    }
    uint32_t header = kMainHeader + ((type & 64) ? kRestartHeader : 0);
    if (packet.payloadSize < header) return dropFrame();
    if (offset == 0) {
        if (m_frameOpen) dropFrame();  // the previous frame never saw its marker
        if (!startFrame(packet, header)) return dropFrame();
        if (p[5] >= 128) header += kQuantHeader + be16(p + header + 2);
    } else if (!m_frameOpen) {
        return;  // the rest of a frame whose start was lost
    }
    if (offset != m_nextOffset || packet.timestamp != m_frameTimestamp) return dropFrame();
    const uint32_t scan = packet.payloadSize - header;
    if (m_image.size() + scan + 2 > kMaxStandardFrame) {
        KovoTrace("JPEG frame larger than %u bytes dropped\n", unsigned(kMaxStandardFrame));
        return dropFrame();
    }
    m_image.insert(m_image.end(), p + header, p + packet.payloadSize);
    m_nextOffset += scan;
    if (!packet.marker) return;
    m_image.push_back(0xFF);
    m_image.push_back(0xD9);
    MediaFrame frame = MediaFrame::of(MJPEGDATA_TYPE, I_FRAME, m_image.data(), m_image.size(),
                                      m_frameTimestamp, m_frameSequence);
    frame.width = m_width;
    frame.height = m_height;
    m_sink->onFrame(frame);
    m_frameOpen = false;
    m_image.clear();
}

// Writes the file headers from the first packet's main, restart and
// quantisation table headers; false when the packet cannot carry them.
bool JpegDepacketizer::startFrame(const RtpPacket& packet, uint32_t tablesAt) {
    const uint8_t* p = packet.payload;
    const int type = p[4];
    const int q = p[5];
    const unsigned short dri = (type & 64) ? uint16_t(be16(p + 8)) : 0;
    uint8_t luma[128];
    uint8_t chroma[128];
    QuantTable tables[2] = {{luma, 0}, {chroma, 0}};
    if (q >= 128) {
        if (packet.payloadSize < tablesAt + kQuantHeader) return false;
        const uint8_t precision = p[tablesAt + 1];
        const uint32_t length = be16(p + tablesAt + 2);
        const uint32_t lumaSize = (precision & 1) ? 128 : 64;
        const uint32_t chromaSize = (precision & 2) ? 128 : 64;
        if (length != lumaSize + chromaSize ||
            packet.payloadSize < tablesAt + kQuantHeader + length)
            return false;
        memcpy(luma, p + tablesAt + kQuantHeader, lumaSize);
        memcpy(chroma, p + tablesAt + kQuantHeader + lumaSize, chromaSize);
        tables[0].precision = precision & 1;
        tables[1].precision = (precision >> 1) & 1;
    } else {
        MakeZigzagTables(q, luma, chroma);
    }
    unsigned char headers[kJpegHeaderScratch];
    const int size = MakeStandardHeaders(headers, type, p[6], p[7], tables[0], tables[1], dri);
    m_image.assign(headers, headers + size);
    m_frameOpen = true;
    m_nextOffset = 0;
    m_frameTimestamp = packet.timestamp;
    m_frameSequence = packet.sequence;
    m_width = p[6] * 8;
    m_height = p[7] * 8;
    return true;
}

void JpegDepacketizer::dropFrame() {
    if (m_frameOpen) m_sink->onFrameDropped(MJPEGDATA_TYPE);
    m_frameOpen = false;
    m_image.clear();
}

}  // namespace kovo
