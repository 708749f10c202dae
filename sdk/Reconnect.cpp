#include "sdk/Reconnect.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <thread>

#include "sdk/Device.h"
#include "sdk/LinkOptions.h"
#include "stream/StreamApi.h"
#include "stream/StreamEvents.h"
#include "stream/VideoControl.h"

namespace kovo {

struct ReconnectState {
    std::mutex mutex;
    std::condition_variable wake;
    bool stop = false;
    std::thread thread;
};

namespace {

constexpr int kFirstWaitMs = 500;
constexpr int kLongestWaitMs = 30000;

using DeviceLock = std::lock_guard<std::recursive_mutex>;

bool stopped(ReconnectState& state) {
    std::lock_guard<std::mutex> lock(state.mutex);
    return state.stop;
}

// False when stopped before the time is up.
bool waitUnlessStopped(ReconnectState& state, int ms) {
    std::unique_lock<std::mutex> lock(state.mutex);
    return !state.wake.wait_for(lock, std::chrono::milliseconds(ms), [&] { return state.stop; });
}

// Closes both links. The stream socket's descriptor number is the device id:
// a placeholder keeps it, so that no other login can be given the same id.
void dropLinks(CDevice* device, int id) {
    CConnect& stream = device->stream;
    {
        std::lock_guard<std::mutex> lock(stream.socketLock);
        if (stream.socketOpen) shutdown(stream.s, SHUT_RDWR);
        if (stream.socketOpen && stream.s != id) close(stream.s);
        const int placeholder = open("/dev/null", O_RDONLY | O_CLOEXEC);
        if (placeholder >= 0) {
            dup2(placeholder, id);
            close(placeholder);
            device->reservedFd = id;
        }
        stream.s = id;
        stream.socketOpen = false;
    }
    rtsp_free_answers(&stream);
    rtsp_unschedule_all(&stream);
    stream.session[0] = '\0';
    rtsp_close(&device->control);
    device->control.session[0] = '\0';
}

// The new stream socket takes the id's descriptor number again.
void adoptStreamSocket(CDevice* device, int id) {
    CConnect& stream = device->stream;
    std::lock_guard<std::mutex> lock(stream.socketLock);
    if (stream.s == id || dup2(stream.s, id) < 0) return;
    close(stream.s);
    stream.s = id;
    device->reservedFd = -1;
}

bool attempt(CDevice* device, int id, CVideoControl* callbacks) {
    if (ConnectDeviceLinks(device) == 0) {
        adoptStreamSocket(device, id);
        if (ReopenDeviceStream(device, id, callbacks) == 0) return true;
    }
    DeviceLock lock(device->callLock);
    dropLinks(device, id);
    return false;
}

// Leaves the device's bookkeeping unless a StopReconnect took it over.
void finish(CDevice* device, const std::shared_ptr<ReconnectState>& state) {
    std::lock_guard<std::mutex> lock(device->reconnectLock);
    if (device->reconnect != state) return;
    state->thread.detach();
    device->reconnect.reset();
}

// After every event the device may be gone (the application logged out from
// the callback): a stopped state is then all that may be looked at.
void run(CDevice* device, std::shared_ptr<ReconnectState> state) {
    const int id = device->lDeviceID;
    CVideoControl* dead;
    {
        DeviceLock lock(device->callLock);
        dead = device->m_pVideoControl;
        device->m_pVideoControl = nullptr;
    }
    // Keeps the callbacks for the reopened stream; its threads end here.
    std::unique_ptr<CVideoControl> callbacks(dead);
    if (dead) dead->StopThread();
    {
        DeviceLock lock(device->callLock);
        dropLinks(device, id);
    }
    const int configured = linkOptionsOf(device).nReconnectMaxMs;
    const int longest = configured > 0 ? configured : kLongestWaitMs;
    int wait = std::min(kFirstWaitMs, longest);
    for (long n = 1;; ++n) {
        if (!waitUnlessStopped(*state, wait)) return;
        EmitDeviceEvent(device, id, KOVO_EVENT_RECONNECTING, n);
        if (stopped(*state)) return;
        if (attempt(device, id, callbacks.get())) break;
        wait = std::min(wait * 2, longest);
    }
    {
        DeviceLock lock(device->callLock);
        device->linkDown = false;
    }
    EmitDeviceEvent(device, id, KOVO_EVENT_RECONNECTED, 0);
    if (!stopped(*state)) finish(device, state);
}

}  // namespace

void StartReconnect(CDevice* device) {
    std::lock_guard<std::mutex> lock(device->reconnectLock);
    if (!device->streamWanted || device->reconnect) return;
    auto state = std::make_shared<ReconnectState>();
    device->reconnect = state;
    device->linkDown = true;
    state->thread = std::thread(run, device, state);
}

void StopReconnect(CDevice* device) {
    std::shared_ptr<ReconnectState> state;
    {
        std::lock_guard<std::mutex> lock(device->reconnectLock);
        state = std::move(device->reconnect);
    }
    if (!state) return;
    {
        std::lock_guard<std::mutex> lock(state->mutex);
        state->stop = true;
    }
    state->wake.notify_all();
    if (state->thread.get_id() == std::this_thread::get_id())
        state->thread.detach();
    else if (state->thread.joinable())
        state->thread.join();
}

void SetStreamWanted(CDevice* device, bool wanted) {
    std::lock_guard<std::mutex> lock(device->reconnectLock);
    device->streamWanted = wanted;
}

void ReleaseReservedId(CDevice* device) {
    CConnect& stream = device->stream;
    std::lock_guard<std::mutex> lock(stream.socketLock);
    if (device->reservedFd >= 0 && !stream.socketOpen) close(device->reservedFd);
    device->reservedFd = -1;
}

}  // namespace kovo
