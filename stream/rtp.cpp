#include "stream/rtp.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

// Numbers traced with each failing step, so the step can be told apart.
enum UdpStep { kUdpSocket = 14, kUdpReuse = 20, kUdpRcvBuf = 26, kUdpBind = 35 };

int createUdp(int* sock, int port, bool trace) {
    auto fail = [&](int code, int step) {
        if (trace) KovoTrace("rtp_create_udp[%d]\n", step);
        return code;
    };
    int fd = socket(AF_INET, SOCK_DGRAM, 0);
    if (fd < 0) return fail(-1, kUdpSocket);
    int one = 1;
    if (setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one) < 0) return fail(-2, kUdpReuse);
    int largest = -1;  // ask for the largest receive buffer the system allows
    if (setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &largest, sizeof largest) < 0)
        return fail(-3, kUdpRcvBuf);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_ANY);
    addr.sin_port = htons(uint16_t(port));
    if (bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) < 0) return fail(-4, kUdpBind);
    *sock = fd;
    return 0;
}

int destroy(int sock, bool shut) {
    if (sock == 0) return 0;
    if (shut) shutdown(sock, SHUT_RDWR);
    close(sock);
    return 0;
}

int recvFrom(int sock, char* buf, int len, sockaddr_in* from, bool trace) {
    socklen_t addrLen = sizeof(sockaddr_in);
    ssize_t n = recvfrom(sock, buf, size_t(len > 0 ? len : 0), 0,
                         reinterpret_cast<sockaddr*>(from), &addrLen);
    if (n < 0) {
        if (trace) KovoTrace("%s:[%d]:%s\n", "rtp.cpp", 63, strerror(errno));
        return -1;
    }
    return int(n);
}

int sendToShortAddress(int sock, const char* buf, int len, const sockaddr_in* to) {
    // The address length handed over is 4, not sizeof(sockaddr_in).
    return int(sendto(sock, buf, size_t(len > 0 ? len : 0), MSG_NOSIGNAL,
                      reinterpret_cast<const sockaddr*>(to), 4));
}

}  // namespace

int rtp_create_udp(int* sock, int port) { return createUdp(sock, port, true); }
int rtcp_create_udp(int* sock, int port) { return createUdp(sock, port, false); }

int rtp_create_tcp(const char* host, int port, int* sock) {
    if (!host) {
        KovoTrace("rtp_create_tcp[%d] input invalid.\n", 117);
        return -1;
    }
    int fd = socket(AF_INET, SOCK_STREAM, 0);
    if (fd < 0) {
        KovoTrace("rtp_create_tcp[%d] socket error %d.\n", 126, fd);
        return -2;
    }
    hostent* he = gethostbyname(host);
    if (!he || he->h_addrtype != AF_INET || !he->h_addr_list[0]) {
        KovoTrace("rtp_create_tcp[%d] get gethostbyaddr failed %s.\n", 137, host);
        return -3;
    }
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    memcpy(&addr.sin_addr, he->h_addr_list[0], sizeof addr.sin_addr);
    addr.sin_port = htons(uint16_t(port));
    if (connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) < 0) {
        KovoTrace("rtp_create_tcp[%d] connect failed.\n", 147);
        return -4;
    }
    *sock = fd;
    return 0;
}

int rtp_destroy_tcp(int sock) { return destroy(sock, true); }
int rtp_destroy_udp(int sock) { return destroy(sock, true); }
int rtcp_destroy_udp(int sock) { return destroy(sock, false); }

int rtp_recv(int sock, char* buf, int len) {
    ssize_t n = recv(sock, buf, size_t(len > 0 ? len : 0), 0);
    if (n <= 0) {
        KovoTrace("%s:%d, connection close:%s\n", "rtp.cpp", 90, strerror(errno));
        shutdown(sock, SHUT_RDWR);
        close(sock);
        return -1;
    }
    return int(n);
}

int rtp_recvfrom(int sock, char* buf, int len, sockaddr_in* from) {
    return recvFrom(sock, buf, len, from, true);
}
int rtcp_recvfrom(int sock, char* buf, int len, sockaddr_in* from) {
    return recvFrom(sock, buf, len, from, false);
}

int rtp_send(int sock, const char* buf, int len) {
    return send(sock, buf, size_t(len > 0 ? len : 0), MSG_NOSIGNAL) < 0 ? -1 : 0;
}

int rtp_sendto(int sock, const char* buf, int len, const sockaddr_in* to) {
    return sendToShortAddress(sock, buf, len, to) < 0 ? -1 : 0;
}

int rtcp_sendto(int sock, const char* buf, int len, const sockaddr_in* to) {
    int n = sendToShortAddress(sock, buf, len, to);
    return n < 0 ? -1 : n;
}

int rtcp_recv(int, char*, int*) { return 0; }
int rtcp_send(int, const char*, int*) { return 0; }

void rtp_getlocalipaddr(char* out) {
    char name[257] = {};
    gethostname(name, 256);
    hostent* he = gethostbyname(name);
    // Unresolvable host names leave the output untouched rather than crash.
    if (!he || he->h_addrtype != AF_INET || !he->h_addr_list[0]) return;
    in_addr addr;
    memcpy(&addr, he->h_addr_list[0], sizeof addr);
    strcpy(out, inet_ntoa(addr));
}

int rtp_build_3510_request(char* out, int size) {
    return snprintf(out, size_t(size),
                    "GET /cgi-bin/%s HTTP/1.1\r\n"
                    "Host:%s\r\n"
                    "Accept:*/*\r\n"
                    "User-Agent:Mozilla/4.0 (compatible; MSIE 5.00; Windows 98)\r\n"
                    "Connection:Keep-Alive\r\n"
                    "\r\n",
                    "H4ViewImageSize=720x288", "");
}

int rtp_3510setd1(const char* address) {
    int fd = socket(AF_INET, SOCK_STREAM, 0);
    if (fd < 0) return -1;
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = address ? inet_addr(address) : INADDR_NONE;
    addr.sin_port = htons(80);
    if (connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) < 0) {
        close(fd);
        return -1;
    }
    char request[5120];
    int length = rtp_build_3510_request(request, sizeof request);
    // The camera keeps the connection; no answer is awaited.
    return int(send(fd, request, size_t(length), MSG_NOSIGNAL));
}
