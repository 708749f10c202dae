// The road of one frame on the assemble thread, top to bottom:
//   AssembleChunk       connection bytes join the temporary buffer
//   Deinterleave...     each "$" packet is handed over in place with its channel
//   onChannelPacket     RTCP sets the track's clock; RTP goes to its track
//   pushToTrack         parsed once, loss noted, pushed to the depacketiser
//   onFrame             the one place a finished frame is known: information,
//                       statistics, then the application's callbacks
#include <cstring>

#include "stream/VideoControl.h"

using kovo::MediaFrame;
using kovo::ReceiveRules;
using kovo::RtpPacket;

void CVideoControl::SetTrackSdp(const kovo::TrackSdp& video, const kovo::TrackSdp& audio) {
    m_video.sdp = video;
    m_audio.sdp = audio;
}

void CVideoControl::SetChannels(int videoChannel, int audioChannel) {
    m_announcedVideoChannel = videoChannel;
    m_announcedAudioChannel = audioChannel;
}

// Makes the depacketisers once the stream's kind and rules are known.
void CVideoControl::prepareTracks() {
    if (m_tracksReady) return;
    m_tracksReady = true;
    const bool standard = m_rules == ReceiveRules::Standard;
    m_video.dataType = m_DataType == MJPEGDATA_TYPE ? MJPEGDATA_TYPE : H264DATA_TYPE;
    if (m_video.dataType == MJPEGDATA_TYPE) {
        m_video.unit.reset(new kovo::JpegDepacketizer(m_rules, this));
    } else {
        const std::string sets =
            standard ? kovo::DecodeParameterSets(
                           kovo::FmtpParameter(m_video.sdp.fmtp, "sprop-parameter-sets"))
                     : std::string();
        m_h264 = new kovo::H264Depacketizer(m_rules, this, sets);
        m_video.unit.reset(m_h264);
    }
    m_video.clock.setRate(m_video.sdp.clockRate);
    m_video.rtpChannel = m_bHasAudio ? 2 : 0;
    if (m_bHasAudio) {
        m_audio.dataType = AACDATA_TYPE;
        const kovo::AacFormat format = standard ? kovo::AacFormat::fromSdp(m_audio.sdp.fmtp,
                                                                          m_audio.sdp.clockRate,
                                                                          m_audio.sdp.channels)
                                                : kovo::AacFormat{};
        m_aac = new kovo::AacDepacketizer(m_rules, this, format);
        m_audio.unit.reset(m_aac);
        m_audio.clock.setRate(m_audio.sdp.clockRate ? m_audio.sdp.clockRate : 48000);
        m_audio.rtpChannel = 0;
    }
    // The channels the camera announced, when they make a layout of their own.
    if (standard && m_announcedVideoChannel >= 0 &&
        (!m_bHasAudio || (m_announcedAudioChannel >= 0 &&
                          m_announcedAudioChannel / 2 != m_announcedVideoChannel / 2))) {
        m_video.rtpChannel = m_announcedVideoChannel;
        if (m_bHasAudio) m_audio.rtpChannel = m_announcedAudioChannel;
    }
    m_video.rtcpChannel = m_video.rtpChannel + 1;
    if (m_bHasAudio) m_audio.rtcpChannel = m_audio.rtpChannel + 1;
}

// After the queue limit dropped bytes, whatever was half built goes and each
// medium starts again at its next whole frame (a key frame for H.264).
void CVideoControl::restartAfterDrop() {
    evbuffer_drain(m_pVTempEvbuffer, m_pVTempEvbuffer->off);
    for (Track* track : {&m_video, &m_audio}) {
        track->unit.reset();
        track->sequence = kovo::SequenceWatch();
        track->discontinuity = true;
        track->breakTimed = false;
    }
    m_h264 = nullptr;
    m_aac = nullptr;
    m_tracksReady = false;
    m_resyncPending = true;
}

void CVideoControl::AssembleChunk(const char* data, uint32_t length) {
    prepareTracks();
    if (evbuffer_addx(m_pVTempEvbuffer, data, length, 0) == -1) {
        KovoTrace("CVideoControl::RTPRecvOverTCP Sleep 1, recvSize = %d\n", int(length));
        evbuffer_drain(m_pVTempEvbuffer, m_pVTempEvbuffer->off);
    }
    if (m_resyncPending) {
        if (!ResyncOnPacket(m_pVTempEvbuffer, *this)) return;
        m_resyncPending = false;
    }
    if (m_rules == ReceiveRules::Standard)
        DeinterleaveAll(m_pVTempEvbuffer, *this);
    else if (m_bHasAudio)
        HandleAVTempBuffer();
    else
        HandleTempBuffer();
    evbuffer_trim(m_pVTempEvbuffer, kKeptTempStorage);
}

void CVideoControl::HandleTempBuffer() { DeinterleaveVideo(m_pVTempEvbuffer, *this, m_StartProcessData); }

void CVideoControl::HandleAVTempBuffer() {
    DeinterleaveAudioVideo(m_pVTempEvbuffer, *this, m_StartProcessData);
}

bool CVideoControl::knowsChannel(uint8_t channel) const {
    for (const Track* track : {&m_video, &m_audio})
        if (track->unit && (channel == track->rtpChannel || channel == track->rtcpChannel))
            return true;
    return false;
}

void CVideoControl::onChannelPacket(uint8_t channel, const uint8_t* packet, uint32_t length) {
    for (Track* track : {&m_video, &m_audio}) {
        if (!track->unit) continue;
        if (channel == track->rtpChannel) return pushToTrack(*track, packet, length);
        kovo::SenderReport report;
        if (channel == track->rtcpChannel && kovo::ReadSenderReport(packet, length, report))
            return track->clock.onSenderReport(report);
    }
}

void CVideoControl::pushToTrack(Track& track, const uint8_t* bytes, uint32_t length) {
    const bool standard = m_rules == ReceiveRules::Standard;
    RtpPacket packet;
    const bool whole = kovo::ParseRtpPacket(
        bytes, length, standard ? kovo::RtpRules::Standard : kovo::RtpRules::Fixed, packet);
    if (standard && (!whole || (track.sdp.payloadType >= 0 &&
                                packet.payloadType != uint8_t(track.sdp.payloadType))))
        return;
    bool newSource = false;
    const uint32_t lost = whole ? track.sequence.check(packet, &newSource) : 0;
    m_stats.onPacket(length, lost);
    if ((lost || newSource) && !track.discontinuity) {
        // Reported with the first frame from this packet on: under the
        // native rules a frame completed before it may still be waiting.
        track.discontinuity = true;
        track.breakTimed = true;
        track.breakTimestamp = packet.timestamp;
    }
    track.unit->push(packet, lost || newSource);
}

bool CVideoControl::processing() const {
    if (ConnectType == CONNECT_TYPE_NONE) return false;
    return m_rules == ReceiveRules::Standard || m_StartProcessData;
}

void CVideoControl::onFrameDropped(DATA_TYPE_E dataType) {
    m_stats.onFrameDropped();
    // Frames before a medium's first delivered one break nothing.
    Track& track = dataType == AACDATA_TYPE ? m_audio : m_video;
    if (track.delivered) {
        track.discontinuity = true;
        track.breakTimed = false;
    }
}

void CVideoControl::onFrame(const MediaFrame& frame) {
    Track& track = frame.dataType == AACDATA_TYPE ? m_audio : m_video;
    m_stats.onFrame(frame.dataType != AACDATA_TYPE && frame.frameType == I_FRAME);

    KOVO_FRAME_INFO info{};
    info.lDeviceID = m_lStreamID;
    info.eDataType = frame.dataType;
    info.eFrameType = frame.frameType;
    info.nRtpTimestamp = frame.rtpTimestamp;
    info.llPts = track.clock.presentationTime(frame.rtpTimestamp);
    info.llNtpTime = track.clock.wallClock(frame.rtpTimestamp);
    info.llArrivalTime = kovo::WallClockMicros();
    info.nSequence = frame.firstSequence;
    if (track.discontinuity &&
        (!track.breakTimed || int32_t(frame.rtpTimestamp - track.breakTimestamp) >= 0)) {
        info.nDiscontinuity = track.delivered ? 1 : 0;
        track.discontinuity = false;
    }
    track.delivered = true;
    const bool video = frame.dataType != AACDATA_TYPE;
    info.nWidth = frame.width ? frame.width : video ? m_nSourceVideoWidth : 0;
    info.nHeight = frame.height ? frame.height : video ? m_nSourceVideoHeight : 0;
    deliver(frame);

    fFrameCallBack cb;
    unsigned long user;
    {
        std::lock_guard<std::mutex> lock(m_callbackLock);
        cb = m_cbFrame;
        user = m_dwUserFrame;
    }
    if (cb) cb(&info, frame.data, frame.size, user);
    noteFrameDelivered();
}

// The callback the application registered for the frame's medium.
void CVideoControl::deliver(const MediaFrame& frame) {
    auto* data = const_cast<unsigned char*>(frame.data);
    if (frame.dataType == H264DATA_TYPE)
        ProcessDataCallBack(data, frame.size, H264DATA_TYPE, frame.frameType);
    else if (frame.dataType == MJPEGDATA_TYPE)
        ProcessDataCallBackMJPEG(data, frame.size);
    else
        ProcessAudioCallBack(data, frame.size, AACDATA_TYPE);
}

// ---- the classic entry points, as adapters --------------------------------

// A packet appended to a receive buffer between oldLength and newLength
// belongs to the video track (or, below, the audio track).
void on_evbuffer_call_back(CBuffer* buf, uint32_t oldLength, uint32_t newLength, void* arg) {
    auto* control = static_cast<CVideoControl*>(arg);
    if (!control || !buf || newLength < oldLength || newLength > buf->off) return;
    control->prepareTracks();
    control->pushToTrack(control->m_video, buf->buffer + oldLength, newLength - oldLength);
}

void on_audio_dataprocess_call(CBuffer* buf, uint32_t oldLength, uint32_t newLength, void* arg) {
    auto* control = static_cast<CVideoControl*>(arg);
    if (!control || !buf || newLength < oldLength || newLength > buf->off) return;
    control->prepareTracks();
    if (control->m_audio.unit)
        control->pushToTrack(control->m_audio, buf->buffer + oldLength, newLength - oldLength);
}

int CVideoControl::GetFrameData(CBuffer* frame, int& complete, int& nalType,
                                unsigned int& timestamp) {
    complete = 0;
    prepareTracks();
    if (m_h264) m_h264->GetFrameData(m_h264->receiveBuffer(), frame, complete, nalType, timestamp);
    return 0;
}

int CVideoControl::GetAudioData(CBuffer*, int& complete, int&) {
    complete = m_aac ? m_aac->takeFront() : 0;
    return 0;
}
