// RTP and RTCP socket helpers exported for applications; the stream path
// itself receives interleaved RTP on the RTSP connection.
#ifndef KOVO_STREAM_RTP_H
#define KOVO_STREAM_RTP_H

#include <netinet/in.h>

#include "sdk/KovoSDK.h"

KOVO_API int rtp_create_udp(int* sock, int port);
KOVO_API int rtp_create_tcp(const char* host, int port, int* sock);
KOVO_API int rtp_destroy_tcp(int sock);
KOVO_API int rtp_destroy_udp(int sock);
KOVO_API int rtp_recv(int sock, char* buf, int len);
KOVO_API int rtp_recvfrom(int sock, char* buf, int len, sockaddr_in* from);
KOVO_API int rtp_send(int sock, const char* buf, int len);
KOVO_API int rtp_sendto(int sock, const char* buf, int len, const sockaddr_in* to);
KOVO_API void rtp_getlocalipaddr(char* out);
KOVO_API int rtp_3510setd1(const char* address);

KOVO_API int rtcp_create_udp(int* sock, int port);
KOVO_API int rtcp_destroy_udp(int sock);
KOVO_API int rtcp_recvfrom(int sock, char* buf, int len, sockaddr_in* from);
KOVO_API int rtcp_sendto(int sock, const char* buf, int len, const sockaddr_in* to);
KOVO_API int rtcp_recv(int sock, char* buf, int* len);
KOVO_API int rtcp_send(int sock, const char* buf, int* len);

// The request text of rtp_3510setd1 (shared with its test).
int rtp_build_3510_request(char* out, int size);

#endif
