#include "stream/StreamTrack.h"

#include <sys/time.h>

#include <algorithm>
#include <chrono>

namespace kovo {

namespace {

constexpr long long kNtpToUnixSeconds = 2208988800LL;

}  // namespace

long long WallClockMicros() {
    timeval tv;
    gettimeofday(&tv, nullptr);
    return (long long)tv.tv_sec * 1000000 + tv.tv_usec;
}

long long SteadyMillis() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

uint32_t SequenceWatch::check(const RtpPacket& packet, bool* newSource) {
    *newSource = m_started && packet.ssrc != m_ssrc;
    if (!m_started || *newSource) {
        m_started = true;
        m_ssrc = packet.ssrc;
        m_expected = uint16_t(packet.sequence + 1);
        return 0;
    }
    const uint16_t gap = uint16_t(packet.sequence - m_expected);
    if (gap >= 0x8000) return 0;  // late or repeated: not a loss
    m_expected = uint16_t(packet.sequence + 1);
    return gap;
}

long long MediaClock::presentationTime(uint32_t rtpTimestamp) {
    if (!m_started) {
        m_started = true;
        m_last = rtpTimestamp;
    }
    m_unrolled += int32_t(rtpTimestamp - m_last);
    m_last = rtpTimestamp;
    return m_unrolled * 1000000 / m_rate;
}

void MediaClock::onSenderReport(const SenderReport& report) {
    const long long seconds = (long long)(report.ntp >> 32) - kNtpToUnixSeconds;
    const long long fraction = (long long)(((report.ntp & 0xFFFFFFFFu) * 1000000) >> 32);
    m_reported = true;
    m_reportTimestamp = report.rtpTimestamp;
    m_reportMicros = seconds * 1000000 + fraction;
}

long long MediaClock::wallClock(uint32_t rtpTimestamp) const {
    if (!m_reported) return 0;
    return m_reportMicros + (long long)int32_t(rtpTimestamp - m_reportTimestamp) * 1000000 / m_rate;
}

StreamStatistics::Slot& StreamStatistics::slotNow(long long nowMs) {
    const long long index = nowMs / 100;
    Slot& slot = m_slots[index % kSlots];
    if (slot.index != index) slot = Slot{index, 0, 0};
    return slot;
}

void StreamStatistics::onPacket(uint32_t bytes, uint32_t lost) {
    const long long now = SteadyMillis();
    std::lock_guard<std::mutex> guard(m_lock);
    if (m_firstMs < 0) m_firstMs = now;
    m_totals.ullBytes += bytes;
    m_totals.ullPackets += 1;
    m_totals.ullLostPackets += lost;
    slotNow(now).bytes += bytes;
}

void StreamStatistics::onFrame(bool key) {
    const long long now = SteadyMillis();
    std::lock_guard<std::mutex> guard(m_lock);
    if (m_firstMs < 0) m_firstMs = now;
    m_totals.ullFrames += 1;
    m_totals.ullKeyFrames += key ? 1 : 0;
    m_lastFrameMs = now;
    slotNow(now).frames += 1;
}

void StreamStatistics::onFrameDropped() {
    std::lock_guard<std::mutex> guard(m_lock);
    m_totals.ullDroppedFrames += 1;
}

bool StreamStatistics::delivered() const {
    std::lock_guard<std::mutex> guard(m_lock);
    return m_lastFrameMs >= 0;
}

void StreamStatistics::read(KOVO_STREAM_STATS& out) const {
    const long long now = SteadyMillis();
    std::lock_guard<std::mutex> guard(m_lock);
    out = m_totals;
    uint64_t frames = 0;
    uint64_t bytes = 0;
    for (const Slot& slot : m_slots) {
        if (slot.index <= now / 100 - kSlots) continue;
        frames += slot.frames;
        bytes += slot.bytes;
    }
    // A stream younger than the window is measured over its own age.
    const long long spanMs = m_firstMs < 0 ? 0 : std::min(2000LL, std::max(100LL, now - m_firstMs));
    out.dFrameRate = spanMs ? double(frames) * 1000.0 / double(spanMs) : 0.0;
    out.dBitRate = spanMs ? double(bytes) * 8000.0 / double(spanMs) : 0.0;
    out.llLastFrameAgeMs = m_lastFrameMs < 0 ? -1 : now - m_lastFrameMs;
}

}  // namespace kovo
