#include "stream/StreamEvents.h"

#include <mutex>

#include "sdk/Device.h"
#include "sdk/LastError.h"

void EmitDeviceEvent(CDevice* device, long id, KOVO_EVENT_E event, long detail) {
    if (!device) return;
    fEventCallBack callback;
    unsigned long user;
    {
        std::lock_guard<std::mutex> lock(device->eventLock);
        callback = device->eventCallBack;
        user = device->eventUser;
    }
    if (callback) callback(id, event, detail, user);
}

long Kovo_SetEventCallBack(long lDeviceID, fEventCallBack cbEvent, unsigned long dwUser) {
    if (lDeviceID < 1) return kovo::failWith(KOVO_ERR_INVALID_ARG, -1);
    DeviceHold hold(lDeviceID);
    CDevice* device = hold.get();
    if (!device) return kovo::failWith(KOVO_ERR_NO_DEVICE, -3);
    std::lock_guard<std::mutex> lock(device->eventLock);
    device->eventCallBack = cbEvent;
    device->eventUser = dwUser;
    return kovo::succeed();
}
