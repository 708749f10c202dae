// A real AAC-LC 48 kHz stereo track sent as RFC 3640 packets, one access unit
// each, must come back as an ADTS stream that decodes to the same audio.
#include <gtest/gtest.h>

#include <string>

#include "JpegAacTestMedia.h"
#include "stream/AacAssembler.h"

namespace kovo {
namespace {

using namespace test::media;

void append(void* user, const unsigned char* data, size_t length) {
    static_cast<std::string*>(user)->append(reinterpret_cast<const char*>(data), length);
}

TEST(AacMedia, RewrappedStreamDecodesToTheSourceAudio) {
    if (!haveTool("ffmpeg")) GTEST_SKIP() << "ffmpeg is needed for the real-media check";
    TempDir dir;
    const std::string source = makeAacTrack(dir, 2);
    const auto units = splitAdts(source);
    ASSERT_GT(units.size(), 50u);

    AacAssembler assembler;
    std::string rebuilt;
    uint16_t seq = 1;
    uint32_t timestamp = 0;
    for (const std::string& unit : units) {
        const std::string packet = aacPacket(unit, seq++, timestamp += 1024);
        assembler.pushPacket(reinterpret_cast<const unsigned char*>(packet.data()), packet.size(), &append,
                             &rebuilt);
    }
    EXPECT_EQ(splitAdts(rebuilt), units);

    const std::string expected = decodeAac(dir, source, "source");
    ASSERT_GT(expected.size(), 48000u * 4);
    const std::string actual = decodeAac(dir, rebuilt, "rebuilt");
    EXPECT_EQ(actual.size(), expected.size());
    EXPECT_TRUE(actual == expected) << "decoded audio differs";
}

}  // namespace
}  // namespace kovo
