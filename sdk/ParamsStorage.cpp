// The local storage medium, the recording and snapshot schedules, and the
// remote snapshot and recording commands.
#include "sdk/ParamsCommon.h"

using namespace kovo::param;

namespace {

constexpr const char* kSequenceNames[] = {"recycle", "once"};
constexpr Words kSequenceWords = words(kSequenceNames, 0, 0);

const Field kModeFields[] = {
    KOVO_FIELD(STORAGE_DEVICE_MODE, nEnable, "LocalStoreEnable", SwitchOff),
    KOVO_WORD_FIELD(STORAGE_DEVICE_MODE, nSequenceMode, "LocalStoreSequence", Word, &kSequenceWords),
};

constexpr const char* kControlNames[] = {"Format", "Plug-In", "Un-Plug"};
constexpr Words kControlWords = words(kControlNames, 0, 0);

const Field kControlFields[] = {
    KOVO_WORD_FIELD(STORAGE_DEVICE_CONTROL, nControl, "StorageDeviceCtrl", Word, &kControlWords),
};

// The description is read with the bound of a 32-byte field, as the camera
// has always filled it; the rest of the array keeps the caller's bytes.
constexpr size_t kDescriptionReadBound = 32;

const Field kInfoFields[] = {
    KOVO_FIELD(STORAGE_DEVICE_INFO, szStatus, "StorageDeviceStatus", Text),
    KOVO_TEXT_BOUNDED(STORAGE_DEVICE_INFO, szDescription, "StorageDeviceDescription", kDescriptionReadBound),
    KOVO_FIELD(STORAGE_DEVICE_INFO, lCapability, "StorageDeviceCapbility", Long),
    KOVO_FIELD(STORAGE_DEVICE_INFO, lFree, "StorageDeviceIdleCapbility", Long),
};

const Field kRecordFields[] = {
    KOVO_FIELD(LOCAL_RECORD_PARAM, nEnable, "LocalStorageScheduleEnable", SwitchOff),
    KOVO_FIELD(LOCAL_RECORD_PARAM, szStartTime, "LocalStorageScheduleStartTime", Text),
    KOVO_FIELD(LOCAL_RECORD_PARAM, szEndTime, "LocalStorageScheduleEndTime", Text),
    KOVO_FIELD(LOCAL_RECORD_PARAM, nEnable2, "LocalStorageScheduleEnable2", SwitchOff),
    KOVO_FIELD(LOCAL_RECORD_PARAM, szStartTime2, "LocalStorageScheduleStartTime2", Text),
    KOVO_FIELD(LOCAL_RECORD_PARAM, szEndTime2, "LocalStorageScheduleEndTime2", Text),
    KOVO_FIELD(LOCAL_RECORD_PARAM, nEmailEnable, "LocalStorageScheduleEmailEnable", SwitchOff),
};

const Field kSnapFields[] = {
    KOVO_FIELD(LOCAL_SCHEDULE_SNAP_PARAM, nEnable, "LocalScheduleSnapEnable", SwitchOff),
    KOVO_FIELD(LOCAL_SCHEDULE_SNAP_PARAM, szStartTime, "LocalScheduleSnapStartTime", Text),
    KOVO_FIELD(LOCAL_SCHEDULE_SNAP_PARAM, szEndTime, "LocalScheduleSnapEndTime", Text),
    KOVO_FIELD(LOCAL_SCHEDULE_SNAP_PARAM, nEnable2, "LocalScheduleSnapEnable2", SwitchOff),
    KOVO_FIELD(LOCAL_SCHEDULE_SNAP_PARAM, szStartTime2, "LocalScheduleSnapStartTime2", Text),
    KOVO_FIELD(LOCAL_SCHEDULE_SNAP_PARAM, szEndTime2, "LocalScheduleSnapEndTime2", Text),
    KOVO_FIELD(LOCAL_SCHEDULE_SNAP_PARAM, nInterval, "LocalScheduleSnapIntervalTime", Int),
    KOVO_FIELD(LOCAL_SCHEDULE_SNAP_PARAM, nQuality, "LocalScheduleSnapJpegQuality", Int),
    KOVO_FIELD(LOCAL_SCHEDULE_SNAP_PARAM, nFtpEnable, "LocalScheduleSnapFtpEnable", SwitchOn),
    KOVO_FIELD(LOCAL_SCHEDULE_SNAP_PARAM, nEmailEnable, "LocalScheduleSnapEmailEnable", SwitchOn),
};

const Field kRemoteSnapFields[] = {
    KOVO_FIELD(REMOTE_SNAP, szJpegFileName, "RemoteSnapJpegFileName", Text),
    KOVO_FIELD(REMOTE_SNAP, nJpegNum, "RemoteSnapJpegNum", Int),
    KOVO_FIELD(REMOTE_SNAP, nJpegQuality, "RemoteSnapJpegQuality", Int),
};

const Field kRemoteRecordFields[] = {
    KOVO_FIELD(REMOTE_RECORD_CONFIG, szRemoteRecordFileName, "RemoteRecordFileName", Text),
    KOVO_FIELD(REMOTE_RECORD_CONFIG, nRemoteRecordCmd, "RemoteRecordCmd", SwitchOn),
};

const Messages kSetMode = {"SetStorageMode[%d] invalid input.\n", "SetStorageMode[%d] device null.\n",
                           "SetStorageMode failed.\n", "SetStorageMode Successfully\n"};
const Messages kGetMode = {"GetStorageMode[%d] invalid input.\n", "GetStorageMode[%d] device null.\n",
                           "GetStorageMode failed.\n", "GetStorageMode Successfully\n"};
const Messages kSetControl = {"SetStorageControl[%d] invalid input.\n", "SetStorageControl[%d] device null.\n",
                              "SetStorageControl failed.\n", "SetStorageControl Successfully\n"};
// The control Get reports its first two outcomes under the information Get's name.
const Messages kGetControl = {"GetStorageInfo[%d] invalid input.\n", "GetStorageInfo[%d] device null.\n",
                              "GetStorageControl failed.\n", "GetStorageControl Successfully\n"};
const Messages kGetInfo = {"GetStorageInfo[%d] invalid input.\n", "GetStorageInfo[%d] device null.\n",
                           "GetStorageInfo failed.\n", "GetStorageInfo Successfully\n"};
const Messages kSetRecord = {"SetLocalRecordParam[%d] invalid input.\n", "SetLocalRecordParam[%d] device null.\n",
                             "SetLocalRecordParam failed.\n", "SetLocalRecordParam Successfully\n"};
const Messages kGetRecord = {"GetLocalRecordParam[%d] invalid input.\n", "GetLocalRecordParam[%d] device null.\n",
                             "GetLocalRecordParam failed.\n", "GetLocalRecordParam Successfully\n"};
const Messages kSetSnap = {"SetLocalScheduleSnapParam[%d] invalid input.\n",
                           "SetLocalScheduleSnapParam[%d] device null.\n", "SetLocalScheduleSnapParam failed.\n",
                           "SetLocalScheduleSnapParam Successfully\n"};
const Messages kGetSnap = {"GetLocalScheduleSnapParam[%d] invalid input.\n",
                           "GetLocalScheduleSnapParam[%d] device null.\n", "GetLocalScheduleSnapParam failed.\n",
                           "GetLocalScheduleSnapParam Successfully\n"};
const Messages kRemoteSnap = {"RemoteSnap[%d] invalid input.\n", "RemoteSnap[%d] device null.\n",
                              "RemoteSnap[%d] failed.\n", "RemoteSnap Successfully\n"};
const Messages kRemoteRecord = {"RemoteRecord[%d] invalid input.\n", "RemoteRecord[%d] device null.\n",
                                "RemoteRecord failed.\n", "RemoteRecord Successfully\n"};

long refuse(const char* text, int line) { return traceAndReturn(text, line, kInvalidArg); }

// The second recording period may be left out (both times empty), but not half given.
bool secondPeriodValid(LOCAL_RECORD_PARAM& record) {
    const bool start = hasText(record.szStartTime2);
    const bool end = hasText(record.szEndTime2);
    if (!start && !end) return true;
    return start && end && CheckTimeRange(record.szStartTime2, record.szEndTime2);
}

}  // namespace

long Kovo_SetStorageMode(long lDeviceID, STORAGE_DEVICE_MODE* pMode) {
    return setRecord(lDeviceID, kNoChannel, pMode, kModeFields, kSetMode, __LINE__);
}

long Kovo_GetStorageMode(long lDeviceID, STORAGE_DEVICE_MODE* pMode) {
    return getRecord(lDeviceID, kNoChannel, pMode, kModeFields, kGetMode, __LINE__);
}

long Kovo_SetStorageControl(long lDeviceID, STORAGE_DEVICE_CONTROL* pControl) {
    if (!validDevice(lDeviceID) || !pControl) return reject(kSetControl, __LINE__);
    if (!inRange(pControl->nControl, 0, 2)) return refuse("SetStorageControl[%d] invalid control.\n", __LINE__);
    return setRecord(lDeviceID, kNoChannel, pControl, kControlFields, kSetControl, __LINE__);
}

long Kovo_GetStorageControl(long lDeviceID, STORAGE_DEVICE_CONTROL* pControl) {
    return getRecord(lDeviceID, kNoChannel, pControl, kControlFields, kGetControl, __LINE__);
}

long Kovo_GetStorageInfo(long lDeviceID, STORAGE_DEVICE_INFO* pInfo) {
    return getRecord(lDeviceID, kNoChannel, pInfo, kInfoFields, kGetInfo, __LINE__);
}

long Kovo_SetLocalRecordParam(long lDeviceID, LOCAL_RECORD_PARAM* pParam) {
    if (!validDevice(lDeviceID) || !pParam) return reject(kSetRecord, __LINE__);
    // Periods are checked only while recording is on (the second one too).
    if (pParam->nEnable) {
        if (!CheckTimeRange(pParam->szStartTime, pParam->szEndTime))
            return refuse("SetLocalRecordParam[%d] time range 1 invalid.\n", __LINE__);
        if (!secondPeriodValid(*pParam)) return refuse("SetLocalRecordParam[%d] time range 2 invalid.\n", __LINE__);
    }
    return setRecord(lDeviceID, kNoChannel, pParam, kRecordFields, kSetRecord, __LINE__);
}

long Kovo_GetLocalRecordParam(long lDeviceID, LOCAL_RECORD_PARAM* pParam) {
    return getRecord(lDeviceID, kNoChannel, pParam, kRecordFields, kGetRecord, __LINE__);
}

long Kovo_SetLocalScheduleSnapParam(long lDeviceID, LOCAL_SCHEDULE_SNAP_PARAM* pParam) {
    if (!validDevice(lDeviceID) || !pParam || !inRange(pParam->nInterval, 1, 6000) ||
        !inRange(pParam->nQuality, 1, 100))
        return reject(kSetSnap, __LINE__);
    return setRecord(lDeviceID, kNoChannel, pParam, kSnapFields, kSetSnap, __LINE__);
}

long Kovo_GetLocalScheduleSnapParam(long lDeviceID, LOCAL_SCHEDULE_SNAP_PARAM* pParam) {
    return getRecord(lDeviceID, kNoChannel, pParam, kSnapFields, kGetSnap, __LINE__);
}

long Kovo_RemoteSnap(long lDeviceID, REMOTE_SNAP* pSnap) {
    if (!validDevice(lDeviceID) || !pSnap) return reject(kRemoteSnap, __LINE__);
    if (!hasText(pSnap->szJpegFileName)) return refuse("RemoteSnap[%d] invalid file.\n", __LINE__);
    if (!inRange(pSnap->nJpegNum, 1, 3)) return refuse("RemoteSnap[%d] invalid number.\n", __LINE__);
    if (!inRange(pSnap->nJpegQuality, 1, 100)) return refuse("RemoteSnap[%d] invalid quality.\n", __LINE__);
    return setRecord(lDeviceID, kNoChannel, pSnap, kRemoteSnapFields, kRemoteSnap, __LINE__);
}

long Kovo_SetRemoteRecordConfig(long lDeviceID, REMOTE_RECORD_CONFIG* pConfig) {
    if (!validDevice(lDeviceID) || !pConfig) return reject(kRemoteRecord, __LINE__);
    // Stopping needs no name; starting does.
    if (pConfig->nRemoteRecordCmd && !hasText(pConfig->szRemoteRecordFileName))
        return refuse("RemoteRecord[%d] invalid record filename.\n", __LINE__);
    return setRecord(lDeviceID, kNoChannel, pConfig, kRemoteRecordFields, kRemoteRecord, __LINE__);
}
