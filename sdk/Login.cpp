// Kovo_Login / Kovo_Logout: the two RTSP connections of a device.
#include <cstdio>
#include <cstring>
#include <string>

#include "rtsp/rtsp.h"
#include "sdk/Device.h"
#include "sdk/Reconnect.h"
#include "sdk/LastError.h"
#include "sdk/LinkOptions.h"
#include "stream/StreamApi.h"
#include "sdk/Trace.h"

namespace {

const char kInterleavedTransport[] = "Transport: RTP/AVP/TCP;unicast;interleaved=0-1";
const char kUserAgent[] = "User-Agent: ORV CMS V1.0";

enum ChannelKind { kControlChannel = 0, kStreamChannel = 1 };

// Binds the proxied control channel with SETUP; false when refused.
bool bind_control_channel(CDevice* device) {
    rtsp_schedule_field(&device->control, kInterleavedTransport);
    rtsp_schedule_field(&device->control, kUserAgent);
    return rtsp_request_setup(&device->control, device->control.mrl) == 200;
}

void tear_down_after_refused_bind(CDevice* device) {
    kovo::LastErrorKeeper refusal;  // the refused SETUP is why the login failed
    rtsp_request_teardown(&device->stream, kInterleavedTransport, 1);
    KovoTrace("Login request setup teardow client.\n");
    rtsp_close(&device->stream);
    rtsp_request_teardown(&device->control, kInterleavedTransport, 1);
    KovoTrace("Login request setup teardow control.\n");
    rtsp_close(&device->control);
}

// A call still waiting on one of the device's sockets returns at once
// (closed) instead of holding the logout up. The stream connection of a
// running stream is left to its reader, which the logout stops.
void wake_blocked_calls(CDevice* device) {
    rtsp_interrupt(&device->control);
    std::unique_lock<std::recursive_mutex> lock(device->callLock, std::try_to_lock);
    if (!lock.owns_lock() || !device->m_pVideoControl) rtsp_interrupt(&device->stream);
}

}  // namespace

long ConnectDeviceLinks(CDevice* device) {
    const char* pszAddress = device->loginAddress.c_str();
    const unsigned short nPort = device->loginPort;
    const char* pszProxy = device->hasProxy ? device->loginProxy.c_str() : nullptr;
    GUID appId;
    const bool viaProxy = pszProxy && pszProxy[0];
    GUID* sharedId = viaProxy ? &appId : nullptr;

    std::string url = std::string("rtsp://") + pszAddress;
    kovo::tracef("try to connect %s:%d==proxy:%s==\r\n", pszAddress, nPort, pszProxy ? pszProxy : "(null)");
    kovo::tracef("==SDK_VERSION:%s==\r\n", "2.1.2");

    if (rtsp_connect(&device->stream, pszProxy, nPort, url.c_str(), nullptr, kStreamChannel, sharedId) != 0) {
        KovoTrace("Login connect client failed. \n");
        rtsp_close(&device->stream);
        return -1;
    }
    memset(device->stream.pszServerUrl, 0, sizeof device->stream.pszServerUrl);
    strncpy(device->stream.pszServerUrl, pszAddress, sizeof device->stream.pszServerUrl - 1);
    device->stream.nServerPort = nPort;
    device->stream.pDevice = device;

    if (viaProxy) url += "/Ctrl";
    if (rtsp_connect(&device->control, pszProxy, nPort, url.c_str(), nullptr, kControlChannel, sharedId) != 0) {
        KovoTrace("Login connect failed. \n");
        rtsp_close(&device->stream);
        rtsp_close(&device->control);
        return -1;
    }

    if (viaProxy && !bind_control_channel(device)) {
        tear_down_after_refused_bind(device);
        KovoTrace("Login error [%d] proxy mode request setup failed and clean.\n", 667);
        return -108;
    }
    device->control.pDevice = device;
    return 0;
}

long Kovo_Login(const char* pszAddress, unsigned short nPort, const char* pszProxy) {
    if (!pszAddress) return kovo::failWith(KOVO_ERR_INVALID_ARG, -1);
    CDevice* device = new CDevice;
    // The defaults of the moment bound this login's own connects and replies.
    kovo::setDeviceLinkOptions(device, kovo::linkDefaults());
    // Kept for logging in again after the link is lost.
    device->loginAddress = pszAddress;
    device->loginPort = nPort;
    device->hasProxy = pszProxy != nullptr;
    if (pszProxy) device->loginProxy = pszProxy;
    const long result = ConnectDeviceLinks(device);
    if (result != 0) {
        delete device;
        return kovo::exchangeOutcome(result);
    }
    const long id = device->stream.s;
    RegisterDevice(id, device);
    kovo::exchangeOutcome(0);
    return id;
}

long Kovo_Logout(long lDeviceID) {
    DeviceHold hold(lDeviceID);
    if (!hold.unregister()) {
        kovo::traceputs("Not find device.\r");
        return kovo::failWith(KOVO_ERR_NO_DEVICE, -1);
    }
    CDevice* device = hold.get();
    wake_blocked_calls(device);
    // A stream left open would keep threads reading a socket closed below.
    kovo::StopReconnect(device);
    StopDeviceStream(device);
    device = hold.takeOver();
    {
        std::lock_guard<std::recursive_mutex> lock(device->callLock);
        rtsp_close(&device->stream);
        rtsp_close(&device->control);
        kovo::ReleaseReservedId(device);
    }
    delete device;
    return kovo::succeed();
}
