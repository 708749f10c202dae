// The standards receive rules on byte arrays: the RTP header, H.264 (STAP-A,
// FU-A, loss), AAC (several units, SDP config), RTP/JPEG (restart markers,
// 16-bit tables, offsets) and the media clock.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "stream/AacDepacketizer.h"
#include "stream/H264Depacketizer.h"
#include "stream/JpegDepacketizer.h"
#include "stream/StreamTrack.h"
#include "support/FakeCamera.h"

namespace kovo {
namespace {

using test::rtpPacket;

const std::string kStart("\0\0\0\1", 4);
// An SPS of a 320x240 picture as x264 writes it, and its PPS.
const std::string kSps("\x67\x42\xc0\x15\xd9\x01\x41\xfb\x01\x6a\x0c\x0c\x0d\x4a\x00\x00\x03\x00\x02\x00\x00\x03"
                       "\x00\x65\x1e\x2c\x5c\x90", 28);
const std::string kPps("\x68\xcb\x8c\xb2", 4);

struct Collector : FrameSink {
    struct Out {
        MediaFrame meta;
        std::string bytes;
    };
    std::vector<Out> frames;
    int dropped = 0;
    bool processing() const override { return true; }
    void onFrame(const MediaFrame& f) override {
        frames.push_back({f, std::string(reinterpret_cast<const char*>(f.data), f.size)});
    }
    void onFrameDropped() override { ++dropped; }

    // One packet through the standard header rules.
    void push(Depacketizer& unit, const std::string& packet, bool lossBefore = false) {
        RtpPacket p;
        ASSERT_TRUE(ParseRtpPacket(reinterpret_cast<const uint8_t*>(packet.data()), uint32_t(packet.size()),
                                   RtpRules::Standard, p));
        unit.push(p, lossBefore);
    }
};

std::string be16(size_t v) { return {char(v >> 8), char(v)}; }

TEST(StandardRules, RtpHeaderHonoursCsrcExtensionAndPadding) {
    const std::string fixed = rtpPacket(96, true, 7, 9000, "");
    struct Case { std::string packet; bool ok; std::string payload; };
    const Case cases[] = {
        // Two CSRCs, a one-word extension, three bytes of padding.
        {char(0xB2) + fixed.substr(1) + "CSR1CSR2" + std::string("\xBE\xDE\x00\x01" "EXT1", 8) + "data" + std::string("\0\0\3", 3),
         true, "data"},
        {char(0x80) + fixed.substr(1) + "data", true, "data"},
        {char(0x40) + fixed.substr(1) + "data", false, ""},               // version 1
        {char(0x84) + fixed.substr(1) + "data", false, ""},               // CSRC list past the end
        {char(0x90) + fixed.substr(1) + std::string("\xBE\xDE\x00\x09", 4), false, ""},   // extension past the end
        {char(0xA0) + fixed.substr(1) + "data\x09", false, ""},           // padding past the end
    };
    for (const Case& c : cases) {
        RtpPacket p;
        EXPECT_EQ(ParseRtpPacket(reinterpret_cast<const uint8_t*>(c.packet.data()), uint32_t(c.packet.size()),
                                 RtpRules::Standard, p), c.ok) << c.packet;
        if (!c.ok) continue;
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(p.payload), p.payloadSize), c.payload);
        EXPECT_TRUE(p.marker);
        EXPECT_EQ(p.sequence, 7);
        EXPECT_EQ(p.timestamp, 9000u);
    }
}

TEST(StandardRules, StapAWithParameterSetsAndIdrIsOneKeyFrame) {
    Collector out;
    H264Depacketizer unit(ReceiveRules::Standard, &out);
    const std::string idr("\x65\x88\x84\x21", 4);
    out.push(unit, rtpPacket(96, false, 1, 3000, "\x18" + be16(kSps.size()) + kSps + be16(4) + kPps));
    out.push(unit, rtpPacket(96, true, 2, 3000, idr));
    ASSERT_EQ(out.frames.size(), 1u);
    EXPECT_EQ(out.frames[0].bytes, kStart + kSps + kStart + kPps + kStart + idr);
    EXPECT_EQ(out.frames[0].meta.frameType, I_FRAME);
    EXPECT_EQ(out.frames[0].meta.width * 1000 + out.frames[0].meta.height, 320240);
    EXPECT_EQ(out.frames[0].meta.firstSequence, 1);
    // A STAP-A running past its packet spoils the frame.
    out.push(unit, rtpPacket(96, true, 3, 6000, "\x18" + be16(40) + "\x41"));
    EXPECT_EQ(out.dropped, 1);
}

TEST(StandardRules, SdpParameterSetsLeadTheFirstKeyFrameWithoutItsOwn) {
    Collector out;
    H264Depacketizer unit(ReceiveRules::Standard, &out, kStart + kSps + kStart + kPps);
    out.push(unit, rtpPacket(96, true, 1, 3000, "\x65I1"));
    out.push(unit, rtpPacket(96, true, 2, 6000, "\x65I2"));
    ASSERT_EQ(out.frames.size(), 2u);
    EXPECT_EQ(out.frames[0].bytes, kStart + kSps + kStart + kPps + kStart + "\x65I1");
    EXPECT_EQ(out.frames[1].bytes, kStart + "\x65I2");
}

TEST(StandardRules, FuAWithALostMiddleFragmentWaitsForTheNextKeyFrame) {
    Collector out;
    H264Depacketizer unit(ReceiveRules::Standard, &out);
    out.push(unit, rtpPacket(96, false, 1, 3000, "\x41P0"));   // before any key frame
    out.push(unit, rtpPacket(96, false, 2, 6000, "\x7C\x85" "A"));  // timestamp change ends P0
    out.push(unit, rtpPacket(96, false, 3, 6000, std::string("\x7C\x05") + "B"));
    out.push(unit, rtpPacket(96, true, 4, 6000, "\x7C\x45" "C"));
    out.push(unit, rtpPacket(96, false, 5, 9000, "\x7C\x81" "D"));
    out.push(unit, rtpPacket(96, true, 7, 9000, "\x7C\x41" "F"), true);  // 6 lost
    out.push(unit, rtpPacket(96, true, 8, 12000, "\x41P3"));   // no key frame since
    out.push(unit, rtpPacket(96, true, 9, 15000, "\x65I4"));
    ASSERT_EQ(out.frames.size(), 2u);
    EXPECT_EQ(out.frames[0].bytes, kStart + "\x65" "ABC");
    EXPECT_EQ(out.frames[0].meta.rtpTimestamp, 6000u);
    EXPECT_EQ(out.frames[1].bytes, kStart + "\x65I4");
    EXPECT_EQ(out.dropped, 4);  // P0, the broken frame, its tail, P3
}

// An RFC 3640 payload: AU-headers-length, 13-bit sizes with 3-bit indices, then the units.
std::string aacPayload(const std::vector<std::string>& units) {
    std::string headers, data;
    for (const std::string& u : units) headers += be16(u.size() << 3), data += u;
    return be16(headers.size() * 8) + headers + data;
}

TEST(StandardRules, EveryAacUnitOfAPacketWithItsOwnTime) {
    Collector out;
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

TEST(StandardRules, AacHeaderFromTheSdpConfig) {
    const AacFormat format = AacFormat::fromSdp(
        "streamtype=5; profile-level-id=15; mode=AAC-hbr; config=1208; SizeLength=13; IndexLength=3;"
        " IndexDeltaLength=3", 44100, 1);
    Collector out;
    AacDepacketizer unit(ReceiveRules::Standard, &out, format);
    out.push(unit, rtpPacket(97, true, 1, 0, aacPayload({std::string(300, 'x')})));
    ASSERT_EQ(out.frames.size(), 1u);
    // LC, sampling index 4 (44.1 kHz), one channel, frame length 307.
    EXPECT_EQ(out.frames[0].bytes.substr(0, 7), std::string("\xFF\xF1\x50\x40\x26\x7F\xFC", 7));
}

TEST(StandardRules, JpegRestartMarkersSixteenBitTablesAndOffsets) {
    Collector out;
    JpegDepacketizer unit(ReceiveRules::Standard, &out);
    // Type 65 (4:2:0, restart markers), Q 255, 16x16 pixels; interval 4; two 16-bit tables.
    auto header = [](size_t offset) {
        return std::string(1, '\0') + char(offset >> 16) + be16(offset) + std::string("\x41\xFF\x02\x02" "\x00\x04\xFF\xFF", 8);
    };
    const std::string tables(256, '\x01');
    out.push(unit, rtpPacket(26, false, 1, 90, header(0) + std::string("\0\x03", 2) + be16(256) + tables + "AAAA"));
    out.push(unit, rtpPacket(26, true, 2, 90, header(4) + "BBBB"));
    ASSERT_EQ(out.frames.size(), 1u);
    const std::string& jpeg = out.frames[0].bytes;
    EXPECT_EQ(jpeg.substr(0, 2), "\xFF\xD8");
    EXPECT_NE(jpeg.find(std::string("\xFF\xDB\x00\x83\x10", 5) + std::string(128, '\x01') +
                        std::string("\xFF\xDB\x00\x83\x11", 5)), std::string::npos);
    EXPECT_NE(jpeg.find(std::string("\xFF\xDD\x00\x04\x00\x04", 6)), std::string::npos);
    EXPECT_EQ(jpeg.substr(jpeg.size() - 10), "AAAABBBB\xFF\xD9");
    EXPECT_EQ(out.frames[0].meta.width * 1000 + out.frames[0].meta.height, 16016);
    // A fragment that does not continue the frame drops it.
    out.push(unit, rtpPacket(26, false, 3, 180, header(0) + std::string("\0\x03", 2) + be16(256) + tables + "AAAA"));
    out.push(unit, rtpPacket(26, true, 5, 180, header(8) + "CCCC"));
    EXPECT_EQ(out.frames.size(), 1u);
    EXPECT_EQ(out.dropped, 1);
}

TEST(StandardRules, SequenceAndTimestampWrapsUnrollIntoMonotonicTime) {
    SequenceWatch watch;
    MediaClock clock;
    clock.setRate(90000);
    uint16_t seq = 65533;
    uint32_t ts = 0xFFFFFFFFu - 3000 * 2;
    long long last = -1;
    for (int i = 0; i < 6; ++i, ts += 3000) {
        RtpPacket p;
        p.sequence = seq++;
        bool newSource = true;
        EXPECT_EQ(watch.check(p, &newSource), 0u);
        EXPECT_FALSE(newSource);
        const long long pts = clock.presentationTime(ts);
        EXPECT_EQ(pts, i * 33333LL + i / 3) << i;  // 3000 ticks are 33333.3 us
        EXPECT_GT(pts, last);
        last = pts;
    }
    RtpPacket skip;
    skip.sequence = uint16_t(seq + 2);
    bool newSource = false;
    EXPECT_EQ(watch.check(skip, &newSource), 2u);
    // With a sender report the wall clock follows the same unrolled time.
    clock.onSenderReport({0, (uint64_t(2208988800ULL + 1700000000) << 32) | 0x80000000u, 0xFFFFFFFFu});
    EXPECT_EQ(clock.wallClock(0xFFFFFFFFu + 90000u), 1700000001500000LL);
}

}  // namespace
}  // namespace kovo
