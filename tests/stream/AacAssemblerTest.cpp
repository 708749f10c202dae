// AAC access units from RFC 3640 packets re-wrapped as ADTS frames.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "stream/AacAssembler.h"
#include "support/FakeCamera.h"

namespace kovo {
namespace {

struct Frames {
    std::vector<std::string> frames;
    static void sink(void* user, const unsigned char* data, size_t length) {
        static_cast<Frames*>(user)->frames.emplace_back(reinterpret_cast<const char*>(data), length);
    }
};

// RTP packet with AU-headers-length 16 and one AU-header announcing `announced` bytes.
std::string aacPacket(size_t announced, const std::string& data) {
    std::string payload("\x00\x10", 2);
    payload += static_cast<char>(announced >> 5);
    payload += static_cast<char>((announced & 31) << 3);
    return test::rtpPacket(97, true, 7, 1024, payload + data);
}

class AacAssemblerTest : public ::testing::Test {
protected:
    void push(const std::string& packet) {
        assembler.pushPacket(reinterpret_cast<const unsigned char*>(packet.data()), packet.size(),
                             &Frames::sink, &got);
    }
    AacAssembler assembler;
    Frames got;
};

std::string header(const std::string& frame) { return frame.substr(0, 7); }

TEST_F(AacAssemblerTest, AdtsHeaderOfA300ByteUnit) {
    const std::string unit(300, '\x5a');
    push(aacPacket(300, unit));
    ASSERT_EQ(got.frames.size(), 1u);
    EXPECT_EQ(got.frames[0].size(), 307u);
    EXPECT_EQ(header(got.frames[0]), std::string("\xFF\xF1\x4C\x80\x26\x7F\xFC", 7));
    EXPECT_EQ(got.frames[0].substr(7), unit);
}

TEST_F(AacAssemblerTest, FrameLengthFieldAcrossSizes) {
    struct Case {
        size_t au;
        unsigned char b3, b4, b5;
    };
    const Case cases[] = {
        {0, 0x80, 0x00, 0xFF},     // 7: an empty unit still yields a header
        {1, 0x80, 0x01, 0x1F},     // 8
        {2041, 0x81, 0x00, 0x1F},  // 2048: the largest that fits the frame area
        {1017, 0x80, 0x80, 0x1F},  // 1024
    };
    for (const Case& c : cases) {
        got.frames.clear();
        push(aacPacket(c.au, std::string(c.au, 'a')));
        ASSERT_EQ(got.frames.size(), 1u) << c.au;
        const std::string& f = got.frames[0];
        EXPECT_EQ(f.size(), c.au + 7);
        EXPECT_EQ(static_cast<unsigned char>(f[3]), c.b3) << c.au;
        EXPECT_EQ(static_cast<unsigned char>(f[4]), c.b4) << c.au;
        EXPECT_EQ(static_cast<unsigned char>(f[5]), c.b5) << c.au;
    }
}

TEST_F(AacAssemblerTest, OnlyTheFirstAccessUnitIsTaken) {
    // Two AU-headers would need a 32-bit AU-headers-length; the second unit's bytes follow the first.
    push(aacPacket(3, "abcXYZ"));
    ASSERT_EQ(got.frames.size(), 1u);
    EXPECT_EQ(got.frames[0].substr(7), "abc");
    EXPECT_EQ(assembler.consumedBytes(), 12u + 4u + 3u);
}

TEST_F(AacAssemblerTest, UnitsThatDoNotFitAreDroppedWithATrace) {
    const std::vector<std::string> packets = {
        aacPacket(301, std::string(300, 'a')),    // larger than the packet
        aacPacket(2042, std::string(2042, 'a')),  // larger than the frame area
        aacPacket(8191, std::string(100, 'a')),
    };
    for (const std::string& packet : packets) {
        test::StdoutCapture capture;
        push(packet);
        EXPECT_FALSE(capture.text().empty());
        EXPECT_TRUE(got.frames.empty());
        EXPECT_EQ(assembler.consumedBytes(), packet.size());
    }
}

TEST_F(AacAssemblerTest, ShortPacketsAreDropped) {
    const std::string full = aacPacket(0, "");
    for (size_t length = 0; length < full.size(); ++length) {
        test::StdoutCapture capture;
        push(full.substr(0, length));
        EXPECT_TRUE(got.frames.empty()) << length;
    }
    push(full);
    EXPECT_EQ(got.frames.size(), 1u);
}

TEST_F(AacAssemblerTest, NullSinkBuildsAndDiscards) {
    const std::string packet = aacPacket(4, "abcd");
    assembler.pushPacket(reinterpret_cast<const unsigned char*>(packet.data()), packet.size(), nullptr, nullptr);
    EXPECT_EQ(assembler.consumedBytes(), packet.size());
}

}  // namespace
}  // namespace kovo
