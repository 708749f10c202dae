#include "stream/StreamHealth.h"

#include <time.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace kovo {

namespace {
constexpr int kDefaultSessionTimeoutSec = 60;
}  // namespace

int64_t MonotonicMs() {
    timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return int64_t(ts.tv_sec) * 1000 + ts.tv_nsec / 1000000;
}

int KeepAliveIntervalMs(int keepAliveSec, const char* session) {
    if (keepAliveSec > 0) return keepAliveSec * 1000;
    if (keepAliveSec == 0) return 0;
    int timeoutSec = kDefaultSessionTimeoutSec;
    if (const char* at = session ? strstr(session, ";timeout=") : nullptr) {
        const int announced = atoi(at + 9);
        if (announced > 0) timeoutSec = announced;
    }
    return timeoutSec * 500;
}

void StreamHealth::configure(int stallMs, int keepAliveMs, int replyMs, int64_t now) {
    lastMedia_ = now;
    stalled_ = false;
    awaitingReply_ = false;
    useGetParameter_ = true;
    replyStatus_.store(-1);
    keepAliveMs_ = 0;  // so that the first keep-alive counts from now
    retune(stallMs, keepAliveMs, replyMs, now);
}

void StreamHealth::retune(int stallMs, int keepAliveMs, int replyMs, int64_t now) {
    stallMs_ = std::max(stallMs, 0);
    keepAliveMs = std::max(keepAliveMs, 0);
    if (keepAliveMs != keepAliveMs_) nextKeepAlive_ = now + keepAliveMs;
    keepAliveMs_ = keepAliveMs;
    // Without a reply bound, the answer is due before the next keep-alive.
    replyMs_ = replyMs > 0 ? replyMs : keepAliveMs_;
}

int StreamHealth::remaining(int64_t due, int64_t now) {
    return due <= now ? 0 : int(std::min<int64_t>(due - now, 1 << 30));
}

int StreamHealth::waitMs(int64_t now, int idleMs) const {
    int wait = idleMs;
    if (stallMs_ && !stalled_) wait = std::min(wait, remaining(lastMedia_.load() + stallMs_, now));
    if (keepAliveMs_) wait = std::min(wait, remaining(nextKeepAlive_, now));
    if (awaitingReply_) wait = std::min(wait, remaining(replyDue_, now));
    return wait;
}

bool StreamHealth::resumed() {
    if (!stalled_ || lastMedia_.load() == stalledAfter_) return false;
    stalled_ = false;
    return true;
}

long StreamHealth::stallBegins(int64_t now) {
    const int64_t last = lastMedia_.load();
    if (!stallMs_ || stalled_ || now - last < stallMs_) return -1;
    stalled_ = true;
    stalledAfter_ = last;
    return long(now - last);
}

bool StreamHealth::keepAliveDue(int64_t now) const { return keepAliveMs_ && now >= nextKeepAlive_; }

void StreamHealth::keepAliveSent(int64_t now) {
    nextKeepAlive_ = now + keepAliveMs_;
    replyStatus_.store(-1);
    awaitingReply_ = true;
    replyDue_ = now + replyMs_;
}

StreamHealth::Reply StreamHealth::keepAliveOutcome(int64_t now, int* statusOut) {
    if (!awaitingReply_) return Reply::None;
    const int status = replyStatus_.load();
    *statusOut = status < 0 ? 0 : status;
    if (status < 0) {
        if (now < replyDue_) return Reply::None;
        awaitingReply_ = false;
        return Reply::Failed;
    }
    awaitingReply_ = false;
    if (status == 200) return Reply::Ok;
    if (useGetParameter_ && (status == 405 || status == 501)) {
        useGetParameter_ = false;
        return Reply::Unsupported;
    }
    return Reply::Failed;
}

}  // namespace kovo
