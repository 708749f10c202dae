// Per-stream controller: the shared receive loop (ReceiveLoop.h) reads the
// device's stream socket into the network queue; the stream's assemble
// thread de-interleaves the bytes, hands each packet to the depacketiser of
// its track, delivers the frames that come out to the application's
// callbacks and watches the link (StreamLink.cpp).
#ifndef KOVO_STREAM_VIDEOCONTROL_H
#define KOVO_STREAM_VIDEOCONTROL_H

#include <netinet/in.h>
#include <pthread.h>

#include <atomic>
#include <memory>
#include <mutex>

#include "sdk/KovoSDK.h"
#include "stream/AacDepacketizer.h"
#include "stream/AckPacing.h"
#include "stream/DataList.h"
#include "stream/Deinterleaver.h"
#include "stream/H264Depacketizer.h"
#include "stream/JpegDepacketizer.h"
#include "stream/ReceiveBatch.h"
#include "stream/ReceiveLoop.h"
#include "stream/StreamHealth.h"
#include "stream/StreamSdp.h"
#include "stream/StreamTrack.h"
#include "stream/UnixStd.h"

class CVideoControl final : private ChannelSink, private kovo::FrameSink, private kovo::ReceiveSource {
public:
    static constexpr int kRecvChunk = 32768;
    // The assemble thread is woken at once by data, by the reading side's
    // news or by StopThread, so its wait needs no short time-out (only the
    // link's deadlines); an idle stream then costs next to no CPU.
    static constexpr int kIdleWaitMs = 5000;
    // Storage of the temporary buffer kept between chunks: none, as it is
    // empty after almost every chunk; a thousand streams need not each
    // hold storage they use for a moment 25 times a second.
    static constexpr uint32_t kKeptTempStorage = 0;

    CVideoControl(int width, int height, int frameRate);
    ~CVideoControl();
    CVideoControl(const CVideoControl&) = delete;
    CVideoControl& operator=(const CVideoControl&) = delete;

    void SetStreamID(long id) { m_lStreamID = int(id); }
    void SetDevice(void* device) { m_pDevice = device; }
    void* GetDevice() const { return m_pDevice; }
    void SetDataType(DATA_TYPE_E type) { m_DataType = type; }
    void HasAudio(int hasAudio) { m_bHasAudio = hasAudio; }
    void SetWnd(unsigned long wnd) { m_hWnd = wnd; }
    void SetConnectType(CONNECT_TYPE_E type) { ConnectType = type; }
    // The socket the receive loop reads; taken from the device when unset.
    void SetSocket(int fd) { m_nSocket = fd; }
    // How packets are read; set before the first packet arrives.
    void SetReceiveRules(kovo::ReceiveRules rules) { m_rules = rules; }
    // The SDP of each medium (clock rates, payload types, format parameters).
    void SetTrackSdp(const kovo::TrackSdp& video, const kovo::TrackSdp& audio);
    // Interleaved RTP channels the camera announced (standard rules); -1:
    // the native layout (video 0, or audio 0 and video 2).
    void SetChannels(int videoChannel, int audioChannel);
    void StartDecode() { m_bIsDecode = 1; }
    void StopDecode() { m_bIsDecode = 0; }
    unsigned IsDecoding() const { return m_bIsDecode; }

    int SetRealDataCallBack(DATA_TYPE_E type, fRealDataCallBack cb, unsigned long user);
    int SetRealDataCallBackDecode(fDisplayDataCallBack cb, unsigned long user);
    int SetMJPEGCallBack(fMJPEGCallBack cb, unsigned long user);
    int SetAudioCallBack(fAudioCallBack cb, unsigned long user);
    unsigned long SetAudioCallBackDecode(fAudioCallBackDecode cb, unsigned long user);
    void SetFrameCallBack(fFrameCallBack cb, unsigned long user);
    // Takes over the media callbacks of another controller (a reopened
    // stream); the frame callback comes from the device.
    void CopyCallbacksFrom(CVideoControl& other);
    void GetStatistics(KOVO_STREAM_STATS& out) const { m_stats.read(out); }

    int ProcessDataCallBack(unsigned char* data, unsigned long length, DATA_TYPE_E type,
                            FRAME_TYPE_E frameType);
    int ProcessDataCallBackMJPEG(unsigned char* data, unsigned long length);
    int ProcessDataCallBackDecode(DATA_TYPE_E type, long width, long height, unsigned char* data);
    int ProcessAudioCallBack(unsigned char* data, unsigned long length, DATA_TYPE_E type);
    int ProcessAudioCallBackDecode(unsigned char* data, unsigned long length, DATA_TYPE_E type);

    // Empty audio entry points (no decoder or local playback is attached).
    int OpenAudio(int, unsigned long, unsigned short) { return 0; }
    void ACCToDecode(unsigned char*, int) {}
    void PCMToDSound(unsigned char*, int) {}
    void HandleV107() {}

    // Stall detection, keep-alive and queue bound from the device's link
    // options (the camera's Session value gives the keep-alive interval when
    // asked to). Call before StartThread; later changes of the device's
    // options reach the running stream at its thread's next wake.
    void TakeLinkOptions() { followLinkOptions(false); }

    void StartThread();
    void StopThread();
    // Deletes a controller. Called from its own assemble thread (an
    // application closing its stream from a frame or event callback) that
    // thread cannot be joined: reading and processing stop, and the thread
    // deletes the controller once the callback returned.
    static void Destroy(CVideoControl* control);

    // One pass of de-interleaving over the temporary buffer.
    void HandleTempBuffer();
    void HandleAVTempBuffer();
    // Appends one received chunk to the temporary buffer and de-interleaves it
    // (what the assemble thread does per network item).
    void AssembleChunk(const char* data, uint32_t length);

    // The classic entry points, kept as adapters onto the depacketisers.
    int GetFrameData(CBuffer* frame, int& complete, int& nalType, unsigned int& timestamp);
    int GetAudioData(CBuffer* frame, int& complete, int&);
    int CheckStamp(unsigned char* data, int length);

    int RTPRecvfrom(int fd, short events, void* user);
    int RTPRecvOverTCP(int fd, short events, void* user);

    CDataList* DataList() { return m_DataList; }
    int SourceWidth() const { return m_nSourceVideoWidth; }
    int SourceHeight() const { return m_nSourceVideoHeight; }
    int StartProcessData() const { return m_StartProcessData; }

private:
    friend void on_evbuffer_call_back(CBuffer*, uint32_t, uint32_t, void*);
    friend void on_audio_dataprocess_call(CBuffer*, uint32_t, uint32_t, void*);
    static void* AssembleFrameProc(void* self);
    static void* DecodeFrameProc(void* self);
    // One medium of the stream.
    struct Track {
        DATA_TYPE_E dataType = NODATA_TYPE;
        int rtpChannel = -1;
        int rtcpChannel = -1;
        kovo::TrackSdp sdp;
        std::unique_ptr<kovo::Depacketizer> unit;
        kovo::SequenceWatch sequence;
        kovo::MediaClock clock;
        bool discontinuity = false;  // reported with the next frame (from breakTimestamp on)
        bool breakTimed = false;
        uint32_t breakTimestamp = 0;
        bool delivered = false;
    };

    // The reading side, on the receive loop's thread (StreamLink.cpp).
    void startReceiving();
    void stopReceiving();
    bool readReady(int64_t now) override;
    bool readWaiting(int64_t now);
    int handOverDue(int64_t now) override;
    void roundEnded() override;
    void handOverBatch();
    void assembleLoop();
    void prepareTracks();
    void pushToTrack(Track& track, const uint8_t* bytes, uint32_t length);
    void deliver(const kovo::MediaFrame& frame);
    bool knowsChannel(uint8_t channel) const override;
    void onChannelPacket(uint8_t channel, const uint8_t* packet, uint32_t length) override;
    bool processing() const override;
    bool wantsReplies() const override { return m_health.keepAliveOn(); }
    void onReply(int status) override { m_health.replyArrived(status); }
    void onFrame(const kovo::MediaFrame& frame) override;
    void onFrameDropped(DATA_TYPE_E dataType) override;
    // The link's news and health, on the assemble thread (StreamLink.cpp).
    int linkWaitMs() const;
    void reportReading();
    void watchLink(int64_t now);
    void followLinkOptions(bool running);
    void checkHealth(int64_t now);
    void sendKeepAlive(int64_t now);
    void linkLost();
    void emitEvent(KOVO_EVENT_E event, long detail);
    void noteFrameDelivered();
    void restartAfterDrop();

    int m_nSourceVideoWidth;
    int m_nSourceVideoHeight;
    int m_nFrameRate;
    CBuffer* m_pVTempEvbuffer = nullptr;
    int m_StartProcessData = 0;
    CONNECT_TYPE_E ConnectType = CONNECT_TYPE_NONE;
    kovo::ReceiveRules m_rules = kovo::ReceiveRules::Native;
    Track m_video;
    Track m_audio;
    bool m_tracksReady = false;
    int m_announcedVideoChannel = -1;
    int m_announcedAudioChannel = -1;
    kovo::StreamStatistics m_stats;

    // Callback slots: set on application threads, read on the assemble thread.
    std::mutex m_callbackLock;
    fRealDataCallBack m_cbRealDataFunc = nullptr;
    DATA_TYPE_E m_ecbDataType = NODATA_TYPE;
    unsigned long m_dwUser = 0;
    fDisplayDataCallBack m_cbRealDataFuncDecode = nullptr;
    unsigned long m_dwUserDecode = 0;
    fMJPEGCallBack m_cbMPEGFunc = nullptr;
    unsigned long m_dwUserJPEG = 0;
    fAudioCallBack m_cbAudio = nullptr;
    unsigned long m_dwUserAudio = 0;
    fAudioCallBackDecode m_cbAudioDecode = nullptr;
    unsigned long m_dwUserAudioDecode = 0;
    fFrameCallBack m_cbFrame = nullptr;
    unsigned long m_dwUserFrame = 0;

    sockaddr_in rtpclientaddr{};
    int m_bStartFromKeyFrame = 0;
    std::atomic<unsigned> m_bIsDecode{0};
    unsigned long m_hWnd = 0;
    DATA_TYPE_E m_DataType = NODATA_TYPE;
    kovo::H264Depacketizer* m_h264 = nullptr;  // the video unit when it is H.264
    kovo::AacDepacketizer* m_aac = nullptr;
    CDataList* m_DataList = nullptr;
    pthread_t m_nAssembleThreadID{};
    bool m_assembleStarted = false;
    bool m_deleteOnExit = false;  // set by Destroy on the assemble thread
    std::atomic<int> m_nRunRecvThread{0};  // the receive loop reads the socket
    std::atomic<int> m_nRunAssembleFrame{0};
    std::atomic<int> m_nRunDecodeFrame{0};
    int m_bHasAudio = 0;
    void* m_pDevice = nullptr;
    int m_lStreamID = 0;
    int m_nSocket = -1;
    std::unique_ptr<char[]> m_strRecvBuf;  // RTPRecvOverTCP's, made on first use
    kovo::ReceiveBatch m_batch;  // read, not yet handed to the assemble thread
    kovo::AckPacing m_ackPacing;  // when the camera's bytes are acknowledged
    // News of the reading side for the assemble thread.
    bool m_handedOver = false;                // in this round of the loop
    std::atomic<uint64_t> m_droppedBytes{0};  // at the queue limit, not yet reported
    std::atomic<bool> m_linkEnded{false};     // the connection was closed or failed
    int m_linkEndedRead = 0;                  // what recv returned then
    int m_linkEndedError = 0;                 // and its errno (0: closed)
    bool m_linkWatched = false;  // health and loss still reported (assemble thread)
    int m_iStampWrongCount = 0;

    kovo::StreamHealth m_health;
    bool m_reconnect = false;       // link loss or a stall hands the stream to reconnection
    bool m_frameDelivered = false;  // STREAM_STARTED reported (assemble thread)
    std::atomic<uint64_t> m_queueLimit{uint64_t(65536) * 1024};  // undelivered bytes held at most
    unsigned m_linkChangesSeen = 0;  // the device's option changes already taken
    bool m_resyncPending = false;  // after a drop: find a packet boundary first
};

void on_evbuffer_call_back(CBuffer* buf, uint32_t oldLength, uint32_t newLength, void* arg);
void on_audio_dataprocess_call(CBuffer* buf, uint32_t oldLength, uint32_t newLength, void* arg);

#endif
