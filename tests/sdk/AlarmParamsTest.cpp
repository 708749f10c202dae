// Alarms and motion detection against the fake camera: the time checks, the
// event-link block under its three prefixes, the per-family switch rules,
// the range checks and where the device lookup falls between them.
#include <algorithm>
#include <string>
#include <vector>

#include "ParamTestSupport.h"

using namespace kovo::test;

namespace {

TEST(AlarmParams, CheckTime) {
    const struct {
        const char* text;
        int valid;
    } cases[] = {
        {"23:59:59", 1}, {"00:00:00", 1}, {"24:00:00", 0}, {"12:75:00", 1}, {"12:30:60", 0},
        {"1:30:00", 0},  {"12-30:00", 1}, {"12:30-00", 1}, {"12-30-00", 0}, {"12:30:000", 0},
        {"-1:30:00", 0}, {"", 0},
    };
    for (const auto& c : cases) {
        std::string text = c.text;
        EXPECT_EQ(CheckTime(text.data()), c.valid) << c.text;
    }
    EXPECT_EQ(CheckTime(nullptr), 0);
}

TEST(AlarmParams, CheckTimeRange) {
    const struct {
        const char* begin;
        const char* end;
        int valid;
    } cases[] = {
        {"08:00:00", "08:00:00", 1}, {"08:00:00", "18:00:00", 1}, {"18:00:00", "08:00:00", 0},
        {"08:00:00", "24:00:00", 0}, {"", "", 0},
    };
    for (const auto& c : cases) {
        std::string begin = c.begin, end = c.end;
        EXPECT_EQ(CheckTimeRange(begin.data(), end.data()), c.valid) << c.begin << " " << c.end;
    }
    char time[] = "08:00:00";
    EXPECT_EQ(CheckTimeRange(nullptr, time), 0);
    EXPECT_EQ(CheckTimeRange(time, nullptr), 0);
}

TEST(AlarmParams, CheckTimeReadsAnUnterminatedFieldOnlyWithinItsBounds) {
    char field[9];
    std::memcpy(field, "08:00:001", 9);
    EXPECT_EQ(CheckTime(field), 0);
}

// The 16 ints of the event-link block, which all three records lay out alike
// from nLinkOutputEnable on.
template <typename Record>
int* linkBlock(Record& r) {
    return &r.nLinkOutputEnable;
}

// A valid event-link block: every range at an accepted value.
template <typename Record>
Record withValidLink() {
    Record r{};
    const int valid[16] = {1, 2, 86400, 0, 1, 3, 60, 5, 0, 1, 0, 5, 1, 100, 1, 0};
    std::copy(valid, valid + 16, linkBlock(r));
    return r;
}

const char* const kLinkSuffixes[] = {
    "OutputEnable",          "OutputMode",           "OutputKeepTime",          "OutputEmailEnable",
    "LocalRecordEnable",     "LocalRecordStreamNumber", "LocalRecordFramerate", "LocalRecordKeepTime",
    "LocalRecordFtpEnable",  "LocalRecordEmailEnable", "LocalSnapEnable",       "LocalSnapJpegQuantity",
    "LocalSnapIntervalTime", "LocalSnapJpegQuality", "LocalSnapFtpEnable",      "LocalSnapEmailEnable",
};

// The block lines of withValidLink() under a family prefix.
std::vector<std::string> validLinkLines(const std::string& prefix) {
    const char* const values[] = {"ON", "N.C", "86400", "OFF", "ON", "3", "60", "5",
                                  "OFF", "ON", "OFF", "5", "1", "100", "ON", "OFF"};
    std::vector<std::string> lines;
    for (int i = 0; i < 16; ++i) lines.push_back(prefix + "Link" + kLinkSuffixes[i] + ": " + values[i]);
    return lines;
}

std::vector<std::string> linkKeys(const std::string& prefix) {
    std::vector<std::string> keys;
    for (const char* suffix : kLinkSuffixes) keys.push_back(prefix + "Link" + suffix);
    return keys;
}

std::vector<std::string> concat(std::vector<std::string> head, const std::vector<std::string>& tail) {
    head.insert(head.end(), tail.begin(), tail.end());
    return head;
}

MD_LINK_CONFIG motionLink() {
    MD_LINK_CONFIG m = withValidLink<MD_LINK_CONFIG>();
    m.nEnable = 1;
    fill(m.szScheduleStartTime, "not a time");  // sent unchecked
    fill(m.szScheduleEndTime, "18:00:00");
    return m;
}

ALARM_CONFIG alarmLink() {
    ALARM_CONFIG a = withValidLink<ALARM_CONFIG>();
    a.nEnable = 0;
    a.nMode = 0;
    fill(a.szStartTime, "08:00:00");
    fill(a.szEndTime, "08:00:00");
    fill(a.szStartTime2, "20:00:00");
    fill(a.szEndTime2, "23:30:00");
    return a;
}

MD_CONFIG motionArea() {
    MD_CONFIG md{};
    md.nEnable = 1;
    md.nSensitivity = 80;
    md.nAreaX = 10;
    md.nAreaY = 20;
    md.nAreaWidth = 1920;
    md.nAreaHeight = 1080;
    return md;
}

ALARM_SERVICE_CONFIG alarmService() {
    ALARM_SERVICE_CONFIG s{};
    s.nAlarmService = 1;
    fill(s.szIPAddr, "10.0.0.9");
    s.nPort = 0;
    s.nKeepaliveTimer = 65535;
    return s;
}

TEST(AlarmParams, SetLines) {
    runSetLinesCases({
        {"motion area: number as a value",
         [](long id) { MD_CONFIG md = motionArea(); return Kovo_SetMDConfig(id, -1, 4, &md); },
         {"MotionDetectAreaNumber: 4", "MotionDetectSensitivity: 80", "MotionDetectArea: 10, 20, 1920, 1080",
          "MotionDetectAreaEnable: ON"}},
        {"motion link: schedules unchecked, then the block",
         [](long id) { MD_LINK_CONFIG m = motionLink(); return Kovo_SetMDLinkConfig(id, 0, &m); },
         concat({"MotionDetectEnable: ON", "MotionDetectScheduleStartTime: not a time",
                 "MotionDetectScheduleEndTime: 18:00:00", "MotionDetectScheduleStartTime2: ",
                 "MotionDetectScheduleEndTime2: "},
                validLinkLines("MotionDetect"))},
        {"alarm link: equal times are a valid range",
         [](long id) { ALARM_CONFIG a = alarmLink(); return Kovo_SetAlarmConfig(id, &a); },
         concat({"AlarmInputEnable: OFF", "AlarmInputMode: N.O", "AlarmScheduleStartTime: 08:00:00",
                 "AlarmScheduleEndTime: 08:00:00", "AlarmScheduleStartTime2: 20:00:00",
                 "AlarmScheduleEndTime2: 23:30:00"},
                validLinkLines("Alarm"))},
        {"network loss link",
         [](long id) {
             NET_DOWN_PARAM n = withValidLink<NET_DOWN_PARAM>();
             n.nEnable = 1;
             return Kovo_SetNetDownConfig(id, &n);
         },
         concat({"NetworkDownEnable: ON"}, validLinkLines("NetworkDown"))},
        {"alarm input contact",
         [](long id) { ALARMIN_CONFIG c{1}; return Kovo_SetAlarmInConfig(id, 4, &c); },
         {"AlarmInputPort: 4", "AlarmInputMode: N.C"}},
        {"alarm output contact",
         [](long id) { ALARMOUT_CONFIG c{0}; return Kovo_SetAlarmOutConfig(id, 2, &c); },
         {"AlarmOutputPort: 2", "AlarmOutputMode: N.O"}},
        {"alarm service on",
         [](long id) { ALARM_SERVICE_CONFIG s = alarmService(); return Kovo_SetAlarmServiceConfig(id, &s); },
         {"AlarmService: ON", "AlarmServerIPAddr: 10.0.0.9", "AlarmServerPort: 0", "AlarmKeepaliveTimer: 65535"}},
        {"alarm service off: nothing checked",
         [](long id) {
             ALARM_SERVICE_CONFIG s{};
             s.nPort = -5;
             return Kovo_SetAlarmServiceConfig(id, &s);
         },
         {"AlarmService: OFF", "AlarmServerIPAddr: ", "AlarmServerPort: -5", "AlarmKeepaliveTimer: 0"}},
    });
}

// Answers for every key of a link family, each switch answered "on" (lower case).
std::vector<std::string> lowerCaseLinkAnswers(const std::string& prefix) {
    std::vector<std::string> reply;
    const char* const values[] = {"on", "N.C ", "30", "ON", "on", "2", "25", "60",
                                  "ON", "OFF", "ON", "3", "600", "75", "on", "ON"};
    for (int i = 0; i < 16; ++i) reply.push_back(prefix + "Link" + kLinkSuffixes[i] + ": " + values[i]);
    return reply;
}

// The block as lowerCaseLinkAnswers reads; outputEnable depends on the family.
template <typename Record>
void expectLowerCaseLink(Record& r, int outputEnable) {
    const int* block = linkBlock(r);
    EXPECT_EQ(std::vector<int>(block, block + 16),
              (std::vector<int>{outputEnable, 1, 30, 1, 0, 2, 25, 60, 1, 0, 1, 3, 600, 75, 0, 1}));
}

const std::vector<std::string> kMotionHeadKeys = {"MotionDetectEnable", "MotionDetectScheduleStartTime",
                                                  "MotionDetectScheduleEndTime", "MotionDetectScheduleStartTime2",
                                                  "MotionDetectScheduleEndTime2"};
const std::vector<std::string> kAlarmHeadKeys = {"AlarmInputEnable",       "AlarmInputMode",
                                                 "AlarmScheduleStartTime", "AlarmScheduleEndTime",
                                                 "AlarmScheduleStartTime2", "AlarmScheduleEndTime2"};

TEST(AlarmParams, GetConversions) {
    const std::string k40(40, 't');
    runGetCases({
        {"motion area: four blank-separated numbers",
         {"MotionDetectAreaNumber_2", "MotionDetectSensitivity", "MotionDetectArea", "MotionDetectAreaEnable"},
         {"MotionDetectSensitivity: 55", "MotionDetectArea: 0, 0, 640, 480", "MotionDetectAreaEnable: ON"},
         [](long id) {
             MD_CONFIG md = motionArea();
             ASSERT_EQ(Kovo_GetMDConfig(id, 0, 2, &md), 0);
             EXPECT_EQ(joined(md.nEnable, md.nSensitivity, md.nAreaX, md.nAreaY, md.nAreaWidth, md.nAreaHeight),
                       "1|55|0|0|640|480|");
         }},
        {"motion area: without blanks one element, the area kept; enable by the ON rule",
         {"MotionDetectAreaNumber_1", "MotionDetectSensitivity", "MotionDetectArea", "MotionDetectAreaEnable"},
         {"MotionDetectArea: 0,0,640,480", "MotionDetectAreaEnable: on"},
         [](long id) {
             MD_CONFIG md = motionArea();
             ASSERT_EQ(Kovo_GetMDConfig(id, -1, 1, &md), 0);
             EXPECT_EQ(joined(md.nEnable, md.nSensitivity, md.nAreaX, md.nAreaWidth), "0|80|10|1920|");
         }},
        {"motion link: enable and output enable by the ON rule",
         concat(kMotionHeadKeys, linkKeys("MotionDetect")),
         concat({"MotionDetectEnable: on", "MotionDetectScheduleStartTime: " + k40,
                 "MotionDetectScheduleEndTime2: 23:00:00"},
                lowerCaseLinkAnswers("MotionDetect")),
         [k40](long id) {
             MD_LINK_CONFIG m{};
             m.nEnable = 1;
             fill(m.szScheduleEndTime, "kept");
             ASSERT_EQ(Kovo_GetMDLinkConfig(id, -1, &m), 0);
             EXPECT_EQ(joined(m.nEnable, textOf(m.szScheduleStartTime), textOf(m.szScheduleEndTime),
                              textOf(m.szScheduleEndTime2)),
                       "0|" + k40.substr(0, 32) + "|kept|23:00:00|");
             expectLowerCaseLink(m, 0);
         }},
        {"alarm link: enable and output enable by the OFF rule",
         concat(kAlarmHeadKeys, linkKeys("Alarm")),
         concat({"AlarmInputEnable: on", "AlarmInputMode: N.O", "AlarmScheduleStartTime: 07:00:00"},
                lowerCaseLinkAnswers("Alarm")),
         [](long id) {
             ALARM_CONFIG a{};
             a.nMode = 1;
             ASSERT_EQ(Kovo_GetAlarmConfig(id, &a), 0);
             EXPECT_EQ(joined(a.nEnable, a.nMode, textOf(a.szStartTime)), "1|0|07:00:00|");
             expectLowerCaseLink(a, 1);
         }},
        {"network loss link: exact OFF reads 0",
         concat({"NetworkDownEnable"}, linkKeys("NetworkDown")),
         {"NetworkDownEnable: OFF", "NetworkDownLinkOutputEnable: OFF"},
         [](long id) {
             NET_DOWN_PARAM n = withValidLink<NET_DOWN_PARAM>();
             n.nEnable = 1;
             ASSERT_EQ(Kovo_GetNetDownConfig(id, &n), 0);
             EXPECT_EQ(joined(n.nEnable, n.nLinkOutputEnable, n.nLinkOutputKeepTime), "0|0|86400|");  // time kept
         }},
        {"network loss link: anything but OFF reads 1",
         concat({"NetworkDownEnable"}, linkKeys("NetworkDown")), lowerCaseLinkAnswers("NetworkDown"),
         [](long id) {
             NET_DOWN_PARAM n{};
             ASSERT_EQ(Kovo_GetNetDownConfig(id, &n), 0);
             expectLowerCaseLink(n, 1);
         }},
        {"alarm input: the port inside the first key",
         {"AlarmInputPort_3", "AlarmInputMode"}, {"AlarmInputMode: N.C"},
         [](long id) {
             ALARMIN_CONFIG c{0};
             ASSERT_EQ(Kovo_GetAlarmInConfig(id, 3, &c), 0);
             EXPECT_EQ(c.nInputMode, 1);
         }},
        {"alarm output: exactly N.O reads 0",
         {"AlarmOutputPort_1", "AlarmOutputMode"}, {"AlarmOutputMode: N.O"},
         [](long id) {
             ALARMOUT_CONFIG c{1};
             ASSERT_EQ(Kovo_GetAlarmOutConfig(id, 1, &c), 0);
             EXPECT_EQ(c.nMode, 0);
         }},
        {"alarm service: on unless exactly OFF",
         {"AlarmService", "AlarmServerIPAddr", "AlarmServerPort", "AlarmKeepaliveTimer"},
         {"AlarmService: yes", "AlarmServerIPAddr: 1.1.1.1", "AlarmServerPort: 7000", "AlarmKeepaliveTimer: 30"},
         [](long id) {
             ALARM_SERVICE_CONFIG s{};
             ASSERT_EQ(Kovo_GetAlarmServiceConfig(id, &s), 0);
             EXPECT_EQ(joined(s.nAlarmService, textOf(s.szIPAddr), s.nPort, s.nKeepaliveTimer), "1|1.1.1.1|7000|30|");
         }},
    });
}

// One out-of-range block value per row, and the text each family reports.
struct LinkRangeRow {
    const char* field;
    void (*spoil)(int* block);
    const char* text;
};

// Block fields by position, so that one spoiler serves all three records.
constexpr int kKeepTime = 2, kStream = 5, kRate = 6, kRecordKeep = 7, kQuantity = 11, kInterval = 12,
              kQuality = 13;

const LinkRangeRow kLinkRanges[] = {
    {"keep time 0", [](int* b) { b[kKeepTime] = 0; }, "invalid output keep time"},
    {"keep time 86401", [](int* b) { b[kKeepTime] = 86401; }, "invalid output keep time"},
    {"stream 4", [](int* b) { b[kStream] = 4; }, "invalid stream number"},
    {"frame rate 29", [](int* b) { b[kRate] = 29; }, "invalid frame rate"},
    {"record keep 4", [](int* b) { b[kRecordKeep] = 4; }, "invalid record keep time"},
    {"record keep 301", [](int* b) { b[kRecordKeep] = 301; }, "invalid record keep time"},
    {"snap quantity 6", [](int* b) { b[kQuantity] = 6; }, "invalid record keep time"},
    {"snap interval 6001", [](int* b) { b[kInterval] = 6001; }, "invalid snap interval"},
    {"snap quality 0", [](int* b) { b[kQuality] = 0; }, "invalid snap quality"},
    {"first failure wins", [](int* b) { b[kRate] = 1; b[kQuality] = 0; }, "invalid frame rate"},
};

TEST(AlarmParams, LinkRangesInEveryFamily) {
    LoggedInCamera cam;
    ASSERT_GT(cam.id, 0);
    for (const LinkRangeRow& row : kLinkRanges) {
        MD_LINK_CONFIG m = motionLink();
        ALARM_CONFIG a = alarmLink();
        NET_DOWN_PARAM n = withValidLink<NET_DOWN_PARAM>();
        const std::pair<const char*, std::function<long()>> families[] = {
            {"SetMDLinkConfig", [&] { row.spoil(linkBlock(m)); return Kovo_SetMDLinkConfig(cam.id, 0, &m); }},
            {"SetAlarmConfig", [&] { row.spoil(linkBlock(a)); return Kovo_SetAlarmConfig(cam.id, &a); }},
            {"SetNetDownConfig", [&] { row.spoil(linkBlock(n)); return Kovo_SetNetDownConfig(cam.id, &n); }},
        };
        for (const auto& [name, call] : families) {
            SCOPED_TRACE(std::string(name) + " " + row.field);
            StdoutCapture out;
            EXPECT_EQ(call(), -1);
            EXPECT_TRUE(isTrace(out.text(), std::string(name) + "[%d] " + row.text + ".\n"));
        }
        EXPECT_EQ(cam.cam.requestCount(), 0u);
    }
}

TEST(AlarmParams, Rejections) {
    auto mdLink = [](long id, int channel, void (*edit)(MD_LINK_CONFIG&)) {
        MD_LINK_CONFIG m = motionLink();
        edit(m);
        return Kovo_SetMDLinkConfig(id, channel, &m);
    };
    auto alarm = [](long id, void (*edit)(ALARM_CONFIG&)) {
        ALARM_CONFIG a = alarmLink();
        edit(a);
        return Kovo_SetAlarmConfig(id, &a);
    };
    auto netDown = [](long id, void (*edit)(NET_DOWN_PARAM&)) {
        NET_DOWN_PARAM n = withValidLink<NET_DOWN_PARAM>();
        edit(n);
        return Kovo_SetNetDownConfig(id, &n);
    };
    auto md = [](long id, int area, void (*edit)(MD_CONFIG&)) {
        MD_CONFIG m = motionArea();
        edit(m);
        return Kovo_SetMDConfig(id, 0, area, &m);
    };
    auto service = [](long id, void (*edit)(ALARM_SERVICE_CONFIG&)) {
        ALARM_SERVICE_CONFIG s = alarmService();
        edit(s);
        return Kovo_SetAlarmServiceConfig(id, &s);
    };
    runRejectCases({
        {"motion link: device looked up before the ranges",
         [&](long) { return mdLink(kUnknownId, 0, [](MD_LINK_CONFIG& m) { m.nLinkOutputKeepTime = 0; }); }, -3,
         "SetMDLinkConfig[%d] device null.\n"},
        {"network loss link: ranges checked before the lookup",
         [&](long) { return netDown(kUnknownId, [](NET_DOWN_PARAM& n) { n.nLinkOutputKeepTime = 0; }); }, -1,
         "SetNetDownConfig[%d] invalid output keep time.\n"},
        {"alarm link: ranges checked before the lookup",
         [&](long) { return alarm(kUnknownId, [](ALARM_CONFIG& a) { a.nLinkLocalSnapJpegQuantity = 0; }); }, -1,
         "SetAlarmConfig[%d] invalid record keep time.\n"},
        {"motion link channel -2", [&](long id) { return mdLink(id, -2, [](MD_LINK_CONFIG&) {}); }, -1,
         "SetMDLinkConfig[%d] input invalid.\n"},
        {"alarm time 1 reversed", [&](long id) { return alarm(id, [](ALARM_CONFIG& a) { fill(a.szStartTime, "18:00:00"); }); },
         -1, "SetAlarmConfig[%d] invalid time 1 range.\n"},
        {"alarm time 2 empty",
         [&](long id) { return alarm(id, [](ALARM_CONFIG& a) { a.szStartTime2[0] = a.szEndTime2[0] = 0; }); }, -1,
         "SetAlarmConfig[%d] invalid time 2 range.\n"},
        {"alarm null", [](long id) { return Kovo_SetAlarmConfig(id, nullptr); }, -1,
         "SetAlarmConfig[%d] invalid input.\n"},
        {"motion area 5", [&](long id) { return md(id, 5, [](MD_CONFIG&) {}); }, -1, "SetMDConfig[%d] input invalid.\n"},
        {"motion sensitivity 0, before the lookup",
         [&](long) { return md(kUnknownId, 1, [](MD_CONFIG& m) { m.nSensitivity = 0; }); }, -1,
         "SetMDConfig[%d] invalid sensitivity.\n"},
        {"motion area height 1081", [&](long id) { return md(id, 1, [](MD_CONFIG& m) { m.nAreaHeight = 1081; }); }, -1,
         "SetMDConfig[%d] invalid area.\n"},
        {"motion area x -1", [&](long id) { return md(id, 1, [](MD_CONFIG& m) { m.nAreaX = -1; }); }, -1,
         "SetMDConfig[%d] invalid area.\n"},
        {"get motion area 0", [](long id) { MD_CONFIG m{}; return Kovo_GetMDConfig(id, 0, 0, &m); }, -1,
         "GetMDConfig[%d] input invalid.\n"},
        {"get motion link channel -2", [](long id) { MD_LINK_CONFIG m{}; return Kovo_GetMDLinkConfig(id, -2, &m); },
         -1, "GetMDLinkConfig[%d] input invalid.\n"},
        {"alarm input 5", [](long id) { ALARMIN_CONFIG c{0}; return Kovo_SetAlarmInConfig(id, 5, &c); }, -1,
         "SetAlarmInConfig[%d] input invalid.\n"},
        {"alarm input mode 2", [](long id) { ALARMIN_CONFIG c{2}; return Kovo_SetAlarmInConfig(id, 1, &c); }, -1,
         "SetAlarmInConfig[%d] input mode invalid.\n"},
        {"alarm input mode checked after the lookup",
         [](long) { ALARMIN_CONFIG c{2}; return Kovo_SetAlarmInConfig(kUnknownId, 1, &c); }, -3,
         "SetAlarmInConfig[%d] device null.\n"},
        {"alarm output port 3", [](long id) { ALARMOUT_CONFIG c{0}; return Kovo_SetAlarmOutConfig(id, 3, &c); }, -1,
         "SetAlarmOutConfig[%d] input invalid.\n"},
        {"alarm output mode -1", [](long id) { ALARMOUT_CONFIG c{-1}; return Kovo_SetAlarmOutConfig(id, 2, &c); }, -1,
         "SetAlarmOutConfig[%d] output mode invalid.\n"},
        {"get alarm input 0", [](long id) { ALARMIN_CONFIG c{}; return Kovo_GetAlarmInConfig(id, 0, &c); }, -1,
         "GetAlarmInConfig[%d] invalid input.\n"},
        {"service on without address", [&](long id) { return service(id, [](ALARM_SERVICE_CONFIG& s) { s.szIPAddr[0] = 0; }); },
         -1, "SetAlarmServiceConfig[%d] invalid input.\n"},
        {"service on, keepalive 0", [&](long id) { return service(id, [](ALARM_SERVICE_CONFIG& s) { s.nKeepaliveTimer = 0; }); },
         -1, "SetAlarmServiceConfig[%d] invalid input.\n"},
    });
}

TEST(AlarmParams, SharedOutcomes) {
    runExportCases({
        setCase("SetMDConfig", [](long id) { MD_CONFIG md = motionArea(); return Kovo_SetMDConfig(id, 0, 1, &md); },
                "SetMDConfig [%d] set net config failed.\n", "SetMDConfig Successfully\n", "input invalid"),
        getCase<MD_CONFIG>("GetMDConfig", [](long id, MD_CONFIG* md) { return Kovo_GetMDConfig(id, 0, 1, md); },
                           "GetMDConfig[%d] get md config failed.\n", "GetMDConfig Successfully\n", "input invalid"),
        setCase("SetMDLinkConfig", [](long id) { MD_LINK_CONFIG m = motionLink(); return Kovo_SetMDLinkConfig(id, 0, &m); },
                "SetMDLinkConfig[%d] get md config failed.\n", "SetMDLinkConfig Successfully\n", "input invalid"),
        getCase<MD_LINK_CONFIG>("GetMDLinkConfig", [](long id, MD_LINK_CONFIG* m) { return Kovo_GetMDLinkConfig(id, 0, m); },
                                "GetMDLinkConfig[%d] get md config failed.\n", "GetMDLinkConfig Successfully\n",
                                "input invalid"),
        setCase("SetAlarmConfig", [](long id) { ALARM_CONFIG a = alarmLink(); return Kovo_SetAlarmConfig(id, &a); },
                "SetAlarmConfig[%d] get alarm config failed.\n", "SetAlarmConfig get alarm config success.\n"),
        getCase<ALARM_CONFIG>("GetAlarmConfig", Kovo_GetAlarmConfig, "GetAlarmConfig[%d] get alarm config failed.\n",
                              "GetAlarmConfig get alarm config success.\n"),
        setCase("SetNetDownConfig",
                [](long id) { NET_DOWN_PARAM n = withValidLink<NET_DOWN_PARAM>(); return Kovo_SetNetDownConfig(id, &n); },
                "SetNetDownConfig failed.\n", "SetNetDownConfig Successfully\n"),
        getCase<NET_DOWN_PARAM>("GetNetDownConfig", Kovo_GetNetDownConfig, "GetNetDownConfig failed.\n",
                                "GetNetDownConfig Successfully\n"),
        setCase("SetAlarmInConfig", [](long id) { ALARMIN_CONFIG c{1}; return Kovo_SetAlarmInConfig(id, 1, &c); },
                "SetAlarmInConfig [%d] set alarm input config failed.\n",
                "SetAlarmInConfig set alarm input config success.\n", "input invalid"),
        getCase<ALARMIN_CONFIG>("GetAlarmInConfig", [](long id, ALARMIN_CONFIG* c) { return Kovo_GetAlarmInConfig(id, 1, c); },
                                "GetAlarmInConfig[%d] get alarm input config failed.\n",
                                "GetAlarmInConfig get alarm input config success.\n"),
        setCase("SetAlarmOutConfig", [](long id) { ALARMOUT_CONFIG c{1}; return Kovo_SetAlarmOutConfig(id, 1, &c); },
                "SetAlarmOutConfig [%d] set alarm output config failed.\n",
                "SetAlarmOutConfig set alarm output config success.\n", "input invalid"),
        getCase<ALARMOUT_CONFIG>("GetAlarmOutConfig",
                                 [](long id, ALARMOUT_CONFIG* c) { return Kovo_GetAlarmOutConfig(id, 2, c); },
                                 "GetAlarmOutConfig[%d] get alarm output config failed.\n",
                                 "GetAlarmOutConfig get alarm output config success.\n"),
        setCase("SetAlarmServiceConfig",
                [](long id) { ALARM_SERVICE_CONFIG s = alarmService(); return Kovo_SetAlarmServiceConfig(id, &s); },
                "SetAlarmServiceConfig failed.\n", "SetAlarmServiceConfig Successfully\n"),
        getCase<ALARM_SERVICE_CONFIG>("GetAlarmServiceConfig", Kovo_GetAlarmServiceConfig,
                                      "GetAlarmServiceConfig failed.\n", "GetAlarmServiceConfig Successfully\n"),
    });
}

TEST(AlarmParams, FailedLinkGetLeavesRecordUntouched) {
    LoggedInCamera cam;
    ASSERT_GT(cam.id, 0);
    cam.cam.onMethod("GET_PARAMETER", statusWithLines(201, lowerCaseLinkAnswers("Alarm")));
    ALARM_CONFIG a = alarmLink();
    const ALARM_CONFIG before = a;
    EXPECT_EQ(Kovo_GetAlarmConfig(cam.id, &a), -2);
    EXPECT_EQ(std::memcmp(&a, &before, sizeof a), 0);
}

}  // namespace
