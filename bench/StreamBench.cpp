// Live stream pipeline figures through real opened streams on loopback:
// throughput, callback latency, idle cost of many streams, memory per stream.
#include <benchmark/benchmark.h>
#include <dirent.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <fstream>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "sdk/KovoSDK.h"
#include "support/FakeCamera.h"

namespace {

using namespace kovo::test;
using Clock = std::chrono::steady_clock;

const char kSdp[] =
    "v=0\r\ns=Kovo\r\na=x-dimensions:1920, 1080\r\na=x-framerate:30\r\n"
    "m=video 0 RTP/AVP 96\r\na=control:trackID=1\r\n";

std::set<int> threadIds() {
    std::set<int> ids;
    if (DIR* dir = opendir("/proc/self/task")) {
        while (dirent* e = readdir(dir))
            if (e->d_name[0] != '.') ids.insert(atoi(e->d_name));
        closedir(dir);
    }
    return ids;
}

// CPU seconds the given threads have run (scheduler accounting, in ns).
double threadCpuSeconds(const std::set<int>& ids) {
    double ns = 0;
    for (int id : ids) {
        std::ifstream in("/proc/self/task/" + std::to_string(id) + "/schedstat");
        double onCpu = 0;
        if (in >> onCpu) ns += onCpu;
    }
    return ns / 1e9;
}

long residentKb() {
    std::ifstream in("/proc/self/status");
    for (std::string line; std::getline(in, line);)
        if (line.rfind("VmRSS:", 0) == 0) return atol(line.c_str() + 6);
    return 0;
}

// One frame as interleaved RTP: the NAL unit as FU-A fragments of at most
// `packet` payload bytes, marker on the last.
std::string frameBytes(uint8_t nalHeader, size_t size, size_t packet, uint16_t& seq, uint32_t index) {
    std::string nal(size, char(0x5A));
    nal[0] = char(nalHeader);
    memcpy(&nal[1], &index, sizeof index);
    std::string out;
    const char indicator = char((nalHeader & 0x60) | 28);
    for (size_t at = 1; at < nal.size(); at += packet) {
        const bool start = at == 1, end = at + packet >= nal.size();
        const char header = char((start ? 0x80 : 0) | (end ? 0x40 : 0) | (nalHeader & 0x1F));
        out += interleave(0, rtpPacket(96, end, seq++, index * 3000,
                                       std::string{indicator, header} + nal.substr(at, packet)));
    }
    return out;
}

// A key frame (SPS single NAL + IDR) or a P frame of the given size.
std::string pictureBytes(bool key, size_t size, size_t packet, uint16_t& seq, uint32_t index) {
    std::string out;
    if (key) out += interleave(0, rtpPacket(96, false, seq++, index * 3000, std::string("\x67\x42\x00\x28", 4)));
    return out + frameBytes(key ? 0x65 : 0x41, size, packet, seq, index);
}

template <typename Done>
bool waitUntil(Done done, std::chrono::seconds limit) {
    const auto deadline = Clock::now() + limit;
    while (!done()) {
        if (Clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    return true;
}

struct Stream {
    long id = -1;
    int connection = -1;
};

// The field layer switched on: stall detection and a keep-alive every second.
const KOVO_LINK_OPTIONS kHealthOn = {0, 0, 5000, 1, 0, 0, 0};
const KOVO_LINK_OPTIONS kHealthOff = {};
// For idle streams: the recommended keep-alive, half the session time-out the
// camera names (this one names none: every 30 s), and stall detection.
const KOVO_LINK_OPTIONS kIdleHealthOn = {0, 0, 5000, -1, 0, 0, 0};
// The idle window covers one whole keep-alive period, so that every stream
// sends and gets answered once in it, as in the steady state.
const auto kIdleWindow = std::chrono::seconds(30);

Stream openStream(FakeCamera& cam, bool standard = false, const KOVO_LINK_OPTIONS& link = kHealthOff) {
    StdoutCapture quiet;
    Stream s;
    s.id = Kovo_Login("127.0.0.1", cam.port(), nullptr);
    const KOVO_STREAM_OPTIONS options{standard ? 1 : 0};
    if (s.id <= 0 || Kovo_SetStreamOptions(s.id, &options) != 0 || Kovo_SetLinkOptions(s.id, &link) != 0 ||
        Kovo_OpenStream(s.id, 0, 0, 0, CONNECT_TYPE_TCP, 0) != 0)
        return {};
    auto plays = cam.requests("PLAY");
    s.connection = plays.back().connection;
    return s;
}

void closeStream(const Stream& s) {
    StdoutCapture quiet;
    Kovo_CloseStream(s.id);
    Kovo_Logout(s.id);
}

struct Counter {
    std::atomic<uint64_t> bytes{0};
    std::atomic<uint64_t> frames{0};
    std::atomic<int64_t> firstNs{0};  // steady clock at the first delivery
    static void onFrame(DATA_TYPE_E, FRAME_TYPE_E, unsigned char*, unsigned long length, unsigned long user) {
        auto* self = reinterpret_cast<Counter*>(user);
        int64_t none = 0;
        self->firstNs.compare_exchange_strong(none, Clock::now().time_since_epoch().count());
        self->bytes += length;
        self->frames += 1;
    }
};

// One opened stream fed GOPs of 1080p-sized frames as fast as the socket takes them.
class ThroughputStream {
public:
    static constexpr uint32_t kGopFrames = 30;

    // One GOP of 30: a 250 KB key frame and 29 P frames of 60 KB.
    bool open(size_t packet, bool standard, const KOVO_LINK_OPTIONS& link = kHealthOff) {
        cam_.onMethod("DESCRIBE", Reply::ok({"Content-Type: application/sdp"}, kSdp));
        const auto before = threadIds();
        stream_ = openStream(cam_, standard, link);
        if (stream_.id <= 0) return false;
        for (int id : threadIds())
            if (!before.count(id)) threads_.insert(id);
        Kovo_SetRealDataCallBack(stream_.id, H264DATA_TYPE, Counter::onFrame, reinterpret_cast<unsigned long>(&counter_));
        uint16_t seq = 0;
        for (uint32_t i = 0; i < kGopFrames; ++i) gop_ += pictureBytes(i == 0, i == 0 ? 250000 : 60000, packet, seq, i);
        // Warm-up: under the native rules the first GOP arms the assembler, the second starts delivery.
        StdoutCapture quiet;
        cam_.send(stream_.connection, gop_);
        cam_.send(stream_.connection, gop_);
        return waitUntil([&] { return counter_.frames >= kGopFrames; }, std::chrono::seconds(10));
    }
    ~ThroughputStream() {
        if (stream_.id > 0) closeStream(stream_);
    }

    // Sends `gops` GOPs and waits for their frames: false when frames went missing.
    bool run(int gops, double* seconds, double* cpu, double* wireBytes) {
        const uint64_t startFrames = counter_.frames;
        const double cpuStart = threadCpuSeconds(threads_);
        const auto start = Clock::now();
        for (int g = 0; g < gops; ++g) cam_.send(stream_.connection, gop_);
        if (!waitUntil([&] { return counter_.frames >= startFrames + uint64_t(gops) * kGopFrames; },
                       std::chrono::seconds(120)))
            return false;
        *seconds = std::chrono::duration<double>(Clock::now() - start).count();
        *cpu = threadCpuSeconds(threads_) - cpuStart;
        *wireBytes = double(gop_.size()) * gops;
        return true;
    }

private:
    FakeCamera cam_;
    Stream stream_;
    std::set<int> threads_;
    Counter counter_;
    std::string gop_;
};

// (1) Interleaved 1080p-sized frames pushed as fast as the socket takes them.
void BM_PipelineThroughput(benchmark::State& state) {
    ThroughputStream stream;
    if (!stream.open(size_t(state.range(0)), false)) return state.SkipWithError("stream did not deliver");
    const int gops = 100;
    for (auto _ : state) {
        double seconds = 0, cpu = 0, wireBytes = 0;
        if (!stream.run(gops, &seconds, &cpu, &wireBytes)) return state.SkipWithError("frames were lost");
        state.SetIterationTime(seconds);
        state.counters["MB/s"] = wireBytes / seconds / 1e6;
        state.counters["frames/s"] = double(gops) * ThroughputStream::kGopFrames / seconds;
        state.counters["cpu_s_per_100MB"] = cpu / (wireBytes / 1e8);
    }
}
BENCHMARK(BM_PipelineThroughput)->Arg(1400)->Arg(8000)->UseManualTime()->Iterations(3)->Unit(benchmark::kMillisecond);

// How one of two compared streams is opened; name labels its counters.
struct Contender {
    const char* name;
    bool standard;
    const KOVO_LINK_OPTIONS& link;
};

// Two streams of state.range(0)-byte packets fed the same GOPs taking turns
// in each iteration, so that the ratios compare them in the same run.
void takeTurns(benchmark::State& state, const Contender& first, const Contender& second) {
    const Contender* contenders[2] = {&first, &second};
    ThroughputStream streams[2];
    const char* names[2];
    for (int mode = 0; mode < 2; ++mode) {
        names[mode] = contenders[mode]->name;
        if (!streams[mode].open(size_t(state.range(0)), contenders[mode]->standard, contenders[mode]->link))
            return state.SkipWithError("stream did not deliver");
    }
    const int gops = 50;
    double cpu[2] = {0, 0}, wall[2] = {0, 0};
    for (auto _ : state) {
        for (int mode = 0; mode < 2; ++mode) {
            double seconds = 0, used = 0, wireBytes = 0;
            if (!streams[mode].run(gops, &seconds, &used, &wireBytes))
                return state.SkipWithError("frames were lost");
            cpu[mode] += used / (wireBytes / 1e8);
            wall[mode] += wireBytes / seconds / 1e6;
        }
        state.SetIterationTime(1);
    }
    const double n = double(state.iterations());
    for (int mode = 0; mode < 2; ++mode) {
        state.counters[std::string(names[mode]) + "_MB/s"] = wall[mode] / n;
        state.counters[std::string(names[mode]) + "_cpu_s_per_100MB"] = cpu[mode] / n;
    }
    state.counters[std::string(names[1]) + "_to_" + names[0] + "_cpu"] = cpu[1] / cpu[0];
    state.counters[std::string(names[1]) + "_to_" + names[0] + "_MB/s"] = wall[1] / wall[0];
}

// (1b) The same stream under the native and the standards rules.
void BM_ReceiveRulesThroughput(benchmark::State& state) {
    takeTurns(state, {"native", false, kHealthOff}, {"standard", true, kHealthOff});
}
BENCHMARK(BM_ReceiveRulesThroughput)->Arg(1400)->UseManualTime()->Iterations(5)->Unit(benchmark::kMillisecond);

// (1c) The cost of the field layer: a stream with stall detection and a
// keep-alive every second against one without.
void BM_FieldLayerThroughput(benchmark::State& state) {
    takeTurns(state, {"off", false, kHealthOff}, {"on", false, kHealthOn});
}
BENCHMARK(BM_FieldLayerThroughput)->Arg(1400)->UseManualTime()->Iterations(5)->Unit(benchmark::kMillisecond);

// (1c) Time from the last packet of the first key frame after PLAY to the
// first frame the application gets, at 30 frames/s with a key frame a second.
// Under the native rules that first key frame is lost and the wait runs to
// the next one; the standards rules deliver it whole.
void BM_FirstKeyFrame(benchmark::State& state) {
    const bool standard = state.range(0) != 0;
    std::vector<double> ms;
    for (auto _ : state) {
        StdoutCapture quiet;
        FakeCamera cam;
        cam.onMethod("DESCRIBE", Reply::ok({"Content-Type: application/sdp"}, kSdp));
        Stream s = openStream(cam, standard);
        if (s.id <= 0) return state.SkipWithError("stream did not open");
        Counter counter;
        Kovo_SetRealDataCallBack(s.id, H264DATA_TYPE, Counter::onFrame, reinterpret_cast<unsigned long>(&counter));
        uint16_t seq = 0;
        int64_t keySentNs = 0;
        auto next = Clock::now();
        for (uint32_t i = 0; i < 90 && counter.frames == 0; ++i, next += std::chrono::microseconds(33333)) {
            std::this_thread::sleep_until(next);
            cam.send(s.connection, pictureBytes(i % 30 == 0, i % 30 == 0 ? 250000 : 60000, 1400, seq, i));
            if (i == 0) keySentNs = Clock::now().time_since_epoch().count();
        }
        waitUntil([&] { return counter.frames > 0; }, std::chrono::seconds(2));
        closeStream(s);
        if (counter.frames == 0) return state.SkipWithError("no frame delivered");
        const double seconds = double(counter.firstNs - keySentNs) / 1e9;
        state.SetIterationTime(seconds);
        ms.push_back(seconds * 1e3);
    }
    std::sort(ms.begin(), ms.end());
    state.counters["median_ms"] = ms[ms.size() / 2];
}
BENCHMARK(BM_FirstKeyFrame)->ArgName("standard")->Arg(0)->Arg(1)->UseManualTime()->Iterations(3)->Unit(benchmark::kMillisecond);

struct LatencyProbe {
    // Steady-clock nanoseconds just before the frame's last packet was sent.
    std::unique_ptr<std::atomic<int64_t>[]> sent;
    uint32_t count = 0;
    std::vector<double> latencyUs;
    std::atomic<uint32_t> delivered{0};
    static void onFrame(DATA_TYPE_E, FRAME_TYPE_E, unsigned char* data, unsigned long length, unsigned long user) {
        auto now = Clock::now();
        auto* self = reinterpret_cast<LatencyProbe*>(user);
        // The frame index sits right after the last NAL header.
        unsigned char* nal = data + length;
        for (unsigned char* p = data; p + 4 < data + length; ++p)
            if (p[0] == 0 && p[1] == 0 && p[2] == 0 && p[3] == 1) nal = p + 4;
        uint32_t index = 0;
        memcpy(&index, nal + 1, sizeof index);
        const int64_t sentNs = index < self->count ? self->sent[index].load() : 0;
        if (sentNs != 0)
            self->latencyUs.push_back(
                double(std::chrono::duration_cast<std::chrono::nanoseconds>(now.time_since_epoch()).count() -
                       sentNs) / 1e3);
        self->delivered++;
    }
};

// (2) Time from the last packet of a frame leaving the server to the callback, at 30 frames/s.
void BM_CallbackLatency(benchmark::State& state) {
    FakeCamera cam;
    cam.onMethod("DESCRIBE", Reply::ok({"Content-Type: application/sdp"}, kSdp));
    Stream s = openStream(cam);
    if (s.id <= 0) return state.SkipWithError("stream did not open");
    const uint32_t frames = 300;
    LatencyProbe probe;
    probe.sent.reset(new std::atomic<int64_t>[frames]());
    probe.count = frames;
    StdoutCapture quiet;
    Kovo_SetRealDataCallBack(s.id, H264DATA_TYPE, LatencyProbe::onFrame, reinterpret_cast<unsigned long>(&probe));
    uint16_t seq = 0;
    for (auto _ : state) {
        auto next = Clock::now();
        for (uint32_t i = 0; i < frames; ++i) {
            const std::string bytes = pictureBytes(i % 30 == 0, i % 30 == 0 ? 250000 : 60000, 1400, seq, i);
            std::this_thread::sleep_until(next);
            cam.send(s.connection, bytes.substr(0, bytes.size() - 1500));
            const std::string last = bytes.substr(bytes.size() - 1500);
            probe.sent[i] = std::chrono::duration_cast<std::chrono::nanoseconds>(
                                Clock::now().time_since_epoch()).count();
            cam.send(s.connection, last);
            next += std::chrono::microseconds(33333);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    closeStream(s);
    auto lat = probe.latencyUs;
    if (lat.empty()) return state.SkipWithError("no frames delivered");
    std::sort(lat.begin(), lat.end());
    state.counters["median_us"] = lat[lat.size() / 2];
    state.counters["p99_us"] = lat[std::min(lat.size() - 1, size_t(double(lat.size()) * 0.99))];
    state.counters["frames"] = double(lat.size());
}
BENCHMARK(BM_CallbackLatency)->Iterations(1)->Unit(benchmark::kMillisecond);

// (3) and (4): CPU of 200 idle open streams and resident memory per stream.
void BM_IdleStreams(benchmark::State& state) {
    rlimit limit;
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
    const int count = int(state.range(0));
    const KOVO_LINK_OPTIONS& link = state.range(1) ? kIdleHealthOn : kHealthOff;
    FakeCamera cam;
    cam.onMethod("DESCRIBE", Reply::ok({"Content-Type: application/sdp"}, kSdp));
    std::vector<Stream> logins;
    {
        StdoutCapture quiet;
        for (int i = 0; i < count; ++i) logins.push_back({Kovo_Login("127.0.0.1", cam.port(), nullptr), -1});
    }
    const auto before = threadIds();
    const long rssBefore = residentKb();
    {
        StdoutCapture quiet;
        for (Stream& s : logins)
            if (Kovo_SetLinkOptions(s.id, &link) != 0 || Kovo_OpenStream(s.id, 0, 0, 0, CONNECT_TYPE_TCP, 0) != 0)
                return state.SkipWithError("open failed");
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    const long rssAfter = residentKb();
    std::set<int> library;
    for (int id : threadIds())
        if (!before.count(id)) library.insert(id);
    for (auto _ : state) {
        const double cpuStart = threadCpuSeconds(library);
        rusage usageStart;
        getrusage(RUSAGE_SELF, &usageStart);
        const auto start = Clock::now();
        std::this_thread::sleep_for(kIdleWindow);
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        rusage usageEnd;
        getrusage(RUSAGE_SELF, &usageEnd);
        auto cpuOf = [](const rusage& u) {
            return double(u.ru_utime.tv_sec + u.ru_stime.tv_sec) + double(u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e6;
        };
        state.SetIterationTime(seconds);
        state.counters["library_cpu_pct"] = 100.0 * (threadCpuSeconds(library) - cpuStart) / seconds;
        state.counters["process_cpu_pct"] = 100.0 * (cpuOf(usageEnd) - cpuOf(usageStart)) / seconds;
    }
    state.counters["streams"] = count;
    state.counters["library_threads"] = double(library.size());
    state.counters["rss_kB_per_stream"] = double(rssAfter - rssBefore) / count;
    StdoutCapture quiet;
    for (Stream& s : logins) {
        Kovo_CloseStream(s.id);
        Kovo_Logout(s.id);
    }
}
// Second argument 1: stall detection and a keep-alive every 5 s on.
BENCHMARK(BM_IdleStreams)->Args({200, 0})->Args({200, 1})->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
