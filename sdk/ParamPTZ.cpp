// Pan/tilt/zoom commands, the pan/tilt module, the dome's home function, the
// serial line to the dome, raw serial bytes and auxiliary outputs.
#include <cstdio>
#include <cstring>
#include <string>

#include "rtsp/rtsp.h"
#include "sdk/ParamFrame.h"
#include "sdk/Trace.h"

using namespace kovo::param;

namespace {

// ---- One-shot PTZ commands. The numbering, gaps included, is public.

enum class PtzShape {
    Move,      // "%s: %s, %ld"     direction: up, 5
    Diagonal,  // "%s: %s-%s, %ld"  direction: left-up, 5
    Value,     // "%s: %ld"         PresetSet: 3
};

struct PtzCommand {
    long id;
    PtzShape shape;
    const char* key;
    const char* word1;
    const char* word2;
};

const PtzCommand kPtzCommands[] = {
    {10, PtzShape::Move, "direction", "up", nullptr},
    {11, PtzShape::Move, "direction", "down", nullptr},
    {12, PtzShape::Move, "direction", "left", nullptr},
    {13, PtzShape::Move, "direction", "right", nullptr},
    {16, PtzShape::Move, "zoom", "tele", nullptr},
    {17, PtzShape::Move, "zoom", "wide", nullptr},
    {18, PtzShape::Move, "focus", "near", nullptr},
    {19, PtzShape::Move, "focus", "far", nullptr},
    {22, PtzShape::Value, "PresetSet", nullptr, nullptr},
    {23, PtzShape::Value, "PresetCall", nullptr, nullptr},
    {26, PtzShape::Diagonal, "direction", "left", "up"},
    {27, PtzShape::Diagonal, "direction", "left", "down"},
    {28, PtzShape::Diagonal, "direction", "right", "up"},
    {29, PtzShape::Diagonal, "direction", "right", "down"},
    {30, PtzShape::Value, "stop", nullptr, nullptr},
    {64, PtzShape::Value, "Compose", nullptr, nullptr},
    {75, PtzShape::Value, "PresetDelete", nullptr, nullptr},
};

const PtzCommand* findPtzCommand(long id) {
    for (const PtzCommand& command : kPtzCommands) {
        if (command.id == id) return &command;
    }
    return nullptr;
}

std::string ptzLine(const PtzCommand& command, long parameter) {
    char line[kMaxFieldLine + 1];
    switch (command.shape) {
        case PtzShape::Move:
            std::snprintf(line, sizeof line, "%s: %s, %ld", command.key, command.word1, parameter);
            break;
        case PtzShape::Diagonal:
            std::snprintf(line, sizeof line, "%s: %s-%s, %ld", command.key, command.word1, command.word2,
                          parameter);
            break;
        case PtzShape::Value:
            std::snprintf(line, sizeof line, "%s: %ld", command.key, parameter);
            break;
    }
    return line;
}

// ---- Records.

const char* const kFunctionNames[] = {"Setup", "Action"};
const Words kFunctionWords = words(kFunctionNames, 0, 0);
const char* const kModeNames[] = {"AutoPanStart", "AutoPanStop"};
const Words kModeWords = words(kModeNames, 0, 0);

const Field kPTModuleFields[] = {
    KOVO_WORD_FIELD(PTMODULE_CONFIG, nFunction, "PTModuleFunction", Word, &kFunctionWords),
    KOVO_WORD_FIELD(PTMODULE_CONFIG, nMode, "PTMode", Word, &kModeWords),
    KOVO_FIELD(PTMODULE_CONFIG, nPara1, "PTPara1", Int),
    KOVO_FIELD(PTMODULE_CONFIG, nPara2, "PTPara2", Int),
};

// "HomeFuction" is the camera's spelling.
const char* const kHomeModeNames[] = {"Preset", "Tour", "Scan", "Pattern"};
const Words kHomeModeWords = words(kHomeModeNames, 0, 0);

const Field kHomeFields[] = {
    KOVO_FIELD(HOME_FUNCTION, HomeFunction, "HomeFuction", SwitchOff),
    KOVO_WORD_FIELD(HOME_FUNCTION, HomeFunctionMode, "HomeFuctionMode", Word, &kHomeModeWords),
    KOVO_FIELD(HOME_FUNCTION, HomeFunctionIndex, "HomeFuctionIndex", IntScan),
    KOVO_FIELD(HOME_FUNCTION, HomeFunctionIdle, "HomeFuctionIdle", IntScan),
};

// The port number ("ComId") is an argument, sent between these groups in an
// order that differs between Set and Get.
const char* const kProtocolNames[] = {"ORV", "PELCO_P", "PELCO_D"};
const Words kProtocolWords = words(kProtocolNames, 0, 0);
const char* const kParityNames[] = {"none", "odd", "even"};
const Words kParityWords = words(kParityNames, 2, 2);

const Field kSerialProtocol[] = {
    KOVO_WORD_FIELD(SERIALPORT_CONFIG, nProtocol, "Protocol", Word, &kProtocolWords),
};
const Field kSerialDome[] = {
    KOVO_FIELD(SERIALPORT_CONFIG, nDomeId, "DomeId", Int),
};
const Field kSerialLine[] = {
    KOVO_FIELD(SERIALPORT_CONFIG, nBaudRate, "BaudRate", Int),
    KOVO_FIELD(SERIALPORT_CONFIG, nCharLen, "CharLen", Int),
    KOVO_WORD_FIELD(SERIALPORT_CONFIG, nParityBit, "ParityBit", Word, &kParityWords),
    KOVO_FIELD(SERIALPORT_CONFIG, nStopBit, "StopBit", Int),
};

const Messages kPTZControl = {"PTZControl[%d]\n", "PTZControl[%d]\n", nullptr, "PTZControl Successfully\n"};
const Messages kSetPTModule = {"SetPTModuleConfig[%d] invalid input.\n", "SetPTModuleConfig[%d]\n",
                               "SetPTModuleConfig failed.\n", "SetPTModuleConfig Successfully\n"};
const Messages kGetPTModule = {"GetPTModuleConfig[%d]\n", "GetPTModuleConfig[%d]\n", nullptr,
                               "GetPTModuleConfig Successfully\n"};
const Messages kSetHome = {"SetStorageMode[%d] invalid input.\n", "SetStorageMode[%d] device null.\n",
                           "SetHomeFunction failed.\n", "SetHomeFunction Successfully\n"};
const Messages kGetHome = {"GetStorageMode[%d] invalid input.\n", "GetStorageMode[%d] device null.\n",
                           "GetHomeFunction failed.\n", "GetHomeFunction Successfully\n"};
const Messages kSetSerial = {"SetSerialPortConfig[%d] input invalid.\n", "SetSerialPortConfig[%d] device null.\n",
                             "SetSerialPortConfig [%d] set serial port setting failed.\n", nullptr};
const Messages kGetSerial = {"GetSerialPortConfig[%d] Invalid input.\n", "GetSerialPortConfig[%d] device null.\n",
                             "GetSerialPortConfig[%d] get serial port setting failed.\n", nullptr};
const Messages kTransfer = {"TransparentTransfer[%d] invalid input.\n", "TransparentTransfer[%d] device null.\n",
                            "TransparentTransfer failed.\n", "TransparentTransfer Successfully\n"};
const Messages kAuxil = {"Kovo_AuxilControl[%d] input invalid.\n", "Kovo_AuxilControl[%d] device null.\n",
                         nullptr, nullptr};

bool validComId(int comId) { return comId >= 1 && comId <= 254; }

std::string comIdLine(int comId) { return "ComId: " + std::to_string(comId); }

// The serial record's checks, made after the device lookup; the message of
// the first failing one, or null.
const char* serialRecordError(const SERIALPORT_CONFIG& c) {
    if (c.nProtocol < 0 || c.nProtocol > 2) return "SetSerialPortConfig[%d] proctol error.\n";
    if (c.nDomeId < 1 || c.nDomeId > 254) return "SetSerialPortConfig[%d] domeid invalid.\n";
    if (c.nBaudRate != 2400 && c.nBaudRate != 4800 && c.nBaudRate != 9600 && c.nBaudRate != 19200)
        return "SetSerialPortConfig[%d] baudrate invalid.\n";
    if (c.nCharLen != 7 && c.nCharLen != 8) return "SetSerialPortConfig[%d] charlen invalid.\n";
    if (c.nParityBit < 0 || c.nParityBit > 2) return "SetSerialPortConfig[%d] parity bit invalid.\n";
    if (c.nStopBit != 1 && c.nStopBit != 2) return "SetSerialPortConfig[%d] stop bit invalid.\n";
    return nullptr;
}

}  // namespace

long Kovo_PTZControl(long lDeviceID, int nChannel, long lCommandID, long lParameter) {
    if (!validDevice(lDeviceID) || !validChannel(nChannel)) return reject(kPTZControl, __LINE__);
    Exchange ex(lDeviceID);
    // Callers test for +3, not -3, here.
    if (!ex.found()) return traceAndReturn(kPTZControl.noDevice, __LINE__, 3);
    // The header goes out ahead of the command check: an unknown command
    // leaves it scheduled for the next request on the connection.
    ex.scheduleHeaderNow();
    const CConnect* conn = ex.connection();
    if (conn->clientid[0]) {
        kovo::tracef("===%s: %.*s===\n", "ClientID", static_cast<int>(strnlen(conn->clientid, sizeof conn->clientid)),
                    conn->clientid);
    }
    const PtzCommand* command = findPtzCommand(lCommandID);
    if (!command) return reject(kPTZControl, __LINE__);
    ex.addLine(ptzLine(*command, lParameter));
    const int status = ex.send(true);
    if (status != 200) return traceAndReturn("PTZControl set parameter failed %d.\n", status, kFailed);
    return traceAndReturn(kPTZControl.success, __LINE__, kOk);
}

long Kovo_SetPTModuleConfig(long lDeviceID, int nChannel, PTMODULE_CONFIG* pConfig) {
    if (!pConfig || !validDevice(lDeviceID) || !validChannel(nChannel)) return reject(kSetPTModule, __LINE__);
    if (pConfig->nFunction != 0 && pConfig->nFunction != 1)
        return traceAndReturn("SetPTModuleConfig[%d] invalid function.\n", __LINE__, kInvalidArg);
    if (pConfig->nMode != 0 && pConfig->nMode != 1)
        return traceAndReturn("SetPTModuleConfig[%d] invalid mode.\n", __LINE__, kInvalidArg);
    if (pConfig->nPara1 < 0 || pConfig->nPara1 > 3 || pConfig->nPara2 < 0 || pConfig->nPara2 > 256)
        return traceAndReturn("SetPTModuleConfig[%d] invalid para.\n", __LINE__, kInvalidArg);
    return setRecord(lDeviceID, nChannel, pConfig, kPTModuleFields, kSetPTModule, __LINE__);
}

long Kovo_GetPTModuleConfig(long lDeviceID, int nChannel, PTMODULE_CONFIG* pConfig) {
    return getRecord(lDeviceID, nChannel, pConfig, kPTModuleFields, kGetPTModule, __LINE__);
}

long Kovo_SetHomeFunction(long lDeviceID, HOME_FUNCTION* pHomeFunction) {
    return setRecord(lDeviceID, kNoChannel, pHomeFunction, kHomeFields, kSetHome, __LINE__);
}

long Kovo_GetHomeFunction(long lDeviceID, HOME_FUNCTION* pHomeFunction) {
    return getRecord(lDeviceID, kNoChannel, pHomeFunction, kHomeFields, kGetHome, __LINE__);
}

long Kovo_SetSerialPortConfig(long lDeviceID, int nComID, SERIALPORT_CONFIG* pSerialConfig) {
    if (!pSerialConfig || !validDevice(lDeviceID) || !validComId(nComID)) return reject(kSetSerial, __LINE__);
    Exchange ex(lDeviceID);
    if (!ex.found()) return noDevice(kSetSerial, __LINE__);
    if (const char* error = serialRecordError(*pSerialConfig)) return traceAndReturn(error, __LINE__, kInvalidArg);
    ex.addValues(kSerialProtocol, pSerialConfig);
    ex.addLine(comIdLine(nComID));
    ex.addValues(kSerialDome, pSerialConfig);
    ex.addValues(kSerialLine, pSerialConfig);
    return ex.finishSet(kSetSerial, __LINE__);
}

long Kovo_GetSerialPortConfig(long lDeviceID, int nComID, SERIALPORT_CONFIG* pSerialConfig) {
    if (!pSerialConfig || !validDevice(lDeviceID) || !validComId(nComID)) return reject(kGetSerial, __LINE__);
    Exchange ex(lDeviceID);
    if (!ex.found()) return noDevice(kGetSerial, __LINE__);
    // The port is the one Get line that carries a value: it selects the port.
    ex.addKeys(kSerialProtocol);
    ex.addKeys(kSerialDome);
    ex.addLine(comIdLine(nComID));
    ex.addKeys(kSerialLine);
    if (ex.send(false) != 200) return traceAndReturn(kGetSerial.failed, __LINE__, kFailed);
    ex.readInto(kSerialProtocol, pSerialConfig);
    ex.readInto(kSerialDome, pSerialConfig);
    ex.readInto(kSerialLine, pSerialConfig);
    return outcome(kOk);
}

long Kovo_TransparentTransfer(long lDeviceID, int nChannel, unsigned char* pBuf, int len) {
    constexpr int kMaxBytes = 32;
    if (!validDevice(lDeviceID) || !pBuf || nChannel < 0 || len < 1 || len > kMaxBytes)
        return reject(kTransfer, __LINE__);
    Exchange ex(lDeviceID);
    if (!ex.found()) return noDevice(kTransfer, __LINE__);
    char hex[2 * kMaxBytes + 1];
    GetHexString(pBuf, len, hex);
    ex.addLine(std::string("PTZCmdRawDataTransfer: ") + hex);
    return ex.finishSet(kTransfer, __LINE__);
}

long Kovo_AuxilControl(long lDeviceID, long lCommandID, char* pszMode, long lValue) {
    if (!validDevice(lDeviceID) || lCommandID < 1 || !pszMode) return reject(kAuxil, __LINE__);
    std::string line = "Aux_Ctrl: " + std::to_string(lCommandID) + ", " + pszMode;
    if (std::strcmp(pszMode, "Manual") == 0) line += ", " + std::to_string(lValue);
    // The request's field buffer holds 255 characters; a longer mode is refused, not cut.
    if (line.size() > kMaxFieldLine) return reject(kAuxil, __LINE__);
    Exchange ex(lDeviceID);
    if (!ex.found()) return noDevice(kAuxil, __LINE__);
    ex.addLine(std::move(line));
    if (ex.send(true) != 200) {
        KovoTrace("Kovo_AuxilControl %ld device command %ld failed.\n", lDeviceID, lCommandID);
        return outcome(kFailed);
    }
    KovoTrace("Kovo_AuxilControl %ld device command %ld Successfully\n", lDeviceID, lCommandID);
    return outcome(kOk);
}
