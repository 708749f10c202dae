#include "stream/H264Depacketizer.h"

#include <cstdio>
#include <cstring>

#include "sdk/Trace.h"
#include "stream/H264Sps.h"

const unsigned char g_nalu_head[4] = {0x00, 0x00, 0x00, 0x01};

bool IsKeyFrameH264(char c) { return static_cast<unsigned char>(c) == 0x67; }

namespace kovo {

namespace {

constexpr int kIdr = 5;
constexpr int kSps = 7;
constexpr int kStapA = 24;
constexpr int kFuA = 28;
// Frame storage kept between frames; a key frame's larger storage is given back.
constexpr uint32_t kKeptFrameStorage = 16 * 1024;

uint32_t readLengthPrefix(const CBuffer* recv) {
    uint32_t length = 0;
    if (recv->off >= 4) memcpy(&length, recv->buffer, 4);
    return length;
}


}  // namespace

H264Depacketizer::H264Depacketizer(ReceiveRules rules, FrameSink* sink, std::string parameterSets)
    : Depacketizer(rules, sink),
      m_frame(evbuffer_new()),
      m_parameterSets(std::move(parameterSets)) {}

H264Depacketizer::~H264Depacketizer() {
    evbuffer_free(m_frame);
}

// ---- native rules -------------------------------------------------------

// The packet joins the receive buffer; the one at its front is worked off,
// which is this packet unless an earlier one was left waiting.
void H264Depacketizer::pushNative(const RtpPacket& packet) {
    m_backlog.queue(packet);
    if (!m_sink->processing()) return;
    CBuffer* recv = m_backlog.buffer();
    if (m_frame->off == 0 && recv->off >= 4 + kRtpFixedHeader)
        m_frameSequence = uint16_t((recv->buffer[6] << 8) | recv->buffer[7]);
    int complete = 0;
    int nalType = 0;
    unsigned int timestamp = 0;
    GetFrameData(recv, m_frame, complete, nalType, timestamp);
    if (complete) deliverNative(timestamp);
}

void H264Depacketizer::deliverNative(unsigned int timestamp) {
    const uint32_t length = m_frame->off;
    const uint8_t* data = m_frame->buffer;
    const bool key = length > 4 && IsKeyFrameH264(char(data[4]));
    if (key) {
        // The SPS leading a key frame runs to the next start code.
        const uint8_t* end = data + length;
        const uint8_t* sps = data + 4;
        const uint8_t* next = sps;
        while (next + 4 <= end && memcmp(next, g_nalu_head, 4) != 0) ++next;
        ReadSpsPictureSize(sps, uint32_t((next + 4 <= end ? next : end) - sps), &m_width, &m_height);
    }
    MediaFrame frame = MediaFrame::of(H264DATA_TYPE, key ? I_FRAME : P_FRAME, data, length,
                                      timestamp, m_frameSequence);
    frame.width = m_width;
    frame.height = m_height;
    int showKey = m_bFirstKeyShow;
    if (!m_bFirstKeyShow && frame.frameType == I_FRAME) {
        m_bFirstKeyShow = 1;
        showKey = 1;
        KovoTrace("Receive key frame .\n");
    }
    if (showKey)
        m_sink->onFrame(frame);
    else
        m_sink->onFrameDropped(H264DATA_TYPE);
    evbuffer_drain(m_frame, length);
    evbuffer_trim(m_frame, kKeptFrameStorage);
}

bool H264Depacketizer::appendToFrame(CBuffer* frame, const void* data, uint32_t length) {
    if (uint64_t(frame->off) + length > kMaxFrameBytes) {
        KovoTrace("H264 frame over %u bytes without an end, dropped\n", kMaxFrameBytes);
        evbuffer_drain(frame, frame->off);
        return false;
    }
    evbuffer_addx(frame, data, length, 0);
    return true;
}

void H264Depacketizer::GetFrameData(CBuffer* recv, CBuffer* frame, int& complete, int& nalType,
                                    unsigned int& timestamp) {
    complete = 0;
    const uint32_t length = readLengthPrefix(recv);
    const uint32_t held = recv->off;
    if (uint64_t(length) + 4 > held || held < 12) {
        KovoTrace("Error: Check the Datelen,lDataSize:%u,lBufferLen=%u \n", length, held);
        evbuffer_drain(recv, held);
        return;
    }
    RtpPacket p;
    ParseRtpPacket(recv->buffer + 4, length, RtpRules::Fixed, p);
    const int type = p.payloadSize > 0 ? (p.payload[0] & 0x1F) : -1;
    // A packet too short for the NAL header bytes its type needs carries nothing usable.
    if (type < 0 || (type == kFuA && p.payloadSize < 2)) {
        KovoTrace("H264 RTP packet of %u bytes too short, dropped\n", length);
        evbuffer_drain(recv, length + 4);
        return;
    }
    timestamp = p.timestamp;
    m_lNaluLen = p.payloadSize;
    if (type >= 1 && type <= 23)
        takeSingleNalu(recv, frame, p, complete, nalType);
    else if (type == kFuA)
        takeFragment(recv, frame, p, complete, nalType);
    // Other types (STAP-A and the rest) are not consumed.
}

void H264Depacketizer::takeSingleNalu(CBuffer* recv, CBuffer* frame, const RtpPacket& p,
                                      int& complete, int& nalType) {
    const int type = p.payload[0] & 0x1F;
    nalType = type;
    if (p.marker) {
        if (!m_bFrameCheck) {
            evbuffer_drain(frame, frame->off);  // the first, partial frame is thrown away
            m_bFrameCheck = 1;
        } else {
            complete = 1;
        }
    }
    // SEI, SPS and PPS never end a frame: they lead the next picture.
    if (type == 6 || type == 7 || type == 8) complete = 0;
    evbuffer_drain(recv, 4 + RTP_HEAD_LEN);
    if (m_lNaluLen <= kMaxSingleNalu) {
        appendToFrame(frame, g_nalu_head, sizeof g_nalu_head);
        appendToFrame(frame, recv->buffer, m_lNaluLen);
        evbuffer_drain(recv, m_lNaluLen);
        return;
    }
    KovoTrace("Error: m_lNaluLen  too max:%d", int(m_lNaluLen));
    evbuffer_drain(recv, recv->off);
}

void H264Depacketizer::takeFragment(CBuffer* recv, CBuffer* frame, const RtpPacket& p,
                                    int& complete, int& nalType) {
    const uint8_t indicator = p.payload[0];
    const uint8_t fuHeader = p.payload[1];
    const uint8_t naluHeader = uint8_t((indicator & 0x60) | (fuHeader & 0x1F));
    if (fuHeader & 0x80) {
        if (!m_bFrameCheck) {
            m_bFrameCheck = 1;
            evbuffer_drain(frame, frame->off);
        }
        appendToFrame(frame, g_nalu_head, sizeof g_nalu_head);
        appendToFrame(frame, &naluHeader, 1);
    }
    m_lNaluLen -= 2;
    evbuffer_drain(recv, 4 + RTP_HEAD_LEN + 2);
    if (m_lNaluLen > 65535) {
        KovoTrace("Error: m_lNaluLen  Exception");
        evbuffer_drain(frame, recv->off);
    } else {
        // Normally exactly this fragment; a packet left over from an earlier
        // call goes into the frame as it is.
        appendToFrame(frame, recv->buffer, recv->off);
    }
    evbuffer_drain(recv, frame->off);
    if (fuHeader & 0x40) {
        if (!m_bFrameCheck) {
            evbuffer_drain(frame, frame->off);
            kovo::traceputs("evbuffer_drain(m_pVFrameEvbuffer\r");
            return;
        }
        nalType = naluHeader & 0x1F;
        complete = 1;
    }
}

// ---- standard rules --------------------------------------------------------

void H264Depacketizer::pushStandard(const RtpPacket& packet, bool lossBefore) {
    if (!m_sink->processing()) return;
    if (lossBefore) {
        dropFrame();
        m_waitForKey = true;
    } else if (m_frameOpen && packet.timestamp != m_frameTimestamp) {
        finishFrame();
    }
    if (!m_frameOpen) {
        m_frameOpen = true;
        m_frameSequence = packet.sequence;
    }
    m_frameTimestamp = packet.timestamp;
    if (packet.payloadSize == 0) {
        m_frameBroken = true;
    } else {
        const int type = packet.payload[0] & 0x1F;
        if (type >= 1 && type <= 23) {
            appendNalUnit(packet.payload, packet.payloadSize);
        } else if (type == kStapA) {
            takeAggregate(packet);
        } else if (type == kFuA) {
            takeFuA(packet);
        } else if (!m_unknownTraced) {
            m_unknownTraced = true;
            KovoTrace("H264 packets of NAL type %d are not supported, dropped\n", type);
        }
    }
    if (packet.marker) finishFrame();
}

void H264Depacketizer::appendNalUnit(const uint8_t* nal, uint32_t size) {
    const int type = nal[0] & 0x1F;
    if (type == kSps) {
        m_frameHasSps = true;
        ReadSpsPictureSize(nal, size, &m_width, &m_height);
    }
    // Parameter sets from the SDP go just before the first IDR slice that
    // has none of its own.
    if (type == kIdr && !m_keyDelivered && !m_frameHasSps && !m_parameterSets.empty()) {
        m_frameHasSps = true;
        appendToFrame(m_frame, m_parameterSets.data(), uint32_t(m_parameterSets.size()));
    }
    if (type >= 1 && type <= 5) m_frameHasSlice = true;
    if (type == kIdr) m_frameHasIdr = true;
    if (!appendToFrame(m_frame, g_nalu_head, sizeof g_nalu_head) ||
        !appendToFrame(m_frame, nal, size))
        m_frameBroken = true;
}

void H264Depacketizer::takeAggregate(const RtpPacket& packet) {
    const uint8_t* at = packet.payload + 1;
    const uint8_t* end = packet.payload + packet.payloadSize;
    while (at < end) {
        if (end - at < 2) return void(m_frameBroken = true);
        const uint32_t size = uint32_t((at[0] << 8) | at[1]);
        at += 2;
        if (size == 0 || size > uint32_t(end - at)) return void(m_frameBroken = true);
        appendNalUnit(at, size);
        at += size;
    }
}

void H264Depacketizer::takeFuA(const RtpPacket& packet) {
    if (packet.payloadSize < 2) return void(m_frameBroken = true);
    const uint8_t indicator = packet.payload[0];
    const uint8_t fuHeader = packet.payload[1];
    const bool start = fuHeader & 0x80;
    const bool end = fuHeader & 0x40;
    if (start) {
        if (m_fragmentOpen) m_frameBroken = true;  // the previous unit never ended
        const uint8_t header = uint8_t((indicator & 0xE0) | (fuHeader & 0x1F));
        appendNalUnit(&header, 1);
        m_fragmentOpen = true;
    } else if (!m_fragmentOpen) {
        m_frameBroken = true;  // its start was lost
        return;
    }
    if (!appendToFrame(m_frame, packet.payload + 2, packet.payloadSize - 2)) m_frameBroken = true;
    if (end) m_fragmentOpen = false;
}

void H264Depacketizer::finishFrame() {
    // Parameter sets and SEI alone are no picture: they lead the next one.
    if (!m_frameHasSlice && !m_frameBroken && m_frame->off > 0) return;
    if (m_fragmentOpen) m_frameBroken = true;
    const bool deliver = m_frameHasSlice && !m_frameBroken && (!m_waitForKey || m_frameHasIdr);
    if (deliver) {
        MediaFrame frame = MediaFrame::of(H264DATA_TYPE, m_frameHasIdr ? I_FRAME : P_FRAME,
                                          m_frame->buffer, m_frame->off, m_frameTimestamp,
                                          m_frameSequence);
        frame.width = m_width;
        frame.height = m_height;
        if (m_frameHasIdr) {
            m_waitForKey = false;
            m_keyDelivered = true;
        }
        m_sink->onFrame(frame);
    } else if (m_frameOpen) {
        m_sink->onFrameDropped(H264DATA_TYPE);
    }
    evbuffer_drain(m_frame, m_frame->off);
    evbuffer_trim(m_frame, kKeptFrameStorage);
    m_frameOpen = m_frameHasSlice = m_frameHasIdr = m_frameHasSps = false;
    m_frameBroken = m_fragmentOpen = false;
}

void H264Depacketizer::dropFrame() {
    m_frameBroken = true;
    m_frameHasSlice = true;  // a broken frame ends here whatever it held
    finishFrame();
}

}  // namespace kovo
