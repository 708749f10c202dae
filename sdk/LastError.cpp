// Thread-local last error of the exported calls.
#include "sdk/LastError.h"

namespace {

struct Outcome {
    KOVO_ERROR_E error = KOVO_ERR_NONE;
    int status = 0;
};

thread_local Outcome t_outcome;

}  // namespace

namespace kovo {

void setLastError(KOVO_ERROR_E error, int status) { t_outcome = Outcome{error, status}; }

KOVO_ERROR_E lastError() { return t_outcome.error; }

int lastStatus() { return t_outcome.status; }

long failWith(KOVO_ERROR_E error, long code) {
    setLastError(error);
    return code;
}

long succeed(long code) {
    setLastError(KOVO_ERR_NONE);
    return code;
}

long exchangeOutcome(long code) {
    if (code == 0)
        t_outcome.error = KOVO_ERR_NONE;
    else if (t_outcome.error == KOVO_ERR_NONE)
        t_outcome.error = KOVO_ERR_STATUS;
    return code;
}

}  // namespace kovo

int Kovo_GetLastError(int* pnStatus) {
    if (pnStatus) *pnStatus = t_outcome.status;
    return t_outcome.error;
}
