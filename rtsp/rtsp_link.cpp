// Bounded waits of an RTSP connection: connect and reply time-outs, the
// resynchronisation after a reply that came too late, and the recording of
// why an exchange failed.
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "rtsp/rtsp.h"
#include "sdk/LastError.h"

namespace {

using Clock = std::chrono::steady_clock;

int msUntil(Clock::time_point deadline) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return left < 0 ? 0 : static_cast<int>(left);
}

KOVO_ERROR_E connectError(int err) {
    return err == ECONNREFUSED ? KOVO_ERR_REFUSED : KOVO_ERR_UNREACHABLE;
}

// Waits until fd is ready for events or the deadline passes; EINTR resumes
// the wait. As poll: above 0 ready, 0 timed out, below 0 failed.
int readyBefore(int fd, short events, Clock::time_point deadline) {
    for (;;) {
        pollfd pfd{fd, events, 0};
        const int ready = poll(&pfd, 1, msUntil(deadline));
        if (ready >= 0 || errno != EINTR) return ready;
    }
}

bool readableBefore(int fd, Clock::time_point deadline) { return readyBefore(fd, POLLIN, deadline) > 0; }

// The reply of the awaited request did not come in time: it may still come,
// and the next request must go out numbered as if it had.
void noteTimeout(CConnect* conn) {
    kovo::setLastError(KOVO_ERR_TIMEOUT);
    conn->lateReplyPossible = true;
    if (conn->cseq <= conn->requestCseq) conn->cseq = conn->requestCseq + 1;
    if (!conn->scheduled[0]) rtsp_schedule_standard(conn);
}

// Length of the whole message at the start of text (header, empty line and
// Content-Length body), or -1 while its header is incomplete.
int messageLength(const char* text, int have) {
    const char* end = static_cast<const char*>(memmem(text, size_t(have), "\r\n\r\n", 4));
    if (!end) return -1;
    int body = 0;
    for (const char* line = text; line < end; line = strstr(line, "\r\n") + 2) {
        if (strncmp(line, "Content-Length:", 15) == 0) body = std::max(0, atoi(line + 15));
    }
    return int(end - text) + 4 + body;
}

// The number of the header's first "CSeq:" line, 0 when it has none.
unsigned cseqOf(const char* text) {
    const char* end = strstr(text, "\r\n\r\n");
    const char* at = strstr(text, "CSeq:");
    unsigned value = 0;
    if (at && end && at < end) sscanf(at, "%*s %u", &value);
    return value;
}

// After a time-out on the connection, a reply numbered before the awaited
// request, or a fragment of one, belongs to a request that gave up on it.
bool isLateReply(CConnect* conn, const char* text) {
    if (!conn->lateReplyPossible) return false;
    if (rtsp_get_status_code(conn, text) == 0) return true;
    const unsigned cseq = cseqOf(text);
    if (cseq == conn->requestCseq) conn->lateReplyPossible = false;
    return cseq != 0 && cseq < conn->requestCseq;
}

}  // namespace

int rtsp_open_socket(CConnect* conn, unsigned long addr, int port) {
    sockaddr_in target{};
    target.sin_family = AF_INET;
    target.sin_addr.s_addr = static_cast<in_addr_t>(addr);
    target.sin_port = htons(static_cast<uint16_t>(port));
    const auto* sa = reinterpret_cast<const sockaddr*>(&target);
    const int bound = conn->connectTimeoutMs;
    if (bound <= 0) {
        if (connect(conn->s, sa, sizeof target) == 0) return 0;
        return kovo::failWith(connectError(errno), -1);
    }
    const int flags = fcntl(conn->s, F_GETFL);
    fcntl(conn->s, F_SETFL, flags | O_NONBLOCK);
    int err = connect(conn->s, sa, sizeof target) == 0 ? 0 : errno;
    if (err == EINPROGRESS) {
        const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(bound);
        socklen_t size = sizeof err;
        if (readyBefore(conn->s, POLLOUT, deadline) <= 0)
            err = ETIMEDOUT;
        else if (getsockopt(conn->s, SOL_SOCKET, SO_ERROR, &err, &size) != 0)
            err = errno;
    }
    fcntl(conn->s, F_SETFL, flags);
    return err == 0 ? 0 : kovo::failWith(connectError(err), -1);
}

bool rtsp_wait_readable(CConnect* conn) {
    const int bound = conn->replyTimeoutMs;
    if (bound <= 0 || !conn->socketOpen) return true;
    if (readableBefore(conn->s, Clock::now() + std::chrono::milliseconds(bound))) return true;
    noteTimeout(conn);
    return false;
}

int rtsp_read_reply(CConnect* conn, char* buf, int len) {
    memset(buf, 0, size_t(len));
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(conn->replyTimeoutMs);
    int have = 0;
    while (conn->socketOpen) {
        if (!readableBefore(conn->s, deadline)) {
            noteTimeout(conn);
            return 0;
        }
        // Look first, then take only this reply's bytes: whatever follows it
        // (the next reply, interleaved media) stays on the socket.
        ssize_t n = recv(conn->s, buf + have, size_t(len - have), MSG_PEEK);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        const int whole = messageLength(buf, have + int(n));
        const int take = whole < 0 ? int(n) : std::min(int(n), whole - have);
        memset(buf + have + take, 0, size_t(len - have - take));
        do {
            n = recv(conn->s, buf + have, size_t(take), 0);
        } while (n < 0 && errno == EINTR);
        if (n <= 0) break;
        have += int(n);
        if (have == len) return have;  // cut, as a reply that does not fit always is
        if (whole < 0 || have < whole) continue;
        if (!isLateReply(conn, buf)) return have;
        memset(buf, 0, size_t(have));
        have = 0;
    }
    kovo::setLastError(KOVO_ERR_CLOSED);
    rtsp_close_socket(conn);
    memset(buf, 0, size_t(len));
    return -1;
}

int rtsp_send_bounded(CConnect* conn, const char* data, size_t size) {
    const int bound = conn->replyTimeoutMs;
    if (bound <= 0) return static_cast<int>(send(conn->s, data, size, MSG_NOSIGNAL));
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(bound);
    size_t sent = 0;
    while (sent < size) {
        const ssize_t n = send(conn->s, data + sent, size - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (n > 0) {
            sent += size_t(n);
            continue;
        }
        if (n < 0 && errno == EINTR) continue;
        if (n == 0 || (errno != EAGAIN && errno != EWOULDBLOCK)) return kovo::failWith(KOVO_ERR_CLOSED, -1);
        const int ready = readyBefore(conn->s, POLLOUT, deadline);
        if (ready == 0) {
            if (sent > 0) rtsp_interrupt(conn);
            return kovo::failWith(KOVO_ERR_TIMEOUT, -1);
        }
        if (ready < 0) return kovo::failWith(KOVO_ERR_CLOSED, -1);
    }
    return static_cast<int>(sent);
}

void rtsp_record_status(int status) {
    if (status == 200)
        kovo::setLastError(KOVO_ERR_NONE, status);
    else if (status >= 100)
        kovo::setLastError(KOVO_ERR_STATUS, status);
    else
        kovo::setLastError(KOVO_ERR_PROTOCOL);
}

void rtsp_close_socket(CConnect* conn) {
    std::lock_guard<std::mutex> lock(conn->socketLock);
    if (!conn->socketOpen) return;
    close(conn->s);
    conn->socketOpen = false;
}

void rtsp_interrupt(CConnect* conn) {
    std::lock_guard<std::mutex> lock(conn->socketLock);
    if (conn->socketOpen) shutdown(conn->s, SHUT_RDWR);
}
