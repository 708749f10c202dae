// The exact lines every Set and command export sends, family by family:
// order, key spelling and value formatting, after "Content-type".
#include <cstring>
#include <string>
#include <vector>

#include "ParamTestSupport.h"

using kovo::test::runSetLinesCases;
using kovo::test::SetLinesCase;

namespace {

// A text argument held in writable storage, as the exports take char*.
long withText(const char* text, const std::function<long(char*)>& call) {
    std::string copy = text;
    return call(copy.data());
}

TEST(ParamSetLines, Imaging) {
    // "NoiseReduction: " is 16 characters: 239 more make exactly 255.
    const std::string n239(239, 'n');
    const struct {
        long (*set)(long, int, char*);
        std::string value;
        std::string line;
    } plain[] = {
        {Kovo_SetNoiseReduction, "3", "NoiseReduction: 3"},
        {Kovo_SetWhiteBalanceMode, "Auto WB", "WhiteBalanceMode: Auto WB"},
        {Kovo_SetNearLimitSetup, "1m", "NearLimitSetup: 1m"},
        {Kovo_SetApertureSetup, "F1.6", "ApertureSetup: F1.6"},
        {Kovo_SetShutterSpeed, "1/50", "ShutterSpeedSetup: 1/50"},
        {Kovo_SetExposureMode, "Manual", "ExposureModeSetup: Manual"},
        {Kovo_SetDayNightOnOFF, "ON", "DayNight: ON"},
        {Kovo_SetDayNightMode, "Auto", "DayNightMode: Auto"},
        {Kovo_SetDayNightMode, "", "DayNightMode: "},
        {Kovo_SetNoiseReduction, n239, "NoiseReduction: " + n239},
    };
    std::vector<SetLinesCase> cases{
        {"AGC 0", [](long id) { return Kovo_SetAGCSetup(id, 0, 0); }, {"AGCSetup: 0"}},
        {"AGC 1", [](long id) { return Kovo_SetAGCSetup(id, -1, 1); }, {"AGCSetup: 1"}},
    };
    for (const auto& p : plain) {
        auto text = p.value;  // the exports take char*
        cases.push_back({p.line.c_str(), [&p, text](long id) mutable { return p.set(id, -1, text.data()); }, {p.line}});
    }
    runSetLinesCases(cases);
}

TEST(ParamSetLines, Video) {
    runSetLinesCases({
        {"ChannelAttribute", [](long id) {
             VIDEO_ATTRIBUTE a{1, 1920, 1080, 4096, 25, 50, 2, 1, 51, 10};
             return Kovo_SetChannelAttribute(id, &a);
         },
         {"EncStream: 1", "EncResolution: 1920, 1080", "EncBitRate: 4096", "EncFrameRate: 25", "EncGOP: 50",
          "GopStructure: 2", "EncBitRateControl: 1", "EncBitRateMaxQP: 51", "EncBitRateMinQP: 10"}},
        {"MultiVideoChannel", [](long id) {
             MULTI_VIDEO_CHANNEL m{1, 0, 5, 0};
             return Kovo_SetMultiVideoChannel(id, &m);
         },
         {"MutilVideoChannelD1: ON", "MutilVideoChannelCIF: OFF", "MutilVideoChannelMJPEG: ON",
          "MutilVideoChannelSubD1: OFF"}},
        {"VideoFlip", [](long id) {
             VIDEO_FLIP f{0, -1};
             return Kovo_SetVideoFlip(id, &f);
         },
         {"VerticalFlip: OFF", "HorizontalFlip: ON"}},
        {"HDMIConfig", [](long id) {
             HDMI_CONFIG h{1};
             return Kovo_SetHDMIConfig(id, -1, &h);
         },
         {"HDMIEnable: ON"}},
    });
}

OSD_REGION titleRegion(const char* title) {
    OSD_REGION r{};
    // 24 characters fill the field and leave no terminator.
    std::memcpy(r.title, title, std::min(std::strlen(title), sizeof r.title));
    r.titledisplay = 1;
    std::strcpy(r.titlecolor, "White");
    r.titleh = 10;
    r.titlev = 100;
    return r;
}

OSD_REGION timeRegion(int format) {
    OSD_REGION r{};
    r.timedisplay = 0;
    r.timeformat = format;
    r.timemode = 2;
    std::strcpy(r.timecolor, "Gray");
    r.timeh = 0;
    r.timev = 55;
    return r;
}

TEST(ParamSetLines, OSD) {
    auto title = [](const char* text) {
        return [text](long id) {
            OSD_REGION r = titleRegion(text);
            return Kovo_SetOSDRegion(id, -1, 1, &r);
        };
    };
    auto time = [](int format) {
        return [format](long id) {
            OSD_REGION r = timeRegion(format);
            return Kovo_SetOSDRegion(id, 0, 2, &r);
        };
    };
    const std::string full(24, 'T');
    runSetLinesCases({
        {"title", title("Gate 1"), {"TitleDisplay: ON", "TitleAttrib: White, 10, 100", "TitleChar: Gate 1"}},
        {"title of 24 characters", title(full.c_str()),
         {"TitleDisplay: ON", "TitleAttrib: White, 10, 100", "TitleChar: " + full}},
        {"time DD-MM", time(1), {"TimeDisplay: OFF", "TimeFormat: DD-MM-YYYY", "TimeMode: 2", "TimeAttrib: Gray, 0, 55"}},
        {"time MM-DD", time(2), {"TimeDisplay: OFF", "TimeFormat: MM-DD-YYYY", "TimeMode: 2", "TimeAttrib: Gray, 0, 55"}},
        {"time other", time(0), {"TimeDisplay: OFF", "TimeFormat: YYYY-MM-DD", "TimeMode: 2", "TimeAttrib: Gray, 0, 55"}},
    });
}

TEST(ParamSetLines, Audio) {
    auto audio = [](AUDIO_ATTRIBUTE a) {
        return [a](long id) mutable { return Kovo_SetAudioAttribute(id, -1, &a); };
    };
    runSetLinesCases({
        {"checked", audio({1, 48000, 1, 64000, 0, 31, 1, 0}),
         {"AudioEnable: ON", "AudioSampleRate: 48000", "AudioEncodeType: G711", "AudioBitRate: 64000", "AudioIn: OFF",
          "AudioInVolume: 31", "AudioOut: ON", "AudioOutVolume: 0"}},
        {"G729 and a huge bit rate", audio({0, 8000, 2, 2000000000, 1, 0, 0, 31}),
         {"AudioEnable: OFF", "AudioSampleRate: 8000", "AudioEncodeType: G729", "AudioBitRate: 2000000000",
          "AudioIn: ON", "AudioInVolume: 0", "AudioOut: OFF", "AudioOutVolume: 31"}},
        {"bit rate 0 sends unchecked", audio({0, 5, 3, 0, 0, 99, 0, -4}),
         {"AudioEnable: OFF", "AudioSampleRate: 5", "AudioEncodeType: AAC", "AudioBitRate: 0", "AudioIn: OFF",
          "AudioInVolume: 99", "AudioOut: OFF", "AudioOutVolume: -4"}},
    });
}

TEST(ParamSetLines, PTZCommands) {
    struct Command {
        long id;
        long parameter;
        const char* line;
    };
    const Command commands[] = {
        {10, 5, "direction: up, 5"},       {11, 5, "direction: down, 5"},     {12, 1, "direction: left, 1"},
        {13, 7, "direction: right, 7"},    {16, 5, "zoom: tele, 5"},          {17, 5, "zoom: wide, 5"},
        {18, 5, "focus: near, 5"},         {19, 5, "focus: far, 5"},          {22, 3, "PresetSet: 3"},
        {23, 3, "PresetCall: 3"},          {26, 5, "direction: left-up, 5"},  {27, 5, "direction: left-down, 5"},
        {28, 5, "direction: right-up, 5"}, {29, 5, "direction: right-down, 5"}, {30, 0, "stop: 0"},
        {64, 1, "Compose: 1"},             {75, 3, "PresetDelete: 3"},        {10, -2, "direction: up, -2"},
    };
    std::vector<SetLinesCase> cases;
    for (const Command& c : commands) {
        cases.push_back({c.line, [c](long id) { return Kovo_PTZControl(id, -1, c.id, c.parameter); }, {c.line}});
    }
    runSetLinesCases(cases);
}

TEST(ParamSetLines, PTZConfiguration) {
    auto module = [](PTMODULE_CONFIG c) { return [c](long id) mutable { return Kovo_SetPTModuleConfig(id, 0, &c); }; };
    auto home = [](HOME_FUNCTION h) { return [h](long id) mutable { return Kovo_SetHomeFunction(id, &h); }; };
    auto serial = [](int com, SERIALPORT_CONFIG s) {
        return [com, s](long id) mutable { return Kovo_SetSerialPortConfig(id, com, &s); };
    };
    std::string hex32;
    for (int i = 0; i < 32; ++i) hex32 += "5C";
    runSetLinesCases({
        {"module action", module({1, 0, 3, 256}), {"PTModuleFunction: Action", "PTMode: AutoPanStart", "PTPara1: 3", "PTPara2: 256"}},
        {"module setup", module({0, 1, 0, 0}), {"PTModuleFunction: Setup", "PTMode: AutoPanStop", "PTPara1: 0", "PTPara2: 0"}},
        {"home scan", home({1, 2, 7, 30}), {"HomeFuction: ON", "HomeFuctionMode: Scan", "HomeFuctionIndex: 7", "HomeFuctionIdle: 30"}},
        {"home tour", home({0, 1, 0, 0}), {"HomeFuction: OFF", "HomeFuctionMode: Tour", "HomeFuctionIndex: 0", "HomeFuctionIdle: 0"}},
        {"home pattern", home({0, 3, 0, 0}), {"HomeFuction: OFF", "HomeFuctionMode: Pattern", "HomeFuctionIndex: 0", "HomeFuctionIdle: 0"}},
        {"home preset", home({2, 9, -1, 5}), {"HomeFuction: ON", "HomeFuctionMode: Preset", "HomeFuctionIndex: -1", "HomeFuctionIdle: 5"}},
        {"serial PELCO_D", serial(3, {2, 1, 9600, 8, 2, 1}),
         {"Protocol: PELCO_D", "ComId: 3", "DomeId: 1", "BaudRate: 9600", "CharLen: 8", "ParityBit: even", "StopBit: 1"}},
        {"serial PELCO_P", serial(254, {1, 254, 2400, 7, 1, 2}),
         {"Protocol: PELCO_P", "ComId: 254", "DomeId: 254", "BaudRate: 2400", "CharLen: 7", "ParityBit: odd", "StopBit: 2"}},
        {"serial ORV", serial(1, {0, 9, 19200, 8, 0, 1}),
         {"Protocol: ORV", "ComId: 1", "DomeId: 9", "BaudRate: 19200", "CharLen: 8", "ParityBit: none", "StopBit: 1"}},
        {"transparent", [](long id) {
             unsigned char bytes[] = {0xFF, 0x01, 0x00, 0xab};
             return Kovo_TransparentTransfer(id, 0, bytes, 4);
         },
         {"PTZCmdRawDataTransfer: FF0100AB"}},
        {"transparent 32 bytes", [](long id) {
             unsigned char bytes[32];
             std::memset(bytes, 0x5c, sizeof bytes);
             return Kovo_TransparentTransfer(id, 3, bytes, 32);
         },
         {"PTZCmdRawDataTransfer: " + hex32}},
        {"auxiliary manual", [](long id) { return withText("Manual", [&](char* m) { return Kovo_AuxilControl(id, 4, m, 9); }); },
         {"Aux_Ctrl: 4, Manual, 9"}},
        {"auxiliary other mode", [](long id) { return withText("manual", [&](char* m) { return Kovo_AuxilControl(id, 4, m, 9); }); },
         {"Aux_Ctrl: 4, manual"}},
    });
}

TEST(ParamSetLines, System) {
    auto dateTime = [](DATETIME_CONFIG d) { return [d](long id) mutable { return Kovo_SetDateTime(id, &d); }; };
    DATETIME_CONFIG fullServer{1, {}, 3, "x"};
    std::memset(fullServer.szNtpServer, 's', sizeof fullServer.szNtpServer);
    runSetLinesCases({
        {"ntp on", dateTime({1, "pool.ntp.org", -12, "0,3,5"}),
         {"NtpMode: ON", "NtpServer: pool.ntp.org", "DstZone: -12", "DstTime: 0,3,5"}},
        {"ntp off sends unchecked", dateTime({0, "", 13, ""}), {"NtpMode: OFF", "NtpServer: ", "DstZone: 13", "DstTime: "}},
        {"server filling its array", dateTime(fullServer),
         {"NtpMode: ON", "NtpServer: " + std::string(32, 's'), "DstZone: 3", "DstTime: x"}},
        {"watchdog", [](long id) {
             WATCHDOG_CONFIG w{1};
             return Kovo_SetWatchdogConfig(id, -1, &w);
         },
         {"Q771WatdogConfig: ON"}},
        {"watchdog off", [](long id) {
             WATCHDOG_CONFIG w{0};
             return Kovo_SetWatchdogConfig(id, 2, &w);
         },
         {"Q771WatdogConfig: OFF"}},
        {"reboot", [](long id) { return Kovo_RebootDevice(id); }, {"SysManage: reboot"}},
    });
}

}  // namespace
