// Layout facts of the public records that compiled integrations depend on:
// text field lengths, field order and enumeration values.
#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>

#include "sdk/KovoSDK.h"

namespace {

#define FIELD_SIZE(record, field) #record "." #field, sizeof(record::field)

struct SizeCase {
    const char* field;
    std::size_t size;
    std::size_t expected;
};

TEST(RecordLayout, TextFieldLengths) {
    const SizeCase cases[] = {
        {FIELD_SIZE(OSD_REGION, title), 24},
        {FIELD_SIZE(OSD_REGION, titlecolor), 32},
        {FIELD_SIZE(OSD_REGION, timecolor), 32},
        {FIELD_SIZE(VERSION_INFO, szHardWareVersion), 32},
        {FIELD_SIZE(VERSION_INFO, szFirmWareVersion), 256},
        {FIELD_SIZE(VERSION_INFO, szCamModule), 32},
        {FIELD_SIZE(DATETIME_CONFIG, szNtpServer), 32},
        {FIELD_SIZE(NET_CONFIG, szSubDNS), 32},
        {FIELD_SIZE(WIFI_CONFIG, szOperationMode), 32},
        {FIELD_SIZE(SMTP_NOTIFY, szSubject), 256},
        {FIELD_SIZE(FTP_CONFIG, szFilePath), 256},
        {FIELD_SIZE(FTP_CONFIG, szFilePath2), 256},
        {FIELD_SIZE(MD_LINK_CONFIG, szScheduleEndTime2), 32},
        {FIELD_SIZE(ALARM_SERVICE_CONFIG, szIPAddr), 32},
        {FIELD_SIZE(STORAGE_DEVICE_INFO, szStatus), 32},
        {FIELD_SIZE(STORAGE_DEVICE_INFO, szDescription), 256},
        {FIELD_SIZE(STORAGE_DEVICE_INFO, lCapability), sizeof(long)},
        {FIELD_SIZE(REMOTE_SNAP, szJpegFileName), 256},
        {FIELD_SIZE(REMOTE_RECORD_CONFIG, szRemoteRecordFileName), 256},
        {FIELD_SIZE(QUERY_FILE, szEndTime), 32},
        {FIELD_SIZE(FTP_SINGLEFILE, szFileName), 256},
        {FIELD_SIZE(FTP_DELETEFILE, szFileName), 256},
    };
    for (const SizeCase& c : cases) EXPECT_EQ(c.size, c.expected) << c.field;
}

// Records made only of ints (and int-aligned char arrays) have no padding, so
// their size pins the field count.
TEST(RecordLayout, RecordSizes) {
    const std::size_t i = sizeof(int);
    const SizeCase cases[] = {
        {"VIDEO_ATTRIBUTE", sizeof(VIDEO_ATTRIBUTE), 10 * i},
        {"MULTI_VIDEO_CHANNEL", sizeof(MULTI_VIDEO_CHANNEL), 4 * i},
        {"AUDIO_ATTRIBUTE", sizeof(AUDIO_ATTRIBUTE), 8 * i},
        {"SERIALPORT_CONFIG", sizeof(SERIALPORT_CONFIG), 6 * i},
        {"OSD_REGION", sizeof(OSD_REGION), 24 + 32 + 32 + 8 * i},
        {"NET_CONFIG", sizeof(NET_CONFIG), 5 * 32 + i},
        {"WIFI_CONFIG", sizeof(WIFI_CONFIG), 7 * 32 + i},
        {"FTP_CONFIG", sizeof(FTP_CONFIG), 6 * 32 + 2 * 256 + 3 * i},
        {"NET_DOWN_PARAM", sizeof(NET_DOWN_PARAM), 17 * i},
        {"MD_LINK_CONFIG", sizeof(MD_LINK_CONFIG), 4 * 32 + 17 * i},
        {"ALARM_CONFIG", sizeof(ALARM_CONFIG), 4 * 32 + 18 * i},
        {"LOCAL_SCHEDULE_SNAP_PARAM", sizeof(LOCAL_SCHEDULE_SNAP_PARAM), 4 * 32 + 6 * i},
        {"FTP_BATCHFILES", sizeof(FTP_BATCHFILES), 2 * 32 + 4 * i},
    };
    for (const SizeCase& c : cases) EXPECT_EQ(c.size, c.expected) << c.field;
}

TEST(RecordLayout, FieldOrder) {
    static_assert(offsetof(OSD_REGION, titledisplay) == 24);
    static_assert(offsetof(OSD_REGION, timecolor) < offsetof(OSD_REGION, timeh));
    static_assert(offsetof(NET_CONFIG, nDHCPMode) == 3 * 32);
    static_assert(offsetof(SMTP_CONFIG, nServerPort) == 32);
    static_assert(offsetof(FTP_CONFIG, szFilePath) < offsetof(FTP_CONFIG, szServerIP2));
    static_assert(offsetof(ALARM_CONFIG, szStartTime) == 2 * sizeof(int));
    static_assert(offsetof(STORAGE_DEVICE_INFO, lCapability) < offsetof(STORAGE_DEVICE_INFO, lFree));
    static_assert(offsetof(DOWNLOAD_CONFIG, nPort) == sizeof(int));
    // The event-link block closes each of the three link records.
    static_assert(sizeof(NET_DOWN_PARAM) - offsetof(NET_DOWN_PARAM, nLinkOutputEnable) ==
                  sizeof(ALARM_CONFIG) - offsetof(ALARM_CONFIG, nLinkOutputEnable));
    static_assert(offsetof(MD_LINK_CONFIG, nLinkLocalSnapEmailEnable) + sizeof(int) ==
                  sizeof(MD_LINK_CONFIG));
    static_assert(std::is_same_v<decltype(WATCHDOG_CONFIG::nEanble), int>);
    SUCCEED();
}

struct EnumCase {
    const char* name;
    int value;
    int expected;
};

TEST(RecordLayout, EnumerationValues) {
    const EnumCase cases[] = {
        {"NODATA_TYPE", NODATA_TYPE, 0},       {"H264DATA_TYPE", H264DATA_TYPE, 2},
        {"YUVDATA_TYPE", YUVDATA_TYPE, 3},     {"MJPEGDATA_TYPE", MJPEGDATA_TYPE, 5},
        {"AACDATA_TYPE", AACDATA_TYPE, 6},     {"G29DATA_TYPE", G29DATA_TYPE, 9},
        {"I_FRAME", I_FRAME, 0},               {"B_FRAME", B_FRAME, 1},
        {"P_FRAME", P_FRAME, 2},               {"CONNECT_TYPE_NONE", CONNECT_TYPE_NONE, 0},
        {"CONNECT_TYPE_UDP", CONNECT_TYPE_UDP, 1}, {"CONNECT_TYPE_TCP", CONNECT_TYPE_TCP, 2},
        {"KOVO_FILE_LIST_ENTRY_SIZE", KOVO_FILE_LIST_ENTRY_SIZE, 1024},
    };
    for (const EnumCase& c : cases) EXPECT_EQ(c.value, c.expected) << c.name;
}

}  // namespace
