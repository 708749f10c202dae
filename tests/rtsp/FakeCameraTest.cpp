// The fake camera itself, driven through plain sockets.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <functional>
#include <iostream>

#include "support/FakeCamera.h"

using namespace kovo::test;

namespace {

class Client {
public:
    explicit Client(uint16_t port) : fd_(::socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in addr{};
        addr.sin_family = AF_INET;
        addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        addr.sin_port = htons(port);
        connectErrno = ::connect(fd_, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0 ? 0 : errno;
    }
    ~Client() { ::close(fd_); }

    void send(const std::string& bytes) {
        ASSERT_EQ(::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
    }
    // One recv; "" on time-out or end of stream, and lastErrno tells which.
    std::string recvOnce() {
        pollfd p = {fd_, POLLIN, 0};
        lastErrno = ETIMEDOUT;
        if (::poll(&p, 1, 2000) <= 0) return {};
        char buf[8192];
        ssize_t n = ::recv(fd_, buf, sizeof buf, 0);
        lastErrno = n < 0 ? errno : 0;
        return n > 0 ? std::string(buf, static_cast<size_t>(n)) : std::string();
    }
    // Reads until `size` bytes came (0: until the stream ends) or nothing came for a while.
    std::string recvBytes(size_t size = 0) {
        std::string out, part;
        while ((size == 0 || out.size() < size) && !(part = recvOnce()).empty()) out += part;
        return out;
    }
    void expect(const std::string& bytes) { EXPECT_EQ(recvBytes(bytes.size()), bytes); }

    int connectErrno = 0;
    int lastErrno = 0;

private:
    int fd_;
};

std::string request(const std::string& method, int cseq) {
    return method + " rtsp://127.0.0.1/x RTSP/1.0\r\nCSeq: " + std::to_string(cseq) + "\r\nUser-Agent: t\r\n\r\n";
}

void waitUntil(const std::function<bool()>& done) {
    for (int i = 0; i < 100 && !done(); ++i) ::usleep(10 * 1000);
}

}  // namespace

TEST(FakeCamera, RecordsPipelinedAndSplitRequestsAndEchoesCSeqByDefault) {
    FakeCamera cam;
    Client c(cam.port());
    c.send(request("OPTIONS", 1) + request("DESCRIBE", 2));
    const std::string third = request("SETUP", 3);
    c.send(third.substr(0, 10));
    ASSERT_TRUE(cam.waitForRequests(2));
    ::usleep(50 * 1000);
    EXPECT_EQ(cam.requestCount(), 2u);
    c.send(third.substr(10));
    ASSERT_TRUE(cam.waitForRequests(3));
    c.expect("RTSP/1.0 200 OK\r\nCSeq: 1\r\n\r\nRTSP/1.0 200 OK\r\nCSeq: 2\r\n\r\nRTSP/1.0 200 OK\r\nCSeq: 3\r\n\r\n");
    Client second(cam.port());
    second.send("OPTIONS rtsp://127.0.0.1 RTSP/1.0\r\n\r\n");
    second.expect("RTSP/1.0 200 OK\r\n\r\n");  // no CSeq asked, none echoed

    const auto all = cam.requests();
    ASSERT_EQ(all.size(), 4u);
    EXPECT_EQ(all[1].method, "DESCRIBE");
    const Request& setup = all[2];
    EXPECT_EQ(setup.method, "SETUP");
    EXPECT_EQ(setup.url, "rtsp://127.0.0.1/x");
    EXPECT_EQ(setup.version, "RTSP/1.0");
    EXPECT_EQ(setup.requestLine, "SETUP rtsp://127.0.0.1/x RTSP/1.0");
    EXPECT_EQ(setup.lines, (std::vector<std::string>{"CSeq: 3", "User-Agent: t"}));
    EXPECT_EQ(setup.raw, third);
    EXPECT_EQ(setup.header("CSeq"), "3");
    EXPECT_EQ(setup.header("Cseq"), "");
    EXPECT_TRUE(setup.hasLine("User-Agent: t"));
    EXPECT_EQ(setup.connection, 0);
    EXPECT_EQ(all[3].connection, 1);
    EXPECT_EQ(cam.requests("DESCRIBE").size(), 1u);
    EXPECT_EQ(cam.connectionsAccepted(), 2);
    cam.clearRequests();
    EXPECT_EQ(cam.requestCount(), 0u);
}

TEST(FakeCamera, QueuedBeatsMethodHandlerBeatsDefault) {
    FakeCamera cam;
    cam.setDefault([](const Request&) { return Reply::status_(500, "Internal"); });
    cam.onMethod("OPTIONS", Reply::ok({"Public: OPTIONS"}));
    cam.queue("OPTIONS", Reply::status_(404, "Not Found"));
    Client c(cam.port());
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"OPTIONS", "RTSP/1.0 404 Not Found\r\nCSeq: 1\r\n\r\n"},
        {"OPTIONS", "RTSP/1.0 200 OK\r\nCSeq: 2\r\nPublic: OPTIONS\r\n\r\n"},
        {"DESCRIBE", "RTSP/1.0 500 Internal\r\nCSeq: 3\r\n\r\n"},
    };
    int cseq = 1;
    for (const auto& [method, expected] : cases) {
        c.send(request(method, cseq++));
        c.expect(expected);
    }
}

TEST(FakeCamera, ComposeBuildsTheWireBytes) {
    EXPECT_EQ(Reply::ok({"Content-Type: text/parameters"}, "a=1\r\n").compose("9"),
              "RTSP/1.0 200 OK\r\nCSeq: 9\r\nContent-Type: text/parameters\r\nContent-Length: 5\r\n\r\na=1\r\n");
    Reply noCSeq = Reply::status_(454, "Session Not Found");
    noCSeq.echoCSeq = false;
    EXPECT_EQ(noCSeq.compose("9"), "RTSP/1.0 454 Session Not Found\r\n\r\n");
    EXPECT_EQ(Reply::rawBytes("garbage").compose("9"), "garbage");
}

TEST(FakeCamera, SplitReplyAndBytesAfterItAndSendsFromTheTest) {
    FakeCamera cam;
    Reply split = Reply::ok();
    split.splitAt = {5};
    split.splitDelayMs = 150;
    split.after = interleave(0, "media");
    cam.onMethod("PLAY", split);
    Client c(cam.port());
    c.send(request("PLAY", 5));
    EXPECT_EQ(c.recvOnce(), "RTSP/");
    c.expect("1.0 200 OK\r\nCSeq: 5\r\n\r\n" + interleave(0, "media"));
    EXPECT_TRUE(cam.send(0, "more"));
    c.expect("more");
    EXPECT_FALSE(cam.send(3, "nobody"));
    cam.closeConnection(0);
    EXPECT_FALSE(cam.send(0, "late"));
    EXPECT_EQ(cam.openConnections(), 0);
}

TEST(FakeCamera, CloseAndResetAfterReply) {
    Reply close = Reply::ok(), reset = Reply::ok();
    close.closeAfter = true;
    reset.resetAfter = true;
    const struct {
        Reply reply;
        std::string expected;
        int endErrno;
    } cases[] = {
        {close, "RTSP/1.0 200 OK\r\nCSeq: 1\r\n\r\n", 0},
        {reset, "", ECONNRESET},
        {Reply::closeConnection(), "", 0},
    };
    for (const auto& tc : cases) {
        FakeCamera cam;
        cam.onMethod("OPTIONS", tc.reply);
        Client c(cam.port());
        c.send(request("OPTIONS", 1));
        ASSERT_TRUE(cam.waitForRequests(1));
        const std::string got = c.recvBytes();
        if (tc.endErrno == 0) {  // a reset may discard unread bytes
            EXPECT_EQ(got, tc.expected);
        }
        EXPECT_EQ(c.lastErrno, tc.endErrno);
        waitUntil([&] { return cam.openConnections() == 0; });
        EXPECT_EQ(cam.openConnections(), 0);
        EXPECT_EQ(cam.connectionsAccepted(), 1);
    }
}

TEST(FakeCamera, CloseConnectionFromTheTestSide) {
    FakeCamera cam;
    Client normal(cam.port()), aborted(cam.port());
    waitUntil([&] { return cam.connectionsAccepted() == 2; });
    ASSERT_EQ(cam.openConnections(), 2);
    cam.closeConnection(0);
    cam.closeConnection(1, true);
    EXPECT_EQ(cam.openConnections(), 0);
    EXPECT_EQ(normal.recvOnce(), "");
    EXPECT_EQ(normal.lastErrno, 0);
    EXPECT_EQ(aborted.recvOnce(), "");
    EXPECT_EQ(aborted.lastErrno, ECONNRESET);
}

TEST(FakeCamera, StopListeningRefusesLaterConnects) {
    FakeCamera cam;
    EXPECT_EQ(Client(cam.port()).connectErrno, 0);
    cam.stopListening();
    EXPECT_EQ(Client(cam.port()).connectErrno, ECONNREFUSED);
}

TEST(FakeCamera, DestructionDoesNotWaitForClients) {
    auto cam = std::make_unique<FakeCamera>();
    Client idle(cam->port()), midRequest(cam->port());
    midRequest.send("OPTIONS rtsp://x RTSP/1.0\r\n");
    Reply slow = Reply::ok();
    slow.splitAt = {3};
    slow.splitDelayMs = 60000;
    cam->onMethod("DESCRIBE", slow);
    Client stalled(cam->port());
    stalled.send(request("DESCRIBE", 1));
    ASSERT_TRUE(cam->waitForRequests(1));
    cam.reset();  // must return although no client closed
    EXPECT_EQ(idle.recvOnce(), "");
}

TEST(FakeCamera, RtpAndInterleavedBytes) {
    EXPECT_EQ(rtpPacket(26, true, 0x0102, 0x03040506, "xy", 0x0a0b0c0d),
              std::string("\x80\x9a\x01\x02\x03\x04\x05\x06\x0a\x0b\x0c\x0dxy", 14));
    EXPECT_EQ(rtpPacket(96, false, 1, 2, "")[1], '\x60');
    EXPECT_EQ(interleave(1, std::string(258, 'a')).substr(0, 4), std::string("$\x01\x01\x02", 4));
}

TEST(FakeCamera, StdoutCaptureSeesStdioAndStreams) {
    StdoutCapture capture;
    std::printf("from printf %d\n", 1);
    std::cout << "from cout" << std::endl;
    ASSERT_EQ(::write(STDOUT_FILENO, "raw\n", 4), 4);
    EXPECT_EQ(capture.text(), "from printf 1\nfrom cout\nraw\n");
    std::printf("not captured\n");
    EXPECT_EQ(capture.text(), "from printf 1\nfrom cout\nraw\n");
}
