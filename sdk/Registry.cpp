// The process-wide registry of logged-in devices, keyed by device id.
#include <condition_variable>
#include <cstring>
#include <map>
#include <mutex>

#include "sdk/Device.h"

namespace {

struct Registry {
    std::mutex mutex;
    std::condition_variable holdReleased;
    std::map<long, CDevice*> devices;
};

Registry& registry() {
    // Deliberately never destroyed: the registry must outlive every static
    // destructor that might still look a device up at unload.
    static Registry* instance = new Registry;
    return *instance;
}

}  // namespace

CDevice::CDevice() {
    v_mrl[0] = '\0';
    a_mrl[0] = '\0';
}

CDevice::~CDevice() = default;

CDevice* FindDeviceByDeviceID(long id) {
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    auto it = r.devices.find(id);
    return it == r.devices.end() ? nullptr : it->second;
}

CDevice* FindDeviceByIPPort(const char* ip, unsigned short port) {
    if (!ip) return nullptr;
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    for (const auto& [id, device] : r.devices) {
        if (device->stream.nServerPort == port && strcmp(device->stream.pszServerUrl, ip) == 0) return device;
    }
    return nullptr;
}

int OnRecvData(int id, const void*, int) {
    FindDeviceByDeviceID(id);
    return 1;
}

int OnDisconnect(int id) {
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    r.devices.erase(id);
    return 1;
}

void RegisterDevice(long id, CDevice* device) {
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    r.devices[id] = device;
}

DeviceHold::DeviceHold(long id) : id_(id) {
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    auto it = r.devices.find(id);
    if (it == r.devices.end()) return;
    device_ = it->second;
    ++device_->holders;
}

DeviceHold::~DeviceHold() {
    if (!device_) return;
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    --device_->holders;
    r.holdReleased.notify_all();
}

bool DeviceHold::unregister() {
    if (!device_) return false;
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    auto it = r.devices.find(id_);
    if (it == r.devices.end() || it->second != device_) return false;
    r.devices.erase(it);
    return true;
}

CDevice* DeviceHold::takeOver() {
    if (!device_) return nullptr;
    Registry& r = registry();
    std::unique_lock<std::mutex> lock(r.mutex);
    r.holdReleased.wait(lock, [this] { return device_->holders == 1; });
    CDevice* device = device_;
    device->holders = 0;
    device_ = nullptr;
    return device;
}

int Kovo_SDKInit(void) { return 0; }

int Kovo_SDKUnInit(void) { return 0; }
