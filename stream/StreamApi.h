// Internal helpers of the stream exports shared with the login code.
#ifndef KOVO_STREAM_STREAMAPI_H
#define KOVO_STREAM_STREAMAPI_H

struct CDevice;

// Stops and destroys the device's stream controller, if any (no RTSP
// traffic). Call before deleting a device that may still be streaming.
void StopDeviceStream(CDevice* device);

class CVideoControl;

// Opens the stream again as the application last opened it, after the
// device's links were replaced; callbacksFrom gives the callbacks. 0 or the
// Kovo_OpenStream code.
long ReopenDeviceStream(CDevice* device, long id, CVideoControl* callbacksFrom);

#endif
