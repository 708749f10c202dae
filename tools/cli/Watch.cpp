// watch: a live table of several cameras' streams.
#include <unistd.h>

#include <memory>
#include <thread>

#include "Commands.h"
#include "Stream.h"

namespace kovo::cli {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kStallMs = 2000;

// One camera of the table: logged in and streaming, or why not.
struct Watched {
    std::string address;
    std::unique_ptr<Camera> camera;
    std::unique_ptr<LiveStream> stream;
    std::string failure;
    int failureCode = kExitOk;
    StreamCounts previous;
};

void connect(const Args& args, Watched& watched) {
    try {
        watched.camera = std::make_unique<Camera>(args, watched.address);
        // A watched stream reports stalls and comes back by itself.
        KOVO_LINK_OPTIONS options{};
        Kovo_GetLinkOptions(watched.camera->id(), &options);
        options.nStallTimeoutMs = kStallMs;
        options.nReconnect = 1;
        Kovo_SetLinkOptions(watched.camera->id(), &options);
        watched.stream = std::make_unique<LiveStream>(*watched.camera, false);
    } catch (const Failure& failure) {
        watched.stream.reset();
        // The table names the camera already.
        const std::string reason = failure.what(), prefix = watched.address + ": ";
        watched.failure = reason.compare(0, prefix.size(), prefix) == 0 ? reason.substr(prefix.size()) : reason;
        watched.failureCode = failure.code;
    }
}

// Rates over the first seconds would count the wait for the first key
// frame: let every stream start, then count from there.
void waitForFirstFrames(std::vector<Watched>& cameras, int timeoutMs) {
    const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
    auto started = [&] {
        for (const Watched& w : cameras)
            if (w.stream && w.stream->counts().videoFrames == 0) return false;
        return true;
    };
    while (!g_stopRequested && !started() && Clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    for (Watched& w : cameras)
        if (w.stream) w.previous = w.stream->counts();
}

void printTable(std::vector<Watched>& cameras, double seconds, bool json) {
    FILE* o = out();
    if (json) std::fprintf(o, "[");
    else std::fprintf(o, "%-28s %-10s %7s %10s %8s %6s  %s\n", "camera", "state", "fps", "kbit/s", "key int", "lost", "last event");
    for (size_t i = 0; i < cameras.size(); ++i) {
        Watched& w = cameras[i];
        const StreamCounts now = w.stream ? w.stream->counts() : StreamCounts{};
        const double fps = (now.videoFrames - w.previous.videoFrames) / seconds;
        const double kbps = (now.bytes - w.previous.bytes) * 8 / seconds / 1000;
        const std::string lost = w.stream ? std::to_string(w.stream->statistics().ullLostPackets) : "-";
        const char* state = !w.stream                                ? "failed"
                            : w.stream->interrupted()                ? "stalled"
                            : now.videoFrames == w.previous.videoFrames ? "no frames"
                                                                     : "streaming";
        const std::string event = w.stream ? w.stream->lastEvent() : w.failure;
        w.previous = now;
        if (json) {
            std::fprintf(o, "%s{\"camera\":%s,\"state\":\"%s\",\"fps\":%.1f,\"kbps\":%.0f,\"keyInterval\":%llu,"
                            "\"lost\":%s,\"lastEvent\":%s}",
                         i ? "," : "", jsonString(w.address).c_str(), state, fps, kbps, now.keyInterval,
                         w.stream ? lost.c_str() : "null", event.empty() ? "null" : jsonString(event).c_str());
            continue;
        }
        std::fprintf(o, "%-28s %-10s %7.1f %10.0f %8llu %6s  %s\n", w.address.c_str(), state, fps, kbps,
                     now.keyInterval, lost.c_str(), event.empty() ? "-" : event.c_str());
    }
    if (json) std::fprintf(o, "]\n");
    std::fflush(o);
}

}  // namespace

int runWatch(const Args& args) {
    expectWords(args, 1, "ADDRESS...", true);
    const bool once = args.has("once");
    stopOnSignals();
    std::vector<Watched> cameras(args.words.size());
    for (size_t i = 0; i < cameras.size(); ++i) cameras[i].address = args.words[i];
    // Log in to all at once: a camera that does not answer must not hold up the others.
    std::vector<std::thread> logins;
    for (Watched& watched : cameras) logins.emplace_back(connect, std::cref(args), std::ref(watched));
    for (std::thread& login : logins) login.join();

    const bool terminal = ::isatty(::fileno(out())) && !once;
    if (once) waitForFirstFrames(cameras, static_cast<int>(args.number("timeout", 5000, 1, 3600000)));
    // Rates need a span to count over: --once measures two seconds.
    const auto period = std::chrono::seconds(once ? 2 : 1);
    auto last = Clock::now();
    while (!g_stopRequested) {
        const auto until = last + period;
        while (!g_stopRequested && Clock::now() < until) std::this_thread::sleep_for(std::chrono::milliseconds(50));
        const auto now = Clock::now();
        if (terminal) std::fprintf(out(), "\033[H\033[2J");
        printTable(cameras, std::chrono::duration<double>(now - last).count(), args.json());
        last = now;
        if (once) break;
    }
    int status = kExitOk;
    for (const Watched& watched : cameras) status = std::max(status, watched.failureCode);
    return status;
}

}  // namespace kovo::cli
