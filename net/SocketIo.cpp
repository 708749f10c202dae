// Asynchronous reads and writes of CSocket and their completion.
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>

#include "net/Socket.h"
#include "sdk/Device.h"
#include "sdk/Trace.h"

using Lock = std::unique_lock<std::recursive_mutex>;

aiocb_plus* CSocket::NewRequest(int opcode, size_t len, int fildes) {
    aiocb_plus* req = new (std::nothrow) aiocb_plus;
    if (req == nullptr) return nullptr;
    if (req->cb.aio_buf == nullptr) {
        delete req;
        return nullptr;
    }
    req->p = this;
    req->cb.aio_fildes = fildes;
    req->cb.aio_lio_opcode = opcode;
    req->cb.aio_nbytes = len;
    req->cb.aio_offset = 0;
    req->cb.aio_sigevent.sigev_notify = SIGEV_THREAD;
    req->cb.aio_sigevent.sigev_notify_function = &CSocket::OnNotify;
    req->cb.aio_sigevent.sigev_notify_attributes = nullptr;
    req->cb.aio_sigevent.sigev_value.sival_ptr = req;
    return req;
}

bool CSocket::Send(int sock, const void* data, int len) {
    if (len > MAX_PACK_LEN) {
        OnError("pData is too long than MAX_PACK_LEN");
        return false;
    }
    if (len < 0 || (data == nullptr && len > 0)) return false;
    // Requests on one descriptor run one after the other, so a write on the
    // socket itself would wait behind its outstanding read. It goes through
    // a duplicate instead, closed by the completion. The I/O threads block
    // every signal: a peer that has gone yields EPIPE, never SIGPIPE.
    int fildes = sock < 0 ? -1 : ::fcntl(sock, F_DUPFD_CLOEXEC, 0);
    if (fildes < 0) {
        OnError("aio_write Error");
        Release(sock);
        return false;
    }
    aiocb_plus* req = NewRequest(LIO_WRITE, static_cast<size_t>(len), fildes);
    if (req == nullptr) {
        ::close(fildes);
        Release(sock);
        return false;
    }
    if (len > 0) std::memcpy(const_cast<void*>(req->cb.aio_buf), data, static_cast<size_t>(len));
    if (aio_write(&req->cb) != 0) {
        OnError("aio_write Error");
        ::close(fildes);
        delete req;
        Release(sock);
        return false;
    }
    return true;
}

bool CSocket::Receive(int sock) {
    aiocb_plus* req = NewRequest(LIO_READ, MAX_PACK_LEN, sock);
    if (req == nullptr) {
        Release(sock);
        OnError("NULL == paiocb_plus");
        return false;
    }
    {
        Lock lock(m_mtxClientList);
        // A socket on its way out gets no new read.
        if (sock < 0 || m_bTearingDown || m_setDoomed.count(sock)) {
            delete req;
            return false;
        }
        ++m_mapReadsInFlight[sock];
        ++m_nReadsPending;
    }
    if (aio_read(&req->cb) != 0) {
        OnError("aio_read Error");
        delete req;
        ReadLanded(sock);
        ReadDone(sock);
        Release(sock);
        return false;
    }
    return true;
}

bool CSocket::CloseConnect(int sock, aiocb_plus* req) {
    if (req == nullptr) return false;
    Release(sock);
    delete req;
    return true;
}

// The read left the kernel; true while the object is being torn down.
bool CSocket::ReadLanded(int sock) {
    Lock lock(m_mtxClientList);
    auto it = m_mapReadsInFlight.find(sock);
    if (it != m_mapReadsInFlight.end() && --it->second == 0) m_mapReadsInFlight.erase(it);
    return m_bTearingDown;
}

// Last step of a read's completion: closes a released socket whose last read
// this was, and lets a waiting destructor go on.
void CSocket::ReadDone(int sock) {
    Lock lock(m_mtxClientList);
    if (!m_mapReadsInFlight.count(sock) && m_setDoomed.erase(sock)) ::close(sock);
    --m_nReadsPending;
    m_cvReads.notify_all();
}

void CSocket::OnNotify(sigval value) { AIOCompletionHandler(static_cast<aiocb_plus*>(value.sival_ptr)); }

void CSocket::AIOCompletionHandler(aiocb_plus* req) {
    if (req == nullptr) {
        OnError("NULL Ptr: paio_plus\n");
        return;
    }
    if (req->cb.aio_lio_opcode == LIO_WRITE) {
        aio_return(&req->cb);
        ::close(req->cb.aio_fildes);  // the duplicate made by Send
        delete req;
        return;
    }
    if (req->cb.aio_lio_opcode != LIO_READ) {
        OnError("unknown opcode...");
        delete req;
        return;
    }
    CSocket* self = static_cast<CSocket*>(req->p);
    int sock = req->cb.aio_fildes;
    int err = aio_error(&req->cb);
    ssize_t n = aio_return(&req->cb);
    if (self->ReadLanded(sock)) {
        self->CloseConnect(sock, req);
    } else if (err != 0 || n < 0) {
        kovo::traceputs(std::strerror(err != 0 ? err : EIO));
        OnDisconnect(sock);
        self->CloseConnect(sock, req);
        kovo::tracef("Client close abnormal,current connetions:%d\n", self->GetConnectionsCount());
    } else if (n > 0) {
        // Re-armed first so that one read is always outstanding; the next
        // completion may run while the data is being handled.
        bool armed = self->Receive(sock);
        OnRecvData(sock, const_cast<const void*>(req->cb.aio_buf), static_cast<int>(n));
        delete req;
        if (!armed) OnDisconnect(sock);
    } else {
        OnDisconnect(sock);
        self->CloseConnect(sock, req);
        kovo::tracef("Client close normal, current connetions:%d\n", self->GetConnectionsCount());
    }
    self->ReadDone(sock);
}
