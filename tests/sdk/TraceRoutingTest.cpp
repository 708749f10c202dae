// Trace routing: with a callback set, every line the library prints reaches
// it once, without its line end, one call at a time, and nothing reaches
// standard output; without one, standard output gets the same bytes as ever.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "sdk/KovoSDK.h"
#include "support/FakeCamera.h"

using kovo::test::FakeCamera;
using kovo::test::StdoutCapture;

namespace {

// Unguarded on purpose: the library must never make two calls at once.
struct Collected {
    std::vector<std::string> lines;
    std::atomic<int> inside{0};
    bool overlapped = false;
    long count(const std::string& line) const { return std::count(lines.begin(), lines.end(), line); }
};

void collect(const char* line, unsigned long user) {
    auto* c = reinterpret_cast<Collected*>(user);
    if (c->inside.fetch_add(1) != 0) c->overlapped = true;
    c->lines.push_back(line);
    c->inside.fetch_sub(1);
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
    auto burst = [] { for (int i = 0; i < 300; ++i) KovoTrace("partial %d", i); };
    std::thread first(burst), second(burst);
    first.join(), second.join();
    Kovo_SetTraceCallBack(nullptr, 0);
    EXPECT_EQ(out.text(), "");

    EXPECT_EQ(got.count("try to connect 127.0.0.1:" + std::to_string(cam.port()) + "==proxy:(null)=="), 1);
    EXPECT_EQ(got.count("==SDK_VERSION:2.1.2=="), 1);
    EXPECT_EQ(got.count("---send OPTIONS rtsp://127.0.0.1 RTSP/1.0"), 2);
    EXPECT_EQ(got.count("---send GET_PARAMETER rtsp://127.0.0.1 RTSP/1.0"), 1);
    EXPECT_EQ(got.count("NoiseReduction"), 1);
    EXPECT_EQ(got.count("Not find device."), 1);
    EXPECT_EQ(got.count("partial 299"), 2);
    EXPECT_FALSE(got.overlapped);
    for (const auto& line : got.lines) EXPECT_EQ(line.find_first_of("\r\n"), std::string::npos) << line;

    StdoutCapture back;
    KovoTrace("ends %s\n", "twice");
    KovoTrace("%s", std::string(600, 'x').c_str());  // longer than the trace buffer: cut, not overrun
    EXPECT_EQ(back.text(), "ends twice\n\r\n" + std::string(511, 'x') + "\r\n");
}

}  // namespace
