// Alarms and motion detection against the fake camera: the time checks, the
// event-link block under its three prefixes, the per-family switch rules,
// the range checks and where the device lookup falls between them.
#include <string>
#include <vector>

#include "ParamsCases.h"

using namespace kovo::test;

namespace {

// ---- Time strings ----------------------------------------------------------

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
    std::memcpy(field, "08:00:001", 9);  // nine characters, no terminator
    EXPECT_EQ(CheckTime(field), 0);
}

// ---- Records ---------------------------------------------------------------

// A valid event-link block: every range at an accepted value.
template <typename Record>
Record withValidLink() {
    Record r{};
    r.nLinkOutputEnable = 1;
    r.nLinkOutputMode = 2;
    r.nLinkOutputKeepTime = 86400;
    r.nLinkOutputEmailEnable = 0;
    r.nLinkLocalRecordEnable = 1;
    r.nLinkLocalRecordStreamNumber = 3;
    r.nLinkLocalRecordFramerate = 60;
    r.nLinkLocalRecordKeepTime = 5;
    r.nLinkLocalRecordFtpEnable = 0;
    r.nLinkLocalRecordEmailEnable = 1;
    r.nLinkLocalSnapEnable = 0;
    r.nLinkLocalSnapJpegQuantity = 5;
    r.nLinkLocalSnapIntervalTime = 1;
    r.nLinkLocalSnapJpegQuality = 100;
    r.nLinkLocalSnapFtpEnable = 1;
    r.nLinkLocalSnapEmailEnable = 0;
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
void expectLowerCaseLink(const Record& r, int outputEnable) {
    EXPECT_EQ(r.nLinkOutputEnable, outputEnable);
    EXPECT_EQ(r.nLinkOutputMode, 1);
    EXPECT_EQ(r.nLinkOutputKeepTime, 30);
    EXPECT_EQ(r.nLinkOutputEmailEnable, 1);
    EXPECT_EQ(r.nLinkLocalRecordEnable, 0);
    EXPECT_EQ(r.nLinkLocalRecordStreamNumber, 2);
    EXPECT_EQ(r.nLinkLocalRecordFramerate, 25);
    EXPECT_EQ(r.nLinkLocalRecordKeepTime, 60);
    EXPECT_EQ(r.nLinkLocalRecordFtpEnable, 1);
    EXPECT_EQ(r.nLinkLocalRecordEmailEnable, 0);
    EXPECT_EQ(r.nLinkLocalSnapEnable, 1);
    EXPECT_EQ(r.nLinkLocalSnapJpegQuantity, 3);
    EXPECT_EQ(r.nLinkLocalSnapIntervalTime, 600);
    EXPECT_EQ(r.nLinkLocalSnapJpegQuality, 75);
    EXPECT_EQ(r.nLinkLocalSnapFtpEnable, 0);
    EXPECT_EQ(r.nLinkLocalSnapEmailEnable, 1);
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
             EXPECT_EQ(md.nEnable, 1);
             EXPECT_EQ(md.nSensitivity, 55);
             EXPECT_EQ(md.nAreaX, 0);
             EXPECT_EQ(md.nAreaY, 0);
             EXPECT_EQ(md.nAreaWidth, 640);
             EXPECT_EQ(md.nAreaHeight, 480);
         }},
        {"motion area: without blanks one element, the area kept; enable by the ON rule",
         {"MotionDetectAreaNumber_1", "MotionDetectSensitivity", "MotionDetectArea", "MotionDetectAreaEnable"},
         {"MotionDetectArea: 0,0,640,480", "MotionDetectAreaEnable: on"},
         [](long id) {
             MD_CONFIG md = motionArea();
             ASSERT_EQ(Kovo_GetMDConfig(id, -1, 1, &md), 0);
             EXPECT_EQ(md.nEnable, 0);
             EXPECT_EQ(md.nSensitivity, 80);
             EXPECT_EQ(md.nAreaX, 10);
             EXPECT_EQ(md.nAreaWidth, 1920);
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
             EXPECT_EQ(m.nEnable, 0);
             EXPECT_EQ(std::string(m.szScheduleStartTime, 32), k40.substr(0, 32));
             EXPECT_EQ(textOf(m.szScheduleEndTime), "kept");
             EXPECT_EQ(textOf(m.szScheduleEndTime2), "23:00:00");
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
             EXPECT_EQ(a.nEnable, 1);
             EXPECT_EQ(a.nMode, 0);
             EXPECT_EQ(textOf(a.szStartTime), "07:00:00");
             expectLowerCaseLink(a, 1);
         }},
        {"network loss link: exact OFF reads 0",
         concat({"NetworkDownEnable"}, linkKeys("NetworkDown")),
         concat({"NetworkDownEnable: OFF", "NetworkDownLinkOutputEnable: OFF"}, {}),
         [](long id) {
             NET_DOWN_PARAM n = withValidLink<NET_DOWN_PARAM>();
             n.nEnable = 1;
             ASSERT_EQ(Kovo_GetNetDownConfig(id, &n), 0);
             EXPECT_EQ(n.nEnable, 0);
             EXPECT_EQ(n.nLinkOutputEnable, 0);
             EXPECT_EQ(n.nLinkOutputKeepTime, 86400);  // not answered: kept
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
             EXPECT_EQ(s.nAlarmService, 1);
             EXPECT_EQ(textOf(s.szIPAddr), "1.1.1.1");
             EXPECT_EQ(s.nPort, 7000);
             EXPECT_EQ(s.nKeepaliveTimer, 30);
         }},
    });
}

// One out-of-range block value per row, and the text each family reports.
struct LinkRangeRow {
    const char* field;
    void (*spoil)(int* block);  // block points at nLinkOutputEnable
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
        SCOPED_TRACE(row.field);
        const std::string text = std::string("[%d] ") + row.text + ".\n";
        MD_LINK_CONFIG m = motionLink();
        row.spoil(&m.nLinkOutputEnable);
        ALARM_CONFIG a = alarmLink();
        row.spoil(&a.nLinkOutputEnable);
        NET_DOWN_PARAM n = withValidLink<NET_DOWN_PARAM>();
        row.spoil(&n.nLinkOutputEnable);
        cam.cam.clearRequests();
        {
            StdoutCapture out;
            EXPECT_EQ(Kovo_SetMDLinkConfig(cam.id, 0, &m), -1);
            EXPECT_TRUE(isTrace(out.text(), "SetMDLinkConfig" + text));
        }
        {
            StdoutCapture out;
            EXPECT_EQ(Kovo_SetAlarmConfig(cam.id, &a), -1);
            EXPECT_TRUE(isTrace(out.text(), "SetAlarmConfig" + text));
        }
        {
            StdoutCapture out;
            EXPECT_EQ(Kovo_SetNetDownConfig(cam.id, &n), -1);
            EXPECT_TRUE(isTrace(out.text(), "SetNetDownConfig" + text));
        }
        EXPECT_EQ(cam.cam.requestCount(), 0u);
    }
}

TEST(AlarmParams, Rejections) {
    runRejectCases({
        {"motion link: device looked up before the ranges",
         [](long) {
             MD_LINK_CONFIG m = motionLink();
             m.nLinkOutputKeepTime = 0;
             return Kovo_SetMDLinkConfig(kUnknownId, 0, &m);
         },
         -3, "SetMDLinkConfig[%d] device null.\n"},
        {"network loss link: ranges checked before the lookup",
         [](long) {
             NET_DOWN_PARAM n = withValidLink<NET_DOWN_PARAM>();
             n.nLinkOutputKeepTime = 0;
             return Kovo_SetNetDownConfig(kUnknownId, &n);
         },
         -1, "SetNetDownConfig[%d] invalid output keep time.\n"},
        {"alarm link: ranges checked before the lookup",
         [](long) {
             ALARM_CONFIG a = alarmLink();
             a.nLinkLocalSnapJpegQuantity = 0;
             return Kovo_SetAlarmConfig(kUnknownId, &a);
         },
         -1, "SetAlarmConfig[%d] invalid record keep time.\n"},
        {"network loss valid, unknown device",
         [](long) { NET_DOWN_PARAM n = withValidLink<NET_DOWN_PARAM>(); return Kovo_SetNetDownConfig(kUnknownId, &n); },
         -3, "SetNetDownConfig[%d] device null.\n"},
        {"alarm valid, unknown device",
         [](long) { ALARM_CONFIG a = alarmLink(); return Kovo_SetAlarmConfig(kUnknownId, &a); }, -3,
         "SetAlarmConfig[%d] device null.\n"},
        {"motion link channel -2",
         [](long id) { MD_LINK_CONFIG m = motionLink(); return Kovo_SetMDLinkConfig(id, -2, &m); }, -1,
         "SetMDLinkConfig[%d] input invalid.\n"},
        {"alarm time 1 reversed",
         [](long id) {
             ALARM_CONFIG a = alarmLink();
             fill(a.szStartTime, "18:00:00");
             return Kovo_SetAlarmConfig(id, &a);
         },
         -1, "SetAlarmConfig[%d] invalid time 1 range.\n"},
        {"alarm time 2 empty",
         [](long id) {
             ALARM_CONFIG a = alarmLink();
             fill(a.szStartTime2, "");
             fill(a.szEndTime2, "");
             return Kovo_SetAlarmConfig(id, &a);
         },
         -1, "SetAlarmConfig[%d] invalid time 2 range.\n"},
        {"alarm null", [](long id) { return Kovo_SetAlarmConfig(id, nullptr); }, -1,
         "SetAlarmConfig[%d] invalid input.\n"},
        {"network loss id 0", [](long) { NET_DOWN_PARAM n{}; return Kovo_SetNetDownConfig(0, &n); }, -1,
         "SetNetDownConfig[%d] invalid input.\n"},
        {"motion area 5", [](long id) { MD_CONFIG md = motionArea(); return Kovo_SetMDConfig(id, 0, 5, &md); }, -1,
         "SetMDConfig[%d] input invalid.\n"},
        {"motion sensitivity 0, before the lookup",
         [](long) { MD_CONFIG md = motionArea(); md.nSensitivity = 0; return Kovo_SetMDConfig(kUnknownId, 0, 1, &md); },
         -1, "SetMDConfig[%d] invalid sensitivity.\n"},
        {"motion area height 1081",
         [](long id) { MD_CONFIG md = motionArea(); md.nAreaHeight = 1081; return Kovo_SetMDConfig(id, 0, 1, &md); },
         -1, "SetMDConfig[%d] invalid area.\n"},
        {"motion area x -1",
         [](long id) { MD_CONFIG md = motionArea(); md.nAreaX = -1; return Kovo_SetMDConfig(id, 0, 1, &md); }, -1,
         "SetMDConfig[%d] invalid area.\n"},
        {"motion area unknown device",
         [](long) { MD_CONFIG md = motionArea(); return Kovo_SetMDConfig(kUnknownId, 0, 1, &md); }, -3,
         "SetMDConfig[%d] device null.\n"},
        {"get motion area 0", [](long id) { MD_CONFIG md{}; return Kovo_GetMDConfig(id, 0, 0, &md); }, -1,
         "GetMDConfig[%d] input invalid.\n"},
        {"get motion link channel -2", [](long id) { MD_LINK_CONFIG m{}; return Kovo_GetMDLinkConfig(id, -2, &m); },
         -1, "GetMDLinkConfig[%d] input invalid.\n"},
        {"get alarm unknown", [](long) { ALARM_CONFIG a{}; return Kovo_GetAlarmConfig(kUnknownId, &a); }, -3,
         "GetAlarmConfig[%d] device null.\n"},
        {"get network loss null", [](long id) { return Kovo_GetNetDownConfig(id, nullptr); }, -1,
         "GetNetDownConfig[%d] invalid input.\n"},
        {"alarm input 5", [](long id) { ALARMIN_CONFIG c{0}; return Kovo_SetAlarmInConfig(id, 5, &c); }, -1,
         "SetAlarmInConfig[%d] input invalid.\n"},
        {"alarm input mode 2",
         [](long id) { ALARMIN_CONFIG c{2}; return Kovo_SetAlarmInConfig(id, 1, &c); }, -1,
         "SetAlarmInConfig[%d] input mode invalid.\n"},
        {"alarm input mode checked after the lookup",
         [](long) { ALARMIN_CONFIG c{2}; return Kovo_SetAlarmInConfig(kUnknownId, 1, &c); }, -3,
         "SetAlarmInConfig[%d] device null.\n"},
        {"alarm output port 3", [](long id) { ALARMOUT_CONFIG c{0}; return Kovo_SetAlarmOutConfig(id, 3, &c); }, -1,
         "SetAlarmOutConfig[%d] input invalid.\n"},
        {"alarm output mode -1",
         [](long id) { ALARMOUT_CONFIG c{-1}; return Kovo_SetAlarmOutConfig(id, 2, &c); }, -1,
         "SetAlarmOutConfig[%d] output mode invalid.\n"},
        {"get alarm input 0", [](long id) { ALARMIN_CONFIG c{}; return Kovo_GetAlarmInConfig(id, 0, &c); }, -1,
         "GetAlarmInConfig[%d] invalid input.\n"},
        {"get alarm output unknown",
         [](long) { ALARMOUT_CONFIG c{}; return Kovo_GetAlarmOutConfig(kUnknownId, 1, &c); }, -3,
         "GetAlarmOutConfig[%d] device null.\n"},
        {"service on without address",
         [](long id) { ALARM_SERVICE_CONFIG s = alarmService(); s.szIPAddr[0] = 0; return Kovo_SetAlarmServiceConfig(id, &s); },
         -1, "SetAlarmServiceConfig[%d] invalid input.\n"},
        {"service on, keepalive 0",
         [](long id) { ALARM_SERVICE_CONFIG s = alarmService(); s.nKeepaliveTimer = 0; return Kovo_SetAlarmServiceConfig(id, &s); },
         -1, "SetAlarmServiceConfig[%d] invalid input.\n"},
        {"service unknown device",
         [](long) { ALARM_SERVICE_CONFIG s = alarmService(); return Kovo_SetAlarmServiceConfig(kUnknownId, &s); }, -3,
         "SetAlarmServiceConfig[%d] device null.\n"},
        {"get service unknown",
         [](long) { ALARM_SERVICE_CONFIG s{}; return Kovo_GetAlarmServiceConfig(kUnknownId, &s); }, -3,
         "GetAlarmServiceConfig[%d] device null.\n"},
    });
}

TEST(AlarmParams, OutcomeTraces) {
    runOutcomeCases({
        {"set md", [](long id) { MD_CONFIG md = motionArea(); return Kovo_SetMDConfig(id, 0, 1, &md); },
         "SetMDConfig [%d] set net config failed.\n", "SetMDConfig Successfully\n"},
        {"get md", [](long id) { MD_CONFIG md{}; return Kovo_GetMDConfig(id, 0, 1, &md); },
         "GetMDConfig[%d] get md config failed.\n", "GetMDConfig Successfully\n"},
        {"set md link", [](long id) { MD_LINK_CONFIG m = motionLink(); return Kovo_SetMDLinkConfig(id, 0, &m); },
         "SetMDLinkConfig[%d] get md config failed.\n", "SetMDLinkConfig Successfully\n"},
        {"get md link", [](long id) { MD_LINK_CONFIG m{}; return Kovo_GetMDLinkConfig(id, 0, &m); },
         "GetMDLinkConfig[%d] get md config failed.\n", "GetMDLinkConfig Successfully\n"},
        {"set alarm", [](long id) { ALARM_CONFIG a = alarmLink(); return Kovo_SetAlarmConfig(id, &a); },
         "SetAlarmConfig[%d] get alarm config failed.\n", "SetAlarmConfig get alarm config success.\n"},
        {"get alarm", [](long id) { ALARM_CONFIG a{}; return Kovo_GetAlarmConfig(id, &a); },
         "GetAlarmConfig[%d] get alarm config failed.\n", "GetAlarmConfig get alarm config success.\n"},
        {"set network loss",
         [](long id) { NET_DOWN_PARAM n = withValidLink<NET_DOWN_PARAM>(); return Kovo_SetNetDownConfig(id, &n); },
         "SetNetDownConfig failed.\n", "SetNetDownConfig Successfully\n"},
        {"get network loss", [](long id) { NET_DOWN_PARAM n{}; return Kovo_GetNetDownConfig(id, &n); },
         "GetNetDownConfig failed.\n", "GetNetDownConfig Successfully\n"},
        {"set alarm input", [](long id) { ALARMIN_CONFIG c{1}; return Kovo_SetAlarmInConfig(id, 1, &c); },
         "SetAlarmInConfig [%d] set alarm input config failed.\n", "SetAlarmInConfig set alarm input config success.\n"},
        {"get alarm input", [](long id) { ALARMIN_CONFIG c{}; return Kovo_GetAlarmInConfig(id, 1, &c); },
         "GetAlarmInConfig[%d] get alarm input config failed.\n", "GetAlarmInConfig get alarm input config success.\n"},
        {"set alarm output", [](long id) { ALARMOUT_CONFIG c{1}; return Kovo_SetAlarmOutConfig(id, 1, &c); },
         "SetAlarmOutConfig [%d] set alarm output config failed.\n",
         "SetAlarmOutConfig set alarm output config success.\n"},
        {"get alarm output", [](long id) { ALARMOUT_CONFIG c{}; return Kovo_GetAlarmOutConfig(id, 2, &c); },
         "GetAlarmOutConfig[%d] get alarm output config failed.\n",
         "GetAlarmOutConfig get alarm output config success.\n"},
        {"set service", [](long id) { ALARM_SERVICE_CONFIG s = alarmService(); return Kovo_SetAlarmServiceConfig(id, &s); },
         "SetAlarmServiceConfig failed.\n", "SetAlarmServiceConfig Successfully\n"},
        {"get service", [](long id) { ALARM_SERVICE_CONFIG s{}; return Kovo_GetAlarmServiceConfig(id, &s); },
         "GetAlarmServiceConfig failed.\n", "GetAlarmServiceConfig Successfully\n"},
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
