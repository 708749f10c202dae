#include "net/Socket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <fcntl.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <vector>

#include "sdk/Device.h"
#include "sdk/Trace.h"

using Lock = std::unique_lock<std::recursive_mutex>;

// ---------------------------------------------------------------------------
// aiocb_plus

aiocb_plus::aiocb_plus() : p(nullptr) {
    std::memset(&cb, 0, sizeof cb);
    cb.aio_buf = new (std::nothrow) char[MAX_PACK_LEN];
}

aiocb_plus::~aiocb_plus() { delete[] static_cast<char*>(const_cast<void*>(cb.aio_buf)); }

// ---------------------------------------------------------------------------
// Life cycle

CSocket::CSocket(bool tcp)
    : m_bIsTCPSocket(tcp), m_nListenSocket(-1), m_nListenPort(0), m_bIsOpenServer(false), m_nAcceptThreadID(0) {}

CSocket::~CSocket() {
    Close();
    EndConnections();
}

// Ends every accepted connection and every read still in flight, then waits
// for their completions, which refer to this object.
void CSocket::EndConnections() {
    Lock lock(m_mtxClientList);
    m_bTearingDown = true;
    std::vector<int> accepted;
    for (const auto& entry : m_mapClientsList) accepted.push_back(entry.first);
    for (int sock : accepted) Release(sock);
    // Reads armed on sockets this object does not own: waking them is enough.
    for (const auto& entry : m_mapReadsInFlight) ::shutdown(entry.first, SHUT_RDWR);
    m_cvReads.wait(lock, [this] { return m_nReadsPending == 0; });
}

bool CSocket::OpenServer(unsigned short port) {
    if (m_bIsOpenServer) return false;
    m_nListenPort = port;
    if (!CreateListenSocket()) return false;
    // Raised before the thread starts, or its loop could end before it begins.
    m_bIsOpenServer = true;
    if (pthread_create(&m_nAcceptThreadID, nullptr, &CSocket::AcceptThreadMain, this) != 0) {
        m_bIsOpenServer = false;
        m_nAcceptThreadID = 0;
        ::close(m_nListenSocket.exchange(-1));
        OnError("pthread_create Error");
        return false;
    }
    return true;
}

int CSocket::OpenClient(char* ip, unsigned short port) {
    int sock = CreateClientSocket(ip, port);
    Lock lock(m_mtxClientList);
    m_mapServersList[sock] = 0;
    return sock;
}

bool CSocket::Close() {
    if (m_bIsOpenServer.exchange(false)) {
        int listenSocket = m_nListenSocket;
        ::shutdown(listenSocket, SHUT_RDWR);  // wakes the blocked accept
        pthread_join(m_nAcceptThreadID, nullptr);
        m_nAcceptThreadID = 0;
        ::close(listenSocket);
        m_nListenSocket = -1;
    }
    Lock lock(m_mtxClientList);
    if (!m_mapServersList.empty()) {
        std::vector<int> outgoing;
        for (const auto& entry : m_mapServersList)
            if (entry.first >= 0) outgoing.push_back(entry.first);
        for (int sock : outgoing) Release(sock);
        m_mapServersList.clear();
    }
    return true;
}

bool CSocket::CloseSocket(int sock) {
    if (sock < 0) return false;
    Lock lock(m_mtxClientList);
    // Not one of ours: closed all the same, once its read is done.
    if (!Release(sock)) ShutAndClose(sock);
    return true;
}

// Shuts down, forgets and closes a socket of this object's, now or when its
// read in flight completes. False, touching nothing, for any other socket:
// its number may belong to someone else by now.
bool CSocket::Release(int sock) {
    if (sock < 0) return false;
    Lock lock(m_mtxClientList);
    if (m_mapClientsList.erase(sock) + m_mapServersList.erase(sock) == 0) return false;
    ShutAndClose(sock);
    return true;
}

// Shuts the socket down now and closes it now, or, while a read on it is in
// flight, when that read completes. Caller holds m_mtxClientList.
void CSocket::ShutAndClose(int sock) {
    ::shutdown(sock, SHUT_RDWR);
    if (m_mapReadsInFlight.count(sock))
        m_setDoomed.insert(sock);
    else
        ::close(sock);
}

// ---------------------------------------------------------------------------
// Sockets

int CSocket::CreateSocket() {
    int sock = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (sock < 0) OnError(std::strerror(errno));
    return sock;
}

int CSocket::CreateClientSocket(char* ip, unsigned short port) {
    if (ip == nullptr) return -1;
    int sock = CreateSocket();
    if (sock < 0) return -1;
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = inet_addr(ip);
    addr.sin_port = htons(port);
    if (::connect(sock, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0) {
        ::close(sock);
        return -1;
    }
    return sock;
}

bool CSocket::CreateListenSocket() {
    int sock = CreateSocket();
    if (sock < 0) return false;
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_ANY);
    addr.sin_port = htons(m_nListenPort);
    if (::bind(sock, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0) {
        int err = errno;
        ::close(sock);
        OnError("bind() Error");
        OnError(std::strerror(err));
        return false;
    }
    if (::listen(sock, 5) != 0) {
        ::close(sock);
        OnError("listen Error");
        return false;
    }
    // Port 0 asks for any free port: keep the one given.
    socklen_t len = sizeof addr;
    if (::getsockname(sock, reinterpret_cast<sockaddr*>(&addr), &len) == 0) m_nListenPort = ntohs(addr.sin_port);
    m_nListenSocket = sock;
    return true;
}

bool CSocket::SetSocketKeepAlive(int sock) {
    struct Step {
        int level;
        int name;
        int value;
        const char* error;
    };
    static const Step steps[] = {
        {SOL_SOCKET, SO_KEEPALIVE, 1, "SO_KEEPALIVE Error"},
        {IPPROTO_TCP, TCP_KEEPIDLE, 10, "TCP_KEEPIDLE Error"},
        {IPPROTO_TCP, TCP_KEEPINTVL, 2, "TCP_KEEPINTVL Error"},
        {IPPROTO_TCP, TCP_KEEPCNT, 3, "TCP_KEEPCNT Error"},
    };
    for (const Step& step : steps) {
        if (::setsockopt(sock, step.level, step.name, &step.value, sizeof step.value) != 0) {
            OnInfo(step.error);
            return false;
        }
    }
    return true;
}

int CSocket::GetConnectionsCount() {
    Lock lock(m_mtxClientList);
    return static_cast<int>(m_mapClientsList.size());
}

void CSocket::TestNetwork() {
    static const char probe[3] = {'a', 'g', '\0'};
    Lock lock(m_mtxClientList);
    // A failed send drops its connection from the map: walk a copy.
    std::vector<int> accepted;
    for (const auto& entry : m_mapClientsList) accepted.push_back(entry.first);
    for (int sock : accepted) {
        kovo::tracef("TestNetwork\n");
        Send(sock, probe, sizeof probe);
    }
}

// ---------------------------------------------------------------------------
// Accepting

void* CSocket::AcceptThreadMain(void* self) {
    ThreadProcAccept(static_cast<CSocket*>(self));
    return nullptr;
}

int CSocket::ThreadProcAccept(CSocket* self) {
    if (self == nullptr) return 0;
    while (self->m_bIsOpenServer) self->Accept();
    return 1;
}

bool CSocket::Accept() {
    sockaddr_in peer{};
    socklen_t len = sizeof peer;
    int sock = ::accept4(m_nListenSocket, reinterpret_cast<sockaddr*>(&peer), &len, SOCK_CLOEXEC);
    if (sock < 0) {
        int err = errno;
        OnError("Accept Error: ");
        OnError(std::strerror(err));
        OnError("\n");
        // Out of descriptors or memory: do not spin while it lasts.
        if (m_bIsOpenServer && err != EINTR && err != ECONNABORTED) ::poll(nullptr, 0, 10);
        return true;
    }
    SetSocketKeepAlive(sock);
    const char* ip = inet_ntoa(peer.sin_addr);
    int port = ntohs(peer.sin_port);
    {
        Lock lock(m_mtxClientList);
        m_mapClientsList[sock] = 0;
    }
    OnConnect(sock, ip, port);
    if (!Receive(sock)) {
        OnError("Receive Error,Close Connect");
        OnDisconnect(sock);
    }
    return true;
}
