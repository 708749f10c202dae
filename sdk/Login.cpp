// Kovo_Login / Kovo_Logout: the two RTSP connections of a device.
#include <cstdio>
#include <cstring>
#include <string>

#include "rtsp/rtsp.h"
#include "sdk/Device.h"
#include "stream/StreamApi.h"

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
    rtsp_request_teardown(&device->stream, kInterleavedTransport, 1);
    KovoTrace("Login request setup teardow client.\n");
    rtsp_close(&device->stream);
    rtsp_request_teardown(&device->control, kInterleavedTransport, 1);
    KovoTrace("Login request setup teardow control.\n");
    rtsp_close(&device->control);
}

}  // namespace

long Kovo_Login(const char* pszAddress, unsigned short nPort, const char* pszProxy) {
    if (!pszAddress) return -1;
    CDevice* device = new CDevice;
    GUID appId;
    const bool viaProxy = pszProxy && pszProxy[0];
    GUID* sharedId = viaProxy ? &appId : nullptr;

    std::string url = std::string("rtsp://") + pszAddress;
    printf("try to connect %s:%d==proxy:%s==\r\n", pszAddress, nPort, pszProxy ? pszProxy : "(null)");
    printf("==SDK_VERSION:%s==\r\n", "2.1.2");

    if (rtsp_connect(&device->stream, pszProxy, nPort, url.c_str(), nullptr, kStreamChannel, sharedId) != 0) {
        KovoTrace("Login connect client failed. \n");
        rtsp_close(&device->stream);
        delete device;
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
        delete device;
        return -1;
    }

    if (viaProxy && !bind_control_channel(device)) {
        tear_down_after_refused_bind(device);
        delete device;
        KovoTrace("Login error [%d] proxy mode request setup failed and clean.\n", 667);
        return -108;
    }
    device->control.pDevice = device;

    const long id = device->stream.s;
    RegisterDevice(id, device);
    return id;
}

long Kovo_Logout(long lDeviceID) {
    DeviceHold hold(lDeviceID);
    CDevice* device = hold.retire();
    if (!device) {
        puts("Not find device.\r");
        return -1;
    }
    // A stream left open would keep threads reading a socket closed below.
    StopDeviceStream(device);
    {
        std::lock_guard<std::recursive_mutex> lock(device->callLock);
        rtsp_close(&device->stream);
        rtsp_close(&device->control);
    }
    delete device;
    return 0;
}
