// Exported stream functions: open/close the live stream of a logged-in
// device and register the callbacks that receive its frames.
#include "stream/StreamApi.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "rtsp/rtsp.h"
#include "sdk/Device.h"
#include "sdk/LinkOptions.h"
#include "sdk/Reconnect.h"
#include "sdk/KovoSDK.h"
#include "sdk/LastError.h"
#include "sdk/Trace.h"
#include "stream/VideoControl.h"

namespace {

using DeviceLock = std::unique_lock<std::recursive_mutex>;

constexpr const char* kUserAgent = "User-Agent: ORV CMS V1.0";
constexpr const char* kTransport = "Transport: RTP/AVP/TCP;unicast;interleaved=0-1";

// Detaches the controller under the device lock; the caller destroys it
// after releasing the lock, so a callback calling back into the library
// cannot deadlock against the join.
CVideoControl* takeController(CDevice* device) {
    CVideoControl* control = device->m_pVideoControl;
    device->m_pVideoControl = nullptr;
    return control;
}

// After a failed DESCRIBE or a missing video track the device is unusable:
// the id leaves the registry so later calls get the unknown-device code.
void releaseDevice(DeviceHold& hold, DeviceLock& lock) {
    CDevice* device = hold.get();
    CVideoControl* control = takeController(device);
    rtsp_close(&device->stream);
    rtsp_close(&device->control);
    lock.unlock();
    CVideoControl::Destroy(control);
    // Whoever retires the id deletes the device, once no other call holds it.
    if (hold.retire()) delete device;
}

void copyText(char (&out)[256], const char* text) { snprintf(out, sizeof out, "%s", text); }

int validateOpenArguments(long id, int channel, long type, long mode, int connectType,
                          long pool) {
    if (id < 1) return KovoTrace("OpenStream[%d] device invalid.\n", __LINE__), -1;
    if (channel < 0) return KovoTrace("OpenStream[%d] channel invalid.\n", __LINE__), -1;
    if (type < 0) return KovoTrace("OpenStream[%d] stream type invalid.\n", __LINE__), -1;
    if (mode < 0) return KovoTrace("OpenStream[%d] stream mode invalid.\n", __LINE__), -1;
    if (connectType != CONNECT_TYPE_UDP && connectType != CONNECT_TYPE_TCP)
        return KovoTrace("OpenStream[%d] connect type invalid.\n", __LINE__), -1;
    if (pool < 0) return KovoTrace("OpenStream[%d] buffer pool size invalid.\n", __LINE__), -1;
    return 0;
}

// What the receive path learns from DESCRIBE and SETUP.
struct StreamLayout {
    bool mjpeg = false;
    kovo::TrackSdp video;
    kovo::TrackSdp audio;
    int videoChannel = -1;  // as the SETUP replies announce them
    int audioChannel = -1;
};

// The first interleaved channel of the last SETUP reply, or -1.
int announcedChannel(CConnect* conn) {
    const char* transport = rtsp_search_answers(conn, "Transport");
    const char* at = transport ? strstr(transport, "interleaved=") : nullptr;
    return at ? atoi(at + 12) : -1;
}

// SETUP of each track, then PLAY; the SETUP results are not checked.
int setupAndPlay(CDevice* dev, StreamLayout& layout) {
    CConnect* conn = &dev->stream;
    if (dev->a_mrl[0]) {
        rtsp_schedule_field(conn, kTransport);
        rtsp_schedule_field(conn, kUserAgent);
        rtsp_request_setup(conn, dev->a_mrl);
        layout.audioChannel = announcedChannel(conn);
    }
    rtsp_schedule_field(conn, kTransport);
    rtsp_schedule_field(conn, kUserAgent);
    rtsp_request_setup(conn, dev->v_mrl);
    layout.videoChannel = announcedChannel(conn);
    rtsp_schedule_field(conn, "Range: npt=0.000-");
    return rtsp_request_play(conn, dev->v_mrl);
}

void startController(CDevice* dev, long id, const StreamLayout& layout, CVideoControl* callbacksFrom) {
    dev->lDeviceID = int(id);
    auto* control = new CVideoControl(dev->width, dev->height, dev->framerate);
    dev->m_pVideoControl = control;
    control->SetDevice(dev);
    control->SetSocket(dev->stream.s);
    control->SetStreamID(id);
    control->SetConnectType(CONNECT_TYPE_TCP);
    if (layout.mjpeg) control->SetDataType(MJPEGDATA_TYPE);
    control->SetReceiveRules(dev->streamOptions.nStandardRtp ? kovo::ReceiveRules::Standard
                                                             : kovo::ReceiveRules::Native);
    control->SetTrackSdp(layout.video, layout.audio);
    control->SetChannels(layout.videoChannel, layout.audioChannel);
    control->SetFrameCallBack(dev->frameCallBack, dev->frameUser);
    control->HasAudio(dev->a_mrl[0] != '\0');
    control->SetWnd(static_cast<unsigned long>(dev->VideoWnd));
    control->TakeLinkOptions();
    if (callbacksFrom) control->CopyCallbacksFrom(*callbacksFrom);
    control->StartThread();
}

// Looks the device up and runs f(device, controller) under its lock, or
// prints noStream and returns -1 when no stream is open.
template <typename F>
long withController(long id, const char* noStream, F f) {
    DeviceHold hold(id);
    CDevice* dev = hold.get();
    if (!dev) return kovo::failWith(KOVO_ERR_NO_DEVICE, -1);
    DeviceLock lock(dev->callLock);
    if (!dev->m_pVideoControl) {
        kovo::traceputs(noStream);
        return kovo::failWith(KOVO_ERR_INVALID_ARG, -1);
    }
    return kovo::succeed(f(dev->m_pVideoControl));
}

const char kNoVideoControl[] = "dev->m_pVideoControl == NULL,Kovo_SetRealDataCallBack failed \r";

}  // namespace

void StopDeviceStream(CDevice* device) {
    if (!device) return;
    DeviceLock lock(device->callLock);
    CVideoControl* control = takeController(device);
    lock.unlock();
    CVideoControl::Destroy(control);
}

namespace {

// DESCRIBE, SETUP and PLAY on the device's stream connection and the
// controller, under the device lock. *unusable: the failure leaves the
// device without a usable stream connection (-125, -122).
long openOnDevice(CDevice* dev, long id, int ConnectType, CVideoControl* callbacksFrom,
                  bool* unusable) {
    CConnect* conn = &dev->stream;
    rtsp_schedule_field(conn, "Accept: application/sdp");
    rtsp_schedule_field(conn, kUserAgent);
    if (rtsp_request_describe(conn, nullptr) != 200) {
        *unusable = true;
        KovoTrace("OpenStream[%d] request describe failed and return.\n", __LINE__);
        return -125;
    }
    StreamLayout layout;
    layout.mjpeg = strstr(conn->mrl, "MJPEG") != nullptr;
    layout.video = kovo::ReadTrackSdp(conn->answers, "video");
    layout.audio = kovo::ReadTrackSdp(conn->answers, "audio");

    const char* dimensions = rtsp_search_answers(conn, "a=x-dimensions");
    if (!dimensions) return kovo::failWith(KOVO_ERR_PROTOCOL, -1);
    sscanf(dimensions, "%d, %d \r\n", &dev->width, &dev->height);
    KovoTrace("%d x %d ", dev->width, dev->height);
    dev->framerate = 0;
    const char* frameRate = rtsp_search_answers(conn, "a=x-framerate");
    if (!frameRate) return kovo::failWith(KOVO_ERR_PROTOCOL, -1);
    sscanf(frameRate, "%d", &dev->framerate);
    KovoTrace("pFrameRate=%s, tmpDev->framerate=%d\r\n", frameRate, dev->framerate);

    const char* videoMrl = rtsp_get_video_mrl(conn);
    if (!videoMrl) {
        *unusable = true;
        KovoTrace("OpenStream[%d] get video mrl failed.\n", __LINE__);
        return kovo::failWith(KOVO_ERR_PROTOCOL, -122);
    }
    KovoTrace("videomrl=%s\r\n", videoMrl);
    const char* audioMrl = rtsp_get_audio_mrl(conn);
    // A track that this SDP no longer offers must not select the audio layout.
    dev->a_mrl[0] = '\0';
    if (audioMrl) {
        copyText(dev->a_mrl, audioMrl);
        kovo::tracef("audiomrl=%s\n", audioMrl);
    }
    copyText(dev->v_mrl, videoMrl);

    conn->protocol = ConnectType;
    if (ConnectType == CONNECT_TYPE_TCP) {
        if (setupAndPlay(dev, layout) != 200) {
            KovoTrace("OpenStream[%d] request play(TCP) video error and return,\t\t\t\ttmpDev->v_mrl=%s\r\n",
                      __LINE__, dev->v_mrl);
            return -123;
        }
        startController(dev, id, layout, callbacksFrom);
    }
    KovoTrace("OpenStream Successfully:id=%d \r\n", dev->lDeviceID);
    return 0;
}

}  // namespace

long ReopenDeviceStream(CDevice* dev, long id, CVideoControl* callbacksFrom) {
    DeviceLock lock(dev->callLock);
    bool unusable = false;
    return openOnDevice(dev, id, dev->openConnectType, callbacksFrom, &unusable);
}

long Kovo_OpenStream(long lDeviceID, int nChannel, long lStreamType, long lStreamMode,
                     int ConnectType, long lBufPoolSize) {
    if (validateOpenArguments(lDeviceID, nChannel, lStreamType, lStreamMode, ConnectType,
                              lBufPoolSize) != 0)
        return kovo::failWith(KOVO_ERR_INVALID_ARG, -1);
    DeviceHold hold(lDeviceID);
    CDevice* dev = hold.get();
    if (!dev) {
        kovo::traceputs("Kovo_OpenStream tmpDev == NULL");
        return kovo::failWith(KOVO_ERR_NO_DEVICE, -1);
    }
    // A stream still open on the device is stopped first, so its receive
    // thread neither leaks nor competes for the replies below.
    kovo::StopReconnect(dev);
    StopDeviceStream(dev);
    DeviceLock lock(dev->callLock);
    if (dev->linkDown) return kovo::failWith(KOVO_ERR_CLOSED, -1);
    bool unusable = false;
    const long result = openOnDevice(dev, lDeviceID, ConnectType, nullptr, &unusable);
    if (unusable) releaseDevice(hold, lock);
    if (result == 0) {
        dev->openConnectType = ConnectType;
        kovo::SetStreamWanted(dev, ConnectType == CONNECT_TYPE_TCP);
    }
    return kovo::exchangeOutcome(result);
}

long Kovo_CloseStream(long lDeviceID) {
    if (lDeviceID <= 0) {
        KovoTrace("CloseStream[%d] stream id invalid\n", __LINE__);
        return kovo::failWith(KOVO_ERR_INVALID_ARG, -1);
    }
    DeviceHold hold(lDeviceID);
    CDevice* dev = hold.get();
    if (!dev) {
        kovo::traceputs("tmpDev == NULL\r");
        return kovo::failWith(KOVO_ERR_NO_DEVICE, -1);
    }
    kovo::SetStreamWanted(dev, false);
    kovo::StopReconnect(dev);
    Kovo_SetRealDataCallBack(lDeviceID, H264DATA_TYPE, nullptr, 0);
    DeviceLock lock(dev->callLock);
    CConnect* conn = &dev->stream;
    const int wait = conn->protocol == CONNECT_TYPE_TCP ? 0 : 1;
    if (!dev->linkDown) {
        // The stream's thread may be sending a keep-alive.
        std::lock_guard<std::mutex> sendLock(dev->streamSendLock);
        if (dev->v_mrl[0]) rtsp_request_pause(conn, dev->v_mrl, wait);
        if (dev->a_mrl[0]) rtsp_request_pause(conn, dev->a_mrl, wait);
    }
    CVideoControl* control = takeController(dev);
    lock.unlock();
    CVideoControl::Destroy(control);
    return kovo::succeed();
}

long Kovo_SetVideoWnd(long lDeviceID, unsigned long hWnd) {
    DeviceHold hold(lDeviceID);
    CDevice* dev = hold.get();
    if (!dev) return kovo::failWith(KOVO_ERR_NO_DEVICE, -1);
    DeviceLock lock(dev->callLock);
    dev->VideoWnd = int(hWnd);
    kovo::tracef("dev->VideoWnd=%ld\n", long(dev->VideoWnd));
    return kovo::succeed();
}

static long setDecoding(long lStreamID, bool on) {
    DeviceHold hold(lStreamID);
    CDevice* dev = hold.get();
    if (!dev) return kovo::failWith(KOVO_ERR_NO_DEVICE, -1);
    DeviceLock lock(dev->callLock);
    if (!dev->m_pVideoControl) {
        kovo::traceputs("m_pVideoControl==NULL, not open stream?");
        return kovo::failWith(KOVO_ERR_INVALID_ARG, -2);
    }
    if (on)
        dev->m_pVideoControl->StartDecode();
    else
        dev->m_pVideoControl->StopDecode();
    return kovo::succeed();
}

long Kovo_StartDecode(long lStreamID) { return setDecoding(lStreamID, true); }
long Kovo_StopDecode(long lStreamID) { return setDecoding(lStreamID, false); }

long Kovo_SetRealDataCallBack(long lDeviceID, DATA_TYPE_E eDataType, fRealDataCallBack cbRealData,
                              unsigned long dwUser) {
    return withController(lDeviceID, kNoVideoControl, [&](CVideoControl* c) {
        return c->SetRealDataCallBack(eDataType, cbRealData, dwUser);
    });
}

long Kovo_SetDisplayDataCallBack(long lDeviceID, DATA_TYPE_E, fDisplayDataCallBack cbDisplayData,
                                 unsigned long dwUser) {
    return withController(lDeviceID, kNoVideoControl, [&](CVideoControl* c) {
        return c->SetRealDataCallBackDecode(cbDisplayData, dwUser);
    });
}

long Kovo_SetMJPEGCallBack(long lDeviceID, fMJPEGCallBack cbMJPEGData, unsigned long dwUser) {
    return withController(lDeviceID, kNoVideoControl, [&](CVideoControl* c) {
        return c->SetMJPEGCallBack(cbMJPEGData, dwUser);
    });
}

long Kovo_SetAudioCallBack(long lStreamID, fAudioCallBack cbAudioDataFunc, unsigned long dwUser) {
    return withController(
        lStreamID, "dev->m_pVideoControl == NULL,Kovo_SetAudioCallBack failed \r",
        [&](CVideoControl* c) { return c->SetAudioCallBack(cbAudioDataFunc, dwUser); });
}

long Kovo_SetStreamOptions(long lDeviceID, const KOVO_STREAM_OPTIONS* pOptions) {
    DeviceHold hold(lDeviceID);
    CDevice* dev = hold.get();
    if (!dev) return -3;
    if (!pOptions || (pOptions->nStandardRtp != 0 && pOptions->nStandardRtp != 1)) return -1;
    DeviceLock lock(dev->callLock);
    dev->streamOptions = *pOptions;
    return 0;
}

long Kovo_SetFrameCallBack(long lDeviceID, fFrameCallBack cbFrame, unsigned long dwUser) {
    DeviceHold hold(lDeviceID);
    CDevice* dev = hold.get();
    if (!dev) return -3;
    DeviceLock lock(dev->callLock);
    dev->frameCallBack = cbFrame;
    dev->frameUser = dwUser;
    if (dev->m_pVideoControl) dev->m_pVideoControl->SetFrameCallBack(cbFrame, dwUser);
    return 0;
}

long Kovo_GetStreamStatistics(long lDeviceID, KOVO_STREAM_STATS* pStats) {
    DeviceHold hold(lDeviceID);
    CDevice* dev = hold.get();
    if (!dev) return -3;
    if (!pStats) return -1;
    DeviceLock lock(dev->callLock);
    if (!dev->m_pVideoControl) return -2;
    dev->m_pVideoControl->GetStatistics(*pStats);
    return 0;
}
