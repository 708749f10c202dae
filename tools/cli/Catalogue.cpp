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
KOVO_CLI_RECORD(PlainText, KOVO_CLI_FIELD(value));
KOVO_CLI_RECORD(PlainInt, KOVO_CLI_FIELD(value));
KOVO_CLI_RECORD(VIDEO_ATTRIBUTE, KOVO_CLI_FIELD_AS(ChannelIndex, SelectChannel), KOVO_CLI_FIELD(ResolutionX),
                KOVO_CLI_FIELD(ResolutionY), KOVO_CLI_FIELD(EncodeBitRate), KOVO_CLI_FIELD(FrameRate),
                KOVO_CLI_FIELD(GOP), KOVO_CLI_FIELD(gopStructure), KOVO_CLI_FIELD(EncBitRateControl),
                KOVO_CLI_FIELD(EncBitRateMaxQP), KOVO_CLI_FIELD(EncBitRateMinQP));
KOVO_CLI_RECORD(MULTI_VIDEO_CHANNEL, KOVO_CLI_FIELD(nD1), KOVO_CLI_FIELD(nCIF), KOVO_CLI_FIELD(nMJPEG),
                KOVO_CLI_FIELD(SubD1));
KOVO_CLI_RECORD(VIDEO_FLIP, KOVO_CLI_FIELD(nVerticalFlip), KOVO_CLI_FIELD(nHorizontalFlip));
KOVO_CLI_RECORD(HDMI_CONFIG, KOVO_CLI_FIELD(nEnable));
KOVO_CLI_RECORD(OSD_REGION, KOVO_CLI_FIELD(title), KOVO_CLI_FIELD(titledisplay), KOVO_CLI_FIELD(titlecolor),
                KOVO_CLI_FIELD(titleh), KOVO_CLI_FIELD(titlev), KOVO_CLI_FIELD(timedisplay), KOVO_CLI_FIELD(timeformat),
                KOVO_CLI_FIELD(timemode), KOVO_CLI_FIELD(timecolor), KOVO_CLI_FIELD(timeh), KOVO_CLI_FIELD(timev));
KOVO_CLI_RECORD(AUDIO_ATTRIBUTE, KOVO_CLI_FIELD(nEnable), KOVO_CLI_FIELD(nSampleRate), KOVO_CLI_FIELD(nEncodeType),
                KOVO_CLI_FIELD(nBitRate), KOVO_CLI_FIELD(nIn), KOVO_CLI_FIELD(nInVolume), KOVO_CLI_FIELD(nOut),
                KOVO_CLI_FIELD(nOutVolume));
KOVO_CLI_RECORD(PTMODULE_CONFIG, KOVO_CLI_FIELD(nFunction), KOVO_CLI_FIELD(nMode), KOVO_CLI_FIELD(nPara1),
                KOVO_CLI_FIELD(nPara2));
KOVO_CLI_RECORD(HOME_FUNCTION, KOVO_CLI_FIELD(HomeFunction), KOVO_CLI_FIELD(HomeFunctionMode),
                KOVO_CLI_FIELD(HomeFunctionIndex), KOVO_CLI_FIELD(HomeFunctionIdle));
KOVO_CLI_RECORD(SERIALPORT_CONFIG, KOVO_CLI_FIELD(nProtocol), KOVO_CLI_FIELD(nDomeId), KOVO_CLI_FIELD(nBaudRate),
                KOVO_CLI_FIELD(nCharLen), KOVO_CLI_FIELD(nParityBit), KOVO_CLI_FIELD(nStopBit));
KOVO_CLI_RECORD(VERSION_INFO, KOVO_CLI_FIELD(szHardWareVersion), KOVO_CLI_FIELD(szFirmWareVersion),
                KOVO_CLI_FIELD(szCamModule));
KOVO_CLI_RECORD(DATETIME_CONFIG, KOVO_CLI_FIELD(nNtpMode), KOVO_CLI_FIELD(szNtpServer), KOVO_CLI_FIELD(nDstMode),
                KOVO_CLI_FIELD(szDstTime));
KOVO_CLI_RECORD(WATCHDOG_CONFIG, KOVO_CLI_FIELD(nEanble));
KOVO_CLI_RECORD(NET_CONFIG, KOVO_CLI_FIELD(szIP), KOVO_CLI_FIELD(szNetMask), KOVO_CLI_FIELD(szGateway),
                KOVO_CLI_FIELD(nDHCPMode), KOVO_CLI_FIELD(szMainDNS), KOVO_CLI_FIELD(szSubDNS));
KOVO_CLI_RECORD(PPPOE_CONFIG, KOVO_CLI_FIELD(nEnable), KOVO_CLI_FIELD(szUser), KOVO_CLI_FIELD(szPassword));
KOVO_CLI_RECORD(DDNS_CONFIG, KOVO_CLI_FIELD(nEnable), KOVO_CLI_FIELD(szServer), KOVO_CLI_FIELD(szDomain),
                KOVO_CLI_FIELD(szUsername), KOVO_CLI_FIELD(szPassword));
KOVO_CLI_RECORD(WIFI_CONFIG, KOVO_CLI_FIELD(nEnable), KOVO_CLI_FIELD(szIP), KOVO_CLI_FIELD(szSubmask),
                KOVO_CLI_FIELD(szGateway), KOVO_CLI_FIELD_AS(szOperationMode, ReadOnly),
                KOVO_CLI_FIELD(szChannelNumber), KOVO_CLI_FIELD(szSSID), KOVO_CLI_FIELD(szPassword));
KOVO_CLI_RECORD(SMTP_CONFIG, KOVO_CLI_FIELD(szServerIP), KOVO_CLI_FIELD(nServerPort), KOVO_CLI_FIELD(nAuth),
                KOVO_CLI_FIELD(szUsername), KOVO_CLI_FIELD(szPassword), KOVO_CLI_FIELD(szFromEmail));
KOVO_CLI_RECORD(SMTP_NOTIFY, KOVO_CLI_FIELD_AS(nIndex, SelectIndex), KOVO_CLI_FIELD(szToEmail),
                KOVO_CLI_FIELD(szCcEmail), KOVO_CLI_FIELD(szSubject));
KOVO_CLI_RECORD(FTP_CONFIG, KOVO_CLI_FIELD(nClientMode), KOVO_CLI_FIELD(szServerIP), KOVO_CLI_FIELD(nServerPort),
                KOVO_CLI_FIELD(szUsername), KOVO_CLI_FIELD(szPassword), KOVO_CLI_FIELD(szFilePath),
                KOVO_CLI_FIELD(szServerIP2), KOVO_CLI_FIELD(nServerPort2), KOVO_CLI_FIELD(szUsername2),
                KOVO_CLI_FIELD(szPassword2), KOVO_CLI_FIELD(szFilePath2));
KOVO_CLI_RECORD(MD_CONFIG, KOVO_CLI_FIELD(nEnable), KOVO_CLI_FIELD(nSensitivity), KOVO_CLI_FIELD(nAreaX),
                KOVO_CLI_FIELD(nAreaY), KOVO_CLI_FIELD(nAreaWidth), KOVO_CLI_FIELD(nAreaHeight));

// The event-link block the three link records end with.
#define KOVO_CLI_EVENT_LINK                                                                                  \
    KOVO_CLI_FIELD(nLinkOutputEnable), KOVO_CLI_FIELD(nLinkOutputMode), KOVO_CLI_FIELD(nLinkOutputKeepTime), \
        KOVO_CLI_FIELD(nLinkOutputEmailEnable), KOVO_CLI_FIELD(nLinkLocalRecordEnable),                      \
        KOVO_CLI_FIELD(nLinkLocalRecordStreamNumber), KOVO_CLI_FIELD(nLinkLocalRecordFramerate),             \
        KOVO_CLI_FIELD(nLinkLocalRecordKeepTime), KOVO_CLI_FIELD(nLinkLocalRecordFtpEnable),                 \
        KOVO_CLI_FIELD(nLinkLocalRecordEmailEnable), KOVO_CLI_FIELD(nLinkLocalSnapEnable),                   \
        KOVO_CLI_FIELD(nLinkLocalSnapJpegQuantity), KOVO_CLI_FIELD(nLinkLocalSnapIntervalTime),              \
        KOVO_CLI_FIELD(nLinkLocalSnapJpegQuality), KOVO_CLI_FIELD(nLinkLocalSnapFtpEnable),                  \
        KOVO_CLI_FIELD(nLinkLocalSnapEmailEnable)
KOVO_CLI_RECORD(MD_LINK_CONFIG, KOVO_CLI_FIELD(nEnable), KOVO_CLI_FIELD(szScheduleStartTime),
                KOVO_CLI_FIELD(szScheduleEndTime), KOVO_CLI_FIELD(szScheduleStartTime2),
                KOVO_CLI_FIELD(szScheduleEndTime2), KOVO_CLI_EVENT_LINK);
KOVO_CLI_RECORD(ALARM_CONFIG, KOVO_CLI_FIELD(nEnable), KOVO_CLI_FIELD(nMode), KOVO_CLI_FIELD(szStartTime),
                KOVO_CLI_FIELD(szEndTime), KOVO_CLI_FIELD(szStartTime2), KOVO_CLI_FIELD(szEndTime2),
                KOVO_CLI_EVENT_LINK);
KOVO_CLI_RECORD(NET_DOWN_PARAM, KOVO_CLI_FIELD(nEnable), KOVO_CLI_EVENT_LINK);
KOVO_CLI_RECORD(ALARMIN_CONFIG, KOVO_CLI_FIELD(nInputMode));
KOVO_CLI_RECORD(ALARMOUT_CONFIG, KOVO_CLI_FIELD(nMode));
KOVO_CLI_RECORD(ALARM_SERVICE_CONFIG, KOVO_CLI_FIELD(nAlarmService), KOVO_CLI_FIELD(szIPAddr), KOVO_CLI_FIELD(nPort),
                KOVO_CLI_FIELD(nKeepaliveTimer));
KOVO_CLI_RECORD(STORAGE_DEVICE_MODE, KOVO_CLI_FIELD(nEnable), KOVO_CLI_FIELD(nSequenceMode));
KOVO_CLI_RECORD(STORAGE_DEVICE_CONTROL, KOVO_CLI_FIELD(nControl));
KOVO_CLI_RECORD(STORAGE_DEVICE_INFO, KOVO_CLI_FIELD(szStatus), KOVO_CLI_FIELD(szDescription),
                KOVO_CLI_FIELD(lCapability), KOVO_CLI_FIELD(lFree));
KOVO_CLI_RECORD(LOCAL_RECORD_PARAM, KOVO_CLI_FIELD(nEnable), KOVO_CLI_FIELD(szStartTime), KOVO_CLI_FIELD(szEndTime),
                KOVO_CLI_FIELD(nEnable2), KOVO_CLI_FIELD(szStartTime2), KOVO_CLI_FIELD(szEndTime2),
                KOVO_CLI_FIELD(nEmailEnable));
KOVO_CLI_RECORD(LOCAL_SCHEDULE_SNAP_PARAM, KOVO_CLI_FIELD(nEnable), KOVO_CLI_FIELD(szStartTime),
                KOVO_CLI_FIELD(szEndTime), KOVO_CLI_FIELD(nEnable2), KOVO_CLI_FIELD(szStartTime2),
                KOVO_CLI_FIELD(szEndTime2), KOVO_CLI_FIELD(nInterval), KOVO_CLI_FIELD(nQuality),
                KOVO_CLI_FIELD(nFtpEnable), KOVO_CLI_FIELD(nEmailEnable));
KOVO_CLI_RECORD(DOWNLOAD_CONFIG, KOVO_CLI_FIELD_AS(nEnable, Unused), KOVO_CLI_FIELD(nPort));

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
#define KOVO_CLI_SETTING(NAME, Rec, adapter, indexUse)                                                           \
    Setting {                                                                                                    \
#NAME, describe(#Rec, sizeof(Rec), Rec##_fields::fields), adapter < Rec, Kovo_Get##NAME>, adapter < Rec, \
            Kovo_Set##NAME>, indexUse                                                                            \
    }
#define KOVO_CLI_READ_ONLY(NAME, Rec, adapter)                                                                     \
    Setting {                                                                                                      \
#NAME, describe(#Rec, sizeof(Rec), Rec##_fields::fields), adapter < Rec, Kovo_Get##NAME>, nullptr, nullptr \
    }
#define KOVO_CLI_TEXT(NAME)                                                                                      \
    Setting {                                                                                                    \
#NAME, describe("text", sizeof(PlainText), PlainText_fields::fields), byChannel < char, Kovo_Get##NAME>, \
            byChannel < char, Kovo_Set##NAME>, nullptr                                                           \
    }

const std::vector<Setting> kSettings = {
    KOVO_CLI_TEXT(NoiseReduction),
    KOVO_CLI_TEXT(WhiteBalanceMode),
    KOVO_CLI_TEXT(NearLimitSetup),
    KOVO_CLI_TEXT(ApertureSetup),
    KOVO_CLI_TEXT(ShutterSpeed),
    KOVO_CLI_TEXT(ExposureMode),
    KOVO_CLI_TEXT(DayNightOnOFF),
    KOVO_CLI_TEXT(DayNightMode),
    Setting{"AGCSetup", describe("int", sizeof(PlainInt), PlainInt_fields::fields), byChannel<int, Kovo_GetAGCSetup>,
            setAgc, nullptr},
    KOVO_CLI_SETTING(ChannelAttribute, VIDEO_ATTRIBUTE, byId, nullptr),
    KOVO_CLI_SETTING(MultiVideoChannel, MULTI_VIDEO_CHANNEL, byId, nullptr),
    KOVO_CLI_SETTING(VideoFlip, VIDEO_FLIP, byId, nullptr),
    KOVO_CLI_SETTING(HDMIConfig, HDMI_CONFIG, byChannel, nullptr),
    KOVO_CLI_SETTING(OSDRegion, OSD_REGION, byChannelAndIndex, "1 title, 2 time stamp"),
    KOVO_CLI_SETTING(AudioAttribute, AUDIO_ATTRIBUTE, byChannel, nullptr),
    KOVO_CLI_SETTING(PTModuleConfig, PTMODULE_CONFIG, byChannel, nullptr),
    KOVO_CLI_SETTING(HomeFunction, HOME_FUNCTION, byId, nullptr),
    KOVO_CLI_SETTING(SerialPortConfig, SERIALPORT_CONFIG, byIndex, "serial port 1..254"),
    Setting{"ProductSN", describe("text", sizeof(PlainText), PlainText_fields::fields), byId<char, Kovo_GetProductSN>,
            nullptr, nullptr},
    KOVO_CLI_READ_ONLY(VersionInfo, VERSION_INFO, byId),
    KOVO_CLI_SETTING(DateTime, DATETIME_CONFIG, byId, nullptr),
    KOVO_CLI_SETTING(WatchdogConfig, WATCHDOG_CONFIG, byChannel, nullptr),
    KOVO_CLI_SETTING(NetConfig, NET_CONFIG, byId, nullptr),
    KOVO_CLI_SETTING(PPPoEConfig, PPPOE_CONFIG, byId, nullptr),
    KOVO_CLI_SETTING(DDNSConfig, DDNS_CONFIG, byId, nullptr),
    KOVO_CLI_SETTING(WiFiConfig, WIFI_CONFIG, byId, nullptr),
    KOVO_CLI_SETTING(SMTPConfig, SMTP_CONFIG, byId, nullptr),
    KOVO_CLI_SETTING(SMTPNotify, SMTP_NOTIFY, byId, "recipient slot 1..4"),
    KOVO_CLI_SETTING(FTPConfig, FTP_CONFIG, byId, nullptr),
    KOVO_CLI_SETTING(MDConfig, MD_CONFIG, byChannelAndIndex, "motion area 1..4"),
    KOVO_CLI_SETTING(MDLinkConfig, MD_LINK_CONFIG, byChannel, nullptr),
    KOVO_CLI_SETTING(AlarmConfig, ALARM_CONFIG, byId, nullptr),
    KOVO_CLI_SETTING(NetDownConfig, NET_DOWN_PARAM, byId, nullptr),
    KOVO_CLI_SETTING(AlarmInConfig, ALARMIN_CONFIG, byIndex, "alarm input 1..4"),
    KOVO_CLI_SETTING(AlarmOutConfig, ALARMOUT_CONFIG, byIndex, "alarm output 1..2"),
    KOVO_CLI_SETTING(AlarmServiceConfig, ALARM_SERVICE_CONFIG, byId, nullptr),
    KOVO_CLI_SETTING(StorageMode, STORAGE_DEVICE_MODE, byId, nullptr),
    KOVO_CLI_SETTING(StorageControl, STORAGE_DEVICE_CONTROL, byId, nullptr),
    KOVO_CLI_READ_ONLY(StorageInfo, STORAGE_DEVICE_INFO, byId),
    KOVO_CLI_SETTING(LocalRecordParam, LOCAL_RECORD_PARAM, byId, nullptr),
    KOVO_CLI_SETTING(LocalScheduleSnapParam, LOCAL_SCHEDULE_SNAP_PARAM, byId, nullptr),
    KOVO_CLI_SETTING(DownloadConfig, DOWNLOAD_CONFIG, byId, nullptr),
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
