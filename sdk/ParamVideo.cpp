// Video encoder streams, multi-stream switches, flipping and HDMI output,
// and the resolution index <-> "width, height" conversions.
#include <cstdio>
#include <cstring>

#include "sdk/ParamFrame.h"

using namespace kovo::param;

namespace {

// The camera answers the structure and the rate control by name although
// the SDK writes them as numbers.
const char* const kGopNames[] = {nullptr, "IBP", "IBBP", "IBBRBP"};
const Words kGopWords = words(kGopNames, 0, 0);
const char* const kRateControlNames[] = {nullptr, "VBR"};
const Words kRateControlWords = words(kRateControlNames, 0, 0);

// Every attribute after the stream selector, in the order sent and read.
const Field kAttributeFields[] = {
    KOVO_PAIR_FIELD(VIDEO_ATTRIBUTE, ResolutionX, ResolutionY, "EncResolution"),
    KOVO_FIELD(VIDEO_ATTRIBUTE, EncodeBitRate, "EncBitRate", IntScan),
    KOVO_FIELD(VIDEO_ATTRIBUTE, FrameRate, "EncFrameRate", IntScan),
    KOVO_FIELD(VIDEO_ATTRIBUTE, GOP, "EncGOP", IntScan),
    KOVO_WORD_FIELD(VIDEO_ATTRIBUTE, gopStructure, "GopStructure", IntWordGet, &kGopWords),
    KOVO_WORD_FIELD(VIDEO_ATTRIBUTE, EncBitRateControl, "EncBitRateControl", IntWordGet,
                    &kRateControlWords),
    KOVO_FIELD(VIDEO_ATTRIBUTE, EncBitRateMaxQP, "EncBitRateMaxQP", IntScan),
    KOVO_FIELD(VIDEO_ATTRIBUTE, EncBitRateMinQP, "EncBitRateMinQP", IntScan),
};

// "Mutil" is the camera's spelling.
const Field kMultiChannelFields[] = {
    KOVO_FIELD(MULTI_VIDEO_CHANNEL, nD1, "MutilVideoChannelD1", SwitchOff),
    KOVO_FIELD(MULTI_VIDEO_CHANNEL, nCIF, "MutilVideoChannelCIF", SwitchOff),
    KOVO_FIELD(MULTI_VIDEO_CHANNEL, nMJPEG, "MutilVideoChannelMJPEG", SwitchOff),
    KOVO_FIELD(MULTI_VIDEO_CHANNEL, SubD1, "MutilVideoChannelSubD1", SwitchOff),
};

const Field kFlipFields[] = {
    KOVO_FIELD(VIDEO_FLIP, nVerticalFlip, "VerticalFlip", SwitchOn),
    KOVO_FIELD(VIDEO_FLIP, nHorizontalFlip, "HorizontalFlip", SwitchOn),
};

const Field kHdmiFields[] = {
    KOVO_FIELD(HDMI_CONFIG, nEnable, "HDMIEnable", SwitchOn),
};

const Messages kSetChannelAttribute = {"SetStorageMode[%d] invalid input.\n", "SetStorageMode[%d] device null.\n",
                                       "SetChannelAttribute failed.\n", "SetChannelAttribute Successfully\n"};
const Messages kGetChannelAttribute = {"GetChannelAttribute[%d] invalid input.\n",
                                       "GetStorageMode[%d] device null.\n", "GetChannelAttribute failed.\n",
                                       "GetChannelAttribute Successfully\n"};
const Messages kSetMultiVideoChannel = {"SetStorageMode[%d] invalid input.\n", "SetStorageMode[%d] device null.\n",
                                        "SetMultiVideoChannel failed.\n", "SetMultiVideoChannel Successfully\n"};
const Messages kGetMultiVideoChannel = {"GetStorageMode[%d] invalid input.\n", "GetStorageMode[%d] device null.\n",
                                        "GetMultiVideoChannel failed.\n", "GetMultiVideoChannel Successfully\n"};
const Messages kSetVideoFlip = {"SetVideoFlip[%d] input invalid.\n", "SetVideoFlip[%d] device null.\n",
                                "SetVideoFlip [%d] set video flip failed.\n", "SetVideoFlip success.\n"};
const Messages kGetVideoFlip = {"GetVideoFlip[%d] input invalid.\n", "GetVideoFlip[%d] device null.\n",
                                "GetVideoFlip [%d] get video flip failed.\n", "GetVideoFlip success.\n"};
const Messages kSetHDMIConfig = {"SetHDMIConfig[%d]\n", "SetHDMIConfig[%d]\n", nullptr,
                                 "SetHDMIConfig Successfully\n"};
const Messages kGetHDMIConfig = {"GetHDMIConfig[%d]\n", "GetHDMIConfig[%d]\n", nullptr,
                                 "GetHDMIConfig Successfully\n"};

const char* const kResolutions[] = {"176, 144",  "352, 288",   "704, 576", "720, 576",
                                    "1280, 720", "1920, 1080", "1280, 960"};
constexpr int kResolutionCount = sizeof kResolutions / sizeof kResolutions[0];

}  // namespace

long Kovo_SetChannelAttribute(long lDeviceID, VIDEO_ATTRIBUTE* pParam) {
    if (!validDevice(lDeviceID) || !pParam) return reject(kSetChannelAttribute, __LINE__);
    Exchange ex(lDeviceID);
    if (!ex.found()) return noDevice(kSetChannelAttribute, __LINE__);
    ex.addLine("EncStream: " + std::to_string(pParam->ChannelIndex));
    ex.addValues(kAttributeFields, pParam);
    return ex.finishSet(kSetChannelAttribute, __LINE__);
}

long Kovo_GetChannelAttribute(long lDeviceID, VIDEO_ATTRIBUTE* pParam) {
    if (!validDevice(lDeviceID) || !pParam) return reject(kGetChannelAttribute, __LINE__);
    Exchange ex(lDeviceID);
    if (!ex.found()) return noDevice(kGetChannelAttribute, __LINE__);
    // The stream to answer for travels as a suffix of a bare key.
    char selector[32];
    std::snprintf(selector, sizeof selector, "EncStream_%02d", pParam->ChannelIndex);
    ex.addLine(selector);
    return ex.finishGet(kAttributeFields, pParam, kGetChannelAttribute, __LINE__);
}

long Kovo_SetMultiVideoChannel(long lDeviceID, MULTI_VIDEO_CHANNEL* pVideoChannel) {
    return setRecord(lDeviceID, kNoChannel, pVideoChannel, kMultiChannelFields, kSetMultiVideoChannel, __LINE__);
}

long Kovo_GetMultiVideoChannel(long lDeviceID, MULTI_VIDEO_CHANNEL* pVideoChannel) {
    return getRecord(lDeviceID, kNoChannel, pVideoChannel, kMultiChannelFields, kGetMultiVideoChannel, __LINE__);
}

long Kovo_SetVideoFlip(long lDeviceID, VIDEO_FLIP* pFlip) {
    return setRecord(lDeviceID, kNoChannel, pFlip, kFlipFields, kSetVideoFlip, __LINE__);
}

long Kovo_GetVideoFlip(long lDeviceID, VIDEO_FLIP* pFlip) {
    return getRecord(lDeviceID, kNoChannel, pFlip, kFlipFields, kGetVideoFlip, __LINE__);
}

long Kovo_SetHDMIConfig(long lDeviceID, int nChannel, HDMI_CONFIG* pConfig) {
    return setRecord(lDeviceID, nChannel, pConfig, kHdmiFields, kSetHDMIConfig, __LINE__);
}

long Kovo_GetHDMIConfig(long lDeviceID, int nChannel, HDMI_CONFIG* pConfig) {
    return getRecord(lDeviceID, nChannel, pConfig, kHdmiFields, kGetHDMIConfig, __LINE__);
}

const char* Video_ConvertToVideoPixel(int format) {
    if (format < 0 || format >= kResolutionCount) {
        KovoTrace("Video_ConvertToVideoPixel[%d]\n", __LINE__);
        return nullptr;
    }
    return kResolutions[format];
}

int Video_ConvertFromVideoPixel(char* cFormat) {
    if (!cFormat) {
        KovoTrace("Video_ConvertFromVideoPixel[%d]\n", __LINE__);
        return -1;
    }
    for (int i = 0; i < kResolutionCount; ++i) {
        if (std::strcmp(cFormat, kResolutions[i]) == 0) return i;
    }
    KovoTrace("Video_ConvertFromVideoPixel[%d]\n", __LINE__);
    return -2;
}
