// Decoding, picture encoding and muxing through libavcodec, libswscale and
// libavformat, in the media module kovo-media.so (MediaLibav.cpp), which
// MediaLoader.cpp loads on first use. Without it every entry point says
// plainly that the feature is unavailable.
#ifndef KOVO_CLI_MEDIA_H
#define KOVO_CLI_MEDIA_H

#include <memory>
#include <string>

#include "Stream.h"

namespace kovo::cli {

// Where recorded frames go.
class FrameSink {
public:
    virtual ~FrameSink() = default;
    virtual void write(const Frame& frame) = 0;
    virtual void close() = 0;  // completes the file; safe to call twice
};

bool mediaLibrariesAvailable();
// Ends the command: `what` needs the media libraries kovo was built without.
[[noreturn]] void mediaUnavailable(const std::string& what);

// Decodes one whole video frame (H.264 key frame or JPEG) and writes it as
// JPEG or PNG, chosen by the extension of path. Returns "WxH".
std::string writePicture(const Frame& frame, const std::string& path);

// An .mp4 or .mkv file (the container chosen by the extension) with the
// stream's video and, when the stream carries it, its audio, each frame at
// the time the library's frame information gives it.
std::unique_ptr<FrameSink> openMuxedFile(const std::string& path);

// What the media module provides, through its one exported function
// `const MediaModule* kovo_media_module()`.
struct MediaModule {
    std::string (*writePicture)(const Frame& frame, const std::string& path);
    std::unique_ptr<FrameSink> (*openMuxedFile)(const std::string& path);
};

}  // namespace kovo::cli

#endif
