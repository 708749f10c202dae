// The logged-in device and the process-wide registry of devices.
#ifndef KOVO_SDK_DEVICE_H
#define KOVO_SDK_DEVICE_H

#include <uuid/uuid.h>

#include <atomic>
#include <map>
#include <memory>
#include <string>
#include <mutex>

#include "rtsp/rtsp.h"
#include "sdk/KovoSDK.h"

class CVideoControl;
namespace kovo {
struct ReconnectState;
}

struct GUID {
    GUID() { uuid_generate(uu); }
    uuid_t uu;
};

struct CDevice {
    CDevice();
    ~CDevice();

    int lDeviceID = 0;
    int VideoWnd = 0;
    char IP[16] = {};
    int port = 0;
    char v_mrl[256];
    char a_mrl[256];
    CVideoControl* m_pVideoControl = nullptr;
    int framerate = 0;
    int width = 0;
    int height = 0;
    int video_rtpsock = -1;
    int audio_rtpsock = -1;
    CConnect stream;
    CConnect control;

    // Library extensions, all off unless the application sets them. They
    // belong to the device rather than to its stream, so they hold before
    // Kovo_OpenStream and across reconnects.
    KOVO_LINK_OPTIONS link{};  // read and written under linkLock (sdk/LinkOptions.h)
    mutable std::mutex linkLock;
    // Counts option changes, so that an open stream's thread picks them up.
    std::atomic<unsigned> linkChanges{0};
    KOVO_STREAM_OPTIONS streamOptions{};
    fEventCallBack eventCallBack = nullptr;
    unsigned long eventUser = 0;
    fFrameCallBack frameCallBack = nullptr;
    unsigned long frameUser = 0;

    // Guards eventCallBack and eventUser: set by the application, read by
    // the library threads that report events.
    std::mutex eventLock;
    // Serialises requests on the stream connection while a stream is open:
    // the stream thread's keep-alive against the application's PAUSE.
    std::mutex streamSendLock;

    // Held for the whole of one parameter exchange or stream open/close, so
    // that application threads calling on one device cannot interleave.
    std::recursive_mutex callLock;

    // What logging in again needs (Kovo_Login's arguments) and what the
    // stream was opened with.
    std::string loginAddress;
    std::string loginProxy;
    bool hasProxy = false;
    unsigned short loginPort = 0;
    int openConnectType = 0;
    // Reconnection (sdk/Reconnect.h): the attempts under way, guarded by
    // reconnectLock with streamWanted (an open stream the application has
    // not closed); linkDown while the links are being replaced.
    std::mutex reconnectLock;
    bool streamWanted = false;
    std::shared_ptr<kovo::ReconnectState> reconnect;
    std::atomic<bool> linkDown{false};
    int reservedFd = -1;  // keeps the id's descriptor number while no link holds it

    // Number of DeviceHold objects on this device; guarded by the registry.
    int holders = 0;
};

// Keeps a registered device alive while a call uses it: logout waits until
// every other hold is released before it deletes the device.
class DeviceHold {
public:
    explicit DeviceHold(long id);
    ~DeviceHold();
    DeviceHold(const DeviceHold&) = delete;
    DeviceHold& operator=(const DeviceHold&) = delete;

    CDevice* get() const { return device_; }
    explicit operator bool() const { return device_ != nullptr; }

    // Removes the id from the registry, waits until this is the last hold on
    // the device and hands the device over: the caller deletes it. Null when
    // the id no longer maps to the held device (someone retired it first).
    CDevice* retire() { return unregister() ? takeOver() : nullptr; }
    // The two halves of retire(), for a caller that must act in between
    // (wake the other holders' blocked calls): false when the id no longer
    // maps to the held device.
    bool unregister();
    CDevice* takeOver();

private:
    long id_;
    CDevice* device_ = nullptr;
};

// Registry access. The registry itself is guarded internally; the returned
// pointer stays valid until the device is logged out.
KOVO_API CDevice* FindDeviceByDeviceID(long id);
KOVO_API CDevice* FindDeviceByIPPort(const char* ip, unsigned short port);
KOVO_API int OnRecvData(int id, const void* data, int len);
KOVO_API int OnDisconnect(int id);
KOVO_API int MyUuidToString(GUID* id, char* out);

// Inserts or replaces the entry under id.
void RegisterDevice(long id, CDevice* device);

#endif
