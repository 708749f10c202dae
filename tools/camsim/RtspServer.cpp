#include "RtspServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace camsim {

RtspServer::RtspServer(ServerContext& context) : context_(context) {}

RtspServer::~RtspServer() { stop(); }

bool RtspServer::start(std::string& error) {
    listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (listener_ < 0) {
        error = std::string("socket: ") + std::strerror(errno);
        return false;
    }
    int on = 1;
    ::setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(context_.options.port));
    inet_pton(AF_INET, context_.options.address.c_str(), &address.sin_addr);
    if (::bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        error = "cannot listen on " + context_.options.address + ":" + std::to_string(context_.options.port) +
                ": " + std::strerror(errno);
        if (errno == EACCES) error += " (ports below 1024 need privileges; try --port 8554)";
        ::close(listener_);
        listener_ = -1;
        return false;
    }
    if (::listen(listener_, 16) != 0) {
        error = std::string("listen: ") + std::strerror(errno);
        ::close(listener_);
        listener_ = -1;
        return false;
    }
    acceptThread_ = std::thread(&RtspServer::acceptLoop, this);
    return true;
}

void RtspServer::acceptLoop() {
    while (!stopping_) {
        pollfd p{listener_, POLLIN, 0};
        int ready = ::poll(&p, 1, 200);
        reapFinished();
        if (ready <= 0) continue;
        sockaddr_in peer{};
        socklen_t length = sizeof peer;
        int fd = ::accept4(listener_, reinterpret_cast<sockaddr*>(&peer), &length, SOCK_CLOEXEC);
        if (fd < 0) continue;
        int on = 1;
        ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        char text[INET_ADDRSTRLEN] = "?";
        inet_ntop(AF_INET, &peer.sin_addr, text, sizeof text);
        auto connection = std::make_shared<RtspConnection>(
            fd, std::string(text) + ":" + std::to_string(ntohs(peer.sin_port)), context_);
        std::lock_guard<std::mutex> lock(clientsMutex_);
        if (stopping_) break;  // the connection closes its socket as it goes
        clients_.push_back(Client{connection, std::thread([connection] { connection->run(); })});
    }
}

void RtspServer::reapFinished() {
    std::lock_guard<std::mutex> lock(clientsMutex_);
    for (auto it = clients_.begin(); it != clients_.end();) {
        if (it->connection->finished()) {
            it->thread.join();
            it = clients_.erase(it);
        } else {
            ++it;
        }
    }
}

void RtspServer::stop() {
    if (stopping_.exchange(true)) return;
    if (acceptThread_.joinable()) acceptThread_.join();
    if (listener_ >= 0) ::close(listener_);
    listener_ = -1;
    std::lock_guard<std::mutex> lock(clientsMutex_);
    for (auto& client : clients_) client.connection->stop();
    for (auto& client : clients_) client.thread.join();
    clients_.clear();
}

}  // namespace camsim
