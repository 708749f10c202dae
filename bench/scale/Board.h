// The scale benchmark's shared board: a file in /dev/shm that the driver,
// the replay camera and the library client map, so that counts and time
// stamps cross process boundaries without touching the streams themselves.
// Times are CLOCK_MONOTONIC nanoseconds, which all processes of the host share.
#ifndef KOVO_BENCH_SCALE_BOARD_H
#define KOVO_BENCH_SCALE_BOARD_H

#include <signal.h>

#include <atomic>
#include <cstdint>
#include <ctime>
#include <string>

namespace scale {

const int kMaxSlots = 1024;       // streams of one run
const int kStampRing = 64;        // send times of the last frames of a slot (2.5 s at 25 fps)
const int kLatencyBinUs = 50;     // callback latency histogram: 50 us bins ...
const int kLatencyBins = 10000;   // ... up to 500 ms, the last bin takes the rest

// When frame `frame` of a slot had its last packet handed to the kernel.
// Written as a sequence lock: frame set to ~0, the time, then the frame.
struct SendStamp {
    std::atomic<uint64_t> frame;
    std::atomic<int64_t> ns;
};

// One stream, identified by the number at the end of its URL path.
struct Slot {
    std::atomic<uint32_t> playing;          // camera: PLAY answered
    std::atomic<uint64_t> packetsSent;      // camera: RTP packets written whole
    std::atomic<uint64_t> framesSent;       // camera: frames written whole, counted from the first key frame
    std::atomic<uint64_t> packetsDropped;   // camera: packets the socket would not take
    SendStamp sent[kStampRing];             // camera: frame n's stamp at n % ring
    std::atomic<uint64_t> framesDelivered;  // library client: frames that reached the callback
};

struct Board {
    std::atomic<uint32_t> hold;       // driver: the camera starts no new frame while set
    std::atomic<uint32_t> measuring;  // driver: the client records latencies while set
    std::atomic<uint64_t> latency[kLatencyBins];
    std::atomic<uint64_t> latencyUnmatched;  // a frame whose send stamp was already overwritten
    Slot slots[kMaxSlots];
};

// Zeroes every count and stamp, between runs.
void clearBoard(Board& board);

// Maps the board file (creating and zeroing it when `create`); null on failure.
Board* mapBoard(const std::string& path, bool create);

// SIGTERM and SIGINT, which end the camera and the client.
inline sigset_t stopSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    return signals;
}

inline int64_t monotonicNs() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t(now.tv_sec) * 1000000000 + now.tv_nsec;
}

}  // namespace scale

#endif
