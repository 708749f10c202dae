// Link options of the library and of each device (Kovo_SetLinkOptions).
// Another thread may change a device's options at any time: read them
// through linkOptionsOf, never from CDevice::link directly.
#ifndef KOVO_SDK_LINKOPTIONS_H
#define KOVO_SDK_LINKOPTIONS_H

#include "sdk/KovoSDK.h"

struct CDevice;

namespace kovo {

// The options a new login starts with.
KOVO_LINK_OPTIONS linkDefaults();
// A consistent copy of the device's options.
KOVO_LINK_OPTIONS linkOptionsOf(const CDevice* device);
// Gives the device these options and both its connections their bounds.
void setDeviceLinkOptions(CDevice* device, const KOVO_LINK_OPTIONS& options);

}  // namespace kovo

#endif
