#include <dirent.h>
#include <unistd.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <regex>
#include <string>
#include <thread>

#include "StreamTestSupport.h"
#include "sdk/Device.h"
#include "sdk/KovoSDK.h"

namespace {

using namespace kovo::test;
using namespace std::chrono_literals;

std::string withoutSiteNumbers(const std::string& text) {
    return std::regex_replace(text, std::regex("\\[[0-9]+\\]"), "[N]");
}

int threadCount() {
    int n = 0;
    if (DIR* dir = opendir("/proc/self/task")) {
        while (dirent* e = readdir(dir)) n += e->d_name[0] != '.';
        closedir(dir);
    }
    return n;
}

class StreamApi : public ::testing::Test {
protected:
    FakeCamera cam;
    long id = -1;

    void login() {
        StdoutCapture quiet;
        id = Kovo_Login("127.0.0.1", cam.port(), nullptr);
        ASSERT_GT(id, 0);
    }
    long open(int connectType = CONNECT_TYPE_TCP) {
        StdoutCapture quiet;
        return Kovo_OpenStream(id, 0, 0, 0, connectType, 0);
    }
    void TearDown() override {
        StdoutCapture quiet;
        if (id > 0 && FindDeviceByDeviceID(id)) {
            Kovo_CloseStream(id);
            Kovo_Logout(id);
        }
    }
};

TEST_F(StreamApi, InvalidArgumentsAreRefusedBeforeAnyTraffic) {
    login();
    struct Case { long device; int channel; long type, mode; int connect; long pool; const char* trace; };
    const Case cases[] = {
        {0, 0, 0, 0, 2, 0, "OpenStream[N] device invalid.\n\r\n"},
        {id, -1, 0, 0, 2, 0, "OpenStream[N] channel invalid.\n\r\n"},
        {id, 0, -1, 0, 2, 0, "OpenStream[N] stream type invalid.\n\r\n"},
        {id, 0, 0, -1, 2, 0, "OpenStream[N] stream mode invalid.\n\r\n"},
        {id, 0, 0, 0, 0, 0, "OpenStream[N] connect type invalid.\n\r\n"},
        {id, 0, 0, 0, 3, 0, "OpenStream[N] connect type invalid.\n\r\n"},
        {id, 0, 0, 0, 2, -1, "OpenStream[N] buffer pool size invalid.\n\r\n"},
    };
    const size_t before = cam.requestCount();
    for (const Case& c : cases) {
        StdoutCapture out;
        EXPECT_EQ(Kovo_OpenStream(c.device, c.channel, c.type, c.mode, c.connect, c.pool), -1);
        EXPECT_EQ(withoutSiteNumbers(out.text()), c.trace);
    }
    EXPECT_EQ(cam.requestCount(), before);
}

TEST_F(StreamApi, CallsWithoutDeviceOrStream) {
    login();
    StdoutCapture out;
    EXPECT_EQ(Kovo_OpenStream(id + 1000, 0, 0, 0, 2, 0), -1);
    EXPECT_EQ(Kovo_CloseStream(0), -1);
    EXPECT_EQ(Kovo_CloseStream(id + 1000), -1);
    EXPECT_EQ(Kovo_SetMJPEGCallBack(id, nullptr, 0), -1);
    EXPECT_EQ(Kovo_SetAudioCallBack(id, nullptr, 0), -1);
    EXPECT_EQ(Kovo_StartDecode(id), -2);
    EXPECT_EQ(Kovo_StopDecode(id + 1000), -1);
    EXPECT_EQ(Kovo_SetVideoWnd(id, 77), 0);
    EXPECT_EQ(withoutSiteNumbers(out.text()),
              "Kovo_OpenStream tmpDev == NULL\n"
              "CloseStream[N] stream id invalid\n\r\n"
              "tmpDev == NULL\r\n"
              "dev->m_pVideoControl == NULL,Kovo_SetRealDataCallBack failed \r\n"
              "dev->m_pVideoControl == NULL,Kovo_SetAudioCallBack failed \r\n"
              "m_pVideoControl==NULL, not open stream?\n"
              "dev->VideoWnd=77\n");
}

TEST_F(StreamApi, TcpOpenSendsDescribeSetupAndPlay) {
    cam.onMethod("DESCRIBE", describeReply({.audio = true}));
    login();
    cam.clearRequests();
    StdoutCapture out;
    ASSERT_EQ(Kovo_OpenStream(id, 0, 0, 0, CONNECT_TYPE_TCP, 0), 0);
    const std::string text = out.text();
    auto requests = cam.requests();
    ASSERT_EQ(requests.size(), 4u);
    EXPECT_EQ(requests[0].method, "DESCRIBE");
    EXPECT_TRUE(requests[0].hasLine("Accept: application/sdp"));
    EXPECT_TRUE(requests[0].hasLine("User-Agent: ORV CMS V1.0"));
    for (int i : {1, 2}) {
        EXPECT_EQ(requests[i].method, "SETUP");
        EXPECT_TRUE(requests[i].hasLine("Transport: RTP/AVP/TCP;unicast;interleaved=0-1"));
    }
    EXPECT_EQ(requests[1].url, "trackID=2");
    EXPECT_EQ(requests[2].url, "trackID=1");
    EXPECT_EQ(requests[3].method, "PLAY");
    EXPECT_EQ(requests[3].url, "trackID=1");
    EXPECT_TRUE(requests[3].hasLine("Range: npt=0.000-"));
    EXPECT_NE(text.find("320 x 240 "), std::string::npos) << text;
    EXPECT_NE(text.find("tmpDev->framerate=25\r\n"), std::string::npos) << text;
    EXPECT_NE(text.find("videomrl=trackID=1\r\n"), std::string::npos);
    EXPECT_NE(text.find("audiomrl=trackID=2\n"), std::string::npos);
    EXPECT_NE(text.find("OpenStream Successfully:id=" + std::to_string(id) + " \r\n"), std::string::npos);

    CDevice* dev = FindDeviceByDeviceID(id);
    ASSERT_NE(dev, nullptr);
    EXPECT_EQ(dev->stream.protocol, CONNECT_TYPE_TCP);  // parameter calls use the control connection
    EXPECT_EQ(dev->width, 320);
    EXPECT_EQ(dev->framerate, 25);
    EXPECT_NE(dev->m_pVideoControl, nullptr);
    EXPECT_EQ(Kovo_SetAudioCallBack(id, nullptr, 0), 0);
    EXPECT_EQ(Kovo_StartDecode(id), 0);
}

TEST_F(StreamApi, UdpOpenSucceedsWithoutSetupOrController) {
    cam.onMethod("DESCRIBE", describeReply());
    login();
    cam.clearRequests();
    EXPECT_EQ(open(CONNECT_TYPE_UDP), 0);
    EXPECT_EQ(cam.requests("SETUP").size(), 0u);
    EXPECT_EQ(cam.requests("PLAY").size(), 0u);
    EXPECT_EQ(FindDeviceByDeviceID(id)->m_pVideoControl, nullptr);
    StdoutCapture quiet;
    EXPECT_EQ(Kovo_SetRealDataCallBack(id, H264DATA_TYPE, nullptr, 0), -1);
}

TEST_F(StreamApi, MissingSdpAttributesFailAfterDescribe) {
    for (SdpOptions sdp : {SdpOptions{.dimensions = false}, SdpOptions{.frameRate = false}}) {
        cam.onMethod("DESCRIBE", describeReply(sdp));
        login();
        EXPECT_EQ(open(), -1);
        EXPECT_NE(FindDeviceByDeviceID(id), nullptr);
        TearDown();
    }
}

TEST_F(StreamApi, FailedDescribeOrMissingVideoRemovesTheDevice) {
    struct Case { Reply reply; long code; const char* trace; };
    const Case cases[] = {
        {Reply::status_(404, "Not Found"), -125, "OpenStream[N] request describe failed and return.\n"},
        {describeReply({.video = false}), -122, "OpenStream[N] get video mrl failed.\n"},
    };
    for (const Case& c : cases) {
        cam.onMethod("DESCRIBE", c.reply);
        login();
        const int before = cam.openConnections();
        StdoutCapture out;
        EXPECT_EQ(Kovo_OpenStream(id, 0, 0, 0, CONNECT_TYPE_TCP, 0), c.code);
        EXPECT_NE(withoutSiteNumbers(out.text()).find(c.trace), std::string::npos);
        EXPECT_EQ(FindDeviceByDeviceID(id), nullptr);
        EXPECT_EQ(Kovo_Logout(id), -1);
        EXPECT_EQ(Kovo_CloseStream(id), -1);
        for (int i = 0; i < 100 && cam.openConnections() > before - 2; ++i) std::this_thread::sleep_for(10ms);
        EXPECT_EQ(cam.openConnections(), before - 2);
    }
}

TEST_F(StreamApi, FailedPlayReturnsItsCode) {
    cam.onMethod("DESCRIBE", describeReply());
    cam.onMethod("PLAY", Reply::status_(454, "Session Not Found"));
    login();
    StdoutCapture out;
    EXPECT_EQ(Kovo_OpenStream(id, 0, 0, 0, CONNECT_TYPE_TCP, 0), -123);
    EXPECT_NE(withoutSiteNumbers(out.text()).find(
                  "OpenStream[N] request play(TCP) video error and return,\t\t\t\ttmpDev->v_mrl=trackID=1\r\n"),
              std::string::npos);
    EXPECT_EQ(FindDeviceByDeviceID(id)->m_pVideoControl, nullptr);
}

TEST_F(StreamApi, CloseSendsPauseAndStopsTheThreads) {
    cam.onMethod("DESCRIBE", describeReply({.audio = true}));
    login();
    const int baseline = threadCount();
    ASSERT_EQ(open(), 0);
    EXPECT_EQ(threadCount(), baseline + 2);
    cam.clearRequests();
    {
        StdoutCapture quiet;
        EXPECT_EQ(Kovo_CloseStream(id), 0);
    }
    EXPECT_EQ(threadCount(), baseline);
    ASSERT_TRUE(cam.waitForRequests(2));
    auto pauses = cam.requests("PAUSE");
    ASSERT_EQ(pauses.size(), 2u);
    EXPECT_EQ(pauses[0].url, "trackID=1");
    EXPECT_EQ(pauses[1].url, "trackID=2");
    EXPECT_EQ(cam.requests("TEARDOWN").size(), 0u);
}

TEST_F(StreamApi, OpeningTwiceReplacesTheFirstController) {
    cam.onMethod("DESCRIBE", describeReply());
    login();
    const int baseline = threadCount();
    ASSERT_EQ(open(), 0);
    ASSERT_EQ(open(), 0);
    EXPECT_EQ(threadCount(), baseline + 2);
    StdoutCapture quiet;
    Kovo_CloseStream(id);
    EXPECT_EQ(threadCount(), baseline);
}

TEST_F(StreamApi, CloseWhileFramesArriveOrAfterAResetReturnsPromptly) {
    for (bool reset : {false, true}) {
        cam.onMethod("DESCRIBE", describeReply());
        login();
        ASSERT_EQ(open(), 0);
        FrameSink sink;
        ASSERT_EQ(Kovo_SetRealDataCallBack(id, H264DATA_TYPE, FrameSink::onRealData, sink.user()), 0);
        const int conn = streamConnection(cam);
        std::atomic<bool> sending{true};
        std::thread sender([&] {
            std::string packet = interleave(0, rtpPacket(96, true, 1, 0, std::string("\x67", 1) + "sps"));
            packet += interleave(0, rtpPacket(96, true, 2, 0, std::string("\x65", 1) + std::string(1000, 'i')));
            while (sending && cam.send(conn, packet)) {
            }
        });
        if (reset) {
            std::this_thread::sleep_for(50ms);
            sending = false;
            sender.join();
            cam.closeConnection(conn, true);
            std::this_thread::sleep_for(50ms);
        } else {
            EXPECT_TRUE(sink.waitFor(10));
            EXPECT_EQ(sink.frames()[0].frameType, I_FRAME);
        }
        auto start = std::chrono::steady_clock::now();
        {
            StdoutCapture quiet;
            EXPECT_EQ(Kovo_CloseStream(id), 0);
        }
        EXPECT_LT(std::chrono::steady_clock::now() - start, 2s);
        sending = false;
        cam.closeConnection(conn);  // nobody reads any more: unblock the sender
        if (sender.joinable()) sender.join();
        TearDown();
    }
}

}  // namespace

namespace {

std::string aacPacket(uint16_t seq, const std::string& au) {
    std::string payload = std::string("\x00\x10", 2);
    const uint16_t header = uint16_t(au.size() << 3);
    payload += char(header >> 8);
    payload += char(header & 0xFF);
    return rtpPacket(97, true, seq, 0, payload + au);
}

TEST_F(StreamApi, WithAudioVideoAndAudioReachTheirCallbacks) {
    cam.onMethod("DESCRIBE", describeReply({.audio = true}));
    login();
    ASSERT_EQ(open(), 0);
    FrameSink video, audio;
    ASSERT_EQ(Kovo_SetRealDataCallBack(id, H264DATA_TYPE, FrameSink::onRealData, video.user()), 0);
    ASSERT_EQ(Kovo_SetAudioCallBack(id, FrameSink::onMedia, audio.user()), 0);
    const std::string au(300, 'a');
    std::string batch;
    for (uint16_t i = 0; i < 20; ++i) {
        batch += interleave(2, rtpPacket(96, true, i, 0, std::string("\x67", 1) + "sps"));
        batch += interleave(2, rtpPacket(96, true, i, 0, std::string("\x65", 1) + "idr"));
        batch += interleave(0, aacPacket(i, au));
    }
    ASSERT_TRUE(cam.send(streamConnection(cam), batch));
    ASSERT_TRUE(video.waitFor(5));
    ASSERT_TRUE(audio.waitFor(5));
    const auto frame = audio.frames()[0];
    EXPECT_EQ(frame.dataType, AACDATA_TYPE);
    ASSERT_EQ(frame.bytes.size(), 307u);
    EXPECT_EQ(frame.bytes.substr(0, 7), std::string("\xFF\xF1\x4C\x80\x26\x7F\xFC", 7));
    EXPECT_EQ(frame.bytes.substr(7), au);
    EXPECT_EQ(video.frames()[0].bytes, std::string("\0\0\0\1\x67sps\0\0\0\1\x65idr", 16));
    StdoutCapture quiet;
    Kovo_CloseStream(id);  // before the sinks go away
}

}  // namespace

namespace {

std::atomic<long> g_closeFromCallbackId{0};
std::atomic<int> g_closeFromCallbackResult{1};

void closeFromCallback(DATA_TYPE_E, FRAME_TYPE_E, unsigned char*, unsigned long, unsigned long) {
    long id = g_closeFromCallbackId.exchange(0);
    if (id) g_closeFromCallbackResult = int(Kovo_CloseStream(id));
}

TEST_F(StreamApi, ClosingFromTheFrameCallbackIsSafe) {
    cam.onMethod("DESCRIBE", describeReply());
    login();
    const int baseline = threadCount();
    ASSERT_EQ(open(), 0);
    g_closeFromCallbackId = id;
    ASSERT_EQ(Kovo_SetRealDataCallBack(id, H264DATA_TYPE, closeFromCallback, 0), 0);
    std::string batch;
    for (uint16_t i = 0; i < 10; ++i) {
        batch += interleave(0, rtpPacket(96, false, i, 0, std::string("\x67", 1) + "sps"));
        batch += interleave(0, rtpPacket(96, true, i, 0, std::string("\x65", 1) + "idr"));
    }
    StdoutCapture quiet;
    ASSERT_TRUE(cam.send(streamConnection(cam), batch));
    for (int i = 0; i < 200 && (g_closeFromCallbackResult == 1 || threadCount() != baseline); ++i)
        std::this_thread::sleep_for(10ms);
    EXPECT_EQ(g_closeFromCallbackResult, 0);
    EXPECT_EQ(threadCount(), baseline);
    EXPECT_EQ(FindDeviceByDeviceID(id)->m_pVideoControl, nullptr);
}

}  // namespace

namespace {

// One RFC 2435 packet holding a whole (tiny) picture: type 1, Q 50, 320x240.
std::string jpegPacket(uint16_t seq) {
    std::string header("\x00\x00\x00\x00\x01\x32\x28\x1E", 8);
    return rtpPacket(26, true, seq, seq * 3000u, header + std::string(64, '\x11'));
}

TEST_F(StreamApi, MjpegStreamsDeliverThroughTheJpegCallbackOnly) {
    cam.onMethod("DESCRIBE", describeReply());
    login();
    CDevice* dev = FindDeviceByDeviceID(id);
    snprintf(dev->stream.mrl, sizeof dev->stream.mrl, "rtsp://127.0.0.1/MJPEG");
    ASSERT_EQ(open(), 0);
    FrameSink jpeg, raw;
    ASSERT_EQ(Kovo_SetMJPEGCallBack(id, FrameSink::onMedia, jpeg.user()), 0);
    ASSERT_EQ(Kovo_SetRealDataCallBack(id, H264DATA_TYPE, FrameSink::onRealData, raw.user()), 0);
    std::string batch;
    for (uint16_t i = 0; i < 6; ++i) batch += interleave(0, jpegPacket(i));
    StdoutCapture quiet;
    ASSERT_TRUE(cam.send(streamConnection(cam), batch));
    ASSERT_TRUE(jpeg.waitFor(2));
    Kovo_CloseStream(id);
    const auto frame = jpeg.frames()[0];
    EXPECT_EQ(frame.dataType, MJPEGDATA_TYPE);
    EXPECT_EQ(frame.bytes.substr(0, 2), "\xFF\xD8");
    EXPECT_EQ(frame.bytes.substr(frame.bytes.size() - 2), "\xFF\xD9");
    EXPECT_TRUE(raw.frames().empty());
}

}  // namespace

namespace {

TEST_F(StreamApi, LogoutWhileStreamingStopsTheStream) {
    cam.onMethod("DESCRIBE", describeReply());
    login();
    const int baseline = threadCount();
    ASSERT_EQ(open(), 0);
    FrameSink sink;
    ASSERT_EQ(Kovo_SetRealDataCallBack(id, H264DATA_TYPE, FrameSink::onRealData, sink.user()), 0);
    std::string batch;
    for (uint16_t i = 0; i < 10; ++i) {
        batch += interleave(0, rtpPacket(96, false, i, 0, std::string("\x67", 1) + "sps"));
        batch += interleave(0, rtpPacket(96, true, i, 0, std::string("\x65", 1) + "idr"));
    }
    ASSERT_TRUE(cam.send(streamConnection(cam), batch));
    ASSERT_TRUE(sink.waitFor(3));
    StdoutCapture quiet;
    EXPECT_EQ(Kovo_Logout(id), 0);
    // Logout closes both connections, so the camera's two connection threads
    // end as well; only then is the count comparable.
    const int expected = baseline - 2;
    for (int i = 0; i < 200 && threadCount() != expected; ++i) usleep(10 * 1000);
    const int after = threadCount();
    EXPECT_EQ(Kovo_CloseStream(id), -1);
    quiet.text();
    EXPECT_EQ(after, expected);
}

}  // namespace
