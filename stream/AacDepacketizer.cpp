#include "stream/AacDepacketizer.h"

#include <cstdlib>
#include <cstring>

#include "stream/StreamSdp.h"

namespace kovo {

namespace {

const uint32_t kFrequencies[13] = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                   22050, 16000, 12000, 11025, 8000,  7350};

int frequencyIndexOf(uint32_t rate, int fallback) {
    for (int i = 0; i < 13; ++i)
        if (kFrequencies[i] == rate) return i;
    return fallback;
}

// Most significant bit first, over a span of bits.
class Bits {
public:
    Bits(const uint8_t* data, uint32_t bitCount) : m_data(data), m_count(bitCount) {}
    uint32_t left() const { return m_count - m_at; }
    uint32_t read(int n) {
        uint32_t value = 0;
        for (; n > 0 && m_at < m_count; --n, ++m_at)
            value = (value << 1) | ((m_data[m_at / 8] >> (7 - m_at % 8)) & 1);
        return value;
    }

private:
    const uint8_t* m_data;
    uint32_t m_count;
    uint32_t m_at = 0;
};

int fmtpInt(const std::string& fmtp, const char* name, int fallback) {
    const std::string value = FmtpParameter(fmtp, name);
    return value.empty() ? fallback : atoi(value.c_str());
}

}  // namespace

AacFormat AacFormat::fromSdp(const std::string& fmtp, uint32_t clockRate, int channels) {
    AacFormat f;
    if (clockRate) f.frequencyIndex = frequencyIndexOf(clockRate, f.frequencyIndex);
    if (channels > 0) f.channels = channels;
    const std::string config = FmtpParameter(fmtp, "config");
    uint8_t bytes[5] = {};
    size_t n = 0;
    for (; n < sizeof bytes && 2 * n + 1 < config.size(); ++n)
        bytes[n] = uint8_t(strtoul(config.substr(2 * n, 2).c_str(), nullptr, 16));
    if (n >= 2) {
        Bits bits(bytes, uint32_t(n * 8));
        f.objectType = int(bits.read(5));
        int index = int(bits.read(4));
        if (index == 15) index = frequencyIndexOf(bits.read(24), f.frequencyIndex);
        f.frequencyIndex = index;
        f.channels = int(bits.read(4));
    }
    f.sizeLength = fmtpInt(fmtp, "sizelength", f.sizeLength);
    f.indexLength = fmtpInt(fmtp, "indexlength", f.indexLength);
    f.indexDeltaLength = fmtpInt(fmtp, "indexdeltalength", f.indexDeltaLength);
    f.frameSamples = uint32_t(fmtpInt(fmtp, "constantduration", int(f.frameSamples)));
    if (f.sizeLength < 1 || f.sizeLength > 16 || f.indexLength < 0 || f.indexLength > 8 ||
        f.indexDeltaLength < 0 || f.indexDeltaLength > 8)
        f = AacFormat{};
    return f;
}

AacDepacketizer::AacDepacketizer(ReceiveRules rules, FrameSink* sink, AacFormat format)
    : Depacketizer(rules, sink), m_format(format) {}

// ---- native rules -------------------------------------------------------

void AacDepacketizer::pushNative(const RtpPacket& packet) {
    m_backlog.queue(packet);
    if (m_sink->processing()) takeFront();
}

int AacDepacketizer::takeFront() {
    const uint8_t* front = nullptr;
    uint32_t length = 0;
    if (!m_backlog.front(&front, &length)) {
        m_backlog.clear();
        return 0;
    }
    ParseRtpPacket(front, length, RtpRules::Fixed, m_front);
    m_delivered = false;
    m_assembler.pushPacket(front, length, deliverNative, this);
    // Further access units of the packet stay at the front of the buffer.
    m_backlog.drain(4 + m_assembler.consumedBytes());
    return m_delivered ? 1 : 0;
}

void AacDepacketizer::deliverNative(void* self, const unsigned char* data, size_t length) {
    auto* unit = static_cast<AacDepacketizer*>(self);
    unit->m_delivered = true;
    unit->m_sink->onFrame(MediaFrame::of(AACDATA_TYPE, I_FRAME, data, length,
                                         unit->m_front.timestamp, unit->m_front.sequence));
}

// ---- standard rules --------------------------------------------------------

void AacDepacketizer::pushStandard(const RtpPacket& packet, bool lossBefore) {
    if (!m_sink->processing()) return;
    if (lossBefore && m_fragmentSize) {
        m_fragmentSize = 0;
        m_sink->onFrameDropped(AACDATA_TYPE);
    }
    if (packet.payloadSize < 2) return m_sink->onFrameDropped(AACDATA_TYPE);
    const uint32_t headerBits = uint32_t((packet.payload[0] << 8) | packet.payload[1]);
    const uint32_t headerBytes = (headerBits + 7) / 8;
    if (2 + headerBytes > packet.payloadSize) return m_sink->onFrameDropped(AACDATA_TYPE);
    const uint8_t* data = packet.payload + 2 + headerBytes;
    const uint8_t* end = packet.payload + packet.payloadSize;
    if (m_fragmentSize) return gatherFragment(packet, data, uint32_t(end - data));
    Bits headers(packet.payload + 2, headerBits);
    const uint32_t headerSize = uint32_t(m_format.sizeLength + m_format.indexLength);
    uint32_t timestamp = packet.timestamp;
    for (bool first = true; headers.left() >= (first ? headerSize : uint32_t(m_format.sizeLength + m_format.indexDeltaLength)); first = false) {
        const uint32_t size = headers.read(m_format.sizeLength);
        headers.read(first ? m_format.indexLength : m_format.indexDeltaLength);
        if (size > kMaxUnit) return m_sink->onFrameDropped(AACDATA_TYPE);
        if (size > uint32_t(end - data)) {
            // One unit spread over several packets: this is its first part.
            if (!first || packet.marker) return m_sink->onFrameDropped(AACDATA_TYPE);
            m_fragmentSize = size;
            m_fragmentHeld = 0;
            m_fragmentTimestamp = timestamp;
            m_fragmentSequence = packet.sequence;
            return gatherFragment(packet, data, uint32_t(end - data));
        }
        deliver(data, size, timestamp, packet.sequence);
        data += size;
        timestamp += m_format.frameSamples;
    }
}

// Adds the next part of a unit spread over packets; delivers it once whole.
void AacDepacketizer::gatherFragment(const RtpPacket& packet, const uint8_t* data, uint32_t size) {
    if (packet.timestamp != m_fragmentTimestamp || size > m_fragmentSize - m_fragmentHeld) {
        m_fragmentSize = 0;
        return m_sink->onFrameDropped(AACDATA_TYPE);
    }
    memcpy(m_frame + kAdtsHeaderSize + m_fragmentHeld, data, size);
    m_fragmentHeld += size;
    if (m_fragmentHeld < m_fragmentSize) return;
    const uint32_t whole = m_fragmentSize;
    m_fragmentSize = 0;
    deliver(m_frame + kAdtsHeaderSize, whole, m_fragmentTimestamp, m_fragmentSequence);
}

void AacDepacketizer::deliver(const uint8_t* unit, uint32_t size, uint32_t timestamp,
                              uint16_t sequence) {
    if (unit != m_frame + kAdtsHeaderSize) memcpy(m_frame + kAdtsHeaderSize, unit, size);
    WriteAdtsHeader(m_frame, size, m_format.objectType, m_format.frequencyIndex, m_format.channels);
    m_sink->onFrame(
        MediaFrame::of(AACDATA_TYPE, I_FRAME, m_frame, kAdtsHeaderSize + size, timestamp, sequence));
}

}  // namespace kovo
