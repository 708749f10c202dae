// When to acknowledge what a camera sends. By default the kernel sends an
// ACK with nearly every read of a stream that arrives packet by packet, and
// that ACK costs the reader more than the read. While a frame is still
// arriving nothing needs those ACKs, unless the camera waits for them before
// it writes again (Nagle's algorithm): then holding one back would hold the
// frame up until the kernel's delayed-ACK timer (tens of milliseconds).
//
// So a connection keeps the kernel's default until its camera has shown, on
// trial, that it sends on while an ACK is held: the ACK of one packet in the
// middle of a frame is held for at most kTrialMs and the next packet must
// arrive within that time, kProofs times in a row. A failed trial sends the
// ACK at once and is tried again only after a growing pause. Once proven,
// ACKs are held while frames arrive: the kernel sends its delayed ACK (at
// least every second full segment, and between frames).
#ifndef KOVO_STREAM_ACKPACING_H
#define KOVO_STREAM_ACKPACING_H

#include <cstdint>

namespace kovo {

class AckPacing {
public:
    static constexpr int kTrialMs = 3;
    static constexpr int kProofs = 3;
    static constexpr int kFirstPauseMs = 1000;     // after a failed trial, doubling
    static constexpr int kLongestPauseMs = 64000;
    // A proven camera that pauses this long in the middle of a frame is put
    // on trial again (the kernel's delayed ACK comes after 40 ms at most).
    static constexpr int kPeerWaitedMs = 30;
    // The kernel leaves delayed-ACK mode by itself after a quiet spell.
    static constexpr int kRenewAfterMs = 10;

    enum Acks { Unchanged, Delay, SendNow };

    // After a read at nowMs. moreOfAFrame: the bytes end where a packet ends
    // and the frame it belongs to is not complete.
    Acks afterRead(int64_t nowMs, bool moreOfAFrame);
    // How long a held ACK may still wait for the next read (-1: none held on
    // trial); at 0, expire() says what to do.
    int trialLeftMs(int64_t nowMs) const;
    Acks expire(int64_t nowMs);
    bool proven() const { return m_peer == Peer::Proven; }

private:
    enum class Peer { Unknown, Arming, OnTrial, Proven };

    void failTrial(int64_t nowMs);
    Acks want(bool delay, bool renew);

    Peer m_peer = Peer::Unknown;
    int m_proofs = 0;
    int64_t m_trialEndsAt = 0;
    int64_t m_nextTrialAt = 0;
    int m_pauseMs = kFirstPauseMs;
    bool m_delaying = false;
    bool m_frameWasOpen = false;
    int64_t m_lastReadAt = 0;
};

// Applies a decision of AckPacing to a TCP connection.
void ApplyAcks(int fd, AckPacing::Acks acks);

}  // namespace kovo

#endif
