// bench_scale_camera: the scale benchmark's replay camera. Serves one
// recorded 1280x720 H.264 stream to any number of RTSP clients, RTP
// interleaved on TCP, paced in real time. Started by bench_scale in its own
// process, so that its CPU is not counted with the clients'.
//
//   bench_scale_camera --board /dev/shm/FILE [--port N] [--bitrate KBPS] [--spread-ms MS] [--pacers N]
//
// Prints "port <N> ..." once it listens. The URL path chooses how a client is
// served: /packet/<slot> (one write per RTP packet, a frame's packets spread
// over --spread-ms), /frame/<slot> (one write per frame), /idle/<slot> (PLAY
// answered, no media). <slot> is the client's counter row on the board.
#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <signal.h>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

extern "C" {
#include <libavutil/log.h>
}

#include "Board.h"
#include "CameraConnection.h"
#include "Options.h"
#include "Pacer.h"
#include "ReplayClip.h"
#include "RtspMessage.h"
#include "Sdp.h"

namespace scale {
namespace {

struct CameraSettings {
    std::string board;
    int port = 0;
    int spreadMs = 20;
    int pacers = 2;
    ClipSettings clip;
};

bool parseSettings(int argc, char** argv, CameraSettings& out) {
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string name = argv[i];
        const char* value = argv[i + 1];
        if (name == "--board") out.board = value;
        else if (name == "--port") out.port = std::atoi(value);
        else if (name == "--spread-ms") out.spreadMs = std::atoi(value);
        else if (name == "--pacers") out.pacers = std::max(1, std::atoi(value));
        else if (name == "--bitrate") out.clip.kbps = std::atoi(value);
        else return false;
    }
    return !out.board.empty() && argc % 2 == 1;
}

int listenLoopback(int port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    int on = 1;
    ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<uint16_t>(port));
    socklen_t length = sizeof address;
    if (::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 || ::listen(fd, 4096) != 0 ||
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

// "/packet/12" and the like, anywhere in the URL.
bool parsePath(const std::string& url, Writes& writes, int& slot) {
    const struct {
        const char* word;
        Writes writes;
    } kinds[] = {{"/packet/", Writes::PerPacket}, {"/frame/", Writes::PerFrame}, {"/idle/", Writes::None}};
    for (const auto& kind : kinds) {
        const size_t at = url.find(kind.word);
        if (at == std::string::npos) continue;
        const int number = std::atoi(url.c_str() + at + std::strlen(kind.word));
        if (number < 0 || number >= kMaxSlots) return false;
        writes = kind.writes;
        slot = number;
        return true;
    }
    return false;
}

class Camera {
public:
    Camera(const CameraSettings& settings, const Clip& clip, Board& board) : settings_(settings), board_(board) {
        for (int i = 0; i < settings.pacers; ++i) pacers_.emplace_back(new Pacer(clip, board, settings.spreadMs));
        sdpOptions_.width = settings.clip.width;
        sdpOptions_.height = settings.clip.height;
        sdpOptions_.fps = settings.clip.fps;
        sdpOptions_.audio = false;
    }

    // Accepts and answers until SIGTERM or SIGINT.
    void serve(int listener);

private:
    void accept(int listener);
    void receive(const std::shared_ptr<CameraConnection>& connection);
    std::string answer(CameraConnection& connection, const camsim::RtspRequest& request);
    void end(int fd);

    const CameraSettings& settings_;
    Board& board_;
    camsim::Options sdpOptions_;
    std::vector<std::unique_ptr<Pacer>> pacers_;
    std::map<int, std::shared_ptr<CameraConnection>> connections_;
    int epoll_ = -1;
    size_t played_ = 0;
};

void Camera::serve(int listener) {
    epoll_ = ::epoll_create1(EPOLL_CLOEXEC);
    epoll_event event{EPOLLIN, {}};
    event.data.fd = listener;
    ::epoll_ctl(epoll_, EPOLL_CTL_ADD, listener, &event);
    const sigset_t signals = stopSignals();
    std::vector<epoll_event> ready(256);
    for (;;) {
        const int count = ::epoll_pwait(epoll_, ready.data(), static_cast<int>(ready.size()), 200, nullptr);
        timespec none{0, 0};
        if (sigtimedwait(&signals, nullptr, &none) > 0) return;
        for (int i = 0; i < count; ++i) {
            const int fd = ready[i].data.fd;
            if (fd == listener) {
                accept(listener);
                continue;
            }
            auto found = connections_.find(fd);
            if (found != connections_.end()) receive(found->second);
        }
    }
}

void Camera::accept(int listener) {
    for (;;) {
        const int fd = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (fd < 0) return;
        int on = 1;
        ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        connections_[fd] = std::make_shared<CameraConnection>(fd);
        epoll_event event{EPOLLIN, {}};
        event.data.fd = fd;
        ::epoll_ctl(epoll_, EPOLL_CTL_ADD, fd, &event);
    }
}

void Camera::end(int fd) {
    ::epoll_ctl(epoll_, EPOLL_CTL_DEL, fd, nullptr);
    connections_[fd]->ended = true;
    connections_.erase(fd);  // a pacer may hold it until its next turn; the socket closes with the last owner
}

void Camera::receive(const std::shared_ptr<CameraConnection>& connection) {
    char chunk[8192];
    const ssize_t n = ::recv(connection->fd(), chunk, sizeof chunk, 0);
    if (n <= 0) {
        if (n == 0 || (errno != EAGAIN && errno != EINTR)) end(connection->fd());
        return;
    }
    connection->received.append(chunk, static_cast<size_t>(n));
    camsim::RtspRequest request;
    for (;;) {
        const camsim::TakeResult taken = camsim::takeRequest(connection->received, request);
        if (taken == camsim::TakeResult::NeedMore) return;
        if (taken == camsim::TakeResult::Overflow) return end(connection->fd());
        if (taken == camsim::TakeResult::Skipped) continue;  // RTCP reports from the client
        const std::string reply = answer(*connection, request);
        const iovec piece{const_cast<char*>(reply.data()), reply.size()};
        if (connection->write(&piece, 1, false) == WriteResult::Gone) return end(connection->fd());
        if (request.method == "PLAY" && connection->playing && connection->writes != Writes::None)
            pacers_[played_++ % pacers_.size()]->add(connection, connection->writes, connection->slot);
    }
}

std::string Camera::answer(CameraConnection& c, const camsim::RtspRequest& request) {
    const std::string cseq = request.header("CSeq");
    std::vector<std::string> headers{"Server: KovoReplayCamera/1.0"};
    if (c.slot < 0) parsePath(request.url, c.writes, c.slot);
    if (request.method == "SETUP" && c.session.empty()) c.session = std::to_string(100000 + c.fd());
    if (!c.session.empty()) headers.push_back("Session: " + c.session);
    const std::string& method = request.method;
    if (method == "OPTIONS") {
        headers.push_back("Public: OPTIONS, DESCRIBE, SETUP, PLAY, PAUSE, TEARDOWN, GET_PARAMETER, SET_PARAMETER");
    } else if (method == "DESCRIBE") {
        if (c.slot < 0) return camsim::composeReply(404, cseq, headers);
        headers.push_back("Content-Type: application/sdp");
        headers.push_back("Content-Base: " + request.url + "/");
        return camsim::composeReply(200, cseq, headers, camsim::buildSdp(sdpOptions_, false, "127.0.0.1"));
    } else if (method == "SETUP") {
        headers.push_back("Transport: RTP/AVP/TCP;unicast;interleaved=0-1");
    } else if (method == "PLAY") {
        if (c.slot < 0) return camsim::composeReply(455, cseq, headers);
        headers.push_back("Range: npt=0.000-");
        if (!c.playing) board_.slots[c.slot].playing = 1;
        c.playing = true;
    } else if (method == "PAUSE" || method == "TEARDOWN") {
        c.paused = true;  // the pacer lets it go; nothing more is sent
    } else if (method != "GET_PARAMETER" && method != "SET_PARAMETER") {
        return camsim::composeReply(501, cseq, headers);
    }
    return camsim::composeReply(200, cseq, headers);
}

}  // namespace
}  // namespace scale

int main(int argc, char** argv) {
    using namespace scale;
    CameraSettings settings;
    if (!parseSettings(argc, argv, settings)) {
        std::fprintf(stderr, "usage: bench_scale_camera --board FILE [--port N] [--bitrate KBPS] [--spread-ms MS] "
                             "[--pacers N]\n");
        return 2;
    }
    const sigset_t signals = stopSignals();  // taken in the control loop; the pacers inherit the mask
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    signal(SIGPIPE, SIG_IGN);
    av_log_set_level(AV_LOG_ERROR);
    rlimit files{};  // two connections for every stream of the library
    ::getrlimit(RLIMIT_NOFILE, &files);
    files.rlim_cur = files.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &files);
    Board* board = mapBoard(settings.board, false);
    if (board == nullptr) {
        std::fprintf(stderr, "bench_scale_camera: cannot map %s\n", settings.board.c_str());
        return 1;
    }
    Clip clip;
    std::string error;
    if (!makeClip(settings.clip, clip, error)) {
        std::fprintf(stderr, "bench_scale_camera: %s\n", error.c_str());
        return 1;
    }
    const int listener = listenLoopback(settings.port);
    sockaddr_in address{};
    socklen_t length = sizeof address;
    if (listener < 0 || ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        std::fprintf(stderr, "bench_scale_camera: cannot listen on port %d\n", settings.port);
        return 1;
    }
    ::fcntl(listener, F_SETFL, O_NONBLOCK);
    std::printf("port %d clip %zu frames %.0f kbit/s %.2f packets/frame at %d fps\n", ntohs(address.sin_port),
                clip.frames.size(), clip.kbitPerSecond(), double(clip.packetCount()) / clip.frames.size(), clip.fps);
    std::fflush(stdout);
    Camera camera(settings, clip, *board);
    camera.serve(listener);
    return 0;
}
