// The live stream of one camera as a queue of frames, filled on the
// library's thread and read by the command's own.
#ifndef KOVO_CLI_STREAM_H
#define KOVO_CLI_STREAM_H

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

#include "Cli.h"
#include "KovoSDK.h"

namespace kovo::cli {

struct Frame {
    DATA_TYPE_E type = NODATA_TYPE;  // H264DATA_TYPE, MJPEGDATA_TYPE or AACDATA_TYPE
    bool key = false;                // an H.264 key frame (JPEG and audio frames are all whole)
    std::vector<unsigned char> data;
    std::chrono::steady_clock::time_point arrival;
    long long ptsUs = 0;             // on the medium's own clock, from its first frame
    int width = 0, height = 0;       // of a video frame, when the library knows it

    bool video() const { return type != AACDATA_TYPE; }
};

// Counts of what a stream delivered, for progress lines and watch.
struct StreamCounts {
    unsigned long long videoFrames = 0, keyFrames = 0, audioFrames = 0, bytes = 0;
    unsigned long long dropped = 0;  // frames the tool could not queue (disk too slow)
    unsigned long long framesSinceKey = 0, keyInterval = 0;  // video frames between the last two key frames
};

// Set by SIGINT / SIGTERM once a command installs stopOnSignals().
extern std::atomic<bool> g_stopRequested;
void stopOnSignals();

class LiveStream {
public:
    // Opens the camera's stream over TCP; keep = false counts frames
    // without queueing them (watch).
    LiveStream(const Camera& camera, bool keep = true);
    ~LiveStream();
    LiveStream(const LiveStream&) = delete;
    LiveStream& operator=(const LiveStream&) = delete;

    // The next frame; false when none came within timeoutMs or a stop was requested.
    bool next(Frame& frame, int timeoutMs);
    StreamCounts counts() const;
    // The library's statistics of the stream (rates over its last seconds, losses).
    KOVO_STREAM_STATS statistics() const;
    // The last stream event ("stalled 3 s ago"), or "" before the first.
    std::string lastEvent() const;
    // Whether the last event says the stream is not delivering (stall, loss, reconnect).
    bool interrupted() const;

private:
    static void onFrame(const KOVO_FRAME_INFO* info, const unsigned char* data, unsigned long length,
                        unsigned long user);
    static void onEvent(long, KOVO_EVENT_E event, long detail, unsigned long user);

    const Camera& camera_;
    const bool keep_;
    mutable std::mutex mutex_;
    std::condition_variable arrived_;
    std::deque<Frame> queue_;
    size_t queuedBytes_ = 0;
    StreamCounts counts_;
    KOVO_EVENT_E event_ = static_cast<KOVO_EVENT_E>(0);
    long eventDetail_ = 0;
    std::chrono::steady_clock::time_point eventTime_;
};

}  // namespace kovo::cli

#endif
