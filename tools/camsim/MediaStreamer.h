// Live media of one playing session: encodes the test picture (and tone) in
// real time and hands the RTP packets to the connection.
#ifndef KOVO_CAMSIM_MEDIASTREAMER_H
#define KOVO_CAMSIM_MEDIASTREAMER_H

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "Options.h"

namespace camsim {

struct StreamSetup {
    bool mjpeg = false;
    bool video = true;
    bool audio = false;
    uint8_t videoChannel = 0;
    uint8_t audioChannel = 0;
};

// Sends one RTP packet on an interleaved channel; false when the peer is gone.
using PacketSink = std::function<bool(uint8_t channel, const uint8_t* packet, size_t size)>;

class MediaStreamer {
public:
    MediaStreamer(const Options& options, const StreamSetup& setup, PacketSink sink,
                  std::atomic<long>& framesSent);
    ~MediaStreamer();
    MediaStreamer(const MediaStreamer&) = delete;
    MediaStreamer& operator=(const MediaStreamer&) = delete;

    // Opens the encoders and starts sending; false with a reason when an
    // encoder cannot be opened.
    bool start(std::string& error);
    void stop();

private:
    void run();

    struct Media;  // encoders and packetisers, defined with the thread
    const Options options_;
    const StreamSetup setup_;
    PacketSink sink_;
    std::atomic<long>& framesSent_;
    Media* media_ = nullptr;
    std::thread thread_;
    std::mutex mutex_;
    std::condition_variable wake_;
    bool stopping_ = false;
};

}  // namespace camsim

#endif
