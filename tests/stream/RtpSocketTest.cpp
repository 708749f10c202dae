#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>

#include "support/FakeCamera.h"
#include "stream/rtp.h"

namespace {

using kovo::test::StdoutCapture;

TEST(RtpSocket, TcpCreationFailuresReturnTheirCodes) {
    StdoutCapture quiet;
    int fd = -7;
    EXPECT_EQ(rtp_create_tcp(nullptr, 80, &fd), -1);
    EXPECT_EQ(fd, -7);
    EXPECT_EQ(rtp_create_tcp("no-such-host.invalid", 80, &fd), -3);
}

TEST(RtpSocket, UdpSocketsExchangeDatagrams) {
    int rx = -1, tx = -1;
    ASSERT_EQ(rtp_create_udp(&rx, 0), 0);
    ASSERT_EQ(rtcp_create_udp(&tx, 0), 0);
    sockaddr_in to{};
    socklen_t len = sizeof to;
    getsockname(rx, reinterpret_cast<sockaddr*>(&to), &len);
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    // The exported senders pass an address length of 4, which the kernel refuses.
    EXPECT_EQ(rtp_sendto(tx, "x", 1, &to), -1);
    ASSERT_EQ(sendto(tx, "hello", 5, 0, reinterpret_cast<sockaddr*>(&to), sizeof to), 5);
    char buf[16];
    sockaddr_in from{};
    EXPECT_EQ(rtp_recvfrom(rx, buf, sizeof buf, &from), 5);
    EXPECT_EQ(std::string(buf, 5), "hello");
    EXPECT_EQ(from.sin_addr.s_addr, htonl(INADDR_LOOPBACK));
    EXPECT_EQ(rtp_destroy_udp(rx), 0);
    EXPECT_EQ(rtcp_destroy_udp(tx), 0);
    EXPECT_EQ(rtp_destroy_udp(0), 0);
}

TEST(RtpSocket, RecvClosesTheSocketWhenThePeerHasGone) {
    int pair[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, pair), 0);
    EXPECT_EQ(rtp_send(pair[1], "abc", 3), 0);
    char buf[8];
    EXPECT_EQ(rtp_recv(pair[0], buf, sizeof buf), 3);
    close(pair[1]);
    StdoutCapture quiet;
    EXPECT_EQ(rtp_recv(pair[0], buf, sizeof buf), -1);
    EXPECT_EQ(fcntl(pair[0], F_GETFD), -1);  // descriptor no longer valid
    EXPECT_EQ(rtp_send(pair[0], "x", 1), -1);
}

}  // namespace
