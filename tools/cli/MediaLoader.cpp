// The media module (kovo-media.so, built where libavformat, libavcodec and
// libswscale are found) is loaded on first use: commands without media
// start without loading those libraries, and without the module snapshot
// and record say plainly what is unavailable.
#include <dlfcn.h>
#include <unistd.h>

#include <climits>

#include "Media.h"

namespace kovo::cli {
namespace {

// Next to the executable (the build tree), then where it is installed.
const MediaModule* module() {
    static const MediaModule* const loaded = []() -> const MediaModule* {
        char exe[PATH_MAX] = {};
        const ssize_t length = ::readlink("/proc/self/exe", exe, sizeof exe - 1);
        if (length <= 0) return nullptr;
        std::string dir(exe, static_cast<size_t>(length));
        dir.resize(dir.rfind('/') + 1);
        for (const std::string& path : {dir + "kovo-media.so", dir + KOVO_CLI_MEDIA_INSTALLED}) {
            void* handle = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
            if (handle == nullptr) continue;
            auto entry = reinterpret_cast<const MediaModule* (*)()>(::dlsym(handle, "kovo_media_module"));
            if (entry != nullptr) return entry();
        }
        return nullptr;
    }();
    return loaded;
}

}  // namespace

bool mediaLibrariesAvailable() { return module() != nullptr; }

void mediaUnavailable(const std::string& what) {
    throw Failure(kExitUsage, what + " is unavailable: kovo-media.so (libavformat, libavcodec, libswscale) "
                                     "was not built or cannot be loaded");
}

std::string writePicture(const Frame& frame, const std::string& path) {
    if (!module()) mediaUnavailable(frame.type == H264DATA_TYPE ? "an H.264 snapshot" : "converting a JPEG picture");
    return module()->writePicture(frame, path);
}

std::unique_ptr<FrameSink> openMuxedFile(const std::string& path) {
    if (!module()) mediaUnavailable("recording to " + path.substr(path.rfind('.') == std::string::npos ? 0 : path.rfind('.')));
    return module()->openMuxedFile(path);
}

}  // namespace kovo::cli
