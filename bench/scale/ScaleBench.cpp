// bench_scale: what a live stream costs when there are many of them.
//
//   build/bench/scale/bench_scale                 # about 5 minutes, prints one table
//   build/bench/scale/bench_scale --with-1000     # adds the library alone at 1,000 streams
//   options: --seconds S (measured window, 20) --warmup S (5) --no-ffmpeg
//            --only WRITES:N (repeatable: just these rows, e.g. --only packet:100)
//
// A replay camera (bench_scale_camera, its own process) serves a recorded
// 1280x720 H.264 stream of about 2.5 Mbit/s to every client as RTSP with RTP
// interleaved on TCP, in real time: one write per RTP packet, a frame's
// packets spread over 20 ms, as a camera writes them (or one write per frame).
// The clients are the library with N streams in one process, or N processes of
// `ffmpeg -rtsp_transport tcp -i URL -c copy -f null -`. Only the clients' CPU
// is counted, from the kernel's accounting of their processes over the window.
// Frames sent, frames delivered and the time from a frame's last packet
// leaving the camera to the library's callback cross over a shared board.
// See bench/README.md.
#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "Board.h"
#include "LibraryClient.h"
#include "Processes.h"

namespace scale {
namespace {

using Clock = std::chrono::steady_clock;

struct Settings {
    int seconds = 20;
    int warmup = 5;
    bool with1000 = false;
    bool ffmpeg = true;
    std::vector<std::pair<std::string, int>> only;  // writes and streams; empty: the whole table
};

struct Run {
    std::string writes;  // packet, frame or idle
    int streams;
    bool ffmpeg;
};

struct Figures {
    std::string failure;        // empty when the run worked
    double cpuSeconds = 0;      // the clients', over the window
    double window = 0;          // seconds
    double cameraCpu = 0;       // the camera's, over the window
    uint64_t packets = 0;       // sent to the clients in the window
    uint64_t dropped = 0;       // packets the camera could not write (a client fell behind)
    long peakRssKb = 0;         // summed over the client processes
    long threads = 0;
    uint64_t framesSent = 0, framesDelivered = 0;
    double p99Ms = -1;
    uint64_t latencySamples = 0, latencyUnmatched = 0;
};

void sleepSeconds(double seconds) { std::this_thread::sleep_for(std::chrono::duration<double>(seconds)); }

std::string findProgram(const char* name) {
    const char* path = std::getenv("PATH");
    std::stringstream dirs(path ? path : "/usr/bin:/bin");
    for (std::string dir; std::getline(dirs, dir, ':');)
        if (::access((dir + "/" + name).c_str(), X_OK) == 0) return dir + "/" + name;
    return "";
}

// The last "frame=" count ffmpeg printed.
uint64_t ffmpegFrames(const std::string& logPath) {
    std::ifstream in(logPath);
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    const size_t at = text.rfind("frame=");
    return at == std::string::npos ? 0 : std::strtoull(text.c_str() + at + 6, nullptr, 10);
}

double percentile99Ms(const Board& board, uint64_t& samples) {
    samples = 0;
    for (const auto& bin : board.latency) samples += bin.load();
    uint64_t seen = 0;
    for (int i = 0; i < kLatencyBins; ++i) {
        seen += board.latency[i].load();
        if (samples > 0 && seen * 100 >= samples * 99) return (i + 1) * kLatencyBinUs / 1000.0;
    }
    return -1;
}

class Driver {
public:
    Driver(const Settings& settings, Board& board, pid_t camera, int port, std::string boardPath)
        : settings_(settings), board_(board), camera_(camera), port_(port), boardPath_(std::move(boardPath)) {}

    Figures measure(const Run& run);

private:
    std::vector<pid_t> startClients(const Run& run, std::vector<std::string>& logs);
    std::string waitPlaying(const Run& run, const std::vector<pid_t>& clients);
    Usage usage(const std::vector<pid_t>& clients);
    uint64_t sum(int streams, std::atomic<uint64_t> Slot::*count);

    const Settings& settings_;
    Board& board_;
    const pid_t camera_;
    const int port_;
    const std::string boardPath_;
};

uint64_t Driver::sum(int streams, std::atomic<uint64_t> Slot::*count) {
    uint64_t total = 0;
    for (int i = 0; i < streams; ++i) total += (board_.slots[i].*count).load();
    return total;
}

Usage Driver::usage(const std::vector<pid_t>& clients) {
    Usage total;
    for (pid_t pid : clients) {
        Usage one;
        readUsage(pid, one);
        total.cpuSeconds += one.cpuSeconds;
        total.peakRssKb += one.peakRssKb;
        total.threads += one.threads;
    }
    return total;
}

std::vector<pid_t> Driver::startClients(const Run& run, std::vector<std::string>& logs) {
    std::vector<pid_t> clients;
    if (!run.ffmpeg) {
        clients.push_back(spawn({programDirectory() + "/bench_scale", "--client", std::to_string(run.streams),
                                 "--port", std::to_string(port_), "--board", boardPath_, "--writes", run.writes},
                                -1, STDERR_FILENO));
        return clients;
    }
    const std::string ffmpeg = findProgram("ffmpeg");
    for (int slot = 0; slot < run.streams; ++slot) {
        logs.push_back(boardPath_ + "-ffmpeg-" + std::to_string(slot) + ".log");
        const int log = ::open(logs.back().c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        const std::string url = "rtsp://127.0.0.1:" + std::to_string(port_) + "/" + run.writes + "/" +
                                std::to_string(slot);
        clients.push_back(spawn({ffmpeg, "-nostdin", "-hide_banner", "-loglevel", "error", "-stats",
                                 "-rtsp_transport", "tcp", "-i", url, "-c", "copy", "-f", "null", "-"},
                                -1, log));
        ::close(log);
        sleepSeconds(0.02);  // start-up is not what is measured; keep it from piling up
    }
    return clients;
}

// Empty when every stream plays (and, with media, has had a frame); else why not.
std::string Driver::waitPlaying(const Run& run, const std::vector<pid_t>& clients) {
    const auto deadline = Clock::now() + std::chrono::seconds(30 + run.streams / 10);
    for (;;) {
        int ready = 0;
        for (int i = 0; i < run.streams; ++i)
            ready += board_.slots[i].playing && (run.writes == "idle" || board_.slots[i].framesSent > 0);
        if (ready == run.streams) return "";
        for (pid_t pid : clients)
            if (!running(pid)) return "a client ended before all streams played (" + std::to_string(ready) + ")";
        if (Clock::now() > deadline) return "only " + std::to_string(ready) + " streams played";
        sleepSeconds(0.1);
    }
}

Figures Driver::measure(const Run& run) {
    Figures f;
    clearBoard(board_);
    std::vector<std::string> logs;
    const std::vector<pid_t> clients = startClients(run, logs);
    f.failure = waitPlaying(run, clients);
    if (f.failure.empty()) {
        sleepSeconds(settings_.warmup);
        Usage camera0, camera1;
        readUsage(camera_, camera0);
        const Usage before = usage(clients);
        const uint64_t packets = sum(run.streams, &Slot::packetsSent);
        const uint64_t dropped = sum(run.streams, &Slot::packetsDropped);
        board_.measuring = 1;
        const auto start = Clock::now();
        sleepSeconds(settings_.seconds);
        const Usage after = usage(clients);
        readUsage(camera_, camera1);
        f.window = std::chrono::duration<double>(Clock::now() - start).count();
        board_.measuring = 0;
        f.cpuSeconds = after.cpuSeconds - before.cpuSeconds;
        f.cameraCpu = camera1.cpuSeconds - camera0.cpuSeconds;
        f.packets = sum(run.streams, &Slot::packetsSent) - packets;
        f.dropped = sum(run.streams, &Slot::packetsDropped) - dropped;
        f.peakRssKb = after.peakRssKb;
        f.threads = after.threads;
        f.p99Ms = percentile99Ms(board_, f.latencySamples);
        f.latencyUnmatched = board_.latencyUnmatched;
        // No new frames, then time for the last ones to arrive before counting.
        board_.hold = 1;
        sleepSeconds(1.5);
        f.framesSent = sum(run.streams, &Slot::framesSent);
        f.framesDelivered = sum(run.streams, &Slot::framesDelivered);
    }
    // ffmpeg prints its final count when interrupted; blocked in a read with
    // no media coming, it needs a second interrupt to leave it.
    for (pid_t pid : clients) ::kill(pid, run.ffmpeg ? SIGINT : SIGTERM);
    if (run.ffmpeg) {
        sleepSeconds(0.3);
        for (pid_t pid : clients) ::kill(pid, SIGINT);
    }
    for (pid_t pid : clients) stop(pid, 0, 5000);
    for (const auto& log : logs) {
        if (f.failure.empty()) f.framesDelivered += ffmpegFrames(log);
        ::unlink(log.c_str());
    }
    sleepSeconds(0.5);  // the camera lets go of the closed connections
    return f;
}

// `packetsPerSecond`: what one stream in real time gets, to tell whether the camera kept pace.
void printTable(const std::vector<Run>& runs, const std::vector<Figures>& figures, double packetsPerSecond) {
    std::printf("| writes | N | client | CPU-s per stream-s | streams per core | us CPU per packet | vs ffmpeg | "
                "peak RSS per stream | threads | frames delivered / sent | callback p99 | camera CPU | camera pace |\n");
    std::printf("|---|---|---|---|---|---|---|---|---|---|---|---|---|\n");
    for (size_t i = 0; i < runs.size(); ++i) {
        const Run& r = runs[i];
        const Figures& f = figures[i];
        const char* client = r.ffmpeg ? "ffmpeg" : "library";
        if (!f.failure.empty()) {
            std::printf("| %s | %d | %s | failed: %s |||||||||\n", r.writes.c_str(), r.streams, client, f.failure.c_str());
            continue;
        }
        const double perStreamSecond = f.cpuSeconds / (r.streams * f.window);
        std::string versus = "";
        for (size_t j = 0; j < runs.size(); ++j)
            if (!r.ffmpeg && runs[j].ffmpeg && runs[j].writes == r.writes && runs[j].streams == r.streams &&
                figures[j].failure.empty() && figures[j].cpuSeconds > 0) {
                char text[32];
                std::snprintf(text, sizeof text, "%.2f",
                              perStreamSecond / (figures[j].cpuSeconds / (runs[j].streams * figures[j].window)));
                versus = text;
            }
        char perPacket[32] = "-", latency[48] = "-", frames[64];
        if (f.packets > 0) std::snprintf(perPacket, sizeof perPacket, "%.1f", f.cpuSeconds * 1e6 / f.packets);
        if (f.p99Ms >= 0) std::snprintf(latency, sizeof latency, "%.2f ms", f.p99Ms);
        std::snprintf(frames, sizeof frames, "%llu / %llu", (unsigned long long)f.framesDelivered,
                      (unsigned long long)f.framesSent);
        char pace[16] = "-";
        if (r.writes != "idle")
            std::snprintf(pace, sizeof pace, "%.0f%%", 100 * f.packets / (r.streams * f.window * packetsPerSecond));
        std::printf("| %s | %d | %s | %.5f | %.0f | %s | %s | %ld KB | %ld | %s%s | %s | %.0f%% | %s |\n",
                    r.writes.c_str(), r.streams, client, perStreamSecond, perStreamSecond > 0 ? 1 / perStreamSecond : 0.0,
                    perPacket, versus.c_str(), f.peakRssKb / r.streams, f.threads, frames,
                    f.dropped ? " (camera dropped packets)" : "", latency, 100 * f.cameraCpu / f.window, pace);
    }
}

bool parseSettings(int argc, char** argv, Settings& s) {
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--with-1000") s.with1000 = true;
        else if (arg == "--no-ffmpeg") s.ffmpeg = false;
        else if (arg == "--seconds" && i + 1 < argc) s.seconds = std::atoi(argv[++i]);
        else if (arg == "--warmup" && i + 1 < argc) s.warmup = std::atoi(argv[++i]);
        else if (arg == "--only" && i + 1 < argc) {
            const std::string row = argv[++i];
            const size_t colon = row.find(':');
            if (colon == std::string::npos) return false;
            s.only.emplace_back(row.substr(0, colon), std::atoi(row.c_str() + colon + 1));
            if (s.only.back().second <= 0) return false;
        } else return false;
    }
    return s.seconds > 0 && s.warmup >= 0;
}

int runBenchmark(const Settings& settings) {
    if (settings.with1000) {
        rlimit limit{};
        ::getrlimit(RLIMIT_NOFILE, &limit);
        if (limit.rlim_max < 2200) {
            std::fprintf(stderr, "bench_scale: 1,000 streams need 2,200 descriptors; the hard limit is %llu\n",
                         (unsigned long long)limit.rlim_max);
            return 1;
        }
    }
    const bool ffmpeg = settings.ffmpeg && !findProgram("ffmpeg").empty();
    std::vector<Run> runs;
    std::vector<Run> compared{{"frame", 50, false}, {"packet", 50, false}, {"packet", 100, false},
                              {"packet", 200, false}};
    if (!settings.only.empty()) compared.clear();
    for (const auto& row : settings.only) compared.push_back(Run{row.first, row.second, false});
    for (const Run& base : compared) {
        runs.push_back(base);
        if (ffmpeg && base.writes != "idle" && base.streams <= 200) runs.push_back(Run{base.writes, base.streams, true});
    }
    if (settings.only.empty()) runs.push_back(Run{"idle", 200, false});
    if (settings.with1000) runs.push_back(Run{"packet", 1000, false});

    const std::string boardPath = "/dev/shm/kovo-bench-scale-" + std::to_string(::getpid());
    Board* board = mapBoard(boardPath, true);
    if (board == nullptr) {
        std::fprintf(stderr, "bench_scale: cannot create %s\n", boardPath.c_str());
        return 1;
    }
    int pipeFds[2];
    if (::pipe(pipeFds) != 0) return 1;
    const pid_t camera = spawn({programDirectory() + "/bench_scale_camera", "--board", boardPath}, pipeFds[1],
                               STDERR_FILENO);
    ::close(pipeFds[1]);
    char line[256] = {0};
    FILE* announce = ::fdopen(pipeFds[0], "r");
    int port = 0, fps = 25;
    double packetsPerFrame = 0;
    if (std::fgets(line, sizeof line, announce) == nullptr ||
        std::sscanf(line, "port %d clip %*d frames %*f kbit/s %lf packets/frame at %d fps", &port, &packetsPerFrame,
                    &fps) != 3) {
        std::fprintf(stderr, "bench_scale: the replay camera did not start\n");
        stop(camera, SIGKILL, 0);
        ::unlink(boardPath.c_str());
        return 1;
    }
    std::fprintf(stderr, "replay camera: %s", line);
    const std::string loadBefore = loadAverage();
    Driver driver(settings, *board, camera, port, boardPath);
    std::vector<Figures> figures;
    for (const Run& run : runs) {
        std::fprintf(stderr, "%s writes, %d streams, %s ...\n", run.writes.c_str(), run.streams,
                     run.ffmpeg ? "ffmpeg" : "library");
        figures.push_back(driver.measure(run));
    }
    stop(camera, SIGTERM, 5000);
    std::fclose(announce);
    ::unlink(boardPath.c_str());

    std::printf("Replay camera: %s", line);
    std::printf("Window %d s after %d s warm-up; %ld cores; load average before %s, after %s\n\n", settings.seconds,
                settings.warmup, ::sysconf(_SC_NPROCESSORS_ONLN), loadBefore.c_str(), loadAverage().c_str());
    printTable(runs, figures, packetsPerFrame * fps);
    std::printf("\ncamera pace: packets written in the window against real time; below about 95%% the camera (or\n"
                "the machine) fell behind, and that row's figures do not describe a real-time load.\n");
    for (size_t i = 0; i < runs.size(); ++i)
        if (runs[i].writes == "idle" && figures[i].failure.empty())
            std::printf("\n%d idle streams: %.2f%% of one core\n", runs[i].streams,
                        100 * figures[i].cpuSeconds / figures[i].window);
    return 0;
}

}  // namespace
}  // namespace scale

int main(int argc, char** argv) {
    using namespace scale;
    if (argc > 1 && std::strcmp(argv[1], "--client") == 0) {
        ClientSettings client;
        for (int i = 1; i + 1 < argc; i += 2) {
            const std::string name = argv[i];
            if (name == "--client") client.streams = std::atoi(argv[i + 1]);
            else if (name == "--port") client.port = std::atoi(argv[i + 1]);
            else if (name == "--board") client.board = argv[i + 1];
            else if (name == "--writes") client.writes = argv[i + 1];
        }
        return runLibraryClient(client);
    }
    Settings settings;
    if (!parseSettings(argc, argv, settings)) {
        std::fprintf(stderr, "usage: bench_scale [--seconds S] [--warmup S] [--with-1000] [--no-ffmpeg] [--only WRITES:N ...]\n");
        return 2;
    }
    return runBenchmark(settings);
}
