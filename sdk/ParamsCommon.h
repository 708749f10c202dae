// Helpers shared by the network, mail, alarm, storage and file exports:
// emptiness and range tests and the trace of a named range check.
// CheckTime and CheckTimeRange themselves are public (KovoSDK.h).
#ifndef KOVO_SDK_PARAMSCOMMON_H
#define KOVO_SDK_PARAMSCOMMON_H

#include "sdk/ParamFrame.h"

namespace kovo::param {

// Traces "<operation>[<line>] <what>.\n" and returns -1.
long rejectRange(const char* operation, const char* what, int line);

// True when the char array holds at least one character.
template <size_t N>
bool hasText(const char (&field)[N]) {
    return field[0] != '\0';
}

inline bool inRange(int value, int low, int high) { return value >= low && value <= high; }

}  // namespace kovo::param

#endif
