// State shared by every connection of the simulator.
#ifndef KOVO_CAMSIM_SERVERCONTEXT_H
#define KOVO_CAMSIM_SERVERCONTEXT_H

#include <atomic>
#include <cstdio>
#include <mutex>
#include <string>

#include "Options.h"
#include "ParamStore.h"

namespace camsim {

struct ServerContext {
    explicit ServerContext(const Options& o) : options(o), params(o) {}

    const Options options;
    ParamStore params;
    std::atomic<long> framesSent{0};  // video frames sent on all connections
    std::mutex logMutex;              // keeps log blocks whole

    // Writes one block to standard output in one piece.
    void log(const std::string& block) {
        std::lock_guard<std::mutex> lock(logMutex);
        fwrite(block.data(), 1, block.size(), stdout);
        fflush(stdout);
    }
};

}  // namespace camsim

#endif
