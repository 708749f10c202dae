/* Compiles the public header as strict C11: a C application must be able to
 * include it and use its records, enumerations and callbacks. */
#include <string.h>

#include "KovoSDK.h"

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
