#include "MediaStreamer.h"

#include <chrono>
#include <memory>
#include <random>
#include <vector>

#include "Encoders.h"
#include "RtpPacketizer.h"

namespace camsim {
namespace {

using Clock = std::chrono::steady_clock;

const uint8_t kPayloadH264 = 96;
const uint8_t kPayloadJpeg = 26;
const uint8_t kPayloadAac = 97;
const uint32_t kVideoClock = 90000;
// The receiving side re-wraps each AU in a 2,048-byte area behind a 7-byte ADTS header.
const size_t kMaxAacUnit = 2041;
// Pause between the PLAY reply and the first packet, so that the client
// reads the reply alone.
const auto kStartDelay = std::chrono::milliseconds(250);

Clock::duration seconds(double value) {
    return std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(value));
}

uint32_t randomWord() {
    static std::mutex mutex;
    static std::mt19937 random{std::random_device{}()};
    std::lock_guard<std::mutex> lock(mutex);
    return static_cast<uint32_t>(random());
}

}  // namespace

struct MediaStreamer::Media {
    std::unique_ptr<VideoEncoder> video;
    std::unique_ptr<AudioEncoder> audio;
    std::unique_ptr<RtpStream> videoRtp;
    std::unique_ptr<RtpStream> audioRtp;
    uint32_t videoBase = randomWord();
    uint32_t audioBase = randomWord();
    std::vector<std::vector<uint8_t>> coded;
};

MediaStreamer::MediaStreamer(const Options& options, const StreamSetup& setup, PacketSink sink,
                             std::atomic<long>& framesSent)
    : options_(options), setup_(setup), sink_(std::move(sink)), framesSent_(framesSent) {}

MediaStreamer::~MediaStreamer() {
    stop();
    delete media_;
}

bool MediaStreamer::start(std::string& error) {
    std::unique_ptr<Media> media(new Media());
    if (setup_.video) {
        media->video = VideoEncoder::open(setup_.mjpeg, options_, error);
        if (!media->video) return false;
        media->videoRtp.reset(new RtpStream(setup_.mjpeg ? kPayloadJpeg : kPayloadH264, randomWord(),
                                            static_cast<uint16_t>(randomWord())));
    }
    if (setup_.audio) {
        media->audio = AudioEncoder::open(error);
        if (!media->audio) return false;
        media->audioRtp.reset(new RtpStream(kPayloadAac, randomWord(), static_cast<uint16_t>(randomWord())));
    }
    media_ = media.release();
    thread_ = std::thread(&MediaStreamer::run, this);
    return true;
}

void MediaStreamer::stop() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_all();
    if (thread_.joinable()) thread_.join();
}

// Paces video at the frame rate and audio at 1024 samples per unit, both
// from one start time, encoding each just before it is due.
void MediaStreamer::run() {
    Media& m = *media_;
    auto start = Clock::now() + kStartDelay;
    bool stallPending = options_.stallFor > 0;
    const auto frameTime = std::chrono::duration<double>(1.0 / options_.fps);
    const auto unitTime = std::chrono::duration<double>(double(AudioEncoder::kSamplesPerUnit) / AudioEncoder::kSampleRate);
    long frame = 0, unit = 0;
    const uint8_t videoChannel = setup_.videoChannel, audioChannel = setup_.audioChannel;
    const RtpEmit toVideo = [&](const uint8_t* p, size_t n) { return sink_(videoChannel, p, n); };
    const RtpEmit toAudio = [&](const uint8_t* p, size_t n) { return sink_(audioChannel, p, n); };
    for (;;) {
        const auto videoDue = start + std::chrono::duration_cast<Clock::duration>(frameTime * frame);
        const auto audioDue = start + std::chrono::duration_cast<Clock::duration>(unitTime * unit);
        const bool audioNext = m.audio && (!m.video || audioDue < videoDue);
        const auto due = audioNext ? audioDue : videoDue;
        if (stallPending && due >= start - kStartDelay + seconds(options_.stallAfter)) {
            // A frozen camera: nothing for a while, then the media carries on
            // where it stopped, at its own pace, with nothing lost.
            stallPending = false;
            start += seconds(options_.stallFor);
            continue;
        }
        {
            std::unique_lock<std::mutex> lock(mutex_);
            if (wake_.wait_until(lock, due, [this] { return stopping_; })) return;
        }
        m.coded.clear();
        bool ok = true;
        if (audioNext) {
            ok = m.audio->encodeNext(m.coded);
            for (const auto& au : m.coded) {
                if (!ok || au.size() > kMaxAacUnit) continue;
                const uint32_t timestamp = m.audioBase + static_cast<uint32_t>(unit * AudioEncoder::kSamplesPerUnit);
                ok = packetizeAac(*m.audioRtp, au.data(), au.size(), timestamp, toAudio);
            }
            ++unit;
        } else {
            ok = m.video->encodeNext(m.coded);
            const uint32_t timestamp = m.videoBase + static_cast<uint32_t>(frame * kVideoClock / options_.fps);
            for (const auto& picture : m.coded) {
                if (!ok) break;
                ok = setup_.mjpeg ? packetizeJpeg(*m.videoRtp, picture.data(), picture.size(), timestamp, toVideo)
                                  : packetizeH264(*m.videoRtp, picture.data(), picture.size(), timestamp, toVideo);
                if (ok) ++framesSent_;
            }
            ++frame;
        }
        if (!ok) return;  // the peer is gone or an encoder failed
    }
}

}  // namespace camsim
