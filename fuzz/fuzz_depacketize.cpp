// Arbitrary bytes as they would arrive on a stream connection, through
// de-interleaving and every frame assembler.
//
// Input: byte 0 selects the stream layout (bit 0: with audio, bit 1:
// Motion-JPEG), byte 1 the chunk size the bytes arrive in; the rest is the
// connection's byte stream.
#include <cstddef>
#include <cstdint>

#include "stream/VideoControl.h"

namespace {

volatile unsigned g_sink;

// Touches every delivered byte so that out-of-bounds lengths are caught.
void consume(const unsigned char* data, unsigned long length) {
    unsigned sum = 0;
    for (unsigned long i = 0; i < length; ++i) sum += data[i];
    g_sink = sum;
}

void onFrame(DATA_TYPE_E, FRAME_TYPE_E, unsigned char* data, unsigned long length, unsigned long) {
    consume(data, length);
}

void onMedia(long, DATA_TYPE_E, unsigned char* data, unsigned long length, unsigned long) {
    consume(data, length);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    const bool withAudio = data[0] & 1;
    const bool mjpeg = data[0] & 2;
    const size_t chunk = (size_t(data[1]) + 1) * 16;
    data += 2;
    size -= 2;

    CVideoControl control(1920, 1080, 25);
    control.SetConnectType(CONNECT_TYPE_TCP);
    control.HasAudio(withAudio);
    if (mjpeg) control.SetDataType(MJPEGDATA_TYPE);
    control.SetRealDataCallBack(H264DATA_TYPE, onFrame, 0);
    control.SetMJPEGCallBack(onMedia, 0);
    control.SetAudioCallBack(onMedia, 0);
    for (size_t at = 0; at < size; at += chunk) {
        const size_t n = size - at < chunk ? size - at : chunk;
        control.AssembleChunk(reinterpret_cast<const char*>(data + at), uint32_t(n));
    }
    return 0;
}
