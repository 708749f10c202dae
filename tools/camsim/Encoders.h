// libavcodec encoders of the test picture (H.264 or Motion-JPEG) and of the
// test tone (AAC-LC, 48 kHz, stereo).
#ifndef KOVO_CAMSIM_ENCODERS_H
#define KOVO_CAMSIM_ENCODERS_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Options.h"

struct AVCodecContext;
struct AVFrame;
struct AVPacket;

namespace camsim {

// Owns an opened codec context with its frame and packet.
class Encoder {
public:
    ~Encoder();
    Encoder(const Encoder&) = delete;
    Encoder& operator=(const Encoder&) = delete;

protected:
    Encoder() = default;
    // Sends frame_ (or nothing when `flush`) and appends every packet produced.
    bool encode(std::vector<std::vector<uint8_t>>& out);

    AVCodecContext* context_ = nullptr;
    AVFrame* frame_ = nullptr;
    AVPacket* packet_ = nullptr;
};

class VideoEncoder : public Encoder {
public:
    // H.264 through libx264: one slice per picture, no B-frames, SPS and PPS
    // before every IDR, Annex B; or baseline JPEG with the standard Huffman
    // tables and both quantisation tables.
    static std::unique_ptr<VideoEncoder> open(bool mjpeg, const Options& options, std::string& error);

    // Encodes the next test picture; `out` gets the coded pictures ready (with
    // these settings exactly one per call).
    bool encodeNext(std::vector<std::vector<uint8_t>>& out);

private:
    long index_ = 0;
    int fps_ = 25;
    bool fullRange_ = false;
    int grain_ = 0;
};

class AudioEncoder : public Encoder {
public:
    static const int kSampleRate = 48000;
    static const int kSamplesPerUnit = 1024;

    static std::unique_ptr<AudioEncoder> open(std::string& error);

    // Encodes the next 1024 samples of the tone; `out` gets the access units
    // that became ready (none for the first calls, while the encoder primes).
    bool encodeNext(std::vector<std::vector<uint8_t>>& out);

private:
    long sample_ = 0;
};

}  // namespace camsim

#endif
