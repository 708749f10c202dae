// kovo-camsim: a camera simulator for developing against the Kovo SDK
// without a camera. See --help.
#include <signal.h>

#include <chrono>
#include <cstdio>
#include <ctime>

extern "C" {
#include <libavutil/log.h>
}

#include "Options.h"
#include "RtspServer.h"
#include "ServerContext.h"

namespace {

// Waits for SIGINT/SIGTERM or for the configured limits to be reached.
void waitForEnd(const camsim::Options& options, const std::atomic<long>& framesSent) {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    const auto started = std::chrono::steady_clock::now();
    for (;;) {
        timespec tick{0, 100 * 1000 * 1000};
        int signal = sigtimedwait(&signals, nullptr, &tick);
        if (signal == SIGINT || signal == SIGTERM) return;
        if (options.frames > 0 && framesSent.load() >= options.frames) return;
        std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - started;
        if (options.duration > 0 && elapsed.count() >= options.duration) return;
    }
}

}  // namespace

int main(int argc, char** argv) {
    camsim::Options options;
    std::string error;
    switch (camsim::parseOptions(argc, argv, options, error)) {
        case camsim::ParseResult::Help:
            std::fputs(camsim::usageText(), stdout);
            return 0;
        case camsim::ParseResult::Error:
            std::fprintf(stderr, "kovo-camsim: %s\n%s", error.c_str(), camsim::usageText());
            return 2;
        case camsim::ParseResult::Run:
            break;
    }
    // Signals are taken by sigtimedwait in the main thread only; every thread
    // started from here inherits the mask.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    signal(SIGPIPE, SIG_IGN);
    av_log_set_level(AV_LOG_ERROR);

    camsim::ServerContext context(options);
    camsim::RtspServer server(context);
    if (!server.start(error)) {
        std::fprintf(stderr, "kovo-camsim: %s\n", error.c_str());
        return 1;
    }
    std::printf("kovo-camsim listening on %s:%d: %dx%d at %d fps, H.264 %d kbit/s (Motion-JPEG for paths "
                "containing MJPEG), audio %s\n",
                options.address.c_str(), options.port, options.width, options.height, options.fps,
                options.bitrateKbps, options.audio ? "AAC 48 kHz stereo" : "off");
    std::fflush(stdout);
    waitForEnd(options, context.framesSent);
    server.stop();
    std::printf("kovo-camsim stopped after %ld video frames\n", context.framesSent.load());
    return 0;
}
