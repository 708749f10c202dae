// One function per RTSP method, and the SDP control-URL lookups.
#include <poll.h>
#include <sys/socket.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "rtsp/rtsp.h"

namespace {

std::string default_url(const CConnect* conn) {
    char buf[1024];
    snprintf(buf, sizeof buf, "rtsp://%s:%i/%s", conn->host, conn->port, conn->path);
    return buf;
}

std::string url_or_default(const CConnect* conn, const char* url) {
    return url ? std::string(url) : default_url(conn);
}

int send_and_read(CConnect* conn, const char* method, const std::string& url) {
    rtsp_send_request(conn, method, url.c_str());
    return rtsp_get_answers(conn);
}

// PAUSE and TEARDOWN may go without waiting for the reply, so they queue the
// next request's standard fields themselves.
int send_maybe_waiting(CConnect* conn, const char* method, const std::string& url, int wait) {
    rtsp_send_request(conn, method, url.c_str());
    conn->cseq++;
    rtsp_schedule_standard(conn);
    return wait ? rtsp_get_answers(conn) : 0;
}

// Throws away stale replies and interleaved data waiting on the socket.
void drain(CConnect* conn) {
    if (!conn->socketOpen) return;
    char scratch[RTSP_REPLY_BUFFER];
    for (;;) {
        pollfd pfd{conn->s, POLLIN, 0};
        if (poll(&pfd, 1, 10) < 1) return;
        if (recv(conn->s, scratch, sizeof scratch, 0) <= 0) return;
    }
}

char* media_control(CConnect* conn, const char* mediaLine) {
    bool inMedia = false;
    for (int i = 0; i < RTSP_MAX_LINES && conn->answers[i]; ++i) {
        const char* line = conn->answers[i];
        if (strncmp(line, mediaLine, strlen(mediaLine)) == 0) inMedia = true;
        if (inMedia && strncmp(line, "a=control", 9) == 0) {
            char* value = strchr(conn->answers[i], ':');
            if (!value) continue;
            ++value;
            while (*value == ' ') ++value;
            return value;
        }
    }
    return nullptr;
}

}  // namespace

int rtsp_request_options(CConnect* conn, const char* url) {
    std::string target = url ? std::string(url) : [conn] {
        char buf[512];
        snprintf(buf, sizeof buf, "rtsp://%s:%i", conn->host, conn->port);
        return std::string(buf);
    }();
    return send_and_read(conn, "OPTIONS", target);
}

int rtsp_request_optionsex(CConnect* conn) {
    return send_and_read(conn, "OPTIONS", std::string("rtsp://") + conn->mrl);
}

int rtsp_request_describe(CConnect* conn, const char* url) {
    rtsp_send_request(conn, "DESCRIBE", url_or_default(conn, url).c_str());
    conn->server_state = RTSP_STATE_DESCRIBE;
    return rtsp_discribe_answers(conn);
}

int rtsp_request_setup(CConnect* conn, const char* url) {
    rtsp_send_request(conn, "SETUP", url);
    conn->server_state = RTSP_STATE_SETUP;
    return rtsp_get_answers(conn);
}

int rtsp_request_play(CConnect* conn, const char* url) {
    drain(conn);
    KovoTrace("Play start...\r\n");
    rtsp_send_request(conn, "PLAY", url_or_default(conn, url).c_str());
    conn->server_state = RTSP_STATE_PLAY;
    return rtsp_get_answers(conn);
}

int rtsp_request_pause(CConnect* conn, const char* url, int wait) {
    const std::string target = url_or_default(conn, url);
    conn->server_state = RTSP_STATE_PAUSE;
    return send_maybe_waiting(conn, "PAUSE", target, wait);
}

int rtsp_request_teardown(CConnect* conn, const char* url, int wait) {
    conn->server_state = RTSP_STATE_TEARDOWN;
    return send_maybe_waiting(conn, "TEARDOWN", url, wait);
}

int rtsp_request_getparameter(CConnect* conn, const char* url) {
    return send_and_read(conn, "GET_PARAMETER", url_or_default(conn, url));
}

int rtsp_request_setparameter(CConnect* conn, const char* url) {
    return send_and_read(conn, "SET_PARAMETER", url_or_default(conn, url));
}

int rtsp_user_custom(CConnect* conn, const char* method, const char* text, char* out) {
    if (!conn || !method || !text || !out) return -1;
    rtsp_schedule_field(conn, "Content-type: text/parameters");

    // A CR LF counts as a separator only when it starts before the last two
    // characters; a trailing one stays part of the last line.
    const size_t len = strlen(text);
    char line[256];
    size_t used = 0;
    bool cut = false;
    auto flush = [&] {
        line[used] = '\0';
        if (used) rtsp_schedule_field(conn, line);
        used = 0;
        cut = false;
    };
    for (size_t i = 0; i < len; ++i) {
        if (i + 2 < len && text[i] == '\r' && text[i + 1] == '\n') {
            flush();
            ++i;
        } else if (used < sizeof line - 1) {
            line[used++] = text[i];
        } else if (!cut) {
            cut = true;
            KovoTrace("rtsp_user_custom: line longer than 255 characters cut");
        }
    }
    flush();

    if (rtsp_send_request(conn, method, default_url(conn).c_str()) > 0) {
        char reply[RTSP_REPLY_BUFFER + 1] = {};
        if (rtsp_get(conn, reply, RTSP_REPLY_BUFFER) < 1) {
            conn->cseq++;
            rtsp_schedule_standard(conn);
            return -2;
        }
        // out holds 8192 bytes: keep room for the terminator.
        reply[RTSP_REPLY_BUFFER - 1] = '\0';
        strcpy(out, reply);
        rtsp_free_answers(conn);
    }
    conn->cseq++;
    rtsp_schedule_standard(conn);
    return 0;
}

char* rtsp_get_video_mrl(CConnect* conn) { return media_control(conn, "m=video"); }

char* rtsp_get_audio_mrl(CConnect* conn) { return media_control(conn, "m=audio"); }
