#include "stream/DataList.h"

#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "sdk/Trace.h"

CNetworkData::CNetworkData(const char* data, uint32_t length)
    : m_data(new char[length]), m_len(length) {
    memcpy(m_data, data, length);
}

CNetworkData* CNetworkData::Adopt(char* data, uint32_t length) {
    CNetworkData* item = new CNetworkData;
    item->m_data = data;
    item->m_len = length;
    item->m_adopted = true;
    return item;
}

CNetworkData::~CNetworkData() {
    if (m_adopted)
        free(m_data);
    else
        delete[] m_data;
}

CFrameData::CFrameData(const unsigned char* data, uint32_t length, unsigned long long timeStamp)
    : m_data(new unsigned char[length ? length : 1]), m_len(length), m_timeStamp(timeStamp) {
    if (length) memcpy(m_data, data, length);
}

CFrameData::~CFrameData() { delete[] m_data; }

CDataList::CDataList() {
    pthread_condattr_t attr;
    pthread_condattr_init(&attr);
    pthread_condattr_setclock(&attr, CLOCK_MONOTONIC);
    pthread_cond_init(&m_networkArrived, &attr);
    pthread_condattr_destroy(&attr);
}

CDataList::~CDataList() {
    m_mtxNetworkData.Lock();
    while (CNetworkData* item = popNetworkLocked()) delete item;
    m_mtxNetworkData.UnLock();
    m_mtxFrame.Lock();
    while (m_frameHead) {
        CFrameData* next = m_frameHead->m_next;
        delete m_frameHead;
        m_frameHead = next;
    }
    m_mtxFrame.UnLock();
    pthread_cond_destroy(&m_networkArrived);
}

int CDataList::PutNetworkData(char* data, int length) {
    if (length <= 0) {
        kovo::tracef("PutNetworkData len<=0, program exit");
        fflush(stdout);
        exit(-1);
    }
    CNetworkData* item = new CNetworkData(data, uint32_t(length));
    m_mtxNetworkData.Lock();
    appendNetworkAndUnlock(item);
    return 0;
}

void CDataList::appendNetworkAndUnlock(CNetworkData* item, bool signal) {
    if (m_networkTail)
        m_networkTail->m_next = item;
    else
        m_networkHead = item;
    m_networkTail = item;
    ++m_networkCount;
    m_networkBytes += item->m_len;
    item->afterDrop = m_dropped;
    m_dropped = false;
    bool wake = signal && m_networkWaiters > 0;
    m_mtxNetworkData.UnLock();
    if (wake) pthread_cond_signal(&m_networkArrived);
}

void CDataList::SignalNetworkWaiters() {
    m_mtxNetworkData.Lock();
    bool wake = m_networkWaiters > 0 && m_networkHead;
    m_mtxNetworkData.UnLock();
    if (wake) pthread_cond_signal(&m_networkArrived);
}

uint64_t CDataList::PutNetworkItemBounded(CNetworkData* item, uint64_t limit) {
    m_mtxNetworkData.Lock();
    const uint64_t held = m_networkBytes + item->m_len;
    if (held <= limit) {
        appendNetworkAndUnlock(item, false);
        return 0;
    }
    const uint64_t dropped = dropNetworkAndUnlock(held);
    delete item;
    return dropped;
}

// Empties the queue; returns held.
uint64_t CDataList::dropNetworkAndUnlock(uint64_t held) {
    CNetworkData* dropped = m_networkHead;
    m_networkHead = m_networkTail = nullptr;
    m_networkCount = 0;
    m_networkBytes = 0;
    m_dropped = true;
    m_mtxNetworkData.UnLock();
    while (dropped) {
        CNetworkData* next = dropped->m_next;
        delete dropped;
        dropped = next;
    }
    return held;
}

CNetworkData* CDataList::popNetworkLocked() {
    CNetworkData* item = m_networkHead;
    if (!item) return nullptr;
    m_networkHead = item->m_next;
    if (!m_networkHead) m_networkTail = nullptr;
    item->m_next = nullptr;
    --m_networkCount;
    m_networkBytes -= item->m_len;
    return item;
}

CNetworkData* CDataList::GetNetworkData() {
    m_mtxNetworkData.Lock();
    CNetworkData* item = popNetworkLocked();
    m_mtxNetworkData.UnLock();
    return item;
}

CNetworkData* CDataList::WaitNetworkData(int timeoutMs) {
    m_mtxNetworkData.Lock();
    CNetworkData* item = popNetworkLocked();
    if (!item && !m_wakeRequested) {
        timespec deadline;
        clock_gettime(CLOCK_MONOTONIC, &deadline);
        deadline.tv_sec += timeoutMs / 1000;
        deadline.tv_nsec += long(timeoutMs % 1000) * 1000000L;
        if (deadline.tv_nsec >= 1000000000L) {
            deadline.tv_sec += 1;
            deadline.tv_nsec -= 1000000000L;
        }
        ++m_networkWaiters;
        while (!m_networkHead && !m_wakeRequested) {
            if (pthread_cond_timedwait(&m_networkArrived, &m_mtxNetworkData.m_mtx, &deadline) != 0)
                break;
        }
        --m_networkWaiters;
        item = popNetworkLocked();
    }
    m_wakeRequested = false;
    m_mtxNetworkData.UnLock();
    return item;
}

void CDataList::WakeNetworkWaiters() {
    m_mtxNetworkData.Lock();
    m_wakeRequested = true;
    m_mtxNetworkData.UnLock();
    pthread_cond_broadcast(&m_networkArrived);
}

size_t CDataList::GetNetworkDataCount() {
    m_mtxNetworkData.Lock();
    size_t count = m_networkCount;
    m_mtxNetworkData.UnLock();
    return count;
}

int CDataList::PutFrame(char* data, unsigned int length, unsigned long long timeStamp, CodecID codec) {
    CFrameData* frame =
        new CFrameData(reinterpret_cast<const unsigned char*>(data), length, timeStamp);
    frame->m_codecID = codec;
    m_mtxFrame.Lock();
    if (m_frameCount > 200) {
        kovo::tracef("In PutFrame, m_listFrame.size:%d, abort frame data. \n", m_frameCount);
        delete frame;
        m_mtxFrame.UnLock();
        return -1;
    }
    if (m_frameTail)
        m_frameTail->m_next = frame;
    else
        m_frameHead = frame;
    m_frameTail = frame;
    ++m_frameCount;
    m_mtxFrame.UnLock();
    return 0;
}

CFrameData* CDataList::GetFrame(int* count) {
    m_mtxFrame.Lock();
    *count = m_frameCount;
    CFrameData* frame = m_frameHead;
    if (frame) {
        m_frameHead = frame->m_next;
        if (!m_frameHead) m_frameTail = nullptr;
        frame->m_next = nullptr;
        --m_frameCount;
    }
    m_mtxFrame.UnLock();
    return frame;
}

int CDataList::GetFrameCount() {
    m_mtxFrame.Lock();
    int count = m_frameCount;
    m_mtxFrame.UnLock();
    return count;
}

namespace {

long long nowMicros() {
    timeval tv;
    gettimeofday(&tv, nullptr);
    return (long long)tv.tv_sec * 1000000 + tv.tv_usec;
}

}  // namespace

void PaceDecodeFrames(CDataList* list, int frameRate, const std::atomic<int>& run) {
    // A zero rate would divide by zero; pace such a stream at 25 frames/s.
    long long interval = 1000000 / (frameRate > 0 ? frameRate : 25);
    long long upper = interval + 300;
    long long lower = interval - 800;
    long long start = nowMicros();
    long long target = 0;
    while (run) {
        int count = 0;
        CFrameData* frame = list->GetFrame(&count);
        if (count == 0) {
            // Refill: wait for a few frames before pacing again (or for the stop).
            while (run && list->GetFrameCount() < 5) usleep(10000);
            frame = list->GetFrame(&count);
            start = nowMicros();
            target = 0;
        }
        if (frame) {
            for (;;) {
                long long now = nowMicros();
                if (now < 0 || target < 0) {
                    timeval tv;
                    gettimeofday(&tv, nullptr);
                    kovo::tracef("Error ..............time<0 %lld %lld tv.tv_sec=%d\n", now, target,
                           int(tv.tv_sec));
                } else if (now - start > target) {
                    break;
                }
                if (!run) break;
                usleep(1000);
            }
            if (count >= 2 && count <= 4) {
                target += interval;
                upper = interval + 1;
                lower = interval - 1;
            } else if (count >= 5) {
                lower -= 1;
                if (lower < 16) lower = 16;
                target += lower;
            } else {
                upper += 1;
                target += upper;
            }
            delete frame;
        } else if (run) {
            usleep(30000);
            kovo::tracef("$$ NULL Queue ");
        }
    }
}
