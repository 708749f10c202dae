// Shared set-up of the stream tests: a fake camera answering DESCRIBE with a
// scripted SDP, a logged-in device and frame collection from the callbacks.
#ifndef KOVO_TESTS_STREAM_STREAMTESTSUPPORT_H
#define KOVO_TESTS_STREAM_STREAMTESTSUPPORT_H

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "sdk/Device.h"
#include "sdk/KovoSDK.h"
#include "stream/Depacketizer.h"
#include "support/FakeCamera.h"

namespace kovo::test {

struct SdpOptions {
    bool dimensions = true;
    bool frameRate = true;
    bool video = true;
    bool audio = false;
};

inline Reply describeReply(const SdpOptions& o = {}) {
    std::string sdp = "v=0\r\no=- 0 0 IN IP4 127.0.0.1\r\ns=Kovo\r\na=control:*\r\n";
    if (o.dimensions) sdp += "a=x-dimensions:320, 240\r\n";
    if (o.frameRate) sdp += "a=x-framerate:25\r\n";
    if (o.video) sdp += "m=video 0 RTP/AVP 96\r\na=rtpmap:96 H264/90000\r\na=control:trackID=1\r\n";
    if (o.audio) sdp += "m=audio 0 RTP/AVP 97\r\na=rtpmap:97 mpeg4-generic/48000/2\r\na=control:trackID=2\r\n";
    return Reply::ok({"Content-Type: application/sdp"}, sdp);
}

// Items handed over from the library's threads, in order, with a wait for
// a condition on them.
template <typename T>
class Collected {
public:
    unsigned long user() { return reinterpret_cast<unsigned long>(this); }
    void add(T item) {
        std::lock_guard<std::mutex> lock(mutex_);
        items_.push_back(std::move(item));
        arrived_.notify_all();
    }
    template <typename Done>
    bool waitUntil(Done done, std::chrono::milliseconds timeout = std::chrono::seconds(10)) {
        std::unique_lock<std::mutex> lock(mutex_);
        return arrived_.wait_for(lock, timeout, [&] { return done(items_); });
    }
    std::vector<T> items() {
        std::lock_guard<std::mutex> lock(mutex_);
        return items_;
    }

private:
    std::mutex mutex_;
    std::condition_variable arrived_;
    std::vector<T> items_;
};

struct Frame {
    int dataType;
    int frameType;
    std::string bytes;
};

// Frames handed to the application.
struct FrameSink : Collected<Frame> {
    using Frame = test::Frame;
    static void onRealData(DATA_TYPE_E type, FRAME_TYPE_E frameType, unsigned char* data,
                           unsigned long length, unsigned long user) {
        reinterpret_cast<FrameSink*>(user)->add({type, frameType, std::string(reinterpret_cast<char*>(data), length)});
    }
    // The Motion-JPEG and audio callbacks: the stream id goes in as the frame type.
    static void onMedia(long id, DATA_TYPE_E type, unsigned char* data, unsigned long length, unsigned long user) {
        reinterpret_cast<FrameSink*>(user)->add({type, int(id), std::string(reinterpret_cast<char*>(data), length)});
    }
    bool waitFor(size_t count, std::chrono::milliseconds timeout = std::chrono::seconds(10)) {
        return waitUntil([count](const std::vector<Frame>& frames) { return frames.size() >= count; }, timeout);
    }
    std::vector<Frame> frames() { return items(); }
};

// A fake camera answering DESCRIBE as told and a device logged in to it;
// the stream is closed and the device logged out at the end.
class StreamFixture : public ::testing::Test {
public:
    void login(const Reply& describe = describeReply(), const char* address = "127.0.0.1") {
        cam.onMethod("DESCRIBE", describe);
        StdoutCapture quiet;
        id = Kovo_Login(address, cam.port(), nullptr);
        ASSERT_GT(id, 0);
    }
    void TearDown() override {
        StdoutCapture quiet;
        if (id > 0 && FindDeviceByDeviceID(id)) {
            Kovo_CloseStream(id);
            Kovo_Logout(id);
        }
    }
    FakeCamera cam;
    long id = -1;
};

// Index of the camera-side connection that carries the stream (the one the
// PLAY arrived on), or -1.
inline int streamConnection(const FakeCamera& cam) {
    auto plays = cam.requests("PLAY");
    return plays.empty() ? -1 : plays.back().connection;
}

// An SPS of a 320x240 picture as x264 writes it, and its PPS.
inline const std::string kSps("\x67\x42\xc0\x15\xd9\x01\x41\xfb\x01\x6a\x0c\x0c\x0d\x4a\x00\x00\x03\x00\x02\x00\x00\x03"
                       "\x00\x65\x1e\x2c\x5c\x90", 28);
inline const std::string kPps("\x68\xcb\x8c\xb2", 4);

// A sender report: NTP seconds since 1900 and fraction for unix microseconds.
inline std::string senderReport(long long unixMicros, uint32_t rtpTimestamp) {
    const uint64_t seconds = uint64_t(unixMicros / 1000000) + 2208988800ULL;
    const uint64_t fraction = (uint64_t(unixMicros % 1000000) << 32) / 1000000;
    std::string sr("\x80\xC8\x00\x06" "SSRC", 8);
    for (uint32_t word : {uint32_t(seconds), uint32_t(fraction), rtpTimestamp, 0u, 0u})
        for (int shift = 24; shift >= 0; shift -= 8) sr += char(word >> shift);
    return sr;
}

// A key frame on channel 0: an SPS, then an IDR slice of `size` bytes telling ts, with the marker.
inline std::string keyFrame(uint16_t& seq, uint32_t ts, size_t size = 40) {
    std::string sps = interleave(0, rtpPacket(96, false, seq++, ts, "\x67sps"));
    return sps + interleave(0, rtpPacket(96, true, seq++, ts, "\x65" + std::string(size, char('a' + ts % 26))));
}

// One H.264 NAL unit as interleaved RTP on channel 0: whole up to `piece`
// bytes, else in FU-A fragments of `piece` bytes; the marker on its last packet if `marker`.
inline std::string h264Packets(const std::string& nal, uint16_t& seq, uint32_t ts, bool marker, size_t piece = 1400) {
    if (nal.size() <= piece) return interleave(0, rtpPacket(96, marker, seq++, ts, nal));
    std::string out;
    for (size_t at = 1; at < nal.size(); at += piece) {
        const bool end = at + piece >= nal.size();
        const char header = char((at == 1 ? 0x80 : 0) | (end ? 0x40 : 0) | (nal[0] & 0x1F));
        out += interleave(0, rtpPacket(96, marker && end, seq++, ts,
                                       std::string{char((nal[0] & 0x60) | 28), header} + nal.substr(at, piece)));
    }
    return out;
}

}  // namespace kovo::test

namespace kovo {

// Frames a depacketiser hands out, with the ones it dropped.
struct FrameCollector : FrameSink {
    struct Out {
        MediaFrame meta;
        std::string bytes;
    };
    std::vector<Out> frames;
    int dropped = 0;
    bool processing() const override { return true; }
    void onFrame(const MediaFrame& f) override {
        frames.push_back({f, std::string(reinterpret_cast<const char*>(f.data), f.size)});
    }
    void onFrameDropped(DATA_TYPE_E) override { ++dropped; }

    // One packet through the standard header rules.
    void push(Depacketizer& unit, const std::string& packet, bool lossBefore = false) {
        RtpPacket p;
        ASSERT_TRUE(ParseRtpPacket(reinterpret_cast<const uint8_t*>(packet.data()), uint32_t(packet.size()),
                                   RtpRules::Standard, p));
        unit.push(p, lossBefore);
    }
};

// Frames an assembler hands to its byte sink.
struct ByteFrames : std::vector<std::string> {
    static void sink(void* user, const unsigned char* data, size_t length) {
        static_cast<ByteFrames*>(user)->emplace_back(reinterpret_cast<const char*>(data), length);
    }
};

// Big-endian 16-bit field.
inline std::string be16(size_t v) { return {char(v >> 8), char(v)}; }

}  // namespace kovo

#endif
