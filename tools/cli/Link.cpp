// What went wrong with a library call, the link time-outs and where the
// library's traces go.
#include <cstdio>

#include "Cli.h"
#include "KovoSDK.h"

namespace kovo::cli {
namespace {

int g_timeoutMs = 5000;

void traceToStandardError(const char* line, unsigned long) { std::fprintf(stderr, "%s\n", line); }
void dropTrace(const char*, unsigned long) {}

// The reason from the result code alone, for a failure the library gave no reason for.
CallError fromResult(long result, bool login) {
    switch (result) {
    case -1:
        if (login) return {kExitCamera, "could not connect, or the camera did not answer"};
        return {kExitUsage, "the library refused the arguments"};
    case -3: return {kExitCamera, "the device is not logged in"};
    case -108: return {kExitCamera, "the proxy refused the control channel"};
    default: return {kExitCamera, "the camera refused or did not answer (result " + std::to_string(result) + ")"};
    }
}

}  // namespace

CallError lastCallError(long result, bool login) {
    int status = 0;
    switch (Kovo_GetLastError(&status)) {
    case KOVO_ERR_INVALID_ARG: return {kExitUsage, "the library refused the arguments"};
    case KOVO_ERR_NO_DEVICE: return {kExitCamera, "the device is not logged in"};
    case KOVO_ERR_REFUSED: return {kExitCamera, "connection refused: nothing listens there"};
    case KOVO_ERR_UNREACHABLE:
        return {kExitTimeout, "no connection within " + std::to_string(g_timeoutMs) + " ms, or no route"};
    case KOVO_ERR_TIMEOUT: return {kExitTimeout, "no reply within " + std::to_string(g_timeoutMs) + " ms"};
    case KOVO_ERR_CLOSED: return {kExitCamera, "the camera closed the connection"};
    case KOVO_ERR_STATUS:
        if (status != 0) return {kExitCamera, "the camera answered with status " + std::to_string(status)};
        return {kExitCamera, "the camera refused the request"};
    case KOVO_ERR_PROTOCOL: return {kExitCamera, "the camera's reply could not be read"};
    default: return fromResult(result, login);
    }
}

void applyLinkOptions(const Args& args) {
    g_timeoutMs = static_cast<int>(args.number("timeout", 5000, 1, 3600000));
    KOVO_LINK_OPTIONS options{};
    Kovo_GetLinkOptions(0, &options);
    options.nConnectTimeoutMs = g_timeoutMs;
    options.nReplyTimeoutMs = g_timeoutMs;
    Kovo_SetLinkOptions(0, &options);
}

void routeLibraryTraces(bool verbose) { Kovo_SetTraceCallBack(verbose ? traceToStandardError : dropTrace, 0); }

}  // namespace kovo::cli
