// Storage and recording against the fake camera: the value words of the
// storage mode and control, the 32-byte bound of the description, the
// schedule checks and the remote commands.
#include <string>

#include "ParamTestSupport.h"

using namespace kovo::test;

namespace {

LOCAL_RECORD_PARAM recordSchedule() {
    LOCAL_RECORD_PARAM r{};
    r.nEnable = 1;
    fill(r.szStartTime, "08:00:00");
    fill(r.szEndTime, "12:00:00");
    return r;
}

LOCAL_SCHEDULE_SNAP_PARAM snapSchedule() {
    LOCAL_SCHEDULE_SNAP_PARAM s{};
    s.nInterval = 6000;
    s.nQuality = 1;
    return s;
}

REMOTE_SNAP remoteSnap() {
    REMOTE_SNAP s{};
    fill(s.szJpegFileName, "snap.jpg");
    s.nJpegNum = 3;
    s.nJpegQuality = 100;
    return s;
}

TEST(StorageParams, SetLines) {
    const std::string k256(256, 'f');
    runSetLinesCases({
        {"mode once", [](long id) { STORAGE_DEVICE_MODE m{1, 1}; return Kovo_SetStorageMode(id, &m); },
         {"LocalStoreEnable: ON", "LocalStoreSequence: once"}},
        {"mode 2 is recycle", [](long id) { STORAGE_DEVICE_MODE m{0, 2}; return Kovo_SetStorageMode(id, &m); },
         {"LocalStoreEnable: OFF", "LocalStoreSequence: recycle"}},
        {"control 0", [](long id) { STORAGE_DEVICE_CONTROL c{0}; return Kovo_SetStorageControl(id, &c); },
         {"StorageDeviceCtrl: Format"}},
        {"control 1", [](long id) { STORAGE_DEVICE_CONTROL c{1}; return Kovo_SetStorageControl(id, &c); },
         {"StorageDeviceCtrl: Plug-In"}},
        {"control 2", [](long id) { STORAGE_DEVICE_CONTROL c{2}; return Kovo_SetStorageControl(id, &c); },
         {"StorageDeviceCtrl: Un-Plug"}},
        {"record schedule, second period left out",
         [](long id) { LOCAL_RECORD_PARAM r = recordSchedule(); return Kovo_SetLocalRecordParam(id, &r); },
         {"LocalStorageScheduleEnable: ON", "LocalStorageScheduleStartTime: 08:00:00",
          "LocalStorageScheduleEndTime: 12:00:00", "LocalStorageScheduleEnable2: OFF",
          "LocalStorageScheduleStartTime2: ", "LocalStorageScheduleEndTime2: ", "LocalStorageScheduleEmailEnable: OFF"}},
        {"record schedule off: nonsense times unchecked",
         [](long id) {
             LOCAL_RECORD_PARAM r{};
             r.nEnable2 = 1;
             r.nEmailEnable = 1;
             fill(r.szStartTime, "xx");
             fill(r.szEndTime2, "99:99:99");
             return Kovo_SetLocalRecordParam(id, &r);
         },
         {"LocalStorageScheduleEnable: OFF", "LocalStorageScheduleStartTime: xx", "LocalStorageScheduleEndTime: ",
          "LocalStorageScheduleEnable2: ON", "LocalStorageScheduleStartTime2: ",
          "LocalStorageScheduleEndTime2: 99:99:99", "LocalStorageScheduleEmailEnable: ON"}},
        {"snap schedule: times unchecked",
         [](long id) {
             LOCAL_SCHEDULE_SNAP_PARAM s = snapSchedule();
             s.nEnable = 1;
             fill(s.szStartTime, "late");
             s.nFtpEnable = 1;
             return Kovo_SetLocalScheduleSnapParam(id, &s);
         },
         {"LocalScheduleSnapEnable: ON", "LocalScheduleSnapStartTime: late", "LocalScheduleSnapEndTime: ",
          "LocalScheduleSnapEnable2: OFF", "LocalScheduleSnapStartTime2: ", "LocalScheduleSnapEndTime2: ",
          "LocalScheduleSnapIntervalTime: 6000", "LocalScheduleSnapJpegQuality: 1", "LocalScheduleSnapFtpEnable: ON",
          "LocalScheduleSnapEmailEnable: OFF"}},
        {"remote snap", [](long id) { REMOTE_SNAP s = remoteSnap(); return Kovo_RemoteSnap(id, &s); },
         {"RemoteSnapJpegFileName: snap.jpg", "RemoteSnapJpegNum: 3", "RemoteSnapJpegQuality: 100"}},
        {"remote snap: a full 256-byte name goes whole",
         [k256](long id) {
             REMOTE_SNAP s = remoteSnap();
             fill(s.szJpegFileName, k256);
             return Kovo_RemoteSnap(id, &s);
         },
         {"RemoteSnapJpegFileName: " + k256, "RemoteSnapJpegNum: 3", "RemoteSnapJpegQuality: 100"}},
        {"remote record start",
         [](long id) {
             REMOTE_RECORD_CONFIG r{};
             fill(r.szRemoteRecordFileName, "clip.avi");
             r.nRemoteRecordCmd = 9;
             return Kovo_SetRemoteRecordConfig(id, &r);
         },
         {"RemoteRecordFileName: clip.avi", "RemoteRecordCmd: ON"}},
        {"remote record stop with an empty name",
         [](long id) { REMOTE_RECORD_CONFIG r{}; return Kovo_SetRemoteRecordConfig(id, &r); },
         {"RemoteRecordFileName: ", "RemoteRecordCmd: OFF"}},
    });
}

TEST(StorageParams, GetConversions) {
    const std::string k100(100, 'd');
    runGetCases({
        {"mode: only exactly once is 1; enable off only for exactly OFF",
         {"LocalStoreEnable", "LocalStoreSequence"}, {"LocalStoreEnable: off", "LocalStoreSequence: Once"},
         [](long id) {
             STORAGE_DEVICE_MODE m{0, 1};
             ASSERT_EQ(Kovo_GetStorageMode(id, &m), 0);
             EXPECT_EQ(m.nEnable, 1);
             EXPECT_EQ(m.nSequenceMode, 0);
         }},
        {"mode: once", {"LocalStoreEnable", "LocalStoreSequence"}, {"LocalStoreEnable: OFF", "LocalStoreSequence: once"},
         [](long id) {
             STORAGE_DEVICE_MODE m{1, 0};
             ASSERT_EQ(Kovo_GetStorageMode(id, &m), 0);
             EXPECT_EQ(m.nEnable, 0);
             EXPECT_EQ(m.nSequenceMode, 1);
         }},
        {"control: Un-Plug", {"StorageDeviceCtrl"}, {"StorageDeviceCtrl: Un-Plug"},
         [](long id) {
             STORAGE_DEVICE_CONTROL c{0};
             ASSERT_EQ(Kovo_GetStorageControl(id, &c), 0);
             EXPECT_EQ(c.nControl, 2);
         }},
        {"control: plug-in in lower case reads 0", {"StorageDeviceCtrl"}, {"StorageDeviceCtrl: plug-in"},
         [](long id) {
             STORAGE_DEVICE_CONTROL c{1};
             ASSERT_EQ(Kovo_GetStorageControl(id, &c), 0);
             EXPECT_EQ(c.nControl, 0);
         }},
        {"info: the description bounded to 32 bytes, the rest of the array kept",
         {"StorageDeviceStatus", "StorageDeviceDescription", "StorageDeviceCapbility", "StorageDeviceIdleCapbility"},
         {"StorageDeviceStatus: ready", "StorageDeviceDescription: " + k100, "StorageDeviceCapbility: 7812500",
          "StorageDeviceIdleCapbility: 1024"},
         [k100](long id) {
             STORAGE_DEVICE_INFO info{};
             fill(info.szDescription, std::string(255, 'x'));
             ASSERT_EQ(Kovo_GetStorageInfo(id, &info), 0);
             EXPECT_EQ(textOf(info.szStatus), "ready");
             EXPECT_EQ(std::string(info.szDescription, 32), k100.substr(0, 32));
             EXPECT_EQ(textOf(info.szDescription), k100.substr(0, 32) + std::string(255 - 32, 'x'));
             EXPECT_EQ(info.lCapability, 7812500);
             EXPECT_EQ(info.lFree, 1024);
         }},
        {"record schedule: switches by the OFF rule",
         {"LocalStorageScheduleEnable", "LocalStorageScheduleStartTime", "LocalStorageScheduleEndTime",
          "LocalStorageScheduleEnable2", "LocalStorageScheduleStartTime2", "LocalStorageScheduleEndTime2",
          "LocalStorageScheduleEmailEnable"},
         {"LocalStorageScheduleEnable: on", "LocalStorageScheduleStartTime: 01:00:00",
          "LocalStorageScheduleEnable2: OFF", "LocalStorageScheduleEndTime2: 02:00:00",
          "LocalStorageScheduleEmailEnable: yes"},
         [](long id) {
             LOCAL_RECORD_PARAM r{};
             r.nEnable2 = 1;
             fill(r.szEndTime, "kept");
             ASSERT_EQ(Kovo_GetLocalRecordParam(id, &r), 0);
             EXPECT_EQ(r.nEnable, 1);
             EXPECT_EQ(textOf(r.szStartTime), "01:00:00");
             EXPECT_EQ(textOf(r.szEndTime), "kept");
             EXPECT_EQ(r.nEnable2, 0);
             EXPECT_EQ(textOf(r.szEndTime2), "02:00:00");
             EXPECT_EQ(r.nEmailEnable, 1);
         }},
        {"snap schedule: enables by the OFF rule, FTP and mail by the ON rule",
         {"LocalScheduleSnapEnable", "LocalScheduleSnapStartTime", "LocalScheduleSnapEndTime",
          "LocalScheduleSnapEnable2", "LocalScheduleSnapStartTime2", "LocalScheduleSnapEndTime2",
          "LocalScheduleSnapIntervalTime", "LocalScheduleSnapJpegQuality", "LocalScheduleSnapFtpEnable",
          "LocalScheduleSnapEmailEnable"},
         {"LocalScheduleSnapEnable: on", "LocalScheduleSnapEnable2: on", "LocalScheduleSnapIntervalTime: 30",
          "LocalScheduleSnapJpegQuality: 80", "LocalScheduleSnapFtpEnable: on", "LocalScheduleSnapEmailEnable: ON",
          "LocalScheduleSnapEndTime2: 09:00:00"},
         [](long id) {
             LOCAL_SCHEDULE_SNAP_PARAM s{};
             s.nFtpEnable = 1;
             ASSERT_EQ(Kovo_GetLocalScheduleSnapParam(id, &s), 0);
             EXPECT_EQ(s.nEnable, 1);
             EXPECT_EQ(s.nEnable2, 1);
             EXPECT_EQ(s.nInterval, 30);
             EXPECT_EQ(s.nQuality, 80);
             EXPECT_EQ(s.nFtpEnable, 0);
             EXPECT_EQ(s.nEmailEnable, 1);
             EXPECT_EQ(textOf(s.szEndTime2), "09:00:00");
         }},
    });
}

TEST(StorageParams, Rejections) {
    runRejectCases({
        {"mode id 0", [](long) { STORAGE_DEVICE_MODE m{}; return Kovo_SetStorageMode(0, &m); }, -1,
         "SetStorageMode[%d] invalid input.\n"},
        {"mode unknown", [](long) { STORAGE_DEVICE_MODE m{}; return Kovo_SetStorageMode(kUnknownId, &m); }, -3,
         "SetStorageMode[%d] device null.\n"},
        {"get mode null", [](long id) { return Kovo_GetStorageMode(id, nullptr); }, -1,
         "GetStorageMode[%d] invalid input.\n"},
        {"control 3, before the lookup",
         [](long) { STORAGE_DEVICE_CONTROL c{3}; return Kovo_SetStorageControl(kUnknownId, &c); }, -1,
         "SetStorageControl[%d] invalid control.\n"},
        {"control null", [](long id) { return Kovo_SetStorageControl(id, nullptr); }, -1,
         "SetStorageControl[%d] invalid input.\n"},
        {"get control reports as the information Get",
         [](long) { STORAGE_DEVICE_CONTROL c{}; return Kovo_GetStorageControl(kUnknownId, &c); }, -3,
         "GetStorageInfo[%d] device null.\n"},
        {"get control null", [](long id) { return Kovo_GetStorageControl(id, nullptr); }, -1,
         "GetStorageInfo[%d] invalid input.\n"},
        {"get info unknown", [](long) { STORAGE_DEVICE_INFO i{}; return Kovo_GetStorageInfo(kUnknownId, &i); }, -3,
         "GetStorageInfo[%d] device null.\n"},
        {"record: first period reversed",
         [](long id) {
             LOCAL_RECORD_PARAM r = recordSchedule();
             fill(r.szStartTime, "13:00:00");
             return Kovo_SetLocalRecordParam(id, &r);
         },
         -1, "SetLocalRecordParam[%d] time range 1 invalid.\n"},
        {"record: second period half given",
         [](long id) {
             LOCAL_RECORD_PARAM r = recordSchedule();
             fill(r.szEndTime2, "14:00:00");
             return Kovo_SetLocalRecordParam(id, &r);
         },
         -1, "SetLocalRecordParam[%d] time range 2 invalid.\n"},
        {"record: second period invalid, checked under the first switch",
         [](long) {
             LOCAL_RECORD_PARAM r = recordSchedule();
             fill(r.szStartTime2, "14:00:00");
             fill(r.szEndTime2, "13:00:00");
             return Kovo_SetLocalRecordParam(kUnknownId, &r);
         },
         -1, "SetLocalRecordParam[%d] time range 2 invalid.\n"},
        {"record unknown device",
         [](long) { LOCAL_RECORD_PARAM r = recordSchedule(); return Kovo_SetLocalRecordParam(kUnknownId, &r); }, -3,
         "SetLocalRecordParam[%d] device null.\n"},
        {"snap interval 0",
         [](long id) { LOCAL_SCHEDULE_SNAP_PARAM s = snapSchedule(); s.nInterval = 0; return Kovo_SetLocalScheduleSnapParam(id, &s); },
         -1, "SetLocalScheduleSnapParam[%d] invalid input.\n"},
        {"snap quality 101",
         [](long id) { LOCAL_SCHEDULE_SNAP_PARAM s = snapSchedule(); s.nQuality = 101; return Kovo_SetLocalScheduleSnapParam(id, &s); },
         -1, "SetLocalScheduleSnapParam[%d] invalid input.\n"},
        {"snap unknown",
         [](long) { LOCAL_SCHEDULE_SNAP_PARAM s = snapSchedule(); return Kovo_SetLocalScheduleSnapParam(kUnknownId, &s); },
         -3, "SetLocalScheduleSnapParam[%d] device null.\n"},
        {"get record null", [](long id) { return Kovo_GetLocalRecordParam(id, nullptr); }, -1,
         "GetLocalRecordParam[%d] invalid input.\n"},
        {"get snap unknown",
         [](long) { LOCAL_SCHEDULE_SNAP_PARAM s{}; return Kovo_GetLocalScheduleSnapParam(kUnknownId, &s); }, -3,
         "GetLocalScheduleSnapParam[%d] device null.\n"},
        {"remote snap without file",
         [](long id) { REMOTE_SNAP s = remoteSnap(); s.szJpegFileName[0] = 0; return Kovo_RemoteSnap(id, &s); }, -1,
         "RemoteSnap[%d] invalid file.\n"},
        {"remote snap 4 pictures, before the lookup",
         [](long) { REMOTE_SNAP s = remoteSnap(); s.nJpegNum = 4; return Kovo_RemoteSnap(kUnknownId, &s); }, -1,
         "RemoteSnap[%d] invalid number.\n"},
        {"remote snap quality 0",
         [](long id) { REMOTE_SNAP s = remoteSnap(); s.nJpegQuality = 0; return Kovo_RemoteSnap(id, &s); }, -1,
         "RemoteSnap[%d] invalid quality.\n"},
        {"remote snap unknown", [](long) { REMOTE_SNAP s = remoteSnap(); return Kovo_RemoteSnap(kUnknownId, &s); }, -3,
         "RemoteSnap[%d] device null.\n"},
        {"remote record start without name",
         [](long id) { REMOTE_RECORD_CONFIG r{}; r.nRemoteRecordCmd = 1; return Kovo_SetRemoteRecordConfig(id, &r); },
         -1, "RemoteRecord[%d] invalid record filename.\n"},
        {"remote record null", [](long id) { return Kovo_SetRemoteRecordConfig(id, nullptr); }, -1,
         "RemoteRecord[%d] invalid input.\n"},
        {"remote record unknown",
         [](long) { REMOTE_RECORD_CONFIG r{}; return Kovo_SetRemoteRecordConfig(kUnknownId, &r); }, -3,
         "RemoteRecord[%d] device null.\n"},
    });
}

TEST(StorageParams, OutcomeTraces) {
    runOutcomeCases({
        {"set mode", [](long id) { STORAGE_DEVICE_MODE m{}; return Kovo_SetStorageMode(id, &m); },
         "SetStorageMode failed.\n", "SetStorageMode Successfully\n"},
        {"get mode", [](long id) { STORAGE_DEVICE_MODE m{}; return Kovo_GetStorageMode(id, &m); },
         "GetStorageMode failed.\n", "GetStorageMode Successfully\n"},
        {"set control", [](long id) { STORAGE_DEVICE_CONTROL c{}; return Kovo_SetStorageControl(id, &c); },
         "SetStorageControl failed.\n", "SetStorageControl Successfully\n"},
        {"get control", [](long id) { STORAGE_DEVICE_CONTROL c{}; return Kovo_GetStorageControl(id, &c); },
         "GetStorageControl failed.\n", "GetStorageControl Successfully\n"},
        {"get info", [](long id) { STORAGE_DEVICE_INFO i{}; return Kovo_GetStorageInfo(id, &i); },
         "GetStorageInfo failed.\n", "GetStorageInfo Successfully\n"},
        {"set record", [](long id) { LOCAL_RECORD_PARAM r = recordSchedule(); return Kovo_SetLocalRecordParam(id, &r); },
         "SetLocalRecordParam failed.\n", "SetLocalRecordParam Successfully\n"},
        {"get record", [](long id) { LOCAL_RECORD_PARAM r{}; return Kovo_GetLocalRecordParam(id, &r); },
         "GetLocalRecordParam failed.\n", "GetLocalRecordParam Successfully\n"},
        {"set snap",
         [](long id) { LOCAL_SCHEDULE_SNAP_PARAM s = snapSchedule(); return Kovo_SetLocalScheduleSnapParam(id, &s); },
         "SetLocalScheduleSnapParam failed.\n", "SetLocalScheduleSnapParam Successfully\n"},
        {"get snap", [](long id) { LOCAL_SCHEDULE_SNAP_PARAM s{}; return Kovo_GetLocalScheduleSnapParam(id, &s); },
         "GetLocalScheduleSnapParam failed.\n", "GetLocalScheduleSnapParam Successfully\n"},
        {"remote snap", [](long id) { REMOTE_SNAP s = remoteSnap(); return Kovo_RemoteSnap(id, &s); },
         "RemoteSnap[%d] failed.\n", "RemoteSnap Successfully\n"},
        {"remote record", [](long id) { REMOTE_RECORD_CONFIG r{}; return Kovo_SetRemoteRecordConfig(id, &r); },
         "RemoteRecord failed.\n", "RemoteRecord Successfully\n"},
    });
}

}  // namespace
