#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "StreamTestSupport.h"
#include "stream/H264Depacketizer.h"

namespace kovo {
namespace {

using namespace test;

const std::string kStart("\x00\x00\x00\x01", 4);

std::string nal(uint8_t header, const std::string& body) { return std::string(1, char(header)) + body; }

struct Assembler {
    H264Depacketizer depacketizer{ReceiveRules::Native, nullptr};
    CBuffer* recv = evbuffer_new();
    CBuffer* frame = evbuffer_new();
    int complete = 0;
    int nalType = -1;
    unsigned timestamp = 0;
    ~Assembler() {
        evbuffer_free(recv);
        evbuffer_free(frame);
    }

    // A packet with its length prefix, as the de-interleaver queues it.
    static std::string framed(const std::string& packet) {
        const uint32_t length = uint32_t(packet.size());
        return std::string(reinterpret_cast<const char*>(&length), 4) + packet;
    }
    void queue(const std::string& packet) { evbuffer_addx(recv, framed(packet).data(), packet.size() + 4, 0); }
    // Queues one packet and assembles; returns complete.
    int push(const std::string& packet) {
        queue(packet);
        depacketizer.GetFrameData(recv, frame, complete, nalType, timestamp);
        return complete;
    }
    int pushNal(bool marker, const std::string& payload, uint32_t ts = 9000) {
        return push(rtpPacket(96, marker, 1, ts, payload));
    }
    std::string takeFrame() {
        std::string out(reinterpret_cast<char*>(frame->buffer), frame->off);
        evbuffer_drain(frame, frame->off);
        return out;
    }
    // Passes the first frame boundary so that later frames are kept.
    void arm() {
        pushNal(true, nal(0x41, "arming"));
        ASSERT_EQ(depacketizer.frameCheck(), 1);
        evbuffer_drain(frame, frame->off);  // the arming unit leads the next frame
    }
};

// One packet pushed: its payload and marker, the `complete` expected after
// it (-1: not checked) and, when given, the frame then taken out.
struct Step {
    std::string payload;
    bool marker;
    int complete;
    std::optional<std::string> frame = std::nullopt;
    int nalType = -1;  // checked with the timestamp when given
    unsigned ts = 9000;
};

std::string fuA(uint8_t indicator, uint8_t header, const std::string& body) {
    return std::string{char(indicator), char(header)} + body;
}

TEST(H264Depacketizer, PacketSequences) {
    const std::string big(8191, 'x');
    const struct {
        const char* name;
        bool armed;  // past the first frame boundary, which only arms the assembler
        std::vector<Step> steps;
    } rows[] = {
        {"the first boundary only arms; the frame before it is thrown away", false,
         {{nal(0x41, "partial"), false, 0}, {nal(0x41, "end"), true, 0, kStart + nal(0x41, "end")},
          {nal(0x41, "next"), true, 1, kStart + nal(0x41, "next")}}},
        {"a first fragment start arms and clears earlier bytes", false,
         {{nal(0x41, "stale"), false, -1}, {fuA(0x7C, 0x85, "AA"), false, 0},
          {fuA(0x7C, 0x45, "BB"), true, 1, kStart + "\x65" "AABB"}}},
        {"an end fragment before any boundary is dropped", false, {{fuA(0x7C, 0x45, "tail"), true, 0, ""}}},
        {"single NAL units end a frame at the marker", true,
         {{nal(0x41, "slice1"), false, 0, std::nullopt, 1, 1234},
          {nal(0x41, "slice2"), true, 1, kStart + nal(0x41, "slice1") + kStart + nal(0x41, "slice2")}}},
        {"parameter sets never end a frame", true,
         {{nal(0x67, "p"), true, 0}, {nal(0x68, "p"), true, 0}, {nal(0x06, "p"), true, 0},
          {nal(0x65, "idr"), true, 1,
           kStart + nal(0x67, "p") + kStart + nal(0x68, "p") + kStart + nal(0x06, "p") + kStart + nal(0x65, "idr")}}},
        {"fragments rebuild the NAL header; the end fragment ends the frame", true,
         {{fuA(0x5C, 0x85, "first"), false, 0}, {fuA(0x5C, 0x05, "-middle-"), false, 0},
          {fuA(0x5C, 0x45, "last"), false, 1, kStart + "\x45" "first-middle-last", 5, 9000}}},
        {"a single NAL unit of 8192 bytes is kept", true, {{nal(0x41, big), false, 0, kStart + nal(0x41, big)}}},
        {"one of 8193 bytes is dropped", true, {{nal(0x41, big + "x"), false, 0, ""}}},
        {"an oversized unit with the marker still completes the frame", true,
         {{nal(0x41, "kept"), false, 0}, {nal(0x41, std::string(9000, 'x')), true, 1, kStart + nal(0x41, "kept")}}},
        {"packets too short for their header are dropped", true, {{"", true, 0, ""}, {"\x7C", true, 0, ""}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Assembler a;
        if (row.armed) a.arm();
        StdoutCapture quiet;
        for (const Step& step : row.steps) {
            const int complete = a.pushNal(step.marker, step.payload, step.ts);
            if (step.complete >= 0) EXPECT_EQ(complete, step.complete);
            if (step.frame) EXPECT_EQ(a.takeFrame(), *step.frame);
            if (step.nalType >= 0) EXPECT_EQ(a.nalType * 100000 + int(a.timestamp), step.nalType * 100000 + int(step.ts));
        }
        EXPECT_EQ(a.recv->off, 0u);
    }
}

TEST(H264Depacketizer, KeyFrameIsOnlyTheExactSpsHeader) {
    EXPECT_TRUE(IsKeyFrameH264(char(0x67)));
    for (int c : {0x65, 0x27, 0x47, 0x68, 0x41, 0xE7}) EXPECT_FALSE(IsKeyFrameH264(char(c))) << c;
}

// ---- Odd, but required of the native receive rules -------------------
// A STAP-A packet is never taken off the receive buffer, so nothing after it is either.
TEST(H264DepacketizerOddities, StapAStopsAllFurtherOutput) {
    Assembler a;
    a.arm();
    EXPECT_EQ(a.pushNal(true, nal(0x18, "stap")), 0);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(a.pushNal(true, nal(0x41, "later")), 0);
    EXPECT_EQ(a.frame->off, 0u);
    EXPECT_GT(a.recv->off, 0u);  // the STAP-A packet stays at the front
}

// A length prefix larger than what is held empties the whole receive buffer.
TEST(H264DepacketizerOddities, InconsistentLengthPrefixEmptiesTheReceiveBuffer) {
    Assembler a;
    const uint32_t bogus = 5000;
    evbuffer_addx(a.recv, (std::string(reinterpret_cast<const char*>(&bogus), 4) + std::string(20, 'x')).data(), 24, 0);
    StdoutCapture quiet;
    a.depacketizer.GetFrameData(a.recv, a.frame, a.complete, a.nalType, a.timestamp);
    EXPECT_EQ(a.recv->off, 0u);
    EXPECT_EQ(a.complete, 0);
}

TEST(H264DepacketizerOddities, PacketLeftFromAnEarlierCallIsAppendedByTheNextFragment) {
    Assembler a;
    a.arm();
    // Two packets queued before the assembler runs once: the fragment at the
    // front takes the packet behind it into the frame as it is.
    a.queue(rtpPacket(96, false, 1, 0, std::string("\x7C\x85" "F")));
    const std::string single = rtpPacket(96, false, 2, 0, nal(0x41, "s"));
    a.push(single);
    EXPECT_EQ(a.recv->off, 0u);
    EXPECT_EQ(a.takeFrame(), kStart + "\x65" "F" + Assembler::framed(single));
}

// ---- The standards rules ------------------------------------------------------

TEST(H264DepacketizerStandard, StapAWithParameterSetsAndIdrIsOneKeyFrame) {
    FrameCollector out;
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

TEST(H264DepacketizerStandard, SdpParameterSetsLeadTheFirstKeyFrameWithoutItsOwn) {
    FrameCollector out;
    H264Depacketizer unit(ReceiveRules::Standard, &out, kStart + kSps + kStart + kPps);
    out.push(unit, rtpPacket(96, true, 1, 3000, "\x65I1"));
    out.push(unit, rtpPacket(96, true, 2, 6000, "\x65I2"));
    ASSERT_EQ(out.frames.size(), 2u);
    EXPECT_EQ(out.frames[0].bytes, kStart + kSps + kStart + kPps + kStart + "\x65I1");
    EXPECT_EQ(out.frames[1].bytes, kStart + "\x65I2");
}

TEST(H264DepacketizerStandard, FuAWithALostMiddleFragmentWaitsForTheNextKeyFrame) {
    FrameCollector out;
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

}  // namespace
}  // namespace kovo
