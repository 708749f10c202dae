// Turns H.264 RTP packets (single NAL units and FU-A fragments) into Annex B
// frames. Works on a receive buffer of length-prefixed packets and a frame
// buffer, so it can be driven without sockets or threads.
#ifndef KOVO_STREAM_H264DEPACKETIZER_H
#define KOVO_STREAM_H264DEPACKETIZER_H

#include <cstdint>

#include "stream/UnixStd.h"

constexpr int RTP_HEAD_LEN = 12;
extern const unsigned char g_nalu_head[4];

// A frame that begins with a sequence parameter set (0x67) is a key frame.
KOVO_API bool IsKeyFrameH264(char c);

class H264Depacketizer {
public:
    // Largest single NAL unit payload taken; bigger ones are dropped.
    static constexpr uint32_t kMaxSingleNalu = 8192;
    // A frame buffer that reaches this size without a frame end is dropped.
    static constexpr uint32_t kMaxFrameBytes = 16u << 20;

    // Consumes the packet at the front of recv (4-byte host-order length,
    // then the RTP packet) and appends its NAL data to frame. complete is 1
    // when frame now holds a whole frame; the caller delivers and drains it.
    void GetFrameData(CBuffer* recv, CBuffer* frame, int& complete, int& nalType,
                      unsigned int& timestamp);

    int frameCheck() const { return m_bFrameCheck; }

private:
    void appendToFrame(CBuffer* frame, const void* data, uint32_t length);
    void takeSingleNalu(CBuffer* recv, CBuffer* frame, const uint8_t* p, int& complete,
                        int& nalType);
    void takeFragment(CBuffer* recv, CBuffer* frame, const uint8_t* p, int& complete,
                      int& nalType);

    uint32_t m_lNaluLen = 0;  // payload bytes of the packet being assembled
    int m_bFrameCheck = 0;    // first frame boundary seen
};

#endif
