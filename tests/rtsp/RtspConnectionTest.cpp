// The engine on a real loopback connection to the fake camera: sequence
// numbers, sessions, DESCRIBE bodies, the methods, and hostile replies.
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "rtsp/rtsp.h"
#include "rtsp/rtspsocket.h"
#include "sdk/Device.h"
#include "support/FakeCamera.h"

using kovo::test::FakeCamera;
using kovo::test::Reply;
using kovo::test::StdoutCapture;

namespace {

const std::string kSdp =
    "v=0\r\no=- 1 1 IN IP4 127.0.0.1\r\ns=live\r\na=control:*\r\nm=video 0 RTP/AVP 96\r\n"
    "a=x-dimensions:1920, 1080\r\na=x-framerate:25\r\na=control:trackID=1\r\n";

class RtspConnection : public ::testing::Test {
protected:
    void connectTo(const std::string& url = "rtsp://127.0.0.1/live/ch0") {
        ASSERT_EQ(rtsp_connect(&conn, nullptr, cam.port(), url.c_str(), nullptr, 1, nullptr), 0);
        cam.clearRequests();
    }
    void TearDown() override { rtsp_close(&conn); }

    FakeCamera cam;
    CConnect conn;
};

TEST(RtspUrl, AddressTextSplitsIntoHostPortAndPath) {
    // The short form parses without opening a socket, so foreign addresses are safe here.
    struct Case { const char* url; const char* host; int port; const char* path; const char* mrl; } cases[] = {
        {"rtsp://10.0.0.5", "10.0.0.5", 554, "", "10.0.0.5"},
        {"10.0.0.5:8554/live/ch0", "10.0.0.5", 8554, "live/ch0", "10.0.0.5:8554/live/ch0"},
        {"10.0.0.5:99999", "10.0.0.5", 554, "", "10.0.0.5:99999"},
        {"10.0.0.5:-4", "10.0.0.5", 554, "", "10.0.0.5:-4"},
        {"10.0.0.5:abc", "10.0.0.5", 0, "", "10.0.0.5:abc"},
        {"10.0.0.5/a:b", "10.0.0.5", 554, "a:b", "10.0.0.5/a:b"},
        {"10.0.0.5/", "10.0.0.5", 554, "", "10.0.0.5/"},
    };
    for (const auto& c : cases) {
        CConnect conn;
        conn.s = -1;
        EXPECT_EQ(rtsp_connect(&conn, c.url, nullptr), -1) << c.url;
        EXPECT_STREQ(conn.host, c.host) << c.url;
        EXPECT_EQ(conn.port, c.port) << c.url;
        EXPECT_STREQ(conn.path, c.path) << c.url;
        EXPECT_STREQ(conn.mrl, c.mrl) << c.url;
        EXPECT_STREQ(conn.user_agent, "User-Agent: ORV CMS V1.0");
    }
    CConnect conn;
    EXPECT_EQ(rtsp_connect(&conn, nullptr, 554, nullptr, nullptr, 1, nullptr), -1);
}

// The URL parts are the address table's concern; OPTIONS proves the connection.
TEST_F(RtspConnection, DeviceNumbersTheRequestsAndSetsTheSession) {
    connectTo();
    EXPECT_EQ(conn.server_state, 1u);
    EXPECT_STREQ(rtsp_get_mrl(&conn), "127.0.0.1/live/ch0");
    Reply reply = Reply::ok({"CSeq: 7", "Session: 11", "Session: 4F3A;timeout=60", "Server: Kovo/1.0 (cam)"});
    reply.echoCSeq = false;
    cam.queue("GET_PARAMETER", reply);
    rtsp_schedule_field(&conn, "Brightness");
    EXPECT_EQ(rtsp_request_getparameter(&conn, "rtsp://127.0.0.1"), 200);
    EXPECT_STREQ(conn.server, "Kovo/1.0");
    EXPECT_EQ(rtsp_request_setparameter(&conn, nullptr), 200);

    const auto requests = cam.requests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[0].raw, "GET_PARAMETER rtsp://127.0.0.1 RTSP/1.0\r\nCSeq: 2\r\nBrightness\r\n\r\n");
    EXPECT_EQ(requests[1].requestLine, "SET_PARAMETER rtsp://127.0.0.1:" + std::to_string(cam.port()) +
                                           "/live/ch0 RTSP/1.0");
    EXPECT_EQ(requests[1].lines, (std::vector<std::string>{"CSeq: 8", "Session: 4F3A;timeout=60"}));
}

TEST_F(RtspConnection, DescribeReadsTheBodyWithTheHeaderOrAfterIt) {
    connectTo();
    for (bool split : {false, true}) {
        Reply reply = Reply::ok({"Content-Type: application/sdp"}, kSdp);
        if (split) reply.splitAt = {reply.compose("3").find("\r\n\r\n") + 4};
        cam.queue("DESCRIBE", reply);
        EXPECT_EQ(rtsp_request_describe(&conn, nullptr), 200) << split;
        EXPECT_EQ(conn.server_state, 4u);
        EXPECT_STREQ(rtsp_search_answers(&conn, "a=x-dimensions"), "1920, 1080") << split;
        EXPECT_STREQ(rtsp_search_answers(&conn, "a=x-framerate"), "25") << split;
        EXPECT_STREQ(rtsp_get_video_mrl(&conn), "trackID=1") << split;
    }
}

TEST_F(RtspConnection, PlayDiscardsWhatWaitsOnTheConnection) {
    connectTo();
    ASSERT_TRUE(cam.send(0, "RTSP/1.0 200 OK\r\nCSeq: 99\r\n\r\n$\x00\x00\x04junk"));
    usleep(50 * 1000);
    cam.queue("PLAY", Reply::ok({"RTP-Info: url=trackID=1"}));
    EXPECT_EQ(rtsp_request_play(&conn, "trackID=1"), 200);
    EXPECT_STREQ(rtsp_search_answers(&conn, "RTP-Info"), "url=trackID=1");
    EXPECT_EQ(conn.server_state, 16u);
}

TEST_F(RtspConnection, PauseAndTeardownQueueTheirOwnSequenceNumbers) {
    connectTo();
    cam.queue("TEARDOWN", Reply::silence());
    EXPECT_EQ(rtsp_request_teardown(&conn, "rtsp://127.0.0.1/x", 0), 0);
    EXPECT_EQ(conn.server_state, 64u);
    EXPECT_EQ(rtsp_request_pause(&conn, nullptr, 1), 200);
    EXPECT_EQ(conn.server_state, 32u);
    rtsp_request_options(&conn, nullptr);
    ASSERT_TRUE(cam.waitForRequests(3));
    const auto requests = cam.requests();
    EXPECT_EQ(requests[0].lines, (std::vector<std::string>{"CSeq: 2"}));
    EXPECT_EQ(requests[1].lines, (std::vector<std::string>{"CSeq: 3"}));
    // The locally incremented number, then the reply's number plus one.
    EXPECT_EQ(requests[2].lines, (std::vector<std::string>{"CSeq: 4", "CSeq: 4"}));
    EXPECT_EQ(requests[2].requestLine, "OPTIONS rtsp://127.0.0.1:" + std::to_string(cam.port()) + " RTSP/1.0");
}

TEST_F(RtspConnection, UserCustomSendsLinesAndReturnsTheRawReply) {
    connectTo();
    char out[8192];
    EXPECT_EQ(rtsp_user_custom(&conn, "SET_PARAMETER", "A: 1\r\nB: 2", out), 0);
    EXPECT_EQ(rtsp_user_custom(&conn, "SET_PARAMETER", "A: 1\r\n", out), 0);
    // The raw reply is not parsed: the numbering goes on locally.
    EXPECT_EQ(std::string(out), "RTSP/1.0 200 OK\r\nCSeq: 3\r\n\r\n");
    EXPECT_EQ(rtsp_user_custom(&conn, nullptr, "A", out), -1);
    ASSERT_TRUE(cam.waitForRequests(2));
    const auto requests = cam.requests();
    EXPECT_EQ(requests[0].lines, (std::vector<std::string>{"CSeq: 2", "Content-type: text/parameters", "A: 1", "B: 2"}));
    // A trailing CR LF stays in the line, so the header ends early.
    EXPECT_EQ(requests[1].lines.back(), "A: 1");
    EXPECT_EQ(requests[1].raw.substr(requests[1].raw.size() - 8), "A: 1\r\n\r\n");
}

// Replies no camera should send: each ends in a clean code, nothing overruns.
TEST_F(RtspConnection, HostileRepliesEndInCleanCodes) {
    std::string thousandLines = "RTSP/1.0 200 OK\r\n";
    for (int i = 0; i < 1000; ++i) thousandLines += "K" + std::to_string(i) + ": v\r\n";
    thousandLines += "\r\n";
    struct Case { const char* name; std::string raw; int status; } cases[] = {
        {"longer than a read", "RTSP/1.0 200 OK\r\nX: " + std::string(9000, 'x') + "\r\n\r\n", 0},
        {"no line ends", std::string(3000, 'A'), 0},
        {"thousand header lines", thousandLines, 200},
        {"NUL bytes", std::string("RTSP/1.0 200 OK\r\n\0\0\0\r\n\r\n", 24), 0},
        {"binary garbage", std::string("\xff\xfe\x00\x01\r\n\x80\r\n\r\n", 11), 0},
    };
    for (auto& c : cases) {
        FakeCamera hostile;
        CConnect victim;
        ASSERT_EQ(rtsp_connect(&victim, nullptr, hostile.port(), "rtsp://127.0.0.1", nullptr, 1, nullptr), 0);
        hostile.queue("GET_PARAMETER", Reply::rawBytes(c.raw));
        EXPECT_EQ(rtsp_request_getparameter(&victim, nullptr), c.status) << c.name;
        rtsp_close(&victim);
    }
}

TEST_F(RtspConnection, PeerResetMidReplyReadsAsNoReply) {
    connectTo();
    Reply partial = Reply::rawBytes("RTSP/1.0 200 OK\r\nCSe");
    partial.resetAfter = true;
    cam.queue("GET_PARAMETER", partial);
    EXPECT_EQ(rtsp_request_getparameter(&conn, nullptr), 0);
    EXPECT_EQ(rtsp_request_getparameter(&conn, nullptr), 0);
    EXPECT_FALSE(conn.socketOpen);
    // The closed connection stays closed: later requests fail without a send.
    EXPECT_EQ(rtsp_request_setparameter(&conn, nullptr), 0);
}

// A station with hundreds of cameras holds descriptors far above 1023.
TEST(RtspHighDescriptors, ExchangesWorkAboveDescriptor1024) {
    rlimit limit{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    if (limit.rlim_cur < 1200) {
        limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, 4096);
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    }
    if (limit.rlim_cur < 1200) GTEST_SKIP() << "descriptor limit too low";
    std::vector<int> filler;
    while (filler.size() < 1100) filler.push_back(dup(0));

    FakeCamera cam;
    StdoutCapture quiet;
    const long id = Kovo_Login("127.0.0.1", cam.port(), nullptr);
    EXPECT_GT(id, 1024);
    CConnect conn;
    ASSERT_EQ(rtsp_connect(&conn, nullptr, cam.port(), "rtsp://127.0.0.1", nullptr, 1, nullptr), 0);
    EXPECT_GT(conn.s, 1024);
    rtsp_schedule_field(&conn, "Brightness");
    EXPECT_EQ(rtsp_request_play(&conn, nullptr), 200);
    EXPECT_EQ(rtsp_request_getparameter(&conn, nullptr), 200);
    rtsp_close(&conn);

    const int sock = rtspsocket_connect(const_cast<char*>("127.0.0.1"), cam.port());
    ASSERT_GT(sock, 1024);
    char request[] = "OPTIONS rtsp://127.0.0.1 RTSP/1.0\r\nCSeq: 5\r\n\r\n";
    EXPECT_EQ(rtspsocket_write(sock, request, sizeof request - 1), static_cast<int>(sizeof request - 1));
    char reply[256];
    EXPECT_GT(rtspsocket_read(sock, reply, sizeof reply - 1), 0);
    EXPECT_EQ(std::string(reply), "RTSP/1.0 200 OK\r\nCSeq: 5\r\n\r\n");
    rtspsocket_disconnect(sock);
    EXPECT_EQ(Kovo_Logout(id), 0);
    for (int fd : filler) close(fd);
}

TEST(RtspSocketLayer, ReadsWritesAndClosedPeers) {
    EXPECT_EQ(rtspsocket_startup(), 0);
    EXPECT_EQ(rtspsocket_cleanup(), 0);
    FakeCamera cam;
    cam.queue("OPTIONS", Reply::closeConnection());
    const int sock = rtspsocket_connect(const_cast<char*>("127.0.0.1"), cam.port());
    ASSERT_GE(sock, 0);
    char request[] = "OPTIONS * RTSP/1.0\r\nCSeq: 1\r\n\r\nXYZ";
    EXPECT_EQ(rtspsocket_write(sock, request, 30), 30);
    EXPECT_EQ(request[30], '\0');
    char reply[64];
    EXPECT_EQ(rtspsocket_read(sock, reply, sizeof reply - 1), 0);  // peer closed
    EXPECT_EQ(rtspsocket_disconnect(sock), 0);

    const uint16_t port = cam.port();
    cam.stopListening();
    const int refused = rtspsocket_connect(const_cast<char*>("127.0.0.1"), port);
    if (refused >= 0) rtspsocket_disconnect(refused);  // writability alone counts as connected
    EXPECT_NE(refused, -1);
}

}  // namespace
