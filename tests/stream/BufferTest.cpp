#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "stream/UnixStd.h"

namespace {

struct BufferPtr {
    CBuffer* b = evbuffer_new();
    ~BufferPtr() { evbuffer_free(b); }
    CBuffer* operator->() { return b; }
    operator CBuffer*() { return b; }
};

std::string contents(CBuffer* b) { return std::string(reinterpret_cast<char*>(b->buffer), b->off); }

void add(CBuffer* b, size_t n, char fill = 'x', int notify = 0) {
    std::string bytes(n, fill);
    ASSERT_EQ(evbuffer_addx(b, bytes.data(), n, notify), 0);
}

TEST(Buffer, GrowsBy256TimesAPowerOfTwo) {
    struct Case { size_t first; size_t second; uint32_t expected; };
    const Case cases[] = {{1, 0, 256}, {256, 0, 256}, {257, 0, 512}, {256, 1, 512}, {1000, 100, 2048}, {5000, 0, 8192}};
    for (const Case& c : cases) {
        BufferPtr b;
        EXPECT_EQ(b->totallen, 0u);
        add(b, c.first);
        if (c.second) add(b, c.second);
        EXPECT_EQ(b->totallen, c.expected) << c.first << "+" << c.second;
        EXPECT_EQ(b->off, c.first + c.second);
    }
}

TEST(Buffer, ConsumedFrontIsReusedByAligningInsteadOfGrowing) {
    BufferPtr b;
    add(b, 200, 'a');
    add(b, 50, 'b');
    evbuffer_drain(b, 200);
    ASSERT_EQ(b->misalign, 200u);
    uint8_t* storage = b->orig_buffer;
    add(b, 10, 'c');
    EXPECT_EQ(b->totallen, 256u);
    EXPECT_EQ(b->misalign, 0u);
    EXPECT_EQ(b->orig_buffer, storage);
    EXPECT_EQ(contents(b), std::string(50, 'b') + std::string(10, 'c'));
}

TEST(Buffer, GrowthCountsTheOldMisalignment) {
    BufferPtr b;
    add(b, 250, 'a');
    evbuffer_drain(b, 200);  // 50 valid bytes behind 200 consumed ones
    add(b, 210, 'c');        // need = 200 + 50 + 210 = 460 -> 512
    EXPECT_EQ(b->totallen, 512u);
    EXPECT_EQ(b->misalign, 0u);
    EXPECT_EQ(contents(b), std::string(50, 'a') + std::string(210, 'c'));
}

TEST(Buffer, DrainAndAlign) {
    BufferPtr b;
    evbuffer_addx(b, "0123456789", 10, 0);
    evbuffer_drain(b, 4);
    EXPECT_EQ(b->buffer, b->orig_buffer + 4);
    evbuffer_align(b);
    EXPECT_EQ(b->misalign, 0u);
    EXPECT_EQ(b->buffer, b->orig_buffer);
    EXPECT_EQ(contents(b), "456789");
    evbuffer_drain(b, 3);
    evbuffer_drain(b, 1000);  // draining everything resets to the storage start, which is kept
    EXPECT_EQ(b->off, 0u);
    EXPECT_EQ(b->misalign, 0u);
    EXPECT_EQ(b->buffer, b->orig_buffer);
    EXPECT_EQ(b->totallen, 256u);
}

TEST(Buffer, RemoveCopiesAtMostWhatIsHeld) {
    BufferPtr b;
    evbuffer_addx(b, "hello", 5, 0);
    char out[16] = {};
    EXPECT_EQ(evbuffer_remove(b, out, 2), 2);
    EXPECT_EQ(std::string(out, 2), "he");
    EXPECT_EQ(evbuffer_remove(b, out, sizeof out), 3);
    EXPECT_EQ(std::string(out, 3), "llo");
    EXPECT_EQ(b->off, 0u);
}

struct Notification { uint32_t oldLength, newLength; std::string front; };

void record(CBuffer* b, uint32_t oldLength, uint32_t newLength, void* arg) {
    static_cast<std::vector<Notification>*>(arg)->push_back({oldLength, newLength, contents(b)});
}

TEST(Buffer, CallbackFiresOncePerLengthPrefixedPacket) {
    BufferPtr b;
    std::vector<Notification> calls;
    evbuffer_setcb(b, record, &calls);
    uint32_t length = 3;
    evbuffer_addx(b, &length, 4, 0);
    evbuffer_addx(b, "abc", 3, 1);
    evbuffer_addx(b, "", 0, 1);  // empty appends never notify
    evbuffer_addx(b, "zz", 2, 0);
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].oldLength, 4u);
    EXPECT_EQ(calls[0].newLength, 7u);
    EXPECT_EQ(calls[0].front.substr(4), "abc");  // data is in place when called
    evbuffer_setcb(b, nullptr, nullptr);
    evbuffer_addx(b, "q", 1, 1);
    EXPECT_EQ(calls.size(), 1u);
}

TEST(Buffer, CallbackMayDrainTheSameBuffer) {
    BufferPtr b;
    evbuffer_setcb(b, [](CBuffer* self, uint32_t, uint32_t, void*) { evbuffer_drain(self, self->off); }, nullptr);
    add(b, 40, 'x', 1);
    EXPECT_EQ(b->off, 0u);
    add(b, 10, 'y', 0);
    EXPECT_EQ(contents(b), std::string(10, 'y'));
}

TEST(Buffer, ExpandReportsUnrepresentableGrowth) {
    BufferPtr b;
    add(b, 10);
    EXPECT_EQ(evbuffer_expand(b, size_t(1) << 33), -1);
    EXPECT_EQ(contents(b), std::string(10, 'x'));
}

}  // namespace
