// One client connection: reads requests, answers them, and streams media
// after PLAY on the same socket.
#ifndef KOVO_CAMSIM_RTSPCONNECTION_H
#define KOVO_CAMSIM_RTSPCONNECTION_H

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>

#include "MediaStreamer.h"
#include "RtspMessage.h"
#include "ServerContext.h"

namespace camsim {

class RtspConnection {
public:
    RtspConnection(int fd, std::string peer, ServerContext& context);
    ~RtspConnection();
    RtspConnection(const RtspConnection&) = delete;
    RtspConnection& operator=(const RtspConnection&) = delete;

    // Serves the connection until the peer closes it or stop() is called.
    void run();
    // Makes run() return soon; callable from any thread.
    void stop();
    bool finished() const { return finished_; }

private:
    std::string answer(const RtspRequest& request);
    std::string answerSetup(const RtspRequest& request, const std::string& cseq);
    std::string answerPlay(const std::string& cseq);
    std::string answerParameters(const RtspRequest& request, const std::string& cseq, bool isSet);
    std::vector<std::string> sessionHeader() const;
    void stopMedia();
    bool sendAll(const std::string& bytes);
    bool sendPacket(uint8_t channel, const uint8_t* packet, size_t size);
    bool sendLocked(const char* data, size_t size);
    std::string localAddress() const;
    // The field faults: how long run() may wait before one is due, and acting one out.
    int pollTimeoutMs() const;
    bool actOutDueFault();
    void reset();

    int fd_;                 // -1 once reset() has closed it
    std::mutex fdMutex_;     // closing against stop()'s shutdown
    const std::string peer_;
    ServerContext& context_;
    std::mutex writeMutex_;  // one whole message or packet at a time
    std::atomic<bool> stopping_{false};
    std::atomic<bool> broken_{false};
    std::atomic<bool> finished_{false};

    // Session state, touched only by the thread in run().
    std::string session_;
    bool mjpeg_ = false;
    bool videoSetUp_ = false;
    bool audioSetUp_ = false;
    uint8_t videoChannel_ = 0;
    uint8_t audioChannel_ = 0;
    std::unique_ptr<MediaStreamer> media_;
    std::chrono::steady_clock::time_point playStarted_;
    std::chrono::steady_clock::time_point lastRequest_;
};

}  // namespace camsim

#endif
