// How answers become record fields (one case per conversion rule), the
// exports that parse by hand, the exchange every export shares, how a trace
// message is chosen and numbered, and the camera's odd behaviour the
// library keeps.
#include <atomic>
#include <regex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "ParamPairTable.h"
#include "ParamTestSupport.h"
#include "sdk/ParamSplit.h"

using namespace kovo::test;

namespace {

// Each rule once, through an export whose field uses it: answered with
// `reply`, the export must leave what `read` renders.
TEST(ParamRules, OneCasePerConversionRule) {
    const std::string k300(300, 'p');
    const struct {
        const char* rule;
        std::vector<std::string> reply;
        std::function<std::string(long id)> read;
        std::string expected;
    } rows[] = {
        {"text: zeroed, then at most its array", {"IPV4_IPAddr: " + k300, "IPV4_GateWay: g"},
         [](long id) { NET_CONFIG n{"", "kept", "old-gateway"}; Kovo_GetNetConfig(id, &n);
                       return textOf(n.szIP) + "|" + textOf(n.szNetMask) + "|" + textOf(n.szGateway); },
         k300.substr(0, 32) + "|kept|g"},
        {"text read into the first 32 bytes only", {"StorageDeviceDescription: " + k300},
         [](long id) { STORAGE_DEVICE_INFO i{}; fill(i.szDescription, std::string(255, 'x'));
                       Kovo_GetStorageInfo(id, &i); return textOf(i.szDescription); },
         k300.substr(0, 32) + std::string(255 - 32, 'x')},
        {"plain text copied whole", {"DayNightMode: " + k300},
         [](long id) { char b[512] = {}; Kovo_GetDayNightMode(id, 0, b); return std::string(b); }, k300},
        {"int by atoi", {"SMTP_ServerPort: 587x", "SMTP_Auth: high"},
         [](long id) { SMTP_CONFIG s{"", 7, 7}; Kovo_GetSMTPConfig(id, &s);
                       return std::to_string(s.nServerPort) + "|" + std::to_string(s.nAuth); }, "587|0"},
        {"int by scan: unchanged without digits", {"EncGOP: none", "EncFrameRate: 30"},
         [](long id) { VIDEO_ATTRIBUTE a{1, 0, 0, 0, 0, -1}; Kovo_GetChannelAttribute(id, &a);
                       return std::to_string(a.GOP) + "|" + std::to_string(a.FrameRate); }, "-1|30"},
        {"pair as far as it matches", {"EncResolution: 640"},
         [](long id) { VIDEO_ATTRIBUTE a{1, -1, -1}; Kovo_GetChannelAttribute(id, &a);
                       return std::to_string(a.ResolutionX) + "|" + std::to_string(a.ResolutionY); }, "640|-1"},
        {"switch: 1 only for exactly ON", {"IPV4_DHCPMode: on"},
         [](long id) { NET_CONFIG n{}; n.nDHCPMode = 1; Kovo_GetNetConfig(id, &n); return std::to_string(n.nDHCPMode); },
         "0"},
        {"switch: 0 only for exactly OFF", {"pppoe_Enable: on"},
         [](long id) { PPPOE_CONFIG p{}; Kovo_GetPPPoEConfig(id, &p); return std::to_string(p.nEnable); }, "1"},
        {"word: unknown words read as the fallback", {"Protocol: VISCA", "ParityBit: mark"},
         [](long id) { SERIALPORT_CONFIG s{7, 7, 7, 7, 7}; Kovo_GetSerialPortConfig(id, 1, &s);
                       return std::to_string(s.nProtocol) + "|" + std::to_string(s.nParityBit); }, "0|2"},
        {"word: exact spelling only", {"StorageDeviceCtrl: plug-in", "LocalStoreSequence: Once"},
         [](long id) { STORAGE_DEVICE_CONTROL c{1}; STORAGE_DEVICE_MODE m{0, 1}; Kovo_GetStorageControl(id, &c);
                       Kovo_GetStorageMode(id, &m); return std::to_string(c.nControl) + std::to_string(m.nSequenceMode); },
         "00"},
    };
    LoggedInCamera cam;
    ASSERT_GT(cam.id, 0);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.rule);
        cam.cam.onMethod("GET_PARAMETER", Reply::ok(row.reply));
        EXPECT_EQ(row.read(cam.id), row.expected);
    }
}

// A value without a word is sent as the fallback word; a full text array
// goes out whole (it has no terminator).
TEST(ParamRules, SetsSendValuesWithoutWordsAsTheFallbackAndFullTextsWhole) {
    LoggedInCamera cam;
    ASSERT_GT(cam.id, 0);
    OSD_REGION title{};
    std::memset(title.title, 'T', sizeof title.title);
    std::strcpy(title.titlecolor, "White");
    const struct { std::function<long(long)> set; size_t line; std::string sent; } rows[] = {
        {[](long id) { HOME_FUNCTION h{0, 9, 0, 0}; return Kovo_SetHomeFunction(id, &h); }, 2, "HomeFuctionMode: Preset"},
        {[](long id) { STORAGE_DEVICE_MODE m{0, 2}; return Kovo_SetStorageMode(id, &m); }, 2, "LocalStoreSequence: recycle"},
        // Bit rate 0: sent unchecked.
        {[](long id) { AUDIO_ATTRIBUTE a{0, 5, 3, 0, 0, 99, 0, -4}; return Kovo_SetAudioAttribute(id, 0, &a); }, 3,
         "AudioEncodeType: AAC"},
        {[&](long id) { return Kovo_SetOSDRegion(id, 0, 1, &title); }, 3, "TitleChar: " + std::string(24, 'T')},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.set(cam.id), 0) << row.sent;
        EXPECT_EQ(cam.onlyRequestLines().at(row.line), row.sent);
    }
}

// Odd, but what the camera expects and what the library has always done.
TEST(ParamOddities, KeptOnPurpose) {
    LoggedInCamera cam;
    ASSERT_GT(cam.id, 0);
    // An unknown PTZ command returns before sending, leaving its lines queued for the next request.
    EXPECT_EQ(Kovo_PTZControl(cam.id, 0, 14, 5), -1);
    EXPECT_EQ(Kovo_RebootDevice(cam.id), 0);
    EXPECT_EQ(cam.onlyRequestLines(), (std::vector<std::string>{kContentType, kContentType, "SysManage: reboot"}));

    // A time-stamp Get reports colour and position in the title fields, and
    // reads the two-digit-year words the Set never sends.
    cam.cam.onMethod("GET_PARAMETER", Reply::ok({"TimeDisplay: ON", "TimeFormat: MM-DD-YY", "TimeMode: 2",
                                                 "TimeAttrib: Gray, 1, 2"}));
    OSD_REGION r{};
    std::strcpy(r.timecolor, "keep");
    ASSERT_EQ(Kovo_GetOSDRegion(cam.id, 0, 2, &r), 0);
    EXPECT_EQ(textOf(r.titlecolor) + textOf(r.timecolor), "Graykeep");
    EXPECT_EQ(std::vector<int>({r.titleh, r.titlev, r.timedisplay, r.timeformat, r.timemode, r.timeh}),
              std::vector<int>({1, 2, 1, 2, 2, 0}));
    cam.cam.clearRequests();
    OSD_REGION time{};
    time.timeformat = 2;
    time.timemode = 1;
    std::strcpy(time.timecolor, "White");
    EXPECT_EQ(Kovo_SetOSDRegion(cam.id, 0, 2, &time), 0);
    EXPECT_EQ(cam.onlyRequestLines()[2], "TimeFormat: MM-DD-YYYY");
}

TEST(ParamRules, ExportsThatParseByHand) {
    LoggedInCamera cam;
    ASSERT_GT(cam.id, 0);
    // Title attributes split on blanks: without them the value is one element and nothing changes.
    cam.cam.onMethod("GET_PARAMETER", Reply::ok({"TitleAttrib: White,10,20", "TitleChar: " + std::string(30, 'x')}));
    OSD_REGION r{};
    std::strcpy(r.titlecolor, "old");
    ASSERT_EQ(Kovo_GetOSDRegion(cam.id, 0, 1, &r), 0);
    EXPECT_EQ(textOf(r.title) + "|" + textOf(r.titlecolor), std::string(24, 'x') + "|old");
    // The motion area likewise: four blank-separated numbers or nothing.
    cam.cam.onMethod("GET_PARAMETER", Reply::ok({"MotionDetectArea: 0,0,640,480"}));
    MD_CONFIG md{1, 80, 10, 20, 30, 40};
    ASSERT_EQ(Kovo_GetMDConfig(cam.id, 0, 1, &md), 0);
    EXPECT_EQ(md.nAreaX + md.nAreaY + md.nAreaWidth + md.nAreaHeight, 100);

    const struct {
        const char* src;
        std::vector<std::string> parts;
    } splits[] = {{"White, 10, 20", {"White", "10", "20"}}, {"White,10,20", {"White1020"}}, {"a  b", {"a", "", "b"}},
                  {"a b ", {"a", "b"}}, {" a", {"", "a"}}, {"", {}}};
    for (const auto& c : splits) {
        std::vector<std::string> out{"kept"};
        EXPECT_EQ(SplitString(c.src, out), static_cast<int>(c.parts.size() + 1)) << c.src;
        EXPECT_EQ(std::vector<std::string>(out.begin() + 1, out.end()), c.parts);
    }
    std::vector<std::string> none{"kept"};
    EXPECT_EQ(SplitString(nullptr, none), 0);

    OSD_REGION a{};
    OSDGetTitleAttrib(&a, "Gray, 3, 4");
    OSDGetTimeAttrib(&a, "Black, 1");  // two elements: unchanged
    EXPECT_EQ(textOf(a.titlecolor) + std::to_string(a.titleh) + std::to_string(a.titlev), "Gray34");
    OSDGetTimeAttrib(&a, (std::string(40, 'c') + ", 9, 8").c_str());
    EXPECT_EQ(std::string(a.titlecolor, sizeof a.titlecolor), std::string(32, 'c'));
    OSDGetTitleAttrib(nullptr, "a, b, c");
    OSDGetTitleAttrib(&a, nullptr);

    const char* sizes[] = {"176, 144", "352, 288", "704, 576", "720, 576", "1280, 720", "1920, 1080", "1280, 960"};
    for (int i = 0; i < 7; ++i) {
        EXPECT_STREQ(Video_ConvertToVideoPixel(i), sizes[i]);
        EXPECT_EQ(Video_ConvertFromVideoPixel(std::string(sizes[i]).data()), i);
    }
    EXPECT_EQ(Video_ConvertToVideoPixel(7), nullptr);
    EXPECT_EQ(Video_ConvertToVideoPixel(-1), nullptr);
    EXPECT_EQ(Video_ConvertFromVideoPixel(std::string("1280,720").data()), -2);
    EXPECT_EQ(Video_ConvertFromVideoPixel(nullptr), -1);
}

// A message is chosen per export and outcome (a null one is silent), and its
// number is the line of the export's call site: the same for every outcome
// of one export, different between exports.
TEST(ParamRules, TraceChoiceAndNumbering) {
    LoggedInCamera cam;
    ASSERT_GT(cam.id, 0);
    VIDEO_FLIP flip{};
    OSD_REGION osd{};
    std::strcpy(osd.titlecolor, "Pink");
    char text[64];
    const struct {
        std::function<long()> call;
        int status;
        const char* pattern;  // (\d+) is the number
    } rows[] = {
        {[&] { return Kovo_GetVideoFlip(0, &flip); }, 200, "GetVideoFlip\\[(\\d+)\\] input invalid\\.\n"},
        {[&] { return Kovo_GetVideoFlip(kUnknownId, &flip); }, 200, "GetVideoFlip\\[(\\d+)\\] device null\\.\n"},
        {[&] { return Kovo_GetVideoFlip(cam.id, &flip); }, 500, "GetVideoFlip \\[(\\d+)\\] get video flip failed\\.\n"},
        {[&] { return Kovo_GetVideoFlip(cam.id, &flip); }, 200, "GetVideoFlip success\\.\n"},
        {[&] { return Kovo_GetNearLimitSetup(cam.id, 0, text); }, 500, ""},
        {[&] { return Kovo_SetOSDRegion(cam.id, 0, 1, &osd); }, 200, "SetOSDRegion\\[(\\d+)\\] title color invalid\\.\n"},
        {[&] { MULTI_VIDEO_CHANNEL m{}; return Kovo_GetMultiVideoChannel(0, &m); }, 200,
         "GetStorageMode\\[(\\d+)\\] invalid input\\.\n"},
        {[&] { return Kovo_PTZControl(cam.id, 0, 30, 0); }, 500, "PTZControl set parameter failed (-?\\d+)\\.\n"},
    };
    std::set<std::string> flipNumbers, all;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.pattern);
        cam.cam.onMethod("GET_PARAMETER", Reply::status_(row.status));
        cam.cam.onMethod("SET_PARAMETER", Reply::status_(row.status));
        StdoutCapture out;
        row.call();
        std::string traces = out.text();
        traces = std::regex_replace(traces, std::regex("---send [^]*?\r\n\r\n\n"), "");
        std::smatch m;
        ASSERT_TRUE(std::regex_match(traces, m, std::regex(std::string(row.pattern) + (*row.pattern ? "\r\n" : ""))))
            << traces;
        if (m.size() > 1) (std::string(row.pattern).rfind("GetVideoFlip", 0) == 0 ? flipNumbers : all).insert(m[1]);
    }
    EXPECT_EQ(flipNumbers.size(), 1u);
    EXPECT_EQ(all.count(*flipNumbers.begin()), 0u);
}

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
        const bool control = protocol == CONNECT_TYPE_TCP;
        cam.cam.clearRequests();
        EXPECT_EQ(Kovo_SetVideoFlip(cam.id, &flip), 0);
        EXPECT_EQ(Kovo_SetOSDRegion(cam.id, 0, 1, &osd), 0);
        const auto requests = cam.cam.requests();
        ASSERT_EQ(requests.size(), 2u);
        EXPECT_EQ(requests[0].connection, control ? 1 : 0);
        EXPECT_EQ(requests[0].url, "rtsp://127.0.0.1");
        // The OSD exports address the connection they use.
        EXPECT_EQ(requests[1].connection, control ? 1 : 0);
        EXPECT_EQ(requests[1].url, control ? "rtsp://127.0.0.1/Ctrl" : "rtsp://127.0.0.1");
    }
    device->stream.protocol = CONNECT_TYPE_NONE;
}

TEST(ParamFrame, ClientIdAndLostCamera) {
    LoggedInCamera cam;
    CDevice* device = cam.device();
    ASSERT_NE(device, nullptr);
    std::strcpy(device->stream.clientid, "cms-7");
    EXPECT_EQ(Kovo_PTZControl(cam.id, 0, 30, 0), 0);
    EXPECT_EQ(cam.onlyRequestLines(), (std::vector<std::string>{kContentType, "ClientID: cms-7", "stop: 0"}));

    // A reply cut before its end fails; so does everything once the camera has gone.
    cam.cam.queue("GET_PARAMETER", Reply::rawBytes("RTSP/1.0 200 OK\r\nCSeq: 4\r\nProductSN: X"));
    char sn[32] = "old";
    EXPECT_EQ(Kovo_GetProductSN(cam.id, sn), -2);
    cam.cam.queue("GET_PARAMETER", Reply::closeConnection());
    EXPECT_EQ(Kovo_GetProductSN(cam.id, sn), -2);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(Kovo_GetProductSN(cam.id, sn), -2);
        EXPECT_EQ(Kovo_RebootDevice(cam.id), -2);
    }
    EXPECT_STREQ(sn, "old");
    // The download target is this end's address, empty once the connection is gone.
    StdoutCapture sent;
    DOWNLOAD_CONFIG c{0, 9000};
    EXPECT_EQ(Kovo_SetDownloadConfig(cam.id, &c), -2);
    EXPECT_NE(sent.text().find("\r\nManualDownloadIP: \r\nManualDownloadPort: 9000\r\n"), std::string::npos);
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
    std::atomic<int> wrong{0};
    auto worker = [&](PlainCall get, const std::string& key) {
        for (int i = 0; i < 100; ++i) {
            char value[64] = {};
            if (get(cam.id, 0, value) != 0 || key + "-value" != value) ++wrong;
        }
    };
    std::thread a(worker, Kovo_GetWhiteBalanceMode, "WhiteBalanceMode");
    std::thread b(worker, Kovo_GetDayNightMode, "DayNightMode");
    a.join();
    b.join();
    EXPECT_EQ(wrong.load(), 0);
    EXPECT_EQ(cam.cam.requestCount(), 200u);
    for (const Request& r : cam.cam.requests()) EXPECT_EQ(paramLines(r).size(), 2u);
}

// The file list comes in passes of "name# " entries, each into a fixed
// entry of one block the caller frees.
TEST(ParamFiles, QueryFileListPasses) {
    auto pass = [](const std::string& names, int remaining) {
        return Reply::ok({"QueryRecordFileList: " + names, "QueryRemainFileCount: " + std::to_string(remaining)});
    };
    const std::string longName(1500, 'L');
    const struct {
        const char* name;
        std::vector<Reply> passes;
        std::vector<std::string> expected;  // empty: nothing handed out
    } cases[] = {
        {"an unterminated last name is dropped", {pass("a.avi# b.avi# c.avi", 0)}, {"a.avi", "b.avi"}},
        {"two blanks give an empty name", {pass("a.avi#  b.avi# ", -1)}, {"a.avi", "", "b.avi"}},
        {"passes in order", {pass("1# 2# ", 3), pass("3# ", 1), pass("4# 5#", 0)}, {"1", "2", "3", "4"}},
        {"a failed later pass keeps the earlier names", {pass("a# ", 1), Reply::status_(500)}, {"a"}},
        {"a pass without the count ends it", {pass("a# ", 1), Reply::ok({"QueryRecordFileList: b# "})}, {"a"}},
        {"nothing but an unterminated name", {pass("only.avi", 0)}, {}},
        {"a failed first pass", {Reply::status_(400)}, {}},
        {"a first pass without the count", {Reply::ok({"QueryRecordFileList: a# "})}, {}},
        {"a first pass without the list", {Reply::ok({"QueryRemainFileCount: 0"})}, {}},
        {"an overlong name stays inside its entry", {pass(longName + " next ", 0)},
         {longName.substr(0, KOVO_FILE_LIST_ENTRY_SIZE - 1), "next"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        LoggedInCamera cam;
        for (const Reply& p : c.passes) cam.cam.queue("GET_PARAMETER", p);
        int count = -7;
        char** list = nullptr;
        EXPECT_EQ(Kovo_QueryFileList(cam.id, &count, &list), 0);
        EXPECT_EQ(cam.cam.requestCount(), c.passes.size());
        for (const Request& r : cam.cam.requests())
            EXPECT_EQ(paramLines(r), (std::vector<std::string>{kContentType, "QueryRecordFileList", "QueryRemainFileCount"}));
        std::vector<std::string> names;
        for (int i = 0; list && i < count; ++i) names.emplace_back(reinterpret_cast<char*>(list) + i * KOVO_FILE_LIST_ENTRY_SIZE);
        EXPECT_EQ(names, c.expected);
        if (c.expected.empty()) EXPECT_EQ(count, -7);
        Kovo_FreeFileList(list);
    }
    LoggedInCamera cam;
    cam.cam.queue("GET_PARAMETER", pass("a# ", 0));
    EXPECT_EQ(Kovo_QueryFileList(cam.id, nullptr, nullptr), 0);
    EXPECT_EQ(Kovo_QueryFileList(0, nullptr, nullptr), -1);
    EXPECT_EQ(Kovo_QueryFileList(kUnknownId, nullptr, nullptr), -3);
}

TEST(ParamFiles, QueryFileListStopsACameraThatNeverRunsOut) {
    LoggedInCamera cam;
    std::string names;  // 512 names per pass, always "one more to come"
    for (int i = 0; i < 512; ++i) names += "f" + std::to_string(i % 10) + ".avi# ";
    cam.cam.onMethod("GET_PARAMETER", Reply::ok({"QueryRecordFileList: " + names, "QueryRemainFileCount: 1"}));
    int count = 0;
    char** list = nullptr;
    EXPECT_EQ(Kovo_QueryFileList(cam.id, &count, &list), 0);
    EXPECT_EQ(count, 100000);
    EXPECT_EQ(cam.cam.requestCount(), 196u);  // ceil(100000 / 512)
    ASSERT_NE(list, nullptr);
    EXPECT_STREQ(reinterpret_cast<char*>(list) + 99999 * KOVO_FILE_LIST_ENTRY_SIZE, "f9.avi");
    Kovo_FreeFileList(list);
}

}  // namespace
