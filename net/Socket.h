// A TCP server and client on POSIX asynchronous I/O. Accepted connections
// always have one read outstanding; its completion, run on a thread of its
// own, reports the data and re-arms. Reports go to the free callbacks below.
#ifndef KOVO_NET_SOCKET_H
#define KOVO_NET_SOCKET_H

#include <aio.h>
#include <pthread.h>

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <map>
#include <mutex>
#include <set>

#include "sdk/KovoSDK.h"

// Largest packet handed to Send, and the size of every read.
constexpr int MAX_PACK_LEN = 4096;

// Callbacks. OnRecvData and OnDisconnect are the device registry's (sdk/Device.h).
KOVO_API int OnConnect(int sock, const char* ip, int port);
KOVO_API int OnError(const char* text);
KOVO_API int OnInfo(const char* text);
// Prints text as a printf format with value; C++ only, the plain name is taken above.
int OnError(const char* text, int value);

class CSocket;

// One asynchronous request and its MAX_PACK_LEN-byte buffer.
struct aiocb_plus {
    aiocb_plus();
    ~aiocb_plus();
    aiocb_plus(const aiocb_plus&) = delete;
    aiocb_plus& operator=(const aiocb_plus&) = delete;

    aiocb cb;
    void* p;  // the owning CSocket
};

class CSocket {
public:
    explicit CSocket(bool tcp = true);
    virtual ~CSocket();
    CSocket(const CSocket&) = delete;
    CSocket& operator=(const CSocket&) = delete;

    bool OpenServer(unsigned short port);  // port 0 picks a free one, see m_nListenPort
    int OpenClient(char* ip, unsigned short port);
    bool Close();
    bool CloseSocket(int sock);
    bool Send(int sock, const void* data, int len);
    bool Receive(int sock);
    int GetConnectionsCount();
    void TestNetwork();
    bool SetSocketKeepAlive(int sock);
    int CreateSocket();
    int CreateClientSocket(char* ip, unsigned short port);
    bool CreateListenSocket();
    bool CloseConnect(int sock, aiocb_plus* req);
    bool Accept();
    static int ThreadProcAccept(CSocket* self);
    static void AIOCompletionHandler(aiocb_plus* req);

    bool m_bIsTCPSocket;
    std::map<int, int> m_mapClientsList;  // accepted connections
    std::map<int, int> m_mapServersList;  // OpenClient results, -1 included
    // Recursive: TestNetwork sends under it, and a failed send drops the
    // connection, which takes it again.
    std::recursive_mutex m_mtxClientList;
    std::atomic<int> m_nListenSocket;
    unsigned short m_nListenPort;
    std::atomic<bool> m_bIsOpenServer;
    pthread_t m_nAcceptThreadID;

private:
    static void OnNotify(sigval value);
    static void* AcceptThreadMain(void* self);
    aiocb_plus* NewRequest(int opcode, size_t len, int fildes);
    bool Release(int sock);
    void ShutAndClose(int sock);
    bool ReadLanded(int sock);
    void ReadDone(int sock);
    void EndConnections();

    // A socket is never closed while a read of it is in flight: its number
    // could be reused before the completion runs. Such sockets wait in
    // m_setDoomed until that completion. All guarded by m_mtxClientList.
    std::map<int, int> m_mapReadsInFlight;  // socket -> reads in the kernel
    std::set<int> m_setDoomed;              // released sockets awaiting their reads
    int m_nReadsPending = 0;                // reads whose completion has not finished
    bool m_bTearingDown = false;            // completions stay quiet and do not re-arm
    std::condition_variable_any m_cvReads;
};

#endif
