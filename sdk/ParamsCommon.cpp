#include "sdk/ParamsCommon.h"

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

// atoi of the two characters at text[at], text[at + 1].
int twoDigits(const char* text, int at) {
    const char digits[3] = {text[at], text[at + 1], '\0'};
    return std::atoi(digits);
}

}  // namespace

int CheckTime(char* szTime) {
    if (!szTime) return 0;
    // Bounded so that an unterminated record field is never read past 9 bytes.
    if (strnlen(szTime, 9) != 8) return 0;
    if (szTime[2] != ':' && szTime[5] != ':') return 0;
    const int hours = twoDigits(szTime, 0);
    if (hours < 0 || hours > 23) return 0;
    // Minutes have no upper bound: the camera's own check never had one.
    if (twoDigits(szTime, 3) < 0) return 0;
    const int seconds = twoDigits(szTime, 6);
    if (seconds < 0 || seconds > 59) return 0;
    return 1;
}

int CheckTimeRange(char* begin, char* end) {
    if (!begin || !end) return 0;
    if (!CheckTime(begin) || !CheckTime(end)) return 0;
    return std::strcmp(begin, end) <= 0 ? 1 : 0;
}

namespace kovo::param {

long rejectRange(const char* operation, const char* what, int line) {
    const std::string format = std::string(operation) + "[%d] " + what + ".\n";
    KovoTrace(format.c_str(), line);
    return outcome(kInvalidArg);
}

}  // namespace kovo::param
