// Event sources and what they trigger: motion areas, the event-link
// configurations of motion, alarm input and network loss, the alarm contacts
// and the alarm report service.
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "sdk/ParamSplit.h"
#include "sdk/ParamsCommon.h"

using namespace kovo::param;

namespace {

// ---- Event-link block ------------------------------------------------------

// The sixteen trailing fields of every link record, as one unit whose keys
// are "<family>Link<suffix>".
struct EventLinkBlock {
    KOVO_EVENT_LINK_FIELDS
};

template <typename Record>
constexpr bool endsWithLinkBlock() {
    return sizeof(Record) - offsetof(Record, nLinkOutputEnable) == sizeof(EventLinkBlock);
}
static_assert(endsWithLinkBlock<MD_LINK_CONFIG>(), "link block must close MD_LINK_CONFIG");
static_assert(endsWithLinkBlock<ALARM_CONFIG>(), "link block must close ALARM_CONFIG");
static_assert(endsWithLinkBlock<NET_DOWN_PARAM>(), "link block must close NET_DOWN_PARAM");

// Contacts: "N.C" for non-zero, "N.O" for zero; read back as 0 only for "N.O".
constexpr const char* kContactNames[] = {"N.O", "N.C"};
constexpr Words kContactWords = words(kContactNames, 1, 1);

// The output switch reads by the family's rule; every other switch by "ON".
template <Rule OutputEnableRule>
constexpr Field kLinkBlock[16] = {
    Field{"LinkOutputEnable", OutputEnableRule, offsetof(EventLinkBlock, nLinkOutputEnable), sizeof(int)},
    KOVO_WORD_FIELD(EventLinkBlock, nLinkOutputMode, "LinkOutputMode", Word, &kContactWords),
    KOVO_FIELD(EventLinkBlock, nLinkOutputKeepTime, "LinkOutputKeepTime", Int),
    KOVO_FIELD(EventLinkBlock, nLinkOutputEmailEnable, "LinkOutputEmailEnable", SwitchOn),
    KOVO_FIELD(EventLinkBlock, nLinkLocalRecordEnable, "LinkLocalRecordEnable", SwitchOn),
    KOVO_FIELD(EventLinkBlock, nLinkLocalRecordStreamNumber, "LinkLocalRecordStreamNumber", Int),
    KOVO_FIELD(EventLinkBlock, nLinkLocalRecordFramerate, "LinkLocalRecordFramerate", Int),
    KOVO_FIELD(EventLinkBlock, nLinkLocalRecordKeepTime, "LinkLocalRecordKeepTime", Int),
    KOVO_FIELD(EventLinkBlock, nLinkLocalRecordFtpEnable, "LinkLocalRecordFtpEnable", SwitchOn),
    KOVO_FIELD(EventLinkBlock, nLinkLocalRecordEmailEnable, "LinkLocalRecordEmailEnable", SwitchOn),
    KOVO_FIELD(EventLinkBlock, nLinkLocalSnapEnable, "LinkLocalSnapEnable", SwitchOn),
    KOVO_FIELD(EventLinkBlock, nLinkLocalSnapJpegQuantity, "LinkLocalSnapJpegQuantity", Int),
    KOVO_FIELD(EventLinkBlock, nLinkLocalSnapIntervalTime, "LinkLocalSnapIntervalTime", Int),
    KOVO_FIELD(EventLinkBlock, nLinkLocalSnapJpegQuality, "LinkLocalSnapJpegQuality", Int),
    KOVO_FIELD(EventLinkBlock, nLinkLocalSnapFtpEnable, "LinkLocalSnapFtpEnable", SwitchOn),
    KOVO_FIELD(EventLinkBlock, nLinkLocalSnapEmailEnable, "LinkLocalSnapEmailEnable", SwitchOn),
};

// The first out-of-range value of the block, in the camera's order; the snap
// quantity is reported with the record keep time text.
const char* linkRangeError(const EventLinkBlock& b) {
    if (!inRange(b.nLinkOutputKeepTime, 1, 86400)) return "invalid output keep time";
    if (!inRange(b.nLinkLocalRecordStreamNumber, 1, 3)) return "invalid stream number";
    const int rate = b.nLinkLocalRecordFramerate;
    if (rate != 24 && rate != 25 && rate != 30 && rate != 60) return "invalid frame rate";
    if (!inRange(b.nLinkLocalRecordKeepTime, 5, 300)) return "invalid record keep time";
    if (!inRange(b.nLinkLocalSnapJpegQuantity, 1, 5)) return "invalid record keep time";
    if (!inRange(b.nLinkLocalSnapIntervalTime, 1, 6000)) return "invalid snap interval";
    if (!inRange(b.nLinkLocalSnapJpegQuality, 1, 100)) return "invalid snap quality";
    return nullptr;
}

struct LinkFamily {
    const char* prefix;     // key prefix ahead of "Link"
    const char* setName;    // operation named by the range messages
    Table head;             // the record's fields ahead of the block
    Table block;            // the block with the family's output switch rule
    size_t blockOffset;     // where the block starts in the record
    bool lookupFirst;       // device lookup ahead of the range checks
    Messages set;
    Messages get;
};

EventLinkBlock blockOf(const void* record, const LinkFamily& family) {
    EventLinkBlock block;
    std::memcpy(&block, static_cast<const char*>(record) + family.blockOffset, sizeof block);
    return block;
}

long setLinkRecord(const LinkFamily& family, long deviceId, const void* record, int line) {
    const EventLinkBlock block = blockOf(record, family);
    const char* rangeError = linkRangeError(block);
    if (rangeError && !family.lookupFirst) return rejectRange(family.setName, rangeError, __LINE__);
    Exchange ex(deviceId);
    if (!ex.found()) return noDevice(family.set, line);
    if (rangeError) return rejectRange(family.setName, rangeError, __LINE__);
    ex.addValues(family.head, record);
    ex.addValues(family.block, &block, family.prefix);
    return ex.finishSet(family.set, line);
}

long getLinkRecord(const LinkFamily& family, long deviceId, void* record, int line) {
    Exchange ex(deviceId);
    if (!ex.found()) return noDevice(family.get, line);
    ex.addKeys(family.head);
    ex.addKeys(family.block, family.prefix);
    if (ex.send(false) != 200) return traceAndReturn(family.get.failed, line, kFailed);
    ex.readInto(family.head, record);
    EventLinkBlock block = blockOf(record, family);
    ex.readInto(family.block, &block, family.prefix);
    std::memcpy(static_cast<char*>(record) + family.blockOffset, &block, sizeof block);
    return traceAndReturn(family.get.success, line, kOk);
}

const Field kMotionHead[] = {
    KOVO_FIELD(MD_LINK_CONFIG, nEnable, "MotionDetectEnable", SwitchOn),
    KOVO_FIELD(MD_LINK_CONFIG, szScheduleStartTime, "MotionDetectScheduleStartTime", Text),
    KOVO_FIELD(MD_LINK_CONFIG, szScheduleEndTime, "MotionDetectScheduleEndTime", Text),
    KOVO_FIELD(MD_LINK_CONFIG, szScheduleStartTime2, "MotionDetectScheduleStartTime2", Text),
    KOVO_FIELD(MD_LINK_CONFIG, szScheduleEndTime2, "MotionDetectScheduleEndTime2", Text),
};
const Field kAlarmHead[] = {
    KOVO_FIELD(ALARM_CONFIG, nEnable, "AlarmInputEnable", SwitchOff),
    KOVO_WORD_FIELD(ALARM_CONFIG, nMode, "AlarmInputMode", Word, &kContactWords),
    KOVO_FIELD(ALARM_CONFIG, szStartTime, "AlarmScheduleStartTime", Text),
    KOVO_FIELD(ALARM_CONFIG, szEndTime, "AlarmScheduleEndTime", Text),
    KOVO_FIELD(ALARM_CONFIG, szStartTime2, "AlarmScheduleStartTime2", Text),
    KOVO_FIELD(ALARM_CONFIG, szEndTime2, "AlarmScheduleEndTime2", Text),
};
const Field kNetDownHead[] = {
    KOVO_FIELD(NET_DOWN_PARAM, nEnable, "NetworkDownEnable", SwitchOff),
};

const LinkFamily kMotion = {
    "MotionDetect", "SetMDLinkConfig", kMotionHead, kLinkBlock<Rule::SwitchOn>,
    offsetof(MD_LINK_CONFIG, nLinkOutputEnable), true,
    {"SetMDLinkConfig[%d] input invalid.\n", "SetMDLinkConfig[%d] device null.\n",
     "SetMDLinkConfig[%d] get md config failed.\n", "SetMDLinkConfig Successfully\n"},
    {"GetMDLinkConfig[%d] input invalid.\n", "GetMDLinkConfig[%d] device null.\n",
     "GetMDLinkConfig[%d] get md config failed.\n", "GetMDLinkConfig Successfully\n"}};
const LinkFamily kAlarm = {
    "Alarm", "SetAlarmConfig", kAlarmHead, kLinkBlock<Rule::SwitchOff>,
    offsetof(ALARM_CONFIG, nLinkOutputEnable), false,
    {"SetAlarmConfig[%d] invalid input.\n", "SetAlarmConfig[%d] device null.\n",
     "SetAlarmConfig[%d] get alarm config failed.\n", "SetAlarmConfig get alarm config success.\n"},
    {"GetAlarmConfig[%d] invalid input.\n", "GetAlarmConfig[%d] device null.\n",
     "GetAlarmConfig[%d] get alarm config failed.\n", "GetAlarmConfig get alarm config success.\n"}};
const LinkFamily kNetDown = {
    "NetworkDown", "SetNetDownConfig", kNetDownHead, kLinkBlock<Rule::SwitchOff>,
    offsetof(NET_DOWN_PARAM, nLinkOutputEnable), false,
    {"SetNetDownConfig[%d] invalid input.\n", "SetNetDownConfig[%d] device null.\n",
     "SetNetDownConfig failed.\n", "SetNetDownConfig Successfully\n"},
    {"GetNetDownConfig[%d] invalid input.\n", "GetNetDownConfig[%d] device null.\n",
     "GetNetDownConfig failed.\n", "GetNetDownConfig Successfully\n"}};

// ---- Motion areas ----------------------------------------------------------

const char kAreaNumberKey[] = "MotionDetectAreaNumber";
const char kSensitivityKey[] = "MotionDetectSensitivity";
const char kAreaKey[] = "MotionDetectArea";
const char kAreaEnableKey[] = "MotionDetectAreaEnable";

const Messages kSetMD = {"SetMDConfig[%d] input invalid.\n", "SetMDConfig[%d] device null.\n",
                         "SetMDConfig [%d] set net config failed.\n", "SetMDConfig Successfully\n"};
const Messages kGetMD = {"GetMDConfig[%d] input invalid.\n", "GetMDConfig[%d] device null.\n",
                         "GetMDConfig[%d] get md config failed.\n", "GetMDConfig Successfully\n"};

bool validMDArguments(long deviceId, int channel, int area, const MD_CONFIG* config) {
    return config && validDevice(deviceId) && validChannel(channel) && inRange(area, 1, 4);
}

// "x, y, w, h": with exactly four elements the area is taken, else kept.
void readArea(const char* value, MD_CONFIG& md) {
    std::vector<std::string> parts;
    if (SplitString(value, parts) != 4) return;
    md.nAreaX = std::atoi(parts[0].c_str());
    md.nAreaY = std::atoi(parts[1].c_str());
    md.nAreaWidth = std::atoi(parts[2].c_str());
    md.nAreaHeight = std::atoi(parts[3].c_str());
}

// ---- Alarm contacts --------------------------------------------------------

struct ContactFamily {
    const char* portKey;
    const char* modeKey;
    int lastPort;
    const char* modeInvalid;
    Messages set;
    Messages get;
};

const ContactFamily kAlarmIn = {
    "AlarmInputPort", "AlarmInputMode", 4, "SetAlarmInConfig[%d] input mode invalid.\n",
    {"SetAlarmInConfig[%d] input invalid.\n", "SetAlarmInConfig[%d] device null.\n",
     "SetAlarmInConfig [%d] set alarm input config failed.\n", "SetAlarmInConfig set alarm input config success.\n"},
    {"GetAlarmInConfig[%d] invalid input.\n", "GetAlarmInConfig[%d] device null.\n",
     "GetAlarmInConfig[%d] get alarm input config failed.\n", "GetAlarmInConfig get alarm input config success.\n"}};
const ContactFamily kAlarmOut = {
    "AlarmOutputPort", "AlarmOutputMode", 2, "SetAlarmOutConfig[%d] output mode invalid.\n",
    {"SetAlarmOutConfig[%d] input invalid.\n", "SetAlarmOutConfig[%d] device null.\n",
     "SetAlarmOutConfig [%d] set alarm output config failed.\n",
     "SetAlarmOutConfig set alarm output config success.\n"},
    {"GetAlarmOutConfig[%d] invalid input.\n", "GetAlarmOutConfig[%d] device null.\n",
     "GetAlarmOutConfig[%d] get alarm output config failed.\n",
     "GetAlarmOutConfig get alarm output config success.\n"}};

long setContact(const ContactFamily& family, long deviceId, int port, const int* mode, int line) {
    if (!mode || !validDevice(deviceId) || !inRange(port, 1, family.lastPort)) return reject(family.set, line);
    Exchange ex(deviceId);
    if (!ex.found()) return noDevice(family.set, line);
    if (*mode != 0 && *mode != 1) return traceAndReturn(family.modeInvalid, line, kInvalidArg);
    ex.addLine(std::string(family.portKey) + ": " + std::to_string(port));
    ex.addLine(std::string(family.modeKey) + ": " + kContactWords.wordFor(*mode));
    return ex.finishSet(family.set, line);
}

long getContact(const ContactFamily& family, long deviceId, int port, int* mode, int line) {
    if (!mode || !validDevice(deviceId) || !inRange(port, 1, family.lastPort)) return reject(family.get, line);
    Exchange ex(deviceId);
    if (!ex.found()) return noDevice(family.get, line);
    ex.addLine(std::string(family.portKey) + "_" + std::to_string(port));
    ex.addLine(family.modeKey);
    if (ex.send(false) != 200) return traceAndReturn(family.get.failed, line, kFailed);
    if (const char* value = ex.answer(family.modeKey)) *mode = kContactWords.valueOf(value);
    return traceAndReturn(family.get.success, line, kOk);
}

// ---- Alarm service ---------------------------------------------------------

const Field kServiceFields[] = {
    KOVO_FIELD(ALARM_SERVICE_CONFIG, nAlarmService, "AlarmService", SwitchOff),
    KOVO_FIELD(ALARM_SERVICE_CONFIG, szIPAddr, "AlarmServerIPAddr", Text),
    KOVO_FIELD(ALARM_SERVICE_CONFIG, nPort, "AlarmServerPort", Int),
    KOVO_FIELD(ALARM_SERVICE_CONFIG, nKeepaliveTimer, "AlarmKeepaliveTimer", Int),
};
const Messages kSetService = {"SetAlarmServiceConfig[%d] invalid input.\n",
                              "SetAlarmServiceConfig[%d] device null.\n", "SetAlarmServiceConfig failed.\n",
                              "SetAlarmServiceConfig Successfully\n"};
const Messages kGetService = {"GetAlarmServiceConfig[%d] invalid input.\n",
                              "GetAlarmServiceConfig[%d] device null.\n", "GetAlarmServiceConfig failed.\n",
                              "GetAlarmServiceConfig Successfully\n"};

bool serviceComplete(const ALARM_SERVICE_CONFIG& service) {
    return hasText(service.szIPAddr) && inRange(service.nPort, 0, 65535) &&
           inRange(service.nKeepaliveTimer, 1, 65535);
}

}  // namespace

long Kovo_SetMDConfig(long lDeviceID, int nChannel, int area_no, MD_CONFIG* pMDConfig) {
    if (!validMDArguments(lDeviceID, nChannel, area_no, pMDConfig)) return reject(kSetMD, __LINE__);
    const MD_CONFIG& md = *pMDConfig;
    if (!inRange(md.nSensitivity, 1, 100))
        return traceAndReturn("SetMDConfig[%d] invalid sensitivity.\n", __LINE__, kInvalidArg);
    if (!inRange(md.nAreaX, 0, 1920) || !inRange(md.nAreaY, 0, 1080) || !inRange(md.nAreaWidth, 0, 1920) ||
        !inRange(md.nAreaHeight, 0, 1080))
        return traceAndReturn("SetMDConfig[%d] invalid area.\n", __LINE__, kInvalidArg);
    Exchange ex(lDeviceID);
    if (!ex.found()) return noDevice(kSetMD, __LINE__);
    ex.addLine(std::string(kAreaNumberKey) + ": " + std::to_string(area_no));
    ex.addLine(std::string(kSensitivityKey) + ": " + std::to_string(md.nSensitivity));
    ex.addLine(std::string(kAreaKey) + ": " + std::to_string(md.nAreaX) + ", " + std::to_string(md.nAreaY) +
               ", " + std::to_string(md.nAreaWidth) + ", " + std::to_string(md.nAreaHeight));
    ex.addLine(std::string(kAreaEnableKey) + ": " + onOff(md.nEnable));
    return ex.finishSet(kSetMD, __LINE__);
}

long Kovo_GetMDConfig(long lDeviceID, int nChannel, int area_no, MD_CONFIG* pMDConfig) {
    if (!validMDArguments(lDeviceID, nChannel, area_no, pMDConfig)) return reject(kGetMD, __LINE__);
    Exchange ex(lDeviceID);
    if (!ex.found()) return noDevice(kGetMD, __LINE__);
    ex.addLine(std::string(kAreaNumberKey) + "_" + std::to_string(area_no));
    ex.addLine(kSensitivityKey);
    ex.addLine(kAreaKey);
    ex.addLine(kAreaEnableKey);
    if (ex.send(false) != 200) return traceAndReturn(kGetMD.failed, __LINE__, kFailed);
    if (const char* value = ex.answer(kAreaEnableKey)) pMDConfig->nEnable = switchOn(value);
    if (const char* value = ex.answer(kSensitivityKey)) pMDConfig->nSensitivity = std::atoi(value);
    if (const char* value = ex.answer(kAreaKey)) readArea(value, *pMDConfig);
    return traceAndReturn(kGetMD.success, __LINE__, kOk);
}

long Kovo_SetMDLinkConfig(long lDeviceID, int nChannel, MD_LINK_CONFIG* pConfig) {
    if (!validDevice(lDeviceID) || !validChannel(nChannel) || !pConfig) return reject(kMotion.set, __LINE__);
    return setLinkRecord(kMotion, lDeviceID, pConfig, __LINE__);
}

long Kovo_GetMDLinkConfig(long lDeviceID, int nChannel, MD_LINK_CONFIG* pConfig) {
    if (!validDevice(lDeviceID) || !validChannel(nChannel) || !pConfig) return reject(kMotion.get, __LINE__);
    return getLinkRecord(kMotion, lDeviceID, pConfig, __LINE__);
}

long Kovo_SetAlarmConfig(long lDeviceID, ALARM_CONFIG* pAlarmConfig) {
    if (!validDevice(lDeviceID) || !pAlarmConfig) return reject(kAlarm.set, __LINE__);
    if (!CheckTimeRange(pAlarmConfig->szStartTime, pAlarmConfig->szEndTime))
        return traceAndReturn("SetAlarmConfig[%d] invalid time 1 range.\n", __LINE__, kInvalidArg);
    if (!CheckTimeRange(pAlarmConfig->szStartTime2, pAlarmConfig->szEndTime2))
        return traceAndReturn("SetAlarmConfig[%d] invalid time 2 range.\n", __LINE__, kInvalidArg);
    return setLinkRecord(kAlarm, lDeviceID, pAlarmConfig, __LINE__);
}

long Kovo_GetAlarmConfig(long lDeviceID, ALARM_CONFIG* pAlarmConfig) {
    if (!validDevice(lDeviceID) || !pAlarmConfig) return reject(kAlarm.get, __LINE__);
    return getLinkRecord(kAlarm, lDeviceID, pAlarmConfig, __LINE__);
}

long Kovo_SetNetDownConfig(long lDeviceID, NET_DOWN_PARAM* pParam) {
    if (!validDevice(lDeviceID) || !pParam) return reject(kNetDown.set, __LINE__);
    return setLinkRecord(kNetDown, lDeviceID, pParam, __LINE__);
}

long Kovo_GetNetDownConfig(long lDeviceID, NET_DOWN_PARAM* pParam) {
    if (!validDevice(lDeviceID) || !pParam) return reject(kNetDown.get, __LINE__);
    return getLinkRecord(kNetDown, lDeviceID, pParam, __LINE__);
}

long Kovo_SetAlarmInConfig(long lDeviceID, int nAlarmIn_no, ALARMIN_CONFIG* pAlarmInConfig) {
    return setContact(kAlarmIn, lDeviceID, nAlarmIn_no, pAlarmInConfig ? &pAlarmInConfig->nInputMode : nullptr,
                      __LINE__);
}

long Kovo_GetAlarmInConfig(long lDeviceID, int nAlarmIn_no, ALARMIN_CONFIG* pAlarmInConfig) {
    return getContact(kAlarmIn, lDeviceID, nAlarmIn_no, pAlarmInConfig ? &pAlarmInConfig->nInputMode : nullptr,
                      __LINE__);
}

long Kovo_SetAlarmOutConfig(long lDeviceID, int nPort, ALARMOUT_CONFIG* pAlarmOutConfig) {
    return setContact(kAlarmOut, lDeviceID, nPort, pAlarmOutConfig ? &pAlarmOutConfig->nMode : nullptr, __LINE__);
}

long Kovo_GetAlarmOutConfig(long lDeviceID, int nPort, ALARMOUT_CONFIG* pAlarmOutConfig) {
    return getContact(kAlarmOut, lDeviceID, nPort, pAlarmOutConfig ? &pAlarmOutConfig->nMode : nullptr, __LINE__);
}

long Kovo_SetAlarmServiceConfig(long lDeviceID, ALARM_SERVICE_CONFIG* pConfig) {
    if (!validDevice(lDeviceID) || !pConfig) return reject(kSetService, __LINE__);
    if (pConfig->nAlarmService && !serviceComplete(*pConfig)) return reject(kSetService, __LINE__);
    return setRecord(lDeviceID, kNoChannel, pConfig, kServiceFields, kSetService, __LINE__);
}

long Kovo_GetAlarmServiceConfig(long lDeviceID, ALARM_SERVICE_CONFIG* pConfig) {
    return getRecord(lDeviceID, kNoChannel, pConfig, kServiceFields, kGetService, __LINE__);
}
