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

// Whatever the growth policy: bytes stay in order across growth and reuse
// of a consumed front, and storage stays bounded by what is held.
TEST(Buffer, KeepsItsBytesAcrossGrowthAndReuse) {
    BufferPtr b;
    std::string expected;
    for (int round = 0; round < 200; ++round) {
        const size_t n = 1 + (round * 37) % 700;
        add(b, n, char('a' + round % 26));
        expected += std::string(n, char('a' + round % 26));
        const size_t drop = expected.size() / 2;
        evbuffer_drain(b, drop);
        expected.erase(0, drop);
        ASSERT_EQ(contents(b), expected) << round;
        ASSERT_LE(b->totallen, 4 * (b->off + 700) + 256) << round;
        evbuffer_trim(b, round % 2 ? 512 : 0);  // storage given back, bytes kept
        ASSERT_EQ(contents(b), expected) << round;
    }
}

TEST(Buffer, DrainRemoveAndAlign) {
    BufferPtr b;
    evbuffer_addx(b, "0123456789", 10, 0);
    evbuffer_drain(b, 4);
    evbuffer_align(b);
    EXPECT_EQ(b->buffer, b->orig_buffer);
    EXPECT_EQ(contents(b), "456789");
    char out[16] = {};
    EXPECT_EQ(evbuffer_remove(b, out, 2), 2);
    EXPECT_EQ(std::string(out, 2), "45");
    EXPECT_EQ(evbuffer_remove(b, out, sizeof out), 4);
    EXPECT_EQ(std::string(out, 4), "6789");
    evbuffer_addx(b, "abc", 3, 0);
    evbuffer_drain(b, 1000);  // more than is held: empty
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
    // Past 4 GiB on every target; SIZE_MAX would also wrap a 64-bit sum.
    for (size_t huge : {size_t(UINT32_MAX), SIZE_MAX}) {
        EXPECT_EQ(evbuffer_expand(b, huge), -1);
        EXPECT_EQ(evbuffer_addx(b, "x", huge, 1), -1);
    }
    EXPECT_EQ(contents(b), std::string(10, 'x'));
}

}  // namespace
