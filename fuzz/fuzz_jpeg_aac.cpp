// Arbitrary packet streams through the RTP/JPEG and RTP/AAC depacketisers.
// Input: records of [flags][length high][length low][bytes...]; flags bit 0
// selects audio, the upper bits repeat the packet (to reach the JPEG frame limit).
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "stream/AacAssembler.h"
#include "stream/JpegAssembler.h"

namespace {

void checkJpeg(void*, const unsigned char* data, size_t length) {
    if (length < 4 || length > kovo::kJpegFrameBufferSize) abort();
    if (data[0] != 0xFF || data[1] != 0xD8 || data[length - 2] != 0xFF || data[length - 1] != 0xD9) abort();
}

void checkAdts(void*, const unsigned char* data, size_t length) {
    if (length < 7 || length > kovo::kAudioFrameAreaSize) abort();
    const size_t announced = (data[3] & 3u) << 11 | data[4] << 3 | data[5] >> 5;
    if (data[0] != 0xFF || data[1] != 0xF1 || announced != length) abort();
}

}  // namespace

// The drop traces would flood standard output; libFuzzer reports on standard error.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    if (!freopen("/dev/null", "w", stdout)) return 0;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    kovo::JpegAssembler jpeg;
    kovo::AacAssembler aac;
    size_t i = 0;
    while (i + 3 <= size) {
        const bool audio = data[i] & 1;
        const int repeat = 1 + (data[i] >> 1);
        size_t length = size_t(data[i + 1]) << 8 | data[i + 2];
        i += 3;
        if (length > size - i) length = size - i;
        // An exact-size copy, so that any read past the packet is caught.
        const std::vector<unsigned char> packet(data + i, data + i + length);
        i += length;
        for (int r = 0; r < repeat; ++r) {
            if (audio) {
                aac.pushPacket(packet.data(), packet.size(), checkAdts, nullptr);
                if (aac.consumedBytes() > packet.size()) abort();
            } else {
                jpeg.pushPacket(packet.data(), packet.size(), checkJpeg, nullptr);
            }
        }
    }
    return 0;
}
