// The RTP header read under the standards rules, and the media clock that
// turns RTP time into presentation and wall-clock time.
#include <gtest/gtest.h>

#include <string>

#include "StreamTestSupport.h"
#include "stream/StreamTrack.h"

namespace kovo {
namespace {

using test::rtpPacket;

TEST(RtpPacket, RtpHeaderHonoursCsrcExtensionAndPadding) {
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

TEST(MediaClock, SequenceAndTimestampWrapsUnrollIntoMonotonicTime) {
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
