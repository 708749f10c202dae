// Link options: connect and reply time-outs bound login and parameter calls,
// a reply that comes too late is never taken for a later request's answer,
// a logout wakes a call blocked on its device, and Kovo_GetLastError says
// why each call failed. Each bounded case prints its time against its bound.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <thread>
#include <vector>

#include "rtsp/rtsp.h"
#include "sdk/KovoSDK.h"
#include "support/FakeCamera.h"
#include "support/Scratch.h"

using kovo::test::bindLoopback;
using kovo::test::FakeCamera;
using kovo::test::Reply;

namespace {

using Clock = std::chrono::steady_clock;
constexpr long long kSlackMs = 500;
constexpr int kLateBoundMs = 1000, kLateMs = 1500;

// Runs call, prints its time against its bound for the record, returns the time.
template <typename Call>
long long timed(const char* what, int boundMs, Call call) {
    const auto start = Clock::now();
    call();
    const long long ms = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
    fprintf(stderr, "[ bound ] %s: %lld ms against %d ms\n", what, ms, boundMs);
    return ms;
}

class LinkOptions : public ::testing::Test {
protected:
    void setDefaults(int connectMs, int replyMs) {
        KOVO_LINK_OPTIONS options{};
        options.nConnectTimeoutMs = connectMs;
        options.nReplyTimeoutMs = replyMs;
        ASSERT_EQ(Kovo_SetLinkOptions(0, &options), 0);
    }
    void TearDown() override { setDefaults(0, 0); }
};

// Fills the backlog of a new listening socket (fds[0]): further connects
// to its port get no answer. Returns the port.
uint16_t fullBacklog(std::vector<int>& fds) {
    uint16_t port = 0;
    fds.push_back(bindLoopback(port));
    listen(fds[0], 0);
    for (int i = 0; i < 4; ++i) {
        fds.push_back(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0));
        const sockaddr_in addr{AF_INET, htons(port), {htonl(INADDR_LOOPBACK)}, {}};
        connect(fds.back(), reinterpret_cast<const sockaddr*>(&addr), sizeof addr);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    return port;
}

TEST_F(LinkOptions, LoginIsBoundedAndSaysWhyItFailed) {
    FakeCamera silent;
    silent.onMethod("OPTIONS", Reply::silence());
    std::vector<int> fds;
    const uint16_t fullPort = fullBacklog(fds);
    FakeCamera gone;
    const uint16_t refusedPort = gone.port();
    gone.stopListening();
    struct Row {
        const char* what;
        uint16_t port;
        int connectMs, replyMs, error;
    } rows[] = {
        {"login, no reply", silent.port(), 0, 700, KOVO_ERR_TIMEOUT},
        {"login, backlog full", fullPort, 700, 0, KOVO_ERR_UNREACHABLE},
        {"login, refused", refusedPort, 700, 700, KOVO_ERR_REFUSED},
    };
    for (const Row& row : rows) {
        setDefaults(row.connectMs, row.replyMs);
        const int bound = row.connectMs + row.replyMs;
        EXPECT_LT(timed(row.what, bound, [&] { EXPECT_EQ(Kovo_Login("127.0.0.1", row.port, nullptr), -1); }),
                  bound + kSlackMs);
        EXPECT_EQ(Kovo_GetLastError(nullptr), row.error) << row.what;
    }
    for (int fd : fds) close(fd);
}

TEST_F(LinkOptions, SilentCameraGetTimesOutOrIsWokenByLogoutWithoutBlockingOthers) {
    FakeCamera other;
    const long otherId = Kovo_Login("127.0.0.1", other.port(), nullptr);
    ASSERT_GT(otherId, 0);
    for (bool logout : {false, true}) {
        const int boundMs = logout ? 3000 : 700;
        FakeCamera cam;
        cam.onMethod("GET_PARAMETER", Reply::silence());
        setDefaults(0, boundMs);
        const long id = Kovo_Login("127.0.0.1", cam.port(), nullptr);
        ASSERT_GT(id, 0);
        std::thread helper([&] {
            ASSERT_TRUE(cam.waitForRequests(3));
            char value[64];
            EXPECT_EQ(Kovo_GetNoiseReduction(otherId, 0, value), 0);  // another device is not held up
            if (logout) {
                EXPECT_LT(timed("logout during a blocked get", boundMs, [id] { Kovo_Logout(id); }), boundMs);
            }
        });
        char value[64];
        const char* what = logout ? "get woken by logout" : "get, no reply";
        EXPECT_LT(timed(what, boundMs, [&] { EXPECT_EQ(Kovo_GetNoiseReduction(id, 0, value), -2); }),
                  boundMs + kSlackMs);
        EXPECT_EQ(Kovo_GetLastError(nullptr), logout ? KOVO_ERR_CLOSED : KOVO_ERR_TIMEOUT);
        helper.join();
        EXPECT_EQ(Kovo_Logout(id), logout ? -1 : 0);
    }
    Kovo_Logout(otherId);
}

TEST_F(LinkOptions, LateReplyIsNeverTakenForTheNextAnswer) {
    // The first reply comes whole after the bound, or its first 20 bytes in
    // time and the rest after it.
    for (size_t split : {size_t(0), size_t(20)}) {
        FakeCamera cam;
        std::atomic<int> gets{0};
        cam.onMethod("GET_PARAMETER", FakeCamera::Handler([&](const kovo::test::Request&) {
                         if (gets++ > 0) return Reply::ok({"NoiseReduction: fresh"});
                         Reply late = Reply::ok({"NoiseReduction: late"});
                         late.splitAt = {split};
                         late.splitDelayMs = kLateMs;
                         if (!split) std::this_thread::sleep_for(std::chrono::milliseconds(kLateMs));
                         return late;
                     }));
        setDefaults(0, kLateBoundMs);
        const long id = Kovo_Login("127.0.0.1", cam.port(), nullptr);
        ASSERT_GT(id, 0);
        char value[64];
        EXPECT_EQ(Kovo_GetNoiseReduction(id, 0, value), -2);
        EXPECT_EQ(Kovo_GetLastError(nullptr), KOVO_ERR_TIMEOUT);
        timed("get after a late reply", kLateBoundMs, [&] { EXPECT_EQ(Kovo_GetNoiseReduction(id, 0, value), 0); });
        EXPECT_STREQ(value, "fresh");
        Kovo_Logout(id);
    }
}

TEST_F(LinkOptions, OptionsRecordsAndLastErrorOfEachOutcome) {
    FakeCamera cam;
    cam.onMethod("GET_PARAMETER", Reply::status_(404));
    const long id = Kovo_Login("127.0.0.1", cam.port(), nullptr);
    ASSERT_GT(id, 0);
    KOVO_LINK_OPTIONS set{250, 500, 0, -1, 1, 0, 0}, got{}, negative{};
    negative.nReplyTimeoutMs = -5;
    char value[64];
    struct Row { std::function<long()> call; long result; int error, status; } rows[] = {
        {[&] { return Kovo_SetLinkOptions(id, &set); }, 0, KOVO_ERR_NONE, 0},
        {[&] { return Kovo_GetLinkOptions(id, &got); }, 0, KOVO_ERR_NONE, 0},
        {[&] { return Kovo_GetNoiseReduction(id, 0, value); }, -2, KOVO_ERR_STATUS, 404},
        {[&] { return Kovo_SetLinkOptions(id, &negative); }, -1, KOVO_ERR_INVALID_ARG, 0},
        {[&] { return Kovo_GetLinkOptions(0, nullptr); }, -1, KOVO_ERR_INVALID_ARG, 0},
        {[&] { return Kovo_GetLinkOptions(id + 1000, &got); }, -3, KOVO_ERR_NO_DEVICE, 0},
        {[&] { return Kovo_GetNoiseReduction(id + 1000, 0, value); }, -3, KOVO_ERR_NO_DEVICE, 0},
        {[&] { return Kovo_GetNoiseReduction(id, -2, value); }, -1, KOVO_ERR_INVALID_ARG, 0},
        {[&] { return Kovo_RebootDevice(id); }, 0, KOVO_ERR_NONE, 200},
    };
    for (size_t i = 0; i < sizeof rows / sizeof rows[0]; ++i) {
        EXPECT_EQ(rows[i].call(), rows[i].result) << "row " << i;
        int status = -1;
        EXPECT_EQ(Kovo_GetLastError(&status), rows[i].error) << "row " << i;
        EXPECT_EQ(status, rows[i].status) << "row " << i;
    }
    EXPECT_EQ(memcmp(&set, &got, sizeof set), 0);
    Kovo_Logout(id);
}

// A camera that accepts but stops reading: once its window is full, a
// request fails within the reply bound instead of blocking its caller.
TEST_F(LinkOptions, SendToACameraThatStopsReadingIsBounded) {
    uint16_t port = 0;
    const int listener = bindLoopback(port);  // the connection is never accepted, so never read
    CConnect conn;
    conn.s = socket(AF_INET, SOCK_STREAM, 0);
    int small = 4096;
    setsockopt(conn.s, SOL_SOCKET, SO_SNDBUF, &small, sizeof small);
    ASSERT_EQ(rtsp_open_socket(&conn, htonl(INADDR_LOOPBACK), port), 0);
    conn.socketOpen = true;
    conn.replyTimeoutMs = 300;
    const std::string request(16000, 'x');
    kovo::test::StdoutCapture quiet;
    int sent = 0, calls = 0;
    long long ms = 0;
    while (sent >= 0 && calls++ < 1000) ms = timed("send to a full window", 300, [&] { sent = rtsp_put(&conn, request.c_str()); });
    EXPECT_EQ(sent, -1);
    EXPECT_LT(ms, 300 + kSlackMs);
    EXPECT_EQ(Kovo_GetLastError(nullptr), KOVO_ERR_TIMEOUT);
    rtsp_close_socket(&conn);
    close(listener);
}

}  // namespace
