// Every public record the settings use, described once, and the settings
// built on them.
#include <cstring>

#include "Cli.h"
#include "KovoSDK.h"
#include "Settings.h"

namespace kovo::cli {
namespace {

// A plain text value (the imaging exports and the serial number); the
// library copies the whole answer, which one reply bounds well below this.
struct PlainText {
    char value[8192];
};
struct PlainInt {
    int value;
};

// ---- record descriptions ---------------------------------------------------
#define KOVO_CLI_REC PlainText
constexpr FieldDesc kPlainText[] = {KOVO_CLI_FIELD(value)};
#undef KOVO_CLI_REC
#define KOVO_CLI_REC PlainInt
constexpr FieldDesc kPlainInt[] = {KOVO_CLI_FIELD(value)};
#undef KOVO_CLI_REC
#define KOVO_CLI_REC VIDEO_ATTRIBUTE
constexpr FieldDesc kVideoAttribute[] = {
    KOVO_CLI_FIELD_AS(ChannelIndex, SelectChannel), KOVO_CLI_FIELD(ResolutionX), KOVO_CLI_FIELD(ResolutionY),
    KOVO_CLI_FIELD(EncodeBitRate), KOVO_CLI_FIELD(FrameRate), KOVO_CLI_FIELD(GOP), KOVO_CLI_FIELD(gopStructure),
    KOVO_CLI_FIELD(EncBitRateControl), KOVO_CLI_FIELD(EncBitRateMaxQP), KOVO_CLI_FIELD(EncBitRateMinQP)};
#undef KOVO_CLI_REC
#define KOVO_CLI_REC MULTI_VIDEO_CHANNEL
constexpr FieldDesc kMultiVideoChannel[] = {KOVO_CLI_FIELD(nD1), KOVO_CLI_FIELD(nCIF), KOVO_CLI_FIELD(nMJPEG),
                                            KOVO_CLI_FIELD(SubD1)};
#undef KOVO_CLI_REC
#define KOVO_CLI_REC VIDEO_FLIP
constexpr FieldDesc kVideoFlip[] = {KOVO_CLI_FIELD(nVerticalFlip), KOVO_CLI_FIELD(nHorizontalFlip)};
#undef KOVO_CLI_REC
#define KOVO_CLI_REC HDMI_CONFIG
constexpr FieldDesc kHdmiConfig[] = {KOVO_CLI_FIELD(nEnable)};
#undef KOVO_CLI_REC
#define KOVO_CLI_REC OSD_REGION
constexpr FieldDesc kOsdRegion[] = {
    KOVO_CLI_FIELD(title),       KOVO_CLI_FIELD(titledisplay), KOVO_CLI_FIELD(titlecolor), KOVO_CLI_FIELD(titleh),
    KOVO_CLI_FIELD(titlev),      KOVO_CLI_FIELD(timedisplay),  KOVO_CLI_FIELD(timeformat), KOVO_CLI_FIELD(timemode),
    KOVO_CLI_FIELD(timecolor),   KOVO_CLI_FIELD(timeh),        KOVO_CLI_FIELD(timev)};
#undef KOVO_CLI_REC
#define KOVO_CLI_REC AUDIO_ATTRIBUTE
constexpr FieldDesc kAudioAttribute[] = {
    KOVO_CLI_FIELD(nEnable), KOVO_CLI_FIELD(nSampleRate), KOVO_CLI_FIELD(nEncodeType), KOVO_CLI_FIELD(nBitRate),
    KOVO_CLI_FIELD(nIn),     KOVO_CLI_FIELD(nInVolume),   KOVO_CLI_FIELD(nOut),        KOVO_CLI_FIELD(nOutVolume)};
#undef KOVO_CLI_REC
#define KOVO_CLI_REC PTMODULE_CONFIG
constexpr FieldDesc kPtModuleConfig[] = {KOVO_CLI_FIELD(nFunction), KOVO_CLI_FIELD(nMode), KOVO_CLI_FIELD(nPara1),
                                         KOVO_CLI_FIELD(nPara2)};
#undef KOVO_CLI_REC
#define KOVO_CLI_REC HOME_FUNCTION
constexpr FieldDesc kHomeFunction[] = {KOVO_CLI_FIELD(HomeFunction), KOVO_CLI_FIELD(HomeFunctionMode),
                                       KOVO_CLI_FIELD(HomeFunctionIndex), KOVO_CLI_FIELD(HomeFunctionIdle)};
#undef KOVO_CLI_REC
#define KOVO_CLI_REC SERIALPORT_CONFIG
constexpr FieldDesc kSerialPortConfig[] = {KOVO_CLI_FIELD(nProtocol), KOVO_CLI_FIELD(nDomeId),
                                           KOVO_CLI_FIELD(nBaudRate), KOVO_CLI_FIELD(nCharLen),
                                           KOVO_CLI_FIELD(nParityBit), KOVO_CLI_FIELD(nStopBit)};
#undef KOVO_CLI_REC
#define KOVO_CLI_REC VERSION_INFO
constexpr FieldDesc kVersionInfo[] = {KOVO_CLI_FIELD(szHardWareVersion), KOVO_CLI_FIELD(szFirmWareVersion),
                                      KOVO_CLI_FIELD(szCamModule)};
#undef KOVO_CLI_REC
#define KOVO_CLI_REC DATETIME_CONFIG
constexpr FieldDesc kDateTimeConfig[] = {KOVO_CLI_FIELD(nNtpMode), KOVO_CLI_FIELD(szNtpServer),
                                         KOVO_CLI_FIELD(nDstMode), KOVO_CLI_FIELD(szDstTime)};
#undef KOVO_CLI_REC
#define KOVO_CLI_REC WATCHDOG_CONFIG
constexpr FieldDesc kWatchdogConfig[] = {KOVO_CLI_FIELD(nEanble)};
#undef KOVO_CLI_REC
#define KOVO_CLI_REC NET_CONFIG
constexpr FieldDesc kNetConfig[] = {KOVO_CLI_FIELD(szIP),      KOVO_CLI_FIELD(szNetMask), KOVO_CLI_FIELD(szGateway),
                                    KOVO_CLI_FIELD(nDHCPMode), KOVO_CLI_FIELD(szMainDNS), KOVO_CLI_FIELD(szSubDNS)};
#undef KOVO_CLI_REC
#define KOVO_CLI_REC PPPOE_CONFIG
constexpr FieldDesc kPppoeConfig[] = {KOVO_CLI_FIELD(nEnable), KOVO_CLI_FIELD(szUser), KOVO_CLI_FIELD(szPassword)};
#undef KOVO_CLI_REC
#define KOVO_CLI_REC DDNS_CONFIG
constexpr FieldDesc kDdnsConfig[] = {KOVO_CLI_FIELD(nEnable), KOVO_CLI_FIELD(szServer), KOVO_CLI_FIELD(szDomain),
                                     KOVO_CLI_FIELD(szUsername), KOVO_CLI_FIELD(szPassword)};
#undef KOVO_CLI_REC
#define KOVO_CLI_REC WIFI_CONFIG
constexpr FieldDesc kWifiConfig[] = {
    KOVO_CLI_FIELD(nEnable),  KOVO_CLI_FIELD(szIP), KOVO_CLI_FIELD(szSubmask), KOVO_CLI_FIELD(szGateway),
    KOVO_CLI_FIELD_AS(szOperationMode, ReadOnly), KOVO_CLI_FIELD(szChannelNumber), KOVO_CLI_FIELD(szSSID),
    KOVO_CLI_FIELD(szPassword)};
#undef KOVO_CLI_REC
#define KOVO_CLI_REC SMTP_CONFIG
constexpr FieldDesc kSmtpConfig[] = {KOVO_CLI_FIELD(szServerIP), KOVO_CLI_FIELD(nServerPort),
                                     KOVO_CLI_FIELD(nAuth),      KOVO_CLI_FIELD(szUsername),
                                     KOVO_CLI_FIELD(szPassword), KOVO_CLI_FIELD(szFromEmail)};
#undef KOVO_CLI_REC
#define KOVO_CLI_REC SMTP_NOTIFY
constexpr FieldDesc kSmtpNotify[] = {KOVO_CLI_FIELD_AS(nIndex, SelectIndex), KOVO_CLI_FIELD(szToEmail),
                                     KOVO_CLI_FIELD(szCcEmail), KOVO_CLI_FIELD(szSubject)};
#undef KOVO_CLI_REC
#define KOVO_CLI_REC FTP_CONFIG
constexpr FieldDesc kFtpConfig[] = {
    KOVO_CLI_FIELD(nClientMode), KOVO_CLI_FIELD(szServerIP),   KOVO_CLI_FIELD(nServerPort),
    KOVO_CLI_FIELD(szUsername),  KOVO_CLI_FIELD(szPassword),   KOVO_CLI_FIELD(szFilePath),
    KOVO_CLI_FIELD(szServerIP2), KOVO_CLI_FIELD(nServerPort2), KOVO_CLI_FIELD(szUsername2),
    KOVO_CLI_FIELD(szPassword2), KOVO_CLI_FIELD(szFilePath2)};
#undef KOVO_CLI_REC
#define KOVO_CLI_REC MD_CONFIG
constexpr FieldDesc kMdConfig[] = {KOVO_CLI_FIELD(nEnable), KOVO_CLI_FIELD(nSensitivity), KOVO_CLI_FIELD(nAreaX),
                                   KOVO_CLI_FIELD(nAreaY),  KOVO_CLI_FIELD(nAreaWidth),   KOVO_CLI_FIELD(nAreaHeight)};
#undef KOVO_CLI_REC

// The event-link block the three link records end with.
#define KOVO_CLI_EVENT_LINK                                                                                  \
    KOVO_CLI_FIELD(nLinkOutputEnable), KOVO_CLI_FIELD(nLinkOutputMode), KOVO_CLI_FIELD(nLinkOutputKeepTime),    \
        KOVO_CLI_FIELD(nLinkOutputEmailEnable), KOVO_CLI_FIELD(nLinkLocalRecordEnable),                         \
        KOVO_CLI_FIELD(nLinkLocalRecordStreamNumber), KOVO_CLI_FIELD(nLinkLocalRecordFramerate),                \
        KOVO_CLI_FIELD(nLinkLocalRecordKeepTime), KOVO_CLI_FIELD(nLinkLocalRecordFtpEnable),                    \
        KOVO_CLI_FIELD(nLinkLocalRecordEmailEnable), KOVO_CLI_FIELD(nLinkLocalSnapEnable),                      \
        KOVO_CLI_FIELD(nLinkLocalSnapJpegQuantity), KOVO_CLI_FIELD(nLinkLocalSnapIntervalTime),                 \
        KOVO_CLI_FIELD(nLinkLocalSnapJpegQuality), KOVO_CLI_FIELD(nLinkLocalSnapFtpEnable),                     \
        KOVO_CLI_FIELD(nLinkLocalSnapEmailEnable)
#define KOVO_CLI_REC MD_LINK_CONFIG
constexpr FieldDesc kMdLinkConfig[] = {
    KOVO_CLI_FIELD(nEnable), KOVO_CLI_FIELD(szScheduleStartTime), KOVO_CLI_FIELD(szScheduleEndTime),
    KOVO_CLI_FIELD(szScheduleStartTime2), KOVO_CLI_FIELD(szScheduleEndTime2), KOVO_CLI_EVENT_LINK};
#undef KOVO_CLI_REC
#define KOVO_CLI_REC ALARM_CONFIG
constexpr FieldDesc kAlarmConfig[] = {KOVO_CLI_FIELD(nEnable),      KOVO_CLI_FIELD(nMode),
                                      KOVO_CLI_FIELD(szStartTime),  KOVO_CLI_FIELD(szEndTime),
                                      KOVO_CLI_FIELD(szStartTime2), KOVO_CLI_FIELD(szEndTime2),
                                      KOVO_CLI_EVENT_LINK};
#undef KOVO_CLI_REC
#define KOVO_CLI_REC NET_DOWN_PARAM
constexpr FieldDesc kNetDownParam[] = {KOVO_CLI_FIELD(nEnable), KOVO_CLI_EVENT_LINK};
#undef KOVO_CLI_REC
#define KOVO_CLI_REC ALARMIN_CONFIG
constexpr FieldDesc kAlarmInConfig[] = {KOVO_CLI_FIELD(nInputMode)};
#undef KOVO_CLI_REC
#define KOVO_CLI_REC ALARMOUT_CONFIG
constexpr FieldDesc kAlarmOutConfig[] = {KOVO_CLI_FIELD(nMode)};
#undef KOVO_CLI_REC
#define KOVO_CLI_REC ALARM_SERVICE_CONFIG
constexpr FieldDesc kAlarmServiceConfig[] = {KOVO_CLI_FIELD(nAlarmService), KOVO_CLI_FIELD(szIPAddr),
                                             KOVO_CLI_FIELD(nPort), KOVO_CLI_FIELD(nKeepaliveTimer)};
#undef KOVO_CLI_REC
#define KOVO_CLI_REC STORAGE_DEVICE_MODE
constexpr FieldDesc kStorageMode[] = {KOVO_CLI_FIELD(nEnable), KOVO_CLI_FIELD(nSequenceMode)};
#undef KOVO_CLI_REC
#define KOVO_CLI_REC STORAGE_DEVICE_CONTROL
constexpr FieldDesc kStorageControl[] = {KOVO_CLI_FIELD(nControl)};
#undef KOVO_CLI_REC
#define KOVO_CLI_REC STORAGE_DEVICE_INFO
constexpr FieldDesc kStorageInfo[] = {KOVO_CLI_FIELD(szStatus), KOVO_CLI_FIELD(szDescription),
                                      KOVO_CLI_FIELD(lCapability), KOVO_CLI_FIELD(lFree)};
#undef KOVO_CLI_REC
#define KOVO_CLI_REC LOCAL_RECORD_PARAM
constexpr FieldDesc kLocalRecordParam[] = {KOVO_CLI_FIELD(nEnable),      KOVO_CLI_FIELD(szStartTime),
                                           KOVO_CLI_FIELD(szEndTime),    KOVO_CLI_FIELD(nEnable2),
                                           KOVO_CLI_FIELD(szStartTime2), KOVO_CLI_FIELD(szEndTime2),
                                           KOVO_CLI_FIELD(nEmailEnable)};
#undef KOVO_CLI_REC
#define KOVO_CLI_REC LOCAL_SCHEDULE_SNAP_PARAM
constexpr FieldDesc kLocalScheduleSnapParam[] = {
    KOVO_CLI_FIELD(nEnable),    KOVO_CLI_FIELD(szStartTime),  KOVO_CLI_FIELD(szEndTime), KOVO_CLI_FIELD(nEnable2),
    KOVO_CLI_FIELD(szStartTime2), KOVO_CLI_FIELD(szEndTime2), KOVO_CLI_FIELD(nInterval), KOVO_CLI_FIELD(nQuality),
    KOVO_CLI_FIELD(nFtpEnable), KOVO_CLI_FIELD(nEmailEnable)};
#undef KOVO_CLI_REC
#define KOVO_CLI_REC DOWNLOAD_CONFIG
constexpr FieldDesc kDownloadConfig[] = {KOVO_CLI_FIELD_AS(nEnable, Unused), KOVO_CLI_FIELD(nPort)};
#undef KOVO_CLI_REC

// ---- adapters from each export's arguments to (id, selection, record) ------
template <typename R, long (*F)(long, R*)>
long byId(long id, const Selection&, void* record) {
    return F(id, static_cast<R*>(record));
}
template <typename R, long (*F)(long, int, R*)>
long byChannel(long id, const Selection& s, void* record) {
    return F(id, s.channel, static_cast<R*>(record));
}
template <typename R, long (*F)(long, int, R*)>
long byIndex(long id, const Selection& s, void* record) {
    return F(id, s.index, static_cast<R*>(record));
}
template <typename R, long (*F)(long, int, int, R*)>
long byChannelAndIndex(long id, const Selection& s, void* record) {
    return F(id, s.channel, s.index, static_cast<R*>(record));
}
long setAgc(long id, const Selection& s, void* record) {
    return Kovo_SetAGCSetup(id, s.channel, static_cast<PlainInt*>(record)->value);
}

// NAME is the export's name without Kovo_Get / Kovo_Set; the adapter says
// where the export's int argument comes from.
#define KOVO_CLI_SETTING(NAME, Rec, table, adapter, indexUse)                                       \
    Setting {                                                                                       \
        #NAME, describe(#Rec, sizeof(Rec), table), adapter<Rec, Kovo_Get##NAME>,                    \
            adapter<Rec, Kovo_Set##NAME>, indexUse                                                  \
    }
#define KOVO_CLI_READ_ONLY(NAME, Rec, table, adapter) \
    Setting { #NAME, describe(#Rec, sizeof(Rec), table), adapter<Rec, Kovo_Get##NAME>, nullptr, nullptr }
#define KOVO_CLI_TEXT(NAME)                                                                          \
    Setting {                                                                                        \
        #NAME, describe("text", sizeof(PlainText), kPlainText), byChannel<char, Kovo_Get##NAME>,     \
            byChannel<char, Kovo_Set##NAME>, nullptr                                                 \
    }

const std::vector<Setting> kSettings = {
    KOVO_CLI_TEXT(NoiseReduction), KOVO_CLI_TEXT(WhiteBalanceMode), KOVO_CLI_TEXT(NearLimitSetup),
    KOVO_CLI_TEXT(ApertureSetup), KOVO_CLI_TEXT(ShutterSpeed), KOVO_CLI_TEXT(ExposureMode),
    KOVO_CLI_TEXT(DayNightOnOFF), KOVO_CLI_TEXT(DayNightMode),
    Setting{"AGCSetup", describe("int", sizeof(PlainInt), kPlainInt), byChannel<int, Kovo_GetAGCSetup>, setAgc,
            nullptr},
    KOVO_CLI_SETTING(ChannelAttribute, VIDEO_ATTRIBUTE, kVideoAttribute, byId, nullptr),
    KOVO_CLI_SETTING(MultiVideoChannel, MULTI_VIDEO_CHANNEL, kMultiVideoChannel, byId, nullptr),
    KOVO_CLI_SETTING(VideoFlip, VIDEO_FLIP, kVideoFlip, byId, nullptr),
    KOVO_CLI_SETTING(HDMIConfig, HDMI_CONFIG, kHdmiConfig, byChannel, nullptr),
    KOVO_CLI_SETTING(OSDRegion, OSD_REGION, kOsdRegion, byChannelAndIndex, "1 title, 2 time stamp"),
    KOVO_CLI_SETTING(AudioAttribute, AUDIO_ATTRIBUTE, kAudioAttribute, byChannel, nullptr),
    KOVO_CLI_SETTING(PTModuleConfig, PTMODULE_CONFIG, kPtModuleConfig, byChannel, nullptr),
    KOVO_CLI_SETTING(HomeFunction, HOME_FUNCTION, kHomeFunction, byId, nullptr),
    KOVO_CLI_SETTING(SerialPortConfig, SERIALPORT_CONFIG, kSerialPortConfig, byIndex, "serial port 1..254"),
    Setting{"ProductSN", describe("text", sizeof(PlainText), kPlainText), byId<char, Kovo_GetProductSN>, nullptr,
            nullptr},
    KOVO_CLI_READ_ONLY(VersionInfo, VERSION_INFO, kVersionInfo, byId),
    KOVO_CLI_SETTING(DateTime, DATETIME_CONFIG, kDateTimeConfig, byId, nullptr),
    KOVO_CLI_SETTING(WatchdogConfig, WATCHDOG_CONFIG, kWatchdogConfig, byChannel, nullptr),
    KOVO_CLI_SETTING(NetConfig, NET_CONFIG, kNetConfig, byId, nullptr),
    KOVO_CLI_SETTING(PPPoEConfig, PPPOE_CONFIG, kPppoeConfig, byId, nullptr),
    KOVO_CLI_SETTING(DDNSConfig, DDNS_CONFIG, kDdnsConfig, byId, nullptr),
    KOVO_CLI_SETTING(WiFiConfig, WIFI_CONFIG, kWifiConfig, byId, nullptr),
    KOVO_CLI_SETTING(SMTPConfig, SMTP_CONFIG, kSmtpConfig, byId, nullptr),
    KOVO_CLI_SETTING(SMTPNotify, SMTP_NOTIFY, kSmtpNotify, byId, "recipient slot 1..4"),
    KOVO_CLI_SETTING(FTPConfig, FTP_CONFIG, kFtpConfig, byId, nullptr),
    KOVO_CLI_SETTING(MDConfig, MD_CONFIG, kMdConfig, byChannelAndIndex, "motion area 1..4"),
    KOVO_CLI_SETTING(MDLinkConfig, MD_LINK_CONFIG, kMdLinkConfig, byChannel, nullptr),
    KOVO_CLI_SETTING(AlarmConfig, ALARM_CONFIG, kAlarmConfig, byId, nullptr),
    KOVO_CLI_SETTING(NetDownConfig, NET_DOWN_PARAM, kNetDownParam, byId, nullptr),
    KOVO_CLI_SETTING(AlarmInConfig, ALARMIN_CONFIG, kAlarmInConfig, byIndex, "alarm input 1..4"),
    KOVO_CLI_SETTING(AlarmOutConfig, ALARMOUT_CONFIG, kAlarmOutConfig, byIndex, "alarm output 1..2"),
    KOVO_CLI_SETTING(AlarmServiceConfig, ALARM_SERVICE_CONFIG, kAlarmServiceConfig, byId, nullptr),
    KOVO_CLI_SETTING(StorageMode, STORAGE_DEVICE_MODE, kStorageMode, byId, nullptr),
    KOVO_CLI_SETTING(StorageControl, STORAGE_DEVICE_CONTROL, kStorageControl, byId, nullptr),
    KOVO_CLI_READ_ONLY(StorageInfo, STORAGE_DEVICE_INFO, kStorageInfo, byId),
    KOVO_CLI_SETTING(LocalRecordParam, LOCAL_RECORD_PARAM, kLocalRecordParam, byId, nullptr),
    KOVO_CLI_SETTING(LocalScheduleSnapParam, LOCAL_SCHEDULE_SNAP_PARAM, kLocalScheduleSnapParam, byId, nullptr),
    KOVO_CLI_SETTING(DownloadConfig, DOWNLOAD_CONFIG, kDownloadConfig, byId, nullptr),
};

}  // namespace

const std::vector<Setting>& settings() { return kSettings; }

const Setting* findSetting(const std::string& name) {
    for (const Setting& setting : kSettings)
        if (sameName(setting.name, name)) return &setting;
    return nullptr;
}

std::vector<std::string> settingNames() {
    std::vector<std::string> names;
    for (const Setting& setting : kSettings) names.push_back(setting.name);
    return names;
}

long readSetting(const Setting& setting, long deviceId, const Selection& selection, void* record) {
    std::memset(record, 0, setting.record.size);
    for (const FieldDesc& field : setting.record) {
        if (field.role != FieldRole::SelectChannel && field.role != FieldRole::SelectIndex) continue;
        const int value = field.role == FieldRole::SelectChannel ? selection.channel : selection.index;
        std::memcpy(static_cast<char*>(record) + field.offset, &value, sizeof value);
    }
    return setting.get(deviceId, selection, record);
}

}  // namespace kovo::cli
