#include "stream/JpegAssembler.h"

#include <atomic>
#include <cstdio>
#include <cstring>

#include "sdk/KovoSDK.h"
#include "sdk/Trace.h"
#include "stream/JpegHeaders.h"

namespace kovo {

namespace {

constexpr size_t kRtpHeaderSize = 12;
constexpr size_t kMainHeaderSize = 8;
constexpr size_t kRestartHeaderSize = 4;
constexpr size_t kQuantHeaderSize = 4;

// One flag for every stream of the process.
std::atomic<bool> g_firstJpegDropped{false};

}  // namespace

JpegAppend MakeMJPEGFrame(int* newJpeg, const unsigned char* payload, size_t payloadLen,
                          unsigned char* frameBuffer, size_t capacity, size_t* frameSize,
                          bool last) {
    unsigned short dri = 0;
    int qtLen = 0;
    unsigned char headers[kJpegHeaderScratch];
    int headerLen = 0;
    if (*newJpeg) {
        headerLen = AddMjpegHeader(payload, payloadLen, headers, &dri, &qtLen);
        if (headerLen < 0) return JpegAppend::Malformed;
    }

    // Only the first packet of a frame is known to carry restart and table headers;
    // later packets skip just the main header.
    size_t skip = dri != 0 ? kMainHeaderSize + kRestartHeaderSize : kMainHeaderSize;
    if (qtLen != 0) skip += static_cast<size_t>(qtLen) + kQuantHeaderSize;
    if (payloadLen < skip) return JpegAppend::Malformed;

    const size_t scanLen = payloadLen - skip;
    const size_t needed = static_cast<size_t>(headerLen) + scanLen + (last ? 2 : 0);
    if (*frameSize > capacity || needed > capacity - *frameSize) return JpegAppend::Overflow;

    if (*newJpeg) {
        std::memcpy(frameBuffer + *frameSize, headers, headerLen);
        *frameSize += headerLen;
        *newJpeg = 0;
    }
    std::memcpy(frameBuffer + *frameSize, payload + skip, scanLen);
    *frameSize += scanLen;
    if (last) {
        frameBuffer[(*frameSize)++] = 0xFF;
        frameBuffer[(*frameSize)++] = 0xD9;
    }
    return JpegAppend::Ok;
}

JpegAssembler::JpegAssembler() : m_pJpegFrameBuffer(new unsigned char[kJpegFrameBufferSize]) {}

JpegAssembler::~JpegAssembler() { delete[] m_pJpegFrameBuffer; }

bool JpegAssembler::firstFrameDropped() { return g_firstJpegDropped.load(); }

void JpegAssembler::setFirstFrameDropped(bool dropped) { g_firstJpegDropped.store(dropped); }

void JpegAssembler::pushPacket(const unsigned char* packet, size_t length, ByteSink sink,
                               void* user) {
    const bool last = length >= 2 && (packet[1] & 0x80) != 0;
    if (m_bDiscarding) {
        if (last) m_bDiscarding = false;
        return;
    }
    if (length < kRtpHeaderSize) {
        KovoTrace("JpegAssembler: RTP packet of %u bytes too short, frame dropped",
                  static_cast<unsigned>(length));
        abandonFrame(last);
        return;
    }

    const JpegAppend result =
        MakeMJPEGFrame(&m_nNewJpeg, packet + kRtpHeaderSize, length - kRtpHeaderSize,
                       m_pJpegFrameBuffer, kJpegFrameBufferSize, &m_nJpegFrameSize, last);
    if (result == JpegAppend::Malformed) {
        KovoTrace("JpegAssembler: RTP/JPEG packet of %u bytes too short for its headers, frame dropped",
                  static_cast<unsigned>(length));
        abandonFrame(last);
    } else if (result == JpegAppend::Overflow) {
        KovoTrace("JpegAssembler: JPEG frame larger than %u bytes dropped",
                  static_cast<unsigned>(kJpegFrameBufferSize));
        abandonFrame(last);
    } else if (last) {
        finishFrame(sink, user);
    }
}

void JpegAssembler::finishFrame(ByteSink sink, void* user) {
    m_nNewJpeg = 1;
    if (g_firstJpegDropped.exchange(true)) {
        if (sink) sink(user, m_pJpegFrameBuffer, m_nJpegFrameSize);
        m_nJpegFrameSize = 0;
        return;
    }
    m_nJpegFrameSize = 0;
    kovo::tracef("printf drain first frame ");
    fflush(stdout);
}

void JpegAssembler::abandonFrame(bool resumeAtNextPacket) {
    m_nJpegFrameSize = 0;
    m_nNewJpeg = 1;
    m_bDiscarding = !resumeAtNextPacket;
}

}  // namespace kovo
