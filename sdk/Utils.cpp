// Trace output, version text, hexadecimal and uuid formatting.
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "sdk/Device.h"
#include "sdk/KovoSDK.h"
#include "sdk/Trace.h"

namespace {
const char kVersion[] = "2.1.2";
}

void KovoTrace(const char* pszFormat, ...) {
    // The message keeps to 512 bytes; the CR LF follows it.
    char text[512 + 2];
    va_list args;
    va_start(args, pszFormat);
    int n = vsnprintf(text, 512, pszFormat, args);
    va_end(args);
    if (n < 0) n = 0;
    if (n > 511) n = 511;
    text[n] = '\r';
    text[n + 1] = '\n';
    kovo::traceText(text, size_t(n) + 2);
}

void GetSDKVersion(char* pszVersion) {
    char text[64] = {};
    snprintf(text, sizeof text, "%s %s_%s", __DATE__, __TIME__, kVersion);
    strcpy(pszVersion, text);
}

int GetHexString(unsigned char* pIn, int nLen, char* pszOut) {
    if (!pIn || !pszOut) return -1;
    for (int i = 0; i < nLen; ++i) sprintf(pszOut + 2 * i, "%02X", pIn[i]);
    return 0;
}

int MyUuidToString(GUID* id, char* out) {
    const unsigned char* u = id->uu;
    sprintf(out, "%02x%02x%02x%02x-%02x%02x-%02x%02x-%02x%02x-%02x%02x%02x%02x%02x%02x", u[0], u[1], u[2], u[3],
            u[4], u[5], u[6], u[7], u[8], u[9], u[10], u[11], u[12], u[13], u[14], u[15]);
    return 1;
}
