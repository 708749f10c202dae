// Built without libavformat / libavcodec / libswscale.
#include "Media.h"

namespace kovo::cli {
bool mediaLibrariesAvailable() { return false; }

std::string writePicture(const Frame& frame, const std::string&) {
    mediaUnavailable(frame.type == H264DATA_TYPE ? "an H.264 snapshot" : "converting a JPEG picture");
}

std::unique_ptr<FrameSink> openMuxedFile(const std::string& path) {
    mediaUnavailable("recording to " + path.substr(path.rfind('.') == std::string::npos ? 0 : path.rfind('.')));
}

}  // namespace kovo::cli
