// One thread reads the connections of every open stream. A thread per
// stream would wake for every packet a camera writes; this one waits on all
// the connections at once (epoll) and lets each ready stream read what is
// waiting, so its cost follows the bytes. The streams' own threads run the
// assembly and every application callback: nothing here calls the
// application, and nothing here waits for a stream's thread.
#ifndef KOVO_STREAM_RECEIVELOOP_H
#define KOVO_STREAM_RECEIVELOOP_H

#include <cstdint>

namespace kovo {

// A stream connection as the loop sees it. Both calls come on the loop's
// thread, one at a time for all sources.
class ReceiveSource {
public:
    // The connection is readable, closed or failed: read what is waiting.
    // False when the connection ended: the loop forgets the source.
    virtual bool readReady(int64_t nowMs) = 0;
    // Hands held bytes over when they are due. Returns how long they may
    // still be held, -1 when none are.
    virtual int handOverDue(int64_t nowMs) = 0;

protected:
    ~ReceiveSource() = default;
};

// Starts watching fd for source (the loop's thread starts with the first
// source). False when the loop cannot watch it.
bool WatchSource(int fd, ReceiveSource* source);
// Once this returns the loop no longer calls source. The loop's thread ends
// with the last source. Never call it from the loop's thread.
void ForgetSource(ReceiveSource* source);

}  // namespace kovo

#endif
