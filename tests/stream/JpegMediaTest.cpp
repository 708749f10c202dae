// Real JPEG pictures sent as RTP/JPEG with in-band tables must come back as
// files that decode to exactly the source pictures.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "JpegAacTestMedia.h"
#include "stream/JpegAssembler.h"
#include "stream/JpegHeaders.h"

namespace kovo {
namespace {

using namespace test::media;

struct Source {
    const char* name;
    std::string generate;  // shell command; %D is the output directory
    size_t fragment;       // scan bytes per packet
};

std::string expand(std::string command, const std::string& dir) {
    for (size_t at; (at = command.find("%D")) != std::string::npos;) command.replace(at, 2, dir);
    return command;
}

const Source kSources[] = {
    // (4:2:0 frames from ffmpeg go through the stream test)
    // ffmpeg's own 4:2:2 JPEG samples vertically too, which RTP/JPEG cannot describe.
    {"cjpeg 4:2:2, fragmented",
     "ffmpeg -loglevel error -f lavfi -i testsrc=size=320x240:rate=10 -frames:v 3 %D/p%02d.ppm && "
     "for n in 01 02 03; do cjpeg -quality 75 -sample 2x1 %D/p$n.ppm > %D/f$n.jpg; done",
     1400},
    {"cjpeg 4:2:0 with restart markers",
     "ffmpeg -loglevel error -f lavfi -i testsrc=size=176x144 -frames:v 1 %D/src.ppm && "
     "cjpeg -quality 85 -sample 2x2 -restart 2B %D/src.ppm > %D/f01.jpg",
     60000},
    {"cjpeg 4:2:2 at low quality",
     "ffmpeg -loglevel error -f lavfi -i testsrc=size=64x48 -frames:v 1 %D/src.ppm && "
     "cjpeg -quality 10 -baseline -sample 2x1 %D/src.ppm > %D/f01.jpg",
     100},
};

void collect(void* user, const unsigned char* data, size_t length) {
    static_cast<std::vector<std::string>*>(user)->emplace_back(reinterpret_cast<const char*>(data), length);
}

TEST(JpegMedia, ReconstructedFramesDecodeToTheSourcePictures) {
    if (!haveTool("ffmpeg") || !haveTool("djpeg") || !haveTool("cjpeg"))
        GTEST_SKIP() << "ffmpeg, djpeg and cjpeg are needed for the real-media check";
    JpegAssembler::setFirstFrameDropped(true);
    for (const Source& source : kSources) {
        SCOPED_TRACE(source.name);
        TempDir dir;
        ASSERT_TRUE(run(expand(source.generate, dir.path())));
        JpegAssembler assembler;
        std::vector<std::string> got;
        uint16_t seq = 100;
        int frames = 0;
        for (int n = 1; n < 100; ++n) {
            char name[16];
            snprintf(name, sizeof name, "f%02d.jpg", n);
            const std::string file = readFile(dir.file(name));
            if (file.empty()) break;
            JpegPicture picture;
            ASSERT_EQ(parseJpeg(file, &picture), "") << name;
            for (const std::string& packet : packetiseJpeg(picture, &seq, n * 9000, source.fragment)) {
                assembler.pushPacket(reinterpret_cast<const unsigned char*>(packet.data()), packet.size(),
                                     &collect, &got);
            }
            ASSERT_EQ(got.size(), static_cast<size_t>(n));
            const std::string expected = decodeJpeg(dir, file, "source");
            ASSERT_FALSE(expected.empty());
            EXPECT_EQ(decodeJpeg(dir, got.back(), "rebuilt"), expected) << name;
            ++frames;
        }
        EXPECT_GT(frames, 0);
    }
}

std::string bytes(const unsigned char* p, size_t n) { return std::string(reinterpret_cast<const char*>(p), n); }

const int kZigzag[64] = {0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,
                         12, 19, 26, 33, 40, 48, 41, 34, 27, 20, 13, 6,  7,  14, 21, 28,
                         35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23, 30, 37, 44, 51,
                         58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};

// libjpeg's default tables are the same Annex K tables with the same quality scaling.
TEST(JpegMedia, StandardTablesMatchLibjpeg) {
    if (!haveTool("ffmpeg") || !haveTool("cjpeg")) GTEST_SKIP() << "ffmpeg and cjpeg are needed";
    TempDir dir;
    ASSERT_TRUE(run("ffmpeg -loglevel error -f lavfi -i testsrc=size=32x32 -frames:v 1 " + dir.file("src.ppm")));
    for (int q : {1, 37, 50, 75, 99}) {
        SCOPED_TRACE(q);
        const std::string jpeg = dir.file("q.jpg");
        ASSERT_TRUE(run("cjpeg -baseline -quality " + std::to_string(q) + " " + dir.file("src.ppm") + " > " + jpeg));
        unsigned char lqt[64], cqt[64];
        MakeTables(q, lqt, cqt);
        std::string dqt, dht;
        for (const auto& [marker, body] : jpegSegments(readFile(jpeg))) {
            if (marker == 0xDB) dqt += body;
            if (marker == 0xC4) dht += body;
        }
        ASSERT_EQ(dqt.size(), 130u);
        for (int k = 0; k < 64; ++k) {
            EXPECT_EQ(static_cast<unsigned char>(dqt[1 + k]), lqt[kZigzag[k]]) << "luma " << k;
            EXPECT_EQ(static_cast<unsigned char>(dqt[66 + k]), cqt[kZigzag[k]]) << "chroma " << k;
        }
        const std::string expectedDht =
            std::string(1, '\x00') + bytes(lumDccodeLens, 16) + bytes(lumDcSymbols, 12) +
            std::string(1, '\x10') + bytes(lumAccodeLens, 16) + bytes(lumAcSymbols, 162) +
            std::string(1, '\x01') + bytes(chmDccodeLens, 16) + bytes(chmDcSymbols, 12) +
            std::string(1, '\x11') + bytes(chmAccodeLens, 16) + bytes(chmAcSymbols, 162);
        EXPECT_EQ(dht, expectedDht);
    }
}

}  // namespace
}  // namespace kovo
