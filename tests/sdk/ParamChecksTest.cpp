// The value checks of the exports that have them: each rejected value
// returns -1 with its own trace and sends nothing; boundary values pass.
#include <cstring>
#include <string>
#include <vector>

#include "ParamTestSupport.h"

using kovo::test::kUnknownId;
using kovo::test::RejectCase;
using kovo::test::runRejectCases;

namespace {

std::string g_text = "v";

OSD_REGION osd(const char* titleColor, int h, int v, int timemode = 1, const char* timeColor = "White") {
    OSD_REGION r{};
    std::strcpy(r.titlecolor, titleColor);
    std::strcpy(r.timecolor, timeColor);
    r.titleh = r.timeh = h;
    r.titlev = r.timev = v;
    r.timemode = timemode;
    return r;
}

std::function<long(long)> setOsd(int type, OSD_REGION r) {
    return [type, r](long id) mutable { return Kovo_SetOSDRegion(id, 0, type, &r); };
}

TEST(ParamChecks, ImagingAndVideo) {
    runRejectCases({
        {"AGC 2", [](long id) { return Kovo_SetAGCSetup(id, 0, 2); }, -1, "SetAGCSetup[%d] invalid arg.\n"},
        {"AGC -1", [](long id) { return Kovo_SetAGCSetup(id, 0, -1); }, -1, "SetAGCSetup[%d] invalid arg.\n"},
        {"channel -2", [](long id) { return Kovo_SetNoiseReduction(id, -2, g_text.data()); }, -1,
         "SetNoiseReduction[%d] invalid arg.\n"},
        {"null text", [](long id) { return Kovo_SetShutterSpeed(id, 0, nullptr); }, -1, "SetShutterSpeed[%d]\n"},
        // "NoiseReduction: " and 240 characters make 256, one past the field buffer.
        {"line of 256 characters", [](long id) {
             std::string text(240, 'n');
             return Kovo_SetNoiseReduction(id, 0, text.data());
         },
         -1, "SetNoiseReduction[%d] invalid arg.\n"},
        {"HDMI channel -2", [](long id) { HDMI_CONFIG h{1}; return Kovo_SetHDMIConfig(id, -2, &h); }, -1,
         "SetHDMIConfig[%d]\n"},
    });
}

TEST(ParamChecks, OSD) {
    const char* typeTrace = "GetOSDRegion[%d] only can set title and date type.\n";
    runRejectCases({
        {"set type 0", setOsd(0, osd("White", 0, 0)), -1, typeTrace},
        {"set type 3", setOsd(3, osd("White", 0, 0)), -1, typeTrace},
        {"get type 0", [](long id) { OSD_REGION r{}; return Kovo_GetOSDRegion(id, 0, 0, &r); }, -1, typeTrace},
        {"get type 3", [](long id) { OSD_REGION r{}; return Kovo_GetOSDRegion(id, -1, 3, &r); }, -1, typeTrace},
        {"set channel -2", [](long id) { OSD_REGION r = osd("White", 0, 0); return Kovo_SetOSDRegion(id, -2, 1, &r); },
         -1, "SetOSDRegion[%d] input invalid.\n"},
        {"title white lower case", setOsd(1, osd("white", 0, 0)), -1, "SetOSDRegion[%d] title color invalid.\n"},
        {"title h 101", setOsd(1, osd("Gray", 101, 0)), -1, "SetOSDRegion[%d] titleh or titlev invalid.\n"},
        {"title v -1", setOsd(1, osd("Black", 0, -1)), -1, "SetOSDRegion[%d] titleh or titlev invalid.\n"},
        {"title 100 100", setOsd(1, osd("Black", 100, 100)), 0, nullptr},
        {"time mode 3", setOsd(2, osd("White", 0, 0, 3)), -1, "SetOSDRegion[%d] time mode invalid.\n"},
        {"time mode before colour", setOsd(2, osd("White", 0, 0, 0, "Pink")), -1,
         "SetOSDRegion[%d] time mode invalid.\n"},
        {"time colour", setOsd(2, osd("White", 0, 0, 2, "Pink")), -1, "SetOSDRegion[%d] time color invalid.\n"},
        {"time h 101", setOsd(2, osd("White", 101, 0, 2)), -1, "SetOSDRegion[%d] timeh or timev invalid.\n"},
        {"time ignores title colour", setOsd(2, osd("Pink", 0, 0, 2)), 0, nullptr},
        {"unterminated colour", [](long id) {
             OSD_REGION r = osd("White", 0, 0);
             std::memset(r.titlecolor, 'W', sizeof r.titlecolor);
             return Kovo_SetOSDRegion(id, 0, 1, &r);
         },
         -1, "SetOSDRegion[%d] title color invalid.\n"},
    });
}

std::function<long(long)> setAudio(AUDIO_ATTRIBUTE a) {
    return [a](long id) mutable { return Kovo_SetAudioAttribute(id, 0, &a); };
}

TEST(ParamChecks, Audio) {
    runRejectCases({
        {"sample rate", setAudio({1, 16000, 0, 10240, 0, 0, 0, 0}), -1, "SetAudioAttribute[%d] invalid sample rate.\n"},
        {"sample rate unchecked without bit rate", setAudio({1, 16000, 0, 0, 0, 0, 0, 0}), 0, nullptr},
        {"encode type 3", setAudio({1, 8000, 3, 10240, 0, 0, 0, 0}), -1, "SetAudioAttribute[%d] invalid encode type.\n"},
        {"bit rate 10239", setAudio({1, 8000, 0, 10239, 0, 0, 0, 0}), -1, "SetAudioAttribute[%d] invalid bit rate.\n"},
        {"bit rate 10240", setAudio({1, 32000, 0, 10240, 0, 0, 0, 0}), 0, nullptr},
        {"in volume 32", setAudio({1, 8000, 2, 10240, 0, 32, 0, 0}), -1, "SetAudioAttribute[%d] invalid in volume.\n"},
        {"out volume -1", setAudio({1, 8000, 1, 10240, 0, 31, 0, -1}), -1, "SetAudioAttribute[%d] invalid out volume.\n"},
        {"channel -2", [](long id) { AUDIO_ATTRIBUTE a{}; return Kovo_SetAudioAttribute(id, -2, &a); }, -1,
         "SetAudioAttribute[%d] input invalid.\n"},
    });
}

std::function<long(long)> setModule(PTMODULE_CONFIG c) {
    return [c](long id) mutable { return Kovo_SetPTModuleConfig(id, 0, &c); };
}
std::function<long(long)> setSerial(int com, SERIALPORT_CONFIG c) {
    return [com, c](long id) mutable { return Kovo_SetSerialPortConfig(id, com, &c); };
}

TEST(ParamChecks, PTZ) {
    const SERIALPORT_CONFIG good{0, 1, 9600, 8, 0, 1};
    auto serialWith = [&](int SERIALPORT_CONFIG::*field, int value) {
        SERIALPORT_CONFIG c = good;
        c.*field = value;
        return setSerial(1, c);
    };
    std::vector<RejectCase> cases;
    for (long command : {9L, 14L, 15L, 20L, 21L, 24L, 25L, 31L, 63L, 65L, 74L, 76L, -1L}) {
        cases.push_back({"PTZ command", [command](long id) { return Kovo_PTZControl(id, 0, command, 1); }, -1,
                         "PTZControl[%d]\n"});
    }
    std::vector<RejectCase> more = {
        {"PTZ channel -2", [](long id) { return Kovo_PTZControl(id, -2, 10, 1); }, -1, "PTZControl[%d]\n"},
        {"module function 2", setModule({2, 0, 0, 0}), -1, "SetPTModuleConfig[%d] invalid function.\n"},
        {"module mode -1", setModule({0, -1, 0, 0}), -1, "SetPTModuleConfig[%d] invalid mode.\n"},
        {"module para1 4", setModule({0, 0, 4, 0}), -1, "SetPTModuleConfig[%d] invalid para.\n"},
        {"module para2 257", setModule({0, 0, 0, 257}), -1, "SetPTModuleConfig[%d] invalid para.\n"},
        {"module para2 256", setModule({0, 0, 0, 256}), 0, nullptr},
        {"serial com 255", setSerial(255, good), -1, "SetSerialPortConfig[%d] input invalid.\n"},
        {"serial com 0", setSerial(0, good), -1, "SetSerialPortConfig[%d] input invalid.\n"},
        {"serial protocol", serialWith(&SERIALPORT_CONFIG::nProtocol, 3), -1, "SetSerialPortConfig[%d] proctol error.\n"},
        {"serial dome", serialWith(&SERIALPORT_CONFIG::nDomeId, 255), -1, "SetSerialPortConfig[%d] domeid invalid.\n"},
        {"serial baud", serialWith(&SERIALPORT_CONFIG::nBaudRate, 115200), -1,
         "SetSerialPortConfig[%d] baudrate invalid.\n"},
        {"serial char length", serialWith(&SERIALPORT_CONFIG::nCharLen, 6), -1,
         "SetSerialPortConfig[%d] charlen invalid.\n"},
        {"serial parity", serialWith(&SERIALPORT_CONFIG::nParityBit, 3), -1,
         "SetSerialPortConfig[%d] parity bit invalid.\n"},
        {"serial stop bits", serialWith(&SERIALPORT_CONFIG::nStopBit, 0), -1,
         "SetSerialPortConfig[%d] stop bit invalid.\n"},
        {"serial get com 255", [](long id) { SERIALPORT_CONFIG c{}; return Kovo_GetSerialPortConfig(id, 255, &c); },
         -1, "GetSerialPortConfig[%d] Invalid input.\n"},
        {"transfer len 33", [](long id) { unsigned char b[40] = {}; return Kovo_TransparentTransfer(id, 0, b, 33); },
         -1, "TransparentTransfer[%d] invalid input.\n"},
        {"transfer len 0", [](long id) { unsigned char b[1] = {}; return Kovo_TransparentTransfer(id, 0, b, 0); }, -1,
         "TransparentTransfer[%d] invalid input.\n"},
        {"transfer channel -1", [](long id) { unsigned char b[1] = {}; return Kovo_TransparentTransfer(id, -1, b, 1); },
         -1, "TransparentTransfer[%d] invalid input.\n"},
        {"auxiliary command 0", [](long id) { return Kovo_AuxilControl(id, 0, g_text.data(), 1); }, -1,
         "Kovo_AuxilControl[%d] input invalid.\n"},
        {"auxiliary null mode", [](long id) { return Kovo_AuxilControl(id, 1, nullptr, 1); }, -1,
         "Kovo_AuxilControl[%d] input invalid.\n"},
        {"auxiliary overlong mode", [](long id) {
             std::string mode(300, 'm');
             return Kovo_AuxilControl(id, 1, mode.data(), 1);
         },
         -1, "Kovo_AuxilControl[%d] input invalid.\n"},
    };
    cases.insert(cases.end(), more.begin(), more.end());
    runRejectCases(cases);
}

std::function<long(long)> setDate(DATETIME_CONFIG d) {
    return [d](long id) mutable { return Kovo_SetDateTime(id, &d); };
}

TEST(ParamChecks, System) {
    runRejectCases({
        {"ntp on, empty server", setDate({1, "", 0, ""}), -1, "SetDateTime[%d] ip empty.\n"},
        {"ntp on, zone 13", setDate({1, "ntp", 13, ""}), -1, "SetDateTime[%d] date time mode invalid.\n"},
        {"ntp on, zone -13", setDate({1, "ntp", -13, ""}), -1, "SetDateTime[%d] date time mode invalid.\n"},
        {"ntp on, zone -12", setDate({1, "ntp", -12, ""}), 0, nullptr},
        {"ntp off, anything", setDate({0, "", 40, ""}), 0, nullptr},
        {"watchdog channel -2", [](long id) { WATCHDOG_CONFIG w{}; return Kovo_SetWatchdogConfig(id, -2, &w); }, -1,
         "SetWatchdogConfig[%d]\n"},
    });
}

// Record checks made after the lookup give way to the unknown device.
TEST(ParamChecks, RecordChecksAfterLookupYieldToUnknownDevice) {
    SERIALPORT_CONFIG badSerial{9, 0, 0, 0, 0, 0};
    EXPECT_EQ(Kovo_SetSerialPortConfig(kUnknownId, 1, &badSerial), -3);
    DATETIME_CONFIG badDate{1, "", 99, ""};
    EXPECT_EQ(Kovo_SetDateTime(kUnknownId, &badDate), -3);
    OSD_REGION badOsd = osd("Pink", 500, 500, 9, "Pink");
    EXPECT_EQ(Kovo_SetOSDRegion(kUnknownId, 0, 1, &badOsd), -3);
    EXPECT_EQ(Kovo_SetOSDRegion(kUnknownId, 0, 2, &badOsd), -3);
    EXPECT_EQ(Kovo_PTZControl(kUnknownId, 0, 14, 0), 3);
    // Checks made before the lookup still win.
    EXPECT_EQ(Kovo_SetSerialPortConfig(kUnknownId, 255, &badSerial), -1);
    EXPECT_EQ(Kovo_SetOSDRegion(kUnknownId, 0, 5, &badOsd), -1);
    AUDIO_ATTRIBUTE badAudio{1, 1, 0, 10240, 0, 0, 0, 0};
    EXPECT_EQ(Kovo_SetAudioAttribute(kUnknownId, 0, &badAudio), -1);
    EXPECT_EQ(Kovo_SetAGCSetup(kUnknownId, 0, 5), -1);
}

}  // namespace
