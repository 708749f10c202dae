// List splitting shared by the settings whose values are blank-separated lists.
#ifndef KOVO_SDK_PARAMSPLIT_H
#define KOVO_SDK_PARAMSPLIT_H

#include <string>
#include <vector>

#include "sdk/KovoSDK.h"

// Appends the elements of src to out and returns how many out now holds:
// a blank ends an element (even an empty one), commas are dropped, and a
// non-empty last element is kept. A null src leaves out alone and gives 0.
KOVO_API int SplitString(const char* src, std::vector<std::string>& out);

#endif
