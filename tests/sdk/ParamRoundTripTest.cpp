// The parameter exports against a fake camera that keeps what it is sent:
// every Set/Get pair round-trips a distinctive record, every export goes
// through the outcomes they all share, and the camera's own spellings that
// a round trip cannot see (misspelt keys, prefixes, selectors, commands)
// are pinned on the wire.
#include <climits>
#include <string>
#include <vector>

#include "ParamPairTable.h"
#include "ParamTestSupport.h"

using namespace kovo::test;

namespace {

const ParamPair& pairNamed(const std::string& name) {
    static const std::vector<ParamPair> pairs = paramPairs();
    for (const ParamPair& p : pairs)
        if (p.name == name) return p;
    throw std::invalid_argument(name);
}

TEST(ParamRoundTrip, EverySetReadsBackWholeThroughItsGet) {
    LoggedInCamera cam;
    ASSERT_GT(cam.id, 0);
    for (const ParamPair& p : paramPairs()) {
        SCOPED_TRACE(p.name);
        cam.cam.keepSettings();
        std::string record = p.start;
        EXPECT_EQ(p.get(cam.id, record.data()), 0);
        EXPECT_EQ(record, p.start) << "a reply without the keys changes nothing";
        cam.cam.keepSettings(p.seed);
        std::string sent = p.sent;
        if (p.set) EXPECT_EQ(p.set(cam.id, sent.data()), 0);
        EXPECT_EQ(p.get(cam.id, record.data()), 0);
        EXPECT_EQ(record, p.expected);
        // A reply that is not exactly 200 is not read, whatever it carries.
        Reply refused = Reply::status_(201, "Created");
        refused.headers = p.seed;
        for (const Request& r : cam.cam.requests("SET_PARAMETER")) refused.headers = paramLines(r);
        cam.cam.queue("GET_PARAMETER", refused);
        record = p.start;
        EXPECT_EQ(p.get(cam.id, record.data()), -2);
        EXPECT_EQ(record, p.start);
        cam.cam.clearRequests();
    }
}

// A command: the lines it sends after "Content-type".
struct Command {
    std::string name;
    std::function<long(long id, bool nullRecord)> call;
    std::vector<std::string> lines;
    long noDevice = -3;
};

template <typename R>
std::function<long(long, bool)> with(long (*f)(long, R*), R record) {
    return [f, record](long id, bool null) mutable { return f(id, null ? nullptr : &record); };
}

std::vector<Command> commands() {
    std::vector<Command> list = {
        {"transparent", [](long id, bool null) {
             unsigned char bytes[] = {0xFF, 0x01, 0x00, 0xab};
             return Kovo_TransparentTransfer(id, 0, null ? nullptr : bytes, 4);
         }, {"PTZCmdRawDataTransfer: FF0100AB"}},
        {"auxiliary Manual", [](long id, bool null) {
             char mode[] = "Manual";
             return Kovo_AuxilControl(id, 4, null ? nullptr : mode, 9);
         }, {"Aux_Ctrl: 4, Manual, 9"}},
        {"auxiliary other mode", [](long id, bool null) {
             char mode[] = "manual";
             return Kovo_AuxilControl(id, 4, null ? nullptr : mode, 9);
         }, {"Aux_Ctrl: 4, manual"}},
        {"reboot", [](long id, bool null) { return null ? -1 : Kovo_RebootDevice(id); }, {"SysManage: reboot"}},
        {"remote snap", with(Kovo_RemoteSnap, REMOTE_SNAP{"snap.jpg", 3, 100}),
         {"RemoteSnapJpegFileName: snap.jpg", "RemoteSnapJpegNum: 3", "RemoteSnapJpegQuality: 100"}},
        {"remote record", with(Kovo_SetRemoteRecordConfig, REMOTE_RECORD_CONFIG{"clip.avi", 9}),
         {"RemoteRecordFileName: clip.avi", "RemoteRecordCmd: ON"}},
        {"search: mode 2 is Normal", with(Kovo_QueryFile, QUERY_FILE{1, 2, 2, "18:00:00", "08:00:00"}),
         {"QueryRecordFileType: JPEG", "QueryRecordMode: Normal", "QueryRecordAlarmType: MD",
          "QueryRecordStartTime: 18:00:00", "QueryRecordEndTime: 08:00:00"}},
        {"search: mode 1 is Alarm", with(Kovo_QueryFile, QUERY_FILE{0, 1, 3, "08:00:00", "09:00:00"}),
         {"QueryRecordFileType: AVI", "QueryRecordMode: Alarm", "QueryRecordAlarmType: All",
          "QueryRecordStartTime: 08:00:00", "QueryRecordEndTime: 09:00:00"}},
        {"transfer: mode 2 is Alarm", with(Kovo_UploadBatchFiles, FTP_BATCHFILES{2, 2, 1, "any", "12:00:00", 3}),
         {"TransferFileFileType: AVI", "TransferFileMode: Alarm", "TransferFileAlarmType: IO",
          "TransferFileStartTime: any", "TransferFileEndTime: 12:00:00", "TransferFileOption: Remain"}},
        {"transfer: mode 0 is Normal", with(Kovo_UploadBatchFiles, FTP_BATCHFILES{1, 0, 2, "a", "b", 0}),
         {"TransferFileFileType: JPEG", "TransferFileMode: Normal", "TransferFileAlarmType: MD",
          "TransferFileStartTime: a", "TransferFileEndTime: b", "TransferFileOption: Delete"}},
        {"single transfer", with(Kovo_UploadSingleFile, FTP_SINGLEFILE{"x.avi", 1}),
         {"TransferFileName: x.avi", "TransferFileOption: Remain"}},
        {"delete", with(Kovo_DeleteFile, FTP_DELETEFILE{"old.avi"}), {"DeleteFile: old.avi"}},
        {"download target: this end's address", with(Kovo_SetDownloadConfig, DOWNLOAD_CONFIG{0, 65535}),
         {"ManualDownloadIP: 127.0.0.1", "ManualDownloadPort: 65535"}},
    };
    const struct {
        long command, parameter;
        const char* line;
    } ptz[] = {
        {10, 5, "direction: up, 5"},       {11, 5, "direction: down, 5"},       {12, 1, "direction: left, 1"},
        {13, 7, "direction: right, 7"},    {16, 5, "zoom: tele, 5"},            {17, 5, "zoom: wide, 5"},
        {18, 5, "focus: near, 5"},         {19, 5, "focus: far, 5"},            {22, 3, "PresetSet: 3"},
        {23, 3, "PresetCall: 3"},          {26, 5, "direction: left-up, 5"},    {27, 5, "direction: left-down, 5"},
        {28, 5, "direction: right-up, 5"}, {29, 5, "direction: right-down, 5"}, {30, 0, "stop: 0"},
        {64, 1, "Compose: 1"},             {75, 3, "PresetDelete: 3"},          {10, -2, "direction: up, -2"},
    };
    for (const auto& c : ptz) {
        list.push_back({c.line, [c](long id, bool null) { return null ? -1 : Kovo_PTZControl(id, -1, c.command, c.parameter); },
                        {c.line}, 3});
    }
    return list;
}

TEST(ParamRoundTrip, CommandsSendTheCamerasWords) {
    LoggedInCamera cam;
    ASSERT_GT(cam.id, 0);
    for (const Command& c : commands()) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.call(cam.id, false), 0);
        std::vector<std::string> expected{kContentType};
        expected.insert(expected.end(), c.lines.begin(), c.lines.end());
        EXPECT_EQ(cam.onlyRequestLines(), expected);
    }
}

// Ids 0 and below and a null record are refused and an id without a device
// answered before anything is sent; a status other than exactly 200 fails
// and leaves the caller's record as it was.
TEST(ParamRoundTrip, SharedOutcomesOfEveryExport) {
    LoggedInCamera cam;
    ASSERT_GT(cam.id, 0);
    cam.cam.keepSettings();
    auto outcomes = [&](const char* method, const RecordCall& call, const std::string& record, long noDevice) {
        std::string r = record;
        for (long id : {0L, LONG_MIN}) EXPECT_EQ(call(id, r.data()), -1);
        EXPECT_EQ(call(kUnknownId, r.data()), noDevice);
        EXPECT_EQ(call(cam.id, nullptr), -1);
        EXPECT_EQ(cam.cam.requestCount(), 0u);
        cam.cam.queue(method, Reply::status_(201, "Created"));
        EXPECT_EQ(call(cam.id, r.data()), -2);
        EXPECT_EQ(r, record);
        EXPECT_EQ(cam.cam.requestCount(), 1u);
        cam.cam.clearRequests();
    };
    for (const ParamPair& p : paramPairs()) {
        SCOPED_TRACE(p.name);
        if (p.set) outcomes("SET_PARAMETER", p.set, p.sent, p.noDevice);
        outcomes("GET_PARAMETER", p.get, p.start, p.noDevice);
    }
    for (const Command& c : commands()) {
        SCOPED_TRACE(c.name);
        outcomes("SET_PARAMETER", [&c](long id, void* r) { return c.call(id, r == nullptr); }, "", c.noDevice);
    }
}

// What a round trip cannot tell: the camera's misspelt keys, the prefixes
// of the shared link block, and the selector lines naming an item.
TEST(ParamRoundTrip, CamerasOwnSpellings) {
    const struct {
        const char* pair;
        bool get;
        std::string line;
    } rows[] = {
        {"MultiVideoChannel", false, "MutilVideoChannelD1: ON"}, {"HomeFunction", false, "HomeFuction: ON"},
        {"HomeFunction", true, "HomeFuctionIdle"}, {"WiFiConfig", false, "WiFi_Gratewall: 192.168.1.1"},
        {"Watchdog", false, "Q771WatdogConfig: ON"}, {"StorageInfo", true, "StorageDeviceIdleCapbility"},
        {"MDLinkConfig", false, "MotionDetectLinkOutputMode: N.C"},
        {"AlarmConfig", false, "AlarmLinkLocalSnapEmailEnable: OFF"},
        {"NetDownConfig", false, "NetworkDownLinkOutputKeepTime: 86400"}, {"ChannelAttribute", false, "EncStream: 1"},
        {"ChannelAttribute", true, "EncStream_01"}, {"MDConfig", false, "MotionDetectAreaNumber: 2"},
        {"MDConfig", true, "MotionDetectAreaNumber_2"}, {"MDConfig", false, "MotionDetectArea: 10, 20, 640, 480"},
        {"AlarmInConfig", true, "AlarmInputPort_3"}, {"AlarmOutConfig", false, "AlarmOutputPort: 2"},
        {"SMTPNotify", true, "SMTP_Index_3"}, {"SerialPortConfig", true, "ComId: 3"},
        {"SerialPortConfig", false, "Protocol: PELCO_P"}, {"AudioAttribute", false, "AudioEncodeType: G729"},
        {"OSDTitle", false, "TitleAttrib: Black, 10, 100"},
    };
    LoggedInCamera cam;
    ASSERT_GT(cam.id, 0);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        const ParamPair& p = pairNamed(row.pair);
        std::string record = row.get ? p.start : p.sent;
        (row.get ? p.get : p.set)(cam.id, record.data());
        const auto lines = cam.onlyRequestLines();
        EXPECT_NE(std::find(lines.begin(), lines.end(), row.line), lines.end());
    }
}

}  // namespace
