#include <gtest/gtest.h>

#include <string>

#include "support/FakeCamera.h"
#include "stream/H264Depacketizer.h"

namespace {

using kovo::test::rtpPacket;
using kovo::test::StdoutCapture;

const std::string kStart("\x00\x00\x00\x01", 4);

std::string nal(uint8_t header, const std::string& body) { return std::string(1, char(header)) + body; }


using kovo::H264Depacketizer;

struct Assembler {
    H264Depacketizer depacketizer{kovo::ReceiveRules::Specified, nullptr};
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
    int pushFuA(uint8_t indicator, uint8_t fuHeader, const std::string& body, bool marker = false) {
        return pushNal(marker, std::string{char(indicator), char(fuHeader)} + body, 0);
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

TEST(H264Depacketizer, FirstBoundaryOnlyArmsTheAssembler) {
    Assembler a;
    EXPECT_EQ(a.pushNal(false, nal(0x41, "partial")), 0);
    EXPECT_EQ(a.pushNal(true, nal(0x41, "end")), 0);  // frame before it is thrown away
    EXPECT_EQ(a.takeFrame(), kStart + nal(0x41, "end"));
    EXPECT_EQ(a.pushNal(true, nal(0x41, "next")), 1);
    EXPECT_EQ(a.takeFrame(), kStart + nal(0x41, "next"));
}

TEST(H264Depacketizer, FirstFragmentStartArmsAndClearsEarlierBytes) {
    Assembler a;
    a.pushNal(false, nal(0x41, "stale"));
    EXPECT_EQ(a.pushFuA(0x7C, 0x85, "AA"), 0);
    EXPECT_EQ(a.depacketizer.frameCheck(), 1);
    EXPECT_EQ(a.pushFuA(0x7C, 0x45, "BB", true), 1);
    EXPECT_EQ(a.takeFrame(), kStart + "\x65" "AABB");
}

TEST(H264Depacketizer, EndFragmentBeforeAnyBoundaryIsDropped) {
    Assembler a;
    StdoutCapture out;
    EXPECT_EQ(a.pushFuA(0x7C, 0x45, "tail", true), 0);
    EXPECT_EQ(out.text(), "evbuffer_drain(m_pVFrameEvbuffer\r\n");
    EXPECT_EQ(a.frame->off, 0u);
}

TEST(H264Depacketizer, SingleNalUnitsEndAFrameAtTheMarker) {
    Assembler a;
    a.arm();
    EXPECT_EQ(a.pushNal(false, nal(0x41, "slice1"), 1234), 0);
    EXPECT_EQ(a.nalType, 1);
    EXPECT_EQ(a.timestamp, 1234u);
    EXPECT_EQ(a.pushNal(true, nal(0x41, "slice2")), 1);
    EXPECT_EQ(a.takeFrame(), kStart + nal(0x41, "slice1") + kStart + nal(0x41, "slice2"));
    EXPECT_EQ(a.recv->off, 0u);
}

TEST(H264Depacketizer, ParameterSetsNeverEndAFrame) {
    Assembler a;
    a.arm();
    for (uint8_t header : {0x67, 0x68, 0x06}) EXPECT_EQ(a.pushNal(true, nal(header, "p")), 0);
    EXPECT_EQ(a.pushNal(true, nal(0x65, "idr")), 1);
    const std::string frame = a.takeFrame();
    EXPECT_EQ(frame, kStart + nal(0x67, "p") + kStart + nal(0x68, "p") + kStart + nal(0x06, "p") +
                         kStart + nal(0x65, "idr"));
    EXPECT_TRUE(IsKeyFrameH264(frame[4]));
    // Only that exact header byte counts, not an IDR or an SPS with another nal_ref_idc.
    for (int c : {0x65, 0x27, 0x47, 0x68, 0x41, 0xE7}) EXPECT_FALSE(IsKeyFrameH264(char(c))) << c;
}

TEST(H264Depacketizer, FragmentsRebuildTheNalHeader) {
    Assembler a;
    a.arm();
    // Indicator: nal_ref_idc 2, type 28. FU header: start, type 5.
    EXPECT_EQ(a.pushFuA(0x5C, 0x85, "first"), 0);
    EXPECT_EQ(a.pushFuA(0x5C, 0x05, "-middle-"), 0);
    EXPECT_EQ(a.pushFuA(0x5C, 0x45, "last"), 1);  // marker not needed
    EXPECT_EQ(a.nalType, 5);
    EXPECT_EQ(a.takeFrame(), kStart + "\x45" "first-middle-last");
    EXPECT_EQ(a.recv->off, 0u);
}

TEST(H264Depacketizer, SingleNalUnitSizeLimit) {
    struct Case { size_t payload; bool kept; };
    for (Case c : {Case{8192, true}, Case{8193, false}}) {
        Assembler a;
        a.arm();
        StdoutCapture out;
        a.pushNal(false, nal(0x41, std::string(c.payload - 1, 'x')));
        const std::string text = out.text();
        EXPECT_EQ(a.frame->off, c.kept ? c.payload + 4 : 0u) << c.payload;
        EXPECT_EQ(text.find("Error: m_lNaluLen  too max:8193") != std::string::npos, !c.kept);
        EXPECT_EQ(a.recv->off, 0u);
    }
}

TEST(H264Depacketizer, OversizedUnitWithMarkerStillCompletesTheFrame) {
    Assembler a;
    a.arm();
    a.pushNal(false, nal(0x41, "kept"));
    StdoutCapture quiet;
    EXPECT_EQ(a.pushNal(true, nal(0x41, std::string(9000, 'x'))), 1);
    EXPECT_EQ(a.takeFrame(), kStart + nal(0x41, "kept"));
}

TEST(H264Depacketizer, StapAStopsAllFurtherOutput) {
    Assembler a;
    a.arm();
    EXPECT_EQ(a.pushNal(true, nal(0x18, "stap")), 0);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(a.pushNal(true, nal(0x41, "later")), 0);
    EXPECT_EQ(a.frame->off, 0u);
    EXPECT_GT(a.recv->off, 0u);  // the STAP-A packet stays at the front
}

TEST(H264Depacketizer, InconsistentLengthPrefixEmptiesTheReceiveBuffer) {
    Assembler a;
    const uint32_t bogus = 5000;
    evbuffer_addx(a.recv, (std::string(reinterpret_cast<const char*>(&bogus), 4) + std::string(20, 'x')).data(), 24, 0);
    StdoutCapture out;
    a.depacketizer.GetFrameData(a.recv, a.frame, a.complete, a.nalType, a.timestamp);
    EXPECT_EQ(out.text(), "Error: Check the Datelen,lDataSize:5000,lBufferLen=24 \n\r\n");
    EXPECT_EQ(a.recv->off, 0u);
    EXPECT_EQ(a.complete, 0);
}

TEST(H264Depacketizer, PacketsTooShortForTheirHeaderAreDropped) {
    for (const std::string& payload : {std::string(), std::string(1, '\x7C')}) {
        Assembler a;
        a.arm();
        StdoutCapture quiet;
        a.push(rtpPacket(96, true, 1, 0, payload));
        EXPECT_EQ(a.recv->off, 0u);
        EXPECT_EQ(a.frame->off, 0u);
    }
}

TEST(H264Depacketizer, PacketLeftFromAnEarlierCallIsAppendedByTheNextFragment) {
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

}  // namespace
