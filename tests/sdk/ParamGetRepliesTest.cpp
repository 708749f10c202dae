// Every Get export: the bare keys it asks for, in order, and how the values
// of a 200 reply land in the caller's record or buffer.
#include <cstring>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "ParamTestSupport.h"


namespace {

struct GetCase {
    const char* name;
    std::vector<std::string> reply;         // header lines of the 200 reply
    std::vector<std::string> keys;          // request lines after "Content-type"
    std::function<std::string(long id)> call;  // calls the export, renders what it filled
    std::string filled;
};

void runGetCases(const std::vector<GetCase>& cases) {
    std::vector<kovo::test::GetCase> checks;
    for (const GetCase& c : cases) {
        checks.push_back({c.name, c.keys, c.reply, [c](long id) { EXPECT_EQ(c.call(id), c.filled); }});
    }
    kovo::test::runGetCases(checks);
}

// "0:" prefixed with the return code, then the values separated by blanks.
template <typename... Values>
std::string render(long result, const Values&... values) {
    std::ostringstream out;
    out << result << ":";
    ((out << ' ' << values), ...);
    return out.str();
}

// A char array as its bytes up to the first NUL or its full length.
template <size_t N>
std::string text(const char (&array)[N]) {
    return "[" + std::string(array, strnlen(array, N)) + "]";
}

using PlainGet = long (*)(long, int, char*);

std::function<std::string(long)> plain(PlainGet get) {
    return [get](long id) {
        char buffer[512];
        std::memset(buffer, 'Z', sizeof buffer);
        buffer[sizeof buffer - 1] = '\0';
        const long result = get(id, -1, buffer);
        return render(result, std::string("[") + buffer + "]");
    };
}

TEST(ParamGetReplies, Imaging) {
    const std::string longValue(300, 'v');
    const struct {
        PlainGet get;
        const char* key;
        std::string answer;  // the reply line
        std::string filled;
    } plainCases[] = {
        {Kovo_GetNoiseReduction, "NoiseReduction", "NoiseReduction:   3", "3"},
        {Kovo_GetWhiteBalanceMode, "WhiteBalanceMode", "WhiteBalanceMode: Auto WB", "Auto WB"},
        {Kovo_GetNearLimitSetup, "NearLimitSetup", "NearLimitSetup: 1m", "1m"},
        {Kovo_GetApertureSetup, "ApertureSetup", "ApertureSetup: F1.6", "F1.6"},
        {Kovo_GetShutterSpeed, "ShutterSpeedSetup", "ShutterSpeedSetup: 1/50", "1/50"},
        {Kovo_GetExposureMode, "ExposureModeSetup", "ExposureModeSetup: Manual", "Manual"},
        {Kovo_GetDayNightOnOFF, "DayNight", "DayNight: ON", "ON"},
        {Kovo_GetDayNightMode, "DayNightMode", "DayNightMode: " + longValue, longValue},  // copied whole
    };
    auto agc = [](long id) {
        int agc = 5;
        const long result = Kovo_GetAGCSetup(id, 0, &agc);
        return render(result, agc);
    };
    std::vector<GetCase> cases{
        {"AGC number", {"AGCSetup: 7"}, {"AGCSetup"}, agc, "0: 7"},
        {"AGC not a number", {"AGCSetup: high"}, {"AGCSetup"}, agc, "0: 0"},
    };
    for (const auto& p : plainCases) {
        // A longer key that starts alike must not be taken for the asked one.
        cases.push_back({p.key, {std::string(p.key) + "Level: 9", p.answer}, {p.key}, plain(p.get),
                         "0: [" + p.filled + "]"});
    }
    runGetCases(cases);
}

std::function<std::string(long)> channelAttribute(int index) {
    return [index](long id) {
        VIDEO_ATTRIBUTE a{index, -1, -1, -1, -1, -1, -1, -1, -1, -1};
        const long result = Kovo_GetChannelAttribute(id, &a);
        return render(result, a.ChannelIndex, a.ResolutionX, a.ResolutionY, a.EncodeBitRate, a.FrameRate, a.GOP,
                      a.gopStructure, a.EncBitRateControl, a.EncBitRateMaxQP, a.EncBitRateMinQP);
    };
}

TEST(ParamGetReplies, Video) {
    auto keysFor = [](const char* selector) {
        return std::vector<std::string>{selector,       "EncResolution",     "EncBitRate",      "EncFrameRate", "EncGOP",
                                        "GopStructure", "EncBitRateControl", "EncBitRateMaxQP", "EncBitRateMinQP"};
    };
    auto multi = [](long id) {
        MULTI_VIDEO_CHANNEL m{7, 7, 7, 7};
        const long result = Kovo_GetMultiVideoChannel(id, &m);
        return render(result, m.nD1, m.nCIF, m.nMJPEG, m.SubD1);
    };
    auto flip = [](long id) {
        VIDEO_FLIP f{7, 7};
        const long result = Kovo_GetVideoFlip(id, &f);
        return render(result, f.nVerticalFlip, f.nHorizontalFlip);
    };
    runGetCases({
        {"channel attribute",
         {"EncBitRateControl: VBR", "EncBitRate: 2048", "EncResolution: 1280, 720", "EncFrameRate: 30",
          "EncGOP: none", "GopStructure: IBBP", "EncBitRateMaxQP: 40", "EncBitRateMinQP: 20"},
         keysFor("EncStream_01"), channelAttribute(1), "0: 1 1280 720 2048 30 -1 2 1 40 20"},
        {"channel attribute names and partial pair",
         {"EncResolution: 640", "GopStructure: 2", "EncBitRateControl: CBR"}, keysFor("EncStream_-1"),
         channelAttribute(-1), "0: -1 640 -1 -1 -1 -1 0 0 -1 -1"},
        {"channel attribute other structures", {"GopStructure: IBP"}, keysFor("EncStream_12"), channelAttribute(12),
         "0: 12 -1 -1 -1 -1 -1 1 -1 -1 -1"},
        {"channel attribute IBBRBP", {"GopStructure: IBBRBP"}, keysFor("EncStream_00"), channelAttribute(0),
         "0: 0 -1 -1 -1 -1 -1 3 -1 -1 -1"},
        {"multi channel OFF rule",
         {"MutilVideoChannelD1: OFF", "MutilVideoChannelCIF: on", "MutilVideoChannelMJPEG: 0",
          "MutilVideoChannelSubD1: OFF "},
         {"MutilVideoChannelD1", "MutilVideoChannelCIF", "MutilVideoChannelMJPEG", "MutilVideoChannelSubD1"}, multi,
         "0: 0 1 1 1"},
        {"flip ON rule", {"VerticalFlip: on", "HorizontalFlip: ON"}, {"VerticalFlip", "HorizontalFlip"}, flip,
         "0: 0 1"},
        {"flip ONE", {"VerticalFlip: ONE", "HorizontalFlip: OFF"}, {"VerticalFlip", "HorizontalFlip"}, flip, "0: 0 0"},
        {"HDMI", {"HDMIEnable: ON"}, {"HDMIEnable"},
         [](long id) {
             HDMI_CONFIG h{7};
             const long result = Kovo_GetHDMIConfig(id, -1, &h);
             return render(result, h.nEnable);
         },
         "0: 1"},
    });
}

std::function<std::string(long)> osd(int type) {
    return [type](long id) {
        OSD_REGION r;
        std::memset(&r, 0, sizeof r);
        std::strcpy(r.title, "old");
        std::strcpy(r.titlecolor, "old");
        std::strcpy(r.timecolor, "keep");
        r.titledisplay = r.titleh = r.titlev = r.timedisplay = r.timeformat = r.timemode = r.timeh = r.timev = 7;
        const long result = Kovo_GetOSDRegion(id, 0, type, &r);
        return render(result, text(r.title), r.titledisplay, text(r.titlecolor), r.titleh, r.titlev, r.timedisplay,
                      r.timeformat, r.timemode, text(r.timecolor), r.timeh, r.timev);
    };
}

TEST(ParamGetReplies, OSD) {
    const std::vector<std::string> titleKeys{"TitleDisplay", "TitleAttrib", "TitleChar"};
    const std::vector<std::string> timeKeys{"TimeDisplay", "TimeFormat", "TimeMode", "TimeAttrib"};
    runGetCases({
        {"title", {"TitleDisplay: ON", "TitleAttrib: Black, 5, 95", "TitleChar: Front door"}, titleKeys, osd(1),
         "0: [Front door] 1 [Black] 5 95 7 7 7 [keep] 7 7"},
        {"title longer than 24 and attribute without blanks",
         {"TitleDisplay: on", "TitleAttrib: White,10,20", "TitleChar: " + std::string(30, 'x')}, titleKeys, osd(1),
         "0: [" + std::string(24, 'x') + "] 0 [old] 7 7 7 7 7 [keep] 7 7"},
        {"time lands in the title attributes",
         {"TimeDisplay: ON", "TimeFormat: MM-DD-YY", "TimeMode: 2", "TimeAttrib: Gray, 1, 2"}, timeKeys, osd(2),
         "0: [old] 7 [Gray] 1 2 1 2 2 [keep] 7 7"},
        {"time DD-MM-YY", {"TimeFormat: DD-MM-YY", "TimeMode: x"}, timeKeys, osd(2),
         "0: [old] 7 [old] 7 7 7 1 0 [keep] 7 7"},
        {"time four-digit year reads 0", {"TimeFormat: MM-DD-YYYY", "TimeDisplay: OFF"}, timeKeys, osd(2),
         "0: [old] 7 [old] 7 7 0 0 7 [keep] 7 7"},
    });
}

TEST(ParamGetReplies, Audio) {
    const std::vector<std::string> keys{"AudioEnable", "AudioSampleRate", "AudioEncodeType", "AudioBitRate",
                                        "AudioIn",     "AudioInVolume",   "AudioOut",        "AudioOutVolume"};
    auto audio = [](long id) {
        AUDIO_ATTRIBUTE a{7, 7, 7, 7, 7, 7, 7, 7};
        const long result = Kovo_GetAudioAttribute(id, -1, &a);
        return render(result, a.nEnable, a.nSampleRate, a.nEncodeType, a.nBitRate, a.nIn, a.nInVolume, a.nOut,
                      a.nOutVolume);
    };
    runGetCases({
        {"all",
         {"AudioEnable: ON", "AudioSampleRate: 32000", "AudioEncodeType: G729", "AudioBitRate: 10240", "AudioIn: on",
          "AudioInVolume: 12", "AudioOut: ON", "AudioOutVolume: 31"},
         keys, audio, "0: 1 32000 2 10240 0 12 1 31"},
        {"G711", {"AudioEncodeType: G711"}, keys, audio, "0: 7 7 1 7 7 7 7 7"},
        {"g711 lower case", {"AudioEncodeType: g711", "AudioBitRate: fast"}, keys, audio, "0: 7 7 0 0 7 7 7 7"},
        {"AAC", {"AudioEncodeType: AAC"}, keys, audio, "0: 7 7 0 7 7 7 7 7"},
    });
}

TEST(ParamGetReplies, PTZ) {
    auto module = [](long id) {
        PTMODULE_CONFIG c{7, 7, 7, 7};
        const long result = Kovo_GetPTModuleConfig(id, 0, &c);
        return render(result, c.nFunction, c.nMode, c.nPara1, c.nPara2);
    };
    auto home = [](long id) {
        HOME_FUNCTION h{7, 7, 7, 7};
        const long result = Kovo_GetHomeFunction(id, &h);
        return render(result, h.HomeFunction, h.HomeFunctionMode, h.HomeFunctionIndex, h.HomeFunctionIdle);
    };
    auto serial = [](long id) {
        SERIALPORT_CONFIG s{7, 7, 7, 7, 7, 7};
        const long result = Kovo_GetSerialPortConfig(id, 7, &s);
        return render(result, s.nProtocol, s.nDomeId, s.nBaudRate, s.nCharLen, s.nParityBit, s.nStopBit);
    };
    const std::vector<std::string> moduleKeys{"PTModuleFunction", "PTMode", "PTPara1", "PTPara2"};
    const std::vector<std::string> homeKeys{"HomeFuction", "HomeFuctionMode", "HomeFuctionIndex", "HomeFuctionIdle"};
    const std::vector<std::string> serialKeys{"Protocol", "DomeId",    "ComId: 7", "BaudRate",
                                              "CharLen",  "ParityBit", "StopBit"};
    runGetCases({
        {"module", {"PTModuleFunction: Action", "PTMode: AutoPanStop", "PTPara1: 2", "PTPara2: 100"}, moduleKeys,
         module, "0: 1 1 2 100"},
        {"module other words", {"PTModuleFunction: Setup", "PTMode: autopanstop"}, moduleKeys, module,
         "0: 0 0 7 7"},
        {"home", {"HomeFuction: on", "HomeFuctionMode: Pattern", "HomeFuctionIndex: x", "HomeFuctionIdle: 60"},
         homeKeys, home, "0: 1 3 7 60"},
        {"home off", {"HomeFuction: OFF", "HomeFuctionMode: Preset", "HomeFuctionIndex: 4"}, homeKeys, home,
         "0: 0 0 4 7"},
        {"home tour scan", {"HomeFuctionMode: Tour"}, homeKeys, home, "0: 7 1 7 7"},
        {"serial",
         {"Protocol: PELCO_P", "DomeId: 12", "ComId: 9", "BaudRate: 4800", "CharLen: 7", "ParityBit: mark",
          "StopBit: 2"},
         serialKeys, serial, "0: 1 12 4800 7 2 2"},
        {"serial words", {"Protocol: PELCO_D", "ParityBit: odd"}, serialKeys, serial, "0: 2 7 7 7 1 7"},
        {"serial none", {"Protocol: ORV", "ParityBit: none"}, serialKeys, serial, "0: 0 7 7 7 0 7"},
        {"serial unknown protocol", {"Protocol: VISCA"}, serialKeys, serial, "0: 0 7 7 7 7 7"},
    });
}

TEST(ParamGetReplies, System) {
    auto version = [](long id) {
        VERSION_INFO v;
        std::memset(&v, 'Z', sizeof v);
        const long result = Kovo_GetVersionInfo(id, &v);
        return render(result, text(v.szHardWareVersion), text(v.szFirmWareVersion), text(v.szCamModule));
    };
    auto dateTime = [](long id) {
        DATETIME_CONFIG d{7, "old", 7, "old"};
        const long result = Kovo_GetDateTime(id, &d);
        return render(result, d.nNtpMode, text(d.szNtpServer), d.nDstMode, text(d.szDstTime));
    };
    auto watchdog = [](long id) {
        WATCHDOG_CONFIG w{7};
        const long result = Kovo_GetWatchdogConfig(id, -1, &w);
        return render(result, w.nEanble);
    };
    const std::vector<std::string> dateKeys{"NtpMode", "NtpServer", "DstZone", "DstTime"};
    runGetCases({
        {"product SN", {"ProductSN: SN-0001"}, {"ProductSN"},
         [](long id) {
             char sn[64] = "old";
             const long result = Kovo_GetProductSN(id, sn);
             return render(result, sn);
         },
         "0: SN-0001"},
        {"versions, firmware cut at 256",
         {"HardWareVersion: HW1", "FirmWareVersion: " + std::string(300, 'f'), "CamModule: " + std::string(32, 'c')},
         {"HardWareVersion", "FirmWareVersion", "CamModule"}, version,
         "0: [HW1] [" + std::string(256, 'f') + "] [" + std::string(32, 'c') + "]"},
        {"date time", {"NtpMode: ON", "NtpServer: time.example", "DstZone: +8", "DstTime: 0,3,5"}, dateKeys, dateTime,
         "0: 1 [time.example] 8 [0,3,5]"},
        {"date time lower-case on", {"NtpMode: on", "DstZone: east"}, dateKeys, dateTime, "0: 0 [old] 0 [old]"},
        {"watchdog", {"Q771WatdogConfig: ON"}, {"Q771WatdogConfig"}, watchdog, "0: 1"},
    });
}

}  // namespace
