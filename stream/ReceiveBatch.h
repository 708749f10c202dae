// What the receive loop has read from the stream connection but not yet
// handed to the assemble thread. A camera writes its packets one by one;
// waking the assemble thread for each of them costs more than the bytes.
// The batch follows the "$" framing as it is read and is handed over when a
// frame can be complete (a packet with the marker bit, a new time stamp after
// a frame that had none, or a packet of another channel's RTCP), when
// anything that is not a packet turns up (a reply to a request of ours), when
// it is large, or when nothing more came for a while.
#ifndef KOVO_STREAM_RECEIVEBATCH_H
#define KOVO_STREAM_RECEIVEBATCH_H

#include <atomic>
#include <cstdint>

namespace kovo {

class ReceiveBatch {
public:
    static constexpr uint32_t kHandOverBytes = 64 * 1024;
    // Nothing more came: hand over. Frame ends are seen in the framing, so
    // this only bounds how long odd bytes wait; it is long enough not to
    // split the frames of a camera that spreads a few packets over 20 ms.
    static constexpr int kQuietMs = 20;
    static constexpr int kHoldMs = 40;   // held at most this long in any case
    static constexpr uint32_t kFirstCapacity = 16 * 1024;

    ReceiveBatch() = default;
    ~ReceiveBatch();
    ReceiveBatch(const ReceiveBatch&) = delete;
    ReceiveBatch& operator=(const ReceiveBatch&) = delete;

    // Free space to read into (at least a full packet's worth); null when
    // the storage cannot grow.
    char* room(uint32_t* length);
    // n bytes were read into room() at time nowMs.
    void added(uint32_t n, int64_t nowMs);

    const char* data() const { return m_data; }
    uint32_t size() const { return m_size; }
    bool empty() const { return m_size == 0; }
    bool due(int64_t nowMs) const;
    // What was read ends where a packet ends, and a channel's frame is not
    // complete: more of it is on its way.
    bool moreOfAFrame() const {
        return m_packetEnd == 0 && m_scanAt >= m_size &&
               (m_frameOpen[0] || m_frameOpen[1] || m_frameOpen[2] || m_frameOpen[3]);
    }
    // How long the reader may wait before the batch is due; -1 when empty.
    int waitMs(int64_t nowMs) const;
    // The bytes went to the assemble thread.
    void handedOver();
    // Gives the bytes' storage (malloc's, size() bytes) to the caller, who
    // hands it over without a copy; the batch starts empty without storage.
    // *reusable: the storage may come back through giveBack().
    char* takeBytes(bool* reusable);
    // From the assemble thread, once the bytes of takeBytes() are used: one
    // storage is kept for the next batch, which saves an allocation and a
    // free on another thread per frame.
    void giveBack(char* storage);

private:
    void scan();

    char* m_data = nullptr;
    uint32_t m_size = 0;
    uint32_t m_capacity = 0;
    int64_t m_firstAt = 0;
    int64_t m_lastAt = 0;
    bool m_frameMayEnd = false;
    // Framing followed across reads: where the next header starts, and the
    // end of a packet whose header was read but whose bytes are not all in.
    uint32_t m_scanAt = 0;
    uint32_t m_packetEnd = 0;
    bool m_packetEndsFrame = false;
    uint32_t m_lastTimestamp[4] = {};
    std::atomic<char*> m_spare{nullptr};  // given back, kFirstCapacity bytes
    bool m_frameOpen[4] = {};  // the channel's last packet had no marker
};

}  // namespace kovo

#endif
