// Default reports of CSocket. Errors and information are not shown.
#include <cstdio>

#include "net/Socket.h"
#include "sdk/Trace.h"

int OnConnect(int, const char*, int) { return 1; }

int OnError(const char*) { return 1; }

int OnError(const char* text, int value) {
    kovo::tracef(text, value);
    return 1;
}

int OnInfo(const char*) { return 1; }
