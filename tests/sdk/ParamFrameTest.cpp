// The exchange shared by all parameter exports: which connection carries it,
// the URL and header lines, the per-device lock, a camera that goes away,
// and the exported parsing helpers.
#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "ParamTestSupport.h"
#include "sdk/ParamSplit.h"

using kovo::test::kContentType;
using kovo::test::LoggedInCamera;
using kovo::test::paramLines;
using kovo::test::Reply;
using kovo::test::Request;
using kovo::test::StdoutCapture;

namespace {

TEST(ParamFrame, InterleavedStreamMovesParametersToControlButKeepsTheStreamUrl) {
    LoggedInCamera cam;
    CDevice* device = cam.device();
    ASSERT_NE(device, nullptr);
    std::strcpy(device->control.mrl, "127.0.0.1/Ctrl");
    VIDEO_FLIP flip{1, 0};
    OSD_REGION osd{};
    std::strcpy(osd.titlecolor, "White");

    for (int protocol : {CONNECT_TYPE_NONE, CONNECT_TYPE_UDP, CONNECT_TYPE_TCP}) {
        SCOPED_TRACE(protocol);
        device->stream.protocol = protocol;
        const int expectedConnection = protocol == CONNECT_TYPE_TCP ? 1 : 0;
        cam.cam.clearRequests();
        EXPECT_EQ(Kovo_SetVideoFlip(cam.id, &flip), 0);
        EXPECT_EQ(Kovo_SetOSDRegion(cam.id, 0, 1, &osd), 0);
        const auto requests = cam.cam.requests();
        ASSERT_EQ(requests.size(), 2u);
        EXPECT_EQ(requests[0].connection, expectedConnection);
        EXPECT_EQ(requests[0].url, "rtsp://127.0.0.1");
        // The OSD exports address the connection they use.
        EXPECT_EQ(requests[1].connection, expectedConnection);
        EXPECT_EQ(requests[1].url, protocol == CONNECT_TYPE_TCP ? "rtsp://127.0.0.1/Ctrl" : "rtsp://127.0.0.1");
    }
    device->stream.protocol = CONNECT_TYPE_NONE;
}

TEST(ParamFrame, ClientIdLineOnlyWhenTheConnectionHasOne) {
    LoggedInCamera cam;
    CDevice* device = cam.device();
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(Kovo_RebootDevice(cam.id), 0);
    EXPECT_EQ(cam.onlyRequestLines(), (std::vector<std::string>{kContentType, "SysManage: reboot"}));

    std::strcpy(device->stream.clientid, "cms-7");
    cam.cam.clearRequests();
    EXPECT_EQ(Kovo_RebootDevice(cam.id), 0);
    EXPECT_EQ(cam.onlyRequestLines(),
              (std::vector<std::string>{kContentType, "ClientID: cms-7", "SysManage: reboot"}));

    cam.cam.clearRequests();
    StdoutCapture out;
    EXPECT_EQ(Kovo_PTZControl(cam.id, 0, 30, 0), 0);
    EXPECT_NE(out.text().find("===ClientID: cms-7===\n"), std::string::npos);
    EXPECT_EQ(cam.onlyRequestLines(), (std::vector<std::string>{kContentType, "ClientID: cms-7", "stop: 0"}));
}

TEST(ParamFrame, UnknownPtzCommandLeavesItsHeaderForTheNextRequest) {
    LoggedInCamera cam;
    EXPECT_EQ(Kovo_PTZControl(cam.id, 0, 14, 5), -1);
    EXPECT_EQ(cam.cam.requestCount(), 0u);
    EXPECT_EQ(Kovo_RebootDevice(cam.id), 0);
    EXPECT_EQ(cam.onlyRequestLines(), (std::vector<std::string>{kContentType, kContentType, "SysManage: reboot"}));
}

TEST(ParamFrame, SequenceFollowsTheCamerasNumbering) {
    LoggedInCamera cam;
    cam.cam.onMethod("GET_PARAMETER", [](const Request&) {
        Reply reply = Reply::ok({"CSeq: 41", "Q771WatdogConfig: ON"});
        reply.echoCSeq = false;
        return reply;
    });
    WATCHDOG_CONFIG w{0};
    EXPECT_EQ(Kovo_GetWatchdogConfig(cam.id, 0, &w), 0);
    EXPECT_EQ(w.nEanble, 1);
    EXPECT_EQ(Kovo_RebootDevice(cam.id), 0);
    const auto requests = cam.cam.requests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[1].header("CSeq"), "42");
}

TEST(ParamFrame, CameraClosingMidExchangeFailsThisAndLaterCalls) {
    LoggedInCamera cam;
    cam.cam.onMethod("GET_PARAMETER", Reply::closeConnection());
    VERSION_INFO v;
    std::memset(&v, 'Z', sizeof v);
    EXPECT_EQ(Kovo_GetVersionInfo(cam.id, &v), -2);
    EXPECT_EQ(v.szHardWareVersion[0], 'Z');
    // The connection is gone: later calls fail cleanly, Gets and Sets alike.
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(Kovo_GetVersionInfo(cam.id, &v), -2);
        EXPECT_EQ(Kovo_RebootDevice(cam.id), -2);
    }
    EXPECT_EQ(v.szHardWareVersion[0], 'Z');
    EXPECT_EQ(Kovo_Logout(cam.id), 0);
    cam.id = -1;
}

TEST(ParamFrame, ReplyCutBeforeItsEndFails) {
    LoggedInCamera cam;
    cam.cam.onMethod("GET_PARAMETER", Reply::rawBytes("RTSP/1.0 200 OK\r\nCSeq: 2\r\nProductSN: X"));
    char sn[32] = "old";
    EXPECT_EQ(Kovo_GetProductSN(cam.id, sn), -2);
    EXPECT_STREQ(sn, "old");
}

// Two threads on one device: each call must see its own reply, which the
// camera builds from the key it was asked for.
TEST(ParamFrame, ThreadsSharingADeviceDoNotMixFieldsOrReplies) {
    LoggedInCamera cam;
    cam.cam.onMethod("GET_PARAMETER", [](const Request& request) {
        const auto lines = paramLines(request);
        const std::string key = lines.size() > 1 ? lines[1] : "none";
        return Reply::ok({key + ": " + key + "-value"});
    });
    using PlainGet = long (*)(long, int, char*);
    std::atomic<int> wrong{0};
    auto worker = [&](PlainGet get, const std::string& key) {
        for (int i = 0; i < 100; ++i) {
            char value[64] = {};
            if (get(cam.id, 0, value) != 0 || key + "-value" != value) ++wrong;
        }
    };
    std::thread a(worker, static_cast<PlainGet>(Kovo_GetWhiteBalanceMode), "WhiteBalanceMode");
    std::thread b(worker, static_cast<PlainGet>(Kovo_GetDayNightMode), "DayNightMode");
    a.join();
    b.join();
    EXPECT_EQ(wrong.load(), 0);
    EXPECT_EQ(cam.cam.requestCount(), 200u);
    for (const Request& r : cam.cam.requests()) EXPECT_EQ(paramLines(r).size(), 2u);
}

TEST(ParamFrame, SplitString) {
    struct Case {
        const char* src;
        std::vector<std::string> parts;
    };
    const Case cases[] = {
        {"White, 10, 20", {"White", "10", "20"}},
        {"White,10,20", {"White1020"}},
        {"a  b", {"a", "", "b"}},
        {"a b ", {"a", "b"}},
        {" a", {"", "a"}},
        {"", {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.src);
        std::vector<std::string> out;
        EXPECT_EQ(SplitString(c.src, out), static_cast<int>(c.parts.size()));
        EXPECT_EQ(out, c.parts);
    }
    std::vector<std::string> out{"kept"};
    EXPECT_EQ(SplitString("x y", out), 3);
    EXPECT_EQ(SplitString(nullptr, out), 0);
    EXPECT_EQ(out.size(), 3u);
}

TEST(ParamFrame, OsdAttributeParsing) {
    OSD_REGION r{};
    std::strcpy(r.titlecolor, "old");
    r.titleh = r.titlev = 7;
    OSDGetTitleAttrib(&r, "Gray, 3, 4");
    EXPECT_STREQ(r.titlecolor, "Gray");
    EXPECT_EQ(r.titleh, 3);
    EXPECT_EQ(r.titlev, 4);
    OSDGetTimeAttrib(&r, "Black, 1");  // two elements: unchanged
    EXPECT_STREQ(r.titlecolor, "Gray");
    const std::string longColour(40, 'c');
    OSDGetTimeAttrib(&r, (longColour + ", 9, 8").c_str());
    EXPECT_EQ(std::string(r.titlecolor, sizeof r.titlecolor), std::string(32, 'c'));
    EXPECT_EQ(r.titleh, 9);
    OSDGetTitleAttrib(nullptr, "a, b, c");
    OSDGetTitleAttrib(&r, nullptr);
}

TEST(ParamFrame, ResolutionConversions) {
    const char* texts[] = {"176, 144", "352, 288", "704, 576", "720, 576", "1280, 720", "1920, 1080", "1280, 960"};
    for (int i = 0; i < 7; ++i) {
        EXPECT_STREQ(Video_ConvertToVideoPixel(i), texts[i]);
        std::string text = texts[i];
        EXPECT_EQ(Video_ConvertFromVideoPixel(text.data()), i);
    }
    StdoutCapture out;
    EXPECT_EQ(Video_ConvertToVideoPixel(7), nullptr);
    EXPECT_EQ(Video_ConvertToVideoPixel(-1), nullptr);
    std::string noBlank = "1280,720";
    EXPECT_EQ(Video_ConvertFromVideoPixel(noBlank.data()), -2);
    EXPECT_EQ(Video_ConvertFromVideoPixel(nullptr), -1);
    const std::string traces = out.text();
    EXPECT_TRUE(std::regex_match(traces, std::regex("(Video_ConvertToVideoPixel\\[[0-9]+\\]\n\r\n){2}"
                                                    "(Video_ConvertFromVideoPixel\\[[0-9]+\\]\n\r\n){2}")))
        << traces;
}

}  // namespace
