// Kovo_SetLinkOptions / Kovo_GetLinkOptions: process-wide defaults for later
// logins (id 0) and the options of one logged-in device.
#include "sdk/LinkOptions.h"

#include <mutex>

#include "sdk/Device.h"
#include "sdk/LastError.h"

namespace {

struct Defaults {
    std::mutex mutex;
    KOVO_LINK_OPTIONS options{};
};

Defaults& defaults() {
    static Defaults* instance = new Defaults;  // outlives every static destructor
    return *instance;
}

// -1 is a value of its own for the keep-alive interval: half the session time-out.
bool valid(const KOVO_LINK_OPTIONS& o) {
    return o.nConnectTimeoutMs >= 0 && o.nReplyTimeoutMs >= 0 && o.nStallTimeoutMs >= 0 &&
           o.nKeepAliveSec >= -1 && o.nReconnect >= 0 && o.nReconnectMaxMs >= 0 && o.nQueueLimitKB >= 0;
}

}  // namespace

namespace kovo {

KOVO_LINK_OPTIONS linkDefaults() {
    Defaults& d = defaults();
    std::lock_guard<std::mutex> lock(d.mutex);
    return d.options;
}

KOVO_LINK_OPTIONS linkOptionsOf(const CDevice* device) {
    std::lock_guard<std::mutex> lock(device->linkLock);
    return device->link;
}

void setDeviceLinkOptions(CDevice* device, const KOVO_LINK_OPTIONS& options) {
    std::lock_guard<std::mutex> lock(device->linkLock);
    device->link = options;
    for (CConnect* conn : {&device->stream, &device->control}) {
        conn->connectTimeoutMs = options.nConnectTimeoutMs;
        conn->replyTimeoutMs = options.nReplyTimeoutMs;
    }
    ++device->linkChanges;
}

}  // namespace kovo

long Kovo_SetLinkOptions(long lDeviceID, const KOVO_LINK_OPTIONS* pOptions) {
    if (!pOptions || !valid(*pOptions)) return kovo::failWith(KOVO_ERR_INVALID_ARG, -1);
    if (lDeviceID == 0) {
        Defaults& d = defaults();
        std::lock_guard<std::mutex> lock(d.mutex);
        d.options = *pOptions;
        return kovo::succeed();
    }
    // The device's call lock is not taken: a call blocked on the device must
    // not hold up new bounds, which its next wait already obeys.
    DeviceHold hold(lDeviceID);
    if (!hold) return kovo::failWith(KOVO_ERR_NO_DEVICE, -3);
    kovo::setDeviceLinkOptions(hold.get(), *pOptions);
    return kovo::succeed();
}

long Kovo_GetLinkOptions(long lDeviceID, KOVO_LINK_OPTIONS* pOptions) {
    if (!pOptions) return kovo::failWith(KOVO_ERR_INVALID_ARG, -1);
    if (lDeviceID == 0) {
        *pOptions = kovo::linkDefaults();
        return kovo::succeed();
    }
    DeviceHold hold(lDeviceID);
    if (!hold) return kovo::failWith(KOVO_ERR_NO_DEVICE, -3);
    *pOptions = kovo::linkOptionsOf(hold.get());
    return kovo::succeed();
}
