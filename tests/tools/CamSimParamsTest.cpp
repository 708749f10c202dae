// The simulator against the library: every parameter family reads the
// simulator's factory settings and reads back what it wrote.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "CamSimProcess.h"
#include "sdk/KovoSDK.h"

namespace kovo::test {
namespace {

class CamSimParams : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        if (!CamSimProcess::available()) return;
        sim_ = new CamSimProcess();
        if (sim_->start()) id_ = Kovo_Login("127.0.0.1", sim_->port(), nullptr);
    }
    static void TearDownTestSuite() {
        if (id_ > 0) Kovo_Logout(id_);
        id_ = -1;
        delete sim_;
        sim_ = nullptr;
    }
    void SetUp() override {
        if (!CamSimProcess::available()) GTEST_SKIP() << "kovo-camsim is not built: " << CamSimProcess::binaryPath();
        ASSERT_GT(id_, 0) << "login to the simulator failed";
    }

    static CamSimProcess* sim_;
    static long id_;
};

CamSimProcess* CamSimParams::sim_ = nullptr;
long CamSimParams::id_ = -1;

template <size_t N>
void copyText(char (&field)[N], const char* text) {
    std::memset(field, 0, N);
    std::strncpy(field, text, N - 1);
}

using TextGetter = long (*)(long, int, char*);
using TextSetter = long (*)(long, int, char*);

struct TextSetting {
    const char* name;
    TextGetter get;
    TextSetter set;
    const char* factory;
    const char* changed;
};

TEST_F(CamSimParams, ImagingTextsReadFactoryValuesAndKeepWrites) {
    const TextSetting settings[] = {
        {"noise reduction", Kovo_GetNoiseReduction, Kovo_SetNoiseReduction, "Auto", "High"},
        {"white balance", Kovo_GetWhiteBalanceMode, Kovo_SetWhiteBalanceMode, "Auto", "Indoor"},
        {"near limit", Kovo_GetNearLimitSetup, Kovo_SetNearLimitSetup, "1m", "3m"},
        {"aperture", Kovo_GetApertureSetup, Kovo_SetApertureSetup, "Auto", "F2.8"},
        {"shutter", Kovo_GetShutterSpeed, Kovo_SetShutterSpeed, "1/50", "1/250"},
        {"exposure", Kovo_GetExposureMode, Kovo_SetExposureMode, "Auto", "Manual"},
        {"day/night switch", Kovo_GetDayNightOnOFF, Kovo_SetDayNightOnOFF, "ON", "OFF"},
        {"day/night mode", Kovo_GetDayNightMode, Kovo_SetDayNightMode, "Auto", "Night"},
    };
    for (const auto& s : settings) {
        SCOPED_TRACE(s.name);
        char text[256] = "";
        ASSERT_EQ(0, s.get(id_, 0, text));
        EXPECT_STREQ(s.factory, text);
        char changed[64];
        copyText(changed, s.changed);
        ASSERT_EQ(0, s.set(id_, 0, changed));
        ASSERT_EQ(0, s.get(id_, -1, text));
        EXPECT_STREQ(s.changed, text);
    }
    int agc = -1;
    ASSERT_EQ(0, Kovo_GetAGCSetup(id_, 0, &agc));
    EXPECT_EQ(1, agc);
    ASSERT_EQ(0, Kovo_SetAGCSetup(id_, 0, 0));
    ASSERT_EQ(0, Kovo_GetAGCSetup(id_, 0, &agc));
    EXPECT_EQ(0, agc);
}

TEST_F(CamSimParams, EncoderStreamsAreSeparateAndMainStreamMatchesThePicture) {
    VIDEO_ATTRIBUTE main{}, sub{};
    main.ChannelIndex = 1;
    sub.ChannelIndex = 2;
    ASSERT_EQ(0, Kovo_GetChannelAttribute(id_, &main));
    ASSERT_EQ(0, Kovo_GetChannelAttribute(id_, &sub));
    EXPECT_EQ(640, main.ResolutionX);
    EXPECT_EQ(360, main.ResolutionY);
    EXPECT_EQ(25, main.FrameRate);
    EXPECT_EQ(1024, main.EncodeBitRate);
    EXPECT_EQ(352, sub.ResolutionX);
    EXPECT_EQ(288, sub.ResolutionY);

    sub.EncodeBitRate = 768;
    sub.GOP = 50;
    ASSERT_EQ(0, Kovo_SetChannelAttribute(id_, &sub));
    VIDEO_ATTRIBUTE readSub{}, readMain{};
    readSub.ChannelIndex = 2;
    readMain.ChannelIndex = 1;
    ASSERT_EQ(0, Kovo_GetChannelAttribute(id_, &readSub));
    ASSERT_EQ(0, Kovo_GetChannelAttribute(id_, &readMain));
    EXPECT_EQ(768, readSub.EncodeBitRate);
    EXPECT_EQ(50, readSub.GOP);
    EXPECT_EQ(1024, readMain.EncodeBitRate);

    MULTI_VIDEO_CHANNEL channels{};
    ASSERT_EQ(0, Kovo_GetMultiVideoChannel(id_, &channels));
    EXPECT_EQ(1, channels.nD1);
    EXPECT_EQ(0, channels.SubD1);
    VIDEO_FLIP flip{1, 0};
    ASSERT_EQ(0, Kovo_SetVideoFlip(id_, &flip));
    VIDEO_FLIP readFlip{0, 1};
    ASSERT_EQ(0, Kovo_GetVideoFlip(id_, &readFlip));
    EXPECT_EQ(1, readFlip.nVerticalFlip);
    EXPECT_EQ(0, readFlip.nHorizontalFlip);
    HDMI_CONFIG hdmi{1};
    ASSERT_EQ(0, Kovo_SetHDMIConfig(id_, 0, &hdmi));
    hdmi.nEnable = 0;
    ASSERT_EQ(0, Kovo_GetHDMIConfig(id_, 0, &hdmi));
    EXPECT_EQ(1, hdmi.nEnable);
}

TEST_F(CamSimParams, OsdTitleAndAudioAttributes) {
    OSD_REGION osd{};
    ASSERT_EQ(0, Kovo_GetOSDRegion(id_, 0, 1, &osd));
    EXPECT_STREQ("Kovo CamSim", osd.title);
    EXPECT_EQ(1, osd.titledisplay);
    EXPECT_STREQ("White", osd.titlecolor);
    copyText(osd.title, "Gate 3");
    copyText(osd.titlecolor, "Gray");
    osd.titleh = 10;
    osd.titlev = 90;
    ASSERT_EQ(0, Kovo_SetOSDRegion(id_, 0, 1, &osd));
    OSD_REGION back{};
    ASSERT_EQ(0, Kovo_GetOSDRegion(id_, 0, 1, &back));
    EXPECT_STREQ("Gate 3", back.title);
    EXPECT_STREQ("Gray", back.titlecolor);
    EXPECT_EQ(10, back.titleh);
    EXPECT_EQ(90, back.titlev);

    AUDIO_ATTRIBUTE audio{};
    ASSERT_EQ(0, Kovo_GetAudioAttribute(id_, 0, &audio));
    EXPECT_EQ(1, audio.nEnable);
    EXPECT_EQ(48000, audio.nSampleRate);
    EXPECT_EQ(0, audio.nEncodeType);  // AAC
    audio.nInVolume = 25;
    ASSERT_EQ(0, Kovo_SetAudioAttribute(id_, 0, &audio));
    AUDIO_ATTRIBUTE readAudio{};
    ASSERT_EQ(0, Kovo_GetAudioAttribute(id_, 0, &readAudio));
    EXPECT_EQ(25, readAudio.nInVolume);
    EXPECT_EQ(128000, readAudio.nBitRate);
}

TEST_F(CamSimParams, PtzCommandsAndSerialPortsPerPort) {
    EXPECT_EQ(0, Kovo_PTZControl(id_, 0, 10, 5));
    EXPECT_EQ(0, Kovo_PTZControl(id_, 0, 30, 0));
    SERIALPORT_CONFIG com1{};
    ASSERT_EQ(0, Kovo_GetSerialPortConfig(id_, 1, &com1));
    EXPECT_EQ(2, com1.nProtocol);  // PELCO_D
    EXPECT_EQ(9600, com1.nBaudRate);
    SERIALPORT_CONFIG com2 = com1;
    com2.nBaudRate = 4800;
    com2.nProtocol = 1;
    ASSERT_EQ(0, Kovo_SetSerialPortConfig(id_, 2, &com2));
    SERIALPORT_CONFIG back{};
    ASSERT_EQ(0, Kovo_GetSerialPortConfig(id_, 2, &back));
    EXPECT_EQ(4800, back.nBaudRate);
    EXPECT_EQ(1, back.nProtocol);
    ASSERT_EQ(0, Kovo_GetSerialPortConfig(id_, 1, &back));
    EXPECT_EQ(9600, back.nBaudRate);

    PTMODULE_CONFIG pt{1, 0, 2, 200};
    ASSERT_EQ(0, Kovo_SetPTModuleConfig(id_, 0, &pt));
    PTMODULE_CONFIG readPt{};
    ASSERT_EQ(0, Kovo_GetPTModuleConfig(id_, 0, &readPt));
    EXPECT_EQ(1, readPt.nFunction);
    EXPECT_EQ(200, readPt.nPara2);
    HOME_FUNCTION home{1, 2, 4, 30};
    ASSERT_EQ(0, Kovo_SetHomeFunction(id_, &home));
    HOME_FUNCTION readHome{};
    ASSERT_EQ(0, Kovo_GetHomeFunction(id_, &readHome));
    EXPECT_EQ(2, readHome.HomeFunctionMode);
    EXPECT_EQ(30, readHome.HomeFunctionIdle);
    unsigned char raw[] = {0xFF, 0x01, 0x00, 0x08};
    EXPECT_EQ(0, Kovo_TransparentTransfer(id_, 0, raw, 4));
    char mode[] = "Manual";
    EXPECT_EQ(0, Kovo_AuxilControl(id_, 1, mode, 1));
}

TEST_F(CamSimParams, SystemIdentityClockAndWatchdog) {
    char sn[256] = "";
    ASSERT_EQ(0, Kovo_GetProductSN(id_, sn));
    EXPECT_GT(std::strlen(sn), 8u);
    VERSION_INFO version{};
    ASSERT_EQ(0, Kovo_GetVersionInfo(id_, &version));
    EXPECT_NE('\0', version.szHardWareVersion[0]);
    EXPECT_NE(nullptr, std::strstr(version.szFirmWareVersion, "2.1.2"));
    DATETIME_CONFIG clock{1, "", 8, "OFF"};
    copyText(clock.szNtpServer, "time.example.com");
    ASSERT_EQ(0, Kovo_SetDateTime(id_, &clock));
    DATETIME_CONFIG back{};
    ASSERT_EQ(0, Kovo_GetDateTime(id_, &back));
    EXPECT_EQ(1, back.nNtpMode);
    EXPECT_STREQ("time.example.com", back.szNtpServer);
    EXPECT_EQ(8, back.nDstMode);
    WATCHDOG_CONFIG dog{0};
    ASSERT_EQ(0, Kovo_SetWatchdogConfig(id_, 0, &dog));
    dog.nEanble = 1;
    ASSERT_EQ(0, Kovo_GetWatchdogConfig(id_, 0, &dog));
    EXPECT_EQ(0, dog.nEanble);
    EXPECT_EQ(0, Kovo_RebootDevice(id_));
}

TEST_F(CamSimParams, NetworkInterfaces) {
    NET_CONFIG net{};
    ASSERT_EQ(0, Kovo_GetNetConfig(id_, &net));
    EXPECT_STREQ("192.168.1.64", net.szIP);
    EXPECT_STREQ("255.255.255.0", net.szNetMask);
    copyText(net.szIP, "10.1.2.3");
    ASSERT_EQ(0, Kovo_SetNetConfig(id_, &net));
    NET_CONFIG back{};
    ASSERT_EQ(0, Kovo_GetNetConfig(id_, &back));
    EXPECT_STREQ("10.1.2.3", back.szIP);

    WIFI_CONFIG wifi{};
    ASSERT_EQ(0, Kovo_GetWiFiConfig(id_, &wifi));
    EXPECT_STREQ("KovoCam", wifi.szSSID);
    EXPECT_STREQ("Managed", wifi.szOperationMode);
    PPPOE_CONFIG pppoe{1, "user", "secret"};
    ASSERT_EQ(0, Kovo_SetPPPoEConfig(id_, &pppoe));
    PPPOE_CONFIG readPppoe{};
    ASSERT_EQ(0, Kovo_GetPPPoEConfig(id_, &readPppoe));
    EXPECT_EQ(1, readPppoe.nEnable);
    EXPECT_STREQ("user", readPppoe.szUser);
    DDNS_CONFIG ddns{};
    ASSERT_EQ(0, Kovo_GetDDNSConfig(id_, &ddns));
    EXPECT_EQ(0, ddns.nEnable);
    EXPECT_STREQ("ddns.example.com", ddns.szServer);
}

TEST_F(CamSimParams, MailRecipientsPerSlotAndFtp) {
    SMTP_CONFIG smtp{};
    ASSERT_EQ(0, Kovo_GetSMTPConfig(id_, &smtp));
    EXPECT_EQ(25, smtp.nServerPort);
    SMTP_NOTIFY slot2{2, "", "", ""};
    copyText(slot2.szToEmail, "night@example.com");
    copyText(slot2.szCcEmail, "boss@example.com");
    copyText(slot2.szSubject, "Night shift alarm");
    ASSERT_EQ(0, Kovo_SetSMTPNotify(id_, &slot2));
    SMTP_NOTIFY read1{1, "", "", ""}, read2{2, "", "", ""};
    ASSERT_EQ(0, Kovo_GetSMTPNotify(id_, &read1));
    ASSERT_EQ(0, Kovo_GetSMTPNotify(id_, &read2));
    EXPECT_STREQ("operator@example.com", read1.szToEmail);
    EXPECT_STREQ("night@example.com", read2.szToEmail);
    EXPECT_STREQ("Night shift alarm", read2.szSubject);
    FTP_CONFIG ftp{};
    ASSERT_EQ(0, Kovo_GetFTPConfig(id_, &ftp));
    EXPECT_EQ(21, ftp.nServerPort);
    EXPECT_STREQ("/upload", ftp.szFilePath);
}

TEST_F(CamSimParams, MotionAreasAlarmsAndContacts) {
    MD_CONFIG area2{1, 70, 100, 50, 200, 120};
    ASSERT_EQ(0, Kovo_SetMDConfig(id_, 0, 2, &area2));
    MD_CONFIG read1{}, read2{};
    ASSERT_EQ(0, Kovo_GetMDConfig(id_, 0, 1, &read1));
    ASSERT_EQ(0, Kovo_GetMDConfig(id_, 0, 2, &read2));
    EXPECT_EQ(1, read1.nEnable);
    EXPECT_EQ(640, read1.nAreaWidth);
    EXPECT_EQ(70, read2.nSensitivity);
    EXPECT_EQ(200, read2.nAreaWidth);
    EXPECT_EQ(120, read2.nAreaHeight);

    MD_LINK_CONFIG link{};
    ASSERT_EQ(0, Kovo_GetMDLinkConfig(id_, 0, &link));
    EXPECT_EQ(1, link.nEnable);
    EXPECT_STREQ("23:59:59", link.szScheduleEndTime);
    EXPECT_EQ(25, link.nLinkLocalRecordFramerate);
    link.nLinkOutputKeepTime = 60;
    ASSERT_EQ(0, Kovo_SetMDLinkConfig(id_, 0, &link));
    MD_LINK_CONFIG readLink{};
    ASSERT_EQ(0, Kovo_GetMDLinkConfig(id_, 0, &readLink));
    EXPECT_EQ(60, readLink.nLinkOutputKeepTime);

    ALARM_CONFIG alarm{};
    ASSERT_EQ(0, Kovo_GetAlarmConfig(id_, &alarm));
    EXPECT_EQ(0, alarm.nEnable);
    NET_DOWN_PARAM down{};
    ASSERT_EQ(0, Kovo_GetNetDownConfig(id_, &down));
    EXPECT_EQ(30, down.nLinkLocalRecordKeepTime);
    ALARMIN_CONFIG in3{1};
    ASSERT_EQ(0, Kovo_SetAlarmInConfig(id_, 3, &in3));
    ALARMIN_CONFIG readIn1{1}, readIn3{0};
    ASSERT_EQ(0, Kovo_GetAlarmInConfig(id_, 1, &readIn1));
    ASSERT_EQ(0, Kovo_GetAlarmInConfig(id_, 3, &readIn3));
    EXPECT_EQ(0, readIn1.nInputMode);
    EXPECT_EQ(1, readIn3.nInputMode);
    ALARM_SERVICE_CONFIG service{};
    ASSERT_EQ(0, Kovo_GetAlarmServiceConfig(id_, &service));
    EXPECT_EQ(7001, service.nPort);
}

TEST_F(CamSimParams, StorageAndRecording) {
    STORAGE_DEVICE_INFO info{};
    ASSERT_EQ(0, Kovo_GetStorageInfo(id_, &info));
    EXPECT_STREQ("Ready", info.szStatus);
    EXPECT_GT(info.lCapability, info.lFree);
    STORAGE_DEVICE_MODE mode{1, 1};
    ASSERT_EQ(0, Kovo_SetStorageMode(id_, &mode));
    STORAGE_DEVICE_MODE readMode{};
    ASSERT_EQ(0, Kovo_GetStorageMode(id_, &readMode));
    EXPECT_EQ(1, readMode.nSequenceMode);
    STORAGE_DEVICE_CONTROL control{};
    ASSERT_EQ(0, Kovo_GetStorageControl(id_, &control));
    EXPECT_EQ(1, control.nControl);  // Plug-In
    LOCAL_RECORD_PARAM record{1, "07:00:00", "19:00:00", 0, "", "", 0};
    ASSERT_EQ(0, Kovo_SetLocalRecordParam(id_, &record));
    LOCAL_RECORD_PARAM readRecord{};
    ASSERT_EQ(0, Kovo_GetLocalRecordParam(id_, &readRecord));
    EXPECT_EQ(1, readRecord.nEnable);
    EXPECT_STREQ("07:00:00", readRecord.szStartTime);
    LOCAL_SCHEDULE_SNAP_PARAM snap{};
    ASSERT_EQ(0, Kovo_GetLocalScheduleSnapParam(id_, &snap));
    EXPECT_EQ(60, snap.nInterval);
    REMOTE_SNAP remote{"snap.jpg", 1, 90};
    EXPECT_EQ(0, Kovo_RemoteSnap(id_, &remote));
    REMOTE_RECORD_CONFIG recording{"clip.avi", 1};
    EXPECT_EQ(0, Kovo_SetRemoteRecordConfig(id_, &recording));
}

TEST_F(CamSimParams, FileSearchPagesThroughTheListAndDeleteRemovesAFile) {
    QUERY_FILE query{0, 0, 0, "08:00:00", "09:00:00"};
    ASSERT_EQ(0, Kovo_QueryFile(id_, &query));
    int count = 0;
    char** list = nullptr;
    ASSERT_EQ(0, Kovo_QueryFileList(id_, &count, &list));
    ASSERT_EQ(7, count);  // every ten minutes, both ends included, over two pages
    ASSERT_NE(nullptr, list);
    const char* block = reinterpret_cast<const char*>(list);
    EXPECT_STREQ("REC_080000.avi", block);
    EXPECT_STREQ("REC_090000.avi", block + 6 * KOVO_FILE_LIST_ENTRY_SIZE);
    Kovo_FreeFileList(list);

    FTP_DELETEFILE victim{"REC_081000.avi"};
    ASSERT_EQ(0, Kovo_DeleteFile(id_, &victim));
    list = nullptr;
    ASSERT_EQ(0, Kovo_QueryFileList(id_, &count, &list));
    EXPECT_EQ(6, count);
    Kovo_FreeFileList(list);

    DOWNLOAD_CONFIG download{1, 9000};
    ASSERT_EQ(0, Kovo_SetDownloadConfig(id_, &download));
    DOWNLOAD_CONFIG readDownload{};
    ASSERT_EQ(0, Kovo_GetDownloadConfig(id_, &readDownload));
    EXPECT_EQ(9000, readDownload.nPort);
}

TEST_F(CamSimParams, LogShowsEveryRequestAsABlock) {
    char text[256] = "";
    ASSERT_EQ(0, Kovo_GetNoiseReduction(id_, 0, text));
    const std::string log = sim_->output();
    EXPECT_NE(std::string::npos, log.find("OPTIONS rtsp://127.0.0.1 RTSP/1.0\r\nCSeq: 1\r\n"));
    EXPECT_NE(std::string::npos, log.find("GET_PARAMETER rtsp://127.0.0.1 RTSP/1.0\r\n"));
    EXPECT_NE(std::string::npos, log.find("\r\nNoiseReduction\r\n\r\n"));
}

}  // namespace
}  // namespace kovo::test
