// Listening socket and one thread per client connection.
#ifndef KOVO_CAMSIM_RTSPSERVER_H
#define KOVO_CAMSIM_RTSPSERVER_H

#include <atomic>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "RtspConnection.h"
#include "ServerContext.h"

namespace camsim {

class RtspServer {
public:
    explicit RtspServer(ServerContext& context);
    ~RtspServer();
    RtspServer(const RtspServer&) = delete;
    RtspServer& operator=(const RtspServer&) = delete;

    // Binds and starts accepting; false with a reason on failure.
    bool start(std::string& error);
    // Closes the listener and every connection, and joins all threads.
    void stop();

private:
    struct Client {
        std::shared_ptr<RtspConnection> connection;
        std::thread thread;
    };

    void acceptLoop();
    void reapFinished();

    ServerContext& context_;
    int listener_ = -1;
    std::atomic<bool> stopping_{false};
    std::thread acceptThread_;
    std::mutex clientsMutex_;
    std::list<Client> clients_;
};

}  // namespace camsim

#endif
