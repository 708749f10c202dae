// Stream health through real sockets: events for stalls and lost links.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <chrono>
#include <thread>
#include <vector>

#include "StreamTestSupport.h"
#include "sdk/Device.h"
#include "sdk/KovoSDK.h"
#include "support/Scratch.h"

namespace {

using namespace kovo::test;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

struct Event {
    KOVO_EVENT_E event;
    long detail;
    Clock::time_point at;
};

struct EventLog : Collected<Event> {
    static void onEvent(long, KOVO_EVENT_E event, long detail, unsigned long user) {
        reinterpret_cast<EventLog*>(user)->add({event, detail, Clock::now()});
    }
    // The nth (from 0) event of this kind, waiting for it up to timeout.
    bool waitFor(KOVO_EVENT_E kind, Event* out = nullptr, std::chrono::milliseconds timeout = 5s, size_t nth = 0) {
        return waitUntil([&](const std::vector<Event>& events) {
            size_t seen = 0;
            for (const Event& e : events)
                if (e.event == kind && seen++ == nth) return out ? (*out = e, true) : true;
            return false;
        }, timeout);
    }
    size_t count(KOVO_EVENT_E kind) {
        const auto events = items();
        return std::count_if(events.begin(), events.end(), [&](const Event& e) { return e.event == kind; });
    }
};

class StreamHealth : public StreamFixture {
protected:
    EventLog events;
    FrameSink frames;
    int conn = -1;

    void open(KOVO_LINK_OPTIONS options) {
        login();
        StdoutCapture quiet;
        ASSERT_EQ(Kovo_SetLinkOptions(id, &options), 0);
        ASSERT_EQ(Kovo_SetEventCallBack(id, EventLog::onEvent, events.user()), 0);
        ASSERT_EQ(Kovo_OpenStream(id, 0, 0, 0, CONNECT_TYPE_TCP, 0), 0);
        ASSERT_EQ(Kovo_SetRealDataCallBack(id, H264DATA_TYPE, FrameSink::onRealData, frames.user()), 0);
        conn = streamConnection(cam);
    }
};

// Stall detection switched on while the stream runs: it starts with the
// stream's next packet.
TEST_F(StreamHealth, StallIsReportedOnceAndMediaResumes) {
    open({});
    const KOVO_LINK_OPTIONS stall{0, 0, 300, 0, 0, 0, 0};
    ASSERT_EQ(Kovo_SetLinkOptions(id, &stall), 0);
    uint16_t seq = 0;
    // The first frame only arms the assembler, and each packet is handled
    // when the next one arrives: four frames deliver one.
    for (uint32_t ts = 1; ts <= 4; ++ts) ASSERT_TRUE(cam.send(conn, keyFrame(seq, ts)));
    ASSERT_TRUE(events.waitFor(KOVO_EVENT_STREAM_STARTED));
    Event stalled;
    ASSERT_TRUE(events.waitFor(KOVO_EVENT_STREAM_STALLED, &stalled));
    EXPECT_GE(stalled.detail, 300);
    EXPECT_LT(stalled.detail, 1000);
    std::this_thread::sleep_for(700ms);
    EXPECT_EQ(events.count(KOVO_EVENT_STREAM_STALLED), 1u);
    EXPECT_EQ(events.count(KOVO_EVENT_STREAM_RESUMED), 0u);
    ASSERT_TRUE(cam.send(conn, keyFrame(seq, 5)));
    EXPECT_TRUE(events.waitFor(KOVO_EVENT_STREAM_RESUMED));
    EXPECT_TRUE(frames.waitFor(2));
}

// A camera that resets or closes the stream connection is reported at once,
// with or without stall detection.
TEST_F(StreamHealth, LostConnectionIsReportedWithin100ms) {
    struct Case { bool reset; int stallMs; long detail; };
    for (const Case c : {Case{true, 0, ECONNRESET}, Case{false, 5000, 0}}) {
        SCOPED_TRACE(c.reset ? "reset" : "close");
        TearDown();
        open({0, 0, c.stallMs, 0, 0, 0, 0});
        uint16_t seq = 0;
        ASSERT_TRUE(cam.send(conn, keyFrame(seq, 1)));
        std::this_thread::sleep_for(50ms);
        const auto start = Clock::now();
        cam.closeConnection(conn, c.reset);
        Event lost;
        ASSERT_TRUE(events.waitFor(KOVO_EVENT_CONNECTION_LOST, &lost, 2s, c.reset ? 0 : 1));
        EXPECT_LT(lost.at - start, 100ms);
        EXPECT_EQ(lost.detail, c.detail);
    }
}

// A camera that drops a session after 4 silent seconds streams for 15 s:
// the keep-alives (OPTIONS once GET_PARAMETER is refused) go on the stream
// connection with its session, their replies come split between media
// packets, and every frame comes out whole.
TEST_F(StreamHealth, KeepAliveHoldsTheSessionAndFramesStayExact) {
    cam.onMethod("SETUP", Reply::ok({"Session: 1234;timeout=4"}));
    cam.queue("GET_PARAMETER", Reply::status_(405, "Method Not Allowed"));
    open({0, 0, 0, -1, 0, 0, 0});
    std::mutex mutex;
    std::vector<Clock::time_point> keepAlives;
    cam.onMethod("OPTIONS", [&](const Request& r) {
        std::lock_guard<std::mutex> lock(mutex);
        if (r.connection == conn && r.header("Session") == "1234;timeout=4") keepAlives.push_back(Clock::now());
        Reply split = Reply::ok({"Session: 1234;timeout=4"});
        split.splitAt = {5, 30};
        split.splitDelayMs = 20;
        return split;
    });
    std::vector<std::string> expected;
    uint16_t seq = 0;
    const auto end = Clock::now() + 15s;
    for (uint32_t ts = 1; Clock::now() < end; ++ts) {
        const size_t size = 40 + ts * 997 % 6000;
        ASSERT_TRUE(cam.send(conn, keyFrame(seq, ts, size)));
        expected.push_back(std::string("\0\0\0\1\x67sps\0\0\0\1\x65", 13) + std::string(size, char('a' + ts % 26)));
        std::this_thread::sleep_for(20ms);
    }
    ASSERT_TRUE(cam.send(conn, keyFrame(seq, 0)));
    ASSERT_TRUE(frames.waitFor(expected.size() - 2));
    const auto got = frames.frames();
    ASSERT_EQ(got.size(), expected.size() - 2);
    for (size_t i = 0; i < got.size(); ++i) ASSERT_EQ(got[i].bytes, expected[i + 2]) << "frame " << i;

    const auto getParameter = cam.requests("GET_PARAMETER");
    ASSERT_EQ(getParameter.size(), 1u);
    EXPECT_EQ(getParameter[0].connection, conn);
    EXPECT_EQ(getParameter[0].lines.size(), 2u);  // CSeq and Session, no parameter lines
    EXPECT_EQ(getParameter[0].header("Session"), "1234;timeout=4");
    std::lock_guard<std::mutex> lock(mutex);
    ASSERT_GE(keepAlives.size(), 6u);
    for (size_t i = 1; i < keepAlives.size(); ++i) EXPECT_LT(keepAlives[i] - keepAlives[i - 1], 3s);
    EXPECT_EQ(events.count(KOVO_EVENT_KEEPALIVE_FAILED), 0u);
}

// A camera that resets its connections and comes back on the same port:
// parameter calls fail at once meanwhile, the stream resumes under the same
// id with its callbacks, and a close during the next wait returns at once.
TEST_F(StreamHealth, ReconnectKeepsTheIdAndCloseStopsTheAttempts) {
    open({0, 0, 0, 0, 1, 4000, 0});
    uint16_t seq = 0;
    for (uint32_t ts = 1; ts <= 4; ++ts) ASSERT_TRUE(cam.send(conn, keyFrame(seq, ts)));
    ASSERT_TRUE(frames.waitFor(1));
    cam.stopListening();
    for (int c = 0; c < cam.connectionsAccepted(); ++c) cam.closeConnection(c, true);
    Event first, second;
    ASSERT_TRUE(events.waitFor(KOVO_EVENT_RECONNECTING, &first));
    char text[256] = {};
    int status = -1;
    EXPECT_EQ(Kovo_GetNoiseReduction(id, 0, text), -2);
    EXPECT_EQ(Kovo_GetLastError(&status), KOVO_ERR_CLOSED);
    ASSERT_TRUE(events.waitFor(KOVO_EVENT_RECONNECTING, &second, 5s, 1));
    EXPECT_EQ(first.detail, 1);
    EXPECT_EQ(second.detail, 2);
    EXPECT_GE(second.at - first.at, 900ms);  // the wait doubled from 500 ms

    auto back = std::make_unique<FakeCamera>(cam.port());
    back->onMethod("DESCRIBE", describeReply());
    back->onMethod("GET_PARAMETER", Reply::ok({"NoiseReduction: 7"}));
    ASSERT_TRUE(events.waitFor(KOVO_EVENT_RECONNECTED, nullptr, 10s));
    EXPECT_EQ(FindDeviceByDeviceID(id) != nullptr, true);
    EXPECT_EQ(Kovo_GetNoiseReduction(id, 0, text), 0);
    EXPECT_STREQ(text, "7");
    const size_t before = frames.frames().size();
    for (uint32_t ts = 5; ts <= 8; ++ts) ASSERT_TRUE(back->send(streamConnection(*back), keyFrame(seq, ts)));
    EXPECT_TRUE(frames.waitFor(before + 1));
    EXPECT_TRUE(events.waitFor(KOVO_EVENT_STREAM_STARTED, nullptr, 5s, 1));

    back.reset();  // gone again
    ASSERT_TRUE(events.waitFor(KOVO_EVENT_RECONNECTING, nullptr, 5s, events.count(KOVO_EVENT_RECONNECTING)));
    const auto start = Clock::now();
    EXPECT_EQ(Kovo_CloseStream(id), 0);
    EXPECT_LT(Clock::now() - start, 200ms);
    const size_t attempts = events.count(KOVO_EVENT_RECONNECTING);
    std::this_thread::sleep_for(1500ms);
    EXPECT_EQ(events.count(KOVO_EVENT_RECONNECTING), attempts);
}

// An application may close the stream or log out from inside an event, on
// the stream's own thread or on the reconnect thread: the call returns, the
// device goes, and nothing waits on the thread that is running the callback.
TEST_F(StreamHealth, EventCallbackMayCloseOrLogOut) {
    struct Closer {
        KOVO_EVENT_E on;
        std::atomic<long> closed{1}, loggedOut{1};
        std::atomic<bool> done{false};
        static void onEvent(long id, KOVO_EVENT_E event, long, unsigned long user) {
            auto* self = reinterpret_cast<Closer*>(user);
            if (event != self->on || self->done) return;
            self->closed = Kovo_CloseStream(id);
            self->loggedOut = Kovo_Logout(id);
            self->done = true;
        }
    };
    struct Case { KOVO_EVENT_E on; KOVO_LINK_OPTIONS options; };
    for (const Case& c : {Case{KOVO_EVENT_STREAM_STALLED, {0, 0, 300, 0, 0, 0, 0}},
                          Case{KOVO_EVENT_CONNECTION_LOST, {0, 0, 0, 0, 0, 0, 0}},
                          Case{KOVO_EVENT_RECONNECTING, {0, 0, 0, 0, 1, 0, 0}}}) {
        SCOPED_TRACE(c.on);
        TearDown();
        open(c.options);
        Closer closer{c.on};
        ASSERT_EQ(Kovo_SetEventCallBack(id, Closer::onEvent, reinterpret_cast<unsigned long>(&closer)), 0);
        uint16_t seq = 0;
        ASSERT_TRUE(cam.send(conn, keyFrame(seq, 1)));
        if (c.on != KOVO_EVENT_STREAM_STALLED) cam.closeConnection(conn, true);
        ASSERT_TRUE(eventually([&] { return closer.done.load(); }));
        EXPECT_EQ(closer.closed, 0);
        EXPECT_EQ(closer.loggedOut, 0);
        EXPECT_EQ(FindDeviceByDeviceID(id), nullptr);
    }
}

long residentKb() {
    std::ifstream in("/proc/self/status");
    for (std::string line; std::getline(in, line);)
        if (line.rfind("VmRSS:", 0) == 0) return atol(line.c_str() + 6);
    return 0;
}

// Frame i: an SPS and a 60 KB IDR slice in FU-A fragments, its bytes telling i.
std::string bigFrame(uint16_t& seq, uint32_t i, std::string* annexB = nullptr) {
    std::string body(60000, char(i % 251));
    memcpy(&body[0], &i, sizeof i);
    if (annexB) *annexB = std::string("\0\0\0\1\x67sps\0\0\0\1\x65", 13) + body;
    return interleave(0, rtpPacket(96, false, seq++, i, "\x67sps")) + h264Packets("\x65" + body, seq, i, false);
}

// A callback taking 100 ms a frame on a fast stream: the queue stays within
// its limit, the drop is reported and only whole frames come out.
TEST_F(StreamHealth, SlowCallbackKeepsTheQueueBoundedAndFramesWhole) {
    const long baseline = residentKb();
    open({0, 0, 0, 0, 0, 0, 1024});
    std::atomic<long> peak{0};
    std::atomic<bool> sending{true};
    std::thread sampler([&] {
        while (sending) {
            peak = std::max(peak.load(), residentKb());
            std::this_thread::sleep_for(20ms);
        }
    });
    FrameSink slow;
    Kovo_SetRealDataCallBack(id, H264DATA_TYPE, [](DATA_TYPE_E t, FRAME_TYPE_E f, unsigned char* d, unsigned long n, unsigned long u) {
        FrameSink::onRealData(t, f, d, n, u);
        std::this_thread::sleep_for(100ms);
    }, slow.user());
    uint16_t seq = 0;
    for (uint32_t i = 0; i < 300; ++i) ASSERT_TRUE(cam.send(conn, bigFrame(seq, i)));
    Event dropped;
    EXPECT_TRUE(events.waitFor(KOVO_EVENT_FRAMES_DROPPED, &dropped));
    EXPECT_GT(dropped.detail, 1024 * 1024);
    // Frames sent slower than the callback takes them come out whole after the drop.
    for (uint32_t i = 300; i < 310; ++i) {
        ASSERT_TRUE(cam.send(conn, bigFrame(seq, i)));
        std::this_thread::sleep_for(300ms);
    }
    slow.waitFor(5, 20s);
    sending = false;
    sampler.join();
    RecordProperty("rss_growth_kb", int(peak - baseline));
#ifndef __SANITIZE_ADDRESS__  // the sanitizer keeps freed blocks in quarantine: resident size says nothing there
    EXPECT_LT(peak - baseline, (1 + 16) * 1024) << "kB";
#endif
    const auto got = slow.frames();
    ASSERT_GE(got.size(), 5u);
    EXPECT_LT(got.size(), 100u);
    for (const auto& frame : got) {
        uint32_t i = 0;
        ASSERT_GT(frame.bytes.size(), 17u);
        memcpy(&i, frame.bytes.data() + 13, sizeof i);
        std::string annexB;
        bigFrame(seq, i, &annexB);
        EXPECT_EQ(frame.bytes, annexB) << "frame " << i;
    }
}

}  // namespace
