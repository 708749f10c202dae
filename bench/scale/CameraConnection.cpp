#include "CameraConnection.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

namespace scale {

CameraConnection::~CameraConnection() { ::close(fd_); }

bool CameraConnection::flushPending() {
    while (!pending_.empty()) {
        const ssize_t n = ::send(fd_, pending_.data(), pending_.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (n <= 0) return false;
        pending_.erase(0, static_cast<size_t>(n));
    }
    return true;
}

WriteResult CameraConnection::write(const iovec* pieces, int count, bool droppable) {
    std::lock_guard<std::mutex> lock(writeMutex_);
    if (ended) return WriteResult::Gone;
    size_t total = 0;
    for (int i = 0; i < count; ++i) total += pieces[i].iov_len;
    size_t written = 0;
    if (flushPending()) {
        msghdr message{};
        message.msg_iov = const_cast<iovec*>(pieces);
        message.msg_iovlen = static_cast<size_t>(count);
        const ssize_t n = ::sendmsg(fd_, &message, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (n < 0 && errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR) {
            ended = true;
            return WriteResult::Gone;
        }
        written = n > 0 ? static_cast<size_t>(n) : 0;
    }
    if (written == total) return WriteResult::Written;
    if (written == 0 && droppable) return WriteResult::Dropped;
    for (int i = 0; i < count; ++i) {
        const size_t length = pieces[i].iov_len;
        const size_t skip = written < length ? written : length;
        pending_.append(static_cast<const char*>(pieces[i].iov_base) + skip, length - skip);
        written -= skip;
    }
    return WriteResult::Written;
}

}  // namespace scale
