#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "support/FakeCamera.h"
#include "support/Scratch.h"
#include "stream/DataList.h"

namespace {

TEST(DataList, NetworkQueueIsFifoAndDoesNotBlockWhenEmpty) {
    CDataList list;
    EXPECT_EQ(list.GetNetworkData(), nullptr);
    char a[] = "first", b[] = "second";
    list.PutNetworkData(a, 5);
    list.PutNetworkData(b, 6);
    a[0] = 'X';  // items own their copies
    EXPECT_EQ(list.GetNetworkDataCount(), 2u);
    CNetworkData* one = list.GetNetworkData();
    CNetworkData* two = list.GetNetworkData();
    ASSERT_TRUE(one && two);
    EXPECT_EQ(std::string(one->GetData(), one->GetLen()), "first");
    EXPECT_EQ(std::string(two->GetData(), two->GetLen()), "second");
    EXPECT_EQ(list.GetNetworkData(), nullptr);
    delete one;
    delete two;
    // Whatever is still queued is freed with the list (the sanitizer build reports leaks).
    list.PutNetworkData(b, 6);
    list.PutFrame(b, 6, 0, CODEC_ID_H264);
}

// At most 201 frames; GetFrame hands out the oldest with the count before removal.
TEST(DataList, FrameQueueHoldsAt201EntriesAndGivesTheOldestFirst) {
    CDataList list;
    char frame[] = "f";
    for (int i = 0; i < 201; ++i) ASSERT_EQ(list.PutFrame(frame, 1, 100 + i, CODEC_ID_H264), 0) << i;
    kovo::test::StdoutCapture quiet;
    EXPECT_EQ(list.PutFrame(frame, 1, 0, CODEC_ID_H264), -1);
    int count = -1;
    CFrameData* oldest = list.GetFrame(&count);
    ASSERT_NE(oldest, nullptr);
    EXPECT_EQ(count, 201);
    EXPECT_EQ(oldest->m_timeStamp, 100u);
    EXPECT_EQ(list.GetFrameCount(), 200);
    delete oldest;
    CDataList empty;
    EXPECT_EQ(empty.GetFrame(&count), nullptr);
    EXPECT_EQ(count, 0);
}

TEST(DataList, WaitEndsWhenDataArrivesOrOnWakeOrTimeout) {
    CDataList list;
    EXPECT_EQ(list.WaitNetworkData(5), nullptr);
    for (bool withData : {true, false}) {
        std::thread producer([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            char data[] = "x";
            if (withData)
                list.PutNetworkData(data, 1);
            else
                list.WakeNetworkWaiters();
        });
        const auto start = std::chrono::steady_clock::now();
        CNetworkData* item = list.WaitNetworkData(5000);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(2000));
        EXPECT_EQ(item != nullptr, withData);
        delete item;
        producer.join();
    }
}

TEST(DataList, ZeroLengthChunkEndsTheProcess) {
    EXPECT_EXIT(
        {
            CDataList list;
            char data[] = "x";
            list.PutNetworkData(data, 0);
        },
        ::testing::ExitedWithCode(255), "");
}

TEST(DataList, PacingConsumesQueuedFramesAndStops) {
    CDataList list;
    char data[] = "f";
    for (int i = 0; i < 6; ++i) list.PutFrame(data, 1, i, CODEC_ID_H264);
    std::atomic<int> run{1};
    std::thread pacer([&] { PaceDecodeFrames(&list, 1000, run); });
    EXPECT_TRUE(kovo::test::eventually([&] { return list.GetFrameCount() == 0; }));
    run = 0;
    pacer.join();
}

}  // namespace
