// Demonstration program: logs in to one camera, opens its live stream over
// TCP, registers the frame callbacks, sets one channel's encoding, then
// drives pan/tilt and an auxiliary output from single key presses.
//
//   kovo-demo [address[/path]]      keys: l r s (pan left/right/stop), o f (aux on/off), q (quit)
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "KovoSDK.h"

namespace {

const char kDefaultAddress[] = "192.168.1.100/HD";

int g_jpegFrames = 0;
int g_audioFrames = 0;
int g_decodedPictures = 0;
FILE* file2 = nullptr;  // never opened: the decoded-picture dump stays disabled

void OnVideoData(DATA_TYPE_E, FRAME_TYPE_E, unsigned char*, unsigned long, unsigned long) {}

void OnMJPEGCallBack(long lStreamID, DATA_TYPE_E eDataType, unsigned char*, unsigned long nLength,
                     unsigned long dwUser) {
    ++g_jpegFrames;
    if (g_jpegFrames <= 10)
        printf("%d lStreamID=%d, eDataType=%d, BufLen=%u, dwUser=%d \n", g_jpegFrames, static_cast<int>(lStreamID),
               static_cast<int>(eDataType), static_cast<unsigned>(nLength), static_cast<int>(dwUser));
}

void OnAudio(long lStreamID, DATA_TYPE_E, unsigned char*, unsigned long nBufLen, unsigned long dwUser) {
    printf("OnAudio: frame %d lStreamID:%d nBufLen=%d,dwUser=%d\r\n", g_audioFrames++, static_cast<int>(lStreamID),
           static_cast<int>(nBufLen), static_cast<int>(dwUser));
}

// Not registered by main: shows how a decoded YUV 4:2:0 picture is laid out.
[[maybe_unused]] void OnVideoInput_CallBackDecode(long, DATA_TYPE_E, long lWidth, long lHeight,
                                                  unsigned char* pData, unsigned long) {
    const size_t w = static_cast<size_t>(lWidth), h = static_cast<size_t>(lHeight);
    std::vector<unsigned char> picture(pData, pData + w * h * 3 / 2);
    if (g_decodedPictures++ < 10 && file2) {
        fwrite(picture.data(), 1, w * h, file2);
        fwrite(picture.data() + w * h, 1, w * h / 4, file2);
        fwrite(picture.data() + w * h * 5 / 4, 1, w * h / 4, file2);
    }
}

}  // namespace

int main(int argc, char** argv) {
    const char* address = argc > 1 ? argv[1] : kDefaultAddress;
    printf("programe start...");
    Kovo_SDKInit();

    const long id = Kovo_Login(address, 554, nullptr);
    if (id <= 0) return -1;

    Kovo_OpenStream(id, 1, 0, 0, CONNECT_TYPE_TCP, 0);
    Kovo_SetRealDataCallBack(id, H264DATA_TYPE, OnVideoData, 100);
    Kovo_SetMJPEGCallBack(id, OnMJPEGCallBack, 30000);
    Kovo_SetAudioCallBack(id, OnAudio, 30000);

    VIDEO_ATTRIBUTE attributes;
    memset(&attributes, 0, sizeof attributes);
    attributes.ChannelIndex = 1;
    attributes.ResolutionX = 1280;
    attributes.ResolutionY = 720;
    attributes.EncodeBitRate = 5000;
    attributes.FrameRate = 25;
    attributes.GOP = 30;
    attributes.gopStructure = 0;
    attributes.EncBitRateControl = 0;
    attributes.EncBitRateMaxQP = 25;
    attributes.EncBitRateMinQP = 25;
    Kovo_SetChannelAttribute(id, &attributes);

    // End of input quits like "q", so a run with its input closed ends.
    for (int key; (key = getchar()) != EOF && key != 'q' && key != 'Q';) {
        switch (key) {
        case 'l': case 'L': Kovo_PTZControl(id, 1, 12, 200); break;
        case 'r': case 'R': Kovo_PTZControl(id, 1, 13, 200); break;
        case 's': case 'S': Kovo_PTZControl(id, 1, 30, 0); break;
        case 'o': Kovo_AuxilControl(id, 1, const_cast<char*>("ON"), 0); break;
        case 'f': Kovo_AuxilControl(id, 1, const_cast<char*>("OFF"), 0); break;
        default: break;
        }
    }

    Kovo_Logout(id);
    Kovo_SDKUnInit();
    return 0;
}
