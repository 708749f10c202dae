// Image-sensor settings: each export carries one key whose value is the
// camera's own text (automatic gain control alone is a number).
#include <cstdlib>

#include "sdk/ParamFrame.h"

using namespace kovo::param;

namespace {

// Exports whose argument and device messages are both "Name[%d]\n".
#define KOVO_BRACKET_MESSAGES(name, failed) \
    Messages { name "[%d]\n", name "[%d]\n", failed, name " Successfully\n" }

const Messages kGetNoiseReduction = {
    "GetNoiseReduction[%d] invalid arg.\n", "GetNoiseReduction[%d] device not active.\n",
    "GetNoiseReduction failed.\n", "GetNoiseReduction Successfully.\n"};
const Messages kSetNoiseReduction = {
    "SetNoiseReduction[%d] invalid arg.\n", "SetNoiseReduction[%d] device not active.\n",
    "SetNoiseReduction failed.\n", "SetNoiseReduction Successfully.\n"};
const Messages kGetWhiteBalanceMode = {"GetWhiteBalanceMode[%d]\n", "GetWhiteBalanceMode[%d]\n",
                                       "GetWhiteBalanceMode failed.\n",
                                       "GetWhiteBalanceMode Successfully.\n"};
const Messages kSetWhiteBalanceMode = {"SetWhiteBalanceMode[%d]\n", "SetWhiteBalanceMode[%d]\n",
                                       "SetWhiteBalanceMode failed.\n",
                                       "SetWhiteBalanceMode Successfully.\n"};
const Messages kGetNearLimitSetup = KOVO_BRACKET_MESSAGES("GetNearLimitSetup", nullptr);
const Messages kSetNearLimitSetup = KOVO_BRACKET_MESSAGES("SetNearLimitSetup", "SetNearLimitSetup[%d]\n");
const Messages kGetApertureSetup = KOVO_BRACKET_MESSAGES("GetApertureSetup", nullptr);
const Messages kSetApertureSetup = KOVO_BRACKET_MESSAGES("SetApertureSetup", "SetApertureSetup[%d]\n");
const Messages kGetShutterSpeed = KOVO_BRACKET_MESSAGES("GetShutterSpeed", nullptr);
const Messages kSetShutterSpeed = KOVO_BRACKET_MESSAGES("SetShutterSpeed", "SetShutterSpeed[%d]\n");
const Messages kGetExposureMode = KOVO_BRACKET_MESSAGES("GetExposureMode", nullptr);
const Messages kSetExposureMode = KOVO_BRACKET_MESSAGES("SetExposureMode", "SetExposureMode[%d]\n");
const Messages kGetDayNightOnOFF = KOVO_BRACKET_MESSAGES("GetDayNightOnOFF", nullptr);
const Messages kSetDayNightOnOFF = KOVO_BRACKET_MESSAGES("SetDayNightOnOFF", "SetDayNightOnOFF[%d]\n");
const Messages kGetDayNightMode = KOVO_BRACKET_MESSAGES("GetDayNightMode", nullptr);
const Messages kSetDayNightMode = KOVO_BRACKET_MESSAGES("SetDayNightMode", "SetDayNightMode[%d]\n");
const Messages kGetAGCSetup = {"GetAGCSetup[%d] invalid arg.\n", "GetAGCSetup[%d] device not active.\n",
                               "GetAGCSetup failed.\n", "GetAGCSetup Successfully.\n"};
const Messages kSetAGCSetup = {"SetAGCSetup[%d] invalid arg.\n", "SetAGCSetup[%d] device not active.\n",
                               "SetAGCSetup failed.\n", "SetAGCSetup Successfully.\n"};

const char kAGCKey[] = "AGCSetup";

}  // namespace

long Kovo_GetNoiseReduction(long lDeviceID, int nChannel, char* NoiseReduction) {
    return getPlainText(lDeviceID, nChannel, NoiseReduction, "NoiseReduction", kGetNoiseReduction, __LINE__);
}

long Kovo_SetNoiseReduction(long lDeviceID, int nChannel, char* NoiseReduction) {
    return setPlainText(lDeviceID, nChannel, NoiseReduction, "NoiseReduction", kSetNoiseReduction, __LINE__);
}

long Kovo_GetWhiteBalanceMode(long lDeviceID, int nChannel, char* WhiteBalanceMode) {
    return getPlainText(lDeviceID, nChannel, WhiteBalanceMode, "WhiteBalanceMode", kGetWhiteBalanceMode,
                        __LINE__);
}

long Kovo_SetWhiteBalanceMode(long lDeviceID, int nChannel, char* WhiteBalanceMode) {
    return setPlainText(lDeviceID, nChannel, WhiteBalanceMode, "WhiteBalanceMode", kSetWhiteBalanceMode,
                        __LINE__);
}

long Kovo_GetNearLimitSetup(long lDeviceID, int nChannel, char* NearLimit) {
    return getPlainText(lDeviceID, nChannel, NearLimit, "NearLimitSetup", kGetNearLimitSetup, __LINE__);
}

long Kovo_SetNearLimitSetup(long lDeviceID, int nChannel, char* NearLimit) {
    return setPlainText(lDeviceID, nChannel, NearLimit, "NearLimitSetup", kSetNearLimitSetup, __LINE__);
}

long Kovo_GetApertureSetup(long lDeviceID, int nChannel, char* ApertureSetup) {
    return getPlainText(lDeviceID, nChannel, ApertureSetup, "ApertureSetup", kGetApertureSetup, __LINE__);
}

long Kovo_SetApertureSetup(long lDeviceID, int nChannel, char* ApertureSetup) {
    return setPlainText(lDeviceID, nChannel, ApertureSetup, "ApertureSetup", kSetApertureSetup, __LINE__);
}

long Kovo_GetShutterSpeed(long lDeviceID, int nChannel, char* ShutterSpeed) {
    return getPlainText(lDeviceID, nChannel, ShutterSpeed, "ShutterSpeedSetup", kGetShutterSpeed, __LINE__);
}

long Kovo_SetShutterSpeed(long lDeviceID, int nChannel, char* ShutterSpeed) {
    return setPlainText(lDeviceID, nChannel, ShutterSpeed, "ShutterSpeedSetup", kSetShutterSpeed, __LINE__);
}

long Kovo_GetExposureMode(long lDeviceID, int nChannel, char* ExposureMode) {
    return getPlainText(lDeviceID, nChannel, ExposureMode, "ExposureModeSetup", kGetExposureMode, __LINE__);
}

long Kovo_SetExposureMode(long lDeviceID, int nChannel, char* ExposureMode) {
    return setPlainText(lDeviceID, nChannel, ExposureMode, "ExposureModeSetup", kSetExposureMode, __LINE__);
}

long Kovo_GetDayNightOnOFF(long lDeviceID, int nChannel, char* DayNightOnOFF) {
    return getPlainText(lDeviceID, nChannel, DayNightOnOFF, "DayNight", kGetDayNightOnOFF, __LINE__);
}

long Kovo_SetDayNightOnOFF(long lDeviceID, int nChannel, char* DayNightOnOFF) {
    return setPlainText(lDeviceID, nChannel, DayNightOnOFF, "DayNight", kSetDayNightOnOFF, __LINE__);
}

long Kovo_GetDayNightMode(long lDeviceID, int nChannel, char* DayNightMode) {
    return getPlainText(lDeviceID, nChannel, DayNightMode, "DayNightMode", kGetDayNightMode, __LINE__);
}

long Kovo_SetDayNightMode(long lDeviceID, int nChannel, char* DayNightMode) {
    return setPlainText(lDeviceID, nChannel, DayNightMode, "DayNightMode", kSetDayNightMode, __LINE__);
}

long Kovo_GetAGCSetup(long lDeviceID, int nChannel, int* pAGC) {
    if (!validDevice(lDeviceID) || !validChannel(nChannel) || !pAGC) return reject(kGetAGCSetup, __LINE__);
    Exchange ex(lDeviceID);
    if (!ex.found()) return noDevice(kGetAGCSetup, __LINE__);
    ex.addLine(kAGCKey);
    if (ex.send(false) != 200) return traceAndReturn(kGetAGCSetup.failed, __LINE__, kFailed);
    if (const char* value = ex.answer(kAGCKey)) *pAGC = std::atoi(value);
    return traceAndReturn(kGetAGCSetup.success, __LINE__, kOk);
}

long Kovo_SetAGCSetup(long lDeviceID, int nChannel, int AGC) {
    if (!validDevice(lDeviceID) || !validChannel(nChannel) || (AGC != 0 && AGC != 1))
        return reject(kSetAGCSetup, __LINE__);
    Exchange ex(lDeviceID);
    if (!ex.found()) return noDevice(kSetAGCSetup, __LINE__);
    ex.addLine(std::string(kAGCKey) + ": " + std::to_string(AGC));
    return ex.finishSet(kSetAGCSetup, __LINE__);
}
