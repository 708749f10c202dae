// CSocket over loopback: accepting, reading until the peer goes, sending.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "net/Socket.h"
#include "sdk/Device.h"
#include "support/FakeCamera.h"
#include "support/Scratch.h"

namespace {

using namespace kovo::test;

char kLoopback[] = "127.0.0.1";

bool endOfStream(int fd) {
    char byte;
    pollfd p = {fd, POLLIN, 0};
    return ::poll(&p, 1, 2000) == 1 && ::recv(fd, &byte, 1, 0) == 0;
}

int onlyAccepted(CSocket& server) {
    std::lock_guard<std::recursive_mutex> lock(server.m_mtxClientList);
    return server.m_mapClientsList.size() == 1 ? server.m_mapClientsList.begin()->first : -1;
}

std::string pattern(size_t size) {
    std::string out(size, '\0');
    for (size_t i = 0; i < size; ++i) out[i] = static_cast<char>(i * 7 + 3);
    return out;
}

}  // namespace

TEST(CSocket, OutgoingSendTakesAtMostOnePacketOf4096BytesAndCloseEndsItsRead) {
    uint16_t port = 0;
    int listener = bindLoopback(port);
    {
        CSocket client(true);
        int sock = client.OpenClient(kLoopback, port);
        ASSERT_GE(sock, 0);
        int peer = ::accept(listener, nullptr, nullptr);
        EXPECT_FALSE(client.Send(sock, pattern(4097).data(), 4097));
        EXPECT_TRUE(client.Send(sock, pattern(4096).data(), 4096));
        EXPECT_EQ(receiveBytes(peer, 4096), pattern(4096));
        EXPECT_EQ(receiveBytes(peer, 1, 100), "");  // the refused packet sent nothing
        ASSERT_TRUE(client.Receive(sock));
        EXPECT_TRUE(client.Close());
        EXPECT_TRUE(client.m_mapServersList.empty());
        EXPECT_TRUE(endOfStream(peer));
        ::close(peer);
    }
    ::close(listener);
}

TEST(CSocket, OpenClientToAClosedPortRecordsMinusOne) {
    uint16_t port = 0;
    ::close(bindLoopback(port));
    CSocket client(true);
    EXPECT_EQ(client.OpenClient(kLoopback, port), -1);
    EXPECT_EQ(client.m_mapServersList.count(-1), 1u);
    EXPECT_EQ(client.OpenClient(nullptr, port), -1);
}

TEST(CSocket, AcceptedConnectionGetsKeepAliveAndCanBeSentTo) {
    CSocket server(true);
    ASSERT_TRUE(server.OpenServer(0));
    EXPECT_FALSE(server.OpenServer(0));
    CSocket second(true);
    EXPECT_FALSE(second.OpenServer(server.m_nListenPort));  // port in use
    EXPECT_EQ(second.m_nListenSocket, -1);
    int peer = connectLoopback(server.m_nListenPort);
    ASSERT_TRUE(eventually([&] { return server.GetConnectionsCount() == 1; }));
    int sock = onlyAccepted(server);
    const struct {
        int level, option, value;
    } expected[] = {
        {SOL_SOCKET, SO_KEEPALIVE, 1},
        {IPPROTO_TCP, TCP_KEEPIDLE, 10},
        {IPPROTO_TCP, TCP_KEEPINTVL, 2},
        {IPPROTO_TCP, TCP_KEEPCNT, 3},
    };
    for (const auto& e : expected) {
        int actual = -1;
        socklen_t len = sizeof actual;
        ASSERT_EQ(::getsockopt(sock, e.level, e.option, &actual, &len), 0);
        EXPECT_EQ(actual, e.value) << e.option;
    }
    // A read is outstanding and the peer is silent: the data must still go out at once.
    EXPECT_TRUE(server.Send(sock, "hello", 5));
    EXPECT_EQ(receiveBytes(peer, 5), "hello");
    kovo::test::StdoutCapture quiet;
    server.TestNetwork();
    EXPECT_EQ(receiveBytes(peer, 3), std::string("ag\0", 3));
    ::close(peer);
}

TEST(CSocket, PeerLeavingIsReportedWithTheRemainingCount) {
    const struct {
        bool reset;
        std::string trace;
    } cases[] = {
        {false, "Client close normal, current connetions:2\n"},
        {true, "Connection reset by peer\nClient close abnormal,current connetions:2\n"},
    };
    static CDevice device;  // only its address is registered
    for (const auto& tc : cases) {
        SCOPED_TRACE(tc.reset ? "abnormal" : "normal");
        kovo::test::StdoutCapture capture;
        auto server = std::make_unique<CSocket>(true);
        ASSERT_TRUE(server->OpenServer(0));
        int leaving = connectLoopback(server->m_nListenPort);
        ASSERT_TRUE(eventually([&] { return server->GetConnectionsCount() == 1; }));
        int id = onlyAccepted(*server);
        RegisterDevice(id, &device);
        int staying[2] = {connectLoopback(server->m_nListenPort), connectLoopback(server->m_nListenPort)};
        ASSERT_TRUE(eventually([&] { return server->GetConnectionsCount() == 3; }));

        // Several reads' worth first: the read must keep re-arming.
        std::string data = pattern(10000);
        ASSERT_EQ(::send(leaving, data.data(), data.size(), MSG_NOSIGNAL), static_cast<ssize_t>(data.size()));
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        if (tc.reset) {
            linger abort = {1, 0};
            ::setsockopt(leaving, SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
        }
        ::close(leaving);
        EXPECT_TRUE(eventually([&] { return server->GetConnectionsCount() == 2; }));
        EXPECT_EQ(FindDeviceByDeviceID(id), nullptr);  // the registry forgot it
        OnDisconnect(id);  // in case the check above failed: never leave a stack object registered

        // Destruction waits for the completions and ends the other two quietly.
        server.reset();
        for (int fd : staying) {
            EXPECT_TRUE(endOfStream(fd));
            ::close(fd);
        }
        EXPECT_EQ(capture.text(), tc.trace);
    }
}

TEST(CSocket, CloseLeavesAcceptedConnectionsToTheDestructor) {
    kovo::test::StdoutCapture capture;
    std::vector<int> peers;
    {
        CSocket server(true);
        ASSERT_TRUE(server.OpenServer(0));
        uint16_t port = server.m_nListenPort;
        peers = {connectLoopback(port), connectLoopback(port)};
        ASSERT_TRUE(eventually([&] { return server.GetConnectionsCount() == 2; }));
        EXPECT_TRUE(server.Close());
        EXPECT_EQ(server.m_nListenSocket, -1);
        EXPECT_EQ(connectLoopback(port), -1);
        EXPECT_EQ(server.GetConnectionsCount(), 2);
        // Reads are still outstanding and keep working after Close.
        ASSERT_EQ(::send(peers[0], "data", 4, MSG_NOSIGNAL), 4);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_TRUE(server.Close());
    }
    for (int fd : peers) {
        EXPECT_TRUE(endOfStream(fd));
        ::close(fd);
    }
    EXPECT_EQ(capture.text(), "");
}
