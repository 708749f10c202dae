#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "stream/ReceiveBatch.h"

namespace {

// One interleaved RTP packet of channel 0 with 4 payload bytes.
std::string packet(bool marker, uint8_t timestamp) {
    const char bytes[] = {'$', 0, 0, 16, char(0x80), char(marker ? 0xE0 : 0x60), 0, 1, 0, 0, 0, char(timestamp),
                          0, 0, 0, 1, 'a', 'b', 'c', 'd'};
    return std::string(bytes, sizeof bytes);
}

void read(kovo::ReceiveBatch& batch, const std::string& bytes, int64_t now) {
    uint32_t room = 0;
    char* into = batch.room(&room);
    ASSERT_GE(room, bytes.size());
    memcpy(into, bytes.data(), bytes.size());
    batch.added(uint32_t(bytes.size()), now);
}

// The assemble thread is woken when a frame can be complete, not per packet.
TEST(ReceiveBatch, HandedOverWhenAFrameCanEnd) {
    kovo::ReceiveBatch batch;
    const std::string first = packet(false, 7), last = packet(true, 7), next = packet(false, 8);
    read(batch, first, 100);
    read(batch, first, 101);
    EXPECT_FALSE(batch.due(102));  // one frame, no marker yet: held
    EXPECT_TRUE(batch.due(101 + kovo::ReceiveBatch::kQuietMs));
    read(batch, last.substr(0, 10), 102);
    EXPECT_FALSE(batch.due(102));  // the marker packet is not all in yet
    read(batch, last.substr(10) + "RTSP/1.0 200 OK\r\n", 102);
    ASSERT_TRUE(batch.due(102));
    EXPECT_EQ(std::string(batch.data(), batch.size()), first + first + last + "RTSP/1.0 200 OK\r\n");
    batch.handedOver();
    read(batch, next, 103);
    EXPECT_FALSE(batch.due(103));  // the marker already ended the frame before it
    read(batch, packet(false, 9), 104);
    EXPECT_TRUE(batch.due(104));  // a new time stamp ends a frame that had no marker
}

}  // namespace
