// The camera's identity, clock settings, watchdog and restart.
#include "sdk/ParamFrame.h"

using namespace kovo::param;

namespace {

const Field kVersionFields[] = {
    KOVO_FIELD(VERSION_INFO, szHardWareVersion, "HardWareVersion", Text),
    KOVO_FIELD(VERSION_INFO, szFirmWareVersion, "FirmWareVersion", Text),
    KOVO_FIELD(VERSION_INFO, szCamModule, "CamModule", Text),
};

// The time zone travels under "DstZone".
const Field kDateTimeFields[] = {
    KOVO_FIELD(DATETIME_CONFIG, nNtpMode, "NtpMode", SwitchOn),
    KOVO_FIELD(DATETIME_CONFIG, szNtpServer, "NtpServer", Text),
    KOVO_FIELD(DATETIME_CONFIG, nDstMode, "DstZone", Int),
    KOVO_FIELD(DATETIME_CONFIG, szDstTime, "DstTime", Text),
};

// "Watdog" is the camera's spelling.
const Field kWatchdogFields[] = {
    KOVO_FIELD(WATCHDOG_CONFIG, nEanble, "Q771WatdogConfig", SwitchOn),
};

const Messages kGetProductSN = {"GetProductSN[%d] invalid input.\n", "GetProductSN[%d] device null.\n",
                                "GetProductSN[%d] get product sn failed.\n",
                                "GetProductSN get product sn success.\n"};
const Messages kGetVersionInfo = {"GetVersionInfo[%d] invalid input.\n", "GetVersionInfo[%d] device null.\n",
                                  "GetVersionInfo[%d] get version info failed.\n",
                                  "GetVersionInfo get version info success.\n"};
const Messages kSetDateTime = {"SetDateTime[%d] input invalid.\n", "SetDateTime[%d] device null.\n",
                               "SetDateTime [%d] set date time setting failed.\n", nullptr};
const Messages kGetDateTime = {"GetDateTime[%d] Invalid input.\n", "GetDateTime[%d] device null.\n",
                               "GetDateTime[%d] get date time setting failed.\n", nullptr};
const Messages kSetWatchdog = {"SetWatchdogConfig[%d]\n", "SetWatchdogConfig[%d]\n", "SetWatchdogConfig failed.\n",
                               "SetWatchdogConfig Successfully.\n"};
const Messages kGetWatchdog = {"GetWatchdogConfig[%d]\n", "GetWatchdogConfig[%d]\n", "GetWatchdogConfig failed.\n",
                               "GetWatchdogConfig Successfully.\n"};
const Messages kReboot = {"RebootDevice[%d]\n", "RebootDevice[%d]\n", "RebootDevice[%d]\n",
                          "RebootDevice Successfully\n"};

}  // namespace

long Kovo_GetProductSN(long lDeviceID, char* szSN) {
    return getPlainText(lDeviceID, kNoChannel, szSN, "ProductSN", kGetProductSN, __LINE__);
}

long Kovo_GetVersionInfo(long lDeviceID, VERSION_INFO* pVersionInfo) {
    return getRecord(lDeviceID, kNoChannel, pVersionInfo, kVersionFields, kGetVersionInfo, __LINE__);
}

long Kovo_SetDateTime(long lDeviceID, DATETIME_CONFIG* pDateTime) {
    if (!pDateTime || !validDevice(lDeviceID)) return reject(kSetDateTime, __LINE__);
    Exchange ex(lDeviceID);
    if (!ex.found()) return noDevice(kSetDateTime, __LINE__);
    // With NTP off the server and zone are sent unchecked.
    if (pDateTime->nNtpMode) {
        if (pDateTime->szNtpServer[0] == '\0')
            return traceAndReturn("SetDateTime[%d] ip empty.\n", __LINE__, kInvalidArg);
        if (pDateTime->nDstMode < -12 || pDateTime->nDstMode > 12)
            return traceAndReturn("SetDateTime[%d] date time mode invalid.\n", __LINE__, kInvalidArg);
    }
    ex.addValues(kDateTimeFields, pDateTime);
    return ex.finishSet(kSetDateTime, __LINE__);
}

long Kovo_GetDateTime(long lDeviceID, DATETIME_CONFIG* pDateTime) {
    return getRecord(lDeviceID, kNoChannel, pDateTime, kDateTimeFields, kGetDateTime, __LINE__);
}

long Kovo_SetWatchdogConfig(long lDeviceID, int nChannel, WATCHDOG_CONFIG* pConfig) {
    return setRecord(lDeviceID, nChannel, pConfig, kWatchdogFields, kSetWatchdog, __LINE__);
}

long Kovo_GetWatchdogConfig(long lDeviceID, int nChannel, WATCHDOG_CONFIG* pConfig) {
    return getRecord(lDeviceID, nChannel, pConfig, kWatchdogFields, kGetWatchdog, __LINE__);
}

// A restart accepted by the camera changes nothing here: the connections
// learn of it when their next request fails.
long Kovo_RebootDevice(long lDeviceID) {
    if (!validDevice(lDeviceID)) return reject(kReboot, __LINE__);
    Exchange ex(lDeviceID);
    if (!ex.found()) return noDevice(kReboot, __LINE__);
    ex.addLine("SysManage: reboot");
    return ex.finishSet(kReboot, __LINE__);
}
