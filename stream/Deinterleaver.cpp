#include "stream/Deinterleaver.h"

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

constexpr uint8_t kFrameMark = 0x24;  // "$"
constexpr uint32_t kLargePacket = 8192;

uint32_t framedLength(const uint8_t* p) { return uint32_t(p[2]) * 256 + p[3]; }

// Hands one framed packet (known to be complete) over in place and drops it.
void takePacket(CBuffer* temp, ChannelSink& sink, uint8_t channel, uint32_t length) {
    evbuffer_drain(temp, 4);
    sink.onChannelPacket(channel, temp->buffer, length);
    evbuffer_drain(temp, length);
}

// An RTCP report where the native layouts skip bytes: handed over when it
// is whole, then skipped as before.
void offerReport(const uint8_t* p, uint32_t n, ChannelSink& sink) {
    if (n < 4 || p[0] != kFrameMark || !(p[1] & 1)) return;
    const uint32_t length = framedLength(p);
    if (length + 4 <= n) sink.onChannelPacket(p[1], p + 4, length);
}

// First index i in [0, n-2] where "$" is followed by one of the channels, or -1.
long findFrameStart(const uint8_t* p, uint32_t n, uint8_t channelA, uint8_t channelB) {
    if (n < 2) return -1;
    const uint8_t* end = p + n - 1;  // last index a "$" may sit at, exclusive
    const uint8_t* at = p;
    while (at < end) {
        const void* hit = memchr(at, kFrameMark, size_t(end - at));
        if (!hit) return -1;
        at = static_cast<const uint8_t*>(hit);
        if (at[1] == channelA || at[1] == channelB) return long(at - p);
        ++at;
    }
    return -1;
}

enum class ReplyScan { None, Incomplete, Taken };

// A reply of the camera at the front: status line, header lines, the empty
// line and Content-Length bytes of body, possibly not all there yet.
ReplyScan takeReply(CBuffer* temp, ChannelSink& sink) {
    static const char kVersion[] = "RTSP/1.0";
    static const uint32_t kLongestReply = 8192;
    const uint32_t n = temp->off;
    const char* p = reinterpret_cast<const char*>(temp->buffer);
    if (!sink.wantsReplies() || n == 0 || memcmp(p, kVersion, n < 8 ? n : 8) != 0) return ReplyScan::None;
    const uint32_t scan = n < kLongestReply ? n : kLongestReply;
    const char* end = n < 8 ? nullptr : static_cast<const char*>(memmem(p, scan, "\r\n\r\n", 4));
    if (!end) return n < kLongestReply ? ReplyScan::Incomplete : ReplyScan::None;
    const std::string head(p, size_t(end - p));
    uint32_t body = 0;
    const size_t at = head.find("\r\nContent-Length:");
    if (at != std::string::npos) body = uint32_t(strtoul(head.c_str() + at + 17, nullptr, 10));
    const uint64_t total = uint64_t(end - p) + 4 + body;
    if (total > n) return total < kLongestReply ? ReplyScan::Incomplete : ReplyScan::None;
    sink.onReply(n >= 12 ? atoi(std::string(p + 9, 3).c_str()) : 0);
    evbuffer_drain(temp, size_t(total));
    return ReplyScan::Taken;
}

// Each skip of leading garbage owes one "fixed ... begin" trace once the
// rest of the pass is done; aligning once at the end gives the same result
// as aligning after every extraction.
void finishPass(CBuffer* temp, int pendingSkips, const char* fixedTrace) {
    evbuffer_align(temp);
    for (int i = 0; i < pendingSkips; ++i) KovoTrace("%s", fixedTrace);
}

}  // namespace

void DeinterleaveVideo(CBuffer* temp, ChannelSink& sink, int& startProcessData) {
    static const char kFixed[] = "CVideoControl::HandleTempBuffer fixed not 24 00 begin.\n ";
    int pendingSkips = 0;
    for (;;) {
        const ReplyScan reply = takeReply(temp, sink);
        if (reply == ReplyScan::Taken && temp->off >= 5) continue;
        if (reply != ReplyScan::None) break;  // wait for the rest
        const uint32_t n = temp->off;
        const uint8_t* p = temp->buffer;
        if (n > 4 && p[0] == kFrameMark && p[1] == 0) {
            const uint32_t length = framedLength(p);
            if (length > kLargePacket)
                KovoTrace("CVideoControl::HandleTempBuffer rtp_payload_length Error.\n ");
            if (n < length + 4) break;  // wait for the rest of the packet
            takePacket(temp, sink, 0, length);
            if (!startProcessData) startProcessData = 1;
            if (temp->off >= 5) continue;
            break;
        }
        if (n < 3) {
            KovoTrace("CVideoControl::HandleTempBuffer other.\n ");
            break;
        }
        offerReport(p, n, sink);
        const long i = findFrameStart(p, n, 0, 0);
        if (i <= 0) {
            evbuffer_drain(temp, n - 1);  // the last byte may begin a frame
            KovoTrace("CVideoControl::HandleTempBuffer clear temp buffer(nont 24 00)\n");
            evbuffer_align(temp);
            KovoTrace("%s", kFixed);
            break;
        }
        evbuffer_drain(temp, size_t(i));
        KovoTrace("CVideoControl::HandleTempBuffer drain %d temp buffer(nont 24 00)\n", int(i));
        ++pendingSkips;
    }
    finishPass(temp, pendingSkips, kFixed);
}

void DeinterleaveAudioVideo(CBuffer* temp, ChannelSink& sink, int& startProcessData) {
    static const char kFixed[] = "CVideoControl::HandleTempBuffer fixed not 24 00 or 02 begin.\n ";
    int pendingSkips = 0;
    for (;;) {
        const ReplyScan reply = takeReply(temp, sink);
        if (reply == ReplyScan::Taken && temp->off >= 5) continue;
        if (reply != ReplyScan::None) break;  // wait for the rest
        const uint32_t n = temp->off;
        const uint8_t* p = temp->buffer;
        if (n > 4 && p[0] == kFrameMark && (p[1] == 2 || p[1] == 0)) {
            const uint32_t length = framedLength(p);
            if (length + 4 > n) break;
            takePacket(temp, sink, p[1], length);
            if (temp->off <= 4) break;
            startProcessData = 1;
            continue;
        }
        offerReport(p, n, sink);
        const long i = findFrameStart(p, n, 0, 2);
        if (i <= 0) {
            evbuffer_drain(temp, n ? n - 1 : 0);
            KovoTrace("CVideoControl::HandleV107 clear temp buffer(not 24 00 or 02 clear)\n");
            evbuffer_align(temp);
            KovoTrace("%s", kFixed);
            break;
        }
        evbuffer_drain(temp, size_t(i));
        KovoTrace("CVideoControl::HandleV107 drain %d temp buffer(not 24 00 or 02)\n", int(i));
        ++pendingSkips;
    }
    finishPass(temp, pendingSkips, kFixed);
}

void DeinterleaveAll(CBuffer* temp, ChannelSink& sink) {
    for (;;) {
        const ReplyScan reply = takeReply(temp, sink);
        if (reply == ReplyScan::Taken && temp->off >= 5) continue;
        if (reply != ReplyScan::None) break;  // wait for the rest
        const uint32_t n = temp->off;
        const uint8_t* p = temp->buffer;
        if (n >= 4 && p[0] == kFrameMark && sink.knowsChannel(p[1])) {
            const uint32_t length = framedLength(p);
            if (length + 4 > n) break;  // wait for the rest of the packet
            takePacket(temp, sink, p[1], length);
            continue;
        }
        if (n < 4) break;
        // Skip to the next "$" of a known channel, keeping a last byte that
        // may begin one.
        const uint8_t* at = p + 1;
        while (at < p + n - 1 && !(at[0] == kFrameMark && sink.knowsChannel(at[1]))) {
            const void* hit = memchr(at + 1, kFrameMark, size_t(p + n - 1 - (at + 1)));
            at = hit ? static_cast<const uint8_t*>(hit) : p + n - 1;
        }
        evbuffer_drain(temp, size_t(at - p));
    }
    evbuffer_align(temp);
}

bool ResyncOnPacket(CBuffer* temp, const ChannelSink& sink) {
    // A packet that cannot be confirmed within this many bytes is not waited for.
    static const uint32_t kLongestWait = 70000;
    const uint32_t n = temp->off;
    const uint8_t* p = temp->buffer;
    for (uint32_t i = 0; i + 1 < n; ++i) {
        if (p[i] != kFrameMark || !sink.knowsChannel(p[i + 1])) continue;
        if (n - i < 5) return evbuffer_drain(temp, i), false;
        if ((p[i + 4] & 0xC0) != 0x80) continue;  // RTP and RTCP are version 2
        const uint64_t next = uint64_t(i) + 4 + framedLength(p + i);
        if (next > n || next + 1 == n) {
            if (n - i < kLongestWait) return evbuffer_drain(temp, i), false;
            continue;
        }
        if (next == n || (p[next] == kFrameMark && sink.knowsChannel(p[next + 1]))) {
            evbuffer_drain(temp, i);
            evbuffer_align(temp);
            return true;
        }
    }
    evbuffer_drain(temp, n ? n - 1 : 0);  // the last byte may begin a packet
    evbuffer_align(temp);
    return false;
}
