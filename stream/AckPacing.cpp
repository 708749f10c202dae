#include "stream/AckPacing.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <algorithm>

namespace kovo {

AckPacing::Acks AckPacing::afterRead(int64_t nowMs, bool moreOfAFrame) {
    const int64_t pause = nowMs - m_lastReadAt;
    const bool renew = pause >= kRenewAfterMs;
    const bool waitedMidFrame = m_frameWasOpen && pause >= kPeerWaitedMs;
    m_lastReadAt = nowMs;
    m_frameWasOpen = moreOfAFrame;
    switch (m_peer) {
        case Peer::Unknown:
            // The ACK of this read went out; hold the next one on trial.
            if (moreOfAFrame && nowMs >= m_nextTrialAt) {
                m_peer = Peer::Arming;
                return want(true, true);
            }
            return want(false, false);
        case Peer::Arming:
            if (!moreOfAFrame) {  // the frame ended: try again with the next
                m_peer = Peer::Unknown;
                return want(false, false);
            }
            m_peer = Peer::OnTrial;
            m_trialEndsAt = nowMs + kTrialMs;
            return want(true, renew);
        case Peer::OnTrial:
            if (nowMs > m_trialEndsAt) {  // late: the camera may have waited
                failTrial(nowMs);
                return want(false, true);
            }
            // More came while the ACK was held: the camera does not wait.
            if (++m_proofs >= kProofs) {
                m_peer = Peer::Proven;
                m_pauseMs = kFirstPauseMs;
                return want(moreOfAFrame, renew);
            }
            if (!moreOfAFrame) {  // the frame ended: go on with the next
                m_peer = Peer::Unknown;
                return want(false, false);
            }
            m_trialEndsAt = nowMs + kTrialMs;
            return want(true, renew);
        case Peer::Proven:
            if (waitedMidFrame) {
                failTrial(nowMs);
                return want(false, true);
            }
            break;
    }
    // Proven: held while frames arrive; the kernel's own delayed ACK goes
    // out between them, and ends the held mode, hence the renewal.
    return moreOfAFrame ? want(true, renew) : Unchanged;
}

int AckPacing::trialLeftMs(int64_t nowMs) const {
    if (m_peer != Peer::OnTrial) return -1;
    return int(std::max<int64_t>(m_trialEndsAt - nowMs, 0));
}

AckPacing::Acks AckPacing::expire(int64_t nowMs) {
    if (trialLeftMs(nowMs) != 0) return Unchanged;
    failTrial(nowMs);
    return want(false, true);
}

void AckPacing::failTrial(int64_t nowMs) {
    m_peer = Peer::Unknown;
    m_proofs = 0;
    m_nextTrialAt = nowMs + m_pauseMs;
    m_pauseMs = std::min(m_pauseMs * 2, kLongestPauseMs);
}

AckPacing::Acks AckPacing::want(bool delay, bool renew) {
    if (delay == m_delaying && !renew) return Unchanged;
    m_delaying = delay;
    return delay ? Delay : SendNow;
}

void ApplyAcks(int fd, AckPacing::Acks acks) {
    if (acks == AckPacing::Unchanged) return;
    // Quick mode sends a held ACK at once; neither mode is permanent in the
    // kernel, hence renewing after a quiet spell.
    const int quick = acks == AckPacing::SendNow;
    setsockopt(fd, IPPROTO_TCP, TCP_QUICKACK, &quick, sizeof quick);
}

}  // namespace kovo
