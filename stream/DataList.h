// Mutex-guarded FIFO queues of owned byte copies: received socket chunks
// (receive loop -> assemble thread) and assembled frames (-> decode pacing).
#ifndef KOVO_STREAM_DATALIST_H
#define KOVO_STREAM_DATALIST_H

#include <pthread.h>

#include <atomic>
#include <cstdint>

// Codec numbering of libavcodec; only the values this library names are listed.
enum CodecID {
    CODEC_ID_NONE = 0,
    CODEC_ID_MJPEG = 8,
    CODEC_ID_H264 = 28,
    CODEC_ID_MPEG2TS = 0x20000,
};

class CMyMutex {
public:
    CMyMutex() { pthread_mutex_init(&m_mtx, nullptr); }
    void Lock() { pthread_mutex_lock(&m_mtx); }
    void UnLock() { pthread_mutex_unlock(&m_mtx); }
    pthread_mutex_t m_mtx;
};

class CNetworkData {
public:
    CNetworkData(const char* data, uint32_t length);
    // Takes over length bytes at data, allocated with malloc: no copy.
    static CNetworkData* Adopt(char* data, uint32_t length);
    ~CNetworkData();
    CNetworkData(const CNetworkData&) = delete;
    CNetworkData& operator=(const CNetworkData&) = delete;
    char* GetData() { return m_data; }
    // The first item after PutNetworkItemBounded dropped what was queued:
    // its bytes do not continue those handled before.
    bool afterDrop = false;
    // Adopted storage that its giver takes back (see ReleaseData).
    bool reusable = false;
    // Gives up adopted storage, which the item then no longer frees.
    char* ReleaseData() {
        char* data = m_data;
        m_data = nullptr;
        return data;
    }
    uint32_t GetLen() const { return m_len; }

private:
    friend class CDataList;
    CNetworkData() = default;
    char* m_data = nullptr;
    uint32_t m_len = 0;
    bool m_adopted = false;  // m_data is malloc's, not new[]'s
    CNetworkData* m_next = nullptr;  // queue link: no extra node allocation per item
};

class CFrameData {
public:
    CFrameData(const unsigned char* data, uint32_t length, unsigned long long timeStamp);
    ~CFrameData();
    CFrameData(const CFrameData&) = delete;
    CFrameData& operator=(const CFrameData&) = delete;

    unsigned char* m_data;
    uint32_t m_len;
    unsigned long long m_timeStamp;
    CodecID m_codecID = CODEC_ID_NONE;

private:
    friend class CDataList;
    CFrameData* m_next = nullptr;
};

class CDataList {
public:
    CDataList();
    ~CDataList();
    CDataList(const CDataList&) = delete;
    CDataList& operator=(const CDataList&) = delete;

    int PutNetworkData(char* data, int length);
    // Queues an item made by the caller (taken over in every case) while the
    // queue holds at most limit bytes with it; past it, drops everything
    // queued and the item and returns the bytes dropped (0 when queued).
    // A waiting reader is not woken: SignalNetworkWaiters does that.
    uint64_t PutNetworkItemBounded(CNetworkData* item, uint64_t limit);
    void SignalNetworkWaiters();
    CNetworkData* GetNetworkData();
    // Like GetNetworkData, but when the queue is empty waits up to timeoutMs
    // for a PutNetworkData or a WakeNetworkWaiters.
    CNetworkData* WaitNetworkData(int timeoutMs);
    void WakeNetworkWaiters();
    size_t GetNetworkDataCount();

    int PutFrame(char* data, unsigned int length, unsigned long long timeStamp, CodecID codec);
    CFrameData* GetFrame(int* count);
    int GetFrameCount();

private:
    CNetworkData* popNetworkLocked();
    // Called with m_mtxNetworkData held; release it.
    void appendNetworkAndUnlock(CNetworkData* item, bool signal = true);
    uint64_t dropNetworkAndUnlock(uint64_t held);

    CMyMutex m_mtxNetworkData;
    CMyMutex m_mtxFrame;
    pthread_cond_t m_networkArrived;
    int m_networkWaiters = 0;
    bool m_wakeRequested = false;
    CNetworkData* m_networkHead = nullptr;
    CNetworkData* m_networkTail = nullptr;
    size_t m_networkCount = 0;
    uint64_t m_networkBytes = 0;
    bool m_dropped = false;  // the next item put is marked afterDrop
    CFrameData* m_frameHead = nullptr;
    CFrameData* m_frameTail = nullptr;
    int m_frameCount = 0;
};

// Paces queued frames by the frame rate, adapting to the queue length, and
// discards them (no decoder is attached). Returns when run becomes 0.
void PaceDecodeFrames(CDataList* list, int frameRate, const std::atomic<int>& run);

#endif
