// The value checks of the exports that have them, as {call, code} pairs on
// both sides of each bound: -1 is refused before anything is sent, 0 sent
// and answered. Calls on kUnknownId show whether a check comes before the
// device lookup (-1) or after it (-3).
#include <functional>
#include <string>
#include <vector>

#include "ParamPairTable.h"
#include "ParamTestSupport.h"

using namespace kovo::test;

namespace {

template <typename R, typename F>
long edited(F set, long id, R record, const std::function<void(R&)>& edit) {
    if (edit) edit(record);
    return set(id, &record);
}

const OSD_REGION kOsd{"t", 1, "White", 0, 0, 1, 1, 1, "White", 0, 0};
long osd(long id, int type, std::function<void(OSD_REGION&)> e = {}) {
    return edited(channel(Kovo_SetOSDRegion, 0, type), id, kOsd, e);
}
long audio(long id, AUDIO_ATTRIBUTE a) { return Kovo_SetAudioAttribute(id, 0, &a); }
long module(long id, PTMODULE_CONFIG c) { return Kovo_SetPTModuleConfig(id, 0, &c); }
long serial(long id, int com, std::function<void(SERIALPORT_CONFIG&)> e = {}) {
    return edited(channel(Kovo_SetSerialPortConfig, com), id, SERIALPORT_CONFIG{0, 1, 9600, 8, 0, 1}, e);
}
long transfer(long id, int channel, int len) {
    return Kovo_TransparentTransfer(id, channel, std::vector<unsigned char>(40).data(), len);
}
long text(long id, PlainCall set, int channel, std::string value) { return set(id, channel, value.data()); }
long date(long id, DATETIME_CONFIG d) { return Kovo_SetDateTime(id, &d); }

// The three records sharing the event-link block, with field `index` of
// the block set to value.
long link(long id, int family, int index, int value) {
    MD_LINK_CONFIG m{1, "", "", "", "", KOVO_VALID_LINK};
    ALARM_CONFIG a{0, 0, "08:00:00", "08:00:00", "20:00:00", "23:30:00", KOVO_VALID_LINK};
    NET_DOWN_PARAM n{1, KOVO_VALID_LINK};
    int* blocks[] = {&m.nLinkOutputEnable, &a.nLinkOutputEnable, &n.nLinkOutputEnable};
    blocks[family][index] = value;
    return family == 0 ? Kovo_SetMDLinkConfig(id, 0, &m) : family == 1 ? Kovo_SetAlarmConfig(id, &a)
                                                                         : Kovo_SetNetDownConfig(id, &n);
}
// A Set of a valid record, edited first.
#define SETTER(name, R, set, ...) \
    long name(long id, std::function<void(R&)> e) { return edited(set, id, R{__VA_ARGS__}, e); }
SETTER(alarm, ALARM_CONFIG, Kovo_SetAlarmConfig, 0, 0, "08:00:00", "08:00:00", "20:00:00", "23:30:00", KOVO_VALID_LINK)
SETTER(service, ALARM_SERVICE_CONFIG, Kovo_SetAlarmServiceConfig, 1, "10.0.0.9", 0, 1)
SETTER(net, NET_CONFIG, Kovo_SetNetConfig, "10.0.0.2", "255.255.255.0", "10.0.0.1", 0, "", "")
SETTER(wifi, WIFI_CONFIG, Kovo_SetWiFiConfig, 1, "i", "m", "g", "Managed", "6", "cams", "k")
SETTER(smtp, SMTP_CONFIG, Kovo_SetSMTPConfig, "mail", 25, 0, "", "", "")
SETTER(notify, SMTP_NOTIFY, Kovo_SetSMTPNotify, 1, "to", "cc", "s")
SETTER(ftp, FTP_CONFIG, Kovo_SetFTPConfig, 1, "ftp", 21, "cam", "", "/up")
SETTER(record, LOCAL_RECORD_PARAM, Kovo_SetLocalRecordParam, 1, "08:00:00", "12:00:00")
long md(long id, int area, std::function<void(MD_CONFIG&)> e = {}) {
    return edited(channel(Kovo_SetMDConfig, 0, area), id, MD_CONFIG{1, 80, 0, 0, 1920, 1080}, e);
}
long snap(long id, int interval, int quality) {
    return edited<LOCAL_SCHEDULE_SNAP_PARAM>(Kovo_SetLocalScheduleSnapParam, id, {0, "", "", 0, "", "", interval, quality}, {});
}
long remoteSnap(long id, REMOTE_SNAP s) { return Kovo_RemoteSnap(id, &s); }
long search(long id, const char* start, const char* end) {
    QUERY_FILE q{1, 1, 1};
    fill(q.szStartTime, start);
    fill(q.szEndTime, end);
    return Kovo_QueryFile(id, &q);
}
template <typename R, typename F>
long plain(F set, long id, R r) { return set(id, &r); }

struct Check {
    long code;
    const char* call;
    long (*run)(long id);
};
#define EDIT(...) [](auto& r) { __VA_ARGS__; }
#define CASE(code, expr) {code, #expr, [](long id) -> long { return expr; }}

const Check kChecks[] = {
    CASE(-1, Kovo_SetAGCSetup(id, 0, 2)), CASE(0, Kovo_SetAGCSetup(id, 0, 1)),
    CASE(-1, Kovo_SetAGCSetup(id, 0, -1)), CASE(0, Kovo_SetAGCSetup(id, 0, 0)),
    CASE(-1, text(id, Kovo_SetNoiseReduction, -2, "v")), CASE(0, text(id, Kovo_SetNoiseReduction, -1, "v")),
    CASE(-1, Kovo_SetShutterSpeed(id, 0, nullptr)),
    // The field line holds 255 characters: "NoiseReduction: " and 239 more.
    CASE(0, text(id, Kovo_SetNoiseReduction, 0, std::string(239, 'n'))),
    CASE(-1, text(id, Kovo_SetNoiseReduction, 0, std::string(240, 'n'))),
    CASE(-1, plain(channel(Kovo_SetHDMIConfig, -2), id, HDMI_CONFIG{1})),

    CASE(-1, osd(id, 0)), CASE(0, osd(id, 1)), CASE(0, osd(id, 2)), CASE(-1, osd(id, 3)),
    CASE(-1, plain(channel(Kovo_GetOSDRegion, 0, 0), id, OSD_REGION{})),
    CASE(-1, plain(channel(Kovo_GetOSDRegion, -1, 3), id, OSD_REGION{})),
    CASE(-1, plain(channel(Kovo_SetOSDRegion, -2, 1), id, kOsd)),
    CASE(-1, osd(id, 1, EDIT(fill(r.titlecolor, "white")))),
    CASE(-1, osd(id, 1, EDIT(std::memset(r.titlecolor, 'W', sizeof r.titlecolor)))),
    CASE(0, osd(id, 1, EDIT(r.titleh = r.titlev = 100; fill(r.titlecolor, "Gray")))),
    CASE(-1, osd(id, 1, EDIT(r.titleh = 101))), CASE(-1, osd(id, 1, EDIT(r.titlev = -1))),
    CASE(0, osd(id, 2, EDIT(r.timemode = 2; fill(r.titlecolor, "Pink")))), CASE(-1, osd(id, 2, EDIT(r.timemode = 3))),
    CASE(-1, osd(id, 2, EDIT(r.timemode = 0))), CASE(-1, osd(id, 2, EDIT(fill(r.timecolor, "Pink")))),
    CASE(0, osd(id, 2, EDIT(r.timeh = r.timev = 100; fill(r.timecolor, "Black")))),
    CASE(-1, osd(id, 2, EDIT(r.timeh = 101))), CASE(-1, osd(id, 2, EDIT(r.timev = -1))),

    CASE(-1, audio(id, {1, 16000, 0, 10240, 0, 0, 0, 0})), CASE(0, audio(id, {1, 16000, 0, 0, 0, 0, 0, 0})),
    CASE(0, audio(id, {1, 8000, 2, 10240, 0, 31, 0, 0})), CASE(0, audio(id, {1, 48000, 0, 10240, 0, 0, 0, 31})),
    CASE(-1, audio(id, {1, 8000, 3, 10240, 0, 0, 0, 0})), CASE(-1, audio(id, {1, 8000, 0, 10239, 0, 0, 0, 0})),
    CASE(-1, audio(id, {1, 8000, 2, 10240, 0, 32, 0, 0})), CASE(-1, audio(id, {1, 8000, 1, 10240, 0, 0, 0, -1})),
    CASE(-1, audio(id, {1, 8000, 1, 10240, 0, -1, 0, 0})), CASE(-1, audio(id, {1, 8000, 1, 10240, 0, 0, 0, 32})),
    CASE(-1, plain(channel(Kovo_SetAudioAttribute, -2), id, AUDIO_ATTRIBUTE{})),

    CASE(-1, Kovo_PTZControl(id, -2, 10, 1)),
    CASE(-1, module(id, {2, 0, 0, 0})), CASE(-1, module(id, {0, -1, 0, 0})), CASE(-1, module(id, {0, 2, 0, 0})),
    CASE(-1, module(id, {0, 0, 4, 0})), CASE(-1, module(id, {0, 0, 0, 257})), CASE(0, module(id, {0, 0, 3, 256})),
    CASE(-1, serial(id, 255)), CASE(0, serial(id, 254)), CASE(-1, serial(id, 0)), CASE(0, serial(id, 1)),
    CASE(-1, serial(id, 1, EDIT(r.nProtocol = 3))), CASE(-1, serial(id, 1, EDIT(r.nDomeId = 255))),
    CASE(0, serial(id, 1, EDIT(r.nDomeId = 254; r.nProtocol = 2))), CASE(-1, serial(id, 1, EDIT(r.nDomeId = 0))),
    CASE(-1, serial(id, 1, EDIT(r.nBaudRate = 115200))),
    CASE(0, serial(id, 1, EDIT(r.nBaudRate = 19200; r.nCharLen = 7; r.nStopBit = 2))),
    CASE(-1, serial(id, 1, EDIT(r.nCharLen = 6))), CASE(-1, serial(id, 1, EDIT(r.nParityBit = 3))),
    CASE(-1, serial(id, 1, EDIT(r.nStopBit = 0))), CASE(-1, serial(id, 1, EDIT(r.nStopBit = 3))),
    CASE(-1, plain(channel(Kovo_GetSerialPortConfig, 255), id, SERIALPORT_CONFIG{})),
    CASE(-1, transfer(id, 0, 33)), CASE(0, transfer(id, 0, 32)), CASE(-1, transfer(id, 0, 0)),
    CASE(-1, transfer(id, -1, 1)), CASE(-1, Kovo_AuxilControl(id, 0, std::string("v").data(), 1)),
    CASE(-1, Kovo_AuxilControl(id, 1, std::string(300, 'm').data(), 1)),

    CASE(-1, date(id, {1, "", 0, ""})), CASE(-1, date(id, {1, "ntp", 13, ""})), CASE(0, date(id, {1, "ntp", 12, ""})),
    CASE(-1, date(id, {1, "ntp", -13, ""})), CASE(0, date(id, {1, "ntp", -12, ""})), CASE(0, date(id, {0, "", 40, ""})),
    CASE(-1, plain(channel(Kovo_SetWatchdogConfig, -2), id, WATCHDOG_CONFIG{1})),

    // Checks after the lookup give way to an unknown device, checks before it do not.
    CASE(-3, serial(kUnknownId, 1, EDIT(r.nProtocol = 9))), CASE(-1, serial(kUnknownId, 255)),
    CASE(-3, date(kUnknownId, {1, "", 99, ""})), CASE(-3, osd(kUnknownId, 1, EDIT(r.titleh = 500))),
    CASE(-3, osd(kUnknownId, 2, EDIT(r.timemode = 9))), CASE(-1, osd(kUnknownId, 5)),
    CASE(3, Kovo_PTZControl(kUnknownId, 0, 14, 0)), CASE(-1, audio(kUnknownId, {1, 1, 0, 10240, 0, 0, 0, 0})),
    CASE(-1, Kovo_SetAGCSetup(kUnknownId, 0, 5)),

    CASE(-1, link(id, 0, 2, 0)), CASE(-1, link(id, 1, 2, 86401)), CASE(0, link(id, 2, 2, 1)),
    CASE(-1, link(id, 2, 5, 4)), CASE(-1, link(id, 0, 5, 0)), CASE(0, link(id, 1, 5, 1)),
    CASE(-1, link(id, 1, 6, 29)), CASE(0, link(id, 0, 6, 24)),
    CASE(-1, link(id, 0, 7, 4)), CASE(-1, link(id, 2, 7, 301)), CASE(0, link(id, 1, 7, 300)),
    CASE(-1, link(id, 1, 11, 6)), CASE(-1, link(id, 0, 11, 0)), CASE(0, link(id, 2, 11, 1)),
    CASE(-1, link(id, 2, 12, 6001)), CASE(-1, link(id, 1, 12, 0)), CASE(0, link(id, 0, 12, 6000)),
    CASE(-1, link(id, 0, 13, 0)), CASE(-1, link(id, 2, 13, 101)), CASE(0, link(id, 1, 13, 1)),
    CASE(-3, link(kUnknownId, 0, 2, 0)), CASE(-1, link(kUnknownId, 1, 11, 0)), CASE(-1, link(kUnknownId, 2, 2, 0)),
    CASE(-1, plain(channel(Kovo_SetMDLinkConfig, -2), id, MD_LINK_CONFIG{})),
    CASE(-1, plain(channel(Kovo_GetMDLinkConfig, -2), id, MD_LINK_CONFIG{})),
    CASE(-1, alarm(id, EDIT(fill(r.szStartTime, "18:00:00")))),
    CASE(-1, alarm(id, EDIT(r.szStartTime2[0] = r.szEndTime2[0] = 0))),
    CASE(-1, md(id, 5)), CASE(0, md(id, 4)), CASE(-1, md(id, 0)), CASE(0, md(id, 1)),
    CASE(-1, md(kUnknownId, 1, EDIT(r.nSensitivity = 0))), CASE(-1, md(id, 1, EDIT(r.nSensitivity = 101))),
    CASE(0, md(id, 1, EDIT(r.nSensitivity = 100))), CASE(-1, md(id, 1, EDIT(r.nAreaHeight = 1081))),
    CASE(-1, md(id, 1, EDIT(r.nAreaWidth = 1921))), CASE(-1, md(id, 1, EDIT(r.nAreaX = -1))),
    CASE(-1, md(id, 1, EDIT(r.nAreaY = -1))), CASE(-1, plain(channel(Kovo_GetMDConfig, 0, 0), id, MD_CONFIG{})),
    CASE(-1, plain(channel(Kovo_SetAlarmInConfig, 5), id, ALARMIN_CONFIG{0})),
    CASE(0, plain(channel(Kovo_SetAlarmInConfig, 4), id, ALARMIN_CONFIG{0})),
    CASE(-1, plain(channel(Kovo_SetAlarmInConfig, 1), id, ALARMIN_CONFIG{2})),
    CASE(-3, plain(channel(Kovo_SetAlarmInConfig, 1), kUnknownId, ALARMIN_CONFIG{2})),
    CASE(-1, plain(channel(Kovo_GetAlarmInConfig, 0), id, ALARMIN_CONFIG{})),
    CASE(-1, plain(channel(Kovo_SetAlarmOutConfig, 3), id, ALARMOUT_CONFIG{0})),
    CASE(0, plain(channel(Kovo_SetAlarmOutConfig, 1), id, ALARMOUT_CONFIG{0})),
    CASE(-1, plain(channel(Kovo_SetAlarmOutConfig, 0), id, ALARMOUT_CONFIG{0})),
    CASE(-1, plain(channel(Kovo_SetAlarmOutConfig, 2), id, ALARMOUT_CONFIG{-1})),
    CASE(-1, service(id, EDIT(r.szIPAddr[0] = 0))), CASE(-1, service(id, EDIT(r.nKeepaliveTimer = 0))),
    CASE(0, service(id, EDIT(r.nKeepaliveTimer = 65535))),
    CASE(0, service(id, EDIT(r.nAlarmService = 0; r.nPort = -5; r.szIPAddr[0] = 0))),

    CASE(-3, net(kUnknownId, EDIT(r.szIP[0] = 0))), CASE(-1, net(id, EDIT(r.szIP[0] = 0))),
    CASE(-1, net(id, EDIT(r.szGateway[0] = 0))), CASE(-1, net(id, EDIT(r.szNetMask[0] = 0))),
    CASE(-1, net(id, EDIT(r.nDHCPMode = 1))),
    CASE(-1, net(id, EDIT(r.nDHCPMode = 1; fill(r.szMainDNS, "1.1.1.1"); fill(r.szSubDNS, "8.8.8.8")))),
    CASE(-1, net(id, EDIT(r.nDHCPMode = 1; fill(r.szSubDNS, "8.8.8.8")))),
    CASE(-1, plain(Kovo_SetPPPoEConfig, id, PPPOE_CONFIG{1, "u", ""})),
    CASE(-1, plain(Kovo_SetPPPoEConfig, kUnknownId, PPPOE_CONFIG{1, "", ""})),
    CASE(-1, plain(Kovo_SetDDNSConfig, id, DDNS_CONFIG{1, "s", "", "", ""})),
    CASE(-1, plain(Kovo_SetDDNSConfig, id, DDNS_CONFIG{0, "", "", "", "p"})), CASE(-1, wifi(id, EDIT(r.szSSID[0] = 0))),
    CASE(-1, wifi(id, EDIT(r.szOperationMode[0] = 0))), CASE(-1, smtp(id, EDIT(r.nServerPort = 0))),
    CASE(-1, smtp(id, EDIT(r.szServerIP[0] = 0))),
    CASE(-1, smtp(id, EDIT(r.nAuth = 1; fill(r.szUsername, "u"); fill(r.szPassword, "p")))),
    CASE(-1, notify(id, EDIT(r.nIndex = 5))), CASE(0, notify(id, EDIT(r.nIndex = 4))),
    CASE(-1, notify(id, EDIT(r.nIndex = 0))), CASE(-1, notify(id, EDIT(r.szCcEmail[0] = 0))),
    CASE(-1, plain(Kovo_GetSMTPNotify, kUnknownId, SMTP_NOTIFY{0})), CASE(-1, ftp(id, EDIT(r.szFilePath[0] = 0))),
    CASE(-1, ftp(id, EDIT(r.nServerPort = 65536))), CASE(-1, ftp(id, [](FTP_CONFIG&) {})),

    CASE(-1, plain(Kovo_SetStorageControl, kUnknownId, STORAGE_DEVICE_CONTROL{3})),
    CASE(-1, plain(Kovo_SetStorageControl, id, STORAGE_DEVICE_CONTROL{-1})),
    CASE(-1, record(id, EDIT(fill(r.szStartTime, "13:00:00")))),
    CASE(-1, record(id, EDIT(fill(r.szEndTime2, "14:00:00")))),
    CASE(-1, record(kUnknownId, [](LOCAL_RECORD_PARAM& r) {
        fill(r.szStartTime2, "14:00:00");
        fill(r.szEndTime2, "13:00:00");
    })),
    CASE(0, record(id, EDIT(r.nEnable = 0; fill(r.szStartTime, "xx")))),
    CASE(-1, snap(id, 0, 1)), CASE(0, snap(id, 1, 1)), CASE(-1, snap(id, 6001, 1)), CASE(0, snap(id, 6000, 100)),
    CASE(-1, snap(id, 1, 0)), CASE(-1, snap(id, 1, 101)),
    CASE(-1, remoteSnap(id, {"", 3, 100})), CASE(-1, remoteSnap(kUnknownId, {"s", 4, 100})),
    CASE(-1, remoteSnap(id, {"s", 0, 100})), CASE(0, remoteSnap(id, {"s", 1, 1})),
    CASE(-1, remoteSnap(id, {"s", 3, 0})), CASE(-1, remoteSnap(id, {"s", 3, 101})),
    CASE(-1, plain(Kovo_SetRemoteRecordConfig, id, REMOTE_RECORD_CONFIG{"", 1})),
    CASE(0, plain(Kovo_SetRemoteRecordConfig, id, REMOTE_RECORD_CONFIG{"", 0})),

    CASE(-1, search(id, "", "08:00:00")), CASE(-1, search(kUnknownId, "08:00:00", "24:00:00")),
    CASE(0, search(id, "23:59:59", "00:00:00")), CASE(-1, plain(Kovo_DeleteFile, id, FTP_DELETEFILE{})),
    CASE(-1, plain(Kovo_UploadSingleFile, id, FTP_SINGLEFILE{})),
    CASE(-1, plain(Kovo_UploadBatchFiles, id, FTP_BATCHFILES{0, 0, 0, "a", ""})),
    CASE(-1, plain(Kovo_SetDownloadConfig, kUnknownId, DOWNLOAD_CONFIG{1, 65536})),
    CASE(-1, plain(Kovo_SetDownloadConfig, id, DOWNLOAD_CONFIG{1, -1})),
    CASE(0, plain(Kovo_SetDownloadConfig, id, DOWNLOAD_CONFIG{1, 0})),
};

TEST(ParamChecks, BoundaryPairs) {
    LoggedInCamera cam;
    ASSERT_GT(cam.id, 0);
    for (const Check& c : kChecks) {
        SCOPED_TRACE(c.call);
        cam.cam.clearRequests();
        EXPECT_EQ(c.run(cam.id), c.code);
        EXPECT_EQ(cam.cam.requestCount(), c.code == 0 ? 1u : 0u);
    }
    // Unknown PTZ commands are refused (their queued lines: see ParamOddities).
    cam.cam.clearRequests();
    for (long command : {9L, 14L, 15L, 20L, 21L, 24L, 25L, 31L, 63L, 65L, 74L, 76L, -1L})
        EXPECT_EQ(Kovo_PTZControl(cam.id, 0, command, 1), -1) << command;
    EXPECT_EQ(cam.cam.requestCount(), 0u);
}

TEST(ParamChecks, TimeTexts) {
    const struct {
        const char *begin, *end;
        int time, range;
    } rows[] = {
        {"23:59:59", "23:59:59", 1, 1}, {"00:00:00", "18:00:00", 1, 1}, {"24:00:00", "08:00:00", 0, 0},
        {"12:75:00", "12:76:00", 1, 1}, {"12:30:60", "12:30:59", 0, 0}, {"1:30:00", "", 0, 0},
        {"12-30:00", "12:30-00", 1, 1}, {"12-30-00", "13:00:00", 0, 0}, {"12:30:000", "13:00:00", 0, 0},
        {"-1:30:00", "", 0, 0},          {"", "", 0, 0},                  {"18:00:00", "08:00:00", 1, 0},
    };
    for (const auto& r : rows) {
        std::string begin = r.begin, end = r.end;
        EXPECT_EQ(CheckTime(begin.data()), r.time) << r.begin;
        EXPECT_EQ(CheckTimeRange(begin.data(), end.data()), r.range) << r.begin << " " << r.end;
    }
    char time[] = "08:00:00";
    EXPECT_EQ(CheckTime(nullptr) + CheckTimeRange(nullptr, time) + CheckTimeRange(time, nullptr), 0);
    char unterminated[9];
    std::memcpy(unterminated, "08:00:001", 9);
    EXPECT_EQ(CheckTime(unterminated), 0);
}

}  // namespace
