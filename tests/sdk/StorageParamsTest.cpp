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

std::function<long(long)> setControl(int control) {
    return [control](long id) { STORAGE_DEVICE_CONTROL c{control}; return Kovo_SetStorageControl(id, &c); };
}

TEST(StorageParams, SetLines) {
    const std::string k256(256, 'f');
    runSetLinesCases({
        {"mode once", [](long id) { STORAGE_DEVICE_MODE m{1, 1}; return Kovo_SetStorageMode(id, &m); },
         {"LocalStoreEnable: ON", "LocalStoreSequence: once"}},
        {"mode 2 is recycle", [](long id) { STORAGE_DEVICE_MODE m{0, 2}; return Kovo_SetStorageMode(id, &m); },
         {"LocalStoreEnable: OFF", "LocalStoreSequence: recycle"}},
        {"control 0", setControl(0), {"StorageDeviceCtrl: Format"}},
        {"control 1", setControl(1), {"StorageDeviceCtrl: Plug-In"}},
        {"control 2", setControl(2), {"StorageDeviceCtrl: Un-Plug"}},
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

std::string storageMode(long id, STORAGE_DEVICE_MODE m) {
    EXPECT_EQ(Kovo_GetStorageMode(id, &m), 0);
    return joined(m.nEnable, m.nSequenceMode);
}

int storageControl(long id, int before) {
    STORAGE_DEVICE_CONTROL c{before};
    EXPECT_EQ(Kovo_GetStorageControl(id, &c), 0);
    return c.nControl;
}

TEST(StorageParams, GetConversions) {
    const std::string k100(100, 'd');
    runGetCases({
        {"mode: only exactly once is 1; enable off only for exactly OFF", {"LocalStoreEnable", "LocalStoreSequence"},
         {"LocalStoreEnable: off", "LocalStoreSequence: Once"},
         [](long id) { EXPECT_EQ(storageMode(id, {0, 1}), "1|0|"); }},
        {"mode: once", {"LocalStoreEnable", "LocalStoreSequence"}, {"LocalStoreEnable: OFF", "LocalStoreSequence: once"},
         [](long id) { EXPECT_EQ(storageMode(id, {1, 0}), "0|1|"); }},
        {"control: Un-Plug", {"StorageDeviceCtrl"}, {"StorageDeviceCtrl: Un-Plug"},
         [](long id) { EXPECT_EQ(storageControl(id, 0), 2); }},
        {"control: plug-in in lower case reads 0", {"StorageDeviceCtrl"}, {"StorageDeviceCtrl: plug-in"},
         [](long id) { EXPECT_EQ(storageControl(id, 1), 0); }},
        {"info: the description bounded to 32 bytes, the rest of the array kept",
         {"StorageDeviceStatus", "StorageDeviceDescription", "StorageDeviceCapbility", "StorageDeviceIdleCapbility"},
         {"StorageDeviceStatus: ready", "StorageDeviceDescription: " + k100, "StorageDeviceCapbility: 7812500",
          "StorageDeviceIdleCapbility: 1024"},
         [k100](long id) {
             STORAGE_DEVICE_INFO info{};
             fill(info.szDescription, std::string(255, 'x'));
             ASSERT_EQ(Kovo_GetStorageInfo(id, &info), 0);
             EXPECT_EQ(joined(textOf(info.szStatus), textOf(info.szDescription), info.lCapability, info.lFree),
                       "ready|" + k100.substr(0, 32) + std::string(255 - 32, 'x') + "|7812500|1024|");
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
             EXPECT_EQ(joined(r.nEnable, textOf(r.szStartTime), textOf(r.szEndTime), r.nEnable2, textOf(r.szEndTime2),
                              r.nEmailEnable),
                       "1|01:00:00|kept|0|02:00:00|1|");
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
             EXPECT_EQ(joined(s.nEnable, s.nEnable2, s.nInterval, s.nQuality, s.nFtpEnable, s.nEmailEnable,
                              textOf(s.szEndTime2)),
                       "1|1|30|80|0|1|09:00:00|");
         }},
    });
}

TEST(StorageParams, Rejections) {
    runRejectCases({
        {"control 3, before the lookup",
         [](long) { STORAGE_DEVICE_CONTROL c{3}; return Kovo_SetStorageControl(kUnknownId, &c); }, -1,
         "SetStorageControl[%d] invalid control.\n"},
        {"control null", [](long id) { return Kovo_SetStorageControl(id, nullptr); }, -1,
         "SetStorageControl[%d] invalid input.\n"},
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
        {"snap interval 0",
         [](long id) { LOCAL_SCHEDULE_SNAP_PARAM s = snapSchedule(); s.nInterval = 0; return Kovo_SetLocalScheduleSnapParam(id, &s); },
         -1, "SetLocalScheduleSnapParam[%d] invalid input.\n"},
        {"snap quality 101",
         [](long id) { LOCAL_SCHEDULE_SNAP_PARAM s = snapSchedule(); s.nQuality = 101; return Kovo_SetLocalScheduleSnapParam(id, &s); },
         -1, "SetLocalScheduleSnapParam[%d] invalid input.\n"},
        {"remote snap without file",
         [](long id) { REMOTE_SNAP s = remoteSnap(); s.szJpegFileName[0] = 0; return Kovo_RemoteSnap(id, &s); }, -1,
         "RemoteSnap[%d] invalid file.\n"},
        {"remote snap 4 pictures, before the lookup",
         [](long) { REMOTE_SNAP s = remoteSnap(); s.nJpegNum = 4; return Kovo_RemoteSnap(kUnknownId, &s); }, -1,
         "RemoteSnap[%d] invalid number.\n"},
        {"remote snap quality 0",
         [](long id) { REMOTE_SNAP s = remoteSnap(); s.nJpegQuality = 0; return Kovo_RemoteSnap(id, &s); }, -1,
         "RemoteSnap[%d] invalid quality.\n"},
        {"remote record start without name",
         [](long id) { REMOTE_RECORD_CONFIG r{}; r.nRemoteRecordCmd = 1; return Kovo_SetRemoteRecordConfig(id, &r); },
         -1, "RemoteRecord[%d] invalid record filename.\n"},
        {"remote record null", [](long id) { return Kovo_SetRemoteRecordConfig(id, nullptr); }, -1,
         "RemoteRecord[%d] invalid input.\n"},
    });
}

TEST(StorageParams, SharedOutcomes) {
    runExportCases({
        setCase("SetStorageMode", [](long id) { STORAGE_DEVICE_MODE m{}; return Kovo_SetStorageMode(id, &m); },
                "SetStorageMode failed.\n", "SetStorageMode Successfully\n"),
        getCase<STORAGE_DEVICE_MODE>("GetStorageMode", Kovo_GetStorageMode, "GetStorageMode failed.\n",
                                     "GetStorageMode Successfully\n"),
        setCase("SetStorageControl", [](long id) { STORAGE_DEVICE_CONTROL c{}; return Kovo_SetStorageControl(id, &c); },
                "SetStorageControl failed.\n", "SetStorageControl Successfully\n"),
        // The control Get reports its refusals as the information Get.
        getCase<STORAGE_DEVICE_CONTROL>("GetStorageInfo", Kovo_GetStorageControl, "GetStorageControl failed.\n",
                                        "GetStorageControl Successfully\n"),
        getCase<STORAGE_DEVICE_INFO>("GetStorageInfo", Kovo_GetStorageInfo, "GetStorageInfo failed.\n",
                                     "GetStorageInfo Successfully\n"),
        setCase("SetLocalRecordParam",
                [](long id) { LOCAL_RECORD_PARAM r = recordSchedule(); return Kovo_SetLocalRecordParam(id, &r); },
                "SetLocalRecordParam failed.\n", "SetLocalRecordParam Successfully\n"),
        getCase<LOCAL_RECORD_PARAM>("GetLocalRecordParam", Kovo_GetLocalRecordParam, "GetLocalRecordParam failed.\n",
                                    "GetLocalRecordParam Successfully\n"),
        setCase("SetLocalScheduleSnapParam",
                [](long id) { LOCAL_SCHEDULE_SNAP_PARAM s = snapSchedule(); return Kovo_SetLocalScheduleSnapParam(id, &s); },
                "SetLocalScheduleSnapParam failed.\n", "SetLocalScheduleSnapParam Successfully\n"),
        getCase<LOCAL_SCHEDULE_SNAP_PARAM>("GetLocalScheduleSnapParam", Kovo_GetLocalScheduleSnapParam,
                                           "GetLocalScheduleSnapParam failed.\n",
                                           "GetLocalScheduleSnapParam Successfully\n"),
        setCase("RemoteSnap", [](long id) { REMOTE_SNAP s = remoteSnap(); return Kovo_RemoteSnap(id, &s); },
                "RemoteSnap[%d] failed.\n", "RemoteSnap Successfully\n"),
        setCase("RemoteRecord", [](long id) { REMOTE_RECORD_CONFIG r{}; return Kovo_SetRemoteRecordConfig(id, &r); },
                "RemoteRecord failed.\n", "RemoteRecord Successfully\n"),
    });
}

}  // namespace
