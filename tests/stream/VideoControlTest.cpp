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
#include "support/Scratch.h"

namespace {

using namespace kovo::test;

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

TEST(VideoControl, NoFramesForOtherDataTypesOrWithoutConnectType) {
    std::string keyFrames;
    uint16_t seq = 0;
    for (uint32_t ts = 1; ts <= 4; ++ts) keyFrames += keyFrame(seq, ts);
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
    uint16_t port = 0;
    const int rx = bindLoopback(port, SOCK_DGRAM);
    ASSERT_GE(rx, 0);
    const int tx = socket(AF_INET, SOCK_DGRAM, 0);
    const sockaddr_in addr{AF_INET, htons(port), {htonl(INADDR_LOOPBACK)}, {}};
    Controller c;
    auto send = [&](bool marker, uint8_t header) {
        std::string d = rtpPacket(96, marker, 0, 0, std::string(1, char(header)) + "u");
        sendto(tx, d.data(), d.size(), 0, reinterpret_cast<const sockaddr*>(&addr), sizeof addr);
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

// Frame information under the native rules: picture size from the SPS,
// times from the RTP clock and a sender report, a break after a lost packet.
TEST(VideoControl, FrameInformationUnderTheNativeRules) {
    CVideoControl control(640, 480, 25);
    control.SetConnectType(CONNECT_TYPE_TCP);
    std::vector<KOVO_FRAME_INFO> infos;
    control.SetFrameCallBack([](const KOVO_FRAME_INFO* info, const unsigned char*, unsigned long, unsigned long user) {
        reinterpret_cast<std::vector<KOVO_FRAME_INFO>*>(user)->push_back(*info);
    }, reinterpret_cast<unsigned long>(&infos));
    auto packet = [](uint16_t seq, bool marker, const std::string& nal) {
        return interleave(0, rtpPacket(96, marker, seq, seq * 3000u, nal));
    };
    const long long t0 = 1700000000000000LL;
    std::string wire = interleave(1, senderReport(t0, 3000)) + packet(0, true, kSps) + packet(1, true, "\x65x");
    for (uint16_t seq : {2, 4, 5, 6}) wire += packet(seq, true, "\x41x");  // 3 is lost
    {
        StdoutCapture quiet;
        control.AssembleChunk(wire.data(), uint32_t(wire.size()));
    }
    // The SPS arms the assembler and leads the key frame; the last packet waits behind.
    ASSERT_EQ(infos.size(), 4u);
    const struct { unsigned ts; int discontinuity; } expected[] = {{3000, 0}, {6000, 0}, {12000, 1}, {15000, 0}};
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(infos[i].nRtpTimestamp, expected[i].ts);
        EXPECT_EQ(infos[i].llPts, (expected[i].ts - 3000) * 1000000LL / 90000);
        EXPECT_EQ(infos[i].llNtpTime, t0 + infos[i].llPts);
        EXPECT_EQ(infos[i].nDiscontinuity, expected[i].discontinuity) << i;
        EXPECT_EQ(infos[i].nWidth * 1000 + infos[i].nHeight, 320240);
    }
    EXPECT_EQ(infos[0].eFrameType, I_FRAME);
    EXPECT_EQ(infos[0].nSequence, 0u);
    KOVO_STREAM_STATS stats;
    control.GetStatistics(stats);
    EXPECT_EQ(stats.ullPackets * 100 + stats.ullFrames * 10 + stats.ullLostPackets, 641u);
}

}  // namespace
