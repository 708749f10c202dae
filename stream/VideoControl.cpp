#include "stream/VideoControl.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "sdk/Device.h"
#include "sdk/Trace.h"
#include "stream/Deinterleaver.h"
#include "stream/LibraryThread.h"
#include "stream/rtp.h"

namespace {

CBuffer* newBuffer(evbuffer_cb cb, void* arg) {
    CBuffer* buf = evbuffer_new();
    if (!buf) {
        kovo::traceputs("evbuffer_new failed, out of memory");
        exit(-1);
    }
    evbuffer_setcb(buf, cb, arg);
    return buf;
}

}  // namespace

CVideoControl::CVideoControl(int width, int height, int frameRate)
    : m_nSourceVideoWidth(width), m_nSourceVideoHeight(height), m_nFrameRate(frameRate) {
    m_DataList = new CDataList;
    m_pVTempEvbuffer = newBuffer(nullptr, nullptr);
}

CVideoControl::~CVideoControl() {
    StopThread();
    evbuffer_free(m_pVTempEvbuffer);
    delete m_DataList;
}

int CVideoControl::SetRealDataCallBack(DATA_TYPE_E type, fRealDataCallBack cb, unsigned long user) {
    std::lock_guard<std::mutex> lock(m_callbackLock);
    m_cbRealDataFunc = cb;
    m_ecbDataType = type;
    m_dwUser = user;
    return 0;
}

int CVideoControl::SetRealDataCallBackDecode(fDisplayDataCallBack cb, unsigned long user) {
    std::lock_guard<std::mutex> lock(m_callbackLock);
    m_cbRealDataFuncDecode = cb;
    m_dwUserDecode = user;
    return 0;
}

int CVideoControl::SetMJPEGCallBack(fMJPEGCallBack cb, unsigned long user) {
    std::lock_guard<std::mutex> lock(m_callbackLock);
    m_cbMPEGFunc = cb;
    m_dwUserJPEG = user;
    return 0;
}

int CVideoControl::SetAudioCallBack(fAudioCallBack cb, unsigned long user) {
    std::lock_guard<std::mutex> lock(m_callbackLock);
    m_cbAudio = cb;
    m_dwUserAudio = user;
    return 0;
}

unsigned long CVideoControl::SetAudioCallBackDecode(fAudioCallBackDecode cb, unsigned long user) {
    std::lock_guard<std::mutex> lock(m_callbackLock);
    m_cbAudioDecode = cb;
    m_dwUserAudioDecode = user;
    return user;
}

void CVideoControl::SetFrameCallBack(fFrameCallBack cb, unsigned long user) {
    std::lock_guard<std::mutex> lock(m_callbackLock);
    m_cbFrame = cb;
    m_dwUserFrame = user;
}

void CVideoControl::CopyCallbacksFrom(CVideoControl& other) {
    std::unique_lock<std::mutex> theirs(other.m_callbackLock, std::defer_lock);
    std::unique_lock<std::mutex> ours(m_callbackLock, std::defer_lock);
    std::lock(theirs, ours);
    m_cbRealDataFunc = other.m_cbRealDataFunc;
    m_ecbDataType = other.m_ecbDataType;
    m_dwUser = other.m_dwUser;
    m_cbRealDataFuncDecode = other.m_cbRealDataFuncDecode;
    m_dwUserDecode = other.m_dwUserDecode;
    m_cbMPEGFunc = other.m_cbMPEGFunc;
    m_dwUserJPEG = other.m_dwUserJPEG;
    m_cbAudio = other.m_cbAudio;
    m_dwUserAudio = other.m_dwUserAudio;
    m_cbAudioDecode = other.m_cbAudioDecode;
    m_dwUserAudioDecode = other.m_dwUserAudioDecode;
}

// Each delivery reads its slot under the lock and calls outside it, so a
// callback may itself call the setters.
int CVideoControl::ProcessDataCallBack(unsigned char* data, unsigned long length, DATA_TYPE_E type,
                                       FRAME_TYPE_E frameType) {
    fRealDataCallBack cb;
    DATA_TYPE_E wanted;
    unsigned long user;
    {
        std::lock_guard<std::mutex> lock(m_callbackLock);
        cb = m_cbRealDataFunc;
        wanted = m_ecbDataType;
        user = m_dwUser;
    }
    if (cb && wanted == H264DATA_TYPE && type == H264DATA_TYPE) cb(wanted, frameType, data, length, user);
    return 0;
}

template <typename Callback>
static void readSlot(std::mutex& lock, Callback slot, unsigned long userSlot, Callback& cb,
                     unsigned long& user) {
    std::lock_guard<std::mutex> guard(lock);
    cb = slot;
    user = userSlot;
}

int CVideoControl::ProcessDataCallBackMJPEG(unsigned char* data, unsigned long length) {
    fMJPEGCallBack cb;
    unsigned long user;
    readSlot(m_callbackLock, m_cbMPEGFunc, m_dwUserJPEG, cb, user);
    if (cb) cb(m_lStreamID, m_DataType, data, length, user);
    return 0;
}

int CVideoControl::ProcessDataCallBackDecode(DATA_TYPE_E, long width, long height,
                                             unsigned char* data) {
    fDisplayDataCallBack cb;
    unsigned long user;
    readSlot(m_callbackLock, m_cbRealDataFuncDecode, m_dwUserDecode, cb, user);
    if (cb) cb(m_lStreamID, YUVDATA_TYPE, width, height, data, user);
    return 0;
}

int CVideoControl::ProcessAudioCallBack(unsigned char* data, unsigned long length,
                                        DATA_TYPE_E type) {
    fAudioCallBack cb;
    unsigned long user;
    readSlot(m_callbackLock, m_cbAudio, m_dwUserAudio, cb, user);
    if (cb) cb(m_lStreamID, type, data, length, user);
    return 0;
}

int CVideoControl::ProcessAudioCallBackDecode(unsigned char* data, unsigned long length,
                                              DATA_TYPE_E type) {
    fAudioCallBackDecode cb;
    unsigned long user;
    readSlot(m_callbackLock, m_cbAudioDecode, m_dwUserAudioDecode, cb, user);
    if (cb) cb(m_lStreamID, type, data, length, user);
    return 0;
}

// ---- threads ---------------------------------------------------------------

void CVideoControl::StartThread() {
    if (m_nSocket < 0 && m_pDevice) m_nSocket = static_cast<CDevice*>(m_pDevice)->stream.s;
    m_linkWatched = true;
    m_nRunAssembleFrame = 1;
    const int rc = kovo::StartLibraryThread(&m_nAssembleThreadID, AssembleFrameProc, this,
                                            kovo::kStreamThreadStack);
    if (rc != 0) {
        kovo::tracef("pthread_create AssembleFrameProc error: %s\n", strerror(rc));
        fflush(stdout);
        exit(-3);
    }
    m_assembleStarted = true;
    startReceiving();
}

void CVideoControl::StopThread() {
    const pthread_t self = pthread_self();
    stopReceiving();
    m_nRunAssembleFrame = 0;
    if (m_assembleStarted && !pthread_equal(self, m_nAssembleThreadID)) {
        m_DataList->WakeNetworkWaiters();
        pthread_join(m_nAssembleThreadID, nullptr);
        m_assembleStarted = false;
    }
}

void CVideoControl::Destroy(CVideoControl* control) {
    if (!control) return;
    const pthread_t self = pthread_self();
    if (!control->m_assembleStarted || !pthread_equal(self, control->m_nAssembleThreadID)) {
        delete control;
        return;
    }
    control->ConnectType = CONNECT_TYPE_NONE;  // the rest of this chunk is not delivered
    control->StopThread();  // stops the reading; this thread ends after the callback
    pthread_detach(self);
    control->m_assembleStarted = false;
    control->m_deleteOnExit = true;
}

void* CVideoControl::AssembleFrameProc(void* self) {
    auto* control = static_cast<CVideoControl*>(self);
    control->assembleLoop();
    if (control->m_deleteOnExit) delete control;
    return nullptr;
}

void* CVideoControl::DecodeFrameProc(void* self) {
    auto* control = static_cast<CVideoControl*>(self);
    PaceDecodeFrames(control->m_DataList, control->m_nFrameRate, control->m_nRunDecodeFrame);
    return nullptr;
}

void CVideoControl::assembleLoop() {
    while (m_nRunAssembleFrame) {
        CNetworkData* item = m_DataList->WaitNetworkData(linkWaitMs());
        if (item) {
            reportReading();
            if (item->afterDrop) restartAfterDrop();
            if (m_nRunAssembleFrame) AssembleChunk(item->GetData(), item->GetLen());
            if (item->reusable) m_batch.giveBack(item->ReleaseData());
            delete item;
        }
        if (m_nRunAssembleFrame) watchLink(kovo::MonotonicMs());
    }
}

int CVideoControl::CheckStamp(unsigned char* data, int length) {
    static const unsigned char kStampCode[16] = {0x00, 0x00, 0x00, 0x01, 0x06, 0x00, 0x0A, 0xAB,
                                                 0xF2, 0x00, 0x00, 0x03, 0x02, 0xBF, 0x20, 0x00};
    if (!data || length < 16) return 0;
    if (m_iStampWrongCount > 30) {
        kovo::tracef("CVideoControl::CheckStamp stamp code error max.");
        m_iStampWrongCount = 0;
        return 0;
    }
    if (memcmp(data, kStampCode, 4) == 0) return 28;
    m_iStampWrongCount = 0;
    return 8;
}

// ---- socket readiness handlers (not installed by the TCP stream path) -----

int CVideoControl::RTPRecvfrom(int fd, short, void*) {
    char datagram[4096];
    int n = rtp_recvfrom(fd, datagram, sizeof datagram, &rtpclientaddr);
    if (n < 1) return 0;
    if (n > RTP_HEAD_LEN && IsKeyFrameH264(datagram[RTP_HEAD_LEN])) m_bStartFromKeyFrame = 1;
    if (m_bStartFromKeyFrame) {
        prepareTracks();
        pushToTrack(m_video, reinterpret_cast<const uint8_t*>(datagram), uint32_t(n));
        m_StartProcessData = 1;
    }
    return n;
}

int CVideoControl::RTPRecvOverTCP(int fd, short, void*) {
    if (!m_strRecvBuf) m_strRecvBuf.reset(new char[kRecvChunk]);
    int n = rtp_recv(fd, m_strRecvBuf.get(), kRecvChunk);
    return n < 0 ? 0 : n;
}
