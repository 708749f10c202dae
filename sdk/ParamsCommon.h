// Helpers shared by the network, mail, alarm, storage and file exports:
// blank-separated value splitting and the trace of a named range check.
// CheckTime and CheckTimeRange themselves are public (KovoSDK.h).
#ifndef KOVO_SDK_PARAMSCOMMON_H
#define KOVO_SDK_PARAMSCOMMON_H

#include <string>
#include <vector>

#include "sdk/ParamFrame.h"

namespace kovo::param {

// Splits text at blanks into out (appending). Characters equal to `dropped`
// vanish; a blank ends the current element even when it is empty. The
// element left unterminated at the end is kept only when keepTail is set and
// it is not empty. A null text appends nothing.
void splitAtBlanks(const char* text, char dropped, bool keepTail, std::vector<std::string>& out);

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
