// A real H.264 clip streamed by the fake camera, packetised as single NAL
// units and FU-A, must come out of the callback as frames that decode to the
// same pictures as the source.
#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "JpegAacTestMedia.h"
#include "StreamTestSupport.h"
#include "sdk/KovoSDK.h"

namespace {

using namespace kovo::test;
using namespace kovo::test::media;

constexpr size_t kFragment = 1000;  // larger NAL units go as FU-A

// Per-picture md5 of a decoded H.264 elementary stream.
std::vector<std::string> frameMd5s(const std::string& path) {
    std::vector<std::string> hashes;
    std::string out;
    if (FILE* pipe = popen(("ffmpeg -v error -f h264 -i '" + path + "' -f framemd5 - 2>/dev/null").c_str(), "r")) {
        char buf[4096];
        for (size_t n; (n = fread(buf, 1, sizeof buf, pipe)) > 0;) out.append(buf, n);
        pclose(pipe);
    }
    std::istringstream lines(out);
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() || line[0] == '#') continue;
        hashes.push_back(line.substr(line.rfind(',') + 1));
    }
    return hashes;
}

// NAL units of an Annex B stream, without start codes.
std::vector<std::string> splitNalUnits(const std::string& es) {
    std::vector<std::string> units;
    size_t pos = es.find(std::string("\x00\x00\x01", 3));
    while (pos != std::string::npos) {
        size_t begin = pos + 3;
        size_t next = es.find(std::string("\x00\x00\x01", 3), begin);
        size_t end = next == std::string::npos ? es.size() : next;
        while (end > begin && es[end - 1] == '\0' && next != std::string::npos) --end;
        units.push_back(es.substr(begin, end - begin));
        pos = next;
    }
    return units;
}

// Access units: parameter sets and SEI lead, the one slice of a picture ends it.
std::vector<std::vector<std::string>> accessUnits(const std::vector<std::string>& nals) {
    std::vector<std::vector<std::string>> units(1);
    for (const std::string& nal : nals) {
        units.back().push_back(nal);
        const int type = nal[0] & 0x1F;
        if (type == 1 || type == 5) units.emplace_back();
    }
    units.pop_back();
    return units;
}

// Interleaved RTP packets of one access unit on channel 0.
std::string packetise(const std::vector<std::string>& au, uint16_t& seq, uint32_t ts, bool forceFragments) {
    std::string out;
    for (size_t i = 0; i < au.size(); ++i) {
        const std::string& nal = au[i];
        const bool last = i + 1 == au.size();
        const bool fragment = nal.size() > kFragment || (forceFragments && last);
        if (!fragment) {
            out += interleave(0, rtpPacket(96, last, seq++, ts, nal));
            continue;
        }
        const size_t piece = forceFragments && nal.size() <= kFragment ? (nal.size() + 1) / 2 : kFragment;
        const char indicator = char((nal[0] & 0x60) | 28);
        for (size_t at = 1; at < nal.size(); at += piece) {
            const bool start = at == 1;
            const bool end = at + piece >= nal.size();
            const char header = char((start ? 0x80 : 0) | (end ? 0x40 : 0) | (nal[0] & 0x1F));
            out += interleave(0, rtpPacket(96, last && end, seq++, ts,
                                           std::string{indicator, header} + nal.substr(at, piece)));
        }
    }
    return out;
}

class StreamEndToEnd : public ::testing::Test {
protected:
    TempDir dir;
    void SetUp() override {
        if (!haveTool("ffmpeg")) GTEST_SKIP() << "ffmpeg is not installed; the end-to-end stream test needs it";
        if (!run("ffmpeg -v error -y -f lavfi -i testsrc=size=320x240:rate=25 -frames:v 30 -c:v libx264 -bf 0 "
                 "-g 10 -x264-params slices=1:repeat-headers=1 -f h264 '" + dir.file("source.h264") + "' 2>/dev/null"))
            GTEST_SKIP() << "ffmpeg could not encode with libx264";
    }
};

TEST_F(StreamEndToEnd, DeliveredFramesDecodeToTheSourcePictures) {
    const auto aus = accessUnits(splitNalUnits(readFile(dir.file("source.h264"))));
    ASSERT_EQ(aus.size(), 30u);
    const auto sourceMd5 = frameMd5s(dir.file("source.h264"));
    ASSERT_EQ(sourceMd5.size(), 30u);

    FakeCamera cam;
    cam.onMethod("DESCRIBE", describeReply());
    StdoutCapture quiet;
    const long id = Kovo_Login("127.0.0.1", cam.port(), nullptr);
    ASSERT_GT(id, 0);
    ASSERT_EQ(Kovo_OpenStream(id, 0, 0, 0, CONNECT_TYPE_TCP, 0), 0);
    FrameSink sink;
    ASSERT_EQ(Kovo_SetRealDataCallBack(id, H264DATA_TYPE, FrameSink::onRealData, sink.user()), 0);

    // Start mid-GOP: frames before the key frame at 10 are never delivered.
    const int conn = streamConnection(cam);
    uint16_t seq = 0;
    for (size_t i = 1; i < aus.size(); ++i)
        ASSERT_TRUE(cam.send(conn, packetise(aus[i], seq, uint32_t(i * 3600), i == 1)));
    const bool all = sink.waitFor(20);
    Kovo_CloseStream(id);
    Kovo_Logout(id);
    const std::string traces = quiet.text();
    ASSERT_TRUE(all) << "frames delivered: " << sink.frames().size() << "\n" << traces;

    const auto frames = sink.frames();
    ASSERT_EQ(frames.size(), 20u);
    std::string received;
    for (size_t i = 0; i < frames.size(); ++i) {
        EXPECT_EQ(frames[i].dataType, H264DATA_TYPE);
        EXPECT_EQ(frames[i].frameType, i % 10 == 0 ? I_FRAME : P_FRAME) << i;
        received += frames[i].bytes;
    }
    writeFile(dir.file("received.h264"), received);
    const auto receivedMd5 = frameMd5s(dir.file("received.h264"));
    EXPECT_EQ(receivedMd5, std::vector<std::string>(sourceMd5.begin() + 10, sourceMd5.end()));
}

}  // namespace
