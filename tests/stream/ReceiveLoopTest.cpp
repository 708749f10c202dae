// Streams share the threads that read their connections: a callback that
// blocks one stream must not hold up another's frames.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "StreamTestSupport.h"

namespace {

using namespace kovo::test;
using namespace std::chrono_literals;

std::atomic<bool> g_released{false};

void blockingCallback(DATA_TYPE_E type, FRAME_TYPE_E frameType, unsigned char* data, unsigned long length,
                      unsigned long user) {
    FrameSink::onRealData(type, frameType, data, length, user);
    for (int i = 0; i < 5000 && !g_released; ++i) std::this_thread::sleep_for(1ms);
}

struct Stream {
    FakeCamera cam;
    FrameSink frames;
    long id = -1;
    uint16_t seq = 0;

    explicit Stream(fRealDataCallBack callback) {
        StdoutCapture quiet;
        cam.onMethod("DESCRIBE", describeReply());
        id = Kovo_Login("127.0.0.1", cam.port(), nullptr);
        EXPECT_EQ(Kovo_OpenStream(id, 0, 0, 0, CONNECT_TYPE_TCP, 0), 0);
        EXPECT_EQ(Kovo_SetRealDataCallBack(id, H264DATA_TYPE, callback, frames.user()), 0);
    }
    ~Stream() {
        StdoutCapture quiet;
        Kovo_CloseStream(id);
        Kovo_Logout(id);
    }
    void sendKeyFrames(uint32_t count) {
        for (uint32_t ts = 1; ts <= count; ++ts, seq += 2)
            ASSERT_TRUE(cam.send(streamConnection(cam), interleave(0, rtpPacket(96, false, seq, ts, "\x67sps")) +
                                                            interleave(0, rtpPacket(96, true, seq + 1, ts, "\x65slice"))));
    }
};

TEST(ReceiveLoop, ABlockedCallbackHoldsUpOnlyItsOwnStream) {
    Stream blocked(blockingCallback), other(FrameSink::onRealData);
    blocked.sendKeyFrames(8);
    ASSERT_TRUE(blocked.frames.waitFor(1));
    other.sendKeyFrames(8);
    EXPECT_TRUE(other.frames.waitFor(2, 2s));
    EXPECT_EQ(blocked.frames.frames().size(), 1u);
    g_released = true;
    EXPECT_TRUE(blocked.frames.waitFor(2));
}

}  // namespace
