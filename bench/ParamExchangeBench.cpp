// Parameter exchanges per second against loopback fake cameras: one device
// on one thread, then 64 devices shared out over 4 threads.
//
// The library echoes every request and traces every call on standard
// output; that output is sent to /dev/null so that the figures measure the
// exchange, and the report is written to the original standard output.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "sdk/KovoSDK.h"
#include "support/FakeCamera.h"

namespace {

using kovo::test::FakeCamera;
using kovo::test::Reply;

// Cameras answering a watchdog Get, with devices logged in to them.
struct Fleet {
    Fleet(int cameraCount, int devicesPerCamera) {
        for (int c = 0; c < cameraCount; ++c) {
            auto cam = std::make_unique<FakeCamera>();
            cam->onMethod("GET_PARAMETER", Reply::ok({"Q771WatdogConfig: ON"}));
            for (int d = 0; d < devicesPerCamera; ++d) ids.push_back(Kovo_Login("127.0.0.1", cam->port(), nullptr));
            cameras.push_back(std::move(cam));
        }
    }
    ~Fleet() {
        for (long id : ids) Kovo_Logout(id);
    }
    std::vector<std::unique_ptr<FakeCamera>> cameras;
    std::vector<long> ids;
};

void exchange(benchmark::State& state, long id) {
    WATCHDOG_CONFIG config{0};
    if (Kovo_GetWatchdogConfig(id, 0, &config) != 0 || config.nEanble != 1) state.SkipWithError("exchange failed");
}

void BM_OneDevice(benchmark::State& state) {
    Fleet fleet(1, 1);
    for (auto _ : state) exchange(state, fleet.ids[0]);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_OneDevice)->UseRealTime();

// 64 devices on 8 cameras; thread t works through its own 16 devices in turn.
constexpr int kDevices = 64;
constexpr int kThreads = 4;
Fleet* g_fleet = nullptr;

void BM_64DevicesFrom4Threads(benchmark::State& state) {
    if (state.thread_index() == 0) g_fleet = new Fleet(8, kDevices / 8);
    // Every thread waits here for the fleet (the first iteration is a barrier).
    const int perThread = kDevices / state.threads();
    int next = 0;
    for (auto _ : state) {
        exchange(state, g_fleet->ids[state.thread_index() * perThread + next]);
        next = (next + 1) % perThread;
    }
    state.SetItemsProcessed(state.iterations());
    if (state.thread_index() == 0) {
        delete g_fleet;
        g_fleet = nullptr;
    }
}
BENCHMARK(BM_64DevicesFrom4Threads)->Threads(kThreads)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    std::fflush(stdout);
    const int reportFd = dup(STDOUT_FILENO);
    std::ofstream report("/dev/fd/" + std::to_string(reportFd));
    const int devNull = open("/dev/null", O_WRONLY);
    dup2(devNull, STDOUT_FILENO);
    close(devNull);

    benchmark::ConsoleReporter reporter(benchmark::ConsoleReporter::OO_Tabular);
    reporter.SetOutputStream(&report);
    reporter.SetErrorStream(&report);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
