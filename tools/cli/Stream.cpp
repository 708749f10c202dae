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
    // Both callbacks go in before the stream opens, so that its first key
    // frame is not missed.
    const unsigned long user = reinterpret_cast<unsigned long>(this);
    camera.check(Kovo_SetEventCallBack(camera.id(), onEvent, user), "SetEventCallBack");
    camera.check(Kovo_SetFrameCallBack(camera.id(), onFrame, user), "SetFrameCallBack");
    camera.check(Kovo_OpenStream(camera.id(), camera.channel() < 0 ? 0 : camera.channel(), 0, 0, CONNECT_TYPE_TCP, 0),
                 "OpenStream");
}

// Events come from the stream's own thread, which closing joins: after
// it no callback can still be running on this object.
LiveStream::~LiveStream() {
    Kovo_SetEventCallBack(camera_.id(), nullptr, 0);
    Kovo_SetFrameCallBack(camera_.id(), nullptr, 0);
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

void LiveStream::onFrame(const KOVO_FRAME_INFO* info, const unsigned char* data, unsigned long length,
                         unsigned long user) {
    auto* self = reinterpret_cast<LiveStream*>(user);
    const bool video = info->eDataType != AACDATA_TYPE;
    const bool key = info->eDataType == MJPEGDATA_TYPE || (video && info->eFrameType == I_FRAME);
    std::lock_guard<std::mutex> lock(self->mutex_);
    StreamCounts& counts = self->counts_;
    counts.bytes += length;
    if (!video) {
        ++counts.audioFrames;
    } else {
        ++counts.videoFrames;
        ++counts.framesSinceKey;
        if (key) {
            if (++counts.keyFrames > 1) counts.keyInterval = counts.framesSinceKey;
            counts.framesSinceKey = 0;
        }
    }
    if (!self->keep_) return;
    if (self->queuedBytes_ + length > kMaxQueuedBytes) {
        ++counts.dropped;
        return;
    }
    Frame frame;
    frame.type = info->eDataType;
    frame.key = key;
    frame.data.assign(data, data + length);
    frame.arrival = std::chrono::steady_clock::now();
    frame.ptsUs = info->llPts;
    frame.width = info->nWidth;
    frame.height = info->nHeight;
    self->queuedBytes_ += length;
    self->queue_.push_back(std::move(frame));
    self->arrived_.notify_one();
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

KOVO_STREAM_STATS LiveStream::statistics() const {
    KOVO_STREAM_STATS stats{};
    Kovo_GetStreamStatistics(camera_.id(), &stats);
    return stats;
}

StreamCounts LiveStream::counts() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return counts_;
}

}  // namespace kovo::cli
