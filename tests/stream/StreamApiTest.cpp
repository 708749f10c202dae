#include <dirent.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "StreamTestSupport.h"
#include "sdk/Device.h"
#include "sdk/KovoSDK.h"
#include "support/Scratch.h"

namespace {

using namespace kovo::test;
using namespace std::chrono_literals;

int threadCount() {
    int n = 0;
    if (DIR* dir = opendir("/proc/self/task")) {
        while (dirent* e = readdir(dir)) n += e->d_name[0] != '.';
        closedir(dir);
    }
    return n;
}

bool waitForThreads(int expected) {
    return eventually([&] { return threadCount() == expected; });
}

// `count` key frames on channel 0.
std::string keyFrames(int count, size_t idrSize = 3) {
    std::string batch;
    uint16_t seq = 0;
    for (int ts = 1; ts <= count; ++ts) batch += keyFrame(seq, uint32_t(ts), idrSize);
    return batch;
}

class StreamApi : public StreamFixture {
protected:
    long open(int connectType = CONNECT_TYPE_TCP) {
        StdoutCapture quiet;
        return Kovo_OpenStream(id, 0, 0, 0, connectType, 0);
    }
};

TEST_F(StreamApi, RefusalsByReturnCode) {
    login();
    StdoutCapture quiet;
    const size_t before = cam.requestCount();
    const long refused[][6] = {{0, 0, 0, 0, 2, 0},  {id, -1, 0, 0, 2, 0}, {id, 0, -1, 0, 2, 0}, {id, 0, 0, -1, 2, 0},
                               {id, 0, 0, 0, 0, 0}, {id, 0, 0, 0, 3, 0},  {id, 0, 0, 0, 2, -1}, {id + 1000, 0, 0, 0, 2, 0}};
    for (const long* a : refused)
        EXPECT_EQ(Kovo_OpenStream(a[0], int(a[1]), a[2], a[3], int(a[4]), a[5]), -1) << a[0] << a[1] << a[4];
    EXPECT_EQ(cam.requestCount(), before);
    EXPECT_EQ(Kovo_CloseStream(0), -1);
    EXPECT_EQ(Kovo_CloseStream(id + 1000), -1);
    EXPECT_EQ(Kovo_SetMJPEGCallBack(id, nullptr, 0), -1);
    EXPECT_EQ(Kovo_SetAudioCallBack(id, nullptr, 0), -1);
    EXPECT_EQ(Kovo_StartDecode(id), -2);
    EXPECT_EQ(Kovo_StopDecode(id + 1000), -1);
    EXPECT_EQ(Kovo_SetVideoWnd(id, 77), 0);
}

TEST_F(StreamApi, TcpOpenSendsDescribeSetupAndPlay) {
    login(describeReply({.audio = true}));
    cam.clearRequests();
    ASSERT_EQ(open(), 0);
    const auto requests = cam.requests();
    std::vector<std::string> sent;
    for (const Request& r : requests) sent.push_back(r.method + " " + r.url);
    ASSERT_EQ(sent, (std::vector<std::string>{"DESCRIBE rtsp://127.0.0.1:" + std::to_string(cam.port()) + "/",
                                              "SETUP trackID=2", "SETUP trackID=1", "PLAY trackID=1"}));
    EXPECT_TRUE(requests[0].hasLine("Accept: application/sdp"));
    EXPECT_TRUE(requests[0].hasLine("User-Agent: ORV CMS V1.0"));
    for (int i : {1, 2}) EXPECT_TRUE(requests[i].hasLine("Transport: RTP/AVP/TCP;unicast;interleaved=0-1"));
    EXPECT_TRUE(requests[3].hasLine("Range: npt=0.000-"));
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
    login();
    cam.clearRequests();
    EXPECT_EQ(open(CONNECT_TYPE_UDP), 0);
    EXPECT_EQ(cam.requests("SETUP").size(), 0u);
    EXPECT_EQ(cam.requests("PLAY").size(), 0u);
    EXPECT_EQ(FindDeviceByDeviceID(id)->m_pVideoControl, nullptr);
    StdoutCapture quiet;
    EXPECT_EQ(Kovo_SetRealDataCallBack(id, H264DATA_TYPE, nullptr, 0), -1);
}

// A failed DESCRIBE or an SDP without video removes the device; missing
// attributes or a failed PLAY keep it, without a controller.
TEST_F(StreamApi, FailedOpensReturnTheirCodes) {
    const struct { const char* method; Reply reply; long code; bool removed; } cases[] = {
        {"DESCRIBE", describeReply({.dimensions = false}), -1, false},
        {"DESCRIBE", describeReply({.frameRate = false}), -1, false},
        {"PLAY", Reply::status_(454, "Session Not Found"), -123, false},
        {"DESCRIBE", Reply::status_(404), -125, true}, {"DESCRIBE", describeReply({.video = false}), -122, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.code);
        login();
        cam.onMethod(c.method, c.reply);
        const int before = cam.openConnections();
        EXPECT_EQ(open(), c.code);
        if (!c.removed) {
            ASSERT_NE(FindDeviceByDeviceID(id), nullptr);
            EXPECT_EQ(FindDeviceByDeviceID(id)->m_pVideoControl, nullptr);
            TearDown();
            continue;
        }
        EXPECT_EQ(FindDeviceByDeviceID(id), nullptr);
        EXPECT_EQ(Kovo_Logout(id), -1);
        EXPECT_EQ(Kovo_CloseStream(id), -1);
        EXPECT_TRUE(eventually([&] { return cam.openConnections() == before - 2; }));
    }
}

TEST_F(StreamApi, OpeningTwiceReplacesTheControllerAndCloseSendsPause) {
    login(describeReply({.audio = true}));
    const int baseline = threadCount();
    ASSERT_EQ(open(), 0);
    EXPECT_EQ(threadCount(), baseline + 2);
    ASSERT_EQ(open(), 0);
    // Under qemu-user a joined thread's task can outlive the join briefly.
    EXPECT_TRUE(waitForThreads(baseline + 2));
    cam.clearRequests();
    {
        StdoutCapture quiet;
        EXPECT_EQ(Kovo_CloseStream(id), 0);
    }
    EXPECT_TRUE(waitForThreads(baseline));
    ASSERT_TRUE(cam.waitForRequests(2));
    auto pauses = cam.requests("PAUSE");
    ASSERT_EQ(pauses.size(), 2u);
    EXPECT_EQ(pauses[0].url, "trackID=1");
    EXPECT_EQ(pauses[1].url, "trackID=2");
    EXPECT_EQ(cam.requests("TEARDOWN").size(), 0u);
}

TEST_F(StreamApi, CloseWhileFramesArriveOrAfterAResetReturnsPromptly) {
    for (bool reset : {false, true}) {
        login();
        ASSERT_EQ(open(), 0);
        FrameSink sink;
        ASSERT_EQ(Kovo_SetRealDataCallBack(id, H264DATA_TYPE, FrameSink::onRealData, sink.user()), 0);
        const int conn = streamConnection(cam);
        std::atomic<bool> sending{true};
        std::thread sender([&] {
            const std::string packets = keyFrames(1, 1000);
            while (sending && cam.send(conn, packets)) {
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

std::atomic<long> g_closeFromCallbackId{0};
std::atomic<int> g_closeFromCallbackResult{1};

void closeFromCallback(DATA_TYPE_E, FRAME_TYPE_E, unsigned char*, unsigned long, unsigned long) {
    long id = g_closeFromCallbackId.exchange(0);
    if (id) g_closeFromCallbackResult = int(Kovo_CloseStream(id));
}

TEST_F(StreamApi, ClosingFromTheFrameCallbackIsSafe) {
    login();
    const int baseline = threadCount();
    ASSERT_EQ(open(), 0);
    g_closeFromCallbackId = id;
    ASSERT_EQ(Kovo_SetRealDataCallBack(id, H264DATA_TYPE, closeFromCallback, 0), 0);
    StdoutCapture quiet;
    ASSERT_TRUE(cam.send(streamConnection(cam), keyFrames(10)));
    EXPECT_TRUE(eventually([] { return g_closeFromCallbackResult == 0; }));
    EXPECT_TRUE(waitForThreads(baseline));
    EXPECT_EQ(FindDeviceByDeviceID(id)->m_pVideoControl, nullptr);
}

TEST_F(StreamApi, LogoutWhileStreamingStopsTheStream) {
    login();
    const int baseline = threadCount();
    ASSERT_EQ(open(), 0);
    FrameSink sink;
    ASSERT_EQ(Kovo_SetRealDataCallBack(id, H264DATA_TYPE, FrameSink::onRealData, sink.user()), 0);
    ASSERT_TRUE(cam.send(streamConnection(cam), keyFrames(10)));
    ASSERT_TRUE(sink.waitFor(3));
    StdoutCapture quiet;
    EXPECT_EQ(Kovo_Logout(id), 0);
    // Logout closes both connections, so the camera's two connection threads end as well.
    EXPECT_TRUE(waitForThreads(baseline - 2));
    EXPECT_EQ(Kovo_CloseStream(id), -1);
}

}  // namespace
