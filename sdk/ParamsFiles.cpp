// Files stored on the camera: search and listing, deletion, transfer to the
// camera's FTP server, and the target of manual downloads.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "rtsp/rtsp.h"
#include "sdk/ParamsCommon.h"

using namespace kovo::param;

namespace {

constexpr const char* kFileTypeNames[] = {"AVI", "JPEG"};
constexpr Words kFileTypeWords = words(kFileTypeNames, 0, 0);
constexpr const char* kAlarmTypeNames[] = {"All", "IO", "MD"};
constexpr Words kAlarmTypeWords = words(kAlarmTypeNames, 0, 0);
constexpr const char* kModeNames[] = {"Normal", "Alarm"};
// A search asks for alarm files only with mode 1; a transfer with any non-zero mode.
constexpr Words kSearchModeWords = words(kModeNames, 0, 0);
constexpr Words kTransferModeWords = words(kModeNames, 1, 0);
constexpr const char* kFileOptionNames[] = {"Delete", "Remain"};
constexpr Words kFileOptionWords = words(kFileOptionNames, 1, 0);

const Field kQueryFields[] = {
    KOVO_WORD_FIELD(QUERY_FILE, nFileType, "QueryRecordFileType", Word, &kFileTypeWords),
    KOVO_WORD_FIELD(QUERY_FILE, nMode, "QueryRecordMode", Word, &kSearchModeWords),
    KOVO_WORD_FIELD(QUERY_FILE, nAlarmType, "QueryRecordAlarmType", Word, &kAlarmTypeWords),
    KOVO_FIELD(QUERY_FILE, szStartTime, "QueryRecordStartTime", Text),
    KOVO_FIELD(QUERY_FILE, szEndTime, "QueryRecordEndTime", Text),
};

const Field kBatchFields[] = {
    KOVO_WORD_FIELD(FTP_BATCHFILES, nFileType, "TransferFileFileType", Word, &kFileTypeWords),
    KOVO_WORD_FIELD(FTP_BATCHFILES, nMode, "TransferFileMode", Word, &kTransferModeWords),
    KOVO_WORD_FIELD(FTP_BATCHFILES, nAlarmType, "TransferFileAlarmType", Word, &kAlarmTypeWords),
    KOVO_FIELD(FTP_BATCHFILES, szStartTime, "TransferFileStartTime", Text),
    KOVO_FIELD(FTP_BATCHFILES, szEndTime, "TransferFileEndTime", Text),
    KOVO_WORD_FIELD(FTP_BATCHFILES, nFileOption, "TransferFileOption", Word, &kFileOptionWords),
};

const Field kSingleFields[] = {
    KOVO_FIELD(FTP_SINGLEFILE, szFileName, "TransferFileName", Text),
    KOVO_WORD_FIELD(FTP_SINGLEFILE, nFileOption, "TransferFileOption", Word, &kFileOptionWords),
};

const Field kDeleteFields[] = {
    KOVO_FIELD(FTP_DELETEFILE, szFileName, "DeleteFile", Text),
};

const char kDownloadIPKey[] = "ManualDownloadIP";
const char kDownloadPortKey[] = "ManualDownloadPort";

const char kFileListKey[] = "QueryRecordFileList";
const char kRemainKey[] = "QueryRemainFileCount";

// Names kept at most, whatever the camera keeps announcing.
constexpr size_t kMaxListedFiles = 100000;
constexpr size_t kEntrySize = KOVO_FILE_LIST_ENTRY_SIZE;

const Messages kQuery = {"QueryFile[%d] invalid input.\n", "QueryFile[%d] device null.\n",
                         "QueryFile[%d] failed.\n", "QueryFile Successfully\n"};
const Messages kList = {"QueryFileList[%d] invalid input.\n", "QueryFileList[%d] device null.\n",
                        "QueryFileList[%d] request failed.\n", "QueryFileList Successfully\n"};
const Messages kDelete = {"DeleteFile[%d] invalid input.\n", "DeleteFile[%d] device null.\n",
                          "DeleteFile[%d] upload single file failed.\n", "DeleteFile Successfully\n"};
const Messages kSingle = {"UploadSingleFile[%d] invalid input.\n", "UploadSingleFile[%d] device null.\n",
                          "UploadSingleFile[%d] upload single file failed.\n", "UploadSingleFile Successfully\n"};
const Messages kBatch = {"UploadBatchFiles[%d] invalid input.\n", "UploadBatchFiles[%d] device null.\n",
                         "UploadBatchFiles[%d] upload single file failed.\n", "UploadBatchFiles Successfully\n"};
const Messages kSetDownload = {"SetDownloadConfig[%d] invalid input.\n", "SetDownloadConfig[%d] device null.\n",
                               "SetDownloadConfig failed.\n", "SetDownloadConfig Successfully\n"};
const Messages kGetDownload = {"GetDownloadConfig[%d] invalid input.\n", "GetDownloadConfig[%d] device null.\n",
                               "GetDownloadConfig failed.\n", "GetDownloadConfig Successfully\n"};

long refuse(const char* text, int line) { return traceAndReturn(text, line, kInvalidArg); }

// Names in a list answer end with a blank; '#' marks are dropped. A name
// still open at the end of the text is incomplete and is dropped too.
void splitFileNames(const char* text, std::vector<std::string>& names) {
    std::string current;
    for (const char* c = text; *c; ++c) {
        if (*c == ' ') {
            names.push_back(std::move(current));
            current.clear();
        } else if (*c != '#') {
            current.push_back(*c);
        }
    }
}

// Collects names pass by pass while the camera reports more to come; a
// failed pass ends the collection but not the call.
void collectFileNames(Exchange& ex, std::vector<std::string>& names) {
    for (size_t pass = 0; pass < kMaxListedFiles; ++pass) {
        ex.addLine(kFileListKey);
        ex.addLine(kRemainKey);
        if (ex.send(false) != 200) {
            KovoTrace(kList.failed, __LINE__);
            return;
        }
        const char* list = ex.answer(kFileListKey);
        const char* remain = ex.answer(kRemainKey);
        if (!list || !remain) {
            KovoTrace("QueryFileList[%d] request OK but no info get .\n", __LINE__);
            return;
        }
        splitFileNames(list, names);
        if (names.size() >= kMaxListedFiles) {
            if (names.size() > kMaxListedFiles || std::atoi(remain) >= 1)
                KovoTrace("QueryFileList: list cut at %d names\n", static_cast<int>(kMaxListedFiles));
            names.resize(kMaxListedFiles);
            return;
        }
        if (std::atoi(remain) < 1) return;
    }
    KovoTrace("QueryFileList: stopped after %d passes\n", static_cast<int>(kMaxListedFiles));
}

// One block of 1,024-byte entries, allocated as the char* array the caller
// receives and releases with array delete; null when memory runs out.
char** makeFileList(const std::vector<std::string>& names) {
    char** list = new (std::nothrow) char*[names.size() * kEntrySize / sizeof(char*)]();
    if (!list) {
        KovoTrace("QueryFileList: no memory for %d names\n", static_cast<int>(names.size()));
        return nullptr;
    }
    char* bytes = reinterpret_cast<char*>(list);
    for (size_t i = 0; i < names.size(); ++i) {
        size_t length = names[i].size();
        if (length >= kEntrySize) {
            KovoTrace("QueryFileList: name %d cut to %d characters\n", static_cast<int>(i),
                      static_cast<int>(kEntrySize - 1));
            length = kEntrySize - 1;
        }
        std::memcpy(bytes + i * kEntrySize, names[i].data(), length);
    }
    return list;
}

// Dotted address of this end of the connection, or "" when unknown (a
// closed connection's descriptor number may belong to another socket now).
std::string localAddress(const CConnect& conn) {
    sockaddr_in local{};
    socklen_t length = sizeof local;
    if (!conn.socketOpen || getsockname(conn.s, reinterpret_cast<sockaddr*>(&local), &length) != 0 ||
        local.sin_family != AF_INET)
        return {};
    char text[INET_ADDRSTRLEN] = {};
    if (!inet_ntop(AF_INET, &local.sin_addr, text, sizeof text)) return {};
    return text;
}

}  // namespace

long Kovo_QueryFile(long lDeviceID, QUERY_FILE* pFile) {
    if (!validDevice(lDeviceID) || !pFile) return reject(kQuery, __LINE__);
    if (!hasText(pFile->szStartTime) || !hasText(pFile->szEndTime))
        return refuse("QueryFile[%d] invalid time.\n", __LINE__);
    if (!CheckTime(pFile->szStartTime) || !CheckTime(pFile->szEndTime))
        return refuse("QueryFile[%d] bad time format.\n", __LINE__);
    return setRecord(lDeviceID, kNoChannel, pFile, kQueryFields, kQuery, __LINE__);
}

long Kovo_QueryFileList(long lDeviceID, int* count, char*** filelist) {
    if (!validDevice(lDeviceID)) return reject(kList, __LINE__);
    Exchange ex(lDeviceID);
    if (!ex.found()) return noDevice(kList, __LINE__);
    std::vector<std::string> names;
    collectFileNames(ex, names);
    if (!names.empty()) {
        if (count && filelist) {
            if (char** list = makeFileList(names)) {
                *count = static_cast<int>(names.size());
                *filelist = list;
            }
        } else {
            KovoTrace("QueryFileList: no place for the list, %d names dropped\n", static_cast<int>(names.size()));
        }
    }
    return traceAndReturn(kList.success, __LINE__, kOk);
}

void Kovo_FreeFileList(char** list) { delete[] list; }

long Kovo_DeleteFile(long lDeviceID, FTP_DELETEFILE* pDelete) {
    if (!validDevice(lDeviceID) || !pDelete) return reject(kDelete, __LINE__);
    if (!hasText(pDelete->szFileName)) return refuse("DeleteFile[%d] invalid file.\n", __LINE__);
    return setRecord(lDeviceID, kNoChannel, pDelete, kDeleteFields, kDelete, __LINE__);
}

long Kovo_UploadSingleFile(long lDeviceID, FTP_SINGLEFILE* pFile) {
    if (!validDevice(lDeviceID) || !pFile) return reject(kSingle, __LINE__);
    if (!hasText(pFile->szFileName)) return refuse("UploadSingleFile[%d] invalid file.\n", __LINE__);
    return setRecord(lDeviceID, kNoChannel, pFile, kSingleFields, kSingle, __LINE__);
}

long Kovo_UploadBatchFiles(long lDeviceID, FTP_BATCHFILES* pFiles) {
    if (!validDevice(lDeviceID) || !pFiles) return reject(kBatch, __LINE__);
    if (!hasText(pFiles->szStartTime) || !hasText(pFiles->szEndTime))
        return refuse("UploadBatchFiles[%d] invalid file.\n", __LINE__);
    return setRecord(lDeviceID, kNoChannel, pFiles, kBatchFields, kBatch, __LINE__);
}

long Kovo_SetDownloadConfig(long lDeviceID, DOWNLOAD_CONFIG* pConfig) {
    if (!validDevice(lDeviceID) || !pConfig) return reject(kSetDownload, __LINE__);
    if (!inRange(pConfig->nPort, 0, 65535)) return refuse("SetDownloadConfig[%d] invalid port.\n", __LINE__);
    Exchange ex(lDeviceID);
    if (!ex.found()) return noDevice(kSetDownload, __LINE__);
    // Downloads go to the address at which this client reaches the camera.
    ex.addLine(std::string(kDownloadIPKey) + ": " + localAddress(*ex.connection()));
    ex.addLine(std::string(kDownloadPortKey) + ": " + std::to_string(pConfig->nPort));
    return ex.finishSet(kSetDownload, __LINE__);
}

long Kovo_GetDownloadConfig(long lDeviceID, DOWNLOAD_CONFIG* pConfig) {
    if (!validDevice(lDeviceID) || !pConfig) return reject(kGetDownload, __LINE__);
    Exchange ex(lDeviceID);
    if (!ex.found()) return noDevice(kGetDownload, __LINE__);
    ex.addLine(kDownloadIPKey);
    ex.addLine(kDownloadPortKey);
    if (ex.send(false) != 200) return traceAndReturn(kGetDownload.failed, __LINE__, kFailed);
    // The address answer is the camera's echo of ours; only the port is kept.
    if (const char* value = ex.answer(kDownloadPortKey)) pConfig->nPort = std::atoi(value);
    return traceAndReturn(kGetDownload.success, __LINE__, kOk);
}
