// AAC access units from RFC 3640 packets re-wrapped as ADTS frames.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "stream/AacAssembler.h"
#include "support/FakeCamera.h"

namespace kovo {
namespace {

// RTP packet with AU-headers-length 16 and one AU-header announcing `announced` bytes.
std::string aacPacket(size_t announced, const std::string& data) {
    std::string payload("\x00\x10", 2);
    payload += static_cast<char>(announced >> 5);
    payload += static_cast<char>((announced & 31) << 3);
    return test::rtpPacket(97, true, 7, 1024, payload + data);
}

class AacAssemblerTest : public ::testing::Test {
protected:
    void push(const std::string& packet, bool withSink = true) {
        assembler.pushPacket(reinterpret_cast<const unsigned char*>(packet.data()), packet.size(),
                             withSink ? &sink : nullptr, &frames);
    }
    static void sink(void* user, const unsigned char* data, size_t length) {
        static_cast<std::vector<std::string>*>(user)->emplace_back(reinterpret_cast<const char*>(data), length);
    }
    AacAssembler assembler;
    std::vector<std::string> frames;
};

TEST_F(AacAssemblerTest, AdtsHeaderCarriesTheFrameLength) {
    struct Case { size_t au; std::string header; };
    const Case cases[] = {
        {300, std::string("\xFF\xF1\x4C\x80\x26\x7F\xFC", 7)},
        {0, std::string("\xFF\xF1\x4C\x80\x00\xFF\xFC", 7)},     // an empty unit still yields a header
        {1017, std::string("\xFF\xF1\x4C\x80\x80\x1F\xFC", 7)},  // 1024
        {2041, std::string("\xFF\xF1\x4C\x81\x00\x1F\xFC", 7)},  // 2048: the largest that fits the frame area
    };
    for (const Case& c : cases) {
        frames.clear();
        const std::string unit(c.au, '\x5a');
        push(aacPacket(c.au, unit));
        ASSERT_EQ(frames.size(), 1u) << c.au;
        EXPECT_EQ(frames[0], c.header + unit) << c.au;
    }
}

// ---- Odd, but required: one access unit per packet, whatever the AU-headers
// announce (two would need a 32-bit AU-headers-length; the rest is ignored).
TEST_F(AacAssemblerTest, OnlyTheFirstAccessUnitIsTaken) {
    push(aacPacket(3, "abcXYZ"));
    ASSERT_EQ(frames.size(), 1u);
    EXPECT_EQ(frames[0].substr(7), "abc");
    EXPECT_EQ(assembler.consumedBytes(), 12u + 4u + 3u);
    push(aacPacket(4, "abcd"), false);  // no sink: built and discarded
    EXPECT_EQ(assembler.consumedBytes(), 12u + 4u + 4u);
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
        EXPECT_TRUE(frames.empty());
        EXPECT_EQ(assembler.consumedBytes(), packet.size());
    }
}

TEST_F(AacAssemblerTest, ShortPacketsAreDropped) {
    const std::string full = aacPacket(0, "");
    for (size_t length = 0; length < full.size(); ++length) {
        test::StdoutCapture capture;
        push(full.substr(0, length));
        EXPECT_TRUE(frames.empty()) << length;
    }
    push(full);
    EXPECT_EQ(frames.size(), 1u);
}

}  // namespace
}  // namespace kovo
