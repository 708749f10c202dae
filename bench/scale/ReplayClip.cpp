#include "ReplayClip.h"

#include <memory>

#include "Encoders.h"
#include "Options.h"
#include "RtpPacketizer.h"

namespace scale {

size_t Clip::packetCount() const {
    size_t count = 0;
    for (const auto& frame : frames) count += frame.packets.size();
    return count;
}

double Clip::kbitPerSecond() const {
    size_t payload = 0;
    for (const auto& frame : frames)
        for (const auto& packet : frame.packets) payload += packet.size + 12;
    return frames.empty() ? 0 : payload * 8.0 / 1000 / (double(frames.size()) / fps);
}

bool makeClip(const ClipSettings& settings, Clip& clip, std::string& error) {
    camsim::Options options;
    options.width = settings.width;
    options.height = settings.height;
    options.fps = settings.fps;
    options.bitrateKbps = settings.kbps;
    options.audio = false;
    options.grain = settings.grain;
    std::unique_ptr<camsim::VideoEncoder> encoder = camsim::VideoEncoder::open(false, options, error);
    if (!encoder) return false;
    clip = Clip();
    clip.fps = settings.fps;
    camsim::RtpStream rtp(96, 0, 0);
    const camsim::RtpEmit keep = [&clip](const uint8_t* packet, size_t size) {
        clip.frames.back().packets.push_back(ClipPacket{clip.bytes.size(), size - 12, (packet[1] & 0x80) != 0});
        clip.bytes.insert(clip.bytes.end(), packet + 12, packet + size);
        return true;
    };
    std::vector<std::vector<uint8_t>> coded;
    // The encoder sets a key frame every second, so whole seconds loop cleanly.
    const int count = settings.fps * settings.seconds;
    for (int index = 0; index < count; ++index) {
        coded.clear();
        if (!encoder->encodeNext(coded) || coded.size() != 1) {
            error = "the encoder gave no picture for frame " + std::to_string(index);
            return false;
        }
        const std::vector<uint8_t>& picture = coded.front();
        // A key frame leads with its sequence parameter set (00 00 00 01 67).
        clip.frames.push_back(ClipFrame{{}, picture.size() > 4 && (picture[4] & 0x1F) == 7});
        camsim::packetizeH264(rtp, picture.data(), picture.size(), 0, keep);
    }
    if (!clip.frames.front().key) {
        error = "the recording does not start with a key frame";
        return false;
    }
    return true;
}

}  // namespace scale
