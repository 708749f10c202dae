// Streams packetised by third parties (GStreamer's rtph264pay aggregating
// parameter sets into STAP-A, ffmpeg's RTP muxer putting several AAC units
// in a packet), received in the standards mode with sender reports: frames
// decode as the source, and their times follow the source and the sender.
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "JpegAacTestMedia.h"
#include "StreamTestSupport.h"

namespace {

using namespace kovo::test;
using namespace kovo::test::media;

// RTP packets of an RFC 4571 file (16-bit length before each).
std::vector<std::string> readFramedPackets(const std::string& data) {
    std::vector<std::string> packets;
    for (size_t at = 0; at + 2 <= data.size();) {
        const size_t length = (uint8_t(data[at]) << 8) | uint8_t(data[at + 1]);
        packets.push_back(data.substr(at + 2, length));
        at += 2 + length;
    }
    return packets;
}

// Datagrams an ffmpeg RTP output sends to a loopback port while it runs.
std::vector<std::string> captureRtp(const std::string& ffmpegArgs, const std::string& sdpFile) {
    int fd = socket(AF_INET, SOCK_DGRAM, 0);
    int size = 8 << 20;
    setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &size, sizeof size);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof addr;
    bind(fd, reinterpret_cast<sockaddr*>(&addr), len);
    getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &len);
    const int port = ntohs(addr.sin_port);
    run("ffmpeg -v error -y " + ffmpegArgs + " -f rtp -sdp_file '" + sdpFile + "' 'rtp://127.0.0.1:" +
        std::to_string(port) + "?rtcpport=" + std::to_string(port + 1) + "'");
    timeval wait{0, 200000};
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &wait, sizeof wait);
    std::vector<std::string> packets;
    char buf[65536];
    for (ssize_t n; (n = recv(fd, buf, sizeof buf, 0)) > 0;) packets.emplace_back(buf, size_t(n));
    close(fd);
    return packets;
}

// A sender report: NTP seconds since 1900 and fraction for unix microseconds.
std::string senderReport(long long unixMicros, uint32_t rtpTimestamp) {
    const uint64_t seconds = uint64_t(unixMicros / 1000000) + 2208988800ULL;
    const uint64_t fraction = (uint64_t(unixMicros % 1000000) << 32) / 1000000;
    std::string sr("\x80\xC8\x00\x06" "SSRC", 8);
    for (uint32_t word : {uint32_t(seconds), uint32_t(fraction), rtpTimestamp, 0u, 0u})
        for (int shift = 24; shift >= 0; shift -= 8) sr += char(word >> shift);
    return sr;
}

uint32_t timestampOf(const std::string& packet) {
    return (uint32_t(uint8_t(packet[4])) << 24) | (uint8_t(packet[5]) << 16) | (uint8_t(packet[6]) << 8) |
           uint8_t(packet[7]);
}

struct InfoSink : FrameSink {
    std::vector<KOVO_FRAME_INFO> infos;  // guarded by the FrameSink's order of add()
    static void onFrame(const KOVO_FRAME_INFO* info, const unsigned char* data, unsigned long length,
                        unsigned long user) {
        auto* self = reinterpret_cast<InfoSink*>(user);
        self->infos.push_back(*info);
        self->add({info->eDataType, info->eFrameType, std::string(reinterpret_cast<const char*>(data), length)});
    }
};

TEST(StandardStream, ThirdPartyStreamsDecodeAsTheSourceWithSourceAndSenderTimes) {
    TempDir dir;
    if (!haveTool("gst-launch-1.0") || !haveTool("ffmpeg")) GTEST_SKIP() << "needs gst-launch-1.0 and ffmpeg";
    ASSERT_TRUE(run("gst-launch-1.0 -q videotestsrc num-buffers=60 ! video/x-raw,width=320,height=240,framerate=25/1"
                    " ! x264enc key-int-max=30 bframes=0 ! video/x-h264,stream-format=byte-stream ! tee name=t"
                    " t. ! queue ! filesink location='" + dir.file("source.h264") + "' t. ! queue ! h264parse"
                    " ! rtph264pay aggregate-mode=zero-latency config-interval=-1 ! rtpstreampay"
                    " ! filesink location='" + dir.file("video.rtp") + "' >/dev/null 2>&1"));
    ASSERT_TRUE(run("ffmpeg -v error -y -f lavfi -i sine=frequency=440:sample_rate=44100:duration=2 -ac 1 -c:a aac "
                    "-b:a 48k '" + dir.file("source.m4a") + "' && ffmpeg -v error -y -i '" + dir.file("source.m4a") +
                    "' -c copy -f adts '" + dir.file("source.aac") + "'"));
    const auto video = readFramedPackets(readFile(dir.file("video.rtp")));
    auto audio = captureRtp("-i '" + dir.file("source.m4a") + "' -c copy", dir.file("audio.sdp"));
    const auto sourceUnits = splitAdts(readFile(dir.file("source.aac")));
    ASSERT_TRUE(!video.empty() && (uint8_t(video[0][12]) & 0x1F) == 24) << "no STAP-A first";
    ASSERT_FALSE(audio.empty());
    ASSERT_GT(uint8_t(audio[0][13]) / 16, 1) << "one AAC unit per packet";
    size_t audioUnits = 0;  // the muxer keeps a last, partly filled packet to itself
    for (const std::string& packet : audio) audioUnits += ((uint8_t(packet[12]) << 8) | uint8_t(packet[13])) / 16;
    std::string fmtp = readFile(dir.file("audio.sdp"));
    fmtp = fmtp.substr(fmtp.find("a=fmtp:"));
    fmtp = fmtp.substr(0, fmtp.find_first_of("\r\n"));

    FakeCamera cam;
    Reply describe = describeReply({true, true, true, true});
    describe.body.replace(describe.body.find("mpeg4-generic/48000/2"), 21, "MPEG4-GENERIC/44100/1\r\n" + fmtp);
    cam.onMethod("DESCRIBE", describe);
    StdoutCapture quiet;
    const long id = Kovo_Login("127.0.0.1", cam.port(), nullptr);
    ASSERT_GT(id, 0);
    const KOVO_STREAM_OPTIONS standard{1};
    InfoSink sink;
    ASSERT_EQ(Kovo_SetStreamOptions(id, &standard), 0);
    ASSERT_EQ(Kovo_SetFrameCallBack(id, InfoSink::onFrame, sink.user()), 0);
    ASSERT_EQ(Kovo_OpenStream(id, 0, 0, 0, CONNECT_TYPE_TCP, 0), 0);
    // The sender's clock: the first frames of both media at T0.
    const long long t0 = 1700000000123456LL;
    std::string wire = interleave(3, senderReport(t0, timestampOf(video[0]))) +
                       interleave(1, senderReport(t0, timestampOf(audio[0])));
    for (const std::string& packet : video) wire += interleave(2, packet);
    for (const std::string& packet : audio) wire += interleave(0, packet);
    ASSERT_TRUE(cam.send(streamConnection(cam), wire));
    const bool all = sink.waitFor(60 + audioUnits);
    KOVO_STREAM_STATS stats{};
    EXPECT_EQ(Kovo_GetStreamStatistics(id, &stats), 0);
    Kovo_CloseStream(id);
    Kovo_Logout(id);
    quiet.text();
    ASSERT_TRUE(all) << sink.frames().size() << " frames";

    const auto frames = sink.frames();
    std::string received;
    std::vector<std::string> units;
    int videoIndex = 0, audioIndex = 0;
    for (size_t i = 0; i < frames.size(); ++i) {
        const KOVO_FRAME_INFO& info = sink.infos[i];
        const bool isVideo = info.eDataType == H264DATA_TYPE;
        const int index = isVideo ? videoIndex++ : audioIndex++;
        // Source times: 25 frames/s; 1024 samples a unit at 44.1 kHz; within one RTP tick.
        const double pts = isVideo ? index * 40000.0 : index * 1024 * 1e6 / 44100;
        EXPECT_NEAR(double(info.llPts), pts, isVideo ? 1e6 / 90000 : 1e6 / 44100) << i;
        EXPECT_NEAR(double(info.llNtpTime), double(t0) + pts, 1000.0) << i;
        EXPECT_EQ(info.nDiscontinuity, 0);
        if (isVideo) {
            EXPECT_EQ(info.eFrameType, index % 30 == 0 ? I_FRAME : P_FRAME) << index;
            EXPECT_EQ(info.nWidth * 1000 + info.nHeight, 320240);
            received += frames[i].bytes;
        } else {
            // ADTS from the SDP config: AAC LC, 44.1 kHz, mono.
            EXPECT_EQ(uint8_t(frames[i].bytes[2]), 0x50);
            EXPECT_EQ(uint8_t(frames[i].bytes[3]) >> 6, 1);
            units.push_back(frames[i].bytes.substr(7));
        }
    }
    EXPECT_EQ(units, std::vector<std::string>(sourceUnits.begin(), sourceUnits.begin() + audioUnits));
    writeFile(dir.file("received.h264"), received);
    const auto sourceMd5 = frameMd5s(dir.file("source.h264"));
    EXPECT_EQ(sourceMd5.size(), 60u);
    EXPECT_EQ(frameMd5s(dir.file("received.h264")), sourceMd5);
    EXPECT_EQ(stats.ullFrames, frames.size());
    EXPECT_EQ(stats.ullKeyFrames, 2u);
    EXPECT_EQ(stats.ullPackets, video.size() + audio.size());
    EXPECT_EQ(stats.ullLostPackets + stats.ullDroppedFrames, 0u);
}

}  // namespace
