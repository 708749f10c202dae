#include "Stream.h"

#include <csignal>

namespace kovo::cli {
namespace {

// What a slow file system may hold back before frames are dropped.
constexpr size_t kMaxQueuedBytes = 64u << 20;

void requestStop(int) { g_stopRequested = true; }

}  // namespace

std::atomic<bool> g_stopRequested{false};

void stopOnSignals() {
    struct sigaction action {};
    action.sa_handler = requestStop;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

LiveStream::LiveStream(const Camera& camera, bool keep) : camera_(camera), keep_(keep) {
    const unsigned long user = reinterpret_cast<unsigned long>(this);
    camera.check(Kovo_SetEventCallBack(camera.id(), onEvent, user), "SetEventCallBack");
    camera.check(Kovo_OpenStream(camera.id(), camera.channel() < 0 ? 0 : camera.channel(), 0, 0, CONNECT_TYPE_TCP, 0),
                 "OpenStream");
    camera.check(Kovo_SetRealDataCallBack(camera.id(), H264DATA_TYPE, onH264, user), "SetRealDataCallBack");
    camera.check(Kovo_SetMJPEGCallBack(camera.id(), onJpeg, user), "SetMJPEGCallBack");
    camera.check(Kovo_SetAudioCallBack(camera.id(), onAudio, user), "SetAudioCallBack");
}

// Events come from the stream's receive thread, which closing joins: after
// it no callback can still be running on this object.
LiveStream::~LiveStream() {
    Kovo_SetEventCallBack(camera_.id(), nullptr, 0);
    Kovo_CloseStream(camera_.id());
}

void LiveStream::onEvent(long, KOVO_EVENT_E event, long detail, unsigned long user) {
    auto* self = reinterpret_cast<LiveStream*>(user);
    std::lock_guard<std::mutex> lock(self->mutex_);
    self->event_ = event;
    self->eventDetail_ = detail;
    self->eventTime_ = std::chrono::steady_clock::now();
}

std::string LiveStream::lastEvent() const {
    static const char* const kNames[] = {"",
                                         "started",
                                         "stalled",
                                         "resumed",
                                         "connection lost",
                                         "reconnecting, attempt",
                                         "reconnected",
                                         "frames dropped, bytes",
                                         "keep-alive failed"};
    std::lock_guard<std::mutex> lock(mutex_);
    if (event_ <= 0 || event_ >= static_cast<int>(sizeof kNames / sizeof kNames[0])) return "";
    std::string text = kNames[event_];
    if (event_ == KOVO_EVENT_RECONNECTING || event_ == KOVO_EVENT_FRAMES_DROPPED)
        text += " " + std::to_string(eventDetail_);
    const auto age = std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - eventTime_);
    return text + ", " + std::to_string(age.count()) + " s ago";
}

bool LiveStream::interrupted() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return event_ == KOVO_EVENT_STREAM_STALLED || event_ == KOVO_EVENT_CONNECTION_LOST ||
           event_ == KOVO_EVENT_RECONNECTING;
}

void LiveStream::onH264(DATA_TYPE_E type, FRAME_TYPE_E frameType, unsigned char* data, unsigned long length,
                        unsigned long user) {
    reinterpret_cast<LiveStream*>(user)->push(type, frameType == I_FRAME, data, length);
}

void LiveStream::onJpeg(long, DATA_TYPE_E type, unsigned char* data, unsigned long length, unsigned long user) {
    reinterpret_cast<LiveStream*>(user)->push(type, true, data, length);
}

void LiveStream::onAudio(long, DATA_TYPE_E type, unsigned char* data, unsigned long length, unsigned long user) {
    reinterpret_cast<LiveStream*>(user)->push(type, false, data, length);
}

void LiveStream::push(DATA_TYPE_E type, bool key, const unsigned char* data, unsigned long length) {
    std::lock_guard<std::mutex> lock(mutex_);
    counts_.bytes += length;
    if (type == AACDATA_TYPE) {
        ++counts_.audioFrames;
    } else {
        ++counts_.videoFrames;
        ++counts_.framesSinceKey;
        if (key) {
            if (++counts_.keyFrames > 1) counts_.keyInterval = counts_.framesSinceKey;
            counts_.framesSinceKey = 0;
        }
    }
    if (!keep_) return;
    if (queuedBytes_ + length > kMaxQueuedBytes) {
        ++counts_.dropped;
        return;
    }
    Frame frame;
    frame.type = type;
    frame.key = key;
    frame.data.assign(data, data + length);
    frame.arrival = std::chrono::steady_clock::now();
    queuedBytes_ += length;
    queue_.push_back(std::move(frame));
    arrived_.notify_one();
}

bool LiveStream::next(Frame& frame, int timeoutMs) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    std::unique_lock<std::mutex> lock(mutex_);
    // Wake now and then to notice a stop request from a signal handler.
    while (queue_.empty() && !g_stopRequested) {
        const auto slice = std::min(deadline, std::chrono::steady_clock::now() + std::chrono::milliseconds(100));
        arrived_.wait_until(lock, slice);
        if (std::chrono::steady_clock::now() >= deadline) break;
    }
    if (queue_.empty() || g_stopRequested) return false;
    frame = std::move(queue_.front());
    queue_.pop_front();
    queuedBytes_ -= frame.data.size();
    return true;
}

StreamCounts LiveStream::counts() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return counts_;
}

}  // namespace kovo::cli
