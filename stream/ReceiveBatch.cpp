#include "stream/ReceiveBatch.h"

#include <cstdlib>
#include <cstring>

namespace kovo {

namespace {

constexpr uint32_t kMinRoom = 2048;
// Storage grown past this for a large frame is given back once handed over.
constexpr uint32_t kKeptCapacity = 32 * 1024;
constexpr uint32_t kHeaderAndRtp = 4 + 12;

}  // namespace

ReceiveBatch::~ReceiveBatch() {
    free(m_data);
    free(m_spare.load());
}

char* ReceiveBatch::room(uint32_t* length) {
    if (!m_data) {
        m_data = m_spare.exchange(nullptr);
        m_capacity = m_data ? kFirstCapacity : 0;
    }
    if (m_capacity - m_size < kMinRoom) {
        uint32_t capacity = m_capacity ? m_capacity * 2 : kFirstCapacity;
        if (capacity - m_size < kMinRoom) capacity = m_size + kMinRoom;
        char* grown = static_cast<char*>(realloc(m_data, capacity));
        if (!grown) return nullptr;
        m_data = grown;
        m_capacity = capacity;
    }
    *length = m_capacity - m_size;
    return m_data + m_size;
}

void ReceiveBatch::added(uint32_t n, int64_t nowMs) {
    if (n == 0) return;
    if (m_size == 0) m_firstAt = nowMs;
    m_lastAt = nowMs;
    m_size += n;
    scan();
}

void ReceiveBatch::scan() {
    const uint8_t* bytes = reinterpret_cast<const uint8_t*>(m_data);
    for (;;) {
        if (m_packetEnd) {
            if (m_packetEnd > m_size) return;
            m_frameMayEnd |= m_packetEndsFrame;
            m_scanAt = m_packetEnd;
            m_packetEnd = 0;
        }
        if (m_scanAt + kHeaderAndRtp > m_size) return;
        const uint8_t* h = bytes + m_scanAt;
        if (h[0] != '$' || (h[4] & 0xC0) != 0x80) {
            // Not a packet (a reply of the camera, or bytes out of step):
            // hand over at once, and look for the next header.
            m_frameMayEnd = true;
            const void* next = memchr(h + 1, '$', m_size - m_scanAt - 1);
            m_scanAt = next ? uint32_t(static_cast<const char*>(next) - m_data) : m_size;
            continue;
        }
        const uint8_t channel = h[1];
        const uint32_t timestamp =
            (uint32_t(h[8]) << 24) | (uint32_t(h[9]) << 16) | (uint32_t(h[10]) << 8) | h[11];
        const bool marker = (h[5] & 0x80) != 0;
        bool endsFrame = channel >= 4 || (channel & 1) || marker;
        if (channel < 4) {
            // A new time stamp ends a frame only when no marker ended it.
            endsFrame |= m_frameOpen[channel] && timestamp != m_lastTimestamp[channel];
            m_lastTimestamp[channel] = timestamp;
            m_frameOpen[channel] = !marker;
        }
        m_packetEnd = m_scanAt + 4 + ((uint32_t(h[2]) << 8) | h[3]);
        m_packetEndsFrame = endsFrame;
    }
}

bool ReceiveBatch::due(int64_t nowMs) const { return !empty() && waitMs(nowMs) == 0; }

int ReceiveBatch::waitMs(int64_t nowMs) const {
    if (empty()) return -1;
    if (m_frameMayEnd || m_size >= kHandOverBytes) return 0;
    int64_t left = m_lastAt + kQuietMs - nowMs;
    if (m_firstAt + kHoldMs - nowMs < left) left = m_firstAt + kHoldMs - nowMs;
    return left > 0 ? int(left) : 0;
}

void ReceiveBatch::giveBack(char* storage) {
    char* none = nullptr;
    if (!m_spare.compare_exchange_strong(none, storage)) free(storage);
}

char* ReceiveBatch::takeBytes(bool* reusable) {
    *reusable = m_capacity == kFirstCapacity;
    char* bytes = m_data;
    m_data = nullptr;
    m_capacity = 0;
    handedOver();
    return bytes;
}

void ReceiveBatch::handedOver() {
    // A header cut by the hand-over is found again by the resynchronising
    // scan (which hands over at once), so nothing is ever held back wrongly.
    if (m_packetEnd)
        m_packetEnd -= m_size;
    m_scanAt = 0;
    m_size = 0;
    m_frameMayEnd = false;
    if (m_capacity > kKeptCapacity) {
        free(m_data);
        m_data = nullptr;
        m_capacity = 0;
    }
}

}  // namespace kovo
