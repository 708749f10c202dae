// The simulator on the wire, through a plain socket: reply framing, SDP,
// channel numbers of the interleaved media, and refusal of bad requests.
#include <poll.h>
#include <sys/socket.h>
#include <cerrno>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "CamSimProcess.h"

namespace kovo::test {
namespace {

class RawClient {
public:
    explicit RawClient(unsigned short port) : fd_(connectLoopback(port)) {}
    ~RawClient() { ::close(fd_); }
    bool connected() const { return fd_ >= 0; }
    void send(const std::string& text) { ::send(fd_, text.data(), text.size(), MSG_NOSIGNAL); }

    // Read the way the SDK reads a reply: one recv of at most 8192 bytes once readable.
    std::string readOnce(int ms = 3000) {
        pollfd p{fd_, POLLIN, 0};
        if (::poll(&p, 1, ms) <= 0) return "<timeout>";
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        char buffer[8192];
        ssize_t n = ::recv(fd_, buffer, sizeof buffer, 0);
        return n <= 0 ? std::string("<closed>") : std::string(buffer, static_cast<size_t>(n));
    }

    // Exactly `n` bytes, or fewer at close or time-out.
    std::string readExactly(size_t n) {
        std::string data(n, '\0');
        size_t have = 0;
        for (pollfd p{fd_, POLLIN, 0}; have < n && ::poll(&p, 1, 5000) > 0;) {
            ssize_t got = ::recv(fd_, &data[have], n - have, 0);
            if (got <= 0) break;
            have += static_cast<size_t>(got);
        }
        data.resize(have);
        return data;
    }

    // The next interleaved packet's channel and RTP payload type.
    bool nextPacket(int& channel, int& payloadType) {
        std::string frame = readExactly(4);
        if (frame.size() != 4 || frame[0] != '$') return false;
        size_t length = (static_cast<unsigned char>(frame[2]) << 8) | static_cast<unsigned char>(frame[3]);
        std::string packet = readExactly(length);
        if (packet.size() != length || length < 12) return false;
        channel = static_cast<unsigned char>(frame[1]);
        payloadType = packet[1] & 0x7F;
        return true;
    }

private:
    int fd_;
};

std::string request(const std::string& line, int cseq, const std::string& extra = "") {
    return line + " RTSP/1.0\r\nCSeq: " + std::to_string(cseq) + "\r\n" + extra + "\r\n";
}

using CamSimProtocol = CamSimTest;

TEST_F(CamSimProtocol, DescribeReplyHoldsHeaderAndWholeSdpInOneRead) {
    CamSimProcess sim;
    ASSERT_TRUE(sim.start({"--size", "320x240", "--fps", "15"}));
    struct Case {
        const char* path;
        const char* rtpmap;
    } cases[] = {{"", "a=rtpmap:96 H264/90000\r\n"}, {"/cam/MJPEG", "a=rtpmap:26 JPEG/90000\r\n"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path);
        RawClient client(sim.port());
        ASSERT_TRUE(client.connected());
        client.send(request("DESCRIBE rtsp://127.0.0.1:" + std::to_string(sim.port()) + c.path, 41,
                            "Accept: application/sdp\r\n"));
        const std::string reply = client.readOnce();
        ASSERT_EQ(0u, reply.find("RTSP/1.0 200 OK\r\nCSeq: 41\r\n")) << reply;
        const size_t bodyStart = reply.find("\r\n\r\n") + 4;
        const std::string body = reply.substr(bodyStart);
        EXPECT_NE(std::string::npos, reply.find("Content-Length: " + std::to_string(body.size()) + "\r\n"));
        for (const char* line : {"a=x-dimensions:320, 240\r\n", "a=x-framerate:15\r\n", "a=control:trackID=1\r\n",
                                 "m=audio 0 RTP/AVP 97\r\n", "a=control:trackID=2\r\n", c.rtpmap})
            EXPECT_NE(std::string::npos, body.find(line)) << line;
        EXPECT_LT(body.find("m=video"), body.find("a=control:trackID=1"));
        EXPECT_LT(body.find("a=control:trackID=1"), body.find("m=audio"));
    }
}

TEST_F(CamSimProtocol, VideoMovesToChannelTwoWhenAudioIsSetUpFirst) {
    CamSimProcess sim;
    ASSERT_TRUE(sim.start());
    struct Case {
        bool withAudio;
        int videoChannel;
    } cases[] = {{false, 0}, {true, 2}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.withAudio ? "with audio" : "video alone");
        RawClient client(sim.port());
        const std::string transport = "Transport: RTP/AVP/TCP;unicast;interleaved=0-1\r\n";
        int cseq = 1;
        if (c.withAudio) {
            client.send(request("SETUP trackID=2", cseq++, transport));
            EXPECT_NE(std::string::npos, client.readOnce().find("interleaved=0-1\r\n"));
        }
        client.send(request("SETUP trackID=1", cseq++, transport));
        const std::string setup = client.readOnce();
        EXPECT_NE(std::string::npos, setup.find("interleaved=" + std::to_string(c.videoChannel) + "-")) << setup;
        client.send(request("PLAY trackID=1", cseq++, "Range: npt=0.000-\r\n"));
        const std::string play = client.readOnce();
        ASSERT_EQ(0u, play.find("RTSP/1.0 200 OK\r\n")) << play;
        EXPECT_EQ(play.size(), play.find("\r\n\r\n") + 4) << "media arrived with the PLAY reply";
        bool sawVideo = false, sawAudio = false;
        for (int i = 0; i < 400 && !(sawVideo && (sawAudio || !c.withAudio)); ++i) {
            int channel = -1, payloadType = -1;
            ASSERT_TRUE(client.nextPacket(channel, payloadType));
            if (payloadType == 96) {
                EXPECT_EQ(c.videoChannel, channel);
                sawVideo = true;
            } else {
                EXPECT_EQ(97, payloadType);
                EXPECT_EQ(0, channel);
                sawAudio = true;
            }
        }
        EXPECT_TRUE(sawVideo);
        EXPECT_EQ(c.withAudio, sawAudio);
    }
    EXPECT_EQ(0, sim.terminate());
}

TEST_F(CamSimProtocol, RefusesWhatItCannotServeAndSurvivesGarbage) {
    CamSimProcess sim;
    ASSERT_TRUE(sim.start());
    struct Case {
        std::string text;
        const char* status;
    } cases[] = {
        {request("RECORD rtsp://127.0.0.1", 5), "RTSP/1.0 501 "},
        {request("PLAY rtsp://127.0.0.1", 6), "RTSP/1.0 455 "},
        {request("SETUP trackID=1", 7, "Transport: RTP/AVP;unicast;client_port=5000-5001\r\n"), "RTSP/1.0 461 "},
        {std::string("$\x01\x00\x03xyz", 7) + request("OPTIONS rtsp://127.0.0.1", 8), "RTSP/1.0 200 OK\r\nCSeq: 8\r\n"},
    };
    RawClient client(sim.port());
    for (const auto& c : cases) {
        client.send(c.text);
        EXPECT_EQ(0u, client.readOnce().find(c.status)) << c.text;
    }
    RawClient flood(sim.port());
    flood.send("OPTIONS rtsp://127.0.0.1 RTSP/1.0\r\n" + std::string(70000, 'x'));
    EXPECT_EQ("<closed>", flood.readOnce());
    EXPECT_EQ(0, sim.terminate());
}

TEST_F(CamSimProtocol, ParameterRepliesFitOneReadAndAnswerOnlyKnownKeys) {
    CamSimProcess sim;
    ASSERT_TRUE(sim.start());
    RawClient client(sim.port());
    client.send(request("GET_PARAMETER rtsp://127.0.0.1", 3,
                        "Content-type: text/parameters\r\nNoSuchKey\r\nEncStream_03\r\nEncResolution\r\nTitleChar_2\r\n"));
    const std::string reply = client.readOnce();
    EXPECT_EQ(std::string::npos, reply.find("NoSuchKey"));
    EXPECT_NE(std::string::npos, reply.find("\r\nEncResolution: 176, 144\r\n")) << reply;
    EXPECT_NE(std::string::npos, reply.find("\r\nTitleChar_2: Kovo CamSim\r\n")) << reply;

    std::string many;
    for (int i = 0; i < 400; ++i) many += "FirmWareVersion\r\n";
    client.send(request("GET_PARAMETER rtsp://127.0.0.1", 4, "Content-type: text/parameters\r\n" + many));
    const std::string big = client.readOnce();
    EXPECT_LE(big.size(), 8192u);
    EXPECT_EQ(big.size() - 4, big.find("\r\n\r\n"));
    EXPECT_EQ(0, sim.terminate());
}

// Each field fault on a playing session: how long the media pauses and how
// the connection ends (errno of the failed read, 0 for a close, -1 still open).
TEST_F(CamSimProtocol, ActsOutFieldFaults) {
    struct Case {
        std::vector<std::string> arguments;
        bool announcesTimeout;
        double longestGapAtLeast, longestGapBelow;
        int end;
        double endAfterAtLeast, endAfterBelow;
    } cases[] = {
        {{"--session-timeout", "1"}, true, 0, 0.6, 0, 0.95, 3},
        {{"--drop-after", "1"}, false, 0, 0.6, ECONNRESET, 0.95, 3},
        {{"--stall-after", "0.5", "--stall-for", "1.5"}, false, 1.4, 2.5, -1, 0, 99},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.arguments[0]);
        CamSimProcess sim;
        std::vector<std::string> arguments = c.arguments;
        arguments.push_back("--no-audio");
        ASSERT_TRUE(sim.start(arguments));
        RawClient client(sim.port());
        client.send(request("SETUP trackID=1", 1, "Transport: RTP/AVP/TCP;unicast;interleaved=0-1\r\n"));
        const std::string setup = client.readOnce();
        EXPECT_EQ(c.announcesTimeout, setup.find(";timeout=1\r\n") != std::string::npos) << setup;
        const auto played = std::chrono::steady_clock::now();
        client.send(request("PLAY trackID=1", 2));
        ASSERT_EQ(0u, client.readOnce().find("RTSP/1.0 200 OK\r\n"));
        auto seconds = [&] { return std::chrono::duration<double>(std::chrono::steady_clock::now() - played).count(); };
        double last = 0.25, longestGap = 0;  // media starts a quarter second after the reply
        int end = -1, channel = 0, payloadType = 0;
        while (end < 0 && seconds() < 3.5) {
            errno = 0;
            if (client.nextPacket(channel, payloadType)) {
                longestGap = std::max(longestGap, seconds() - last);
                last = seconds();
            } else {
                end = errno;
            }
        }
        EXPECT_EQ(c.end, end);
        EXPECT_LE(c.longestGapAtLeast, longestGap);
        EXPECT_GT(c.longestGapBelow, longestGap);
        EXPECT_LE(c.endAfterAtLeast, last);
        EXPECT_GT(c.endAfterBelow, last);
    }
}

}  // namespace
}  // namespace kovo::test
