// Session description of the simulated camera.
#ifndef KOVO_CAMSIM_SDP_H
#define KOVO_CAMSIM_SDP_H

#include <string>

#include "Options.h"

namespace camsim {

// The picture size and frame rate lines come before the media sections;
// video is track 1 and audio (when on) track 2.
std::string buildSdp(const Options& options, bool mjpeg, const std::string& serverAddress);

}  // namespace camsim

#endif
