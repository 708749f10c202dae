// The outcomes every parameter export of the imaging, video, OSD, audio, PTZ,
// serial and system families shares (see runExportCases), over one table.
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "ParamTestSupport.h"

using kovo::test::ExportCase;

namespace {

// A text argument in writable storage.
std::string g_text = "value";

using PlainFn = long (*)(long, int, char*);
ExportCase plainGet(const char* name, PlainFn fn, const char* invalid, const char* noDevice, const char* failed,
                    const char* success) {
    return {name, [fn](long id, void* s) { return fn(id, -1, static_cast<char*>(s)); }, true, invalid, noDevice,
            failed, success};
}
ExportCase plainSet(const char* name, PlainFn fn, const char* invalid, const char* noDevice, const char* failed,
                    const char* success) {
    return {name, [fn](long id, void*) { return fn(id, 0, g_text.data()); }, false, invalid, noDevice, failed, success};
}

template <typename Record, typename Fn>
std::function<long(long, void*)> getInto(Fn fn) {
    return [fn](long id, void* s) { return fn(id, static_cast<Record*>(s)); };
}

template <typename Record, typename Fn>
std::function<long(long, void*)> setFrom(Record record, Fn fn) {
    return [record, fn](long id, void*) mutable { return fn(id, &record); };
}

OSD_REGION validOsd() {
    OSD_REGION r{};
    std::strcpy(r.title, "t");
    std::strcpy(r.titlecolor, "Black");
    std::strcpy(r.timecolor, "White");
    r.timemode = 1;
    return r;
}

std::vector<ExportCase> allExports() {
    return {
        plainGet("GetNoiseReduction", Kovo_GetNoiseReduction, "GetNoiseReduction[%d] invalid arg.\n",
                 "GetNoiseReduction[%d] device not active.\n", "GetNoiseReduction failed.\n",
                 "GetNoiseReduction Successfully.\n"),
        plainSet("SetNoiseReduction", Kovo_SetNoiseReduction, "SetNoiseReduction[%d] invalid arg.\n",
                 "SetNoiseReduction[%d] device not active.\n", "SetNoiseReduction failed.\n",
                 "SetNoiseReduction Successfully.\n"),
        plainGet("GetWhiteBalanceMode", Kovo_GetWhiteBalanceMode, "GetWhiteBalanceMode[%d]\n",
                 "GetWhiteBalanceMode[%d]\n", "GetWhiteBalanceMode failed.\n", "GetWhiteBalanceMode Successfully.\n"),
        plainSet("SetWhiteBalanceMode", Kovo_SetWhiteBalanceMode, "SetWhiteBalanceMode[%d]\n",
                 "SetWhiteBalanceMode[%d]\n", "SetWhiteBalanceMode failed.\n", "SetWhiteBalanceMode Successfully.\n"),
        plainGet("GetNearLimitSetup", Kovo_GetNearLimitSetup, "GetNearLimitSetup[%d]\n", "GetNearLimitSetup[%d]\n",
                 nullptr, "GetNearLimitSetup Successfully\n"),
        plainSet("SetNearLimitSetup", Kovo_SetNearLimitSetup, "SetNearLimitSetup[%d]\n", "SetNearLimitSetup[%d]\n",
                 "SetNearLimitSetup[%d]\n", "SetNearLimitSetup Successfully\n"),
        plainGet("GetApertureSetup", Kovo_GetApertureSetup, "GetApertureSetup[%d]\n", "GetApertureSetup[%d]\n",
                 nullptr, "GetApertureSetup Successfully\n"),
        plainSet("SetApertureSetup", Kovo_SetApertureSetup, "SetApertureSetup[%d]\n", "SetApertureSetup[%d]\n",
                 "SetApertureSetup[%d]\n", "SetApertureSetup Successfully\n"),
        plainGet("GetShutterSpeed", Kovo_GetShutterSpeed, "GetShutterSpeed[%d]\n", "GetShutterSpeed[%d]\n", nullptr,
                 "GetShutterSpeed Successfully\n"),
        plainSet("SetShutterSpeed", Kovo_SetShutterSpeed, "SetShutterSpeed[%d]\n", "SetShutterSpeed[%d]\n",
                 "SetShutterSpeed[%d]\n", "SetShutterSpeed Successfully\n"),
        plainGet("GetExposureMode", Kovo_GetExposureMode, "GetExposureMode[%d]\n", "GetExposureMode[%d]\n", nullptr,
                 "GetExposureMode Successfully\n"),
        plainSet("SetExposureMode", Kovo_SetExposureMode, "SetExposureMode[%d]\n", "SetExposureMode[%d]\n",
                 "SetExposureMode[%d]\n", "SetExposureMode Successfully\n"),
        plainGet("GetDayNightOnOFF", Kovo_GetDayNightOnOFF, "GetDayNightOnOFF[%d]\n", "GetDayNightOnOFF[%d]\n",
                 nullptr, "GetDayNightOnOFF Successfully\n"),
        plainSet("SetDayNightOnOFF", Kovo_SetDayNightOnOFF, "SetDayNightOnOFF[%d]\n", "SetDayNightOnOFF[%d]\n",
                 "SetDayNightOnOFF[%d]\n", "SetDayNightOnOFF Successfully\n"),
        plainGet("GetDayNightMode", Kovo_GetDayNightMode, "GetDayNightMode[%d]\n", "GetDayNightMode[%d]\n", nullptr,
                 "GetDayNightMode Successfully\n"),
        plainSet("SetDayNightMode", Kovo_SetDayNightMode, "SetDayNightMode[%d]\n", "SetDayNightMode[%d]\n",
                 "SetDayNightMode[%d]\n", "SetDayNightMode Successfully\n"),
        {"GetAGCSetup", [](long id, void* s) { return Kovo_GetAGCSetup(id, 0, static_cast<int*>(s)); }, true,
         "GetAGCSetup[%d] invalid arg.\n", "GetAGCSetup[%d] device not active.\n", "GetAGCSetup failed.\n",
         "GetAGCSetup Successfully.\n"},
        {"SetAGCSetup", [](long id, void*) { return Kovo_SetAGCSetup(id, 0, 1); }, false,
         "SetAGCSetup[%d] invalid arg.\n", "SetAGCSetup[%d] device not active.\n", "SetAGCSetup failed.\n",
         "SetAGCSetup Successfully.\n"},

        {"SetChannelAttribute", setFrom(VIDEO_ATTRIBUTE{}, Kovo_SetChannelAttribute), false,
         "SetStorageMode[%d] invalid input.\n", "SetStorageMode[%d] device null.\n", "SetChannelAttribute failed.\n",
         "SetChannelAttribute Successfully\n"},
        {"GetChannelAttribute", getInto<VIDEO_ATTRIBUTE>(Kovo_GetChannelAttribute), true,
         "GetChannelAttribute[%d] invalid input.\n", "GetStorageMode[%d] device null.\n",
         "GetChannelAttribute failed.\n", "GetChannelAttribute Successfully\n"},
        {"SetMultiVideoChannel", setFrom(MULTI_VIDEO_CHANNEL{}, Kovo_SetMultiVideoChannel), false,
         "SetStorageMode[%d] invalid input.\n", "SetStorageMode[%d] device null.\n", "SetMultiVideoChannel failed.\n",
         "SetMultiVideoChannel Successfully\n"},
        {"GetMultiVideoChannel", getInto<MULTI_VIDEO_CHANNEL>(Kovo_GetMultiVideoChannel), true,
         "GetStorageMode[%d] invalid input.\n", "GetStorageMode[%d] device null.\n", "GetMultiVideoChannel failed.\n",
         "GetMultiVideoChannel Successfully\n"},
        {"SetVideoFlip", setFrom(VIDEO_FLIP{}, Kovo_SetVideoFlip), false, "SetVideoFlip[%d] input invalid.\n",
         "SetVideoFlip[%d] device null.\n", "SetVideoFlip [%d] set video flip failed.\n", "SetVideoFlip success.\n"},
        {"GetVideoFlip", getInto<VIDEO_FLIP>(Kovo_GetVideoFlip), true, "GetVideoFlip[%d] input invalid.\n",
         "GetVideoFlip[%d] device null.\n", "GetVideoFlip [%d] get video flip failed.\n", "GetVideoFlip success.\n"},
        {"SetHDMIConfig", [](long id, void*) { HDMI_CONFIG h{1}; return Kovo_SetHDMIConfig(id, 0, &h); }, false,
         "SetHDMIConfig[%d]\n", "SetHDMIConfig[%d]\n", nullptr, "SetHDMIConfig Successfully\n"},
        {"GetHDMIConfig", [](long id, void* s) { return Kovo_GetHDMIConfig(id, -1, static_cast<HDMI_CONFIG*>(s)); },
         true, "GetHDMIConfig[%d]\n", "GetHDMIConfig[%d]\n", nullptr, "GetHDMIConfig Successfully\n"},

        {"SetOSDRegion title", [](long id, void*) { OSD_REGION r = validOsd(); return Kovo_SetOSDRegion(id, 0, 1, &r); },
         false, "SetOSDRegion[%d] input invalid.\n", "SetOSDRegion[%d] device null.\n",
         "SetOSDRegion [%d] set title failed.\n", "SetOSDRegion Successfully\n"},
        {"SetOSDRegion time", [](long id, void*) { OSD_REGION r = validOsd(); return Kovo_SetOSDRegion(id, 0, 2, &r); },
         false, "SetOSDRegion[%d] input invalid.\n", "SetOSDRegion[%d] device null.\n",
         "SetOSDRegion [%d] set title failed.\n", "SetOSDRegion Successfully\n"},
        {"GetOSDRegion title",
         [](long id, void* s) { return Kovo_GetOSDRegion(id, 0, 1, static_cast<OSD_REGION*>(s)); }, true,
         "GetOSDRegion[%d] Invalid input.\n", "GetOSDRegion[%d] device null.\n",
         "GetOSDRegion[%d] get title setting failed.\n", "GetOSDRegion Successfully\n"},
        {"GetOSDRegion time",
         [](long id, void* s) { return Kovo_GetOSDRegion(id, 0, 2, static_cast<OSD_REGION*>(s)); }, true,
         "GetOSDRegion[%d] Invalid input.\n", "GetOSDRegion[%d] device null.\n",
         "GetOSDRegion[%d] get time setting failed.\n", "GetOSDRegion Successfully\n"},

        {"SetAudioAttribute",
         [](long id, void*) { AUDIO_ATTRIBUTE a{1, 8000, 0, 10240, 1, 0, 1, 0}; return Kovo_SetAudioAttribute(id, 0, &a); },
         false, "SetAudioAttribute[%d] input invalid.\n", "SetAudioAttribute[%d]\n", nullptr,
         "SetAudioAttribute Successfully\n"},
        {"GetAudioAttribute",
         [](long id, void* s) { return Kovo_GetAudioAttribute(id, 0, static_cast<AUDIO_ATTRIBUTE*>(s)); }, true,
         "GetAudioAttribute[%d] invalid input.\n", "GetAudioAttribute[%d] device not active.\n", nullptr,
         "GetAudioAttribute Successfully\n"},

        {"PTZControl", [](long id, void*) { return Kovo_PTZControl(id, 0, 30, 0); }, false, "PTZControl[%d]\n",
         "PTZControl[%d]\n", "PTZControl set parameter failed %d.\n", "PTZControl Successfully\n", 3},
        {"SetPTModuleConfig",
         [](long id, void*) { PTMODULE_CONFIG c{1, 1, 3, 256}; return Kovo_SetPTModuleConfig(id, 0, &c); }, false,
         "SetPTModuleConfig[%d] invalid input.\n", "SetPTModuleConfig[%d]\n", "SetPTModuleConfig failed.\n",
         "SetPTModuleConfig Successfully\n"},
        {"GetPTModuleConfig",
         [](long id, void* s) { return Kovo_GetPTModuleConfig(id, 0, static_cast<PTMODULE_CONFIG*>(s)); }, true,
         "GetPTModuleConfig[%d]\n", "GetPTModuleConfig[%d]\n", nullptr, "GetPTModuleConfig Successfully\n"},
        {"SetHomeFunction", setFrom(HOME_FUNCTION{}, Kovo_SetHomeFunction), false, "SetStorageMode[%d] invalid input.\n",
         "SetStorageMode[%d] device null.\n", "SetHomeFunction failed.\n", "SetHomeFunction Successfully\n"},
        {"GetHomeFunction", getInto<HOME_FUNCTION>(Kovo_GetHomeFunction), true, "GetStorageMode[%d] invalid input.\n",
         "GetStorageMode[%d] device null.\n", "GetHomeFunction failed.\n", "GetHomeFunction Successfully\n"},
        {"SetSerialPortConfig",
         [](long id, void*) { SERIALPORT_CONFIG c{0, 1, 2400, 7, 0, 1}; return Kovo_SetSerialPortConfig(id, 1, &c); },
         false, "SetSerialPortConfig[%d] input invalid.\n", "SetSerialPortConfig[%d] device null.\n",
         "SetSerialPortConfig [%d] set serial port setting failed.\n", nullptr},
        {"GetSerialPortConfig",
         [](long id, void* s) { return Kovo_GetSerialPortConfig(id, 254, static_cast<SERIALPORT_CONFIG*>(s)); }, true,
         "GetSerialPortConfig[%d] Invalid input.\n", "GetSerialPortConfig[%d] device null.\n",
         "GetSerialPortConfig[%d] get serial port setting failed.\n", nullptr},
        {"TransparentTransfer",
         [](long id, void*) { unsigned char b[1] = {1}; return Kovo_TransparentTransfer(id, 0, b, 1); }, false,
         "TransparentTransfer[%d] invalid input.\n", "TransparentTransfer[%d] device null.\n",
         "TransparentTransfer failed.\n", "TransparentTransfer Successfully\n"},
        {"AuxilControl", [](long id, void*) { return Kovo_AuxilControl(id, 2, g_text.data(), 1); }, false,
         "Kovo_AuxilControl[%d] input invalid.\n", "Kovo_AuxilControl[%d] device null.\n",
         "Kovo_AuxilControl %ld device command %ld failed.\n", "Kovo_AuxilControl %ld device command %ld Successfully\n"},

        {"GetProductSN", [](long id, void* s) { return Kovo_GetProductSN(id, static_cast<char*>(s)); }, true,
         "GetProductSN[%d] invalid input.\n", "GetProductSN[%d] device null.\n",
         "GetProductSN[%d] get product sn failed.\n", "GetProductSN get product sn success.\n"},
        {"GetVersionInfo", getInto<VERSION_INFO>(Kovo_GetVersionInfo), true, "GetVersionInfo[%d] invalid input.\n",
         "GetVersionInfo[%d] device null.\n", "GetVersionInfo[%d] get version info failed.\n",
         "GetVersionInfo get version info success.\n"},
        {"SetDateTime", setFrom(DATETIME_CONFIG{1, "ntp", 12, ""}, Kovo_SetDateTime), false,
         "SetDateTime[%d] input invalid.\n", "SetDateTime[%d] device null.\n",
         "SetDateTime [%d] set date time setting failed.\n", nullptr},
        {"GetDateTime", getInto<DATETIME_CONFIG>(Kovo_GetDateTime), true, "GetDateTime[%d] Invalid input.\n",
         "GetDateTime[%d] device null.\n", "GetDateTime[%d] get date time setting failed.\n", nullptr},
        {"SetWatchdogConfig", [](long id, void*) { WATCHDOG_CONFIG w{1}; return Kovo_SetWatchdogConfig(id, 0, &w); },
         false, "SetWatchdogConfig[%d]\n", "SetWatchdogConfig[%d]\n", "SetWatchdogConfig failed.\n",
         "SetWatchdogConfig Successfully.\n"},
        {"GetWatchdogConfig",
         [](long id, void* s) { return Kovo_GetWatchdogConfig(id, 0, static_cast<WATCHDOG_CONFIG*>(s)); }, true,
         "GetWatchdogConfig[%d]\n", "GetWatchdogConfig[%d]\n", "GetWatchdogConfig failed.\n",
         "GetWatchdogConfig Successfully.\n"},
        {"RebootDevice", [](long id, void*) { return Kovo_RebootDevice(id); }, false, "RebootDevice[%d]\n",
         "RebootDevice[%d]\n", "RebootDevice[%d]\n", "RebootDevice Successfully\n"},
    };
}

TEST(ParamFailures, SharedOutcomesOfEveryExport) {
    kovo::test::runExportCases(allExports());
}

}  // namespace
