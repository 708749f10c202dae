// The library against the simulator: it answers every key the library asks
// for, and every Set/Get pair reads back what it wrote.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "CamSimProcess.h"
#include "sdk/KovoSDK.h"
#include "sdk/ParamPairTable.h"
#include "support/FakeCamera.h"

namespace kovo::test {
namespace {

class CamSimParams : public CamSimTest {
protected:
    static void SetUpTestSuite() {
        if (!CamSimProcess::available()) return;
        sim_ = new CamSimProcess();
        if (sim_->start()) id_ = Kovo_Login("127.0.0.1", sim_->port(), nullptr);
    }
    static void TearDownTestSuite() {
        if (id_ > 0) Kovo_Logout(id_);
        id_ = -1;
        delete sim_;
        sim_ = nullptr;
    }
    void SetUp() override {
        CamSimTest::SetUp();
        if (IsSkipped()) return;
        ASSERT_GT(id_, 0) << "login to the simulator failed";
    }

    static CamSimProcess* sim_;
    static long id_;
};

CamSimProcess* CamSimParams::sim_ = nullptr;
long CamSimParams::id_ = -1;

// On the factory settings, every byte a Get writes when all its keys are
// answered (as a fake camera holding what the Set sent shows) must be
// written: the simulator knows every key the library asks for.
TEST_F(CamSimParams, AnswersEveryKeyTheLibraryAsksFor) {
    FakeCamera fake;
    fake.keepSettings();
    const long fakeId = Kovo_Login("127.0.0.1", fake.port(), nullptr);
    ASSERT_GT(fakeId, 0);
    for (const ParamPair& p : paramPairs()) {
        if (!p.set || p.start != std::string(p.start.size(), '\0')) continue;  // the Get needs a chosen item
        SCOPED_TRACE(p.name);
        auto written = [&](long id) {
            std::string zeros = p.start, ones(p.start.size(), '\xff'), mask;
            EXPECT_EQ(p.get(id, zeros.data()), 0);
            EXPECT_EQ(p.get(id, ones.data()), 0);
            for (size_t i = 0; i < zeros.size(); ++i) mask += zeros[i] == ones[i] ? 'w' : '.';
            return mask;
        };
        std::string sent = p.sent;
        ASSERT_EQ(p.set(fakeId, sent.data()), 0);
        if (p.start.size() == sizeof(Text))  // a plain text: as long as the value
            EXPECT_EQ(written(id_)[0], 'w');
        else
            EXPECT_EQ(written(id_), written(fakeId));
    }
    Kovo_Logout(fakeId);
}

TEST_F(CamSimParams, EverySetReadsBackWholeThroughItsGet) {
    for (const ParamPair& p : paramPairs()) {
        if (!p.set) continue;
        SCOPED_TRACE(p.name);
        std::string sent = p.sent, record = p.start;
        EXPECT_EQ(p.set(id_, sent.data()), 0);
        EXPECT_EQ(p.get(id_, record.data()), 0);
        EXPECT_EQ(record, p.expected);
    }
}

TEST_F(CamSimParams, FileSearchPagesThroughTheListAndDeleteRemovesAFile) {
    QUERY_FILE query{0, 0, 0, "08:00:00", "09:00:00"};
    ASSERT_EQ(0, Kovo_QueryFile(id_, &query));
    int count = 0;
    char** list = nullptr;
    ASSERT_EQ(0, Kovo_QueryFileList(id_, &count, &list));
    ASSERT_EQ(7, count);  // every ten minutes, both ends included, over two pages
    ASSERT_NE(nullptr, list);
    const char* block = reinterpret_cast<const char*>(list);
    EXPECT_STREQ("REC_080000.avi", block);
    EXPECT_STREQ("REC_090000.avi", block + 6 * KOVO_FILE_LIST_ENTRY_SIZE);
    Kovo_FreeFileList(list);
    FTP_DELETEFILE victim{"REC_081000.avi"};
    ASSERT_EQ(0, Kovo_DeleteFile(id_, &victim));
    list = nullptr;
    ASSERT_EQ(0, Kovo_QueryFileList(id_, &count, &list));
    EXPECT_EQ(6, count);
    Kovo_FreeFileList(list);
    DOWNLOAD_CONFIG download{1, 9000};
    ASSERT_EQ(0, Kovo_SetDownloadConfig(id_, &download));
    DOWNLOAD_CONFIG back{};
    EXPECT_EQ(0, Kovo_GetDownloadConfig(id_, &back));
    EXPECT_EQ(9000, back.nPort);
}

TEST_F(CamSimParams, LogShowsEveryRequestAsABlock) {
    char text[256] = "";
    ASSERT_EQ(0, Kovo_GetNoiseReduction(id_, 0, text));
    const std::string log = sim_->output();
    EXPECT_NE(std::string::npos, log.find("OPTIONS rtsp://127.0.0.1 RTSP/1.0\r\nCSeq: 1\r\n"));
    EXPECT_NE(std::string::npos, log.find("GET_PARAMETER rtsp://127.0.0.1 RTSP/1.0\r\n"));
    EXPECT_NE(std::string::npos, log.find("\r\nNoiseReduction\r\n\r\n"));
}

}  // namespace
}  // namespace kovo::test
