#include "LibraryClient.h"

#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>

#include "Board.h"
#include "KovoSDK.h"

namespace scale {
namespace {

Board* g_board = nullptr;

// The frame's number on its stream is how many came before it: the camera
// stamps frame n, counted the same way, when its last packet leaves.
void onFrame(DATA_TYPE_E, FRAME_TYPE_E, unsigned char*, unsigned long, unsigned long user) {
    Slot& slot = g_board->slots[user];
    const uint64_t frame = slot.framesDelivered.load(std::memory_order_relaxed);
    slot.framesDelivered.store(frame + 1, std::memory_order_relaxed);
    if (!g_board->measuring.load(std::memory_order_relaxed)) return;
    const int64_t now = monotonicNs();
    SendStamp& stamp = slot.sent[frame % kStampRing];
    const uint64_t before = stamp.frame.load();
    const int64_t sent = stamp.ns.load();
    if (before != frame || stamp.frame.load() != frame || sent == 0 || sent > now) {
        g_board->latencyUnmatched.fetch_add(1);
        return;
    }
    const int64_t bin = (now - sent) / (kLatencyBinUs * 1000);
    g_board->latency[bin < kLatencyBins ? bin : kLatencyBins - 1].fetch_add(1, std::memory_order_relaxed);
}

// Two descriptors a stream (its stream and control connections) and some to spare.
void raiseDescriptorLimit(int streams) {
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    const rlim_t wanted = static_cast<rlim_t>(streams) * 2 + 64;
    if (limit.rlim_cur < wanted) {
        limit.rlim_cur = limit.rlim_max < wanted ? limit.rlim_max : wanted;
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
}

}  // namespace

int runLibraryClient(const ClientSettings& settings) {
    const sigset_t signals = stopSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);  // the stream threads inherit the mask
    g_board = mapBoard(settings.board, false);
    if (g_board == nullptr || settings.streams > kMaxSlots) {
        std::fprintf(stderr, "bench_scale client: cannot map %s for %d streams\n", settings.board.c_str(),
                     settings.streams);
        return 1;
    }
    raiseDescriptorLimit(settings.streams);
    for (int slot = 0; slot < settings.streams; ++slot) {
        const std::string address = "127.0.0.1/" + settings.writes + "/" + std::to_string(slot);
        const long id = Kovo_Login(address.c_str(), static_cast<unsigned short>(settings.port), nullptr);
        const long opened = id > 0 ? Kovo_OpenStream(id, 0, 0, 0, CONNECT_TYPE_TCP, 0) : -1;
        if (opened != 0 || Kovo_SetRealDataCallBack(id, H264DATA_TYPE, onFrame, slot) != 0) {
            std::fprintf(stderr, "bench_scale client: stream %d did not open (login %ld, open %ld)\n", slot, id,
                         opened);
            return 1;
        }
    }
    int signal = 0;
    sigwait(&signals, &signal);
    // Closing a thousand streams one by one is not what is measured.
    _exit(0);
}

}  // namespace scale
