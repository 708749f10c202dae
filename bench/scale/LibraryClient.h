// The library side of the scale benchmark: one process holding N streams
// from the replay camera, counting frames and callback latency on the board.
#ifndef KOVO_BENCH_SCALE_LIBRARYCLIENT_H
#define KOVO_BENCH_SCALE_LIBRARYCLIENT_H

#include <string>

namespace scale {

struct ClientSettings {
    int streams = 0;
    int port = 0;
    std::string board;
    std::string writes;  // URL path word: packet, frame or idle
};

// Logs in and opens every stream, then runs until SIGTERM or SIGINT; the exit
// status is 0, or 1 when a stream could not be opened (said on standard error).
int runLibraryClient(const ClientSettings& settings);

}  // namespace scale

#endif
