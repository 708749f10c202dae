#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "support/FakeCamera.h"
#include "stream/Deinterleaver.h"

namespace {

using kovo::test::interleave;
using kovo::test::StdoutCapture;

// Records every packet handed over, with the start flag as it was then.
struct Receiver {
    std::vector<std::string> packets;
    std::vector<int> flagAtCallback;
};

struct Pipeline : ChannelSink {
    int startProcessData = 0;
    bool withAudio = false;
    CBuffer* temp = evbuffer_new();
    Receiver video, audio;
    std::vector<std::string> reports;
    ~Pipeline() { evbuffer_free(temp); }

    bool knowsChannel(uint8_t channel) const override { return channel < 4; }
    void onChannelPacket(uint8_t channel, const uint8_t* packet, uint32_t length) override {
        const std::string bytes(reinterpret_cast<const char*>(packet), length);
        if (channel & 1) return reports.push_back(bytes);
        Receiver& r = withAudio && channel == 0 ? audio : video;
        r.packets.push_back(bytes);
        r.flagAtCallback.push_back(startProcessData);
    }
    std::string pending() const { return std::string(reinterpret_cast<char*>(temp->buffer), temp->off); }
    void pushVideoOnly(const std::string& bytes) {
        evbuffer_addx(temp, bytes.data(), bytes.size(), 0);
        DeinterleaveVideo(temp, *this, startProcessData);
    }
    void pushWithAudio(const std::string& bytes) {
        withAudio = true;
        evbuffer_addx(temp, bytes.data(), bytes.size(), 0);
        DeinterleaveAudioVideo(temp, *this, startProcessData);
    }
};

// A long packet (past any fixed read size) arriving in two pieces.
TEST(Deinterleaver, WaitsForTheRestOfAPartialPacket) {
    Pipeline p;
    StdoutCapture quiet;
    const std::string payload(9000, 'v');
    const std::string framed = interleave(0, payload);
    p.pushVideoOnly(framed.substr(0, framed.size() - 1));
    EXPECT_TRUE(p.video.packets.empty());
    EXPECT_EQ(p.temp->off, framed.size() - 1);
    p.pushVideoOnly(framed.substr(framed.size() - 1));
    ASSERT_EQ(p.video.packets.size(), 1u);
    EXPECT_EQ(p.video.packets[0], payload);
    EXPECT_EQ(p.temp->off, 0u);
    // What stays behind after a pass sits at the start of the buffer.
    p.pushVideoOnly(framed + framed.substr(0, 5));
    EXPECT_EQ(p.temp->misalign, 0u);
    EXPECT_EQ(p.pending(), framed.substr(0, 5));
}

// Garbage before a frame is drained in one step; a buffer too short or
// without a frame keeps only its last byte.
TEST(Deinterleaver, GarbageAndUnframedBytes) {
    struct Case { bool withAudio; std::string in, left; std::vector<std::string> packets; };
    const Case cases[] = {
        {false, "garbage!" + interleave(0, "pkt"), "", {"pkt"}},
        {true, "junk" + interleave(2, "pkt"), "", {"pkt"}},
        {false, std::string("$\x00\x10", 3), "\x10", {}},
        {false, "abcdefg", "g", {}},
        {false, std::string("\x24\x01\x00\x02xy", 6), "y", {}},  // RTCP channel is skipped
        {false, "ab", "ab", {}},                                  // too short to look at
    };
    for (const Case& c : cases) {
        Pipeline p;
        StdoutCapture quiet;
        c.withAudio ? p.pushWithAudio(c.in) : p.pushVideoOnly(c.in);
        EXPECT_EQ(p.pending(), c.left) << c.in;
        EXPECT_EQ(p.video.packets, c.packets) << c.in;
    }
}

TEST(Deinterleaver, ChannelRules) {
    const std::string reply = "RTSP/1.0 200 OK\r\nCSeq: 5\r\n\r\n";
    // Video only: channel 0 is video, others and text between packets are skipped.
    Pipeline p;
    StdoutCapture quiet;
    p.pushVideoOnly(interleave(0, "a") + interleave(1, "rtcp") + reply + interleave(0, "b"));
    EXPECT_EQ(p.video.packets, (std::vector<std::string>{"a", "b"}));
    // With audio: channel 0 is audio and channel 2 video.
    Pipeline q;
    q.pushWithAudio(interleave(2, "v1") + interleave(0, "a1") + interleave(1, "rtcp") + interleave(2, "v2") +
                    interleave(0, "a2"));
    EXPECT_EQ(q.video.packets, (std::vector<std::string>{"v1", "v2"}));
    EXPECT_EQ(q.audio.packets, (std::vector<std::string>{"a1", "a2"}));
    // Sender reports where the bytes are skipped are still handed over.
    EXPECT_EQ(p.reports, (std::vector<std::string>{"rtcp"}));
    EXPECT_EQ(q.reports, (std::vector<std::string>{"rtcp"}));
}

// Video only, the first packet sees the start flag clear, then it is set;
// with audio it is set only when another packet follows.
TEST(Deinterleaver, StartFlag) {
    Pipeline p;
    p.pushVideoOnly(interleave(0, "one") + interleave(0, "two") + interleave(0, "three"));
    EXPECT_EQ(p.video.packets, (std::vector<std::string>{"one", "two", "three"}));
    EXPECT_EQ(p.video.flagAtCallback, (std::vector<int>{0, 1, 1}));
    EXPECT_EQ(p.startProcessData, 1);
    Pipeline q;
    q.pushWithAudio(interleave(2, "alone"));
    EXPECT_EQ(q.startProcessData, 0);
    q.pushWithAudio(interleave(2, "x") + interleave(0, "y"));
    EXPECT_EQ(q.startProcessData, 1);
    EXPECT_EQ(q.video.flagAtCallback, (std::vector<int>{0, 0}));
    EXPECT_EQ(q.audio.flagAtCallback, (std::vector<int>{1}));
}

TEST(Deinterleaver, ThousandsOfTinyPacketsInOneChunk) {
    Pipeline p;
    std::string chunk;
    for (int i = 0; i < 200000; ++i) chunk += interleave(0, std::string(1, char('a' + i % 26)));
    for (int i = 0; i < 1000; ++i) chunk += "zz" + interleave(0, "q");  // garbage skips as well
    {
        StdoutCapture quiet;
        p.pushVideoOnly(chunk);
    }
    EXPECT_EQ(p.video.packets.size(), 201000u);
    EXPECT_EQ(p.temp->off, 0u);
}

}  // namespace
