#include "RtspConnection.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <random>

#include "Sdp.h"

namespace camsim {
namespace {

const int kReadPollMs = 200;
const int kWritePollMs = 3000;   // a peer that reads nothing for this long is given up
const size_t kMaxReply = 8000;   // the SDK reads a reply with one recv of 8192 bytes

const char kServerLine[] = "Server: KovoCamSim/1.0";
const char kPublicLine[] = "Public: OPTIONS, DESCRIBE, SETUP, PLAY, PAUSE, TEARDOWN, GET_PARAMETER, SET_PARAMETER";

using Clock = std::chrono::steady_clock;

// Milliseconds from now until `seconds` after `from`, rounded up; 0 when due.
std::chrono::milliseconds untilDue(Clock::time_point from, double seconds) {
    const auto due = from + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(due - Clock::now());
    return std::max(left, std::chrono::milliseconds(0));
}

std::string newSessionId() {
    static std::mutex mutex;
    static std::mt19937 random{std::random_device{}()};
    std::lock_guard<std::mutex> lock(mutex);
    char text[16];
    std::snprintf(text, sizeof text, "%08X", static_cast<unsigned>(random()));
    return text;
}

bool contains(const std::string& text, const char* part) { return text.find(part) != std::string::npos; }

}  // namespace

RtspConnection::RtspConnection(int fd, std::string peer, ServerContext& context)
    : fd_(fd), peer_(std::move(peer)), context_(context) {}

RtspConnection::~RtspConnection() {
    stopMedia();
    if (fd_ >= 0) ::close(fd_);
}

void RtspConnection::stop() {
    stopping_ = true;
    std::lock_guard<std::mutex> lock(fdMutex_);
    if (fd_ >= 0) ::shutdown(fd_, SHUT_RDWR);
}

void RtspConnection::run() {
    if (context_.options.log) context_.log("--- connection from " + peer_ + "\n\n");
    std::string pending;
    char chunk[8192];
    while (!stopping_ && !broken_) {
        pollfd p{fd_, POLLIN, 0};
        int ready = ::poll(&p, 1, pollTimeoutMs());
        if (actOutDueFault()) break;
        if (ready < 0 && errno != EINTR) break;
        if (ready <= 0) continue;
        ssize_t n = ::recv(fd_, chunk, sizeof chunk, 0);
        if (n <= 0) break;
        pending.append(chunk, static_cast<size_t>(n));
        RtspRequest request;
        for (;;) {
            TakeResult taken = takeRequest(pending, request);
            if (taken == TakeResult::NeedMore) break;
            if (taken == TakeResult::Overflow) {
                broken_ = true;
                break;
            }
            if (taken == TakeResult::Skipped) continue;
            lastRequest_ = Clock::now();
            if (context_.options.log) context_.log("--- request from " + peer_ + "\n" + request.raw);
            if (!sendAll(answer(request))) {
                broken_ = true;
                break;
            }
        }
    }
    stopMedia();
    if (context_.options.log) context_.log("--- connection from " + peer_ + " closed\n\n");
    finished_ = true;
}

std::vector<std::string> RtspConnection::sessionHeader() const {
    std::vector<std::string> headers{kServerLine};
    if (!session_.empty() && context_.options.sessionTimeout > 0)
        headers.push_back("Session: " + session_ + ";timeout=" + std::to_string(context_.options.sessionTimeout));
    else if (!session_.empty())
        headers.push_back("Session: " + session_);
    return headers;
}

int RtspConnection::pollTimeoutMs() const {
    const Options& o = context_.options;
    auto wait = std::chrono::milliseconds(kReadPollMs);
    if (media_ && o.dropAfter > 0) wait = std::min(wait, untilDue(playStarted_, o.dropAfter));
    if (media_ && o.sessionTimeout > 0) wait = std::min(wait, untilDue(lastRequest_, o.sessionTimeout));
    return static_cast<int>(wait.count());
}

// A due fault ends the connection: true when run() must stop.
bool RtspConnection::actOutDueFault() {
    const Options& o = context_.options;
    if (!media_) return false;
    if (o.dropAfter > 0 && untilDue(playStarted_, o.dropAfter).count() == 0) {
        if (o.log) context_.log("--- connection from " + peer_ + " reset\n\n");
        reset();
        return true;
    }
    if (o.sessionTimeout > 0 && untilDue(lastRequest_, o.sessionTimeout).count() == 0) {
        if (o.log) context_.log("--- session " + session_ + " of " + peer_ + " timed out\n\n");
        stopMedia();
        ::shutdown(fd_, SHUT_RDWR);
        return true;
    }
    return false;
}

// Like a camera that reboots or drops off the network: RST, not FIN.
void RtspConnection::reset() {
    stopMedia();
    std::lock_guard<std::mutex> lock(fdMutex_);
    linger abort{1, 0};
    ::setsockopt(fd_, SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
    ::close(fd_);
    fd_ = -1;
}

std::string RtspConnection::answer(const RtspRequest& request) {
    const std::string cseq = request.header("CSeq");
    const std::string& method = request.method;
    if (method == "OPTIONS") {
        // A proxied login announces "ChannelDescript" and "ApplicationID"; a camera simply accepts.
        std::vector<std::string> headers = sessionHeader();
        headers.push_back(kPublicLine);
        return composeReply(200, cseq, headers);
    }
    if (method == "DESCRIBE") {
        mjpeg_ = contains(request.url, "MJPEG");
        std::vector<std::string> headers = sessionHeader();
        headers.push_back("Content-Type: application/sdp");
        if (request.url.compare(0, 7, "rtsp://") == 0)
            headers.push_back("Content-Base: " + request.url + (request.url.back() == '/' ? "" : "/"));
        return composeReply(200, cseq, headers, buildSdp(context_.options, mjpeg_, localAddress()));
    }
    if (method == "SETUP") return answerSetup(request, cseq);
    if (method == "PLAY") return answerPlay(cseq);
    if (method == "PAUSE" || method == "TEARDOWN") {
        stopMedia();
        std::string reply = composeReply(200, cseq, sessionHeader());
        if (method == "TEARDOWN") {
            videoSetUp_ = audioSetUp_ = false;
            session_.clear();
        }
        return reply;
    }
    if (method == "GET_PARAMETER") return answerParameters(request, cseq, false);
    if (method == "SET_PARAMETER") return answerParameters(request, cseq, true);
    return composeReply(501, cseq, sessionHeader());
}

std::string RtspConnection::answerSetup(const RtspRequest& request, const std::string& cseq) {
    const std::string transport = request.header("Transport");
    if (!transport.empty() && !contains(transport, "TCP")) return composeReply(461, cseq, sessionHeader());
    if (session_.empty()) session_ = newSessionId();
    if (contains(request.url, "MJPEG")) mjpeg_ = true;
    // The SDK asks for channels 0-1 for every track and expects audio on 0
    // and video on 2 when both are set up (audio first); other clients ask
    // for distinct channels and get them.
    int requested = 0;
    size_t at = transport.find("interleaved=");
    if (at != std::string::npos) requested = std::atoi(transport.c_str() + at + 12) & 0xFE;
    int channel = requested;
    if (contains(request.url, "Ctrl")) {
        // The control channel of a proxied login binds itself; no media.
    } else if (contains(request.url, "trackID=2")) {
        if (!context_.options.audio) return composeReply(404, cseq, sessionHeader());
        if (videoSetUp_ && channel == videoChannel_) channel += 2;
        audioSetUp_ = true;
        audioChannel_ = static_cast<uint8_t>(channel);
    } else {
        if (audioSetUp_ && channel == audioChannel_) channel += 2;
        videoSetUp_ = true;
        videoChannel_ = static_cast<uint8_t>(channel);
    }
    std::vector<std::string> headers = sessionHeader();
    headers.push_back("Transport: RTP/AVP/TCP;unicast;interleaved=" + std::to_string(channel) + "-" +
                      std::to_string(channel + 1));
    return composeReply(200, cseq, headers);
}

// The streamer holds its first packet back briefly, so the reply leaves first.
std::string RtspConnection::answerPlay(const std::string& cseq) {
    if (!videoSetUp_ && !audioSetUp_) return composeReply(455, cseq, sessionHeader());
    if (!media_) {
        StreamSetup setup;
        setup.mjpeg = mjpeg_;
        setup.video = videoSetUp_;
        setup.audio = audioSetUp_;
        setup.videoChannel = videoChannel_;
        setup.audioChannel = audioChannel_;
        media_.reset(new MediaStreamer(
            context_.options, setup,
            [this](uint8_t channel, const uint8_t* packet, size_t size) { return sendPacket(channel, packet, size); },
            context_.framesSent));
        playStarted_ = Clock::now();
        std::string error;
        if (!media_->start(error)) {
            media_.reset();
            std::fprintf(stderr, "kovo-camsim: cannot stream: %s\n", error.c_str());
            return composeReply(500, cseq, sessionHeader());
        }
    }
    std::vector<std::string> headers = sessionHeader();
    headers.push_back("Range: npt=0.000-");
    return composeReply(200, cseq, headers);
}

std::string RtspConnection::answerParameters(const RtspRequest& request, const std::string& cseq, bool isSet) {
    std::vector<std::string> keys;
    for (const auto& line : request.lines)
        if (!isProtocolHeader(line)) keys.push_back(line);
    std::vector<std::string> headers = sessionHeader();
    headers.push_back("Content-Type: text/parameters");
    if (isSet) {
        context_.params.write(keys);
        return composeReply(200, cseq, headers);
    }
    size_t size = 0;
    for (const auto& h : headers) size += h.size() + 2;
    for (const auto& line : context_.params.read(keys)) {
        // Whatever does not fit in the client's single read is left out.
        if (size + line.size() + 2 > kMaxReply - 64) break;
        size += line.size() + 2;
        headers.push_back(line);
    }
    return composeReply(200, cseq, headers);
}

void RtspConnection::stopMedia() {
    if (media_) {
        media_->stop();
        media_.reset();
    }
}

bool RtspConnection::sendAll(const std::string& bytes) {
    std::lock_guard<std::mutex> lock(writeMutex_);
    return sendLocked(bytes.data(), bytes.size());
}

bool RtspConnection::sendPacket(uint8_t channel, const uint8_t* packet, size_t size) {
    if (size > 0xFFFF) return true;  // cannot be framed; never produced
    const uint8_t frame[4] = {'$', channel, static_cast<uint8_t>(size >> 8), static_cast<uint8_t>(size & 0xFF)};
    std::string bytes(reinterpret_cast<const char*>(frame), 4);
    bytes.append(reinterpret_cast<const char*>(packet), size);
    std::lock_guard<std::mutex> lock(writeMutex_);
    return sendLocked(bytes.data(), bytes.size());
}

bool RtspConnection::sendLocked(const char* data, size_t size) {
    if (broken_) return false;
    while (size > 0) {
        pollfd p{fd_, POLLOUT, 0};
        int ready = ::poll(&p, 1, kWritePollMs);
        if (ready < 0 && errno == EINTR) continue;
        if (ready <= 0 || stopping_) {
            broken_ = true;
            return false;
        }
        ssize_t n = ::send(fd_, data, size, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR)) continue;
        if (n <= 0) {
            broken_ = true;
            return false;
        }
        data += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

std::string RtspConnection::localAddress() const {
    sockaddr_in local{};
    socklen_t length = sizeof local;
    char text[INET_ADDRSTRLEN] = "0.0.0.0";
    if (::getsockname(fd_, reinterpret_cast<sockaddr*>(&local), &length) == 0)
        inet_ntop(AF_INET, &local.sin_addr, text, sizeof text);
    return text;
}

}  // namespace camsim
