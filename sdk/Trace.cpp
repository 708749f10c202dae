// Trace routing: standard output, or the application's callback line by line.
#include "sdk/Trace.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <string>

#include "sdk/KovoSDK.h"

namespace {

struct TraceSink {
    // Recursive: a callback that itself calls into the library (and traces)
    // must not deadlock; calls from other threads still wait their turn.
    std::recursive_mutex mutex;
    fTraceCallBack callback = nullptr;
    unsigned long user = 0;
};

TraceSink& sink() {
    // Never destroyed: static destructors elsewhere may still trace.
    static TraceSink* instance = new TraceSink;
    return *instance;
}

bool isLineEnd(char c) { return c == '\n' || c == '\r'; }

// Hands every line of one record to the callback (sink mutex held).
void deliverLines(const TraceSink& s, const char* text, size_t len) {
    size_t end = len;
    while (end > 0 && isLineEnd(text[end - 1])) --end;
    if (end == 0) {
        if (len > 0) s.callback("", s.user);
        return;
    }
    std::string line;
    for (size_t start = 0; start < end;) {
        const char* feed = static_cast<const char*>(memchr(text + start, '\n', end - start));
        size_t stop = feed ? size_t(feed - text) : end;
        size_t next = feed ? stop + 1 : end;
        if (stop > start && text[stop - 1] == '\r' && feed) --stop;
        line.assign(text + start, stop - start);
        s.callback(line.c_str(), s.user);
        start = next;
    }
}

}  // namespace

namespace kovo {

void traceText(const char* text, size_t len) {
    TraceSink& s = sink();
    std::lock_guard<std::recursive_mutex> lock(s.mutex);
    if (s.callback)
        deliverLines(s, text, len);
    else
        fwrite(text, 1, len, stdout);
}

void tracef(const char* format, ...) {
    char local[1024];
    va_list args;
    va_start(args, format);
    va_list again;
    va_copy(again, args);
    const int n = vsnprintf(local, sizeof local, format, args);
    va_end(args);
    if (n < 0) {
        va_end(again);
        return;
    }
    if (size_t(n) < sizeof local) {
        va_end(again);
        traceText(local, size_t(n));
        return;
    }
    std::string text(size_t(n) + 1, '\0');
    vsnprintf(&text[0], text.size(), format, again);
    va_end(again);
    traceText(text.data(), size_t(n));
}

void traceputs(const char* text) {
    std::string line(text);
    line += '\n';
    traceText(line.data(), line.size());
}

}  // namespace kovo

long Kovo_SetTraceCallBack(fTraceCallBack cbTrace, unsigned long dwUser) {
    TraceSink& s = sink();
    std::lock_guard<std::recursive_mutex> lock(s.mutex);
    // Whatever standard output still buffers belongs before the switch.
    if (!s.callback) fflush(stdout);
    s.callback = cbTrace;
    s.user = dwUser;
    return 0;
}
