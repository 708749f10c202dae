// Automatic reconnection (nReconnect): after the stream link is lost or
// stalls, log in again to the same address, port and proxy and reopen the
// stream as it was opened, under the same device id and with the same
// callbacks, with doubling waits between attempts.
#ifndef KOVO_SDK_RECONNECT_H
#define KOVO_SDK_RECONNECT_H

struct CDevice;

// Connects both links of a device to its login address (Kovo_Login's
// exchanges and traces): 0, -1 or -108. Failed links are closed.
long ConnectDeviceLinks(CDevice* device);

namespace kovo {

// From the stream's own thread: starts the attempts unless the
// application closed the stream or they are already under way.
void StartReconnect(CDevice* device);
// Stops the attempts: at once during a wait, after the exchange under way
// otherwise. Safe from the event callbacks the attempts make.
void StopReconnect(CDevice* device);
// Whether a lost stream is to be brought back (an open TCP stream).
void SetStreamWanted(CDevice* device, bool wanted);
// Closes the placeholder that kept the id's descriptor number, if any.
void ReleaseReservedId(CDevice* device);

}  // namespace kovo

#endif
