// What the controller keeps per medium beside its depacketiser: loss
// detection over sequence numbers, the media clock (RTP time unrolled into
// microseconds, wall clock from sender reports), and the counters of the
// whole stream.
#pragma once

#include <cstdint>
#include <mutex>

#include "sdk/KovoSDK.h"
#include "stream/RtpPacket.h"

namespace kovo {

class SequenceWatch {
public:
    // Packets missing just before this one; *newSource when the SSRC changed
    // (which also counts as a break, not as lost packets).
    uint32_t check(const RtpPacket& packet, bool* newSource);

private:
    bool m_started = false;
    uint16_t m_expected = 0;
    uint32_t m_ssrc = 0;
};

class MediaClock {
public:
    void setRate(uint32_t rate) { m_rate = rate ? rate : 90000; }
    uint32_t rate() const { return m_rate; }
    // Microseconds since the first timestamp given, wrap-arounds unrolled.
    long long presentationTime(uint32_t rtpTimestamp);
    void onSenderReport(const SenderReport& report);
    // Microseconds since 1970 on the sender's clock; 0 before any report.
    long long wallClock(uint32_t rtpTimestamp) const;

private:
    uint32_t m_rate = 90000;
    bool m_started = false;
    uint32_t m_last = 0;
    long long m_unrolled = 0;  // ticks since the first timestamp
    bool m_reported = false;
    uint32_t m_reportTimestamp = 0;
    long long m_reportMicros = 0;
};

// Counters of one stream, written on the assemble thread and read by
// Kovo_GetStreamStatistics on any thread.
class StreamStatistics {
public:
    void onPacket(uint32_t bytes, uint32_t lost);
    void onFrame(bool key);
    void onFrameDropped();
    void read(KOVO_STREAM_STATS& out) const;
    // Whether any frame has been delivered yet.
    bool delivered() const;

private:
    static constexpr int kSlots = 20;  // 100 ms each: the last 2 s
    struct Slot {
        long long index = -1;
        uint32_t frames = 0;
        uint64_t bytes = 0;
    };
    Slot& slotNow(long long nowMs);

    mutable std::mutex m_lock;
    KOVO_STREAM_STATS m_totals{};
    Slot m_slots[kSlots];
    long long m_firstMs = -1;
    long long m_lastFrameMs = -1;
};

long long WallClockMicros();
long long SteadyMillis();

}  // namespace kovo
