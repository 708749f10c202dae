// One client connection of the replay camera: its RTSP state (control
// thread) and its writes, which the control thread (replies) and a pacing
// thread (media) share.
#ifndef KOVO_BENCH_SCALE_CAMERACONNECTION_H
#define KOVO_BENCH_SCALE_CAMERACONNECTION_H

#include <sys/uio.h>

#include <atomic>
#include <mutex>
#include <string>

namespace scale {

// How a stream is served, chosen by the client through its URL path
// ("/packet/<slot>", "/frame/<slot>", "/idle/<slot>").
enum class Writes { PerPacket, PerFrame, None };

enum class WriteResult { Written, Dropped, Gone };

class CameraConnection {
public:
    explicit CameraConnection(int fd) : fd_(fd) {}
    ~CameraConnection();
    CameraConnection(const CameraConnection&) = delete;
    CameraConnection& operator=(const CameraConnection&) = delete;

    int fd() const { return fd_; }

    // Writes the pieces as one sendmsg. What the socket takes only in part is
    // kept and finished first next time, so framing never breaks; with
    // `droppable`, a write that finds the socket full is left out instead.
    WriteResult write(const iovec* pieces, int count, bool droppable);

    std::atomic<bool> ended{false};   // closed by the peer
    std::atomic<bool> paused{false};  // PAUSE or TEARDOWN: media stops for good

    // RTSP state, control thread only.
    std::string received;
    std::string session;
    Writes writes = Writes::None;
    int slot = -1;
    bool playing = false;

private:
    bool flushPending();  // true when nothing is left over

    const int fd_;
    std::mutex writeMutex_;
    std::string pending_;
};

}  // namespace scale

#endif
