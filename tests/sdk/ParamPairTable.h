// Every Set/Get pair of the parameter exports as one table row: a record
// with a distinctive value in every field, written by the Set and read back
// by the Get. Get-only exports read seeded camera settings instead. The
// fake camera's round trip and the simulator's both run these rows.
#ifndef KOVO_TESTS_SDK_PARAMPAIRTABLE_H
#define KOVO_TESTS_SDK_PARAMPAIRTABLE_H

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "sdk/KovoSDK.h"

namespace kovo::test {

using RecordCall = std::function<long(long id, void* record)>;  // a null record is passed on

struct ParamPair {
    std::string name;
    RecordCall set;         // empty for a Get-only export
    RecordCall get;
    std::string sent;       // the record the Set writes
    std::string start;      // the record the Get starts from (the caller's channel or slot in it)
    std::string expected;   // the record the Get must leave
    std::vector<std::string> seed;  // Get-only: what the camera holds
    long noDevice = -3;
};

template <typename R>
std::string bytesOf(const R& record) {
    return std::string(reinterpret_cast<const char*>(&record), sizeof record);
}

template <typename R, typename F>
RecordCall typed(F call) {
    return [call](long id, void* record) { return call(id, static_cast<R*>(record)); };
}

// sent goes out through set and must come back whole through get, unless
// `differs` says what the camera's vocabulary changes on the way.
template <typename R, typename S, typename G>
ParamPair pair(std::string name, S set, G get, R sent, R start = R{}, void (*differs)(R&) = nullptr) {
    R expected = sent;
    if (differs) differs(expected);
    return {std::move(name), typed<R>(set), typed<R>(get), bytesOf(sent), bytesOf(start), bytesOf(expected), {}};
}

template <typename R, typename G>
ParamPair getOnly(std::string name, G get, std::vector<std::string> seed, R expected, R start = R{}) {
    return {std::move(name), {}, typed<R>(get), {}, bytesOf(start), bytesOf(expected), std::move(seed)};
}

// The plain-text exports take a bare char buffer.
struct Text {
    char s[300];
};
using PlainCall = long (*)(long, int, char*);
inline ParamPair plainPair(const char* name, PlainCall set, PlainCall get, const char* value) {
    Text text{};
    std::strncpy(text.s, value, sizeof text.s - 1);
    auto bind = [](PlainCall f, int channel) {
        return [f, channel](long id, Text* t) { return f(id, channel, t ? t->s : nullptr); };
    };
    return pair<Text>(name, bind(set, 0), bind(get, -1), text);
}

template <typename R>
auto channel(long (*f)(long, int, R*), int n) {
    return [f, n](long id, R* r) { return f(id, n, r); };
}
template <typename R>
auto channel(long (*f)(long, int, int, R*), int n, int item) {
    return [f, n, item](long id, R* r) { return f(id, n, item, r); };
}

// A link block every range check accepts, with 0/1 switches that survive
// both switch rules.
#define KOVO_VALID_LINK 1, 1, 86400, 0, 1, 3, 60, 5, 0, 1, 0, 5, 1, 100, 1, 0

inline std::vector<ParamPair> paramPairs() {
    // The AGC export takes its value, not a record: an out-of-range value
    // stands in for the null record.
    auto setAgc = [](long id, int* v) { return Kovo_SetAGCSetup(id, 0, v ? *v : 2); };
    return {
        plainPair("NoiseReduction", Kovo_SetNoiseReduction, Kovo_GetNoiseReduction, "Noise 3"),
        plainPair("WhiteBalanceMode", Kovo_SetWhiteBalanceMode, Kovo_GetWhiteBalanceMode, "Auto WB"),
        plainPair("NearLimitSetup", Kovo_SetNearLimitSetup, Kovo_GetNearLimitSetup, "1m"),
        plainPair("ApertureSetup", Kovo_SetApertureSetup, Kovo_GetApertureSetup, "F1.6"),
        plainPair("ShutterSpeed", Kovo_SetShutterSpeed, Kovo_GetShutterSpeed, "1/50"),
        plainPair("ExposureMode", Kovo_SetExposureMode, Kovo_GetExposureMode, "Manual"),
        plainPair("DayNightOnOFF", Kovo_SetDayNightOnOFF, Kovo_GetDayNightOnOFF, "ON"),
        plainPair("DayNightMode", Kovo_SetDayNightMode, Kovo_GetDayNightMode, std::string(239, 'd').c_str()),
        pair<int>("AGCSetup", setAgc, channel(Kovo_GetAGCSetup, 0), 1),
        // The Set sends the GOP structure and rate control as numbers, the
        // Get reads them only as words: they come back as 0.
        pair<VIDEO_ATTRIBUTE>("ChannelAttribute", Kovo_SetChannelAttribute, Kovo_GetChannelAttribute,
                              {1, 1920, 1080, 4096, 25, 50, 2, 1, 45, 12}, {1},
                              [](VIDEO_ATTRIBUTE& a) { a.gopStructure = a.EncBitRateControl = 0; }),
        pair<MULTI_VIDEO_CHANNEL>("MultiVideoChannel", Kovo_SetMultiVideoChannel, Kovo_GetMultiVideoChannel,
                                  {1, 0, 0, 1}),
        pair<VIDEO_FLIP>("VideoFlip", Kovo_SetVideoFlip, Kovo_GetVideoFlip, {0, 1}),
        pair<HDMI_CONFIG>("HDMIConfig", channel(Kovo_SetHDMIConfig, 0), channel(Kovo_GetHDMIConfig, -1), {1}),
        pair<OSD_REGION>("OSDTitle", channel(Kovo_SetOSDRegion, 0, 1), channel(Kovo_GetOSDRegion, 0, 1),
                         {"Gate 1", 1, "Black", 10, 100}),
        pair<AUDIO_ATTRIBUTE>("AudioAttribute", channel(Kovo_SetAudioAttribute, 0),
                              channel(Kovo_GetAudioAttribute, -1), {1, 32000, 2, 64000, 0, 12, 1, 31}),
        pair<PTMODULE_CONFIG>("PTModuleConfig", channel(Kovo_SetPTModuleConfig, 0),
                              channel(Kovo_GetPTModuleConfig, 0), {1, 1, 2, 256}),
        pair<HOME_FUNCTION>("HomeFunction", Kovo_SetHomeFunction, Kovo_GetHomeFunction, {1, 3, 7, 45}),
        pair<SERIALPORT_CONFIG>("SerialPortConfig", channel(Kovo_SetSerialPortConfig, 3),
                                channel(Kovo_GetSerialPortConfig, 3), {1, 12, 4800, 7, 1, 2}),
        pair<DATETIME_CONFIG>("DateTime", Kovo_SetDateTime, Kovo_GetDateTime, {1, "pool.example", -5, "0,3,5"}),
        pair<WATCHDOG_CONFIG>("Watchdog", channel(Kovo_SetWatchdogConfig, 0), channel(Kovo_GetWatchdogConfig, -1),
                              {1}),
        pair<NET_CONFIG>("NetConfig", Kovo_SetNetConfig, Kovo_GetNetConfig,
                         {"10.0.0.2", "255.255.255.0", "10.0.0.1", 0, "8.8.8.8", "8.8.4.4"}),
        pair<PPPOE_CONFIG>("PPPoEConfig", Kovo_SetPPPoEConfig, Kovo_GetPPPoEConfig, {1, "dial", "pw"}),
        pair<DDNS_CONFIG>("DDNSConfig", Kovo_SetDDNSConfig, Kovo_GetDDNSConfig, {1, "ddns.example", "cam.example", "u", "p"}),
        // The operation mode is read back but never sent: the Get starts
        // from the camera's own.
        pair<WIFI_CONFIG>("WiFiConfig", Kovo_SetWiFiConfig, Kovo_GetWiFiConfig,
                          {1, "192.168.1.9", "255.255.0.0", "192.168.1.1", "Managed", "6", "cams", "secret"},
                          {0, "", "", "", "Managed"}),
        pair<SMTP_CONFIG>("SMTPConfig", Kovo_SetSMTPConfig, Kovo_GetSMTPConfig,
                          {"mail.example", 587, 1, "u", "p", "cam@example"}),
        pair<SMTP_NOTIFY>("SMTPNotify", Kovo_SetSMTPNotify, Kovo_GetSMTPNotify, {3, "ops@example", "cc@example", "motion"},
                          {3}),
        pair<FTP_CONFIG>("FTPConfig", Kovo_SetFTPConfig, Kovo_GetFTPConfig,
                         {0, "ftp.example", 21, "cam", "pw", "/up", "ftp2.example", 2121, "cam2", "pw2", "/up2"}),
        pair<MD_CONFIG>("MDConfig", channel(Kovo_SetMDConfig, 0, 2), channel(Kovo_GetMDConfig, -1, 2),
                        {1, 80, 10, 20, 640, 480}),
        pair<MD_LINK_CONFIG>("MDLinkConfig", channel(Kovo_SetMDLinkConfig, 0), channel(Kovo_GetMDLinkConfig, -1),
                             {1, "08:00:00", "18:00:00", "20:00:00", "21:00:00", KOVO_VALID_LINK}),
        pair<ALARM_CONFIG>("AlarmConfig", Kovo_SetAlarmConfig, Kovo_GetAlarmConfig,
                           {1, 1, "08:00:00", "08:00:00", "20:00:00", "23:30:00", KOVO_VALID_LINK}),
        pair<NET_DOWN_PARAM>("NetDownConfig", Kovo_SetNetDownConfig, Kovo_GetNetDownConfig, {1, KOVO_VALID_LINK}),
        pair<ALARMIN_CONFIG>("AlarmInConfig", channel(Kovo_SetAlarmInConfig, 3), channel(Kovo_GetAlarmInConfig, 3), {1}),
        pair<ALARMOUT_CONFIG>("AlarmOutConfig", channel(Kovo_SetAlarmOutConfig, 2), channel(Kovo_GetAlarmOutConfig, 2),
                              {1}),
        pair<ALARM_SERVICE_CONFIG>("AlarmServiceConfig", Kovo_SetAlarmServiceConfig, Kovo_GetAlarmServiceConfig,
                                   {1, "10.0.0.9", 7000, 65535}),
        pair<STORAGE_DEVICE_MODE>("StorageMode", Kovo_SetStorageMode, Kovo_GetStorageMode, {1, 1}),
        pair<STORAGE_DEVICE_CONTROL>("StorageControl", Kovo_SetStorageControl, Kovo_GetStorageControl, {2}),
        pair<LOCAL_RECORD_PARAM>("LocalRecordParam", Kovo_SetLocalRecordParam, Kovo_GetLocalRecordParam,
                                 {1, "08:00:00", "12:00:00", 1, "13:00:00", "14:00:00", 1}),
        pair<LOCAL_SCHEDULE_SNAP_PARAM>("LocalScheduleSnapParam", Kovo_SetLocalScheduleSnapParam,
                                        Kovo_GetLocalScheduleSnapParam,
                                        {1, "08:00:00", "09:00:00", 1, "late", "", 6000, 80, 0, 1}),
        // Only the port is read back; nEnable is neither sent nor read.
        pair<DOWNLOAD_CONFIG>("DownloadConfig", Kovo_SetDownloadConfig, Kovo_GetDownloadConfig, {0, 8080}, {7, 1},
                              [](DOWNLOAD_CONFIG& c) { c.nEnable = 7; }),
        getOnly<Text>("ProductSN", [](long id, Text* t) { return Kovo_GetProductSN(id, t ? t->s : nullptr); },
                      {"ProductSN: SN-0001"}, {"SN-0001"}),
        getOnly<VERSION_INFO>("VersionInfo", Kovo_GetVersionInfo,
                              {"HardWareVersion: HW1", "FirmWareVersion: FW2", "CamModule: CM3"}, {"HW1", "FW2", "CM3"}),
        getOnly<STORAGE_DEVICE_INFO>("StorageInfo", Kovo_GetStorageInfo,
                                     {"StorageDeviceStatus: ready", "StorageDeviceDescription: SD card",
                                      "StorageDeviceCapbility: 7812500", "StorageDeviceIdleCapbility: 1024"},
                                     {"ready", "SD card", 7812500, 1024}),
    };
}

}  // namespace kovo::test

#endif
