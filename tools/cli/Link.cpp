// What went wrong with a library call, and the link time-outs.
#include "Cli.h"
#include "KovoSDK.h"

namespace kovo::cli {

CallError lastCallError(long result, bool login) {
    switch (result) {
    case -1:
        if (login) return {kExitCamera, "could not connect, or the camera did not answer"};
        return {kExitUsage, "the library refused the arguments"};
    case -3: return {kExitCamera, "the device is not logged in"};
    case -108: return {kExitCamera, "the proxy refused the control channel"};
    default: return {kExitCamera, "the camera refused or did not answer (result " + std::to_string(result) + ")"};
    }
}

void applyLinkOptions(const Args& args) { (void)args.number("timeout", 5000, 1, 3600000); }

}  // namespace kovo::cli
