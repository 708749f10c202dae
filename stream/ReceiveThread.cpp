// The stream's receive thread: reads the stream connection into the network
// queue and, with the device's link options, watches for stalls, sends
// keep-alives and reports what happens to the link.
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <string>

#include "rtsp/rtsp.h"
#include "sdk/Device.h"
#include "sdk/Reconnect.h"
#include "sdk/Trace.h"
#include "stream/StreamEvents.h"
#include "stream/VideoControl.h"

namespace {

// A read that starts with a reply to one of our requests carries no media.
bool startsWithReply(const char* data, ssize_t length) {
    return length >= 8 && memcmp(data, "RTSP/1.0", 8) == 0;
}

}  // namespace

void CVideoControl::SetLinkOptions(const KOVO_LINK_OPTIONS& options, const char* session) {
    m_health.configure(options.nStallTimeoutMs, kovo::KeepAliveIntervalMs(options.nKeepAliveSec, session),
                       options.nReplyTimeoutMs, kovo::MonotonicMs());
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

void CVideoControl::receiveLoop() {
    const bool wakeable = m_nWakeFd >= 0;
    while (m_nRunRecvThread) {
        if (!GetDevice() && m_nSocket < 0) {
            kovo::traceputs("pDev==NULL");
            usleep(20000);
            continue;
        }
        pollfd fds[2] = {{m_nSocket, POLLIN, 0}, {m_nWakeFd, POLLIN, 0}};
        const int64_t before = kovo::MonotonicMs();
        int wait = wakeable ? m_health.waitMs(before, kIdleWaitMs) : kRecvWaitMs;
        const int held = m_batch.waitMs(before);
        if (held >= 0 && held < wait) wait = held;
        const int ready = poll(fds, wakeable ? 2 : 1, wait);
        if (ready < 0 && errno != EINTR) usleep(10000);
        if (ready > 0 && (fds[1].revents & POLLIN)) continue;  // woken to stop
        if (ready > 0 && fds[0].revents && !readWaiting()) break;
        if (m_batch.due(kovo::MonotonicMs())) handOverBatch();
        if (!m_nRunRecvThread || !checkHealth(kovo::MonotonicMs())) break;
    }
    m_recvThreadAlive = false;
}

// Reads all the connection holds now into the batch. False when the
// connection ended (what was read before is handed over first).
bool CVideoControl::readWaiting() {
    for (;;) {
        uint32_t room = 0;
        char* into = m_batch.room(&room);
        if (!into) {
            handOverBatch();  // out of memory: make room rather than stop reading
            continue;
        }
        const ssize_t n = recv(m_nSocket, into, room, MSG_DONTWAIT);
        if (n < 0 && (errno == EINTR || errno == EAGAIN || errno == EWOULDBLOCK)) return true;
        if (n <= 0) {
            const int error = n < 0 ? errno : 0;
            handOverBatch();
            kovo::tracef("recv len <=0: %d , disconnected ! exit thread!\n", int(n));
            emitEvent(KOVO_EVENT_CONNECTION_LOST, error);
            if (m_nRunRecvThread) linkLost();
            return false;
        }
        const int64_t now = kovo::MonotonicMs();
        const bool resumed = !startsWithReply(into, n) && m_health.onMedia(now);
        m_batch.added(uint32_t(n), now);
        if (resumed) emitEvent(KOVO_EVENT_STREAM_RESUMED, 0);
        // A short read took all there was: no need to ask again.
        if (uint32_t(n) < room || m_batch.size() >= kovo::ReceiveBatch::kHandOverBytes) return true;
    }
}

void CVideoControl::handOverBatch() {
    if (m_batch.empty()) return;
    const uint64_t dropped =
        m_DataList->PutNetworkDataBounded(const_cast<char*>(m_batch.data()), int(m_batch.size()), m_queueLimit);
    m_batch.handedOver();
    if (dropped) {
        KovoTrace("Stream %d: queue limit of %llu KB reached, %llu bytes dropped up to the next whole frame\n",
                  m_lStreamID, (unsigned long long)(m_queueLimit / 1024), (unsigned long long)dropped);
        emitEvent(KOVO_EVENT_FRAMES_DROPPED, long(dropped));
    }
}

// False when the thread is to end (the stream was closed from an event
// callback, or it goes to reconnection).
bool CVideoControl::checkHealth(int64_t now) {
    const long stalledFor = m_health.stallBegins(now);
    if (stalledFor >= 0) {
        emitEvent(KOVO_EVENT_STREAM_STALLED, stalledFor);
        if (!m_nRunRecvThread) return false;
        if (m_reconnect) {
            linkLost();
            return false;
        }
    }
    int status = 0;
    switch (m_health.keepAliveOutcome(now, &status)) {
        case kovo::StreamHealth::Reply::Failed:
            emitEvent(KOVO_EVENT_KEEPALIVE_FAILED, status);
            if (!m_nRunRecvThread) return false;
            break;
        case kovo::StreamHealth::Reply::Unsupported:
            sendKeepAlive(now);  // again at once, as OPTIONS
            break;
        default:
            break;
    }
    if (m_health.keepAliveDue(now)) sendKeepAlive(now);
    return true;
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

// With reconnection on, the device's links are replaced; this thread ends.
void CVideoControl::linkLost() {
    if (m_reconnect && m_pDevice) kovo::StartReconnect(static_cast<CDevice*>(m_pDevice));
}
