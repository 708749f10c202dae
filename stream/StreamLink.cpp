// A stream's link: the shared receive loop reads its connection into the
// batch and the network queue (ReceiveSource); the stream's own assemble
// thread reports what happened to the link, watches for stalls and sends
// keep-alives, so every event reaches the application on that thread.
#include <sys/socket.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <string>

#include "rtsp/rtsp.h"
#include "sdk/Device.h"
#include "sdk/LinkOptions.h"
#include "sdk/Reconnect.h"
#include "sdk/Trace.h"
#include "stream/AckPacing.h"
#include "stream/ReceiveLoop.h"
#include "stream/StreamEvents.h"
#include "stream/VideoControl.h"

namespace {

// A read that starts with a reply to one of our requests carries no media.
bool startsWithReply(const char* data, ssize_t length) {
    return length >= 8 && memcmp(data, "RTSP/1.0", 8) == 0;
}

}  // namespace

// Before the start, or on the assemble thread when the device's options
// changed since they were last taken.
void CVideoControl::followLinkOptions(bool running) {
    auto* device = static_cast<CDevice*>(m_pDevice);
    if (!device) return;
    const unsigned changes = device->linkChanges.load();
    if (running && changes == m_linkChangesSeen) return;
    m_linkChangesSeen = changes;
    const KOVO_LINK_OPTIONS options = kovo::linkOptionsOf(device);
    const int keepAliveMs = kovo::KeepAliveIntervalMs(options.nKeepAliveSec, device->stream.session);
    const int64_t now = kovo::MonotonicMs();
    if (running)
        m_health.retune(options.nStallTimeoutMs, keepAliveMs, options.nReplyTimeoutMs, now);
    else
        m_health.configure(options.nStallTimeoutMs, keepAliveMs, options.nReplyTimeoutMs, now);
    m_reconnect = options.nReconnect != 0;
    m_queueLimit = uint64_t(options.nQueueLimitKB > 0 ? options.nQueueLimitKB : 65536) * 1024;
}

void CVideoControl::emitEvent(KOVO_EVENT_E event, long detail) {
    EmitDeviceEvent(static_cast<CDevice*>(m_pDevice), m_lStreamID, event, detail);
}

void CVideoControl::noteFrameDelivered() {
    if (m_frameDelivered) return;
    m_frameDelivered = true;
    emitEvent(KOVO_EVENT_STREAM_STARTED, 0);
}

// ---- on the receive loop's thread ------------------------------------------

void CVideoControl::startReceiving() {
    m_nRunRecvThread = 1;
    if (m_nSocket < 0) kovo::traceputs("pDev==NULL");
    if (m_nSocket < 0 || !kovo::WatchSource(m_nSocket, this)) m_nRunRecvThread = 0;
}

void CVideoControl::stopReceiving() {
    if (m_nRunRecvThread.exchange(0)) kovo::ForgetSource(this);
}

// Reads all the connection holds now into the batch. False when the
// connection ended (what was read before is handed over first).
bool CVideoControl::readReady(int64_t now) {
    if (!readWaiting(now)) return false;
    kovo::ApplyAcks(m_nSocket, m_ackPacing.afterRead(now, m_batch.moreOfAFrame()));
    return true;
}

bool CVideoControl::readWaiting(int64_t now) {
    for (;;) {
        uint32_t room = 0;
        char* into = m_batch.room(&room);
        if (!into) {
            if (m_batch.empty()) return true;  // out of memory: try again later
            handOverBatch();  // make room rather than stop reading
            continue;
        }
        const ssize_t n = recv(m_nSocket, into, room, MSG_DONTWAIT);
        if (n < 0 && (errno == EINTR || errno == EAGAIN || errno == EWOULDBLOCK)) return true;
        if (n <= 0) {
            m_linkEndedError = n < 0 ? errno : 0;
            m_linkEndedRead = int(n);
            handOverBatch();
            m_linkEnded = true;
            m_DataList->WakeNetworkWaiters();
            return false;
        }
        if (!startsWithReply(into, n)) m_health.onMedia(now);
        m_batch.added(uint32_t(n), now);
        // A short read took all there was: no need to ask again.
        if (uint32_t(n) < room || m_batch.size() >= kovo::ReceiveBatch::kHandOverBytes) return true;
    }
}

// Also sends an ACK held on trial when its time is up.
int CVideoControl::handOverDue(int64_t now) {
    kovo::ApplyAcks(m_nSocket, m_ackPacing.expire(now));
    const int ackLeft = m_ackPacing.trialLeftMs(now);
    int batchLeft = m_batch.waitMs(now);
    if (batchLeft == 0) {
        handOverBatch();
        batchLeft = -1;
    }
    return ackLeft < 0 || (batchLeft >= 0 && batchLeft < ackLeft) ? batchLeft : ackLeft;
}

void CVideoControl::handOverBatch() {
    if (m_batch.empty()) return;
    const uint32_t size = m_batch.size();
    bool reusable = false;
    CNetworkData* item = CNetworkData::Adopt(m_batch.takeBytes(&reusable), size);
    item->reusable = reusable;
    const uint64_t dropped = m_DataList->PutNetworkItemBounded(item, m_queueLimit);
    m_handedOver = true;
    if (dropped) {
        m_droppedBytes += dropped;
        m_DataList->WakeNetworkWaiters();
    }
}

void CVideoControl::roundEnded() {
    if (!m_handedOver) return;
    m_handedOver = false;
    m_DataList->SignalNetworkWaiters();
}

// ---- on the stream's assemble thread ---------------------------------------

int CVideoControl::linkWaitMs() const {
    return m_linkWatched ? m_health.waitMs(kovo::MonotonicMs(), kIdleWaitMs) : kIdleWaitMs;
}

// What the reading side saw since the last look: bytes dropped at the queue
// limit, media after a stall. Reported before the bytes that follow them.
void CVideoControl::reportReading() {
    if (!m_nRunAssembleFrame) return;  // closed, perhaps logged out, from a callback
    if (const uint64_t dropped = m_droppedBytes.exchange(0)) {
        KovoTrace("Stream %d: queue limit of %llu KB reached, %llu bytes dropped up to the next whole frame\n",
                  m_lStreamID, (unsigned long long)(m_queueLimit / 1024), (unsigned long long)dropped);
        emitEvent(KOVO_EVENT_FRAMES_DROPPED, long(dropped));
    }
    if (m_nRunAssembleFrame && m_linkWatched && m_health.resumed()) emitEvent(KOVO_EVENT_STREAM_RESUMED, 0);
}

void CVideoControl::watchLink(int64_t now) {
    reportReading();
    if (!m_nRunAssembleFrame || !m_linkWatched) return;
    if (m_linkEnded) {
        m_linkWatched = false;
        kovo::tracef("recv len <=0: %d , disconnected ! exit thread!\n", m_linkEndedRead);
        emitEvent(KOVO_EVENT_CONNECTION_LOST, m_linkEndedError);
        if (m_nRunAssembleFrame) linkLost();
        return;
    }
    followLinkOptions(true);
    checkHealth(now);
}

void CVideoControl::checkHealth(int64_t now) {
    const long stalledFor = m_health.stallBegins(now);
    if (stalledFor >= 0) {
        emitEvent(KOVO_EVENT_STREAM_STALLED, stalledFor);
        if (!m_nRunAssembleFrame) return;
        if (m_reconnect) {
            m_linkWatched = false;
            stopReceiving();
            linkLost();
            return;
        }
    }
    int status = 0;
    switch (m_health.keepAliveOutcome(now, &status)) {
        case kovo::StreamHealth::Reply::Failed:
            emitEvent(KOVO_EVENT_KEEPALIVE_FAILED, status);
            if (!m_nRunAssembleFrame) return;
            break;
        case kovo::StreamHealth::Reply::Unsupported:
            sendKeepAlive(now);  // again at once, as OPTIONS
            break;
        default:
            break;
    }
    if (m_health.keepAliveDue(now)) sendKeepAlive(now);
}

void CVideoControl::sendKeepAlive(int64_t now) {
    if (auto* device = static_cast<CDevice*>(m_pDevice)) {
        std::lock_guard<std::mutex> lock(device->streamSendLock);
        CConnect* conn = &device->stream;
        const std::string url = std::string("rtsp://") + conn->mrl;
        rtsp_send_request(conn, m_health.useGetParameter() ? "GET_PARAMETER" : "OPTIONS", url.c_str());
        // The reply is read between media packets, not here: number the next
        // request as a read reply would have.
        conn->cseq++;
        rtsp_schedule_standard(conn);
    }
    m_health.keepAliveSent(now);
}

// With reconnection on, the device's links are replaced and this controller
// is stopped by the attempts' thread.
void CVideoControl::linkLost() {
    if (m_reconnect && m_pDevice) kovo::StartReconnect(static_cast<CDevice*>(m_pDevice));
}
