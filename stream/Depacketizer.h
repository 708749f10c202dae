// The one shape every media format takes on the receive path: RTP packets of
// one track go in, whole frames come out to one sink.
//
// Each format is one unit with two behaviours, chosen when it is made:
//  - Native: the rules our cameras were built against, kept to the byte
//    (payload at byte 12, the receive buffer that runs a packet behind, the
//    fixed ADTS header, ...).
//  - Standard: what the RTP payload formats say (STAP-A, several AAC units,
//    fragment offsets, SDP parameters), for other cameras.
#pragma once

#include <cstddef>
#include <cstdint>

#include "sdk/KovoSDK.h"
#include "stream/RtpPacket.h"

namespace kovo {

enum class ReceiveRules { Native, Standard };

// One finished frame, valid only during FrameSink::onFrame.
struct MediaFrame {
    DATA_TYPE_E dataType = NODATA_TYPE;
    FRAME_TYPE_E frameType = P_FRAME;
    const uint8_t* data = nullptr;
    uint32_t size = 0;
    uint32_t rtpTimestamp = 0;
    uint16_t firstSequence = 0;
    int width = 0;  // when the payload tells (JPEG header, SPS); else 0
    int height = 0;

    static MediaFrame of(DATA_TYPE_E dataType, FRAME_TYPE_E frameType, const uint8_t* data,
                         size_t size, uint32_t rtpTimestamp, uint16_t firstSequence) {
        MediaFrame frame;
        frame.dataType = dataType;
        frame.frameType = frameType;
        frame.data = data;
        frame.size = uint32_t(size);
        frame.rtpTimestamp = rtpTimestamp;
        frame.firstSequence = firstSequence;
        return frame;
    }
};

class FrameSink {
public:
    // Whether the stream takes frames yet. Under the native rules a
    // packet that arrives before waits in its receive buffer.
    virtual bool processing() const = 0;
    virtual void onFrame(const MediaFrame& frame) = 0;
    // A frame that was not delivered: lost packets, malformed data, or
    // waiting for a key frame.
    virtual void onFrameDropped(DATA_TYPE_E dataType) = 0;

protected:
    ~FrameSink() = default;
};

class Depacketizer {
public:
    virtual ~Depacketizer() = default;
    // The next packet of this unit's track in arrival order. lossBefore:
    // packets of the track went missing just before this one (sequence gap
    // or a new source); the native rules do not look at it.
    void push(const RtpPacket& packet, bool lossBefore) {
        if (m_rules == ReceiveRules::Standard)
            pushStandard(packet, lossBefore);
        else
            pushNative(packet);
    }

protected:
    Depacketizer(ReceiveRules rules, FrameSink* sink) : m_rules(rules), m_sink(sink) {}
    virtual void pushNative(const RtpPacket& packet) = 0;
    virtual void pushStandard(const RtpPacket& packet, bool lossBefore) = 0;

    const ReceiveRules m_rules;
    FrameSink* const m_sink;
};

}  // namespace kovo
