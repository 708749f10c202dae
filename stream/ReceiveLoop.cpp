#include "stream/ReceiveLoop.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "sdk/Trace.h"
#include "stream/LibraryThread.h"
#include "stream/StreamHealth.h"

namespace kovo {

namespace {

constexpr int kEventsPerWait = 64;
constexpr uint64_t kWakeToken = 0;

class ReceiveLoop {
public:
    bool watch(int fd, ReceiveSource* source);
    // No-op for a source this loop does not watch.
    void forget(ReceiveSource* source);
    size_t size() {
        std::lock_guard<std::mutex> lock(mutex_);
        return entries_.size();
    }

private:
    struct Entry {
        ReceiveSource* source;
        int fd;
        bool holding;  // listed in holding_
    };

    static void* threadMain(void* self);
    bool startLocked();
    void stopLocked();
    void run();
    void removeLocked(ReceiveSource* source);
    int handOverHeld(int64_t now);
    void endRound();

    // Held by whoever starts or stops the thread, across the join.
    std::mutex lifecycle_;
    // Guards everything below; held by the thread while it serves sources,
    // so that once forget() has it, the source is not being served.
    std::mutex mutex_;
    int epoll_ = -1;
    int wake_ = -1;
    pthread_t thread_{};
    bool running_ = false;
    bool stop_ = false;
    uint64_t nextToken_ = 1;
    std::unordered_map<uint64_t, Entry> entries_;
    std::unordered_map<ReceiveSource*, uint64_t> tokens_;
    // Sources that may hold bytes not yet handed over (tokens; a forgotten
    // source's token is dropped at the next pass).
    std::vector<uint64_t> holding_;
    // Sources served in this round.
    std::vector<uint64_t> served_;
};

bool ReceiveLoop::watch(int fd, ReceiveSource* source) {
    std::lock_guard<std::mutex> life(lifecycle_);
    if (!running_ && !startLocked()) return false;
    std::lock_guard<std::mutex> lock(mutex_);
    const uint64_t token = nextToken_++;
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.u64 = token;
    if (epoll_ctl(epoll_, EPOLL_CTL_ADD, fd, &event) != 0) return false;
    entries_[token] = Entry{source, fd, false};
    tokens_[source] = token;
    return true;
}

void ReceiveLoop::forget(ReceiveSource* source) {
    std::lock_guard<std::mutex> life(lifecycle_);
    bool last;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        removeLocked(source);
        last = entries_.empty();
    }
    if (last && running_) stopLocked();
}

void ReceiveLoop::removeLocked(ReceiveSource* source) {
    const auto found = tokens_.find(source);
    if (found == tokens_.end()) return;
    const auto entry = entries_.find(found->second);
    epoll_ctl(epoll_, EPOLL_CTL_DEL, entry->second.fd, nullptr);
    entries_.erase(entry);
    tokens_.erase(found);
}

bool ReceiveLoop::startLocked() {
    epoll_ = epoll_create1(EPOLL_CLOEXEC);
    wake_ = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.u64 = kWakeToken;
    if (epoll_ < 0 || wake_ < 0 || epoll_ctl(epoll_, EPOLL_CTL_ADD, wake_, &event) != 0) {
        if (epoll_ >= 0) close(epoll_);
        if (wake_ >= 0) close(wake_);
        epoll_ = wake_ = -1;
        return false;
    }
    stop_ = false;
    const int rc = StartLibraryThread(&thread_, threadMain, this, kLoopThreadStack);
    if (rc != 0) {
        tracef("pthread_create RecvThreadProc error: %s\n", strerror(rc));
        fflush(stdout);
        exit(-1);
    }
    running_ = true;
    return true;
}

void ReceiveLoop::stopLocked() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stop_ = true;
    }
    const uint64_t one = 1;
    ssize_t written = write(wake_, &one, sizeof one);
    (void)written;  // a full counter is already readable
    pthread_join(thread_, nullptr);
    close(epoll_);
    close(wake_);
    epoll_ = wake_ = -1;
    running_ = false;
}

void* ReceiveLoop::threadMain(void* self) {
    static_cast<ReceiveLoop*>(self)->run();
    return nullptr;
}

// Hands over what is due; returns how long the rest may wait (-1: forever).
int ReceiveLoop::handOverHeld(int64_t now) {
    int wait = -1;
    size_t kept = 0;
    for (const uint64_t token : holding_) {
        const auto entry = entries_.find(token);
        if (entry == entries_.end()) continue;
        const int left = entry->second.source->handOverDue(now);
        entry->second.holding = left >= 0;
        if (left < 0) {
            served_.push_back(token);
            continue;
        }
        holding_[kept++] = token;
        if (wait < 0 || left < wait) wait = left;
    }
    holding_.resize(kept);
    return wait;
}

void ReceiveLoop::endRound() {
    for (const uint64_t token : served_) {
        const auto entry = entries_.find(token);
        if (entry != entries_.end()) entry->second.source->roundEnded();
    }
    served_.clear();
}

void ReceiveLoop::run() {
    epoll_event events[kEventsPerWait];
    std::unique_lock<std::mutex> lock(mutex_);
    int wait = -1;
    while (!stop_) {
        lock.unlock();
        const int ready = epoll_wait(epoll_, events, kEventsPerWait, wait);
        lock.lock();
        const int64_t now = MonotonicMs();
        for (int i = 0; i < ready; ++i) {
            if (events[i].data.u64 == kWakeToken) {
                uint64_t count;
                ssize_t got = read(wake_, &count, sizeof count);
                (void)got;
                continue;
            }
            const auto found = entries_.find(events[i].data.u64);
            if (found == entries_.end()) continue;  // forgotten since the wait
            Entry& entry = found->second;
            if (!entry.source->readReady(now)) {
                removeLocked(entry.source);
                continue;
            }
            if (!entry.holding) holding_.push_back(found->first);
            entry.holding = true;
            served_.push_back(found->first);
        }
        wait = handOverHeld(now);
        endRound();
    }
}

// One loop per core, so that reading keeps up on every core and no single
// thread waits behind the streams' own threads for its turn.
struct LoopPool {
    LoopPool() {
        const long cores = sysconf(_SC_NPROCESSORS_ONLN);
        count = cores < 1 ? 1 : cores > kMaxLoops ? kMaxLoops : int(cores);
    }
    static constexpr int kMaxLoops = 8;
    int count;
    ReceiveLoop loops[kMaxLoops];
};

LoopPool& pool() {
    // Never destroyed: a stream still open at exit keeps using it.
    static LoopPool* loops = new LoopPool;
    return *loops;
}

}  // namespace

bool WatchSource(int fd, ReceiveSource* source) {
    LoopPool& all = pool();
    ReceiveLoop* least = &all.loops[0];
    for (int i = 1; i < all.count; ++i)
        if (all.loops[i].size() < least->size()) least = &all.loops[i];
    return least->watch(fd, source);
}

void ForgetSource(ReceiveSource* source) {
    LoopPool& all = pool();
    for (int i = 0; i < all.count; ++i) all.loops[i].forget(source);
}

}  // namespace kovo
