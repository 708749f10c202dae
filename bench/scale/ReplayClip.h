// The replay camera's recording: a few seconds of 1280x720 H.264, encoded
// once at start-up with the simulator's encoder and cut into RTP payloads,
// then sent to every client over and over.
#ifndef KOVO_BENCH_SCALE_REPLAYCLIP_H
#define KOVO_BENCH_SCALE_REPLAYCLIP_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace scale {

struct ClipPacket {
    size_t offset;  // RTP payload (without the 12-byte header) in Clip::bytes
    size_t size;
    bool marker;
};

struct ClipFrame {
    std::vector<ClipPacket> packets;
    bool key;
};

struct Clip {
    int fps = 25;
    std::vector<uint8_t> bytes;
    std::vector<ClipFrame> frames;  // starts with a key frame; a whole number of key-frame intervals

    size_t packetCount() const;
    double kbitPerSecond() const;
};

struct ClipSettings {
    int width = 1280;
    int height = 720;
    int fps = 25;
    int kbps = 2400;  // the encoder overshoots a little: about 2.5 Mbit/s on the wire
    int seconds = 4;
    int grain = 8;  // noise keeps the encoder at its bit rate; the clean test picture needs a tenth of it
};

// Encodes the clip; false with a reason when the encoder cannot be opened.
bool makeClip(const ClipSettings& settings, Clip& clip, std::string& error);

}  // namespace scale

#endif
