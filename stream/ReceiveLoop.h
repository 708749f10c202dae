// A few threads (up to one per core) read the connections of every open stream. A
// thread per stream would wake for every packet a camera writes; these wait
// on many connections at once (epoll) and let each ready stream read what is
// waiting, so the cost follows the bytes. The streams' own threads run the
// assembly and every application callback: nothing here calls the
// application, and nothing here waits for a stream's thread.
#ifndef KOVO_STREAM_RECEIVELOOP_H
#define KOVO_STREAM_RECEIVELOOP_H

#include <cstdint>

namespace kovo {

// A stream connection as the loop sees it. Both calls come on the thread
// of the loop that watches it, one at a time.
class ReceiveSource {
public:
    // The connection is readable, closed or failed: read what is waiting.
    // False when the connection ended: the loop forgets the source.
    virtual bool readReady(int64_t nowMs) = 0;
    // Hands held bytes over when they are due (and sends an ACK that is
    // due). Returns how long until something more is due, -1 when nothing.
    virtual int handOverDue(int64_t nowMs) = 0;
    // The loop has served every ready source: wake the stream's thread if
    // bytes were handed over. Waking it sooner would let it take the core
    // from the loop in the middle of its round.
    virtual void roundEnded() = 0;

protected:
    ~ReceiveSource() = default;
};

// Starts watching fd for source on the least busy loop (a loop's thread
// starts with its first source). False when it cannot be watched.
bool WatchSource(int fd, ReceiveSource* source);
// Once this returns no loop calls source any more. A loop's thread ends with
// its last source. Never call it from a loop's thread.
void ForgetSource(ReceiveSource* source);

}  // namespace kovo

#endif
