// RTSP/1.0 client engine: one CConnect per TCP connection, the scheduled
// header fields of the next request, the reply parsers and the methods.
#ifndef KOVO_RTSP_RTSP_H
#define KOVO_RTSP_RTSP_H

#include <atomic>
#include <mutex>

#include "sdk/KovoSDK.h"

struct GUID;

constexpr int RTSP_MAX_LINES = 256;
constexpr int RTSP_REPLY_BUFFER = 8192;
constexpr unsigned RTSP_PORT = 554;

// server_state values: the last request kind sent.
enum RtspServerState : unsigned {
    RTSP_STATE_CONNECTED = 1,
    RTSP_STATE_DESCRIBE = 4,
    RTSP_STATE_SETUP = 8,
    RTSP_STATE_PLAY = 16,
    RTSP_STATE_PAUSE = 32,
    RTSP_STATE_TEARDOWN = 64,
};

struct CConnect {
    CConnect();
    ~CConnect();
    CConnect(const CConnect&) = delete;
    CConnect& operator=(const CConnect&) = delete;

    int s = -1;
    int protocol = CONNECT_TYPE_NONE;
    char host[256];
    char proxyhost[256];
    int port = 0;
    char path[256];
    char mrl[256];
    char user_agent[256];
    char server[256];
    unsigned server_state = 0;
    unsigned server_caps = 0;
    unsigned cseq = 0;
    char session[256];
    int proxy = 0;
    char clientid[256];
    char* answers[RTSP_MAX_LINES + 1];
    char* scheduled[RTSP_MAX_LINES + 1];
    char pszServerUrl[32];
    unsigned nServerPort = 0;
    void* pDevice = nullptr;

    // Link-option bounds, in ms; 0 keeps the blocking behaviour (no bound).
    // Another thread may change them while a call waits.
    std::atomic<int> connectTimeoutMs{0};
    std::atomic<int> replyTimeoutMs{0};

    // False once the socket has been closed, so that a descriptor number the
    // system may since have handed to another connection is never used again.
    std::atomic<bool> socketOpen{false};
    // Held only to close the socket or to shut it down from another thread
    // (rtsp_interrupt), never across a wait.
    std::mutex socketLock;

    // CSeq of the request whose reply is awaited; and whether the reply of an
    // earlier request timed out and may still arrive, so that it is not taken
    // for the answer of a later one.
    unsigned requestCseq = 0;
    bool lateReplyPossible = false;
};

KOVO_API void rtsp_schedule_field(CConnect* conn, const char* text);
KOVO_API void rtsp_unschedule_all(CConnect* conn);
KOVO_API void rtsp_unschedule_field(CConnect* conn, const char* text);
KOVO_API void rtsp_schedule_standard(CConnect* conn);
KOVO_API int rtsp_send_request(CConnect* conn, const char* method, const char* url);
KOVO_API int rtsp_put(CConnect* conn, const char* text);
KOVO_API int rtsp_get(CConnect* conn, char* buf, int len);
KOVO_API char* rtsp_get_line(char** cursor);
KOVO_API int rtsp_get_status_code(CConnect* conn, const char* text);
KOVO_API int rtsp_get_answers(CConnect* conn);
KOVO_API int rtsp_get_answersEx(CConnect* conn, char* text);
KOVO_API int rtsp_discribe_answers(CConnect* conn);
KOVO_API int rtsp_get_sdp(CConnect* conn);
KOVO_API char* rtsp_search_answers(CConnect* conn, const char* key);
KOVO_API const char* rtsp_search_line(CConnect* conn, const char* text);
KOVO_API void rtsp_free_answers(CConnect* conn);
KOVO_API void rtsp_close(CConnect* conn);
KOVO_API char* rtsp_get_mrl(CConnect* conn);

KOVO_API int rtsp_request_options(CConnect* conn, const char* url);
KOVO_API int rtsp_request_optionsex(CConnect* conn);
KOVO_API int rtsp_request_describe(CConnect* conn, const char* url);
KOVO_API int rtsp_request_setup(CConnect* conn, const char* url);
KOVO_API int rtsp_request_play(CConnect* conn, const char* url);
KOVO_API int rtsp_request_pause(CConnect* conn, const char* url, int wait);
KOVO_API int rtsp_request_teardown(CConnect* conn, const char* url, int wait);
KOVO_API int rtsp_request_getparameter(CConnect* conn, const char* url);
KOVO_API int rtsp_request_setparameter(CConnect* conn, const char* url);
KOVO_API int rtsp_user_custom(CConnect* conn, const char* method, const char* text, char* out);
KOVO_API char* rtsp_get_video_mrl(CConnect* conn);
KOVO_API char* rtsp_get_audio_mrl(CConnect* conn);

// Full form: opens the socket (to the proxy when one is given) and proves it
// with OPTIONS. Short form: OPTIONS on a socket the caller opened.
KOVO_API int rtsp_connect(CConnect* conn, const char* proxy, int port, const char* url,
                          const char* user_agent, int kind, GUID* appId);
int rtsp_connect(CConnect* conn, const char* url, const char* user_agent);

// ---- Bounded waits (rtsp_link.cpp); with both bounds 0 nothing changes ----

// Opens conn->s to addr (IPv4, network order) and port, within
// conn->connectTimeoutMs when set. 0, or -1 with the last error recorded.
int rtsp_open_socket(CConnect* conn, unsigned long addr, int port);
// Waits up to conn->replyTimeoutMs for the socket to become readable; false
// (time-out recorded) when it did not.
bool rtsp_wait_readable(CConnect* conn);
// Reads exactly one whole reply (header and Content-Length body, at most len
// bytes) within conn->replyTimeoutMs, skipping late replies of timed-out
// requests. The count, or below 1 as rtsp_get.
int rtsp_read_reply(CConnect* conn, char* buf, int len);
// Sends all of data within conn->replyTimeoutMs when set (a camera that
// stops reading cannot hold the caller), else as one blocking send. The
// count, or -1 with the last error recorded; a request cut short by the
// bound leaves the connection shut down, as its framing is lost.
int rtsp_send_bounded(CConnect* conn, const char* data, size_t size);
// Records the thread's last error for a reply with this status.
void rtsp_record_status(int status);
// Closes the socket (once) after the peer closed it or a read failed.
void rtsp_close_socket(CConnect* conn);
// Shuts the socket down so that a thread blocked on it returns at once; the
// descriptor stays open until rtsp_close.
void rtsp_interrupt(CConnect* conn);

#endif
