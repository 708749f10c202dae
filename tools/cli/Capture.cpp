// snapshot and record: frames of the live stream into files.
#include <unistd.h>

#include <cstring>
#include <fstream>

#include "Commands.h"
#include "Media.h"

namespace kovo::cli {
namespace {

using Clock = std::chrono::steady_clock;

std::string extensionOf(const std::string& path) {
    const size_t dot = path.rfind('.');
    std::string ext = dot == std::string::npos ? "" : path.substr(dot + 1);
    for (char& c : ext) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return ext;
}

std::string outputPath(const Args& args) {
    const std::string path = args.has("o") ? args.text("o") : args.text("output");
    if (path.empty()) usageError("name the file with -o FILE");
    return path;
}

int timeoutOf(const Args& args) { return static_cast<int>(args.number("timeout", 5000, 1, 3600000)); }

[[noreturn]] void noFrames(const Camera& camera, int timeoutMs) {
    throw Failure(kExitTimeout, camera.name() + ": no frames within " + std::to_string(timeoutMs) + " ms");
}

// Raw frames of one medium, one after another: .h264 (Annex B), .mjpeg, .aac (ADTS).
class RawFile : public FrameSink {
public:
    RawFile(const std::string& path, DATA_TYPE_E type) : file_(path, std::ios::binary), type_(type) {
        if (!file_) usageError("cannot write " + path);
    }
    void write(const Frame& frame) override {
        if (frame.type == type_)
            file_.write(reinterpret_cast<const char*>(frame.data.data()), static_cast<std::streamsize>(frame.data.size()));
    }
    void close() override { file_.close(); }

private:
    std::ofstream file_;
    DATA_TYPE_E type_;
};

// One line on standard error, rewritten in place: time, frames, rate, bit rate.
void showProgress(double seconds, const StreamCounts& counts) {
    std::fprintf(stderr, "\r%6.1f s  %llu frames  %5.1f fps  %7.0f kbit/s ", seconds, counts.videoFrames,
                 seconds > 0 ? counts.videoFrames / seconds : 0.0, seconds > 0 ? counts.bytes * 8 / seconds / 1000 : 0.0);
}

}  // namespace

int runSnapshot(const Args& args) {
    expectWords(args, 1, "ADDRESS");
    const std::string path = outputPath(args);
    const std::string ext = extensionOf(path);
    if (ext != "jpg" && ext != "jpeg" && ext != "png") usageError("snapshot writes .jpg, .jpeg or .png, not '" + path + "'");
    const int timeoutMs = timeoutOf(args);
    const bool motionJpeg = args.words[0].find("MJPEG") != std::string::npos;
    if ((!motionJpeg || ext == "png") && !mediaLibrariesAvailable())
        mediaUnavailable(motionJpeg ? "a PNG snapshot" : "an H.264 snapshot");
    Camera camera(args, args.words[0]);
    stopOnSignals();
    LiveStream stream(camera);
    Frame frame;
    const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
    while (!(frame.video() && frame.key && !frame.data.empty())) {
        const int left = static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count());
        if (left <= 0 || !stream.next(frame, left)) {
            if (g_stopRequested) return kExitOk;
            noFrames(camera, timeoutMs);
        }
    }
    std::string size = frame.width > 0 ? std::to_string(frame.width) + "x" + std::to_string(frame.height) : "";
    if (frame.type == MJPEGDATA_TYPE && ext != "png") {
        std::ofstream file(path, std::ios::binary);
        file.write(reinterpret_cast<const char*>(frame.data.data()), static_cast<std::streamsize>(frame.data.size()));
        if (!file) usageError("cannot write " + path);
    } else {
        size = writePicture(frame, path);
    }
    if (args.json())
        std::fprintf(out(), "{\"file\":%s,\"size\":%s}\n", jsonString(path).c_str(), jsonString(size).c_str());
    else
        std::fprintf(out(), "%s%s%s\n", path.c_str(), size.empty() ? "" : " ", size.c_str());
    return kExitOk;
}

int runRecord(const Args& args) {
    expectWords(args, 1, "ADDRESS");
    const std::string path = outputPath(args);
    const std::string ext = extensionOf(path);
    const long durationS = args.number("duration", 0, 0, 86400 * 365);
    const int timeoutMs = timeoutOf(args);
    const bool muxed = ext == "mp4" || ext == "mkv";
    if (!muxed && ext != "h264" && ext != "mjpeg" && ext != "aac")
        usageError("record writes .mp4, .mkv, .h264, .mjpeg or .aac, not '" + path + "'");
    if (muxed && !mediaLibrariesAvailable()) mediaUnavailable("recording to ." + ext);

    Camera camera(args, args.words[0]);
    if (ext == "h264" && camera.motionJpeg()) usageError(camera.name() + " streams Motion-JPEG: record to .mjpeg");
    if (ext == "mjpeg" && !camera.motionJpeg()) usageError(camera.name() + " streams H.264: record to .h264");
    std::unique_ptr<FrameSink> sink =
        muxed ? openMuxedFile(path)
              : std::make_unique<RawFile>(path, ext == "h264" ? H264DATA_TYPE : ext == "aac" ? AACDATA_TYPE : MJPEGDATA_TYPE);

    stopOnSignals();
    LiveStream stream(camera);
    const bool progress = ::isatty(STDERR_FILENO) && !args.has("verbose");
    Clock::time_point first{}, lastShown{};
    Frame frame;
    bool timedOut = false;
    while (!g_stopRequested) {
        if (!stream.next(frame, timeoutMs)) {
            timedOut = !g_stopRequested;
            break;
        }
        // The file starts with the first frame it can open with: video from
        // its first (key) frame, a raw .aac with the first audio frame.
        if (first == Clock::time_point{}) {
            if (frame.video() == (ext == "aac")) continue;
            first = frame.arrival;
        }
        const double seconds = std::chrono::duration<double>(frame.arrival - first).count();
        if (durationS > 0 && seconds >= durationS) break;
        sink->write(frame);
        if (progress && frame.arrival - lastShown > std::chrono::milliseconds(250)) {
            showProgress(seconds, stream.counts());
            lastShown = frame.arrival;
        }
    }
    sink->close();
    const StreamCounts counts = stream.counts();
    if (progress) std::fprintf(stderr, "\n");
    if (timedOut) noFrames(camera, timeoutMs);
    const double seconds = first == Clock::time_point{} ? 0 : std::chrono::duration<double>(frame.arrival - first).count();
    if (args.json())
        std::fprintf(out(), "{\"file\":%s,\"seconds\":%.1f,\"videoFrames\":%llu,\"audioFrames\":%llu,\"dropped\":%llu}\n",
                     jsonString(path).c_str(), seconds, counts.videoFrames, counts.audioFrames, counts.dropped);
    else
        std::fprintf(out(), "%s: %.1f s, %llu video frames, %llu audio frames%s\n", path.c_str(), seconds,
                     counts.videoFrames, counts.audioFrames, counts.dropped ? " (some dropped: disk too slow)" : "");
    return kExitOk;
}

}  // namespace kovo::cli
