// Re-wraps AAC access units of an RTP (RFC 3640) stream as ADTS frames.
//
// The caller hands over the packet at the front of the audio receive buffer
// while the stream is processing data (first packet extracted, a connect type
// set), after checking that the buffer holds the whole packet its length
// prefix announces; afterwards it drains the prefix and consumedBytes().
#pragma once

#include <cstddef>

#include "stream/JpegAssembler.h"

namespace kovo {

constexpr size_t kAdtsHeaderSize = 7;
constexpr size_t kAudioFrameAreaSize = 2048;

// Writes the 7-byte ADTS header for an access unit of auSize bytes (at most 8184).
void WriteAdtsHeader(unsigned char* out, size_t auSize, int objectType, int frequencyIndex,
                     int channels);
// The fixed header our cameras' audio gets: AAC LC, 48 kHz, stereo.
void MakeAdtsHeader(unsigned char* out, size_t auSize);

class AacAssembler {
public:
    // One RTP packet of an AAC (RFC 3640) stream, RTP header first; calls sink once per ADTS frame.
    // Only the first access unit of the packet is taken; its size comes from the first
    // AU-header. An access unit that does not fit the packet or the frame area is dropped
    // with a trace. A null sink builds and discards the frame.
    void pushPacket(const unsigned char* packet, size_t length, ByteSink sink, void* user);

    // Bytes of the last packet the assembler took apart: the RTP header, the AU-headers
    // length, one AU-header and the access unit, or the whole packet when it was dropped.
    // Anything behind them (further access units) was left untouched.
    size_t consumedBytes() const { return m_nConsumed; }

private:
    unsigned char m_frame[kAudioFrameAreaSize];
    size_t m_nConsumed = 0;
};

}  // namespace kovo

// Audio decoding and local playback are not provided; the entry point accepts and ignores its arguments.
void AudioDecodeCallBack(unsigned char* data, int length, int flags, unsigned long user,
                         unsigned short channel, void* context);
