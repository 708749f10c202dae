// Files on the camera against the fake camera: the lopsided mode words of
// search and transfer, the download address taken from the socket, and the
// multi-pass file list with its name split, block layout and bounds.
#include <string>
#include <vector>

#include "ParamTestSupport.h"

using namespace kovo::test;

namespace {

QUERY_FILE search(int mode) {
    QUERY_FILE q{};
    q.nFileType = 1;
    q.nMode = mode;
    q.nAlarmType = 2;
    fill(q.szStartTime, "18:00:00");
    fill(q.szEndTime, "08:00:00");  // the order of the two is not checked
    return q;
}

FTP_BATCHFILES batch(int mode) {
    FTP_BATCHFILES b{};
    b.nFileType = 2;
    b.nMode = mode;
    b.nAlarmType = 1;
    fill(b.szStartTime, "anything");  // no format check
    fill(b.szEndTime, "12:00:00");
    b.nFileOption = 3;
    return b;
}

TEST(FileParams, SetLines) {
    const std::string k256(256, 'n');
    runSetLinesCases({
        {"search: mode 2 is Normal",
         [](long id) { QUERY_FILE q = search(2); return Kovo_QueryFile(id, &q); },
         {"QueryRecordFileType: JPEG", "QueryRecordMode: Normal", "QueryRecordAlarmType: MD",
          "QueryRecordStartTime: 18:00:00", "QueryRecordEndTime: 08:00:00"}},
        {"search: mode 1 is Alarm, other types AVI and All",
         [](long id) {
             QUERY_FILE q = search(1);
             q.nFileType = 0;
             q.nAlarmType = 3;
             return Kovo_QueryFile(id, &q);
         },
         {"QueryRecordFileType: AVI", "QueryRecordMode: Alarm", "QueryRecordAlarmType: All",
          "QueryRecordStartTime: 18:00:00", "QueryRecordEndTime: 08:00:00"}},
        {"transfer: mode 2 is Alarm",
         [](long id) { FTP_BATCHFILES b = batch(2); return Kovo_UploadBatchFiles(id, &b); },
         {"TransferFileFileType: AVI", "TransferFileMode: Alarm", "TransferFileAlarmType: IO",
          "TransferFileStartTime: anything", "TransferFileEndTime: 12:00:00", "TransferFileOption: Remain"}},
        {"transfer: mode 0 is Normal, option 0 Delete",
         [](long id) {
             FTP_BATCHFILES b = batch(0);
             b.nFileOption = 0;
             return Kovo_UploadBatchFiles(id, &b);
         },
         {"TransferFileFileType: AVI", "TransferFileMode: Normal", "TransferFileAlarmType: IO",
          "TransferFileStartTime: anything", "TransferFileEndTime: 12:00:00", "TransferFileOption: Delete"}},
        {"single transfer: a full 256-byte name goes whole",
         [k256](long id) {
             FTP_SINGLEFILE f{};
             fill(f.szFileName, k256);
             f.nFileOption = 1;
             return Kovo_UploadSingleFile(id, &f);
         },
         {"TransferFileName: " + k256, "TransferFileOption: Remain"}},
        {"delete", [](long id) { FTP_DELETEFILE d{}; fill(d.szFileName, "old.avi"); return Kovo_DeleteFile(id, &d); },
         {"DeleteFile: old.avi"}},
        {"download target: this end's address, nEnable not sent",
         [](long id) { DOWNLOAD_CONFIG c{0, 65535}; return Kovo_SetDownloadConfig(id, &c); },
         {"ManualDownloadIP: 127.0.0.1", "ManualDownloadPort: 65535"}},
    });
}

TEST(FileParams, GetDownloadConfigReadsOnlyThePort) {
    runGetCases({
        {"port only", {"ManualDownloadIP", "ManualDownloadPort"},
         {"ManualDownloadIP: 10.9.9.9", "ManualDownloadPort: 8080"},
         [](long id) {
             DOWNLOAD_CONFIG c{7, 1};
             ASSERT_EQ(Kovo_GetDownloadConfig(id, &c), 0);
             EXPECT_EQ(c.nEnable, 7);
             EXPECT_EQ(c.nPort, 8080);
         }},
    });
}

TEST(FileParams, DownloadAddressIsEmptyOnceTheConnectionIsGone) {
    LoggedInCamera cam;
    ASSERT_GT(cam.id, 0);
    cam.cam.queue("GET_PARAMETER", Reply::closeConnection());
    DOWNLOAD_CONFIG c{0, 9000};
    EXPECT_EQ(Kovo_GetDownloadConfig(cam.id, &c), -2);
    StdoutCapture out;
    EXPECT_EQ(Kovo_SetDownloadConfig(cam.id, &c), -2);
    EXPECT_NE(out.text().find("\r\nManualDownloadIP: \r\nManualDownloadPort: 9000\r\n"), std::string::npos);
}

// ---- File list -------------------------------------------------------------

Reply listPass(const std::string& names, int remaining) {
    return Reply::ok({"QueryRecordFileList: " + names, "QueryRemainFileCount: " + std::to_string(remaining)});
}

std::vector<std::string> entries(char** list, int count) {
    std::vector<std::string> names;
    const char* bytes = reinterpret_cast<const char*>(list);
    for (int i = 0; i < count; ++i) names.emplace_back(bytes + i * KOVO_FILE_LIST_ENTRY_SIZE);
    return names;
}

struct ListCase {
    const char* name;
    std::vector<Reply> passes;
    std::vector<std::string> expected;  // empty: nothing handed out
    const char* lastTrace;
};

TEST(FileParams, QueryFileListPasses) {
    const ListCase cases[] = {
        {"an unterminated last name is dropped", {listPass("a.avi# b.avi# c.avi", 0)}, {"a.avi", "b.avi"},
         "QueryFileList Successfully\n"},
        {"two blanks give an empty name", {listPass("a.avi#  b.avi# ", -1)}, {"a.avi", "", "b.avi"},
         "QueryFileList Successfully\n"},
        {"two passes, names in order", {listPass("1.avi# 2.avi# 3.avi# ", 3), listPass("4.jpg# 5.jpg# ", 0)},
         {"1.avi", "2.avi", "3.avi", "4.jpg", "5.jpg"}, "QueryFileList Successfully\n"},
        {"three passes", {listPass("a# ", 2), listPass("b# ", 1), listPass("c# d#", 0)}, {"a", "b", "c"},
         "QueryFileList Successfully\n"},
        {"a failed later pass keeps the earlier names", {listPass("a# ", 1), Reply::status_(500)}, {"a"},
         "QueryFileList Successfully\n"},
        {"a pass without the count ends the collection",
         {listPass("a# ", 1), Reply::ok({"QueryRecordFileList: b# "})}, {"a"}, "QueryFileList Successfully\n"},
        {"nothing but a last unterminated name", {listPass("only.avi", 0)}, {}, "QueryFileList Successfully\n"},
    };
    for (const ListCase& c : cases) {
        SCOPED_TRACE(c.name);
        LoggedInCamera cam;
        ASSERT_GT(cam.id, 0);
        for (const Reply& pass : c.passes) cam.cam.queue("GET_PARAMETER", pass);
        int count = -7;
        char** list = nullptr;
        EXPECT_EQ(Kovo_QueryFileList(cam.id, &count, &list), 0);

        const auto requests = cam.cam.requests();
        ASSERT_EQ(requests.size(), c.passes.size());
        for (const Request& request : requests) {
            EXPECT_EQ(request.method, "GET_PARAMETER");
            EXPECT_EQ(paramLines(request), afterContentType({"QueryRecordFileList", "QueryRemainFileCount"}));
        }
        if (c.expected.empty()) {
            EXPECT_EQ(count, -7);
            EXPECT_EQ(list, nullptr);
            continue;
        }
        ASSERT_EQ(count, static_cast<int>(c.expected.size()));
        ASSERT_NE(list, nullptr);
        EXPECT_EQ(entries(list, count), c.expected);
        delete[] list;
    }
}

TEST(FileParams, QueryFileListFailedFirstPassTouchesNothing) {
    const struct {
        const char* name;
        Reply reply;
        const char* trace;
    } cases[] = {
        {"status 400", Reply::status_(400), "QueryFileList[%d] request failed.\n"},
        {"no count", Reply::ok({"QueryRecordFileList: a# "}), "QueryFileList[%d] request OK but no info get .\n"},
        {"no list", Reply::ok({"QueryRemainFileCount: 0"}), "QueryFileList[%d] request OK but no info get .\n"},
    };
    LoggedInCamera cam;
    ASSERT_GT(cam.id, 0);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        cam.cam.queue("GET_PARAMETER", c.reply);
        int count = 5;
        char** list = reinterpret_cast<char**>(&count);
        StdoutCapture out;
        EXPECT_EQ(Kovo_QueryFileList(cam.id, &count, &list), 0);
        const std::string traces = tracesOnly(out.text());
        EXPECT_EQ(count, 5);
        EXPECT_EQ(list, reinterpret_cast<char**>(&count));
        EXPECT_TRUE(isTrace(traces, std::string(c.trace) + "\r\nQueryFileList Successfully\n")) << traces;
    }
}

TEST(FileParams, QueryFileListStopsACameraThatNeverRunsOut) {
    LoggedInCamera cam;
    ASSERT_GT(cam.id, 0);
    // 512 names per pass, always "one more to come".
    std::string names;
    for (int i = 0; i < 512; ++i) names += "f" + std::to_string(i % 10) + ".avi# ";
    cam.cam.onMethod("GET_PARAMETER", listPass(names, 1));
    int count = 0;
    char** list = nullptr;
    StdoutCapture out;
    EXPECT_EQ(Kovo_QueryFileList(cam.id, &count, &list), 0);
    const std::string traces = tracesOnly(out.text());
    EXPECT_EQ(count, 100000);
    EXPECT_EQ(cam.cam.requestCount(), 196u);  // ceil(100000 / 512)
    EXPECT_NE(traces.find("100000"), std::string::npos) << traces;
    ASSERT_NE(list, nullptr);
    const char* bytes = reinterpret_cast<const char*>(list);
    EXPECT_STREQ(bytes + 99999 * KOVO_FILE_LIST_ENTRY_SIZE, "f9.avi");
    Kovo_FreeFileList(list);
}

TEST(FileParams, QueryFileListKeepsOverlongNamesInsideTheirEntry) {
    LoggedInCamera cam;
    ASSERT_GT(cam.id, 0);
    const std::string longName(1500, 'L');
    cam.cam.queue("GET_PARAMETER", listPass(longName + " next ", 0));
    int count = 0;
    char** list = nullptr;
    EXPECT_EQ(Kovo_QueryFileList(cam.id, &count, &list), 0);
    ASSERT_EQ(count, 2);
    EXPECT_EQ(entries(list, count),
              (std::vector<std::string>{longName.substr(0, KOVO_FILE_LIST_ENTRY_SIZE - 1), "next"}));
    Kovo_FreeFileList(list);
    Kovo_FreeFileList(nullptr);
}

TEST(FileParams, QueryFileListWithoutOutputsStillAnswers) {
    LoggedInCamera cam;
    ASSERT_GT(cam.id, 0);
    cam.cam.queue("GET_PARAMETER", listPass("a# ", 0));
    EXPECT_EQ(Kovo_QueryFileList(cam.id, nullptr, nullptr), 0);
}

TEST(FileParams, Rejections) {
    runRejectCases({
        {"search empty start", [](long id) { QUERY_FILE q = search(0); q.szStartTime[0] = 0; return Kovo_QueryFile(id, &q); },
         -1, "QueryFile[%d] invalid time.\n"},
        {"search bad format, before the lookup",
         [](long) { QUERY_FILE q = search(0); fill(q.szEndTime, "24:00:00"); return Kovo_QueryFile(kUnknownId, &q); },
         -1, "QueryFile[%d] bad time format.\n"},
        {"search null", [](long id) { return Kovo_QueryFile(id, nullptr); }, -1, "QueryFile[%d] invalid input.\n"},
        {"list id 0", [](long) { int n; char** l; return Kovo_QueryFileList(0, &n, &l); }, -1,
         "QueryFileList[%d] invalid input.\n"},
        {"list unknown", [](long) { int n; char** l; return Kovo_QueryFileList(kUnknownId, &n, &l); }, -3,
         "QueryFileList[%d] device null.\n"},
        {"delete empty name", [](long id) { FTP_DELETEFILE d{}; return Kovo_DeleteFile(id, &d); }, -1,
         "DeleteFile[%d] invalid file.\n"},
        {"single empty name", [](long id) { FTP_SINGLEFILE f{}; return Kovo_UploadSingleFile(id, &f); }, -1,
         "UploadSingleFile[%d] invalid file.\n"},
        {"single null", [](long id) { return Kovo_UploadSingleFile(id, nullptr); }, -1,
         "UploadSingleFile[%d] invalid input.\n"},
        {"batch empty end", [](long id) { FTP_BATCHFILES b = batch(0); b.szEndTime[0] = 0; return Kovo_UploadBatchFiles(id, &b); },
         -1, "UploadBatchFiles[%d] invalid file.\n"},
        {"download port 65536, before the lookup",
         [](long) { DOWNLOAD_CONFIG c{1, 65536}; return Kovo_SetDownloadConfig(kUnknownId, &c); }, -1,
         "SetDownloadConfig[%d] invalid port.\n"},
        {"download port -1", [](long id) { DOWNLOAD_CONFIG c{1, -1}; return Kovo_SetDownloadConfig(id, &c); }, -1,
         "SetDownloadConfig[%d] invalid port.\n"},
    });
}

TEST(FileParams, SharedOutcomes) {
    runExportCases({
        setCase("QueryFile", [](long id) { QUERY_FILE q = search(0); return Kovo_QueryFile(id, &q); },
                "QueryFile[%d] failed.\n", "QueryFile Successfully\n"),
        setCase("DeleteFile", [](long id) { FTP_DELETEFILE d{}; fill(d.szFileName, "x"); return Kovo_DeleteFile(id, &d); },
                "DeleteFile[%d] upload single file failed.\n", "DeleteFile Successfully\n"),
        setCase("UploadSingleFile",
                [](long id) { FTP_SINGLEFILE f{}; fill(f.szFileName, "x"); return Kovo_UploadSingleFile(id, &f); },
                "UploadSingleFile[%d] upload single file failed.\n", "UploadSingleFile Successfully\n"),
        setCase("UploadBatchFiles", [](long id) { FTP_BATCHFILES b = batch(0); return Kovo_UploadBatchFiles(id, &b); },
                "UploadBatchFiles[%d] upload single file failed.\n", "UploadBatchFiles Successfully\n"),
        setCase("SetDownloadConfig", [](long id) { DOWNLOAD_CONFIG c{}; return Kovo_SetDownloadConfig(id, &c); },
                "SetDownloadConfig failed.\n", "SetDownloadConfig Successfully\n"),
        getCase<DOWNLOAD_CONFIG>("GetDownloadConfig", Kovo_GetDownloadConfig, "GetDownloadConfig failed.\n",
                                 "GetDownloadConfig Successfully\n"),
    });
}

}  // namespace
