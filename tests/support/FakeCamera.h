// A scripted fake camera: a loopback RTSP server on 127.0.0.1 that records
// every request the library sends and answers what the test scripts.
//
//   FakeCamera cam;                       // listens on an ephemeral port
//   cam.onMethod("GET_PARAMETER", Reply::ok({"Brightness: 50"}));
//   long id = Kovo_Login("127.0.0.1", cam.port(), nullptr);
//   ... cam.requests() ...                // every request, in arrival order
//
// Unscripted requests get "RTSP/1.0 200 OK" with the request's CSeq echoed.
#ifndef KOVO_TESTS_SUPPORT_FAKECAMERA_H
#define KOVO_TESTS_SUPPORT_FAKECAMERA_H

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace kovo::test {

// One request as received: request line split, then the header lines in order
// (without CR LF, without the terminating empty line).
struct Request {
    int connection = 0;       // 0 for the first accepted connection, 1 for the next ...
    std::string method;       // "OPTIONS"
    std::string url;          // "rtsp://127.0.0.1"
    std::string requestLine;  // the whole first line
    std::vector<std::string> lines;  // header lines in order
    std::string raw;          // the exact bytes of the request, CR LF included

    // Value of the first header "Name: value" (exact name match), or "" if absent.
    std::string header(const std::string& name) const;
    bool hasLine(const std::string& line) const;
};

// What to answer. By default a reply is
//   "RTSP/1.0 <status> <reason>\r\nCSeq: <request CSeq>\r\n<headers...>\r\n<body>"
// and is sent in one piece.
struct Reply {
    int status = 200;
    std::string reason = "OK";
    std::vector<std::string> headers;  // extra header lines, without CR LF
    std::string body;                  // sent after the empty line; Content-Length added when non-empty
    bool echoCSeq = true;              // add "CSeq: <n>" taken from the request
    std::string raw;                   // when not empty: sent exactly instead of the composed reply
    std::vector<size_t> splitAt;       // byte offsets at which to split the reply into separate sends
    int splitDelayMs = 30;             // pause between the split pieces
    bool closeAfter = false;           // close the connection after the reply (or instead, with silent)
    bool resetAfter = false;           // close with RST (SO_LINGER 0) after the reply
    bool silent = false;               // send nothing at all

    static Reply ok(std::vector<std::string> headers = {}, std::string body = {});
    static Reply status_(int status, std::string reason = "Error");
    static Reply rawBytes(std::string bytes);
    static Reply silence();
    static Reply closeConnection();

    // The bytes this reply puts on the wire for a request with the given CSeq.
    std::string compose(const std::string& cseq) const;
};

class FakeCamera {
public:
    using Handler = std::function<Reply(const Request&)>;

    // Binds 127.0.0.1 at port (0: an ephemeral one) and starts the accept thread.
    explicit FakeCamera(uint16_t port = 0);
    ~FakeCamera();  // closes every connection and joins every thread
    FakeCamera(const FakeCamera&) = delete;
    FakeCamera& operator=(const FakeCamera&) = delete;

    uint16_t port() const;

    // Scripting. A queued reply (once) wins over a per-method handler.
    void onMethod(const std::string& method, Reply reply);           // every time
    void onMethod(const std::string& method, Handler handler);       // every time
    void queue(const std::string& method, Reply reply);              // next matching request only
    // A camera that keeps its settings: each SET_PARAMETER stores its
    // "key: value" lines, each GET_PARAMETER is answered with the stored
    // value of every line it names (a bare key, or the key of a "key: value"
    // line). Calling it again forgets what was stored and starts from seed.
    void keepSettings(const std::vector<std::string>& seed = {});

    // Recorded traffic.
    std::vector<Request> requests(const std::string& method = "") const;  // "": all
    size_t requestCount() const;
    bool waitForRequests(size_t count, std::chrono::milliseconds timeout = std::chrono::seconds(5)) const;
    void clearRequests();

    // Connections.
    int connectionsAccepted() const;
    int openConnections() const;
    // Sends raw bytes on connection k (e.g. interleaved RTP); returns false if it is closed.
    bool send(int connection, const std::string& bytes);
    void closeConnection(int connection, bool reset = false);
    // Stops accepting: later connects are refused.
    void stopListening();

private:
    struct Connection;
    void acceptLoop();
    void serve(std::shared_ptr<Connection> conn);
    Reply replyFor(const Request& request);

    int listenFd_ = -1;
    uint16_t port_ = 0;
    mutable std::mutex mutex_;
    mutable std::condition_variable requestArrived_;
    std::vector<Request> requests_;
    std::map<std::string, Handler> handlers_;
    std::map<std::string, std::deque<Reply>> queued_;
    std::vector<std::shared_ptr<Connection>> connections_;
    std::thread acceptThread_;
    bool stopping_ = false;

    // Wakes the accept thread; serialises stopListening() callers.
    int wakePipe_[2] = {-1, -1};
    std::mutex listenMutex_;
    std::condition_variable connectionClosed_;

    bool answer(Connection& conn, const Reply& reply, const std::string& cseq);
    void finish(Connection& conn);
    std::shared_ptr<Connection> connectionAt(int index) const;
};

// Interleaved framing: "$", channel, 16-bit big-endian length, payload.
std::string interleave(uint8_t channel, const std::string& payload);
// A 12-byte RTP header (version 2) followed by the payload.
std::string rtpPacket(uint8_t payloadType, bool marker, uint16_t seq, uint32_t timestamp,
                      const std::string& payload, uint32_t ssrc = 0x12345678);

// Captures standard output (the library's traces) for the lifetime of the object.
class StdoutCapture {
public:
    StdoutCapture();
    ~StdoutCapture();
    std::string text();  // stops capturing (once) and returns what was printed
private:
    bool active_ = true;
    std::string text_;
    int savedFd_ = -1;    // the original fd 1
    int captureFd_ = -1;  // the temporary file fd 1 points at meanwhile
};

}  // namespace kovo::test

#endif
