// Health of one open stream: when media last arrived (noted by the thread
// that reads the connection), whether the stream is stalled, and when the
// next keep-alive is due and its reply expected (the stream's own thread).
// Pure bookkeeping on a millisecond clock; the stream's thread sends, waits
// and reports.
#ifndef KOVO_STREAM_STREAMHEALTH_H
#define KOVO_STREAM_STREAMHEALTH_H

#include <atomic>
#include <cstdint>

#include "sdk/KovoSDK.h"

namespace kovo {

// Milliseconds of a monotonic clock.
int64_t MonotonicMs();

// Keep-alive interval in ms for the link options and the Session value the
// camera sent ("id;timeout=S"): -1 is half the announced time-out, 60 s when
// none is named; 0 none.
int KeepAliveIntervalMs(int keepAliveSec, const char* session);

class StreamHealth {
public:
    enum class Reply { None, Ok, Failed, Unsupported };

    void configure(int stallMs, int keepAliveMs, int replyMs, int64_t now);
    // New bounds for a running stream: a stall under way stays reported
    // once, and a changed keep-alive interval counts from now.
    void retune(int stallMs, int keepAliveMs, int replyMs, int64_t now);

    // How long the stream's thread may wait before something here is due.
    int waitMs(int64_t now, int idleMs) const;

    // Media arrived (from the thread that reads the connection).
    void onMedia(int64_t now) { lastMedia_.store(now); }
    // True once when media arrived after a stall began.
    bool resumed();
    // The ms since the last media when a stall begins now, else -1.
    long stallBegins(int64_t now);
    int64_t lastMedia() const { return lastMedia_.load(); }

    bool keepAliveOn() const { return keepAliveMs_ > 0; }
    bool keepAliveDue(int64_t now) const;
    void keepAliveSent(int64_t now);
    // Called by the thread that reads the connection when a reply to a
    // request of ours turns up between media packets.
    void replyArrived(int status) { replyStatus_.store(status); }
    // What became of the outstanding keep-alive, once known; status gets the
    // reply's status, 0 when none came in time.
    Reply keepAliveOutcome(int64_t now, int* status);
    // True while the keep-alive goes as GET_PARAMETER; OPTIONS after the
    // camera refused GET_PARAMETER as unsupported.
    bool useGetParameter() const { return useGetParameter_; }

private:
    static int remaining(int64_t due, int64_t now);

    int stallMs_ = 0;
    int keepAliveMs_ = 0;
    int replyMs_ = 0;
    std::atomic<int64_t> lastMedia_{0};
    bool stalled_ = false;
    int64_t stalledAfter_ = 0;  // the last media before the stall
    int64_t nextKeepAlive_ = 0;
    int64_t replyDue_ = 0;
    bool awaitingReply_ = false;
    bool useGetParameter_ = true;
    std::atomic<int> replyStatus_{-1};
};

}  // namespace kovo

#endif
