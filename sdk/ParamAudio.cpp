// The camera's audio capture, codec and volume settings.
#include "sdk/ParamFrame.h"

using namespace kovo::param;

namespace {

// Encode type 0 stands for AAC; only the two G.7xx names read back non-zero.
const char* const kEncodeNames[] = {"AAC", "G711", "G729"};
const Words kEncodeWords = words(kEncodeNames, 0, 0);

const Field kAudioFields[] = {
    KOVO_FIELD(AUDIO_ATTRIBUTE, nEnable, "AudioEnable", SwitchOn),
    KOVO_FIELD(AUDIO_ATTRIBUTE, nSampleRate, "AudioSampleRate", Int),
    KOVO_WORD_FIELD(AUDIO_ATTRIBUTE, nEncodeType, "AudioEncodeType", Word, &kEncodeWords),
    KOVO_FIELD(AUDIO_ATTRIBUTE, nBitRate, "AudioBitRate", Int),
    KOVO_FIELD(AUDIO_ATTRIBUTE, nIn, "AudioIn", SwitchOn),
    KOVO_FIELD(AUDIO_ATTRIBUTE, nInVolume, "AudioInVolume", Int),
    KOVO_FIELD(AUDIO_ATTRIBUTE, nOut, "AudioOut", SwitchOn),
    KOVO_FIELD(AUDIO_ATTRIBUTE, nOutVolume, "AudioOutVolume", Int),
};

const Messages kSetAudio = {"SetAudioAttribute[%d] input invalid.\n", "SetAudioAttribute[%d]\n", nullptr,
                            "SetAudioAttribute Successfully\n"};
const Messages kGetAudio = {"GetAudioAttribute[%d] invalid input.\n", "GetAudioAttribute[%d] device not active.\n",
                            nullptr, "GetAudioAttribute Successfully\n"};

bool validVolume(int volume) { return volume >= 0 && volume <= 31; }

// The value checks, made only for a record with a bit rate; the message of
// the first failing check, or null.
const char* audioValueError(const AUDIO_ATTRIBUTE& audio) {
    if (audio.nSampleRate != 8000 && audio.nSampleRate != 32000 && audio.nSampleRate != 48000)
        return "SetAudioAttribute[%d] invalid sample rate.\n";
    if (audio.nEncodeType < 0 || audio.nEncodeType > 2) return "SetAudioAttribute[%d] invalid encode type.\n";
    // The upper bound applies to the encode type, so a bit rate has a lower bound only.
    if (audio.nBitRate < 10240 || audio.nEncodeType > 1048576) return "SetAudioAttribute[%d] invalid bit rate.\n";
    if (!validVolume(audio.nInVolume)) return "SetAudioAttribute[%d] invalid in volume.\n";
    if (!validVolume(audio.nOutVolume)) return "SetAudioAttribute[%d] invalid out volume.\n";
    return nullptr;
}

}  // namespace

long Kovo_SetAudioAttribute(long lDeviceID, int nChannel, AUDIO_ATTRIBUTE* pAudio) {
    if (!pAudio || !validDevice(lDeviceID) || !validChannel(nChannel)) return reject(kSetAudio, __LINE__);
    if (pAudio->nBitRate != 0) {
        if (const char* error = audioValueError(*pAudio)) return traceAndReturn(error, __LINE__, kInvalidArg);
    }
    return setRecord(lDeviceID, nChannel, pAudio, kAudioFields, kSetAudio, __LINE__);
}

long Kovo_GetAudioAttribute(long lDeviceID, int nChannel, AUDIO_ATTRIBUTE* pAudio) {
    return getRecord(lDeviceID, nChannel, pAudio, kAudioFields, kGetAudio, __LINE__);
}
