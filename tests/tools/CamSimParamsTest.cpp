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

TEST_F(CamSimParams, EncoderStreamsAreSeparateAndMainStreamMatchesThePicture) {
    VIDEO_ATTRIBUTE main{}, sub{};
    main.ChannelIndex = 1;
    sub.ChannelIndex = 2;
    ASSERT_EQ(0, Kovo_GetChannelAttribute(id_, &main));
    EXPECT_EQ(640, main.ResolutionX);
    EXPECT_EQ(360, main.ResolutionY);
    ASSERT_EQ(0, Kovo_GetChannelAttribute(id_, &sub));
    sub.EncodeBitRate = 768;
    sub.GOP = 50;
    ASSERT_EQ(0, Kovo_SetChannelAttribute(id_, &sub));
    VIDEO_ATTRIBUTE readSub{}, readMain{};
    readSub.ChannelIndex = 2;
    readMain.ChannelIndex = 1;
    ASSERT_EQ(0, Kovo_GetChannelAttribute(id_, &readSub));
    ASSERT_EQ(0, Kovo_GetChannelAttribute(id_, &readMain));
    EXPECT_EQ(352, readSub.ResolutionX);
    EXPECT_EQ(768, readSub.EncodeBitRate);
    EXPECT_EQ(50, readSub.GOP);
    EXPECT_EQ(1024, readMain.EncodeBitRate);
}

TEST_F(CamSimParams, OsdTitleAndAudioAttributes) {
    OSD_REGION osd{}, readOsd{};
    ASSERT_EQ(0, Kovo_GetOSDRegion(id_, 0, 1, &osd));
    EXPECT_STREQ("Kovo CamSim", osd.title);
    EXPECT_STREQ("White", osd.titlecolor);
    copyText(osd.title, "Gate 3");
    osd.titlev = 90;
    ASSERT_EQ(0, Kovo_SetOSDRegion(id_, 0, 1, &osd));
    ASSERT_EQ(0, Kovo_GetOSDRegion(id_, 0, 1, &readOsd));
    EXPECT_STREQ("Gate 3", readOsd.title);
    EXPECT_EQ(90, readOsd.titlev);

    AUDIO_ATTRIBUTE audio{}, readAudio{};
    ASSERT_EQ(0, Kovo_GetAudioAttribute(id_, 0, &audio));
    EXPECT_EQ(48000, audio.nSampleRate);
    EXPECT_EQ(0, audio.nEncodeType);  // AAC
    audio.nInVolume = 25;
    ASSERT_EQ(0, Kovo_SetAudioAttribute(id_, 0, &audio));
    ASSERT_EQ(0, Kovo_GetAudioAttribute(id_, 0, &readAudio));
    EXPECT_EQ(25, readAudio.nInVolume);
    EXPECT_EQ(128000, readAudio.nBitRate);
}

TEST_F(CamSimParams, PtzCommandAndSerialPortsPerPort) {
    EXPECT_EQ(0, Kovo_PTZControl(id_, 0, 10, 5));
    SERIALPORT_CONFIG com1{}, back{};
    ASSERT_EQ(0, Kovo_GetSerialPortConfig(id_, 1, &com1));
    EXPECT_EQ(2, com1.nProtocol);  // PELCO_D
    EXPECT_EQ(9600, com1.nBaudRate);
    SERIALPORT_CONFIG com2 = com1;
    com2.nBaudRate = 4800;
    ASSERT_EQ(0, Kovo_SetSerialPortConfig(id_, 2, &com2));
    ASSERT_EQ(0, Kovo_GetSerialPortConfig(id_, 2, &back));
    EXPECT_EQ(4800, back.nBaudRate);
    ASSERT_EQ(0, Kovo_GetSerialPortConfig(id_, 1, &back));
    EXPECT_EQ(9600, back.nBaudRate);
}

TEST_F(CamSimParams, SystemIdentityClockAndReboot) {
    char sn[256] = "";
    ASSERT_EQ(0, Kovo_GetProductSN(id_, sn));
    EXPECT_GT(std::strlen(sn), 8u);
    VERSION_INFO version{};
    ASSERT_EQ(0, Kovo_GetVersionInfo(id_, &version));
    EXPECT_NE(nullptr, std::strstr(version.szFirmWareVersion, "2.1.2"));
    DATETIME_CONFIG clock{1, "", 8, "OFF"}, back{};
    copyText(clock.szNtpServer, "time.example.com");
    ASSERT_EQ(0, Kovo_SetDateTime(id_, &clock));
    ASSERT_EQ(0, Kovo_GetDateTime(id_, &back));
    EXPECT_STREQ("time.example.com", back.szNtpServer);
    EXPECT_EQ(8, back.nDstMode);
    EXPECT_EQ(0, Kovo_RebootDevice(id_));
}

TEST_F(CamSimParams, NetworkAddress) {
    NET_CONFIG net{}, back{};
    ASSERT_EQ(0, Kovo_GetNetConfig(id_, &net));
    EXPECT_STREQ("192.168.1.64", net.szIP);
    EXPECT_STREQ("255.255.255.0", net.szNetMask);
    copyText(net.szIP, "10.1.2.3");
    ASSERT_EQ(0, Kovo_SetNetConfig(id_, &net));
    ASSERT_EQ(0, Kovo_GetNetConfig(id_, &back));
    EXPECT_STREQ("10.1.2.3", back.szIP);
}

TEST_F(CamSimParams, MailRecipientsPerSlotAndFtp) {
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
    FTP_CONFIG ftp{};
    ASSERT_EQ(0, Kovo_GetFTPConfig(id_, &ftp));
    EXPECT_EQ(21, ftp.nServerPort);
    EXPECT_STREQ("/upload", ftp.szFilePath);
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
    ALARMIN_CONFIG in3{1}, readIn1{1}, readIn3{0};
    ASSERT_EQ(0, Kovo_SetAlarmInConfig(id_, 3, &in3));
    ASSERT_EQ(0, Kovo_GetAlarmInConfig(id_, 1, &readIn1));
    ASSERT_EQ(0, Kovo_GetAlarmInConfig(id_, 3, &readIn3));
    EXPECT_EQ(0, readIn1.nInputMode);
    EXPECT_EQ(1, readIn3.nInputMode);
}

TEST_F(CamSimParams, StorageAndRecording) {
    STORAGE_DEVICE_INFO info{};
    ASSERT_EQ(0, Kovo_GetStorageInfo(id_, &info));
    EXPECT_STREQ("Ready", info.szStatus);
    EXPECT_GT(info.lCapability, info.lFree);
    LOCAL_RECORD_PARAM record{1, "07:00:00", "19:00:00", 0, "", "", 0}, readRecord{};
    ASSERT_EQ(0, Kovo_SetLocalRecordParam(id_, &record));
    ASSERT_EQ(0, Kovo_GetLocalRecordParam(id_, &readRecord));
    EXPECT_EQ(1, readRecord.nEnable);
    EXPECT_STREQ("07:00:00", readRecord.szStartTime);
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
