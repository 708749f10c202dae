// RTP/JPEG header generation and frame assembly on hand-made packets.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "stream/JpegAssembler.h"
#include "stream/JpegHeaders.h"
#include "support/FakeCamera.h"

namespace kovo {
namespace {

using Bytes = std::vector<unsigned char>;

struct Segment {
    int marker;
    Bytes body;  // after the length field
};

// Splits generated headers into marker segments (SOI first, SOS last).
std::vector<Segment> segments(const unsigned char* p, size_t length) {
    std::vector<Segment> out;
    size_t i = 0;
    if (length >= 2 && p[0] == 0xFF && p[1] == 0xD8) {
        out.push_back({0xD8, {}});
        i = 2;
    }
    while (i + 4 <= length && p[i] == 0xFF) {
        const size_t segLength = p[i + 2] << 8 | p[i + 3];
        if (segLength < 2 || i + 2 + segLength > length) break;
        out.push_back({p[i + 1], Bytes(p + i + 4, p + i + 2 + segLength)});
        i += 2 + segLength;
    }
    return out;
}

std::vector<Segment> headersFor(int type, int width, int height, unsigned short dri, int q = 50) {
    unsigned char lqt[64], cqt[64], out[kJpegHeaderScratch];
    MakeTables(q, lqt, cqt);
    const int length = MakeHeaders(out, type, width, height, lqt, cqt, dri);
    return segments(out, length);
}

const Segment* find(const std::vector<Segment>& segs, int marker) {
    for (const Segment& s : segs)
        if (s.marker == marker) return &s;
    return nullptr;
}

// RTP/JPEG payload: main header, optional restart header, optional table header, data.
std::string jpegPayload(int type, int q, int w, int h, const std::string& data,
                        const std::string& extra = {}) {
    std::string p("\0\0\0\0", 4);
    p += static_cast<char>(type);
    p += static_cast<char>(q);
    p += static_cast<char>(w);
    p += static_cast<char>(h);
    return p + extra + data;
}

struct Collector {
    std::vector<std::string> frames;
    static void sink(void* user, const unsigned char* data, size_t length) {
        static_cast<Collector*>(user)->frames.emplace_back(reinterpret_cast<const char*>(data), length);
    }
};

class JpegAssemblerTest : public ::testing::Test {
protected:
    void SetUp() override { JpegAssembler::setFirstFrameDropped(true); }
    void push(const std::string& payload, bool marker) {
        const std::string packet = test::rtpPacket(26, marker, seq++, 0, payload);
        assembler.pushPacket(reinterpret_cast<const unsigned char*>(packet.data()), packet.size(),
                             &Collector::sink, &got);
    }
    void pushRaw(const std::string& packet) {
        assembler.pushPacket(reinterpret_cast<const unsigned char*>(packet.data()), packet.size(),
                             &Collector::sink, &got);
    }
    static std::string expectedHeaders(int type, int q, int w, int h, unsigned short dri = 0) {
        unsigned char lqt[64], cqt[64], out[kJpegHeaderScratch];
        MakeTables(q, lqt, cqt);
        return std::string(reinterpret_cast<char*>(out), MakeHeaders(out, type, w, h, lqt, cqt, dri));
    }

    JpegAssembler assembler;
    Collector got;
    uint16_t seq = 1;
};

struct TableCase {
    int q;
    int lumaFirst, lumaLast, chromaFirst, chromaLast;
};

TEST(JpegTables, QualityScalesAnnexKTables) {
    const TableCase cases[] = {
        {50, 16, 99, 17, 99},     // scale 100: the tables unchanged
        {0, 255, 255, 255, 255},  // treated as 1: scale 5000, every entry clamped
        {1, 255, 255, 255, 255},
        {25, 32, 198, 34, 198},   // scale 200
        {75, 8, 50, 9, 50},       // scale 50
        {99, 1, 2, 1, 2},         // scale 2: small entries clamp up to 1
        {127, 1, 2, 1, 2},        // above 99 behaves as 99
    };
    for (const TableCase& c : cases) {
        unsigned char lqt[64], cqt[64];
        MakeTables(c.q, lqt, cqt);
        EXPECT_EQ(lqt[0], c.lumaFirst) << "q " << c.q;
        EXPECT_EQ(lqt[63], c.lumaLast) << "q " << c.q;
        EXPECT_EQ(cqt[0], c.chromaFirst) << "q " << c.q;
        EXPECT_EQ(cqt[63], c.chromaLast) << "q " << c.q;
    }
    unsigned char lqt[64], cqt[64];
    MakeTables(50, lqt, cqt);
    EXPECT_EQ(Bytes(lqt, lqt + 64), Bytes(jpegLumaQuantizer, jpegLumaQuantizer + 64));
    EXPECT_EQ(Bytes(cqt, cqt + 64), Bytes(jpegChromaQuantizer, jpegChromaQuantizer + 64));
    // Natural order: row 1 of the luminance table starts at index 8.
    EXPECT_EQ(lqt[8], 12);
    EXPECT_EQ(lqt[1], 11);
}

TEST(JpegTables, HuffmanTablesAreConsistent) {
    auto total = [](const unsigned char* lens) {
        int n = 0;
        for (int i = 0; i < 16; ++i) n += lens[i];
        return n;
    };
    EXPECT_EQ(total(lumDccodeLens), 12);
    EXPECT_EQ(total(chmDccodeLens), 12);
    EXPECT_EQ(total(lumAccodeLens), 162);
    EXPECT_EQ(total(chmAccodeLens), 162);
}

TEST(JpegHeaders, SegmentOrderAndLengths) {
    const auto segs = headersFor(1, 40, 30, 0);
    std::vector<int> markers;
    for (const Segment& s : segs) markers.push_back(s.marker);
    EXPECT_EQ(markers, (std::vector<int>{0xD8, 0xC4, 0xC4, 0xC4, 0xC4, 0xDB, 0xDB, 0xC0, 0xDA}));
    const int dhtClassTable[] = {0x00, 0x01, 0x10, 0x11};
    const size_t dhtBody[] = {1 + 16 + 12, 1 + 16 + 12, 1 + 16 + 162, 1 + 16 + 162};
    for (int k = 0; k < 4; ++k) {
        EXPECT_EQ(segs[1 + k].body.size(), dhtBody[k]);
        EXPECT_EQ(segs[1 + k].body[0], dhtClassTable[k]);
    }
    EXPECT_EQ(segs[5].body.size(), 65u);
    EXPECT_EQ(segs[5].body[0], 0);
    EXPECT_EQ(segs[6].body[0], 1);
    EXPECT_EQ(segs[8].body, (Bytes{0x03, 0x00, 0x00, 0x01, 0x11, 0x02, 0x11, 0x00, 0x3F, 0x00}));
}

TEST(JpegHeaders, RestartIntervalGivesDriSegment) {
    const auto segs = headersFor(65, 40, 30, 4);
    const Segment* dri = find(segs, 0xDD);
    ASSERT_NE(dri, nullptr);
    EXPECT_EQ(dri->body, (Bytes{0x00, 0x04}));
    EXPECT_EQ(find(segs, 0xC0)->body[7], 0x22);
    // DRI sits between the tables and the frame header.
    EXPECT_EQ(segs[7].marker, 0xDD);
    EXPECT_EQ(find(headersFor(65, 40, 30, 0), 0xDD), nullptr);
}

TEST(JpegHeaders, FrameHeaderSizesAndSampling) {
    struct Case {
        int type, width, height;
        Bytes sof;
    };
    const Case cases[] = {
        {1, 80, 60, {8, 0x01, 0xE0, 0x02, 0x80, 3, 0, 0x22, 0, 1, 0x11, 1, 2, 0x11, 1}},
        {0, 80, 60, {8, 0x01, 0xE0, 0x02, 0x80, 3, 0, 0x21, 0, 1, 0x11, 1, 2, 0x11, 1}},
        {64, 1, 255, {8, 0x07, 0xF8, 0x00, 0x08, 3, 0, 0x21, 0, 1, 0x11, 1, 2, 0x11, 1}},
        {5, 40, 30, {8, 0x00, 0xF0, 0x01, 0x40, 3, 0, 0x05, 0, 1, 0x11, 1, 2, 0x11, 1}},
        {69, 40, 30, {8, 0x00, 0xF0, 0x01, 0x40, 3, 0, 0x05, 0, 1, 0x11, 1, 2, 0x11, 1}},
        {130, 40, 30, {8, 0x00, 0xF0, 0x01, 0x40, 3, 0, 0x82, 0, 1, 0x11, 1, 2, 0x11, 1}},
    };
    for (const Case& c : cases) {
        const auto segs = headersFor(c.type, c.width, c.height, 0);
        const Segment* sof = find(segs, 0xC0);
        ASSERT_NE(sof, nullptr);
        EXPECT_EQ(sof->body, c.sof) << "type " << c.type;
    }
}

TEST_F(JpegAssemblerTest, OnePacketFrameIsACompleteImage) {
    push(jpegPayload(1, 50, 40, 30, "SCANDATA"), true);
    ASSERT_EQ(got.frames.size(), 1u);
    EXPECT_EQ(got.frames[0], expectedHeaders(1, 50, 40, 30) + "SCANDATA\xFF\xD9");
}

TEST_F(JpegAssemblerTest, MultiPacketFrameJoinsFragmentsAndStartsNextWithHeaders) {
    push(jpegPayload(0, 80, 80, 60, "first-"), false);
    push(jpegPayload(0, 80, 80, 60, "second-"), false);
    EXPECT_TRUE(got.frames.empty());
    push(jpegPayload(0, 80, 80, 60, "third"), true);
    push(jpegPayload(1, 30, 40, 30, "next"), true);
    ASSERT_EQ(got.frames.size(), 2u);
    EXPECT_EQ(got.frames[0], expectedHeaders(0, 80, 80, 60) + "first-second-third\xFF\xD9");
    EXPECT_EQ(got.frames[1], expectedHeaders(1, 30, 40, 30) + "next\xFF\xD9");
}

TEST_F(JpegAssemblerTest, InBandTablesReachTheDqtSegments) {
    std::string tables;
    for (int i = 0; i < 128; ++i) tables += static_cast<char>(i + 1);
    push(jpegPayload(1, 255, 40, 30, "scan", std::string("\0\0\0\x80", 4) + tables), true);
    ASSERT_EQ(got.frames.size(), 1u);
    const std::string& f = got.frames[0];
    const auto segs = segments(reinterpret_cast<const unsigned char*>(f.data()), f.size());
    ASSERT_EQ(segs[5].marker, 0xDB);
    EXPECT_EQ(std::string(segs[5].body.begin() + 1, segs[5].body.end()), tables.substr(0, 64));
    EXPECT_EQ(std::string(segs[6].body.begin() + 1, segs[6].body.end()), tables.substr(64));
    EXPECT_EQ(f.substr(f.size() - 6), "scan\xFF\xD9");
}

TEST_F(JpegAssemblerTest, TableLengthUsesOnlyItsLowByte) {
    // Length 0x0140: only 0x40 counts, 32 bytes per table; the rest keeps the standard values.
    const std::string tables(64, '\x07');
    push(jpegPayload(1, 200, 40, 30, "scan", std::string("\0\0\x01\x40", 4) + tables), true);
    ASSERT_EQ(got.frames.size(), 1u);
    const std::string& f = got.frames[0];
    const auto segs = segments(reinterpret_cast<const unsigned char*>(f.data()), f.size());
    Bytes luma(33, 0x07), chroma(33, 0x07);
    luma[0] = 0;
    chroma[0] = 1;
    luma.insert(luma.end(), jpegLumaQuantizer + 32, jpegLumaQuantizer + 64);
    chroma.insert(chroma.end(), jpegChromaQuantizer + 32, jpegChromaQuantizer + 64);
    EXPECT_EQ(segs[5].body, luma);
    EXPECT_EQ(segs[6].body, chroma);
    EXPECT_EQ(f.substr(f.size() - 6), "scan\xFF\xD9");
}

TEST_F(JpegAssemblerTest, RestartHeaderIsSkippedOnlyInTheFirstPacket) {
    const std::string restart("\x00\x04\xFF\xFF", 4);
    push(jpegPayload(65, 50, 40, 30, "AB", restart), false);
    push(jpegPayload(65, 50, 40, 30, "CD", restart), true);
    ASSERT_EQ(got.frames.size(), 1u);
    EXPECT_EQ(got.frames[0], expectedHeaders(65, 50, 40, 30, 4) + "AB" + restart + "CD\xFF\xD9");
}

TEST_F(JpegAssemblerTest, FirstFinishedFrameOfTheProcessIsDroppedOnce) {
    JpegAssembler::setFirstFrameDropped(false);
    JpegAssembler other;
    test::StdoutCapture capture;
    push(jpegPayload(1, 50, 40, 30, "dropped"), true);
    const std::string packet = test::rtpPacket(26, true, 9, 0, jpegPayload(1, 50, 40, 30, "kept"));
    other.pushPacket(reinterpret_cast<const unsigned char*>(packet.data()), packet.size(),
                     &Collector::sink, &got);
    push(jpegPayload(1, 50, 40, 30, "also kept"), true);
    EXPECT_EQ(capture.text(), "printf drain first frame ");
    ASSERT_EQ(got.frames.size(), 2u);
    EXPECT_EQ(got.frames[0], expectedHeaders(1, 50, 40, 30) + "kept\xFF\xD9");
    EXPECT_EQ(got.frames[1], expectedHeaders(1, 50, 40, 30) + "also kept\xFF\xD9");
    EXPECT_TRUE(JpegAssembler::firstFrameDropped());
}

TEST_F(JpegAssemblerTest, OversizedFrameIsDroppedWholeAndAssemblyResumes) {
    const std::string chunk(60000, 'x');
    test::StdoutCapture capture;
    for (int i = 0; i < 20; ++i) push(jpegPayload(1, 50, 40, 30, chunk), false);
    push(jpegPayload(1, 50, 40, 30, chunk), true);
    push(jpegPayload(1, 50, 40, 30, "small"), true);
    const std::string traces = capture.text();
    EXPECT_NE(traces.find("larger than 1048576"), std::string::npos) << traces;
    ASSERT_EQ(got.frames.size(), 1u);
    EXPECT_EQ(got.frames[0], expectedHeaders(1, 50, 40, 30) + "small\xFF\xD9");
}

TEST_F(JpegAssemblerTest, FrameFillingTheBufferExactlyIsDelivered) {
    const size_t headers = expectedHeaders(1, 50, 40, 30).size();
    const size_t scan = kJpegFrameBufferSize - headers - 2;
    push(jpegPayload(1, 50, 40, 30, std::string(scan - 40000, 'a')), false);
    push(jpegPayload(1, 50, 40, 30, std::string(40000, 'b')), true);
    ASSERT_EQ(got.frames.size(), 1u);
    EXPECT_EQ(got.frames[0].size(), kJpegFrameBufferSize);
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
        push(jpegPayload(1, 50, 40, 30, "tail"), true);
        push(jpegPayload(1, 50, 40, 30, "good"), true);
        EXPECT_FALSE(capture.text().empty());
        ASSERT_FALSE(got.frames.empty());
        EXPECT_EQ(got.frames.back(), expectedHeaders(1, 50, 40, 30) + "good\xFF\xD9");
        got.frames.clear();
    }
}

TEST_F(JpegAssemblerTest, ShortLaterPacketDropsTheRestOfItsFrame) {
    test::StdoutCapture capture;
    push(jpegPayload(1, 50, 40, 30, "start"), false);
    pushRaw(test::rtpPacket(26, false, 2, 0, "tiny"));
    push(jpegPayload(1, 50, 40, 30, "lost"), true);
    push(jpegPayload(1, 50, 40, 30, "fine"), true);
    ASSERT_EQ(got.frames.size(), 1u);
    EXPECT_EQ(got.frames[0], expectedHeaders(1, 50, 40, 30) + "fine\xFF\xD9");
}

TEST_F(JpegAssemblerTest, NullSinkBuildsAndDiscards) {
    const std::string packet = test::rtpPacket(26, true, 1, 0, jpegPayload(1, 50, 40, 30, "x"));
    assembler.pushPacket(reinterpret_cast<const unsigned char*>(packet.data()), packet.size(), nullptr, nullptr);
    push(jpegPayload(1, 50, 40, 30, "y"), true);
    ASSERT_EQ(got.frames.size(), 1u);
    EXPECT_EQ(got.frames[0], expectedHeaders(1, 50, 40, 30) + "y\xFF\xD9");
}

}  // namespace
}  // namespace kovo
