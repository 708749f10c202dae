// Motion-JPEG throughput: RTP/JPEG packets through the assembler alone,
// interleaved chunks through the stream controller's de-interleaving and
// assembly (no sockets), and a real opened stream on loopback. Also AAC
// packets through the ADTS re-wrapper.
#include <benchmark/benchmark.h>

#include <atomic>
#include <chrono>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "sdk/KovoSDK.h"

#include "stream/AacAssembler.h"
#include "stream/JpegAacTestMedia.h"
#include "stream/JpegAssembler.h"
#include "stream/VideoControl.h"

namespace {

using namespace kovo::test::media;

struct Clip {
    std::vector<std::string> packets;  // RTP packets, 12-byte header first
    size_t frames = 0;
    size_t bytes = 0;
};

const Clip& clip() {
    static const Clip built = [] {
        Clip c;
        TempDir dir;
        std::vector<std::string> files = haveTool("ffmpeg") ? makeJpegClip(dir, 10, "640x480") : std::vector<std::string>{};
        uint16_t seq = 1;
        for (size_t i = 0; i < files.size(); ++i) {
            JpegPicture picture;
            if (!parseJpeg(files[i], &picture).empty()) continue;
            for (std::string& p : packetiseJpeg(picture, &seq, 9000 * i, 1400)) c.packets.push_back(std::move(p));
            ++c.frames;
        }
        if (c.frames == 0) {  // a random scan stands in for real pictures without ffmpeg
            std::mt19937 random(7);
            for (int i = 0; i < 10; ++i) {
                JpegPicture picture;
                picture.width = 640;
                picture.height = 480;
                picture.lumaSampling = 0x22;
                picture.lumaTable = picture.chromaTable = std::string(64, '\x10');
                for (int b = 0; b < 40000; ++b) picture.scan += char(random() & 0x7F);
                for (std::string& p : packetiseJpeg(picture, &seq, 9000 * i, 1400)) c.packets.push_back(std::move(p));
                ++c.frames;
            }
        }
        for (const std::string& p : c.packets) c.bytes += p.size();
        return c;
    }();
    return built;
}

void countFrame(void* user, const unsigned char*, size_t) { ++*static_cast<size_t*>(user); }

void BM_JpegAssembler(benchmark::State& state) {
    const Clip& c = clip();
    kovo::JpegAssembler::setFirstFrameDropped(true);
    kovo::JpegAssembler assembler;
    size_t frames = 0;
    for (auto _ : state) {
        for (const std::string& p : c.packets)
            assembler.pushPacket(reinterpret_cast<const unsigned char*>(p.data()), p.size(), countFrame, &frames);
    }
    state.SetBytesProcessed(int64_t(state.iterations() * c.bytes));
    state.counters["frames/s"] = benchmark::Counter(double(frames), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_JpegAssembler);

void onJpeg(long, DATA_TYPE_E, unsigned char*, unsigned long, unsigned long user) {
    ++*reinterpret_cast<size_t*>(user);
}

// Interleaved bytes cut into receive-sized chunks, as the assemble thread gets them.
void BM_JpegPipeline(benchmark::State& state) {
    const Clip& c = clip();
    std::string wire;
    for (const std::string& p : c.packets) wire += kovo::test::interleave(0, p);
    kovo::JpegAssembler::setFirstFrameDropped(true);
    CVideoControl control(640, 480, 10);
    control.SetDataType(MJPEGDATA_TYPE);
    control.SetConnectType(CONNECT_TYPE_TCP);
    size_t frames = 0;
    control.SetMJPEGCallBack(onJpeg, reinterpret_cast<unsigned long>(&frames));
    const size_t chunk = CVideoControl::kRecvChunk;
    for (auto _ : state) {
        for (size_t at = 0; at < wire.size(); at += chunk) {
            const size_t n = std::min(chunk, wire.size() - at);
            control.AssembleChunk(wire.data() + at, uint32_t(n));
        }
    }
    state.SetBytesProcessed(int64_t(state.iterations() * wire.size()));
    state.counters["frames/s"] = benchmark::Counter(double(frames), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_JpegPipeline);

struct FrameCount {
    std::atomic<uint64_t> frames{0};
    static void onJpeg(long, DATA_TYPE_E, unsigned char*, unsigned long, unsigned long user) {
        ++reinterpret_cast<FrameCount*>(user)->frames;
    }
};

bool waitFrames(const FrameCount& count, uint64_t target) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (count.frames < target) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    return true;
}

// The clip sent repeatedly by the fake camera over an opened Motion-JPEG stream.
void BM_JpegOpenStream(benchmark::State& state) {
    const Clip& c = clip();
    std::string wire;
    for (const std::string& p : c.packets) wire += kovo::test::interleave(0, p);
    kovo::test::FakeCamera cam;
    cam.onMethod("DESCRIBE", kovo::test::Reply::ok({"Content-Type: application/sdp"},
                                                    "v=0\r\nm=video 0 RTP/AVP 26\r\na=x-dimensions:640, 480\r\n"
                                                    "a=x-framerate:25\r\na=control:trackID=1\r\n"));
    long id = 0;
    {
        kovo::test::StdoutCapture quiet;
        id = Kovo_Login("127.0.0.1/MJPEG", cam.port(), nullptr);
        if (id <= 0 || Kovo_OpenStream(id, 0, 0, 0, CONNECT_TYPE_TCP, 0) != 0) id = 0;
    }
    if (id == 0) return state.SkipWithError("stream did not open");
    const int connection = cam.requests("PLAY").back().connection;
    FrameCount count;
    Kovo_SetMJPEGCallBack(id, FrameCount::onJpeg, reinterpret_cast<unsigned long>(&count));
    kovo::JpegAssembler::setFirstFrameDropped(true);
    cam.send(connection, wire);  // warm-up: the pipeline starts with its second packet
    if (!waitFrames(count, c.frames - 1)) state.SkipWithError("warm-up frames did not arrive");

    const int rounds = 50;
    for (auto _ : state) {
        const uint64_t target = count.frames + uint64_t(rounds) * c.frames;
        const auto start = std::chrono::steady_clock::now();
        for (int r = 0; r < rounds; ++r) cam.send(connection, wire);
        if (!waitFrames(count, target)) return state.SkipWithError("frames lost");
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        state.SetIterationTime(seconds);
        state.counters["MB/s"] = double(wire.size()) * rounds / seconds / 1e6;
        state.counters["frames/s"] = double(c.frames) * rounds / seconds;
    }
    kovo::test::StdoutCapture quiet;
    Kovo_CloseStream(id);
    Kovo_Logout(id);
}
BENCHMARK(BM_JpegOpenStream)->UseManualTime()->Iterations(5)->Unit(benchmark::kMillisecond);

void BM_AacAssembler(benchmark::State& state) {
    const std::string packet = aacPacket(std::string(600, 'a'), 1, 0);
    kovo::AacAssembler assembler;
    size_t frames = 0;
    for (auto _ : state)
        assembler.pushPacket(reinterpret_cast<const unsigned char*>(packet.data()), packet.size(), countFrame, &frames);
    state.SetBytesProcessed(int64_t(state.iterations() * packet.size()));
    state.counters["frames/s"] = benchmark::Counter(double(frames), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_AacAssembler);

}  // namespace

BENCHMARK_MAIN();
