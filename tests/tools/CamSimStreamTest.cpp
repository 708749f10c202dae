// Live media from the simulator through the library's stream API: the
// frames the callbacks receive must decode with ffmpeg and djpeg.
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "CamSimProcess.h"
#include "sdk/KovoSDK.h"

namespace kovo::test {
namespace {

using namespace std::chrono_literals;

// Everything one stream delivered.
struct Received {
    std::mutex mutex;
    std::condition_variable changed;
    std::string h264, adts;
    std::vector<std::string> jpegs;
    int videoFrames = 0, keyFrames = 0, audioFrames = 0;
    bool firstWasKey = false;

    template <typename Done>
    bool waitFor(Done done, std::chrono::seconds timeout) {
        std::unique_lock<std::mutex> lock(mutex);
        return changed.wait_for(lock, timeout, [&] { return done(*this); });
    }
    template <typename Update>
    static void update(unsigned long user, Update apply) {
        auto* r = reinterpret_cast<Received*>(user);
        std::lock_guard<std::mutex> lock(r->mutex);
        apply(*r);
        r->changed.notify_all();
    }
};

void onH264(DATA_TYPE_E type, FRAME_TYPE_E frame, unsigned char* data, unsigned long length, unsigned long user) {
    Received::update(user, [&](Received& r) {
        if (type != H264DATA_TYPE) return;
        if (r.videoFrames++ == 0) r.firstWasKey = frame == I_FRAME;
        if (frame == I_FRAME) ++r.keyFrames;
        r.h264.append(reinterpret_cast<const char*>(data), length);
    });
}

void onJpeg(long, DATA_TYPE_E type, unsigned char* data, unsigned long length, unsigned long user) {
    Received::update(user, [&](Received& r) {
        if (type == MJPEGDATA_TYPE) r.jpegs.emplace_back(reinterpret_cast<const char*>(data), length);
    });
}

void onAudio(long, DATA_TYPE_E type, unsigned char* data, unsigned long length, unsigned long user) {
    Received::update(user, [&](Received& r) {
        if (type != AACDATA_TYPE) return;
        ++r.audioFrames;
        r.adts.append(reinterpret_cast<const char*>(data), length);
    });
}

unsigned long user(Received& r) { return reinterpret_cast<unsigned long>(&r); }

std::string writeFile(const ScratchDir& dir, const std::string& name, const std::string& bytes) {
    const std::string path = dir.file(name);
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
}

std::string probe(const std::string& path, const std::string& format, const std::string& options) {
    std::string text;
    runCommand("ffprobe -v error -f " + format + " -select_streams 0 " + options + " -of csv=p=0 '" + path + "'", &text);
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
    return text;
}

// Decodes a file with ffmpeg, which must complain about nothing; returns
// the number of frames of its first stream.
int decodedFrames(const std::string& path, const std::string& format) {
    std::string errors;
    EXPECT_EQ(0, runCommand("ffmpeg -nostdin -v error -f " + format + " -i '" + path + "' -f null -", &errors));
    EXPECT_EQ("", errors) << path;
    const std::string count = probe(path, format, "-count_frames -show_entries stream=nb_read_frames");
    return count.empty() ? -1 : std::atoi(count.c_str());
}

using CamSimStream = CamSimTest;

// Two clients at once; the Motion-JPEG one logs in the way the demonstration
// program does: port 554 given, the real port carried in the address.
TEST_F(CamSimStream, H264AndMotionJpegWithAudioDecodeFromTheFirstKeyFrameWhileSettingsStillWork) {
    CamSimProcess sim;
    ASSERT_TRUE(sim.start({"--size", "320x240", "--fps", "20"}));
    long h264Id = Kovo_Login("127.0.0.1", sim.port(), nullptr);
    long jpegId = Kovo_Login(("127.0.0.1:" + std::to_string(sim.port()) + "/MJPEG").c_str(), 554, nullptr);
    ASSERT_GT(h264Id, 0);
    ASSERT_GT(jpegId, 0);
    Received h264, jpeg;
    ASSERT_EQ(0, Kovo_OpenStream(h264Id, 0, 0, 0, CONNECT_TYPE_TCP, 0));
    ASSERT_EQ(0, Kovo_SetRealDataCallBack(h264Id, H264DATA_TYPE, onH264, user(h264)));
    ASSERT_EQ(0, Kovo_SetAudioCallBack(h264Id, onAudio, user(h264)));
    ASSERT_EQ(0, Kovo_OpenStream(jpegId, 1, 0, 0, CONNECT_TYPE_TCP, 0));
    ASSERT_EQ(0, Kovo_SetMJPEGCallBack(jpegId, onJpeg, user(jpeg)));
    ASSERT_EQ(0, Kovo_SetRealDataCallBack(jpegId, H264DATA_TYPE, onH264, user(jpeg)));
    ASSERT_EQ(0, Kovo_SetAudioCallBack(jpegId, onAudio, user(jpeg)));
    // With media interleaved on the stream connection, settings go over the control connection.
    char text[256] = "";
    EXPECT_EQ(0, Kovo_GetShutterSpeed(h264Id, 0, text));
    EXPECT_STREQ("1/50", text);
    EXPECT_TRUE(jpeg.waitFor([](Received& r) { return r.jpegs.size() >= 20 && r.audioFrames >= 40; }, 15s));
    EXPECT_TRUE(h264.waitFor([](Received& r) { return r.keyFrames >= 2 && r.videoFrames >= 40 && r.audioFrames >= 40; },
                             15s));
    for (long id : {jpegId, h264Id}) {
        EXPECT_EQ(0, Kovo_CloseStream(id));
        EXPECT_EQ(0, Kovo_Logout(id));
    }
    EXPECT_EQ(0, sim.terminate());

    ScratchDir dir;
    std::lock_guard<std::mutex> lockJpeg(jpeg.mutex);
    std::lock_guard<std::mutex> lockH264(h264.mutex);
    EXPECT_EQ(0, jpeg.videoFrames);  // a Motion-JPEG stream says nothing to the H.264 callback
    for (size_t i = 0; i < jpeg.jpegs.size() && i < 3; ++i) {
        std::string ppm;
        ASSERT_EQ(0, runCommand("djpeg -pnm '" + writeFile(dir, "frame.jpg", jpeg.jpegs[i]) + "'", &ppm));
        EXPECT_EQ(0, ppm.compare(0, 15, "P6\n320 240\n255\n")) << ppm.substr(0, 200);
    }
    for (Received* r : {&jpeg, &h264}) {
        const std::string path = writeFile(dir, "audio.aac", r->adts);
        EXPECT_EQ("aac,48000,2", probe(path, "aac", "-show_entries stream=codec_name,sample_rate,channels"));
        EXPECT_EQ(r->audioFrames, decodedFrames(path, "aac"));
    }
    EXPECT_TRUE(h264.firstWasKey);
    EXPECT_EQ(0, h264.h264.compare(0, 5, std::string("\0\0\0\1\x67", 5), 0, 5));  // SPS first
    const std::string video = writeFile(dir, "video.h264", h264.h264);
    EXPECT_EQ("320,240", probe(video, "h264", "-show_entries stream=width,height"));
    EXPECT_EQ(h264.videoFrames, decodedFrames(video, "h264"));
}

TEST_F(CamSimStream, ProxiedLoginBindsTheControlChannel) {
    CamSimProcess sim;
    ASSERT_TRUE(sim.start({"--no-audio"}));
    long id = Kovo_Login("127.0.0.1", sim.port(), "127.0.0.1");
    ASSERT_GT(id, 0);
    char sn[256] = "";
    EXPECT_EQ(0, Kovo_GetProductSN(id, sn));
    EXPECT_EQ(0, Kovo_Logout(id));
    const std::string log = sim.output();
    for (const char* line : {"ChannelDescript: Stream\r\n", "ChannelDescript: Control\r\n",
                             "SETUP 127.0.0.1/Ctrl RTSP/1.0\r\n"})
        EXPECT_NE(std::string::npos, log.find(line)) << line;
    EXPECT_EQ(0, sim.terminate());
}

TEST_F(CamSimStream, StopsCleanlyAfterTheFrameLimitAndOnSigtermWhileStreaming) {
    for (bool limited : {true, false}) {
        SCOPED_TRACE(limited ? "--frames 10" : "SIGTERM");
        CamSimProcess sim;
        ASSERT_TRUE(sim.start(limited ? std::vector<std::string>{"--no-audio", "--frames", "10"}
                                      : std::vector<std::string>{}));
        long id = Kovo_Login("127.0.0.1", sim.port(), nullptr);
        ASSERT_GT(id, 0);
        ASSERT_EQ(0, Kovo_OpenStream(id, 0, 0, 0, CONNECT_TYPE_TCP, 0));
        if (limited) {
            EXPECT_EQ(0, sim.waitExit(10000));
            EXPECT_NE(std::string::npos, sim.output().find("stopped after"));
        } else {
            std::this_thread::sleep_for(500ms);
            EXPECT_EQ(0, sim.terminate(3000));
        }
        Kovo_CloseStream(id);
        Kovo_Logout(id);
    }
}

}  // namespace
}  // namespace kovo::test
