// Per-stream controller: a receive thread reads the device's stream socket
// into the network queue; an assemble thread de-interleaves the bytes, runs
// the frame assemblers and calls the application's callbacks.
#ifndef KOVO_STREAM_VIDEOCONTROL_H
#define KOVO_STREAM_VIDEOCONTROL_H

#include <netinet/in.h>
#include <pthread.h>

#include <atomic>
#include <mutex>

#include "sdk/KovoSDK.h"
#include "stream/AacAssembler.h"
#include "stream/DataList.h"
#include "stream/H264Depacketizer.h"
#include "stream/JpegAssembler.h"
#include "stream/UnixStd.h"

class CVideoControl {
public:
    static constexpr int kRecvChunk = 32768;
    // Both threads are woken at once by data or by StopThread, so their waits
    // need no short time-out; an idle stream then costs next to no CPU. The
    // short receive poll remains for when no wake-up descriptor is available.
    static constexpr int kIdleWaitMs = 5000;
    static constexpr int kRecvWaitMs = 20;

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
    // The socket the receive thread reads; taken from the device when unset.
    void SetSocket(int fd) { m_nSocket = fd; }
    void StartDecode() { m_bIsDecode = 1; }
    void StopDecode() { m_bIsDecode = 0; }
    unsigned IsDecoding() const { return m_bIsDecode; }

    int SetRealDataCallBack(DATA_TYPE_E type, fRealDataCallBack cb, unsigned long user);
    int SetRealDataCallBackDecode(fDisplayDataCallBack cb, unsigned long user);
    int SetMJPEGCallBack(fMJPEGCallBack cb, unsigned long user);
    int SetAudioCallBack(fAudioCallBack cb, unsigned long user);
    unsigned long SetAudioCallBackDecode(fAudioCallBackDecode cb, unsigned long user);

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

    void StartThread();
    void StopThread();
    // Deletes a controller. Called from one of its own callbacks (an
    // application closing its stream from the callback) the assemble thread
    // cannot be joined: processing stops and that thread deletes the
    // controller once the callback has returned.
    static void Destroy(CVideoControl* control);

    // One pass of de-interleaving over the temporary buffer.
    void HandleTempBuffer();
    void HandleAVTempBuffer();
    // Appends one received chunk to the temporary buffer and de-interleaves it
    // (what the assemble thread does per network item).
    void AssembleChunk(const char* data, uint32_t length);

    int GetFrameData(CBuffer* frame, int& complete, int& nalType, unsigned int& timestamp);
    int GetAudioData(CBuffer* frame, int& complete, int&);
    int CheckStamp(unsigned char* data, int length);

    int RTPRecvfrom(int fd, short events, void* user);
    int RTPRecvOverTCP(int fd, short events, void* user);

    CDataList* DataList() { return m_DataList; }
    int SourceWidth() const { return m_nSourceVideoWidth; }
    int SourceHeight() const { return m_nSourceVideoHeight; }
    int StartProcessData() const { return m_StartProcessData; }
    bool ReceiveThreadRunning() const { return m_recvThreadAlive.load(); }

private:
    friend void on_evbuffer_call_back(CBuffer*, uint32_t, uint32_t, void*);
    friend void on_audio_dataprocess_call(CBuffer*, uint32_t, uint32_t, void*);
    static void* RecvThreadProc(void* self);
    static void* AssembleFrameProc(void* self);
    static void* DecodeFrameProc(void* self);
    static void jpegSink(void* self, const unsigned char* data, size_t length);
    static void audioSink(void* self, const unsigned char* data, size_t length);
    void onVideoPacket();
    void onAudioPacket();
    void deliverH264Frame();
    void receiveLoop();
    void assembleLoop();

    int m_nSourceVideoWidth;
    int m_nSourceVideoHeight;
    int m_nFrameRate;
    CBuffer* m_pVFrameEvbuffer = nullptr;
    CBuffer* m_pVTempEvbuffer = nullptr;
    CBuffer* m_pVRecvEvbuffer = nullptr;
    CBuffer* m_pAURecvEvbuffer = nullptr;
    CBuffer* m_pAUFrameEvbuffer = nullptr;
    int m_StartProcessData = 0;
    int m_bFirstKeyShow = 0;
    CONNECT_TYPE_E ConnectType = CONNECT_TYPE_NONE;

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

    sockaddr_in rtpclientaddr{};
    int m_bStartFromKeyFrame = 0;
    std::atomic<unsigned> m_bIsDecode{0};
    unsigned long m_hWnd = 0;
    DATA_TYPE_E m_DataType = NODATA_TYPE;
    kovo::JpegAssembler m_jpeg;
    kovo::AacAssembler m_aac;
    H264Depacketizer m_h264;
    CDataList* m_DataList = nullptr;
    pthread_t m_nRecvThreadID{};
    pthread_t m_nAssembleThreadID{};
    bool m_recvStarted = false;
    bool m_assembleStarted = false;
    bool m_deleteOnExit = false;  // set by Destroy on the assemble thread
    std::atomic<int> m_nRunRecvThread{0};
    std::atomic<int> m_nRunAssembleFrame{0};
    std::atomic<int> m_nRunDecodeFrame{0};
    std::atomic<bool> m_recvThreadAlive{false};
    int m_bHasAudio = 0;
    void* m_pDevice = nullptr;
    int m_lStreamID = 0;
    int m_nSocket = -1;
    int m_nWakeFd = -1;  // eventfd written by StopThread to end the receive wait
    char m_strRecvBuf[kRecvChunk];
    int m_iStampWrongCount = 0;
};

void on_evbuffer_call_back(CBuffer* buf, uint32_t oldLength, uint32_t newLength, void* arg);
void on_audio_dataprocess_call(CBuffer* buf, uint32_t oldLength, uint32_t newLength, void* arg);

#endif
