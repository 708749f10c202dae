#include "Pacer.h"

#include <time.h>

#include <algorithm>
#include <chrono>
#include <random>

namespace scale {
namespace {

const int64_t kStartDelayNs = 250 * 1000 * 1000;  // the PLAY reply is read alone before media follows
const int64_t kMaxSleepNs = 20 * 1000 * 1000;     // new streams are picked up at least this often
const uint8_t kPayloadType = 96;

void putBig(uint8_t* at, uint64_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) at[i] = static_cast<uint8_t>(value >> (8 * (bytes - 1 - i)));
}

}  // namespace

struct Pacer::Stream {
    std::shared_ptr<CameraConnection> connection;
    Writes writes;
    Slot* slot;
    int64_t due;
    int64_t frameStart;
    size_t frame;            // in the clip
    size_t packet = 0;       // next packet of the frame
    bool leadIn = true;      // the first frame sent is the clip's last, a P frame before the key frame
    bool frameWhole = true;
    uint64_t framesCounted = 0;
    uint16_t sequence;
    uint32_t timestamp;
    uint32_t ssrc;
    std::vector<uint8_t> headers;  // scratch of sendPackets
    std::vector<iovec> pieces;
};

Pacer::Pacer(const Clip& clip, Board& board, int spreadMs)
    : clip_(clip), board_(board), frameNs_(1000000000LL / clip.fps), spreadNs_(int64_t(spreadMs) * 1000000) {
    thread_ = std::thread(&Pacer::run, this);
}

Pacer::~Pacer() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_all();
    thread_.join();
}

void Pacer::add(std::shared_ptr<CameraConnection> connection, Writes writes, int slot) {
    static std::mt19937 random{std::random_device{}()};
    std::unique_ptr<Stream> stream(new Stream());
    stream->connection = std::move(connection);
    stream->writes = writes;
    stream->slot = &board_.slots[slot];
    stream->due = stream->frameStart = monotonicNs() + kStartDelayNs;
    stream->frame = clip_.frames.size() - 1;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stream->sequence = static_cast<uint16_t>(random());
        stream->timestamp = static_cast<uint32_t>(random());
        stream->ssrc = static_cast<uint32_t>(random());
        arrivals_.push_back(std::move(stream));
    }
    wake_.notify_all();
}

void Pacer::run() {
    std::vector<std::unique_ptr<Stream>> queue;  // a heap, earliest due first
    const auto later = [](const std::unique_ptr<Stream>& a, const std::unique_ptr<Stream>& b) { return a->due > b->due; };
    for (;;) {
        {
            std::unique_lock<std::mutex> lock(mutex_);
            if (queue.empty())
                wake_.wait_for(lock, std::chrono::milliseconds(100), [&] { return stopping_ || !arrivals_.empty(); });
            if (stopping_) return;
            for (auto& stream : arrivals_) {
                queue.push_back(std::move(stream));
                std::push_heap(queue.begin(), queue.end(), later);
            }
            arrivals_.clear();
        }
        if (queue.empty()) continue;
        const int64_t now = monotonicNs();
        if (queue.front()->due > now) {
            const int64_t until = std::min(queue.front()->due, now + kMaxSleepNs);
            const timespec at{static_cast<time_t>(until / 1000000000), static_cast<long>(until % 1000000000)};
            clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &at, nullptr);
            continue;
        }
        std::pop_heap(queue.begin(), queue.end(), later);
        if (step(*queue.back())) {
            std::push_heap(queue.begin(), queue.end(), later);
        } else {
            queue.pop_back();
        }
    }
}

bool Pacer::step(Stream& s) {
    if (s.connection->ended || s.connection->paused) return false;
    const ClipFrame& frame = clip_.frames[s.frame];
    if (s.packet == 0 && board_.hold) {
        s.due = s.frameStart += frameNs_;
        return true;
    }
    const size_t count = s.writes == Writes::PerFrame ? frame.packets.size() : 1;
    if (!sendPackets(s, frame, s.packet, count)) return false;
    s.packet += count;
    if (s.packet < frame.packets.size()) {
        s.due = s.frameStart + spreadNs_ * int64_t(s.packet) / int64_t(frame.packets.size() - 1);
        return true;
    }
    finishFrame(s);
    return true;
}

// The interleave prefix and RTP header of one packet.
static void fillHeader(uint8_t* header, uint16_t sequence, uint32_t timestamp, uint32_t ssrc, const ClipPacket& p) {
    header[0] = '$';
    header[1] = 0;
    putBig(header + 2, p.size + 12, 2);
    header[4] = 0x80;
    header[5] = static_cast<uint8_t>((p.marker ? 0x80 : 0) | kPayloadType);
    putBig(header + 6, sequence, 2);
    putBig(header + 8, timestamp, 4);
    putBig(header + 12, ssrc, 4);
}

bool Pacer::sendPackets(Stream& s, const ClipFrame& frame, size_t first, size_t count) {
    std::vector<uint8_t>& headers = s.headers;
    std::vector<iovec>& pieces = s.pieces;
    headers.resize(16 * count);
    pieces.resize(2 * count);
    for (size_t i = 0; i < count; ++i) {
        const ClipPacket& packet = frame.packets[first + i];
        fillHeader(&headers[16 * i], s.sequence++, s.timestamp, s.ssrc, packet);
        pieces[2 * i] = {&headers[16 * i], 16};
        pieces[2 * i + 1] = {const_cast<uint8_t*>(clip_.bytes.data() + packet.offset), packet.size};
    }
    // Stamped just before the frame's last packet goes to the kernel, so the
    // client never sees the frame before its stamp.
    if (first + count == frame.packets.size() && !s.leadIn) {
        SendStamp& stamp = s.slot->sent[s.framesCounted % kStampRing];
        stamp.frame.store(~uint64_t(0));
        stamp.ns.store(monotonicNs());
        stamp.frame.store(s.framesCounted);
    }
    switch (s.connection->write(pieces.data(), static_cast<int>(pieces.size()), true)) {
        case WriteResult::Written:
            s.slot->packetsSent.fetch_add(count, std::memory_order_relaxed);
            return true;
        case WriteResult::Dropped:
            s.slot->packetsDropped.fetch_add(count, std::memory_order_relaxed);
            s.frameWhole = false;
            return true;
        case WriteResult::Gone:
            break;
    }
    return false;
}

void Pacer::finishFrame(Stream& s) {
    if (!s.leadIn) {
        if (s.frameWhole) s.slot->framesSent.fetch_add(1, std::memory_order_relaxed);
        ++s.framesCounted;
    }
    s.leadIn = false;
    s.frameWhole = true;
    s.frame = (s.frame + 1) % clip_.frames.size();
    s.packet = 0;
    s.timestamp += 90000 / clip_.fps;
    s.due = s.frameStart += frameNs_;
}

}  // namespace scale
