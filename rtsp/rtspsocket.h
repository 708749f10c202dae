// Standalone socket helpers for an RTSP client: connect, read and write with
// time-outs, disconnect. They work on plain descriptors.
#ifndef KOVO_RTSP_RTSPSOCKET_H
#define KOVO_RTSP_RTSPSOCKET_H

#include "sdk/KovoSDK.h"

KOVO_API int rtspsocket_startup(void);
KOVO_API int rtspsocket_cleanup(void);
KOVO_API int rtspsocket_connect(char* host, int port);
KOVO_API int rtspsocket_read(int sock, char* buf, int len);
KOVO_API int rtspsocket_write(int sock, char* buf, int len);
KOVO_API int rtspsocket_disconnect(int sock);

#endif
