// info: who the camera is, its clock settings, its encoder channels and its
// storage, in a short table or one JSON object.
#include <cstring>
#include <string>

#include "Commands.h"
#include "KovoSDK.h"
#include "Settings.h"

namespace kovo::cli {
namespace {

constexpr int kEncoderChannels = 3;  // main, sub and third stream

template <typename Rec>
Rec as(const std::vector<unsigned char>& bytes) {
    Rec record;
    std::memcpy(&record, bytes.data(), sizeof record);
    return record;
}

std::string text(const char* field, size_t size) { return std::string(field, strnlen(field, size)); }
#define KOVO_CLI_TEXT_OF(rec, member) text((rec).member, sizeof (rec).member)

const char* onOff(int value) { return value ? "on" : "off"; }

std::string json(const char* name, const std::vector<unsigned char>& bytes) {
    return recordJson(findSetting(name)->record, bytes.data());
}

}  // namespace

int runInfo(const Args& args) {
    expectWords(args, 1, "ADDRESS");
    Camera camera(args, args.words[0]);
    const Selection selection{camera.channel(), 1};
    const auto serial = readNamed(camera, "ProductSN", selection);
    const auto version = readNamed(camera, "VersionInfo", selection);
    const auto clock = readNamed(camera, "DateTime", selection);
    const auto streams = readNamed(camera, "MultiVideoChannel", selection);
    std::vector<std::vector<unsigned char>> channels;
    for (int channel = 1; channel <= kEncoderChannels; ++channel)
        channels.push_back(readNamed(camera, "ChannelAttribute", Selection{channel, 1}));
    const auto storage = readNamed(camera, "StorageInfo", selection);
    const auto storageMode = readNamed(camera, "StorageMode", selection);
    char sdkVersion[64] = {};
    GetSDKVersion(sdkVersion);
    FILE* o = out();

    if (args.json()) {
        std::fprintf(o, "{\"camera\":%s,\"sdk\":%s,\"serial\":%s,\"version\":%s,\"datetime\":%s,\"streams\":%s,",
                     jsonString(camera.name()).c_str(), jsonString(sdkVersion).c_str(),
                     jsonString(reinterpret_cast<const char*>(serial.data())).c_str(),
                     json("VersionInfo", version).c_str(), json("DateTime", clock).c_str(),
                     json("MultiVideoChannel", streams).c_str());
        std::fprintf(o, "\"channels\":[");
        for (size_t i = 0; i < channels.size(); ++i)
            std::fprintf(o, "%s%s", i ? "," : "", json("ChannelAttribute", channels[i]).c_str());
        std::fprintf(o, "],\"storage\":%s,\"storagemode\":%s}\n", json("StorageInfo", storage).c_str(),
                     json("StorageMode", storageMode).c_str());
        return kExitOk;
    }

    const auto v = as<VERSION_INFO>(version);
    const auto t = as<DATETIME_CONFIG>(clock);
    const auto m = as<MULTI_VIDEO_CHANNEL>(streams);
    const auto s = as<STORAGE_DEVICE_INFO>(storage);
    const auto sm = as<STORAGE_DEVICE_MODE>(storageMode);
    std::fprintf(o, "%-10s %s\n", "camera", camera.name().c_str());
    std::fprintf(o, "%-10s %s\n", "serial", reinterpret_cast<const char*>(serial.data()));
    std::fprintf(o, "%-10s %s\n", "firmware", KOVO_CLI_TEXT_OF(v, szFirmWareVersion).c_str());
    std::fprintf(o, "%-10s %s, module %s\n", "hardware", KOVO_CLI_TEXT_OF(v, szHardWareVersion).c_str(),
                 KOVO_CLI_TEXT_OF(v, szCamModule).c_str());
    std::fprintf(o, "%-10s NTP %s (%s), zone UTC%+d, daylight saving %s\n", "time", onOff(t.nNtpMode),
                 KOVO_CLI_TEXT_OF(t, szNtpServer).c_str(), t.nDstMode, KOVO_CLI_TEXT_OF(t, szDstTime).c_str());
    std::fprintf(o, "%-10s D1 %s, CIF %s, MJPEG %s, SubD1 %s\n", "streams", onOff(m.nD1), onOff(m.nCIF),
                 onOff(m.nMJPEG), onOff(m.SubD1));
    for (size_t i = 0; i < channels.size(); ++i) {
        const auto c = as<VIDEO_ATTRIBUTE>(channels[i]);
        std::fprintf(o, "channel %zu  %dx%d, %d fps, %d kbit/s, GOP %d, %s\n", i + 1, c.ResolutionX, c.ResolutionY,
                     c.FrameRate, c.EncodeBitRate, c.GOP, c.EncBitRateControl ? "VBR" : "CBR");
    }
    std::fprintf(o, "%-10s %s, %s, %ld of %ld free, recording %s (%s)\n", "storage",
                 KOVO_CLI_TEXT_OF(s, szStatus).c_str(), text(s.szDescription, 32).c_str(), s.lFree, s.lCapability,
                 onOff(sm.nEnable), sm.nSequenceMode == 1 ? "once" : "recycle");
    std::fprintf(o, "%-10s %s\n", "sdk", sdkVersion);
    return kExitOk;
}

}  // namespace kovo::cli
