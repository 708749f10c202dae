// The fake camera itself, once through a plain socket: every other test
// exercises it through the library.
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "support/FakeCamera.h"
#include "support/Scratch.h"

using namespace kovo::test;

TEST(FakeCamera, Smoke) {
    FakeCamera cam;
    cam.onMethod("OPTIONS", Reply::ok({"Public: OPTIONS"}));
    cam.queue("OPTIONS", Reply::status_(404, "Not Found"));  // a queued reply goes first, once
    const int fd = connectLoopback(cam.port());
    ASSERT_GE(fd, 0);
    const std::string first = "OPTIONS rtsp://127.0.0.1/x RTSP/1.0\r\nCSeq: 1\r\nUser-Agent: t\r\n\r\n";
    const std::string both = first + "OPTIONS rtsp://127.0.0.1/x RTSP/1.0\r\nCSeq: 2\r\n\r\n";
    ASSERT_EQ(::send(fd, both.data(), both.size(), MSG_NOSIGNAL), static_cast<ssize_t>(both.size()));
    const std::string replies = "RTSP/1.0 404 Not Found\r\nCSeq: 1\r\n\r\nRTSP/1.0 200 OK\r\nCSeq: 2\r\nPublic: OPTIONS\r\n\r\n";
    EXPECT_EQ(receiveBytes(fd, replies.size()), replies);
    const std::string media = interleave(1, rtpPacket(96, true, 7, 9, "m"));
    ASSERT_TRUE(cam.send(0, media));
    EXPECT_EQ(receiveBytes(fd, media.size()), media);
    cam.closeConnection(0);
    char byte;
    EXPECT_EQ(::recv(fd, &byte, 1, 0), 0);
    EXPECT_EQ(cam.openConnections(), 0);
    const Request r = cam.requests()[0];
    EXPECT_EQ(r.method + "|" + r.url + "|" + r.header("CSeq"), "OPTIONS|rtsp://127.0.0.1/x|1");
    EXPECT_TRUE(r.hasLine("User-Agent: t"));
    EXPECT_EQ(r.raw, first);
    ::close(fd);
}
