// Default reports of CSocket. Errors and information are not shown.
#include <cstdio>

#include "net/Socket.h"

int OnConnect(int, const char*, int) { return 1; }

int OnError(const char*) { return 1; }

int OnError(const char* text, int value) {
    std::printf(text, value);
    return 1;
}

int OnInfo(const char*) { return 1; }
