// AAC access units of an RTP (MPEG-4 generic, AAC-hbr) track, each handed
// on behind an ADTS header.
//
// Native rules: the AacAssembler worked off a receive buffer (the first
// unit of a packet, a fixed 48 kHz stereo header).
// Standard rules: every unit of a packet, with the sizes and index lengths
// of the SDP's fmtp; a unit larger than its packet is gathered from the
// following packets; the ADTS header tells the SDP config's profile,
// sampling frequency and channels.
#pragma once

#include <cstdint>
#include <string>

#include "stream/AacAssembler.h"
#include "stream/Depacketizer.h"
#include "stream/PacketBacklog.h"

namespace kovo {

struct AacFormat {
    int objectType = 2;       // AAC LC
    int frequencyIndex = 3;   // 48 kHz
    int channels = 2;
    int sizeLength = 13;
    int indexLength = 3;
    int indexDeltaLength = 3;
    uint32_t frameSamples = 1024;  // RTP ticks between consecutive units

    // From an fmtp line (config, sizelength, indexlength, indexdeltalength,
    // constantduration); the rtpmap's rate and channels where config is absent.
    static AacFormat fromSdp(const std::string& fmtp, uint32_t clockRate, int channels);
};

class AacDepacketizer final : public Depacketizer {
public:
    static constexpr size_t kMaxUnit = 8191 - kAdtsHeaderSize;  // ADTS length is 13 bits

    AacDepacketizer(ReceiveRules rules, FrameSink* sink, AacFormat format = {});


    // Native rules, one step: the packet at the front of the receive
    // buffer; 1 when it gave a frame.
    int takeFront();

private:
    void pushNative(const RtpPacket& packet) override;
    void pushStandard(const RtpPacket& packet, bool lossBefore) override;
    static void deliverNative(void* self, const unsigned char* data, size_t length);
    void gatherFragment(const RtpPacket& packet, const uint8_t* data, uint32_t size);
    void deliver(const uint8_t* unit, uint32_t size, uint32_t timestamp, uint16_t sequence);

    AacFormat m_format;
    PacketBacklog m_backlog;
    AacAssembler m_assembler;
    RtpPacket m_front;  // native rules: the packet being worked off
    bool m_delivered = false;

    uint8_t m_frame[kAdtsHeaderSize + kMaxUnit];
    uint32_t m_fragmentSize = 0;  // size of the unit being gathered; 0: none
    uint32_t m_fragmentHeld = 0;
    uint32_t m_fragmentTimestamp = 0;
    uint16_t m_fragmentSequence = 0;
};

}  // namespace kovo
