// Motion-JPEG and AAC through a real opened stream: the fake camera plays a
// clip interleaved on the RTSP connection, the application's callbacks must
// receive JPEG files and ADTS frames that decode to the source media.
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "JpegAacTestMedia.h"
#include "sdk/KovoSDK.h"
#include "stream/JpegAssembler.h"
#include "support/FakeCamera.h"

namespace kovo {
namespace {

using namespace test::media;
using test::FakeCamera;
using test::Reply;

const std::string kVideoTrack =
    "m=video 0 RTP/AVP 26\r\na=x-dimensions:320, 240\r\na=x-framerate:10\r\na=control:trackID=1\r\n";
const std::string kAudioTrack =
    "m=audio 0 RTP/AVP 97\r\na=rtpmap:97 mpeg4-generic/48000/2\r\na=control:trackID=2\r\n";
const std::string kPrimeScan = "prime";

// What the application's callbacks received, minus the priming traffic.
struct Received {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::string> jpegs, audio;
    int primeJpegs = 0, primeAudio = 0, rawFrames = 0;
    long streamId = 0;
    bool wrongArguments = false;

    template <DATA_TYPE_E kType>
    static void onMedia(long id, DATA_TYPE_E type, unsigned char* data, unsigned long length, unsigned long user) {
        auto* self = reinterpret_cast<Received*>(user);
        const std::string frame(reinterpret_cast<char*>(data), length);
        const bool audio = kType == AACDATA_TYPE;
        const bool prime = audio ? length == 8  // the one-byte priming unit
                                 : length > 7 && frame.compare(length - 7, 5, kPrimeScan) == 0;
        std::lock_guard<std::mutex> lock(self->mutex);
        self->wrongArguments |= id != self->streamId || type != kType;
        if (prime)
            ++(audio ? self->primeAudio : self->primeJpegs);
        else
            (audio ? self->audio : self->jpegs).push_back(frame);
        self->changed.notify_all();
    }
    static void onRaw(DATA_TYPE_E, FRAME_TYPE_E, unsigned char*, unsigned long, unsigned long user) {
        auto* self = reinterpret_cast<Received*>(user);
        std::lock_guard<std::mutex> lock(self->mutex);
        ++self->rawFrames;
    }
    template <typename Pred>
    bool waitFor(Pred done, std::chrono::milliseconds timeout = std::chrono::seconds(10)) {
        std::unique_lock<std::mutex> lock(mutex);
        return changed.wait_for(lock, timeout, [&] { return done(*this); });
    }
};

class MediaStream : public ::testing::TestWithParam<bool> {
protected:
    void open(bool withAudio) {
        videoChannel = withAudio ? 2 : 0;
        audio = withAudio;
        const std::string sdp = "v=0\r\ns=live\r\n" + kVideoTrack + (withAudio ? kAudioTrack : "");
        cam.onMethod("DESCRIBE", Reply::ok({"Content-Type: application/sdp"}, sdp));
        // The stream is Motion-JPEG because its URL names it.
        id = Kovo_Login("127.0.0.1/MJPEG", cam.port(), nullptr);
        ASSERT_GT(id, 0);
        ASSERT_EQ(Kovo_OpenStream(id, 0, 0, 0, CONNECT_TYPE_TCP, 0), 0);
        got.streamId = id;
        const auto user = reinterpret_cast<unsigned long>(&got);
        ASSERT_EQ(Kovo_SetMJPEGCallBack(id, &Received::onMedia<MJPEGDATA_TYPE>, user), 0);
        ASSERT_EQ(Kovo_SetRealDataCallBack(id, H264DATA_TYPE, &Received::onRaw, user), 0);
        if (withAudio) {
            ASSERT_EQ(Kovo_SetAudioCallBack(id, &Received::onMedia<AACDATA_TYPE>, user), 0);
        }
        connection = cam.requests("DESCRIBE").at(0).connection;
        prime();
    }

    void TearDown() override {
        if (id > 0) {
            Kovo_CloseStream(id);
            Kovo_Logout(id);
        }
    }

    // The pipeline starts delivering only after its first packets (and the process drops
    // its first JPEG frame): send one-packet frames until both media come through.
    void prime() {
        for (int round = 0; round < 200; ++round) {
            std::string payload("\0\0\0\0\x01\x32\x02\x02", 8);
            std::string bytes = test::interleave(videoChannel, test::rtpPacket(26, true, seq++, 0, payload + kPrimeScan));
            if (audio) bytes += test::interleave(0, aacPacket("p", seq++, 0));
            ASSERT_TRUE(cam.send(connection, bytes));
            if (got.waitFor([&](Received& r) { return r.primeJpegs > 0 && (!audio || r.primeAudio > 0); },
                            std::chrono::milliseconds(25)))
                return;
        }
        FAIL() << "the stream never delivered";
    }

    FakeCamera cam;
    Received got;
    long id = 0;
    int connection = 0;
    uint8_t videoChannel = 0;
    bool audio = false;
    uint16_t seq = 1;
};

// A Motion-JPEG clip alone on channel 0, or with an AAC track (audio on 0, video on 2):
// every JPEG and the whole ADTS stream decode to exactly the source media.
TEST_P(MediaStream, DeliveredMediaDecodeToTheSource) {
    if (!haveTool("ffmpeg") || !haveTool("djpeg")) GTEST_SKIP() << "ffmpeg and djpeg are needed";
    const bool withAudio = GetParam();
    TempDir dir;
    const auto clip = makeJpegClip(dir, withAudio ? 10 : 8);
    const std::string track = withAudio ? makeAacTrack(dir, 1) : "";
    const auto units = splitAdts(track);
    ASSERT_EQ(clip.size(), withAudio ? 10u : 8u);
    ASSERT_TRUE(!withAudio || units.size() > 20u);
    JpegAssembler::setFirstFrameDropped(false);
    {
        test::StdoutCapture traces;
        open(withAudio);
        if (HasFatalFailure()) return;
        EXPECT_NE(traces.text().find("printf drain first frame "), std::string::npos);
    }

    // Audio units and video fragments alternate on the wire, as a camera sends them.
    std::vector<std::string> videoPackets;
    for (size_t i = 0; i < clip.size(); ++i) {
        JpegPicture picture;
        ASSERT_EQ(parseJpeg(clip[i], &picture), "");
        for (std::string& packet : packetiseJpeg(picture, &seq, 9000 * i, 1400)) videoPackets.push_back(packet);
    }
    std::string bytes;
    for (size_t v = 0, a = 0; v < videoPackets.size() || a < units.size();) {
        if (a < units.size()) bytes += test::interleave(0, aacPacket(units[a], seq++, 1024 * a)), ++a;
        if (v < videoPackets.size()) bytes += test::interleave(videoChannel, videoPackets[v++]);
        if (bytes.size() > 20000) {
            ASSERT_TRUE(cam.send(connection, bytes));
            bytes.clear();
        }
    }
    ASSERT_TRUE(cam.send(connection, bytes));
    EXPECT_TRUE(got.waitFor(
        [&](Received& r) { return r.jpegs.size() >= clip.size() && r.audio.size() >= units.size(); }));

    std::lock_guard<std::mutex> lock(got.mutex);
    EXPECT_FALSE(got.wrongArguments);
    EXPECT_EQ(got.rawFrames, 0);
    ASSERT_EQ(got.jpegs.size(), clip.size());
    for (size_t i = 0; i < clip.size(); ++i) {
        const std::string expected = decodeJpeg(dir, clip[i], "source");
        ASSERT_FALSE(expected.empty());
        EXPECT_TRUE(decodeJpeg(dir, got.jpegs[i], "received") == expected) << "frame " << i << " differs";
    }
    if (!withAudio) return;
    std::string adts;
    for (const std::string& frame : got.audio) adts += frame;
    EXPECT_EQ(splitAdts(adts), units);
    const std::string expected = decodeAac(dir, track, "source");
    ASSERT_FALSE(expected.empty());
    EXPECT_TRUE(decodeAac(dir, adts, "received") == expected) << "decoded audio differs";
}

INSTANTIATE_TEST_SUITE_P(, MediaStream, ::testing::Bool(),
                         [](const auto& info) { return info.param ? "WithAudio" : "VideoOnly"; });

}  // namespace
}  // namespace kovo
