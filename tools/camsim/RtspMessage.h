// RTSP/1.0 request framing and reply composition for the simulator.
#ifndef KOVO_CAMSIM_RTSPMESSAGE_H
#define KOVO_CAMSIM_RTSPMESSAGE_H

#include <string>
#include <vector>

namespace camsim {

struct RtspRequest {
    std::string method;
    std::string url;
    std::string version;
    std::vector<std::string> lines;  // header lines without line ends
    std::string raw;                 // the request as received

    // Value of the last header with this name (case-insensitive), blanks
    // after the colon skipped; "" when absent. The last one counts because a
    // client may queue a header twice and means the later one.
    std::string header(const char* name) const;
    bool hasHeader(const char* name) const;
};

enum class TakeResult { Request, NeedMore, Skipped, Overflow };

// Takes the first complete request off the front of `buffer`. Interleaved
// "$" packets a client might send are skipped; a header block that has grown
// beyond any sane size gives Overflow.
TakeResult takeRequest(std::string& buffer, RtspRequest& out);

// Whether a header line of a parameter request is the protocol's own rather
// than a parameter key.
bool isProtocolHeader(const std::string& line);

// "RTSP/1.0 <status> <reason>", CSeq (when the request had one), the given
// header lines, Content-Length when there is a body, the empty line, the body.
std::string composeReply(int status, const std::string& cseq, const std::vector<std::string>& headers,
                         const std::string& body = std::string());

const char* reasonPhrase(int status);

}  // namespace camsim

#endif
