// The simulator, one process per suite: on the wire through a plain socket
// (reply framing, SDP, channel numbers, refusals) and through the library
// (every key it asks for, round trips, files, live media that decodes with
// ffmpeg). Field faults and stopping need their own process.
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "CamSimProcess.h"
#include "sdk/KovoSDK.h"
#include "sdk/ParamPairTable.h"
#include "stream/StreamTestSupport.h"

namespace kovo::test {
namespace {

using namespace std::chrono_literals;

class RawClient {
public:
    explicit RawClient(unsigned short port) : fd_(connectLoopback(port)) {}
    ~RawClient() { ::close(fd_); }
    void send(const std::string& text) { ::send(fd_, text.data(), text.size(), MSG_NOSIGNAL); }

    // Read the way the SDK reads a reply: one recv of at most 8192 bytes once readable.
    std::string readOnce(int ms = 3000) {
        pollfd p{fd_, POLLIN, 0};
        if (::poll(&p, 1, ms) <= 0) return "<timeout>";
        std::this_thread::sleep_for(10ms);
        char buffer[8192];
        ssize_t n = ::recv(fd_, buffer, sizeof buffer, 0);
        return n <= 0 ? std::string("<closed>") : std::string(buffer, static_cast<size_t>(n));
    }

    // The next interleaved packet's channel and RTP payload type.
    bool nextPacket(int& channel, int& payloadType) {
        std::string frame = receiveBytes(fd_, 4, 5000);
        if (frame.size() != 4 || frame[0] != '$') return false;
        size_t length = (static_cast<unsigned char>(frame[2]) << 8) | static_cast<unsigned char>(frame[3]);
        std::string packet = receiveBytes(fd_, length, 5000);
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

const std::string kTcpTransport = "Transport: RTP/AVP/TCP;unicast;interleaved=0-1\r\n";

class CamSim : public CamSimTest {
protected:
    static void SetUpTestSuite() {
        if (!CamSimProcess::available()) return;
        sim_ = new CamSimProcess();
        // Grain makes pictures large enough for H.264 to need FU-A.
        started_ = sim_->start({"--size", "320x240", "--fps", "20", "--grain", "20"});
    }
    static void TearDownTestSuite() {
        delete sim_;
        sim_ = nullptr;
    }
    void SetUp() override {
        CamSimTest::SetUp();
        if (!IsSkipped()) ASSERT_TRUE(started_);
    }
    unsigned short port() const { return sim_->port(); }
    long login() const { return Kovo_Login("127.0.0.1", sim_->port(), nullptr); }

    static CamSimProcess* sim_;
    static bool started_;
};

CamSimProcess* CamSim::sim_ = nullptr;
bool CamSim::started_ = false;

// ---- on the wire ------------------------------------------------------------

TEST_F(CamSim, DescribeReplyHoldsHeaderAndWholeSdpInOneRead) {
    for (const std::string path : {"", "/cam/MJPEG"}) {
        SCOPED_TRACE(path);
        RawClient client(port());
        client.send(request("DESCRIBE rtsp://127.0.0.1:" + std::to_string(port()) + path, 41,
                            "Accept: application/sdp\r\n"));
        const std::string reply = client.readOnce();
        ASSERT_EQ(0u, reply.find("RTSP/1.0 200 OK\r\nCSeq: 41\r\n")) << reply;
        const std::string body = reply.substr(reply.find("\r\n\r\n") + 4);
        EXPECT_NE(std::string::npos, reply.find("Content-Length: " + std::to_string(body.size()) + "\r\n"));
        for (const char* line : {"a=x-dimensions:320, 240\r\n", "a=x-framerate:20\r\n", "a=control:trackID=1\r\n",
                                 "m=audio 0 RTP/AVP 97\r\n", "a=control:trackID=2\r\n",
                                 path.empty() ? "a=rtpmap:96 H264/90000\r\n" : "a=rtpmap:26 JPEG/90000\r\n"})
            EXPECT_NE(std::string::npos, body.find(line)) << line;
        EXPECT_LT(body.find("m=video"), body.find("a=control:trackID=1"));
        EXPECT_LT(body.find("a=control:trackID=1"), body.find("m=audio"));
    }
}

TEST_F(CamSim, VideoMovesToChannelTwoWhenAudioIsSetUpFirst) {
    for (bool withAudio : {false, true}) {
        SCOPED_TRACE(withAudio ? "with audio" : "video alone");
        const int videoChannel = withAudio ? 2 : 0;
        RawClient client(port());
        int cseq = 1;
        if (withAudio) {
            client.send(request("SETUP trackID=2", cseq++, kTcpTransport));
            EXPECT_NE(std::string::npos, client.readOnce().find("interleaved=0-1\r\n"));
        }
        client.send(request("SETUP trackID=1", cseq++, kTcpTransport));
        const std::string setup = client.readOnce();
        EXPECT_NE(std::string::npos, setup.find("interleaved=" + std::to_string(videoChannel) + "-")) << setup;
        client.send(request("PLAY trackID=1", cseq++, "Range: npt=0.000-\r\n"));
        const std::string play = client.readOnce();
        ASSERT_EQ(0u, play.find("RTSP/1.0 200 OK\r\n")) << play;
        EXPECT_EQ(play.size(), play.find("\r\n\r\n") + 4) << "media arrived with the PLAY reply";
        bool sawVideo = false, sawAudio = false;
        for (int i = 0; i < 400 && !(sawVideo && (sawAudio || !withAudio)); ++i) {
            int channel = -1, payloadType = -1;
            ASSERT_TRUE(client.nextPacket(channel, payloadType));
            EXPECT_EQ(payloadType == 96 ? videoChannel : 0, channel);
            EXPECT_TRUE(payloadType == 96 || payloadType == 97) << payloadType;
            (payloadType == 96 ? sawVideo : sawAudio) = true;
        }
        EXPECT_TRUE(sawVideo);
        EXPECT_EQ(withAudio, sawAudio);
    }
}

// Refusals, garbage and an overlong request; parameter replies answer only
// known keys, for the item the request names, and fit one read.
TEST_F(CamSim, RefusesWhatItCannotServeAndParameterRepliesFitOneRead) {
    const struct {
        std::string text;
        const char* status;
    } cases[] = {
        {request("RECORD rtsp://127.0.0.1", 5), "RTSP/1.0 501 "},
        {request("PLAY rtsp://127.0.0.1", 6), "RTSP/1.0 455 "},
        {request("SETUP trackID=1", 7, "Transport: RTP/AVP;unicast;client_port=5000-5001\r\n"), "RTSP/1.0 461 "},
        {std::string("$\x01\x00\x03xyz", 7) + request("OPTIONS rtsp://127.0.0.1", 8), "RTSP/1.0 200 OK\r\nCSeq: 8\r\n"},
    };
    RawClient client(port());
    for (const auto& c : cases) {
        client.send(c.text);
        EXPECT_EQ(0u, client.readOnce().find(c.status)) << c.text;
    }
    const std::string get = "Content-type: text/parameters\r\nNoSuchKey\r\nEncResolution\r\nTitleChar_2\r\n";
    client.send(request("GET_PARAMETER rtsp://127.0.0.1", 3, get));
    const std::string plain = client.readOnce();
    EXPECT_EQ(std::string::npos, plain.find("NoSuchKey"));
    EXPECT_NE(std::string::npos, plain.find("\r\nEncResolution: 320, 240\r\n")) << plain;
    EXPECT_NE(std::string::npos, plain.find("\r\nTitleChar_2: ")) << plain;
    client.send(request("GET_PARAMETER rtsp://127.0.0.1", 4, "Content-type: text/parameters\r\nEncStream_03\r\nEncResolution\r\n"));
    const std::string third = client.readOnce();
    EXPECT_NE(std::string::npos, third.find("\r\nEncResolution: ")) << third;
    EXPECT_EQ(std::string::npos, third.find("\r\nEncResolution: 320, 240\r\n")) << "the named item is ignored";

    std::string many;
    for (int i = 0; i < 400; ++i) many += "FirmWareVersion\r\n";
    client.send(request("GET_PARAMETER rtsp://127.0.0.1", 5, "Content-type: text/parameters\r\n" + many));
    const std::string big = client.readOnce();
    EXPECT_LE(big.size(), 8192u);
    EXPECT_EQ(big.size() - 4, big.find("\r\n\r\n"));

    RawClient flood(port());
    flood.send("OPTIONS rtsp://127.0.0.1 RTSP/1.0\r\n" + std::string(70000, 'x'));
    EXPECT_EQ("<closed>", flood.readOnce());
}

// Each field fault on a playing session: how long the media pauses and how
// the connection ends (errno of the failed read, 0 for a close, -1 still open).
TEST_F(CamSim, ActsOutFieldFaults) {
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
        client.send(request("SETUP trackID=1", 1, kTcpTransport));
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

// ---- settings through the library -------------------------------------------

// Every byte a Get writes when all its keys are answered (as a fake camera
// holding what the Set sent shows) must be written on the simulator's own
// settings: it knows every key the library asks for. Then every Set reads
// back whole through its Get.
TEST_F(CamSim, AnswersEveryKeyTheLibraryAsksForAndEverySetReadsBack) {
    FakeCamera fake;
    fake.keepSettings();
    const long fakeId = Kovo_Login("127.0.0.1", fake.port(), nullptr), id = login();
    ASSERT_GT(fakeId, 0);
    ASSERT_GT(id, 0);
    for (const ParamPair& p : paramPairs()) {
        if (!p.set) continue;
        SCOPED_TRACE(p.name);
        auto written = [&](long device) {
            std::string zeros = p.start, ones(p.start.size(), '\xff'), mask;
            EXPECT_EQ(p.get(device, zeros.data()), 0);
            EXPECT_EQ(p.get(device, ones.data()), 0);
            for (size_t i = 0; i < zeros.size(); ++i) mask += zeros[i] == ones[i] ? 'w' : '.';
            return mask;
        };
        std::string sent = p.sent, record = p.start;
        if (p.start == std::string(p.start.size(), '\0')) {  // the Get needs no chosen item
            ASSERT_EQ(p.set(fakeId, sent.data()), 0);
            if (p.start.size() == sizeof(Text))  // a plain text: as long as the value
                EXPECT_EQ(written(id)[0], 'w');
            else
                EXPECT_EQ(written(id), written(fakeId));
        }
        sent = p.sent;
        EXPECT_EQ(p.set(id, sent.data()), 0);
        EXPECT_EQ(p.get(id, record.data()), 0);
        EXPECT_EQ(record, p.expected);
    }
    Kovo_Logout(fakeId);
    Kovo_Logout(id);
}

TEST_F(CamSim, FileSearchPagesThroughTheListAndDeleteRemovesAFile) {
    const long id = login();
    ASSERT_GT(id, 0);
    QUERY_FILE query{0, 0, 0, "08:00:00", "09:00:00"};
    ASSERT_EQ(0, Kovo_QueryFile(id, &query));
    int count = 0;
    char** list = nullptr;
    ASSERT_EQ(0, Kovo_QueryFileList(id, &count, &list));
    ASSERT_EQ(7, count);  // every ten minutes, both ends included, over two pages
    ASSERT_NE(nullptr, list);
    const char* block = reinterpret_cast<const char*>(list);
    EXPECT_STREQ("REC_080000.avi", block);
    EXPECT_STREQ("REC_090000.avi", block + 6 * KOVO_FILE_LIST_ENTRY_SIZE);
    Kovo_FreeFileList(list);
    FTP_DELETEFILE victim{"REC_081000.avi"};
    ASSERT_EQ(0, Kovo_DeleteFile(id, &victim));
    list = nullptr;
    ASSERT_EQ(0, Kovo_QueryFileList(id, &count, &list));
    EXPECT_EQ(6, count);
    Kovo_FreeFileList(list);
    Kovo_Logout(id);
}

// The log shows every request as a block, the proxy's channel lines included.
TEST_F(CamSim, ProxiedLoginBindsTheControlChannel) {
    const long id = Kovo_Login("127.0.0.1", port(), "127.0.0.1");
    ASSERT_GT(id, 0);
    char sn[256] = "";
    EXPECT_EQ(0, Kovo_GetProductSN(id, sn));
    EXPECT_EQ(0, Kovo_Logout(id));
    const std::string log = sim_->output();
    for (const char* line : {"OPTIONS rtsp://127.0.0.1 RTSP/1.0\r\nCSeq: 1\r\n", "ChannelDescript: Stream\r\n",
                             "ChannelDescript: Control\r\n", "SETUP 127.0.0.1/Ctrl RTSP/1.0\r\n",
                             "GET_PARAMETER rtsp://127.0.0.1", "\r\nProductSN\r\n\r\n"})
        EXPECT_NE(std::string::npos, log.find(line)) << line;
}

// ---- live media through the library -----------------------------------------

size_t count(const std::vector<FrameSink::Frame>& frames, int type, int frameType = -1) {
    return std::count_if(frames.begin(), frames.end(), [&](const FrameSink::Frame& f) {
        return f.dataType == type && (frameType < 0 || f.frameType == frameType);
    });
}

// Two clients at once; the Motion-JPEG one logs in the way the demonstration
// program does: port 554 given, the real port carried in the address.
TEST_F(CamSim, H264AndMotionJpegWithAudioDecodeFromTheFirstKeyFrameWhileSettingsStillWork) {
    const long h264Id = login();
    const long jpegId = Kovo_Login(("127.0.0.1:" + std::to_string(port()) + "/MJPEG").c_str(), 554, nullptr);
    ASSERT_GT(h264Id, 0);
    ASSERT_GT(jpegId, 0);
    FrameSink h264, jpeg;
    ASSERT_EQ(0, Kovo_OpenStream(h264Id, 0, 0, 0, CONNECT_TYPE_TCP, 0));
    ASSERT_EQ(0, Kovo_SetRealDataCallBack(h264Id, H264DATA_TYPE, FrameSink::onRealData, h264.user()));
    ASSERT_EQ(0, Kovo_SetAudioCallBack(h264Id, FrameSink::onMedia, h264.user()));
    ASSERT_EQ(0, Kovo_OpenStream(jpegId, 1, 0, 0, CONNECT_TYPE_TCP, 0));
    ASSERT_EQ(0, Kovo_SetMJPEGCallBack(jpegId, FrameSink::onMedia, jpeg.user()));
    ASSERT_EQ(0, Kovo_SetRealDataCallBack(jpegId, H264DATA_TYPE, FrameSink::onRealData, jpeg.user()));
    ASSERT_EQ(0, Kovo_SetAudioCallBack(jpegId, FrameSink::onMedia, jpeg.user()));
    // With media interleaved on the stream connection, settings go over the control connection.
    char text[256] = "";
    EXPECT_EQ(0, Kovo_GetShutterSpeed(h264Id, 0, text));
    EXPECT_STRNE("", text);
    EXPECT_TRUE(jpeg.waitUntil([](auto& f) { return count(f, MJPEGDATA_TYPE) >= 20 && count(f, AACDATA_TYPE) >= 40; },
                               15s));
    EXPECT_TRUE(h264.waitUntil([](auto& f) {
        return count(f, H264DATA_TYPE, I_FRAME) >= 2 && count(f, H264DATA_TYPE) >= 40 && count(f, AACDATA_TYPE) >= 40;
    }, 15s));
    for (long id : {jpegId, h264Id}) {
        EXPECT_EQ(0, Kovo_CloseStream(id));
        EXPECT_EQ(0, Kovo_Logout(id));
    }
    // The frames decode with ffmpeg (their contents are the real-media decode test's concern).
    ScratchDir dir;
    const auto jpegFrames = jpeg.frames(), h264Frames = h264.frames();
    EXPECT_EQ(0u, count(jpegFrames, H264DATA_TYPE));  // a Motion-JPEG stream says nothing to the H.264 callback
    const auto key = std::find_if(h264Frames.begin(), h264Frames.end(), [](auto& f) { return f.dataType == H264DATA_TYPE; });
    ASSERT_NE(key, h264Frames.end());
    EXPECT_EQ(I_FRAME, key->frameType);
    EXPECT_EQ(0, key->bytes.compare(0, 5, std::string("\0\0\0\1\x67", 5)));  // SPS first
    const struct {
        const char *file, *format;
        const std::vector<FrameSink::Frame>& frames;
        int type;
        const char *entries, *info;
    } media[] = {{"video.h264", "h264", h264Frames, H264DATA_TYPE, "stream=width,height", "320,240"},
                 {"video.mjpeg", "mjpeg", jpegFrames, MJPEGDATA_TYPE, "stream=width,height", "320,240"},
                 {"audio.aac", "aac", h264Frames, AACDATA_TYPE, "stream=codec_name,sample_rate,channels", "aac,48000,2"},
                 {"audio2.aac", "aac", jpegFrames, AACDATA_TYPE, "stream=codec_name,sample_rate,channels", "aac,48000,2"}};
    for (const auto& m : media) {
        const std::string path = dir.file(m.file);
        std::string bytes;
        for (const FrameSink::Frame& f : m.frames) bytes += f.dataType == m.type ? f.bytes : "";
        writeFile(path, bytes);
        const std::string stream = "-f " + std::string(m.format) + " -select_streams 0 ";
        EXPECT_EQ(std::string(m.info) + "\n", probe(path, stream + "-show_entries " + m.entries));
        // Each delivered frame decodes to one picture or audio frame, without a complaint.
        expectDecodes(path, "-f " + std::string(m.format));
        EXPECT_EQ(std::to_string(count(m.frames, m.type)) + "\n",
                  probe(path, stream + "-count_frames -show_entries stream=nb_read_frames"));
    }
}

TEST_F(CamSim, StopsCleanlyAfterTheFrameLimitAndOnSigtermWhileStreaming) {
    for (bool limited : {true, false}) {
        SCOPED_TRACE(limited ? "--frames 10" : "SIGTERM");
        CamSimProcess sim;
        ASSERT_TRUE(sim.start(limited ? std::vector<std::string>{"--no-audio", "--frames", "10"}
                                      : std::vector<std::string>{}));
        long id = Kovo_Login("127.0.0.1", sim.port(), nullptr);
        ASSERT_GT(id, 0);
        ASSERT_EQ(0, Kovo_OpenStream(id, 0, 0, 0, CONNECT_TYPE_TCP, 0));
        if (limited) {
            EXPECT_EQ(0, sim.waitExit(10000));
            EXPECT_NE(std::string::npos, sim.output().find("stopped after"));
        } else {
            std::this_thread::sleep_for(500ms);
            EXPECT_EQ(0, sim.terminate(3000));
        }
        Kovo_CloseStream(id);
        Kovo_Logout(id);
    }
}

}  // namespace
}  // namespace kovo::test
