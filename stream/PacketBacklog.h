// The receive buffer of the native rules: packets queued as a 4-byte
// host-order length then the packet bytes. The rules work off the packet at
// its front, which lags behind the newest one when an earlier packet was
// left waiting (before the stream started processing, or bytes a rule did
// not consume).
#pragma once

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "sdk/Trace.h"
#include "stream/RtpPacket.h"
#include "stream/UnixStd.h"

namespace kovo {

class PacketBacklog {
public:
    PacketBacklog() : m_buffer(evbuffer_new()) {
        if (!m_buffer) {
            traceputs("evbuffer_new failed, out of memory");
            exit(-1);
        }
    }
    ~PacketBacklog() { evbuffer_free(m_buffer); }
    PacketBacklog(const PacketBacklog&) = delete;
    PacketBacklog& operator=(const PacketBacklog&) = delete;

    CBuffer* buffer() { return m_buffer; }

    void queue(const RtpPacket& packet) {
        evbuffer_addx(m_buffer, &packet.size, 4, 0);
        evbuffer_addx(m_buffer, packet.data, packet.size, 0);
    }

    // The packet at the front, when its length prefix fits what is held.
    bool front(const uint8_t** packet, uint32_t* length) const {
        *length = 0;
        if (m_buffer->off >= 4) memcpy(length, m_buffer->buffer, 4);
        if (m_buffer->off < 12 || uint64_t(*length) + 4 > m_buffer->off) return false;
        *packet = m_buffer->buffer + 4;
        return true;
    }

    void drain(size_t bytes) { evbuffer_drain(m_buffer, bytes); }
    void clear() { evbuffer_drain(m_buffer, m_buffer->off); }

private:
    CBuffer* m_buffer;
};

}  // namespace kovo
