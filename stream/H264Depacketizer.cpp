#include "stream/H264Depacketizer.h"

#include <cstdio>
#include <cstring>

const unsigned char g_nalu_head[4] = {0x00, 0x00, 0x00, 0x01};

namespace {

constexpr int kFuA = 28;

uint32_t readLengthPrefix(const CBuffer* recv) {
    uint32_t length = 0;
    if (recv->off >= 4) memcpy(&length, recv->buffer, 4);
    return length;
}

}  // namespace

bool IsKeyFrameH264(char c) { return static_cast<unsigned char>(c) == 0x67; }

void H264Depacketizer::appendToFrame(CBuffer* frame, const void* data, uint32_t length) {
    if (uint64_t(frame->off) + length > kMaxFrameBytes) {
        KovoTrace("H264 frame over %u bytes without an end, dropped\n", kMaxFrameBytes);
        evbuffer_drain(frame, frame->off);
        return;
    }
    evbuffer_addx(frame, data, length, 0);
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
    const uint8_t* p = recv->buffer + 4;
    const int type = length > uint32_t(RTP_HEAD_LEN) ? (p[RTP_HEAD_LEN] & 0x1F) : -1;
    // A packet too short for the NAL header bytes its type needs carries nothing usable.
    if (type < 0 || (type == kFuA && length < RTP_HEAD_LEN + 2u)) {
        KovoTrace("H264 RTP packet of %u bytes too short, dropped\n", length);
        evbuffer_drain(recv, length + 4);
        return;
    }
    timestamp = (unsigned(p[4]) << 24) | (unsigned(p[5]) << 16) | (unsigned(p[6]) << 8) | p[7];
    m_lNaluLen = length - RTP_HEAD_LEN;
    if (type >= 1 && type <= 23)
        takeSingleNalu(recv, frame, p, complete, nalType);
    else if (type == kFuA)
        takeFragment(recv, frame, p, complete, nalType);
    // Other types (STAP-A and the rest) are not consumed.
}

void H264Depacketizer::takeSingleNalu(CBuffer* recv, CBuffer* frame, const uint8_t* p,
                                      int& complete, int& nalType) {
    const int type = p[RTP_HEAD_LEN] & 0x1F;
    const bool marker = (p[1] & 0x80) != 0;
    nalType = type;
    if (marker) {
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

void H264Depacketizer::takeFragment(CBuffer* recv, CBuffer* frame, const uint8_t* p,
                                    int& complete, int& nalType) {
    const uint8_t indicator = p[RTP_HEAD_LEN];
    const uint8_t fuHeader = p[RTP_HEAD_LEN + 1];
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
            puts("evbuffer_drain(m_pVFrameEvbuffer\r");
            return;
        }
        nalType = naluHeader & 0x1F;
        complete = 1;
    }
}
