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

std::string decodeToPcm(const TempDir& dir, const std::string& name) {
    const std::string pcm = dir.file(name + ".pcm");
    if (!run("ffmpeg -loglevel error -y -i " + dir.file(name + ".aac") + " -f s16le -ac 2 -ar 48000 " + pcm))
        return "";
    return readFile(pcm);
}

TEST(AacMedia, RewrappedStreamDecodesToTheSourceAudio) {
    if (!haveTool("ffmpeg")) GTEST_SKIP() << "ffmpeg is needed for the real-media check";
    TempDir dir;
    ASSERT_TRUE(run("ffmpeg -loglevel error -f lavfi -i "
                    "'aevalsrc=0.4*sin(440*2*PI*t)|0.3*sin(660*2*PI*t)*sin(3*t):s=48000:d=2' "
                    "-c:a aac -b:a 128k -f adts " + dir.file("source.aac")));
    const std::string source = readFile(dir.file("source.aac"));
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
    writeFile(dir.file("rebuilt.aac"), rebuilt);

    const std::string expected = decodeToPcm(dir, "source");
    ASSERT_GT(expected.size(), 48000u * 4);
    const std::string actual = decodeToPcm(dir, "rebuilt");
    EXPECT_EQ(actual.size(), expected.size());
    EXPECT_TRUE(actual == expected) << "decoded audio differs";
}

}  // namespace
}  // namespace kovo
