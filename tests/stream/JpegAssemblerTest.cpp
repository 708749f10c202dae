// RTP/JPEG header generation and frame assembly on hand-made packets.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "stream/JpegAssembler.h"
#include "stream/JpegHeaders.h"
#include "JpegAacTestMedia.h"
#include "StreamTestSupport.h"
#include "stream/JpegDepacketizer.h"

namespace kovo {
namespace {

using test::media::jpegSegments;
using Segments = std::vector<std::pair<int, std::string>>;

std::string bytes(const unsigned char* p, size_t n) { return std::string(reinterpret_cast<const char*>(p), n); }

std::string headers(int type, int q, int w, int h, unsigned short dri = 0) {
    unsigned char lqt[64], cqt[64], out[kJpegHeaderScratch];
    MakeTables(q, lqt, cqt);
    return std::string(reinterpret_cast<char*>(out), MakeHeaders(out, type, w, h, lqt, cqt, dri));
}

const std::string* find(const Segments& segs, int marker) {
    for (const auto& s : segs)
        if (s.first == marker) return &s.second;
    return nullptr;
}

// RTP/JPEG payload: main header, optional restart and table headers (`extra`), data.
std::string jpegPayload(int type, int q, int w, int h, const std::string& data, const std::string& extra = {}) {
    return std::string("\0\0\0\0", 4) + char(type) + char(q) + char(w) + char(h) + extra + data;
}

const int kZigzag[64] = {0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,
                         12, 19, 26, 33, 40, 48, 41, 34, 27, 20, 13, 6,  7,  14, 21, 28,
                         35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23, 30, 37, 44, 51,
                         58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};

// libjpeg's default tables are the same Annex K tables with the same quality
// scaling; qualities it never takes: 0 acts as 1, above 99 as 99.
TEST(JpegTables, StandardTablesMatchLibjpegAndQualityIsClamped) {
    unsigned char l[2][64], c[2][64];
    for (auto [q, same] : {std::pair{0, 1}, std::pair{127, 99}}) {
        MakeTables(q, l[0], c[0]);
        MakeTables(same, l[1], c[1]);
        EXPECT_EQ(bytes(l[0], 64) + bytes(c[0], 64), bytes(l[1], 64) + bytes(c[1], 64)) << q;
    }
    if (!test::haveTool("ffmpeg") || !test::haveTool("cjpeg")) GTEST_SKIP() << "ffmpeg and cjpeg are needed";
    test::TempDir dir;
    ASSERT_TRUE(test::run("ffmpeg -loglevel error -f lavfi -i testsrc=size=32x32 -frames:v 1 " + dir.file("src.ppm")));
    const std::string expectedDht =
        std::string(1, '\x00') + bytes(lumDccodeLens, 16) + bytes(lumDcSymbols, 12) + std::string(1, '\x10') +
        bytes(lumAccodeLens, 16) + bytes(lumAcSymbols, 162) + std::string(1, '\x01') + bytes(chmDccodeLens, 16) +
        bytes(chmDcSymbols, 12) + std::string(1, '\x11') + bytes(chmAccodeLens, 16) + bytes(chmAcSymbols, 162);
    for (int q : {1, 37, 50, 75, 99}) {
        SCOPED_TRACE(q);
        const std::string jpeg = dir.file("q.jpg");
        ASSERT_TRUE(test::run("cjpeg -baseline -quality " + std::to_string(q) + " " + dir.file("src.ppm") + " > " + jpeg));
        MakeTables(q, l[0], c[0]);
        std::string dqt, dht;
        for (const auto& [marker, body] : jpegSegments(test::readFile(jpeg))) {
            if (marker == 0xDB) dqt += body;
            if (marker == 0xC4) dht += body;
        }
        ASSERT_EQ(dqt.size(), 130u);
        for (int k = 0; k < 64; ++k)
            EXPECT_EQ(uint8_t(dqt[1 + k]) * 1000 + uint8_t(dqt[66 + k]), l[0][kZigzag[k]] * 1000 + c[0][kZigzag[k]]) << k;
        EXPECT_EQ(dht, expectedDht);
    }
}

// The frame header's size and sampling by type; a restart interval gives a
// DRI segment between the tables and the frame header.
TEST(JpegHeaders, FrameHeaderSizesSamplingAndRestartInterval) {
    struct Case { int type, width, height; const char* size; char sampling; unsigned short dri; };
    const Case cases[] = {
        {1, 80, 60, "\x01\xE0\x02\x80", '\x22', 0},
        {0, 80, 60, "\x01\xE0\x02\x80", '\x21', 0},
        {64, 1, 255, "\x07\xF8\x00\x08", '\x21', 0},
        {69, 40, 30, "\x00\xF0\x01\x40", '\x05', 0},
        {130, 40, 30, "\x00\xF0\x01\x40", '\x82', 0},
        {65, 40, 30, "\x00\xF0\x01\x40", '\x22', 4},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.type);
        const auto segs = jpegSegments(headers(c.type, 50, c.width, c.height, c.dri));
        const std::string* sof = find(segs, 0xC0);
        ASSERT_NE(sof, nullptr);
        const std::string expected = "\x08" + std::string(c.size, 4) + "\x03" + std::string(1, '\0') + c.sampling +
                                     std::string("\x00\x01\x11\x01\x02\x11\x01", 7);
        EXPECT_EQ(*sof, expected);
        EXPECT_EQ(find(segs, 0xDD) != nullptr, c.dri != 0);
        if (c.dri) EXPECT_EQ(segs[7], std::make_pair(0xDD, be16(c.dri)));
    }
}

class JpegAssemblerTest : public ::testing::Test {
protected:
    void SetUp() override { JpegAssembler::setFirstFrameDropped(true); }
    void pushRaw(const std::string& packet, JpegAssembler* to = nullptr) {
        (to ? to : &assembler)
            ->pushPacket(reinterpret_cast<const unsigned char*>(packet.data()), packet.size(), &ByteFrames::sink, &got);
    }
    void push(const std::string& payload, bool marker) { pushRaw(test::rtpPacket(26, marker, seq++, 0, payload)); }
    // A one-packet 40x30 frame of type 1, Q 50.
    void pushSmall(const std::string& scan, bool marker = true) { push(jpegPayload(1, 50, 40, 30, scan), marker); }
    static std::string small(const std::string& scan) { return headers(1, 50, 40, 30) + scan + "\xFF\xD9"; }

    JpegAssembler assembler;
    ByteFrames got;
    uint16_t seq = 1;
};

// Packet sequences and the frames they must give.
TEST_F(JpegAssemblerTest, PacketSequences) {
    const std::string restart("\x00\x04\xFF\xFF", 4);
    const std::string filling(kJpegFrameBufferSize - headers(1, 50, 40, 30).size() - 2 - 40000, 'a');
    const struct {
        const char* name;
        std::vector<std::pair<std::string, bool>> packets;  // payload, marker
        std::vector<std::string> frames;
    } rows[] = {
        {"one packet is a complete image", {{jpegPayload(1, 50, 40, 30, "SCANDATA"), true}}, {small("SCANDATA")}},
        {"fragments join; the next frame starts with its own headers",
         {{jpegPayload(0, 80, 80, 60, "first-"), false}, {jpegPayload(0, 80, 80, 60, "second-"), false},
          {jpegPayload(0, 80, 80, 60, "third"), true}, {jpegPayload(1, 30, 40, 30, "next"), true}},
         {headers(0, 80, 80, 60) + "first-second-third\xFF\xD9", headers(1, 30, 40, 30) + "next\xFF\xD9"}},
        {"the restart header is skipped only in the first packet",
         {{jpegPayload(65, 50, 40, 30, "AB", restart), false}, {jpegPayload(65, 50, 40, 30, "CD", restart), true}},
         {headers(65, 50, 40, 30, 4) + "AB" + restart + "CD\xFF\xD9"}},
        {"a frame filling the buffer exactly is delivered",
         {{jpegPayload(1, 50, 40, 30, filling), false}, {jpegPayload(1, 50, 40, 30, std::string(40000, 'b')), true}},
         {small(filling + std::string(40000, 'b'))}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        JpegAssembler fresh;
        got.clear();
        for (const auto& [payload, marker] : row.packets) pushRaw(test::rtpPacket(26, marker, seq++, 0, payload), &fresh);
        EXPECT_EQ(got, row.frames);
    }
}

TEST_F(JpegAssemblerTest, InBandTablesReachTheDqtSegments) {
    std::string tables;
    for (int i = 0; i < 128; ++i) tables += static_cast<char>(i + 1);
    push(jpegPayload(1, 255, 40, 30, "scan", std::string("\0\0\0\x80", 4) + tables), true);
    ASSERT_EQ(got.size(), 1u);
    const std::string& f = got[0];
    const auto segs = jpegSegments(f);
    ASSERT_EQ(segs[5].first, 0xDB);
    EXPECT_EQ(segs[5].second, '\0' + tables.substr(0, 64));
    EXPECT_EQ(segs[6].second, '\1' + tables.substr(64));
    EXPECT_EQ(f.substr(f.size() - 6), "scan\xFF\xD9");
}

// ---- Odd, but required: the in-band table length counts by its low byte
// only (0x0140 reads as 0x40, 32 bytes per table; the rest keeps the standard values).
TEST_F(JpegAssemblerTest, TableLengthUsesOnlyItsLowByte) {
    push(jpegPayload(1, 200, 40, 30, "scan", std::string("\0\0\x01\x40", 4) + std::string(64, '\x07')), true);
    ASSERT_EQ(got.size(), 1u);
    const auto segs = jpegSegments(got[0]);
    EXPECT_EQ(segs[5].second, '\0' + std::string(32, '\x07') + bytes(jpegLumaQuantizer + 32, 32));
    EXPECT_EQ(segs[6].second, '\1' + std::string(32, '\x07') + bytes(jpegChromaQuantizer + 32, 32));
}

TEST_F(JpegAssemblerTest, FirstFinishedFrameOfTheProcessIsDroppedOnce) {
    JpegAssembler::setFirstFrameDropped(false);
    JpegAssembler other;
    test::StdoutCapture quiet;
    pushSmall("dropped");
    pushRaw(test::rtpPacket(26, true, 9, 0, jpegPayload(1, 50, 40, 30, "kept")), &other);
    pushSmall("also kept");  // starts with its headers again
    EXPECT_EQ(got, (std::vector<std::string>{small("kept"), small("also kept")}));
    EXPECT_TRUE(JpegAssembler::firstFrameDropped());
}

TEST_F(JpegAssemblerTest, OversizedFrameIsDroppedWholeAndAssemblyResumes) {
    const std::string chunk(60000, 'x');
    test::StdoutCapture quiet;
    for (int i = 0; i < 20; ++i) pushSmall(chunk, false);
    pushSmall(chunk);
    pushSmall("small");
    EXPECT_EQ(got, std::vector<std::string>{small("small")});
}

TEST_F(JpegAssemblerTest, ShortPacketsDropTheFrameWithoutReadingPastThem) {
    const std::vector<std::string> bad = {
        std::string(),
        std::string("\x80", 1),
        std::string(11, '\0'),
        test::rtpPacket(26, true, 1, 0, std::string(7, '\0')),
        test::rtpPacket(26, true, 1, 0, jpegPayload(65, 50, 40, 30, "", "\x00")),
        test::rtpPacket(26, true, 1, 0, jpegPayload(1, 200, 40, 30, "", std::string("\0\0\0", 3))),
        test::rtpPacket(26, true, 1, 0, jpegPayload(1, 200, 40, 30, std::string("\0\0\0\x80", 4) + "short")),
    };
    for (const std::string& packet : bad) {
        test::StdoutCapture capture;
        // Each one must end cleanly at a marker and leave the next frame intact.
        pushRaw(packet);
        pushSmall("tail");
        pushSmall("good");
        EXPECT_FALSE(capture.text().empty());
        ASSERT_FALSE(got.empty());
        EXPECT_EQ(got.back(), small("good"));
        got.clear();
    }
    // A short packet in the middle of a frame drops the rest of that frame.
    test::StdoutCapture capture;
    pushSmall("start", false);
    pushRaw(test::rtpPacket(26, false, 2, 0, "tiny"));
    pushSmall("lost");
    pushSmall("fine");
    EXPECT_EQ(got, std::vector<std::string>{small("fine")});
}

TEST_F(JpegAssemblerTest, NullSinkBuildsAndDiscards) {
    const std::string packet = test::rtpPacket(26, true, 1, 0, jpegPayload(1, 50, 40, 30, "x"));
    assembler.pushPacket(reinterpret_cast<const unsigned char*>(packet.data()), packet.size(), nullptr, nullptr);
    pushSmall("y");
    EXPECT_EQ(got, std::vector<std::string>{small("y")});
}

// ---- The standards rules ------------------------------------------------------

TEST(JpegDepacketizerStandard, RestartMarkersSixteenBitTablesAndOffsets) {
    FrameCollector out;
    JpegDepacketizer unit(ReceiveRules::Standard, &out);
    // Type 65 (4:2:0, restart markers), Q 255, 16x16 pixels; interval 4; two 16-bit tables.
    auto header = [](size_t offset) {
        return std::string(1, '\0') + char(offset >> 16) + be16(offset) + std::string("\x41\xFF\x02\x02" "\x00\x04\xFF\xFF", 8);
    };
    const std::string tables(256, '\x01');
    out.push(unit, test::rtpPacket(26, false, 1, 90, header(0) + std::string("\0\x03", 2) + be16(256) + tables + "AAAA"));
    out.push(unit, test::rtpPacket(26, true, 2, 90, header(4) + "BBBB"));
    ASSERT_EQ(out.frames.size(), 1u);
    const std::string& jpeg = out.frames[0].bytes;
    EXPECT_EQ(jpeg.substr(0, 2), "\xFF\xD8");
    EXPECT_NE(jpeg.find(std::string("\xFF\xDB\x00\x83\x10", 5) + std::string(128, '\x01') +
                        std::string("\xFF\xDB\x00\x83\x11", 5)), std::string::npos);
    EXPECT_NE(jpeg.find(std::string("\xFF\xDD\x00\x04\x00\x04", 6)), std::string::npos);
    EXPECT_EQ(jpeg.substr(jpeg.size() - 10), "AAAABBBB\xFF\xD9");
    EXPECT_EQ(out.frames[0].meta.width * 1000 + out.frames[0].meta.height, 16016);
    // A fragment that does not continue the frame drops it.
    out.push(unit, test::rtpPacket(26, false, 3, 180, header(0) + std::string("\0\x03", 2) + be16(256) + tables + "AAAA"));
    out.push(unit, test::rtpPacket(26, true, 5, 180, header(8) + "CCCC"));
    EXPECT_EQ(out.frames.size(), 1u);
    EXPECT_EQ(out.dropped, 1);
}

}  // namespace
}  // namespace kovo
