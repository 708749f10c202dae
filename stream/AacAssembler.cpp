#include "stream/AacAssembler.h"

#include <cstring>

#include "sdk/KovoSDK.h"

namespace kovo {

namespace {

// RTP header, AU-headers-length, one 16-bit AU-header (13-bit size, 3-bit index).
constexpr size_t kAuHeaderSize = 2;
constexpr size_t kAuDataOffset = 12 + 2 + kAuHeaderSize;

}  // namespace

void WriteAdtsHeader(unsigned char* out, size_t auSize, int objectType, int frequencyIndex,
                     int channels) {
    const size_t frameLength = auSize + kAdtsHeaderSize;
    out[0] = 0xFF;
    out[1] = 0xF1;
    out[2] = static_cast<unsigned char>(((objectType - 1) & 3) << 6 | (frequencyIndex & 15) << 2 |
                                        (channels & 4) >> 2);
    out[3] = static_cast<unsigned char>((channels & 3) << 6 | (frameLength & 0x1800) >> 11);
    out[4] = static_cast<unsigned char>((frameLength & 0x7F8) >> 3);
    out[5] = static_cast<unsigned char>(((frameLength & 7) << 5) | 0x1F);
    out[6] = 0xFC;
}

void MakeAdtsHeader(unsigned char* out, size_t auSize) { WriteAdtsHeader(out, auSize, 2, 3, 2); }

void AacAssembler::pushPacket(const unsigned char* packet, size_t length, ByteSink sink,
                              void* user) {
    m_nConsumed = length;
    if (length < kAuDataOffset) {
        KovoTrace("AacAssembler: RTP packet of %u bytes has no AU-header, dropped",
                  static_cast<unsigned>(length));
        return;
    }
    const size_t auSize = packet[14] * 32u + (packet[15] >> 3);
    if (auSize > length - kAuDataOffset || auSize > kAudioFrameAreaSize - kAdtsHeaderSize) {
        KovoTrace("AacAssembler: access unit of %u bytes does not fit (packet %u bytes), dropped",
                  static_cast<unsigned>(auSize), static_cast<unsigned>(length));
        return;
    }
    MakeAdtsHeader(m_frame, auSize);
    std::memcpy(m_frame + kAdtsHeaderSize, packet + kAuDataOffset, auSize);
    m_nConsumed = kAuDataOffset + auSize;
    if (sink) sink(user, m_frame, auSize + kAdtsHeaderSize);
}

}  // namespace kovo

void AudioDecodeCallBack(unsigned char*, int, int, unsigned long, unsigned short, void*) {}
