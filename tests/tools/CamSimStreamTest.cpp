// Live media from the simulator through the library's stream API: the
// frames the callbacks receive must decode with ffmpeg and djpeg.
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstring>
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
    std::string h264;
    int videoFrames = 0;
    int keyFrames = 0;
    bool firstWasKey = false;
    std::vector<std::string> jpegs;
    std::string adts;
    int audioFrames = 0;

    template <typename Done>
    bool waitFor(Done done, std::chrono::seconds timeout) {
        std::unique_lock<std::mutex> lock(mutex);
        return changed.wait_for(lock, timeout, [&] { return done(*this); });
    }
};

void onH264(DATA_TYPE_E type, FRAME_TYPE_E frame, unsigned char* data, unsigned long length, unsigned long user) {
    auto* r = reinterpret_cast<Received*>(user);
    std::lock_guard<std::mutex> lock(r->mutex);
    if (type != H264DATA_TYPE) return;
    if (r->videoFrames == 0) r->firstWasKey = frame == I_FRAME;
    ++r->videoFrames;
    if (frame == I_FRAME) ++r->keyFrames;
    r->h264.append(reinterpret_cast<const char*>(data), length);
    r->changed.notify_all();
}

void onJpeg(long, DATA_TYPE_E type, unsigned char* data, unsigned long length, unsigned long user) {
    auto* r = reinterpret_cast<Received*>(user);
    std::lock_guard<std::mutex> lock(r->mutex);
    if (type != MJPEGDATA_TYPE) return;
    r->jpegs.emplace_back(reinterpret_cast<const char*>(data), length);
    r->changed.notify_all();
}

void onAudio(long, DATA_TYPE_E type, unsigned char* data, unsigned long length, unsigned long user) {
    auto* r = reinterpret_cast<Received*>(user);
    std::lock_guard<std::mutex> lock(r->mutex);
    if (type != AACDATA_TYPE) return;
    ++r->audioFrames;
    r->adts.append(reinterpret_cast<const char*>(data), length);
    r->changed.notify_all();
}

void writeFile(const std::string& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary);
    out << bytes;
}

// Decodes a file with ffmpeg; returns the number of frames of its first
// stream, or -1, and asserts that the decoder complained about nothing.
int decodedFrames(const std::string& path, const std::string& format) {
    std::string errors;
    EXPECT_EQ(0, runCommand("ffmpeg -nostdin -v error -f " + format + " -i '" + path + "' -f null -", &errors));
    EXPECT_EQ("", errors) << path;
    std::string count;
    if (runCommand("ffprobe -v error -f " + format + " -count_frames -select_streams 0 -show_entries "
                   "stream=nb_read_frames -of csv=p=0 '" + path + "'", &count) != 0)
        return -1;
    return std::atoi(count.c_str());
}

std::string probe(const std::string& path, const std::string& format, const std::string& entries) {
    std::string text;
    runCommand("ffprobe -v error -f " + format + " -select_streams 0 -show_entries stream=" + entries +
                   " -of csv=p=0 '" + path + "'", &text);
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
    return text;
}

class CamSimStream : public ::testing::Test {
protected:
    void SetUp() override {
        if (!CamSimProcess::available()) GTEST_SKIP() << "kovo-camsim is not built: " << CamSimProcess::binaryPath();
    }
};

TEST_F(CamSimStream, H264AloneDecodesFromTheFirstKeyFrameWhileSettingsStillWork) {
    CamSimProcess sim;
    ASSERT_TRUE(sim.start({"--no-audio"}));
    long id = Kovo_Login("127.0.0.1", sim.port(), nullptr);
    ASSERT_GT(id, 0);
    ASSERT_EQ(0, Kovo_OpenStream(id, 0, 0, 0, CONNECT_TYPE_TCP, 0));
    Received received;
    ASSERT_EQ(0, Kovo_SetRealDataCallBack(id, H264DATA_TYPE, onH264, reinterpret_cast<unsigned long>(&received)));
    // With media interleaved on the stream connection, settings go over the control connection.
    char text[256] = "";
    EXPECT_EQ(0, Kovo_GetShutterSpeed(id, 0, text));
    EXPECT_STREQ("1/50", text);
    EXPECT_TRUE(received.waitFor([](Received& r) { return r.keyFrames >= 2 && r.videoFrames >= 40; }, 15s));
    EXPECT_EQ(0, Kovo_CloseStream(id));
    EXPECT_EQ(0, Kovo_Logout(id));

    std::lock_guard<std::mutex> lock(received.mutex);
    EXPECT_TRUE(received.firstWasKey);
    EXPECT_EQ(0, received.h264.compare(0, 5, std::string("\0\0\0\1\x67", 5), 0, 5));
    ScratchDir dir;
    writeFile(dir.file("video.h264"), received.h264);
    EXPECT_EQ("640,360", probe(dir.file("video.h264"), "h264", "width,height"));
    EXPECT_EQ(received.videoFrames, decodedFrames(dir.file("video.h264"), "h264"));
    EXPECT_EQ(0, sim.terminate());
}

TEST_F(CamSimStream, H264WithAudioAndMotionJpegWithAudioStreamToTwoClientsAtOnce) {
    CamSimProcess sim;
    ASSERT_TRUE(sim.start({"--size", "320x240", "--fps", "20"}));
    long h264Id = Kovo_Login("127.0.0.1", sim.port(), nullptr);
    long jpegId = Kovo_Login("127.0.0.1/MJPEG", sim.port(), nullptr);
    ASSERT_GT(h264Id, 0);
    ASSERT_GT(jpegId, 0);
    Received h264, jpeg;
    ASSERT_EQ(0, Kovo_OpenStream(h264Id, 0, 0, 0, CONNECT_TYPE_TCP, 0));
    ASSERT_EQ(0, Kovo_SetRealDataCallBack(h264Id, H264DATA_TYPE, onH264, reinterpret_cast<unsigned long>(&h264)));
    ASSERT_EQ(0, Kovo_SetAudioCallBack(h264Id, onAudio, reinterpret_cast<unsigned long>(&h264)));
    ASSERT_EQ(0, Kovo_OpenStream(jpegId, 0, 0, 0, CONNECT_TYPE_TCP, 0));
    ASSERT_EQ(0, Kovo_SetMJPEGCallBack(jpegId, onJpeg, reinterpret_cast<unsigned long>(&jpeg)));
    ASSERT_EQ(0, Kovo_SetRealDataCallBack(jpegId, H264DATA_TYPE, onH264, reinterpret_cast<unsigned long>(&jpeg)));
    ASSERT_EQ(0, Kovo_SetAudioCallBack(jpegId, onAudio, reinterpret_cast<unsigned long>(&jpeg)));
    EXPECT_TRUE(jpeg.waitFor([](Received& r) { return r.jpegs.size() >= 20 && r.audioFrames >= 40; }, 15s));
    EXPECT_TRUE(h264.waitFor([](Received& r) { return r.keyFrames >= 1 && r.audioFrames >= 40; }, 15s));
    EXPECT_EQ(0, Kovo_CloseStream(jpegId));
    EXPECT_EQ(0, Kovo_CloseStream(h264Id));
    EXPECT_EQ(0, Kovo_Logout(jpegId));
    EXPECT_EQ(0, Kovo_Logout(h264Id));
    EXPECT_EQ(0, sim.terminate());

    ScratchDir dir;
    std::lock_guard<std::mutex> lockJpeg(jpeg.mutex);
    std::lock_guard<std::mutex> lockH264(h264.mutex);
    EXPECT_EQ(0, jpeg.videoFrames);  // a Motion-JPEG stream says nothing to the H.264 callback
    for (size_t i = 0; i < jpeg.jpegs.size() && i < 3; ++i) {
        const std::string path = dir.file("frame" + std::to_string(i) + ".jpg");
        writeFile(path, jpeg.jpegs[i]);
        std::string ppm;
        ASSERT_EQ(0, runCommand("djpeg -pnm '" + path + "'", &ppm)) << ppm.substr(0, 200);
        EXPECT_EQ(0, ppm.compare(0, 15, "P6\n320 240\n255\n")) << ppm.substr(0, 200);
    }
    for (Received* r : {&jpeg, &h264}) {
        const std::string path = dir.file("audio.aac");
        writeFile(path, r->adts);
        EXPECT_EQ("aac,48000,2", probe(path, "aac", "codec_name,sample_rate,channels"));
        EXPECT_EQ(r->audioFrames, decodedFrames(path, "aac"));
    }
    writeFile(dir.file("video.h264"), h264.h264);
    EXPECT_EQ(h264.videoFrames, decodedFrames(dir.file("video.h264"), "h264"));
}

// The demonstration program always passes port 554; a port in the address overrides it.
TEST_F(CamSimStream, AddressCarryingPortAndPathReachesTheSimulator) {
    CamSimProcess sim;
    ASSERT_TRUE(sim.start({"--no-audio", "--size", "160x120"}));
    const std::string address = "127.0.0.1:" + std::to_string(sim.port()) + "/MJPEG";
    long id = Kovo_Login(address.c_str(), 554, nullptr);
    ASSERT_GT(id, 0);
    ASSERT_EQ(0, Kovo_OpenStream(id, 1, 0, 0, CONNECT_TYPE_TCP, 0));
    Received received;
    ASSERT_EQ(0, Kovo_SetMJPEGCallBack(id, onJpeg, reinterpret_cast<unsigned long>(&received)));
    EXPECT_TRUE(received.waitFor([](Received& r) { return r.jpegs.size() >= 3; }, 10s));
    EXPECT_EQ(0, Kovo_CloseStream(id));
    EXPECT_EQ(0, Kovo_Logout(id));
    EXPECT_EQ(0, sim.terminate());
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
    EXPECT_NE(std::string::npos, log.find("ChannelDescript: Stream\r\n"));
    EXPECT_NE(std::string::npos, log.find("ChannelDescript: Control\r\n"));
    EXPECT_NE(std::string::npos, log.find("SETUP 127.0.0.1/Ctrl RTSP/1.0\r\n"));
    EXPECT_EQ(0, sim.terminate());
}

TEST_F(CamSimStream, StopsCleanlyOnSigtermWhileStreamingAndAfterFrameLimit) {
    CamSimProcess limited;
    ASSERT_TRUE(limited.start({"--no-audio", "--frames", "10"}));
    long id = Kovo_Login("127.0.0.1", limited.port(), nullptr);
    ASSERT_GT(id, 0);
    ASSERT_EQ(0, Kovo_OpenStream(id, 0, 0, 0, CONNECT_TYPE_TCP, 0));
    EXPECT_EQ(0, limited.waitExit(10000));
    EXPECT_NE(std::string::npos, limited.output().find("stopped after"));
    Kovo_CloseStream(id);
    Kovo_Logout(id);

    CamSimProcess sim;
    ASSERT_TRUE(sim.start());
    id = Kovo_Login("127.0.0.1", sim.port(), nullptr);
    ASSERT_GT(id, 0);
    ASSERT_EQ(0, Kovo_OpenStream(id, 0, 0, 0, CONNECT_TYPE_TCP, 0));
    std::this_thread::sleep_for(500ms);
    EXPECT_EQ(0, sim.terminate(3000));
    Kovo_CloseStream(id);
    Kovo_Logout(id);
}

}  // namespace
}  // namespace kovo::test
