// Splits the bytes of an RTSP connection ("$", channel, 16-bit length, RTP
// packet) into per-medium receive buffers of length-prefixed packets. Each
// packet is appended with notification, so the receive buffer's callback runs
// once per packet, on the calling thread.
#ifndef KOVO_STREAM_DEINTERLEAVER_H
#define KOVO_STREAM_DEINTERLEAVER_H

#include "stream/UnixStd.h"

// Video-only stream: video on channel 0, every other byte is skipped.
// startProcessData is set once the first packet has been extracted.
void DeinterleaveVideo(CBuffer* temp, CBuffer* videoRecv, int& startProcessData);

// Stream with audio: video on channel 2, audio on channel 0. startProcessData
// is set only when a further packet follows in the same pass.
void DeinterleaveAudioVideo(CBuffer* temp, CBuffer* videoRecv, CBuffer* audioRecv,
                            int& startProcessData);

#endif
