// The library against the simulator: every parameter family reads the
// simulator's factory settings and reads back what it wrote.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "CamSimProcess.h"
#include "sdk/KovoSDK.h"

namespace kovo::test {
namespace {

class CamSimParams : public CamSimTest {
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
        CamSimTest::SetUp();
        if (IsSkipped()) return;
        ASSERT_GT(id_, 0) << "login to the simulator failed";
    }

    // A record as `get` fills it in from zero.
    template <typename T>
    static T read(long (*get)(long, T*)) {
        T record{};
        EXPECT_EQ(0, get(id_, &record));
        return record;
    }
    template <typename T>
    static T read(long (*get)(long, int, T*), int index) {
        T record{};
        EXPECT_EQ(0, get(id_, index, &record));
        return record;
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

TEST_F(CamSimParams, ImagingTextsReadFactoryValuesAndKeepWrites) {
    using Accessor = long (*)(long, int, char*);
    const struct {
        Accessor get, set;
        const char* factory;
        const char* changed;
    } settings[] = {
        {Kovo_GetNoiseReduction, Kovo_SetNoiseReduction, "Auto", "High"},
        {Kovo_GetWhiteBalanceMode, Kovo_SetWhiteBalanceMode, "Auto", "Indoor"},
        {Kovo_GetNearLimitSetup, Kovo_SetNearLimitSetup, "1m", "3m"},
        {Kovo_GetApertureSetup, Kovo_SetApertureSetup, "Auto", "F2.8"},
        {Kovo_GetShutterSpeed, Kovo_SetShutterSpeed, "1/50", "1/250"},
        {Kovo_GetExposureMode, Kovo_SetExposureMode, "Auto", "Manual"},
        {Kovo_GetDayNightOnOFF, Kovo_SetDayNightOnOFF, "ON", "OFF"},
        {Kovo_GetDayNightMode, Kovo_SetDayNightMode, "Auto", "Night"},
    };
    for (const auto& s : settings) {
        SCOPED_TRACE(s.changed);
        char text[256] = "", changed[64];
        ASSERT_EQ(0, s.get(id_, 0, text));
        EXPECT_STREQ(s.factory, text);
        copyText(changed, s.changed);
        ASSERT_EQ(0, s.set(id_, 0, changed));
        ASSERT_EQ(0, s.get(id_, -1, text));
        EXPECT_STREQ(s.changed, text);
    }
}

// Records no other test writes: a key missing from the store would leave them empty.
TEST_F(CamSimParams, OtherRecordsReadFactoryValues) {
    int agc = -1;
    EXPECT_EQ(0, Kovo_GetAGCSetup(id_, 0, &agc));
    EXPECT_EQ(1, agc);
    EXPECT_EQ(1, read(Kovo_GetMultiVideoChannel).nD1);
    EXPECT_STREQ("KovoCam", read(Kovo_GetWiFiConfig).szSSID);
    EXPECT_STREQ("Managed", read(Kovo_GetWiFiConfig).szOperationMode);
    EXPECT_STREQ("ddns.example.com", read(Kovo_GetDDNSConfig).szServer);
    EXPECT_EQ(25, read(Kovo_GetSMTPConfig).nServerPort);
    EXPECT_STREQ("/upload", read(Kovo_GetFTPConfig).szFilePath);
    EXPECT_STREQ("23:59:59", read(Kovo_GetMDLinkConfig, 0).szScheduleEndTime);
    EXPECT_EQ(25, read(Kovo_GetMDLinkConfig, 0).nLinkLocalRecordFramerate);
    EXPECT_EQ(30, read(Kovo_GetNetDownConfig).nLinkLocalRecordKeepTime);
    EXPECT_EQ(7001, read(Kovo_GetAlarmServiceConfig).nPort);
    EXPECT_STREQ("Ready", read(Kovo_GetStorageInfo).szStatus);
    EXPECT_EQ(1, read(Kovo_GetStorageControl).nControl);  // Plug-In
    EXPECT_EQ(60, read(Kovo_GetLocalScheduleSnapParam).nInterval);
    EXPECT_EQ(2, read(Kovo_GetSerialPortConfig, 1).nProtocol);  // PELCO_D
}

TEST_F(CamSimParams, EncoderStreamsAreSeparateAndMainStreamMatchesThePicture) {
    VIDEO_ATTRIBUTE main{}, sub{};
    main.ChannelIndex = 1;
    sub.ChannelIndex = 2;
    ASSERT_EQ(0, Kovo_GetChannelAttribute(id_, &main));
    EXPECT_EQ(640, main.ResolutionX);
    EXPECT_EQ(360, main.ResolutionY);
    ASSERT_EQ(0, Kovo_GetChannelAttribute(id_, &sub));
    EXPECT_EQ(352, sub.ResolutionX);
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
    VIDEO_FLIP flip{1, 0};
    ASSERT_EQ(0, Kovo_SetVideoFlip(id_, &flip));
    EXPECT_EQ(1, read(Kovo_GetVideoFlip).nVerticalFlip);
    HDMI_CONFIG hdmi{1};
    ASSERT_EQ(0, Kovo_SetHDMIConfig(id_, 0, &hdmi));
    EXPECT_EQ(1, read(Kovo_GetHDMIConfig, 0).nEnable);
}

TEST_F(CamSimParams, OsdTitleAndAudioAttributes) {
    OSD_REGION osd{}, readOsd{};
    ASSERT_EQ(0, Kovo_GetOSDRegion(id_, 0, 1, &osd));
    EXPECT_STREQ("Kovo CamSim", osd.title);
    copyText(osd.title, "Gate 3");
    osd.titlev = 90;
    ASSERT_EQ(0, Kovo_SetOSDRegion(id_, 0, 1, &osd));
    ASSERT_EQ(0, Kovo_GetOSDRegion(id_, 0, 1, &readOsd));
    EXPECT_STREQ("Gate 3", readOsd.title);
    EXPECT_EQ(90, readOsd.titlev);

    AUDIO_ATTRIBUTE audio = read(Kovo_GetAudioAttribute, 0);
    EXPECT_EQ(48000, audio.nSampleRate);
    audio.nInVolume = 25;
    ASSERT_EQ(0, Kovo_SetAudioAttribute(id_, 0, &audio));
    EXPECT_EQ(25, read(Kovo_GetAudioAttribute, 0).nInVolume);
}

TEST_F(CamSimParams, PtzCommandsAndSerialPortsPerPort) {
    EXPECT_EQ(0, Kovo_PTZControl(id_, 0, 10, 5));
    SERIALPORT_CONFIG com2 = read(Kovo_GetSerialPortConfig, 1);
    EXPECT_EQ(9600, com2.nBaudRate);
    com2.nBaudRate = 4800;
    ASSERT_EQ(0, Kovo_SetSerialPortConfig(id_, 2, &com2));
    EXPECT_EQ(4800, read(Kovo_GetSerialPortConfig, 2).nBaudRate);
    EXPECT_EQ(9600, read(Kovo_GetSerialPortConfig, 1).nBaudRate);
    PTMODULE_CONFIG pt{1, 0, 2, 200};
    ASSERT_EQ(0, Kovo_SetPTModuleConfig(id_, 0, &pt));
    EXPECT_EQ(200, read(Kovo_GetPTModuleConfig, 0).nPara2);
    HOME_FUNCTION home{1, 2, 4, 30};
    ASSERT_EQ(0, Kovo_SetHomeFunction(id_, &home));
    EXPECT_EQ(30, read(Kovo_GetHomeFunction).HomeFunctionIdle);
    unsigned char raw[] = {0xFF, 0x01, 0x00, 0x08};
    EXPECT_EQ(0, Kovo_TransparentTransfer(id_, 0, raw, 4));
    char mode[] = "Manual";
    EXPECT_EQ(0, Kovo_AuxilControl(id_, 1, mode, 1));
}

TEST_F(CamSimParams, SystemIdentityClockAndReboot) {
    char sn[256] = "";
    ASSERT_EQ(0, Kovo_GetProductSN(id_, sn));
    EXPECT_GT(std::strlen(sn), 8u);
    EXPECT_NE(nullptr, std::strstr(read(Kovo_GetVersionInfo).szFirmWareVersion, "2.1.2"));
    DATETIME_CONFIG clock{1, "", 8, "OFF"};
    copyText(clock.szNtpServer, "time.example.com");
    ASSERT_EQ(0, Kovo_SetDateTime(id_, &clock));
    const DATETIME_CONFIG back = read(Kovo_GetDateTime);
    EXPECT_STREQ("time.example.com", back.szNtpServer);
    EXPECT_EQ(8, back.nDstMode);
    WATCHDOG_CONFIG dog{0};
    ASSERT_EQ(0, Kovo_SetWatchdogConfig(id_, 0, &dog));
    EXPECT_EQ(0, read(Kovo_GetWatchdogConfig, 0).nEanble);
    EXPECT_EQ(0, Kovo_RebootDevice(id_));
}

TEST_F(CamSimParams, NetworkAddressAndPppoe) {
    NET_CONFIG net = read(Kovo_GetNetConfig);
    EXPECT_STREQ("192.168.1.64", net.szIP);
    copyText(net.szIP, "10.1.2.3");
    ASSERT_EQ(0, Kovo_SetNetConfig(id_, &net));
    EXPECT_STREQ("10.1.2.3", read(Kovo_GetNetConfig).szIP);
    PPPOE_CONFIG pppoe{1, "user", "secret"};
    ASSERT_EQ(0, Kovo_SetPPPoEConfig(id_, &pppoe));
    EXPECT_STREQ("user", read(Kovo_GetPPPoEConfig).szUser);
}

TEST_F(CamSimParams, MailRecipientsPerSlot) {
    SMTP_NOTIFY slot2{2, "", "", ""}, read1{1, "", "", ""}, read2{2, "", "", ""};
    copyText(slot2.szToEmail, "night@example.com");
    copyText(slot2.szCcEmail, "boss@example.com");
    copyText(slot2.szSubject, "Night shift alarm");
    ASSERT_EQ(0, Kovo_SetSMTPNotify(id_, &slot2));
    ASSERT_EQ(0, Kovo_GetSMTPNotify(id_, &read1));
    ASSERT_EQ(0, Kovo_GetSMTPNotify(id_, &read2));
    EXPECT_STREQ("operator@example.com", read1.szToEmail);
    EXPECT_STREQ("night@example.com", read2.szToEmail);
    EXPECT_STREQ("Night shift alarm", read2.szSubject);
}

TEST_F(CamSimParams, MotionAreasAndAlarmContacts) {
    MD_CONFIG area2{1, 70, 100, 50, 200, 120}, read1{}, read2{};
    ASSERT_EQ(0, Kovo_SetMDConfig(id_, 0, 2, &area2));
    ASSERT_EQ(0, Kovo_GetMDConfig(id_, 0, 1, &read1));
    ASSERT_EQ(0, Kovo_GetMDConfig(id_, 0, 2, &read2));
    EXPECT_EQ(640, read1.nAreaWidth);
    EXPECT_EQ(70, read2.nSensitivity);
    EXPECT_EQ(200, read2.nAreaWidth);
    EXPECT_EQ(120, read2.nAreaHeight);
    ALARMIN_CONFIG in3{1};
    ASSERT_EQ(0, Kovo_SetAlarmInConfig(id_, 3, &in3));
    EXPECT_EQ(0, read(Kovo_GetAlarmInConfig, 1).nInputMode);
    EXPECT_EQ(1, read(Kovo_GetAlarmInConfig, 3).nInputMode);
}

TEST_F(CamSimParams, StorageAndRecording) {
    STORAGE_DEVICE_MODE mode{1, 1};
    ASSERT_EQ(0, Kovo_SetStorageMode(id_, &mode));
    EXPECT_EQ(1, read(Kovo_GetStorageMode).nSequenceMode);
    LOCAL_RECORD_PARAM record{1, "07:00:00", "19:00:00", 0, "", "", 0};
    ASSERT_EQ(0, Kovo_SetLocalRecordParam(id_, &record));
    EXPECT_STREQ("07:00:00", read(Kovo_GetLocalRecordParam).szStartTime);
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
    EXPECT_EQ(9000, read(Kovo_GetDownloadConfig).nPort);
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
