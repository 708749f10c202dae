#include "RtspMessage.h"

#include <strings.h>

#include <cstdlib>
#include <cstring>

namespace camsim {
namespace {

const size_t kMaxHeaderBlock = 64 * 1024;

std::string trimRight(std::string text) {
    while (!text.empty() && (text.back() == '\r' || text.back() == ' ' || text.back() == '\t')) text.pop_back();
    return text;
}

bool nameMatches(const std::string& line, const char* name, size_t& valueStart) {
    size_t n = std::strlen(name);
    if (line.size() <= n || line[n] != ':' || strncasecmp(line.c_str(), name, n) != 0) return false;
    valueStart = n + 1;
    while (valueStart < line.size() && line[valueStart] == ' ') ++valueStart;
    return true;
}

void parseHeaderBlock(const std::string& block, RtspRequest& out) {
    out = RtspRequest();
    out.raw = block;
    size_t pos = 0;
    bool first = true;
    while (pos < block.size()) {
        size_t eol = block.find('\n', pos);
        if (eol == std::string::npos) eol = block.size();
        std::string line = trimRight(block.substr(pos, eol - pos));
        pos = eol + 1;
        if (line.empty()) break;
        if (first) {
            first = false;
            // "METHOD url RTSP/1.0"; the url is everything in between, blanks included.
            size_t sp1 = line.find(' ');
            size_t sp2 = line.rfind(' ');
            out.method = line.substr(0, sp1);
            if (sp1 != std::string::npos && sp2 > sp1) {
                out.url = line.substr(sp1 + 1, sp2 - sp1 - 1);
                out.version = line.substr(sp2 + 1);
            } else if (sp1 != std::string::npos) {
                out.url = line.substr(sp1 + 1);
            }
            continue;
        }
        out.lines.push_back(line);
    }
}

}  // namespace

std::string RtspRequest::header(const char* name) const {
    std::string value;
    for (const auto& line : lines) {
        size_t start = 0;
        if (nameMatches(line, name, start)) value = line.substr(start);
    }
    return value;
}

bool RtspRequest::hasHeader(const char* name) const {
    size_t start = 0;
    for (const auto& line : lines)
        if (nameMatches(line, name, start)) return true;
    return false;
}

TakeResult takeRequest(std::string& buffer, RtspRequest& out) {
    if (buffer.empty()) return TakeResult::NeedMore;
    if (buffer[0] == '$') {
        if (buffer.size() < 4) return TakeResult::NeedMore;
        size_t length = (static_cast<unsigned char>(buffer[2]) << 8) | static_cast<unsigned char>(buffer[3]);
        if (buffer.size() < 4 + length) return TakeResult::NeedMore;
        buffer.erase(0, 4 + length);
        return TakeResult::Skipped;
    }
    // Blank lines between requests are tolerated.
    if (buffer[0] == '\r' || buffer[0] == '\n') {
        buffer.erase(0, 1);
        return TakeResult::Skipped;
    }
    size_t end = buffer.find("\r\n\r\n");
    size_t endLength = 4;
    size_t lfEnd = buffer.find("\n\n");
    if (lfEnd != std::string::npos && (end == std::string::npos || lfEnd < end)) {
        end = lfEnd;
        endLength = 2;
    }
    if (end == std::string::npos) {
        return buffer.size() > kMaxHeaderBlock ? TakeResult::Overflow : TakeResult::NeedMore;
    }
    parseHeaderBlock(buffer.substr(0, end + endLength), out);
    // A body is not part of this protocol's requests, but skip one if announced.
    size_t bodyLength = static_cast<size_t>(std::strtoul(out.header("Content-Length").c_str(), nullptr, 10));
    if (bodyLength > kMaxHeaderBlock) return TakeResult::Overflow;
    if (buffer.size() < end + endLength + bodyLength) return TakeResult::NeedMore;
    buffer.erase(0, end + endLength + bodyLength);
    return TakeResult::Request;
}

bool isProtocolHeader(const std::string& line) {
    static const char* const kNames[] = {"CSeq",   "Session", "Content-Type", "Content-Length", "ClientID",
                                         "User-Agent", "Accept", "Transport", "Range", "Authorization"};
    size_t start = 0;
    for (const char* name : kNames)
        if (nameMatches(line, name, start)) return true;
    return false;
}

const char* reasonPhrase(int status) {
    switch (status) {
        case 200: return "OK";
        case 400: return "Bad Request";
        case 404: return "Not Found";
        case 455: return "Method Not Valid in This State";
        case 461: return "Unsupported Transport";
        case 500: return "Internal Server Error";
        case 501: return "Not Implemented";
        default: return "Error";
    }
}

std::string composeReply(int status, const std::string& cseq, const std::vector<std::string>& headers,
                         const std::string& body) {
    std::string reply = "RTSP/1.0 " + std::to_string(status) + " " + reasonPhrase(status) + "\r\n";
    if (!cseq.empty()) reply += "CSeq: " + cseq + "\r\n";
    for (const auto& line : headers) reply += line + "\r\n";
    if (!body.empty()) reply += "Content-Length: " + std::to_string(body.size()) + "\r\n";
    reply += "\r\n";
    reply += body;
    return reply;
}

}  // namespace camsim
