// Child processes of the scale benchmark and the kernel's accounting of them.
#ifndef KOVO_BENCH_SCALE_PROCESSES_H
#define KOVO_BENCH_SCALE_PROCESSES_H

#include <sys/types.h>

#include <string>
#include <vector>

namespace scale {

// Starts `argv` with standard output and error on the given descriptors
// (-1: /dev/null); the child's pid, or -1.
pid_t spawn(const std::vector<std::string>& argv, int outFd = -1, int errFd = -1);

// Sends `signal` (0: none), waits up to `graceMs` for the exit, then kills; reaps in every case.
void stop(pid_t pid, int signal, int graceMs);

bool running(pid_t pid);

struct Usage {
    double cpuSeconds = 0;  // user + system, all threads
    long peakRssKb = 0;     // VmHWM
    long threads = 0;
};

// From /proc/<pid>/stat and /proc/<pid>/status; false when the process is gone.
bool readUsage(pid_t pid, Usage& out);

// The three load averages, as /proc/loadavg gives them.
std::string loadAverage();

// The directory of the running program, for its sibling programs.
std::string programDirectory();

}  // namespace scale

#endif
