// Splits the bytes of an RTSP connection ("$", channel, 16-bit length, RTP
// or RTCP packet) into packets and hands each, in place, to a ChannelSink
// on the calling thread.
#ifndef KOVO_STREAM_DEINTERLEAVER_H
#define KOVO_STREAM_DEINTERLEAVER_H

#include "stream/UnixStd.h"

class ChannelSink {
public:
    // Whether packets of this channel are wanted (standard layout).
    virtual bool knowsChannel(uint8_t channel) const = 0;
    // One packet of a channel; the bytes are valid during the call only.
    virtual void onChannelPacket(uint8_t channel, const uint8_t* packet, uint32_t length) = 0;
    // Whether replies to our own requests ("RTSP/1.0 ..." between packets)
    // are to be read and reported instead of skipped as stray bytes.
    virtual bool wantsReplies() const { return false; }
    virtual void onReply(int /*status*/) {}

protected:
    ~ChannelSink() = default;
};

// Video-only stream: video on channel 0, every other byte is skipped (an
// RTCP report found whole at the skip point is still handed over on its
// channel). startProcessData is set once the first packet has been extracted.
void DeinterleaveVideo(CBuffer* temp, ChannelSink& sink, int& startProcessData);

// Stream with audio: video on channel 2, audio on channel 0. startProcessData
// is set only when a further packet follows in the same pass.
void DeinterleaveAudioVideo(CBuffer* temp, ChannelSink& sink, int& startProcessData);

// Any channel the sink knows; bytes outside "$" frames (RTSP replies on the
// same connection) are skipped silently.
void DeinterleaveAll(CBuffer* temp, ChannelSink& sink);

// After bytes were dropped the front may lie inside a packet: skips to the
// first "$" that begins a packet of a known channel and is followed by
// another one (or ends the bytes held). False while more bytes are needed
// to tell.
bool ResyncOnPacket(CBuffer* temp, const ChannelSink& sink);

#endif
