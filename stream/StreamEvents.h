// Stream events for the application (Kovo_SetEventCallBack).
#ifndef KOVO_STREAM_STREAMEVENTS_H
#define KOVO_STREAM_STREAMEVENTS_H

#include "sdk/KovoSDK.h"

struct CDevice;

// Calls the device's event callback, if one is set, with no library lock
// held: the callback may close the stream or log the device out. The device
// must not be touched by the caller after this returns unless it knows the
// device is still there.
void EmitDeviceEvent(CDevice* device, long id, KOVO_EVENT_E event, long detail);

#endif
