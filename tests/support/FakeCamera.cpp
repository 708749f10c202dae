#include "support/FakeCamera.h"
#include "support/Scratch.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <sstream>
#include <stdexcept>

namespace kovo::test {

namespace {

void closeFd(int& fd) {
    if (fd >= 0) {
        ::close(fd);
        fd = -1;
    }
}

void signalPipe(int writeEnd) {
    char byte = 1;
    // The pipe is a latch: it is never drained, so one byte is enough and a
    // full pipe (impossible here) would not matter.
    while (::write(writeEnd, &byte, 1) < 0 && errno == EINTR) {
    }
}

Request parseRequest(std::string raw, int connection) {
    Request request;
    request.connection = connection;
    // raw ends with "\r\n\r\n"; the last (empty) line is not a header.
    for (size_t pos = 0, eol; (eol = raw.find("\r\n", pos)) != pos; pos = eol + 2)
        (pos == 0 ? request.requestLine : request.lines.emplace_back()) = raw.substr(pos, eol - pos);
    std::istringstream(request.requestLine) >> request.method >> request.url;
    request.raw = std::move(raw);
    return request;
}

}  // namespace

// ---------------------------------------------------------------------------
// Request / Reply

std::string Request::header(const std::string& name) const {
    for (const std::string& line : lines) {
        if (line.size() > name.size() && line.compare(0, name.size(), name) == 0 && line[name.size()] == ':') {
            size_t start = line.find_first_not_of(" \t", name.size() + 1);
            return start == std::string::npos ? std::string() : line.substr(start);
        }
    }
    return {};
}

bool Request::hasLine(const std::string& line) const {
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}

Reply Reply::ok(std::vector<std::string> headers, std::string body) {
    return {.headers = std::move(headers), .body = std::move(body)};
}
Reply Reply::status_(int status, std::string reason) { return {.status = status, .reason = std::move(reason)}; }
Reply Reply::rawBytes(std::string bytes) { return {.raw = std::move(bytes)}; }
Reply Reply::silence() { return {.silent = true}; }
Reply Reply::closeConnection() { return {.closeAfter = true, .silent = true}; }

std::string Reply::compose(const std::string& cseq) const {
    if (!raw.empty()) return raw;
    std::string out = "RTSP/1.0 " + std::to_string(status) + " " + reason + "\r\n";
    if (echoCSeq && !cseq.empty()) out += "CSeq: " + cseq + "\r\n";
    for (const std::string& h : headers) out += h + "\r\n";
    if (!body.empty()) out += "Content-Length: " + std::to_string(body.size()) + "\r\n";
    out += "\r\n";
    out += body;
    return out;
}

// ---------------------------------------------------------------------------
// One accepted connection. Only its own serving thread closes the socket;
// everybody else asks it to through the wake pipe, so a descriptor number is
// never reused while another thread may still be using it.

struct FakeCamera::Connection {
    int index = 0;
    int fd = -1;                  // written only by the serving thread, under writeMutex
    int wake[2] = {-1, -1};       // readable once a close was requested
    std::mutex writeMutex;        // serialises replies and send()
    std::atomic<bool> closeRequested{false};
    std::atomic<bool> resetRequested{false};
    bool closed = false;          // guarded by the camera's mutex_
    std::thread thread;

    ~Connection() {
        closeFd(fd);
        closeFd(wake[0]);
        closeFd(wake[1]);
    }

    void requestClose(bool reset) {
        if (reset) resetRequested = true;
        if (!closeRequested.exchange(true)) signalPipe(wake[1]);
    }

    // Waits for `events` on the socket (none: just sleeps). False when a
    // close was requested first; timeoutMs < 0 waits indefinitely, a timeout
    // returns true.
    bool waitFor(short events, int timeoutMs) {
        pollfd fds[2] = {{events ? fd : -1, events, 0}, {wake[0], POLLIN, 0}};
        while (::poll(fds, 2, timeoutMs) < 0 && errno == EINTR) {
        }
        return !(fds[1].revents & POLLIN);
    }

    // Caller holds writeMutex.
    bool sendAll(const char* data, size_t size) {
        while (size > 0) {
            if (fd < 0 || closeRequested) return false;
            ssize_t n = ::send(fd, data, size, MSG_NOSIGNAL | MSG_DONTWAIT);
            if (n > 0) {
                data += n;
                size -= static_cast<size_t>(n);
            } else if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR)) {
                if (!waitFor(POLLOUT, -1)) return false;
            } else {
                return false;
            }
        }
        return true;
    }
};

// ---------------------------------------------------------------------------
// FakeCamera

FakeCamera::FakeCamera(uint16_t port) {
    if (::pipe2(wakePipe_, O_CLOEXEC) != 0) throw std::runtime_error("FakeCamera: pipe2 failed");
    port_ = port;
    listenFd_ = bindLoopback(port_);
    if (listenFd_ < 0) {
        closeFd(wakePipe_[0]);
        closeFd(wakePipe_[1]);
        throw std::runtime_error("FakeCamera: cannot listen on 127.0.0.1");
    }
    acceptThread_ = std::thread(&FakeCamera::acceptLoop, this);
}

FakeCamera::~FakeCamera() {
    stopListening();
    std::vector<std::shared_ptr<Connection>> conns;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
        conns = connections_;
    }
    for (auto& c : conns) c->requestClose(false);
    for (auto& c : conns)
        if (c->thread.joinable()) c->thread.join();
    closeFd(wakePipe_[0]);
    closeFd(wakePipe_[1]);
}

uint16_t FakeCamera::port() const { return port_; }

void FakeCamera::stopListening() {
    std::lock_guard<std::mutex> lock(listenMutex_);
    if (listenFd_ < 0) return;
    signalPipe(wakePipe_[1]);
    if (acceptThread_.joinable()) acceptThread_.join();
    closeFd(listenFd_);
}

void FakeCamera::acceptLoop() {
    for (;;) {
        pollfd fds[2] = {{listenFd_, POLLIN, 0}, {wakePipe_[0], POLLIN, 0}};
        if (::poll(fds, 2, -1) < 0) {
            if (errno == EINTR) continue;
            return;
        }
        if (fds[1].revents & POLLIN) return;
        int fd = ::accept4(listenFd_, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0) {
            if (errno == EINTR || errno == EAGAIN || errno == ECONNABORTED || errno == EPROTO) continue;
            return;
        }
        // Split replies must reach the client as separate segments.
        int one = 1;
        ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
        auto conn = std::make_shared<Connection>();
        conn->fd = fd;
        if (::pipe2(conn->wake, O_CLOEXEC) != 0) return;  // conn's destructor closes fd
        std::lock_guard<std::mutex> lock(mutex_);
        if (stopping_) return;
        conn->index = static_cast<int>(connections_.size());
        connections_.push_back(conn);
        conn->thread = std::thread(&FakeCamera::serve, this, conn);
    }
}

void FakeCamera::serve(std::shared_ptr<Connection> conn) {
    std::string pending;
    char chunk[4096];
    bool open = true;
    while (open && conn->waitFor(POLLIN, -1)) {
        ssize_t n = ::recv(conn->fd, chunk, sizeof chunk, MSG_DONTWAIT);
        if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR)) continue;
        if (n <= 0) break;
        pending.append(chunk, static_cast<size_t>(n));
        size_t end;
        while (open && (end = pending.find("\r\n\r\n")) != std::string::npos) {
            Request request = parseRequest(pending.substr(0, end + 4), conn->index);
            pending.erase(0, end + 4);
            std::string cseq = request.header("CSeq");
            {
                std::lock_guard<std::mutex> lock(mutex_);
                requests_.push_back(request);
            }
            requestArrived_.notify_all();
            open = answer(*conn, replyFor(request), cseq);
        }
    }
    finish(*conn);
}

Reply FakeCamera::replyFor(const Request& request) {
    Handler handler;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto queued = queued_.find(request.method);
        if (queued != queued_.end() && !queued->second.empty()) {
            Reply reply = std::move(queued->second.front());
            queued->second.pop_front();
            return reply;
        }
        auto it = handlers_.find(request.method);
        if (it != handlers_.end()) handler = it->second;
    }
    // Called unlocked: handlers may inspect the camera.
    return handler ? handler(request) : Reply{};
}

// Sends the reply; false when the connection is to be closed afterwards.
bool FakeCamera::answer(Connection& conn, const Reply& reply, const std::string& cseq) {
    if (!reply.silent) {
        const std::string bytes = reply.compose(cseq);
        std::vector<size_t> cuts = reply.splitAt;  // ascending, inside the reply
        cuts.push_back(bytes.size());
        std::lock_guard<std::mutex> lock(conn.writeMutex);
        size_t from = 0;
        for (size_t to : cuts) {
            if (from > 0 && !conn.waitFor(0, reply.splitDelayMs)) return false;
            if (!conn.sendAll(bytes.data() + from, to - from)) return false;
            from = to;
        }
    }
    if (reply.resetAfter) conn.resetRequested = true;
    return !reply.resetAfter && !reply.closeAfter;
}

void FakeCamera::finish(Connection& conn) {
    conn.requestClose(false);  // wakes a send() blocked on this connection
    {
        std::lock_guard<std::mutex> lock(conn.writeMutex);
        if (conn.resetRequested) {
            linger abort = {1, 0};
            ::setsockopt(conn.fd, SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
        } else {
            // FIN after everything already queued, even if unread input would
            // otherwise turn the close into a reset.
            ::shutdown(conn.fd, SHUT_WR);
        }
        closeFd(conn.fd);
    }
    {
        std::lock_guard<std::mutex> lock(mutex_);
        conn.closed = true;
    }
    connectionClosed_.notify_all();
}

std::shared_ptr<FakeCamera::Connection> FakeCamera::connectionAt(int index) const {
    std::lock_guard<std::mutex> lock(mutex_);
    if (index < 0 || static_cast<size_t>(index) >= connections_.size()) return nullptr;
    return connections_[static_cast<size_t>(index)];
}

// ---------------------------------------------------------------------------
// Scripting and inspection

void FakeCamera::onMethod(const std::string& method, Reply reply) {
    onMethod(method, Handler([reply](const Request&) { return reply; }));
}

void FakeCamera::onMethod(const std::string& method, Handler handler) {
    std::lock_guard<std::mutex> lock(mutex_);
    handlers_[method] = std::move(handler);
}

void FakeCamera::queue(const std::string& method, Reply reply) {
    std::lock_guard<std::mutex> lock(mutex_);
    queued_[method].push_back(std::move(reply));
}

void FakeCamera::keepSettings(const std::vector<std::string>& seed) {
    struct Store {
        std::mutex mutex;
        std::map<std::string, std::string> values;
        void put(const std::vector<std::string>& lines) {
            std::lock_guard<std::mutex> lock(mutex);
            for (const std::string& line : lines) {
                const size_t colon = line.find(": ");
                if (colon != std::string::npos) values[line.substr(0, colon)] = line.substr(colon + 2);
            }
        }
    };
    auto store = std::make_shared<Store>();
    store->put(seed);
    onMethod("SET_PARAMETER", Handler([store](const Request& request) {
        store->put(request.lines);
        return Reply{};
    }));
    onMethod("GET_PARAMETER", Handler([store](const Request& request) {
        std::vector<std::string> answers;
        std::lock_guard<std::mutex> lock(store->mutex);
        for (const std::string& line : request.lines) {
            const std::string key = line.substr(0, line.find(':'));
            if (key == "CSeq" || key == "Content-type") continue;
            auto it = store->values.find(key);
            if (it != store->values.end()) answers.push_back(key + ": " + it->second);
        }
        return Reply::ok(answers);
    }));
}

std::vector<Request> FakeCamera::requests(const std::string& method) const {
    std::lock_guard<std::mutex> lock(mutex_);
    std::vector<Request> out;
    for (const Request& r : requests_)
        if (method.empty() || r.method == method) out.push_back(r);
    return out;
}

size_t FakeCamera::requestCount() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return requests_.size();
}

bool FakeCamera::waitForRequests(size_t count, std::chrono::milliseconds timeout) const {
    std::unique_lock<std::mutex> lock(mutex_);
    return requestArrived_.wait_for(lock, timeout, [&] { return requests_.size() >= count; });
}

void FakeCamera::clearRequests() {
    std::lock_guard<std::mutex> lock(mutex_);
    requests_.clear();
}

int FakeCamera::connectionsAccepted() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return static_cast<int>(connections_.size());
}

int FakeCamera::openConnections() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return static_cast<int>(std::count_if(connections_.begin(), connections_.end(),
                                          [](const std::shared_ptr<Connection>& c) { return !c->closed; }));
}

bool FakeCamera::send(int connection, const std::string& bytes) {
    std::shared_ptr<Connection> conn = connectionAt(connection);
    if (!conn) return false;
    std::lock_guard<std::mutex> lock(conn->writeMutex);
    return conn->sendAll(bytes.data(), bytes.size());
}

void FakeCamera::closeConnection(int connection, bool reset) {
    std::shared_ptr<Connection> conn = connectionAt(connection);
    if (!conn) return;
    conn->requestClose(reset);
    std::unique_lock<std::mutex> lock(mutex_);
    // From a handler on that very connection the close happens once it returns.
    if (conn->thread.get_id() == std::this_thread::get_id()) return;
    connectionClosed_.wait_for(lock, std::chrono::seconds(5), [&] { return conn->closed; });
}

}  // namespace kovo::test
