// Opening an RTSP connection: URL parsing, TCP connect (direct or to a proxy)
// and the OPTIONS exchange that proves it.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "rtsp/rtsp.h"
#include "sdk/Device.h"
#include "sdk/LastError.h"

namespace {

const char kDefaultUserAgent[] = "User-Agent: ORV CMS V1.0";

template <size_t N>
void copy_bounded(char (&dst)[N], const char* src, size_t len) {
    if (len > N - 1) len = N - 1;
    memcpy(dst, src, len);
    dst[len] = '\0';
}

// Steps shared by both forms: reset the connection and split the address
// text ("host[:port][/path]") into its parts. Returns false for a null URL.
bool prepare(CConnect* conn, const char* url, int port, const char* user_agent, bool applyUrlPort) {
    if (!url) return false;
    const char* address = strncmp(url, "rtsp://", 7) == 0 ? url + 7 : url;

    rtsp_free_answers(conn);
    rtsp_unschedule_all(conn);
    conn->port = port;
    copy_bounded(conn->mrl, address, strlen(address));
    conn->server_state = 0;
    conn->server_caps = 0;
    conn->cseq = 0;
    const char* agent = user_agent ? user_agent : kDefaultUserAgent;
    copy_bounded(conn->user_agent, agent, strlen(agent));

    const char* slash = strchr(address, '/');
    if (!slash) slash = address + strlen(address);
    const char* colon = strchr(address, ':');
    if (!colon || colon > slash) colon = slash;
    copy_bounded(conn->host, address, static_cast<size_t>(colon - address));
    if (*slash == '/' && slash[1] != '\0')
        copy_bounded(conn->path, slash + 1, strlen(slash + 1));
    else
        conn->path[0] = '\0';

    if (colon != slash && applyUrlPort) {
        char portText[1024];
        copy_bounded(portText, colon + 1, static_cast<size_t>(slash - colon - 1));
        const int value = atoi(portText);
        conn->port = (value < 0 || value >= 65536) ? static_cast<int>(RTSP_PORT) : value;
    }
    return true;
}

// Queues the first request's fields and sends OPTIONS to the caller's URL.
int prove_with_options(CConnect* conn, const char* url, int kind, GUID* appId) {
    conn->server_state = RTSP_STATE_CONNECTED;
    rtsp_schedule_field(conn, "CSeq: 1");
    rtsp_schedule_field(conn, conn->user_agent);
    if (conn->proxy && appId) {
        char line[300];
        snprintf(line, sizeof line, "ChannelDescript: %s", kind ? "Stream" : "Control");
        rtsp_schedule_field(conn, line);
        char uuid[40];
        MyUuidToString(appId, uuid);
        snprintf(line, sizeof line, "ApplicationID: %s", uuid);
        rtsp_schedule_field(conn, line);
    }
    return rtsp_request_options(conn, url) == 200 ? 0 : -2;
}

}  // namespace

int rtsp_connect(CConnect* conn, const char* proxy, int port, const char* url, const char* user_agent, int kind,
                 GUID* appId) {
    const bool viaProxy = proxy && proxy[0];
    if (!prepare(conn, url, port, user_agent, !viaProxy)) return kovo::failWith(KOVO_ERR_INVALID_ARG, -1);

    const char* target = conn->host;
    if (viaProxy) {
        conn->proxy = 1;
        copy_bounded(conn->proxyhost, proxy, strlen(proxy));
        target = conn->proxyhost;
    } else {
        conn->proxy = 0;
    }

    {
        std::lock_guard<std::mutex> lock(conn->socketLock);
        conn->s = socket(AF_INET, SOCK_STREAM, 0);
        if (conn->s < 0) return kovo::failWith(KOVO_ERR_UNREACHABLE, -1);
        conn->socketOpen = true;
    }

    const in_addr_t addr = inet_addr(target);
    if (addr == INADDR_NONE) return kovo::failWith(KOVO_ERR_INVALID_ARG, -1);
    if (rtsp_open_socket(conn, addr, conn->port) != 0) return -1;

    return prove_with_options(conn, url, kind, appId);
}

int rtsp_connect(CConnect* conn, const char* url, const char* user_agent) {
    if (!prepare(conn, url, static_cast<int>(RTSP_PORT), user_agent, true)) return -1;
    if (conn->s < 0) return -1;
    conn->socketOpen = true;
    return prove_with_options(conn, url, 0, nullptr);
}
