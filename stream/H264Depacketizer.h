// Turns H.264 RTP packets into Annex B frames, each NAL unit behind a 4-byte
// start code.
//
// Native rules: single NAL units and FU-A only, worked off a receive
// buffer of length-prefixed packets (GetFrameData); a frame begins with an
// SPS to count as a key frame and nothing is delivered before the first one.
// Standard rules: single NAL units, STAP-A and FU-A; a frame ends at the
// marker or a timestamp change; a frame holding an IDR slice is a key frame;
// after lost packets delivery resumes at the next key frame.
#ifndef KOVO_STREAM_H264DEPACKETIZER_H
#define KOVO_STREAM_H264DEPACKETIZER_H

#include <cstdint>
#include <string>

#include "stream/Depacketizer.h"
#include "stream/PacketBacklog.h"
#include "stream/UnixStd.h"

constexpr int RTP_HEAD_LEN = 12;
extern const unsigned char g_nalu_head[4];

// A frame that begins with a sequence parameter set (0x67) is a key frame.
KOVO_API bool IsKeyFrameH264(char c);

namespace kovo {

class H264Depacketizer final : public Depacketizer {
public:
    // Largest single NAL unit payload taken; bigger ones are dropped.
    static constexpr uint32_t kMaxSingleNalu = 8192;
    // A frame buffer that reaches this size without a frame end is dropped.
    static constexpr uint32_t kMaxFrameBytes = 16u << 20;

    // parameterSets: the SDP's sprop-parameter-sets, as Annex B units, put
    // before the first key frame when the camera sends none in-band.
    H264Depacketizer(ReceiveRules rules, FrameSink* sink, std::string parameterSets = {});
    ~H264Depacketizer() override;
    H264Depacketizer(const H264Depacketizer&) = delete;
    H264Depacketizer& operator=(const H264Depacketizer&) = delete;


    // Native rules, one step: consumes the packet at the front of recv
    // (4-byte host-order length, then the RTP packet) and appends its NAL
    // data to frame. complete is 1 when frame now holds a whole frame; the
    // caller delivers and drains it.
    void GetFrameData(CBuffer* recv, CBuffer* frame, int& complete, int& nalType,
                      unsigned int& timestamp);

    int frameCheck() const { return m_bFrameCheck; }
    CBuffer* receiveBuffer() { return m_backlog.buffer(); }

private:
    void pushNative(const RtpPacket& packet) override;
    void pushStandard(const RtpPacket& packet, bool lossBefore) override;
    // Native rules.
    void deliverNative(unsigned int timestamp);
    bool appendToFrame(CBuffer* frame, const void* data, uint32_t length);
    void takeSingleNalu(CBuffer* recv, CBuffer* frame, const RtpPacket& p, int& complete,
                        int& nalType);
    void takeFragment(CBuffer* recv, CBuffer* frame, const RtpPacket& p, int& complete,
                      int& nalType);

    // Standard rules.
    void appendNalUnit(const uint8_t* nal, uint32_t size);
    void takeAggregate(const RtpPacket& packet);
    void takeFuA(const RtpPacket& packet);
    void finishFrame();
    void dropFrame();

    PacketBacklog m_backlog;  // native rules: packets waiting their turn
    CBuffer* m_frame;  // the frame being assembled

    uint32_t m_lNaluLen = 0;  // payload bytes of the packet being assembled
    int m_bFrameCheck = 0;    // first frame boundary seen
    int m_bFirstKeyShow = 0;  // first key frame delivered
    uint16_t m_frameSequence = 0;

    std::string m_parameterSets;
    bool m_frameOpen = false;     // a packet of the frame has arrived
    bool m_frameHasSlice = false;
    bool m_frameHasIdr = false;
    bool m_frameHasSps = false;
    bool m_frameBroken = false;   // part of it is missing: never delivered
    bool m_fragmentOpen = false;  // inside an FU-A
    bool m_waitForKey = true;     // at the start and after a loss
    bool m_keyDelivered = false;
    bool m_unknownTraced = false;
    uint32_t m_frameTimestamp = 0;
    int m_width = 0;
    int m_height = 0;
};

}  // namespace kovo

#endif
