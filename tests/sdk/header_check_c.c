// Compiles the public header as strict C11: a C application must be able to
// include it and use its records, enumerations and callbacks. The layout
// facts compiled integrations depend on are checked here at compile time.
#include <stddef.h>
#include <string.h>

#include "KovoSDK.h"

#define FIELD_SIZE(T, f, n) _Static_assert(sizeof(((T*)0)->f) == (n), #T "." #f " size")
#define I ((int)sizeof(int))

// Text field lengths.
FIELD_SIZE(OSD_REGION, title, 24);
FIELD_SIZE(OSD_REGION, titlecolor, 32);
FIELD_SIZE(OSD_REGION, timecolor, 32);
FIELD_SIZE(VERSION_INFO, szHardWareVersion, 32);
FIELD_SIZE(VERSION_INFO, szFirmWareVersion, 256);
FIELD_SIZE(VERSION_INFO, szCamModule, 32);
FIELD_SIZE(DATETIME_CONFIG, szNtpServer, 32);
FIELD_SIZE(NET_CONFIG, szSubDNS, 32);
FIELD_SIZE(WIFI_CONFIG, szOperationMode, 32);
FIELD_SIZE(SMTP_NOTIFY, szSubject, 256);
FIELD_SIZE(FTP_CONFIG, szFilePath, 256);
FIELD_SIZE(FTP_CONFIG, szFilePath2, 256);
FIELD_SIZE(MD_LINK_CONFIG, szScheduleEndTime2, 32);
FIELD_SIZE(ALARM_SERVICE_CONFIG, szIPAddr, 32);
FIELD_SIZE(STORAGE_DEVICE_INFO, szStatus, 32);
FIELD_SIZE(STORAGE_DEVICE_INFO, szDescription, 256);
FIELD_SIZE(STORAGE_DEVICE_INFO, lCapability, sizeof(long));
FIELD_SIZE(REMOTE_SNAP, szJpegFileName, 256);
FIELD_SIZE(REMOTE_RECORD_CONFIG, szRemoteRecordFileName, 256);
FIELD_SIZE(QUERY_FILE, szEndTime, 32);
FIELD_SIZE(FTP_SINGLEFILE, szFileName, 256);
FIELD_SIZE(FTP_DELETEFILE, szFileName, 256);
FIELD_SIZE(WATCHDOG_CONFIG, nEanble, I);

// Records of ints and int-aligned char arrays have no padding: their size
// pins the field count.
_Static_assert(sizeof(VIDEO_ATTRIBUTE) == 10 * I, "VIDEO_ATTRIBUTE");
_Static_assert(sizeof(MULTI_VIDEO_CHANNEL) == 4 * I, "MULTI_VIDEO_CHANNEL");
_Static_assert(sizeof(AUDIO_ATTRIBUTE) == 8 * I, "AUDIO_ATTRIBUTE");
_Static_assert(sizeof(SERIALPORT_CONFIG) == 6 * I, "SERIALPORT_CONFIG");
_Static_assert(sizeof(OSD_REGION) == 24 + 32 + 32 + 8 * I, "OSD_REGION");
_Static_assert(sizeof(NET_CONFIG) == 5 * 32 + I, "NET_CONFIG");
_Static_assert(sizeof(WIFI_CONFIG) == 7 * 32 + I, "WIFI_CONFIG");
_Static_assert(sizeof(FTP_CONFIG) == 6 * 32 + 2 * 256 + 3 * I, "FTP_CONFIG");
_Static_assert(sizeof(NET_DOWN_PARAM) == 17 * I, "NET_DOWN_PARAM");
_Static_assert(sizeof(MD_LINK_CONFIG) == 4 * 32 + 17 * I, "MD_LINK_CONFIG");
_Static_assert(sizeof(ALARM_CONFIG) == 4 * 32 + 18 * I, "ALARM_CONFIG");
_Static_assert(sizeof(LOCAL_SCHEDULE_SNAP_PARAM) == 4 * 32 + 6 * I, "LOCAL_SCHEDULE_SNAP_PARAM");
_Static_assert(sizeof(FTP_BATCHFILES) == 2 * 32 + 4 * I, "FTP_BATCHFILES");

// Field order.
_Static_assert(offsetof(OSD_REGION, titledisplay) == 24, "OSD title first");
_Static_assert(offsetof(OSD_REGION, timecolor) < offsetof(OSD_REGION, timeh), "OSD time colour");
_Static_assert(offsetof(NET_CONFIG, nDHCPMode) == 3 * 32, "NET_CONFIG DHCP");
_Static_assert(offsetof(SMTP_CONFIG, nServerPort) == 32, "SMTP port");
_Static_assert(offsetof(FTP_CONFIG, szFilePath) < offsetof(FTP_CONFIG, szServerIP2), "FTP servers");
_Static_assert(offsetof(ALARM_CONFIG, szStartTime) == 2 * I, "ALARM_CONFIG times");
_Static_assert(offsetof(STORAGE_DEVICE_INFO, lCapability) < offsetof(STORAGE_DEVICE_INFO, lFree), "storage");
_Static_assert(offsetof(DOWNLOAD_CONFIG, nPort) == I, "DOWNLOAD_CONFIG port");
// The event-link block closes each of the three link records.
_Static_assert(sizeof(NET_DOWN_PARAM) - offsetof(NET_DOWN_PARAM, nLinkOutputEnable)
               == sizeof(ALARM_CONFIG) - offsetof(ALARM_CONFIG, nLinkOutputEnable), "link block");
_Static_assert(offsetof(MD_LINK_CONFIG, nLinkLocalSnapEmailEnable) + sizeof(int) == sizeof(MD_LINK_CONFIG),
               "link block last");

// Enumeration values.
_Static_assert(NODATA_TYPE == 0 && H264DATA_TYPE == 2 && YUVDATA_TYPE == 3 && MJPEGDATA_TYPE == 5
               && AACDATA_TYPE == 6 && G29DATA_TYPE == 9, "DATA_TYPE_E");
_Static_assert(I_FRAME == 0 && B_FRAME == 1 && P_FRAME == 2, "FRAME_TYPE_E");
_Static_assert(CONNECT_TYPE_NONE == 0 && CONNECT_TYPE_UDP == 1 && CONNECT_TYPE_TCP == 2, "CONNECT_TYPE_E");
_Static_assert(KOVO_FILE_LIST_ENTRY_SIZE == 1024, "file list entry");

static void on_frame(DATA_TYPE_E type, FRAME_TYPE_E frame, unsigned char* data,
                     unsigned long length, unsigned long user)
{
    (void)type; (void)frame; (void)data; (void)length; (void)user;
}

int kovo_header_c_check(long device)
{
    ALARM_CONFIG alarm;
    OSD_REGION osd;
    fRealDataCallBack callback = on_frame;
    fAudioCallBackDecode audio = 0;
    char** list = 0;
    int count = 0;

    memset(&alarm, 0, sizeof alarm);
    memset(&osd, 0, sizeof osd);
    alarm.nLinkLocalSnapEmailEnable = 1;
    osd.title[0] = 'K';
    (void)audio;
    (void)Kovo_SetRealDataCallBack(device, H264DATA_TYPE, callback, 0UL);
    if (Kovo_QueryFileList(device, &count, &list) == 0 && count > 0)
        Kovo_FreeFileList(list);
    return (int)sizeof(NET_DOWN_PARAM) + alarm.nLinkLocalSnapEmailEnable + osd.title[0]
           + CONNECT_TYPE_TCP;
}
