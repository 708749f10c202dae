// Trace routing: with a callback set, every line the library prints reaches
// it once, without its line end, one call at a time, and nothing reaches
// standard output; without one, standard output gets the same bytes as ever.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "sdk/KovoSDK.h"
#include "support/FakeCamera.h"

using kovo::test::FakeCamera;
using kovo::test::StdoutCapture;

namespace {

struct Collected {
    std::mutex mutex;
    std::vector<std::string> lines;
    std::atomic<int> inside{0};
    std::atomic<bool> overlapped{false};
};

void collect(const char* line, unsigned long user) {
    auto* c = reinterpret_cast<Collected*>(user);
    if (c->inside.fetch_add(1) != 0) c->overlapped = true;
    {
        std::lock_guard<std::mutex> lock(c->mutex);
        c->lines.push_back(line);
    }
    c->inside.fetch_sub(1);
}

long count(const std::vector<std::string>& lines, const std::string& line) {
    return std::count(lines.begin(), lines.end(), line);
}

TEST(TraceRouting, CallbackGetsEveryLineOnceAndStandardOutputNothing) {
    FakeCamera cam;
    cam.onMethod("GET_PARAMETER", kovo::test::Reply::status_(404));
    Collected got;
    StdoutCapture out;
    ASSERT_EQ(Kovo_SetTraceCallBack(collect, reinterpret_cast<unsigned long>(&got)), 0);
    const long id = Kovo_Login("127.0.0.1", cam.port(), nullptr);
    ASSERT_GT(id, 0);
    char value[64];
    EXPECT_EQ(Kovo_GetNoiseReduction(id, 0, value), -2);
    EXPECT_EQ(Kovo_Logout(id), 0);
    EXPECT_EQ(Kovo_Logout(id), -1);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([] {
            for (int i = 0; i < 200; ++i) KovoTrace("partial %d", i);
        });
    for (auto& t : threads) t.join();
    Kovo_SetTraceCallBack(nullptr, 0);
    EXPECT_EQ(out.text(), "");

    const std::string port = std::to_string(cam.port());
    EXPECT_EQ(count(got.lines, "try to connect 127.0.0.1:" + port + "==proxy:(null)=="), 1);
    EXPECT_EQ(count(got.lines, "==SDK_VERSION:2.1.2=="), 1);
    EXPECT_EQ(count(got.lines, "---send OPTIONS rtsp://127.0.0.1 RTSP/1.0"), 2);
    EXPECT_EQ(count(got.lines, "---send GET_PARAMETER rtsp://127.0.0.1 RTSP/1.0"), 1);
    EXPECT_EQ(count(got.lines, "NoiseReduction"), 1);
    EXPECT_EQ(count(got.lines, "Not find device."), 1);
    EXPECT_EQ(count(got.lines, "partial 199"), 4);
    EXPECT_FALSE(got.overlapped);
    for (const auto& line : got.lines) EXPECT_EQ(line.find_first_of("\r\n"), std::string::npos) << line;

    StdoutCapture back;
    EXPECT_EQ(Kovo_Logout(id), -1);
    KovoTrace("ends %s\n", "twice");
    EXPECT_EQ(back.text(), "Not find device.\r\nends twice\n\r\n");
}

}  // namespace
