// Request writer and reply parsers of one RTSP connection.
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "rtsp/rtsp.h"
#include "sdk/LastError.h"
#include "sdk/Trace.h"

CConnect::CConnect() {
    host[0] = proxyhost[0] = path[0] = mrl[0] = user_agent[0] = '\0';
    server[0] = session[0] = clientid[0] = pszServerUrl[0] = '\0';
    for (int i = 0; i <= RTSP_MAX_LINES; ++i) {
        answers[i] = nullptr;
        scheduled[i] = nullptr;
    }
}

CConnect::~CConnect() {
    rtsp_free_answers(this);
    rtsp_unschedule_all(this);
}

namespace {

void copy_word(char (&dst)[256], const char* line) {
    char word[256] = {};
    if (sscanf(line, "%*s %255s", word) == 1) memcpy(dst, word, sizeof word);
}

// The CSeq, Server and Session rules shared by every reply reader.
void apply_standard_headers(CConnect* conn, const char* line) {
    if (strstr(line, "CSeq:")) {
        unsigned n = 0;
        if (sscanf(line, "%*s %u", &n) == 1 && n != conn->cseq) conn->cseq = n;
    }
    if (strstr(line, "Server:")) copy_word(conn->server, line);
    if (strstr(line, "Session:")) copy_word(conn->session, line);
}

enum class ReplyKind { Headers, Describe };

struct ParseResult {
    bool complete;       // false when the text ran out before the header ended
    int contentLength;
};

// Splits text (modified in place) into the answers. Headers stop at the empty
// line or after 256 non-empty lines; a DESCRIBE reply keeps every line, body
// included, up to 256 lines.
ParseResult parse_lines(CConnect* conn, char* text, ReplyKind kind) {
    ParseResult result{false, 0};
    char* cursor = text;
    int stored = 0;
    while (stored < RTSP_MAX_LINES) {
        char* line = rtsp_get_line(&cursor);
        if (!line) return result;
        apply_standard_headers(conn, line);
        if (kind == ReplyKind::Describe && strstr(line, "Content-Length:"))
            sscanf(line, "%*s %d", &result.contentLength);
        conn->answers[stored++] = strdup(line);
        if (kind == ReplyKind::Headers && line[0] == '\0') break;
    }
    result.complete = true;
    return result;
}

void finish_reply(CConnect* conn) {
    conn->cseq++;
    rtsp_schedule_standard(conn);
}

// A reply wait is bounded once the application set a reply time-out.
int read_reply(CConnect* conn, char* buf, int len) {
    return conn->replyTimeoutMs > 0 ? rtsp_read_reply(conn, buf, len) : rtsp_get(conn, buf, len);
}

// The number in the scheduled "CSeq: n" line, 0 when none is queued.
unsigned scheduled_cseq(const CConnect* conn) {
    unsigned value = 0;
    for (int i = 0; i < RTSP_MAX_LINES && conn->scheduled[i]; ++i)
        if (sscanf(conn->scheduled[i], "CSeq: %u", &value) == 1) return value;
    return 0;
}

}  // namespace

void rtsp_schedule_field(CConnect* conn, const char* text) {
    if (!conn || !text) return;
    for (int i = 0; i < RTSP_MAX_LINES; ++i) {
        if (!conn->scheduled[i]) {
            conn->scheduled[i] = strdup(text);
            return;
        }
    }
    KovoTrace("rtsp_schedule_field: field list full, dropped \"%.64s\"", text);
}

void rtsp_unschedule_all(CConnect* conn) {
    for (int i = 0; i < RTSP_MAX_LINES && conn->scheduled[i]; ++i) {
        free(conn->scheduled[i]);
        conn->scheduled[i] = nullptr;
    }
}

void rtsp_unschedule_field(CConnect* conn, const char* text) {
    if (!conn || !text) return;
    const size_t n = strlen(text);
    for (int i = 0; i < RTSP_MAX_LINES && conn->scheduled[i]; ++i) {
        if (strncmp(conn->scheduled[i], text, n) != 0) continue;
        free(conn->scheduled[i]);
        int j = i;
        for (; j + 1 <= RTSP_MAX_LINES && conn->scheduled[j + 1]; ++j) conn->scheduled[j] = conn->scheduled[j + 1];
        conn->scheduled[j] = nullptr;
        return;
    }
}

void rtsp_schedule_standard(CConnect* conn) {
    char line[300];
    snprintf(line, sizeof line, "CSeq: %u", conn->cseq);
    rtsp_schedule_field(conn, line);
    if (conn->session[0]) {
        snprintf(line, sizeof line, "Session: %s", conn->session);
        rtsp_schedule_field(conn, line);
    }
}

int rtsp_put(CConnect* conn, const char* text) {
    const size_t len = strlen(text);
    std::string wire;
    wire.reserve(len + 3);
    wire.append(text, len).append("\r\n");
    kovo::tracef("---send %s\n", wire.c_str());
    if (!conn->socketOpen) return -1;
    return rtsp_send_bounded(conn, wire.data(), wire.size());
}

int rtsp_send_request(CConnect* conn, const char* method, const char* url) {
    std::string text;
    text.append(method).append(" ").append(url).append(" RTSP/1.0\r\n");
    for (int i = 0; i < RTSP_MAX_LINES && conn->scheduled[i]; ++i) text.append(conn->scheduled[i]).append("\r\n");
    conn->requestCseq = scheduled_cseq(conn);
    const int sent = rtsp_put(conn, text.c_str());
    rtsp_unschedule_all(conn);
    return sent;
}

int rtsp_get(CConnect* conn, char* buf, int len) {
    if (len <= 0) return 0;
    memset(buf, 0, static_cast<size_t>(len));
    if (!rtsp_wait_readable(conn)) return 0;
    ssize_t n = -1;
    if (conn->socketOpen) {
        do {
            n = recv(conn->s, buf, static_cast<size_t>(len), 0);
        } while (n < 0 && errno == EINTR);
    }
    if (n > 0) return static_cast<int>(n);
    kovo::setLastError(KOVO_ERR_CLOSED);
    rtsp_close_socket(conn);
    memset(buf, 0, static_cast<size_t>(len));
    return static_cast<int>(n);
}

char* rtsp_get_line(char** cursor) {
    if (!cursor || !*cursor) return nullptr;
    char* start = *cursor;
    char* crlf = strstr(start, "\r\n");
    if (!crlf) return nullptr;
    *crlf = '\0';
    *cursor = crlf + 2;
    return start;
}

int rtsp_get_status_code(CConnect*, const char* text) {
    auto code_at = [text](size_t index) {
        char digits[4] = {};
        if (strlen(text) > index) strncpy(digits, text + index, 3);
        return atoi(digits);
    };
    if (strncmp(text, "RTSP/1.0", 8) == 0) return code_at(9);
    if (strncmp(text, "/1.0", 4) == 0) return code_at(5);
    if (strncmp(text, "SET_PARAMETE", 12) == 0 || strncmp(text, "PARAMETE", 8) == 0) return 10;
    return 0;
}

int rtsp_get_answersEx(CConnect* conn, char* text) {
    if (!conn || !text) return 0;
    const int status = rtsp_get_status_code(conn, text);
    rtsp_free_answers(conn);
    if (!parse_lines(conn, text, ReplyKind::Headers).complete) {
        rtsp_record_status(0);
        return 0;
    }
    finish_reply(conn);
    rtsp_record_status(status);
    return status;
}

int rtsp_get_answers(CConnect* conn) {
    // One byte more than a read can fill keeps the text terminated.
    char buf[RTSP_REPLY_BUFFER + 1] = {};
    if (read_reply(conn, buf, RTSP_REPLY_BUFFER) < 1) return 0;
    return rtsp_get_answersEx(conn, buf);
}

int rtsp_discribe_answers(CConnect* conn) {
    char buf[RTSP_REPLY_BUFFER + 1] = {};
    const int total = read_reply(conn, buf, RTSP_REPLY_BUFFER);
    if (total < 1) return 0;
    const int status = rtsp_get_status_code(conn, buf);
    rtsp_free_answers(conn);
    const ParseResult parsed = parse_lines(conn, buf, ReplyKind::Describe);
    finish_reply(conn);
    rtsp_record_status(status);
    if (parsed.contentLength > total) rtsp_get_sdp(conn);
    return status;
}

int rtsp_get_sdp(CConnect* conn) {
    char buf[RTSP_REPLY_BUFFER + 1] = {};
    rtsp_get(conn, buf, RTSP_REPLY_BUFFER);
    rtsp_free_answers(conn);
    char* cursor = buf;
    for (int stored = 0; stored < RTSP_MAX_LINES; ++stored) {
        char* line = rtsp_get_line(&cursor);
        if (!line) break;
        conn->answers[stored] = strdup(line);
    }
    return 0;
}

char* rtsp_search_answers(CConnect* conn, const char* key) {
    if (!conn || !key) return nullptr;
    const size_t n = strlen(key);
    for (int i = 0; i < RTSP_MAX_LINES && conn->answers[i]; ++i) {
        char* line = conn->answers[i];
        if (strncmp(line, key, n) != 0 || line[n] != ':') continue;
        char* value = strchr(line, ':') + 1;
        while (*value == ' ') ++value;
        return value;
    }
    return nullptr;
}

const char* rtsp_search_line(CConnect* conn, const char* text) {
    if (!conn || !text) return nullptr;
    const size_t n = strlen(text);
    for (int i = 0; i < RTSP_MAX_LINES && conn->answers[i]; ++i)
        if (strncmp(conn->answers[i], text, n) == 0) return text;
    return nullptr;
}

void rtsp_free_answers(CConnect* conn) {
    for (int i = 0; i <= RTSP_MAX_LINES; ++i) {
        free(conn->answers[i]);
        conn->answers[i] = nullptr;
    }
}

void rtsp_close(CConnect* conn) {
    if (!conn) return;
    rtsp_interrupt(conn);
    rtsp_close_socket(conn);
    rtsp_free_answers(conn);
    rtsp_unschedule_all(conn);
}

char* rtsp_get_mrl(CConnect* conn) { return conn->mrl; }
