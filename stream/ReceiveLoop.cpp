#include "stream/ReceiveLoop.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
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
// Tokens name a slot and the generation of its source, so that an event
// read just before a source was forgotten never reaches the slot's next one.
constexpr uint64_t kWakeToken = ~uint64_t(0);
constexpr uint64_t kTimerToken = ~uint64_t(0) - 1;
constexpr int64_t kNever = INT64_MAX;

class ReceiveLoop {
public:
    bool watch(int fd, ReceiveSource* source);
    // No-op for a source this loop does not watch.
    void forget(ReceiveSource* source);
    size_t size() {
        std::lock_guard<std::mutex> lock(mutex_);
        return slotOf_.size();
    }

private:
    struct Entry {
        ReceiveSource* source = nullptr;
        int fd = -1;
        uint32_t generation = 0;
        bool holding = false;  // listed in holding_
    };

    static void* threadMain(void* self);
    bool startLocked();
    void stopLocked();
    void run();
    Entry* entryOf(uint64_t token);
    void removeLocked(ReceiveSource* source);
    void serve(uint64_t token, Entry& entry, int64_t now);
    void hold(uint64_t token, Entry& entry, int64_t dueAt);
    void handOverHeld(int64_t now);
    void armTimer();
    void endRound();

    // Held by whoever starts or stops the thread, across the join.
    std::mutex lifecycle_;
    // Guards everything below; held by the thread while it serves sources,
    // so that once forget() has it, the source is not being served.
    std::mutex mutex_;
    int epoll_ = -1;
    int wake_ = -1;
    // Fires when a held batch or ACK may be due. Set only when that time
    // changes, which is cheaper than a time-out on every wait.
    int timer_ = -1;
    int64_t armedAt_ = kNever;
    pthread_t thread_{};
    bool running_ = false;
    bool stop_ = false;
    std::vector<Entry> entries_;  // by slot
    std::vector<uint32_t> freeSlots_;
    std::unordered_map<ReceiveSource*, uint32_t> slotOf_;
    // Sources that may hold bytes not yet handed over, and the earliest time
    // one of them may be due: a source's due time only moves later while it
    // holds, so nothing needs looking at before then.
    std::vector<uint64_t> holding_;
    int64_t nextDueAt_ = kNever;
    // Sources served in this round.
    std::vector<uint64_t> served_;
};

uint64_t tokenOf(uint32_t slot, uint32_t generation) { return (uint64_t(generation) << 32) | slot; }

bool ReceiveLoop::watch(int fd, ReceiveSource* source) {
    std::lock_guard<std::mutex> life(lifecycle_);
    if (!running_ && !startLocked()) return false;
    std::lock_guard<std::mutex> lock(mutex_);
    uint32_t slot;
    if (!freeSlots_.empty()) {
        slot = freeSlots_.back();
        freeSlots_.pop_back();
    } else {
        slot = uint32_t(entries_.size());
        entries_.emplace_back();
    }
    Entry& entry = entries_[slot];
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.u64 = tokenOf(slot, entry.generation);
    if (epoll_ctl(epoll_, EPOLL_CTL_ADD, fd, &event) != 0) {
        freeSlots_.push_back(slot);
        return false;
    }
    entry.source = source;
    entry.fd = fd;
    entry.holding = false;
    slotOf_[source] = slot;
    return true;
}

void ReceiveLoop::forget(ReceiveSource* source) {
    std::lock_guard<std::mutex> life(lifecycle_);
    bool last;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        removeLocked(source);
        last = slotOf_.empty();
    }
    if (last && running_) stopLocked();
}

ReceiveLoop::Entry* ReceiveLoop::entryOf(uint64_t token) {
    const uint32_t slot = uint32_t(token);
    if (slot >= entries_.size()) return nullptr;
    Entry& entry = entries_[slot];
    return entry.source && entry.generation == uint32_t(token >> 32) ? &entry : nullptr;
}

void ReceiveLoop::removeLocked(ReceiveSource* source) {
    const auto found = slotOf_.find(source);
    if (found == slotOf_.end()) return;
    Entry& entry = entries_[found->second];
    epoll_ctl(epoll_, EPOLL_CTL_DEL, entry.fd, nullptr);
    entry.source = nullptr;
    entry.fd = -1;
    ++entry.generation;
    freeSlots_.push_back(found->second);
    slotOf_.erase(found);
}

bool ReceiveLoop::startLocked() {
    epoll_ = epoll_create1(EPOLL_CLOEXEC);
    wake_ = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    timer_ = timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC);
    epoll_event wake{}, timer{};
    wake.events = timer.events = EPOLLIN;
    wake.data.u64 = kWakeToken;
    timer.data.u64 = kTimerToken;
    if (epoll_ < 0 || wake_ < 0 || timer_ < 0 || epoll_ctl(epoll_, EPOLL_CTL_ADD, wake_, &wake) != 0 ||
        epoll_ctl(epoll_, EPOLL_CTL_ADD, timer_, &timer) != 0) {
        for (int fd : {epoll_, wake_, timer_})
            if (fd >= 0) close(fd);
        epoll_ = wake_ = timer_ = -1;
        return false;
    }
    armedAt_ = kNever;
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
    close(timer_);
    epoll_ = wake_ = timer_ = -1;
    running_ = false;
    holding_.clear();
    nextDueAt_ = kNever;
}

void* ReceiveLoop::threadMain(void* self) {
    static_cast<ReceiveLoop*>(self)->run();
    return nullptr;
}

void ReceiveLoop::hold(uint64_t token, Entry& entry, int64_t dueAt) {
    if (!entry.holding) holding_.push_back(token);
    entry.holding = true;
    if (dueAt < nextDueAt_) nextDueAt_ = dueAt;
}

// Reads what the source has and hands it over at once when a frame can end.
void ReceiveLoop::serve(uint64_t token, Entry& entry, int64_t now) {
    if (!entry.source->readReady(now)) {
        removeLocked(entry.source);
        return;
    }
    served_.push_back(token);
    const int left = entry.source->handOverDue(now);
    if (left >= 0) hold(token, entry, now + left);
}

// Hands over what has waited long enough.
void ReceiveLoop::handOverHeld(int64_t now) {
    if (now < nextDueAt_) return;
    nextDueAt_ = kNever;
    size_t kept = 0;
    for (const uint64_t token : holding_) {
        Entry* entry = entryOf(token);
        if (!entry) continue;
        const int left = entry->source->handOverDue(now);
        entry->holding = left >= 0;
        if (left < 0) {
            served_.push_back(token);
            continue;
        }
        holding_[kept++] = token;
        nextDueAt_ = std::min(nextDueAt_, now + left);
    }
    holding_.resize(kept);
}

void ReceiveLoop::armTimer() {
    if (nextDueAt_ == armedAt_) return;
    armedAt_ = nextDueAt_;
    itimerspec when{};  // zero disarms
    if (armedAt_ != kNever) {
        when.it_value.tv_sec = time_t(armedAt_ / 1000);
        when.it_value.tv_nsec = long(armedAt_ % 1000) * 1000000L + 1;
    }
    timerfd_settime(timer_, TFD_TIMER_ABSTIME, &when, nullptr);
}

void ReceiveLoop::endRound() {
    for (const uint64_t token : served_)
        if (Entry* entry = entryOf(token)) entry->source->roundEnded();
    served_.clear();
}

void ReceiveLoop::run() {
    epoll_event events[kEventsPerWait];
    std::unique_lock<std::mutex> lock(mutex_);
    while (!stop_) {
        lock.unlock();
        const int ready = epoll_wait(epoll_, events, kEventsPerWait, -1);
        lock.lock();
        const int64_t now = MonotonicMs();
        for (int i = 0; i < ready; ++i) {
            const uint64_t token = events[i].data.u64;
            if (token == kWakeToken || token == kTimerToken) {
                uint64_t count;
                ssize_t got = read(token == kWakeToken ? wake_ : timer_, &count, sizeof count);
                (void)got;
            } else if (Entry* entry = entryOf(token)) {  // else forgotten since the wait
                serve(token, *entry, now);
            }
        }
        handOverHeld(now);
        endRound();
        armTimer();
    }
}

// Up to one loop per core. A loop that serves more connections finds more
// of them ready at each wake, so a loop takes kSourcesPerLoop connections
// before the next one starts; past that, reading is spread over every core.
struct LoopPool {
    LoopPool() {
        const long cores = sysconf(_SC_NPROCESSORS_ONLN);
        count = cores < 1 ? 1 : cores > kMaxLoops ? kMaxLoops : int(cores);
    }
    static constexpr int kMaxLoops = 8;
    static constexpr size_t kSourcesPerLoop = 512;
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
    ReceiveLoop* least = nullptr;
    size_t leastSize = 0;
    for (int i = 0; i < all.count; ++i) {
        const size_t size = all.loops[i].size();
        if (size < LoopPool::kSourcesPerLoop) return all.loops[i].watch(fd, source);
        if (!least || size < leastSize) {
            least = &all.loops[i];
            leastSize = size;
        }
    }
    return least->watch(fd, source);
}

void ForgetSource(ReceiveSource* source) {
    LoopPool& all = pool();
    for (int i = 0; i < all.count; ++i) all.loops[i].forget(source);
}

}  // namespace kovo
