// The controller's per-packet path without threads: chunks of connection
// bytes in, application callbacks out.
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "StreamTestSupport.h"
#include "stream/VideoControl.h"

namespace {

using namespace kovo::test;

std::string nalPacket(bool marker, uint8_t header, const std::string& body = "x") {
    return interleave(0, rtpPacket(96, marker, 0, 0, std::string(1, char(header)) + body));
}

struct Controller {
    CVideoControl control{320, 240, 25};
    FrameSink sink;
    Controller(DATA_TYPE_E registered = H264DATA_TYPE) {
        control.SetConnectType(CONNECT_TYPE_TCP);
        control.SetRealDataCallBack(registered, FrameSink::onRealData, sink.user());
    }
    void push(const std::string& bytes) {
        StdoutCapture quiet;
        control.AssembleChunk(bytes.data(), uint32_t(bytes.size()));
    }
};

TEST(VideoControl, NothingIsDeliveredBeforeTheFirstSpsLedFrame) {
    Controller c;
    // First packet waits (start flag clear), the next ones run one behind.
    c.push(nalPacket(true, 0x41) + nalPacket(true, 0x41) + nalPacket(true, 0x41) +
           nalPacket(false, 0x67) + nalPacket(true, 0x65) + nalPacket(true, 0x41) + nalPacket(true, 0x41));
    auto frames = c.sink.frames();
    ASSERT_EQ(frames.size(), 2u);  // the last packet is still waiting behind
    EXPECT_EQ(frames[0].frameType, I_FRAME);
    EXPECT_EQ(frames[0].bytes, std::string("\0\0\0\1\x67x\0\0\0\1\x65x", 12));
    EXPECT_EQ(frames[1].frameType, P_FRAME);
    c.push(nalPacket(true, 0x41));
    EXPECT_EQ(c.sink.frames().size(), 3u);
}

TEST(VideoControl, NoFramesForOtherDataTypesOrWithoutConnectType) {
    std::string keyFrames;
    for (int i = 0; i < 4; ++i) keyFrames += nalPacket(false, 0x67) + nalPacket(true, 0x65);
    for (DATA_TYPE_E type : {MJPEGDATA_TYPE, NODATA_TYPE, YUVDATA_TYPE}) {
        Controller c(type);
        c.push(keyFrames);
        EXPECT_TRUE(c.sink.frames().empty()) << type;
    }
    CVideoControl control(320, 240, 25);
    FrameSink sink;
    control.SetRealDataCallBack(H264DATA_TYPE, FrameSink::onRealData, sink.user());
    control.AssembleChunk(keyFrames.data(), uint32_t(keyFrames.size()));
    EXPECT_TRUE(sink.frames().empty());
    EXPECT_EQ(control.StartProcessData(), 1);
}

TEST(VideoControl, CheckStampResults) {
    CVideoControl control(0, 0, 0);
    unsigned char stamp[16] = {0, 0, 0, 1, 6};
    unsigned char other[16] = {0, 0, 1, 6};
    EXPECT_EQ(control.CheckStamp(nullptr, 16), 0);
    EXPECT_EQ(control.CheckStamp(stamp, 15), 0);
    EXPECT_EQ(control.CheckStamp(stamp, 16), 28);
    EXPECT_EQ(control.CheckStamp(other, 16), 8);
}

TEST(VideoControl, UdpPacketsAreIgnoredUntilAKeyFramePacket) {
    int rx = socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(bind(rx, reinterpret_cast<sockaddr*>(&addr), sizeof addr), 0);
    socklen_t len = sizeof addr;
    getsockname(rx, reinterpret_cast<sockaddr*>(&addr), &len);
    int tx = socket(AF_INET, SOCK_DGRAM, 0);
    Controller c;
    auto send = [&](bool marker, uint8_t header) {
        std::string d = rtpPacket(96, marker, 0, 0, std::string(1, char(header)) + "u");
        sendto(tx, d.data(), d.size(), 0, reinterpret_cast<sockaddr*>(&addr), sizeof addr);
        StdoutCapture quiet;
        return c.control.RTPRecvfrom(rx, 0, nullptr);
    };
    EXPECT_EQ(send(true, 0x41), 14);  // before any key frame: ignored
    EXPECT_EQ(c.control.StartProcessData(), 0);
    send(false, 0x67);
    EXPECT_EQ(c.control.StartProcessData(), 1);
    for (int i = 0; i < 5; ++i) {
        send(false, 0x67);
        send(true, 0x65);
    }
    ASSERT_FALSE(c.sink.frames().empty());
    EXPECT_EQ(c.sink.frames()[0].frameType, I_FRAME);
    close(rx);
    close(tx);
}

}  // namespace
