// Real media through a real opened stream: the fake camera plays a clip
// interleaved on the RTSP connection and the application's callbacks must
// receive frames that decode to the source. H.264 goes as single NAL units
// and FU-A, Motion-JPEG with an AAC track (audio on channel 0, video on 2);
// in the standards mode, H.264 from GStreamer's rtph264pay (parameter sets in
// STAP-A) and AAC from ffmpeg's RTP muxer (several units a packet), with
// sender reports: frames follow the source's and the sender's times too.
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

#include "JpegAacTestMedia.h"
#include "StreamTestSupport.h"
#include "sdk/KovoSDK.h"
#include "stream/JpegAssembler.h"

namespace kovo {
namespace {

using namespace test;
using namespace test::media;

// ---- H.264 -----------------------------------------------------------------

constexpr size_t kFragment = 1000;  // larger NAL units go as FU-A

// Per-picture md5 of a decoded H.264 elementary stream.
std::vector<std::string> frameMd5s(const std::string& path) {
    std::string out;
    runCommand("(ffmpeg -v error -f h264 -i '" + path + "' -f framemd5 - 2>/dev/null)", &out);
    std::vector<std::string> hashes;
    std::istringstream lines(out);
    for (std::string line; std::getline(lines, line);)
        if (!line.empty() && line[0] != '#') hashes.push_back(line.substr(line.rfind(',') + 1));
    return hashes;
}

// Access units of an Annex B stream, NAL units without start codes: parameter
// sets and SEI lead, the one slice of a picture ends it.
std::vector<std::vector<std::string>> accessUnits(const std::string& es) {
    const std::string startCode("\x00\x00\x01", 3);
    std::vector<std::vector<std::string>> units(1);
    for (size_t pos = es.find(startCode), next; pos != std::string::npos; pos = next) {
        next = es.find(startCode, pos + 3);
        size_t end = next == std::string::npos ? es.size() : next;
        while (end > pos + 3 && es[end - 1] == '\0' && next != std::string::npos) --end;
        units.back().push_back(es.substr(pos + 3, end - pos - 3));
        const int type = es[pos + 3] & 0x1F;
        if (type == 1 || type == 5) units.emplace_back();
    }
    units.pop_back();
    return units;
}

// Interleaved RTP packets of one access unit on channel 0; forced: its small
// last NAL unit in two fragments.
std::string packetise(const std::vector<std::string>& au, uint16_t& seq, uint32_t ts, bool forceFragments) {
    std::string out;
    for (size_t i = 0; i < au.size(); ++i) {
        const bool last = i + 1 == au.size();
        const bool force = forceFragments && last && au[i].size() <= kFragment;
        out += h264Packets(au[i], seq, ts, last, force ? (au[i].size() + 1) / 2 : kFragment);
    }
    return out;
}

void decodeH264(StreamFixture& s, TempDir& dir) {
    ASSERT_TRUE(run("ffmpeg -v error -y -f lavfi -i testsrc=size=320x240:rate=25 -frames:v 30 -c:v libx264 -bf 0 "
                    "-g 10 -x264-params slices=1:repeat-headers=1 -f h264 '" + dir.file("source.h264") + "'"));
    const auto aus = accessUnits(readFile(dir.file("source.h264")));
    const auto sourceMd5 = frameMd5s(dir.file("source.h264"));
    ASSERT_EQ(aus.size(), 30u);
    ASSERT_EQ(sourceMd5.size(), 30u);
    StdoutCapture quiet;
    s.login();
    const long id = s.id;
    ASSERT_EQ(Kovo_OpenStream(id, 0, 0, 0, CONNECT_TYPE_TCP, 0), 0);
    test::FrameSink sink;
    ASSERT_EQ(Kovo_SetRealDataCallBack(id, H264DATA_TYPE, test::FrameSink::onRealData, sink.user()), 0);
    // Start mid-GOP: frames before the key frame at 10 are never delivered.
    const int conn = streamConnection(s.cam);
    uint16_t seq = 0;
    for (size_t i = 1; i < aus.size(); ++i)
        ASSERT_TRUE(s.cam.send(conn, packetise(aus[i], seq, uint32_t(i * 3600), i == 1)));
    const bool all = sink.waitFor(20);
    Kovo_CloseStream(id);
    ASSERT_TRUE(all) << "frames delivered: " << sink.frames().size();
    const auto frames = sink.frames();
    ASSERT_EQ(frames.size(), 20u);
    std::string received;
    for (size_t i = 0; i < frames.size(); ++i) {
        EXPECT_EQ(frames[i].dataType, H264DATA_TYPE);
        EXPECT_EQ(frames[i].frameType, i % 10 == 0 ? I_FRAME : P_FRAME) << i;
        received += frames[i].bytes;
    }
    writeFile(dir.file("received.h264"), received);
    EXPECT_EQ(frameMd5s(dir.file("received.h264")), std::vector<std::string>(sourceMd5.begin() + 10, sourceMd5.end()));
}

// ---- Motion-JPEG with AAC ------------------------------------------------------

// The priming traffic: one-packet JPEG frames ending in this scan, one-byte AAC units.
const std::string kPrimeScan = "prime";
bool isPrime(const test::FrameSink::Frame& f) {
    const size_t n = f.bytes.size();
    return f.dataType == AACDATA_TYPE ? n == 8 : n > 7 && f.bytes.compare(n - 7, 5, kPrimeScan) == 0;
}
size_t countOf(const std::vector<test::FrameSink::Frame>& frames, int type, bool prime) {
    return std::count_if(frames.begin(), frames.end(),
                         [&](const test::FrameSink::Frame& f) { return f.dataType == type && isPrime(f) == prime; });
}

void decodeMjpegWithAac(StreamFixture& s, TempDir& dir) {
    if (!haveTool("djpeg") || !haveTool("cjpeg")) GTEST_SKIP() << "djpeg and cjpeg are needed";
    auto clip = makeJpegClip(dir, 10);
    // Beside ffmpeg's 4:2:0 frames, cjpeg's 4:2:2 (in small fragments at low quality) and 4:2:0 with restart markers.
    const std::string src = dir.file("src.ppm"), cjpeg = "cjpeg -baseline -quality ";
    ASSERT_TRUE(run("ffmpeg -loglevel error -f lavfi -i testsrc=size=176x144 -frames:v 1 " + src + " && " + cjpeg +
                    "75 -sample 2x1 " + src + " > " + dir.file("a.jpg") + " && " + cjpeg + "10 -sample 2x1 " + src +
                    " > " + dir.file("b.jpg") + " && " + cjpeg + "85 -sample 2x2 -restart 2B " + src + " > " + dir.file("c.jpg")));
    for (const char* name : {"a.jpg", "b.jpg", "c.jpg"}) clip.push_back(readFile(dir.file(name)));
    const std::string track = makeAacTrack(dir, 1);
    const auto units = splitAdts(track);
    ASSERT_EQ(clip.size(), 13u);
    ASSERT_GT(units.size(), 20u);
    JpegAssembler::setFirstFrameDropped(false);
    const std::string sdp = "v=0\r\ns=live\r\nm=video 0 RTP/AVP 26\r\na=x-dimensions:320, 240\r\n"
                            "a=x-framerate:10\r\na=control:trackID=1\r\nm=audio 0 RTP/AVP 97\r\n"
                            "a=rtpmap:97 mpeg4-generic/48000/2\r\na=control:trackID=2\r\n";
    test::FrameSink got;
    StdoutCapture quiet;
    // The stream is Motion-JPEG because its URL names it.
    s.login(Reply::ok({"Content-Type: application/sdp"}, sdp), "127.0.0.1/MJPEG");
    const long id = s.id;
    ASSERT_EQ(Kovo_OpenStream(id, 0, 0, 0, CONNECT_TYPE_TCP, 0), 0);
    ASSERT_EQ(Kovo_SetMJPEGCallBack(id, test::FrameSink::onMedia, got.user()), 0);
    ASSERT_EQ(Kovo_SetRealDataCallBack(id, H264DATA_TYPE, test::FrameSink::onRealData, got.user()), 0);
    ASSERT_EQ(Kovo_SetAudioCallBack(id, test::FrameSink::onMedia, got.user()), 0);
    const int connection = s.cam.requests("DESCRIBE").at(0).connection;
    // The pipeline delivers only after its first packets (and the process drops
    // its first JPEG frame): one-packet frames until both media come through.
    uint16_t seq = 1;
    bool primed = false;
    for (int round = 0; round < 200 && !primed; ++round) {
        const std::string payload = std::string("\0\0\0\0\x01\x32\x02\x02", 8) + kPrimeScan;
        ASSERT_TRUE(s.cam.send(connection, interleave(2, rtpPacket(26, true, seq++, 0, payload)) +
                                             interleave(0, aacPacket("p", seq++, 0))));
        primed = got.waitUntil(
            [](const auto& f) { return countOf(f, MJPEGDATA_TYPE, true) && countOf(f, AACDATA_TYPE, true); },
            std::chrono::milliseconds(25));
    }
    ASSERT_TRUE(primed) << "the stream never delivered";
    // Audio units and video fragments alternate on the wire, as a camera sends them.
    std::vector<std::string> videoPackets;
    for (size_t i = 0; i < clip.size(); ++i) {
        JpegPicture picture;
        ASSERT_EQ(parseJpeg(clip[i], &picture), "");
        // Restart headers are read in a frame's first packet only: such frames go in one packet.
        const size_t fragment = picture.restartInterval ? picture.scan.size() : i == 11 ? 100 : 1400;
        for (std::string& packet : packetiseJpeg(picture, &seq, 9000 * i, fragment)) videoPackets.push_back(packet);
    }
    std::string bytes;
    for (size_t v = 0, a = 0; v < videoPackets.size() || a < units.size();) {
        if (a < units.size()) bytes += interleave(0, aacPacket(units[a], seq++, 1024 * a)), ++a;
        if (v < videoPackets.size()) bytes += interleave(2, videoPackets[v++]);
        if (bytes.size() > 20000 || (v == videoPackets.size() && a == units.size())) {
            ASSERT_TRUE(s.cam.send(connection, bytes));
            bytes.clear();
        }
    }
    EXPECT_TRUE(got.waitUntil([&](const auto& f) {
        return countOf(f, MJPEGDATA_TYPE, false) >= clip.size() && countOf(f, AACDATA_TYPE, false) >= units.size();
    }));
    Kovo_CloseStream(id);
    std::vector<std::string> jpegs;
    std::string adts;
    for (const test::FrameSink::Frame& f : got.frames()) {
        EXPECT_TRUE(f.dataType != H264DATA_TYPE && f.frameType == id) << "Motion-JPEG and audio of this stream only";
        if (isPrime(f)) continue;
        if (f.dataType == MJPEGDATA_TYPE)
            jpegs.push_back(f.bytes);
        else
            adts += f.bytes;
    }
    ASSERT_EQ(jpegs.size(), clip.size());
    for (size_t i = 0; i < clip.size(); ++i) {
        const std::string expected = decoded(dir, clip[i], "source", false);
        ASSERT_FALSE(expected.empty());
        EXPECT_TRUE(decoded(dir, jpegs[i], "received", false) == expected) << "frame " << i << " differs";
    }
    EXPECT_EQ(splitAdts(adts), units);
    const std::string expected = decoded(dir, track, "source", true);
    ASSERT_FALSE(expected.empty());
    EXPECT_TRUE(decoded(dir, adts, "received", true) == expected) << "decoded audio differs";
}

// ---- Third-party packetisers in the standards mode --------------------------

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
    uint16_t port = 0;
    const int fd = bindLoopback(port, SOCK_DGRAM);
    int size = 8 << 20;
    setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &size, sizeof size);
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

uint32_t timestampOf(const std::string& packet) {
    return (uint32_t(uint8_t(packet[4])) << 24) | (uint8_t(packet[5]) << 16) | (uint8_t(packet[6]) << 8) |
           uint8_t(packet[7]);
}

using InfoSink = Collected<std::pair<KOVO_FRAME_INFO, std::string>>;

void decodeThirdPartyStandard(StreamFixture& s, TempDir& dir) {
    if (!haveTool("gst-launch-1.0")) GTEST_SKIP() << "gst-launch-1.0 is needed";
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

    Reply describe = describeReply({true, true, true, true});
    describe.body.replace(describe.body.find("mpeg4-generic/48000/2"), 21, "MPEG4-GENERIC/44100/1\r\n" + fmtp);
    StdoutCapture quiet;
    s.login(describe);
    const long id = s.id;
    const KOVO_STREAM_OPTIONS standard{1};
    InfoSink sink;
    ASSERT_EQ(Kovo_SetStreamOptions(id, &standard), 0);
    ASSERT_EQ(Kovo_SetFrameCallBack(id, [](const KOVO_FRAME_INFO* info, const unsigned char* data, unsigned long length,
                                           unsigned long user) {
        reinterpret_cast<InfoSink*>(user)->add({*info, std::string(reinterpret_cast<const char*>(data), length)});
    }, sink.user()), 0);
    ASSERT_EQ(Kovo_OpenStream(id, 0, 0, 0, CONNECT_TYPE_TCP, 0), 0);
    // The sender's clock: the first frames of both media at T0.
    const long long t0 = 1700000000123456LL;
    std::string wire = interleave(3, senderReport(t0, timestampOf(video[0]))) +
                       interleave(1, senderReport(t0, timestampOf(audio[0])));
    for (const std::string& packet : video) wire += interleave(2, packet);
    for (const std::string& packet : audio) wire += interleave(0, packet);
    ASSERT_TRUE(s.cam.send(streamConnection(s.cam), wire));
    const bool all = sink.waitUntil([&](auto& frames) { return frames.size() >= 60 + audioUnits; });
    KOVO_STREAM_STATS stats{};
    EXPECT_EQ(Kovo_GetStreamStatistics(id, &stats), 0);
    Kovo_CloseStream(id);
    quiet.text();
    ASSERT_TRUE(all) << sink.items().size() << " frames";

    const auto frames = sink.items();
    std::string received;
    std::vector<std::string> units;
    int videoIndex = 0, audioIndex = 0;
    for (size_t i = 0; i < frames.size(); ++i) {
        const auto& [info, bytes] = frames[i];
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
            received += bytes;
        } else {
            // ADTS from the SDP config: AAC LC, 44.1 kHz, mono.
            EXPECT_EQ(uint8_t(bytes[2]), 0x50);
            EXPECT_EQ(uint8_t(bytes[3]) >> 6, 1);
            units.push_back(bytes.substr(7));
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

class MediaDecode : public StreamFixture, public ::testing::WithParamInterface<std::string> {};

TEST_P(MediaDecode, DeliveredFramesDecodeToTheSource) {
    if (!haveTool("ffmpeg")) GTEST_SKIP() << "ffmpeg is needed for the real-media check";
    TempDir dir;
    if (GetParam() == "MotionJpegWithAac")
        decodeMjpegWithAac(*this, dir);
    else if (GetParam() == "ThirdPartyStandard")
        decodeThirdPartyStandard(*this, dir);
    else
        decodeH264(*this, dir);
}

INSTANTIATE_TEST_SUITE_P(, MediaDecode, ::testing::Values("H264", "MotionJpegWithAac", "ThirdPartyStandard"),
                         [](const auto& info) { return info.param; });

}  // namespace
}  // namespace kovo
