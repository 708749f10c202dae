// Login and logout against the scripted fake camera: the wire text of both
// handshakes, the proxy bind and its failure, and the registry afterwards.
#include <gtest/gtest.h>

#include <atomic>
#include <regex>
#include <thread>
#include <string>
#include <vector>

#include "sdk/Device.h"
#include "support/FakeCamera.h"

using kovo::test::FakeCamera;
using kovo::test::Reply;
using kovo::test::Request;
using kovo::test::StdoutCapture;

namespace {

const std::string kAgent = "User-Agent: ORV CMS V1.0";
const std::string kTransport = "Transport: RTP/AVP/TCP;unicast;interleaved=0-1";

TEST(Login, DirectLoginSendsOneOptionsOnEachConnection) {
    FakeCamera cam;
    StdoutCapture quiet;
    const long id = Kovo_Login("127.0.0.1", cam.port(), nullptr);
    ASSERT_GT(id, 0);
    const auto requests = cam.requests();
    ASSERT_EQ(requests.size(), 2u);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(requests[i].connection, i);
        EXPECT_EQ(requests[i].requestLine, "OPTIONS rtsp://127.0.0.1 RTSP/1.0");
        EXPECT_EQ(requests[i].lines, (std::vector<std::string>{"CSeq: 1", kAgent}));
    }

    // A second login to the same camera gets its own id; the address finds the lower one.
    const long second = Kovo_Login("127.0.0.1", cam.port(), nullptr);
    ASSERT_GT(second, 0);
    EXPECT_NE(second, id);
    ASSERT_NE(FindDeviceByDeviceID(id), nullptr);
    EXPECT_EQ(FindDeviceByIPPort("127.0.0.1", cam.port()), FindDeviceByDeviceID(std::min(id, second)));
    EXPECT_EQ(FindDeviceByIPPort("127.000.0.1", cam.port()), nullptr);
    EXPECT_EQ(Kovo_SDKUnInit(), 0);  // logs nothing out
    EXPECT_EQ(Kovo_Logout(second), 0);
    EXPECT_EQ(Kovo_Logout(id), 0);
    EXPECT_EQ(FindDeviceByDeviceID(id), nullptr);
    EXPECT_EQ(Kovo_Logout(id), -1);
}

TEST(Login, ProxiedLoginAnnouncesBothChannelsAndBindsControl) {
    FakeCamera proxy;
    const long id = Kovo_Login("10.0.0.5:8554", proxy.port(), "127.0.0.1");
    ASSERT_GT(id, 0);
    const auto requests = proxy.requests();
    ASSERT_EQ(requests.size(), 3u);

    EXPECT_EQ(requests[0].requestLine, "OPTIONS rtsp://10.0.0.5:8554 RTSP/1.0");
    EXPECT_EQ(requests[1].requestLine, "OPTIONS rtsp://10.0.0.5:8554/Ctrl RTSP/1.0");
    const std::string appId = requests[0].header("ApplicationID");
    EXPECT_TRUE(std::regex_match(appId, std::regex("[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}")));
    for (int i : {0, 1})
        EXPECT_EQ(requests[i].lines, (std::vector<std::string>{"CSeq: 1", kAgent, i ? "ChannelDescript: Control"
                                                                                     : "ChannelDescript: Stream",
                                                               "ApplicationID: " + appId}));

    EXPECT_EQ(requests[2].connection, 1);
    EXPECT_EQ(requests[2].requestLine, "SETUP 10.0.0.5:8554/Ctrl RTSP/1.0");
    EXPECT_EQ(requests[2].lines, (std::vector<std::string>{"CSeq: 2", kTransport, kAgent}));
    EXPECT_EQ(Kovo_Logout(id), 0);
}

TEST(Login, RefusedProxyBindTearsDownBothAndReturnsMinus108) {
    FakeCamera proxy;
    proxy.onMethod("SETUP", Reply::status_(454, "Session Not Found"));
    StdoutCapture quiet;
    EXPECT_EQ(Kovo_Login("10.0.0.5", proxy.port(), "127.0.0.1"), -108);
    ASSERT_TRUE(proxy.waitForRequests(5));
    const auto teardowns = proxy.requests("TEARDOWN");
    ASSERT_EQ(teardowns.size(), 2u);
    EXPECT_EQ(teardowns[0].connection, 0);
    EXPECT_EQ(teardowns[1].connection, 1);
    EXPECT_EQ(teardowns[0].requestLine, "TEARDOWN " + kTransport + " RTSP/1.0");
}

// A refused or cut OPTIONS on either connection, nobody listening, a host name.
TEST(Login, FailuresReturnMinusOneAndRegisterNothing) {
    for (int failure = 0; failure < 4; ++failure) {
        FakeCamera cam;
        const uint16_t port = cam.port();
        if (failure == 0) cam.onMethod("OPTIONS", Reply::status_(401, "Unauthorized"));
        if (failure == 1) cam.queue("OPTIONS", Reply::ok()), cam.queue("OPTIONS", Reply::closeConnection());
        if (failure == 2) cam.stopListening();
        StdoutCapture quiet;
        EXPECT_EQ(Kovo_Login(failure == 3 ? "camera.example" : "127.0.0.1", port, nullptr), -1) << failure;
        EXPECT_EQ(FindDeviceByIPPort("127.0.0.1", port), nullptr);
    }
}

// Logout waits for calls already under way on other threads instead of
// freeing the device beneath them; later calls see an unknown device.
TEST(Login, LogoutWhileOtherThreadsCallTheDevice) {
    FakeCamera cam;
    StdoutCapture quiet;
    const long id = Kovo_Login("127.0.0.1", cam.port(), nullptr);
    ASSERT_GT(id, 0);
    std::atomic<int> unknown{0};
    std::vector<std::thread> callers;
    for (int t = 0; t < 4; ++t) {
        callers.emplace_back([&] {
            char text[64];
            for (int i = 0; i < 10000; ++i) {
                if (Kovo_GetNoiseReduction(id, 0, text) == -3) {
                    ++unknown;
                    return;
                }
            }
        });
    }
    ASSERT_TRUE(cam.waitForRequests(20));
    EXPECT_EQ(Kovo_Logout(id), 0);
    for (auto& t : callers) t.join();
    EXPECT_EQ(unknown.load(), 4);
}

TEST(Registry, LookupsAndDisconnectCallback) {
    EXPECT_EQ(FindDeviceByDeviceID(0) || FindDeviceByDeviceID(-5), false);
    EXPECT_EQ(OnRecvData(987654, "x", 1), 1);
    FakeCamera cam;
    const long id = Kovo_Login("127.0.0.1", cam.port(), nullptr);
    ASSERT_GT(id, 0);
    CDevice* device = FindDeviceByDeviceID(id);
    EXPECT_EQ(OnDisconnect(static_cast<int>(id)), 1);
    EXPECT_EQ(FindDeviceByDeviceID(id), nullptr);
    EXPECT_EQ(OnDisconnect(static_cast<int>(id)), 1);
    // The entry is forgotten but the object is not ours to leak in a test.
    rtsp_close(&device->stream);
    rtsp_close(&device->control);
    delete device;
}

}  // namespace
