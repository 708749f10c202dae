// The calling thread's outcome of its last Kovo_ call (Kovo_GetLastError).
// Exports set it on every return; the RTSP engine records each reply's
// outcome as it reads it, so a failed exchange already says why.
#ifndef KOVO_SDK_LASTERROR_H
#define KOVO_SDK_LASTERROR_H

#include "sdk/KovoSDK.h"

namespace kovo {

void setLastError(KOVO_ERROR_E error, int status = 0);
KOVO_ERROR_E lastError();
int lastStatus();

// Sets error (status 0) and returns code: return kovo::failWith(KOVO_ERR_NO_DEVICE, -1);
long failWith(KOVO_ERROR_E error, long code);
// KOVO_ERR_NONE for a call that made no exchange; returns code.
long succeed(long code = 0);
// After a call's exchanges: code 0 is success with the last reply's status;
// any other code keeps what the engine recorded (KOVO_ERR_STATUS when it
// recorded nothing worse). Returns code.
long exchangeOutcome(long code);

// Restores the thread's error when it goes out of scope: clean-up exchanges
// after a failure must not overwrite what made the call fail.
class LastErrorKeeper {
public:
    LastErrorKeeper() : error_(lastError()), status_(lastStatus()) {}
    ~LastErrorKeeper() { setLastError(error_, status_); }
    LastErrorKeeper(const LastErrorKeeper&) = delete;
    LastErrorKeeper& operator=(const LastErrorKeeper&) = delete;

private:
    KOVO_ERROR_E error_;
    int status_;
};

}  // namespace kovo

#endif
