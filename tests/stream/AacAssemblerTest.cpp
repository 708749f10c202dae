// AAC access units from RFC 3640 packets re-wrapped as ADTS frames.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "StreamTestSupport.h"
#include "stream/AacDepacketizer.h"

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
                             withSink ? &ByteFrames::sink : nullptr, &frames);
    }
    AacAssembler assembler;
    ByteFrames frames;
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

// Units larger than their packet or the frame area, and packets too short
// for an AU-header, are dropped whole with a trace.
TEST_F(AacAssemblerTest, WhatDoesNotFitIsDroppedWithATrace) {
    std::vector<std::string> packets = {
        aacPacket(301, std::string(300, 'a')),    // larger than the packet
        aacPacket(2042, std::string(2042, 'a')),  // larger than the frame area
        aacPacket(8191, std::string(100, 'a')),
    };
    const std::string full = aacPacket(0, "");
    for (size_t length = 0; length < full.size(); ++length) packets.push_back(full.substr(0, length));
    for (const std::string& packet : packets) {
        test::StdoutCapture capture;
        push(packet);
        EXPECT_FALSE(capture.text().empty()) << packet.size();
        EXPECT_TRUE(frames.empty()) << packet.size();
        EXPECT_EQ(assembler.consumedBytes(), packet.size());
    }
    push(full);
    EXPECT_EQ(frames.size(), 1u);
}

// ---- The standards rules ------------------------------------------------------

using test::rtpPacket;

// An RFC 3640 payload: AU-headers-length, 13-bit sizes with 3-bit indices, then the units.
std::string aacPayload(const std::vector<std::string>& units) {
    std::string headers, data;
    for (const std::string& u : units) headers += be16(u.size() << 3), data += u;
    return be16(headers.size() * 8) + headers + data;
}

TEST(AacDepacketizerStandard, EveryAacUnitOfAPacketWithItsOwnTime) {
    FrameCollector out;
    AacDepacketizer unit(ReceiveRules::Standard, &out);
    out.push(unit, rtpPacket(97, true, 1, 1000, aacPayload({"abc", "defg", "hi"})));
    ASSERT_EQ(out.frames.size(), 3u);
    const std::string expected[] = {"abc", "defg", "hi"};
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(out.frames[i].bytes.substr(0, 3), "\xFF\xF1\x4C");  // LC, 48 kHz, stereo by default
        EXPECT_EQ(out.frames[i].bytes.substr(7), expected[i]);
        EXPECT_EQ(out.frames[i].meta.rtpTimestamp, 1000 + 1024 * i);
    }
    // A unit larger than its packet is gathered from the next ones.
    const std::string big(3000, 'u');
    out.push(unit, rtpPacket(97, false, 2, 5000, be16(16) + be16(3000 << 3) + big.substr(0, 1400)));
    out.push(unit, rtpPacket(97, true, 3, 5000, be16(16) + be16(3000 << 3) + big.substr(1400)));
    ASSERT_EQ(out.frames.size(), 4u);
    EXPECT_EQ(out.frames[3].bytes.substr(7), big);
}

TEST(AacDepacketizerStandard, AacHeaderFromTheSdpConfig) {
    const AacFormat format = AacFormat::fromSdp(
        "streamtype=5; profile-level-id=15; mode=AAC-hbr; config=1208; SizeLength=13; IndexLength=3;"
        " IndexDeltaLength=3", 44100, 1);
    FrameCollector out;
    AacDepacketizer unit(ReceiveRules::Standard, &out, format);
    out.push(unit, rtpPacket(97, true, 1, 0, aacPayload({std::string(300, 'x')})));
    ASSERT_EQ(out.frames.size(), 1u);
    // LC, sampling index 4 (44.1 kHz), one channel, frame length 307.
    EXPECT_EQ(out.frames[0].bytes.substr(0, 7), std::string("\xFF\xF1\x50\x40\x26\x7F\xFC", 7));
}

}  // namespace
}  // namespace kovo
