// The replay camera's media threads: each paces its share of the playing
// connections from one time-ordered queue, sending a frame's packets one
// write each, spread over the first part of the frame interval (or the whole
// frame in one write).
#ifndef KOVO_BENCH_SCALE_PACER_H
#define KOVO_BENCH_SCALE_PACER_H

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "Board.h"
#include "CameraConnection.h"
#include "ReplayClip.h"

namespace scale {

class Pacer {
public:
    Pacer(const Clip& clip, Board& board, int spreadMs);
    ~Pacer();
    Pacer(const Pacer&) = delete;
    Pacer& operator=(const Pacer&) = delete;

    // Starts media on a connection that was just answered PLAY.
    void add(std::shared_ptr<CameraConnection> connection, Writes writes, int slot);

private:
    struct Stream;
    void run();
    // Sends what is due of one stream and moves its due time on; false when it ends.
    bool step(Stream& stream);
    // Packets [first, first + count) of a frame in one write; false when the connection is gone.
    bool sendPackets(Stream& stream, const ClipFrame& frame, size_t first, size_t count);
    void finishFrame(Stream& stream);

    const Clip& clip_;
    Board& board_;
    const int64_t frameNs_;
    const int64_t spreadNs_;
    std::mutex mutex_;
    std::condition_variable wake_;
    std::vector<std::unique_ptr<Stream>> arrivals_;
    bool stopping_ = false;
    std::thread thread_;
};

}  // namespace scale

#endif
