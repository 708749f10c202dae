#include "stream/StreamSdp.h"

#include <strings.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>

namespace kovo {

namespace {

std::string upper(std::string text) {
    for (char& c : text) c = char(toupper(static_cast<unsigned char>(c)));
    return text;
}

int base64Value(char c) {
    if (c >= 'A' && c <= 'Z') return c - 'A';
    if (c >= 'a' && c <= 'z') return c - 'a' + 26;
    if (c >= '0' && c <= '9') return c - '0' + 52;
    if (c == '+' || c == '-') return 62;
    if (c == '/' || c == '_') return 63;
    return -1;
}

std::string base64Decode(const std::string& text) {
    std::string out;
    uint32_t bits = 0;
    int held = 0;
    for (char c : text) {
        const int v = base64Value(c);
        if (v < 0) continue;
        bits = (bits << 6) | uint32_t(v);
        held += 6;
        if (held >= 8) {
            held -= 8;
            out += char((bits >> held) & 0xFF);
        }
    }
    return out;
}

}  // namespace

TrackSdp ReadTrackSdp(const char* const* lines, const char* medium) {
    TrackSdp track;
    const std::string mediaLine = std::string("m=") + medium + " ";
    bool inside = false;
    for (; lines && *lines; ++lines) {
        const std::string line(*lines);
        if (line.rfind("m=", 0) == 0) {
            inside = line.rfind(mediaLine, 0) == 0 && track.payloadType < 0;
            if (inside) {
                // m=<medium> <port> <proto> <first format>
                const size_t proto = line.find(' ', mediaLine.size());
                const size_t format = proto == std::string::npos ? proto : line.find(' ', proto + 1);
                if (format != std::string::npos) track.payloadType = atoi(line.c_str() + format + 1);
            }
            continue;
        }
        if (!inside) continue;
        const std::string rtpmap = "a=rtpmap:" + std::to_string(track.payloadType) + " ";
        const std::string fmtp = "a=fmtp:" + std::to_string(track.payloadType) + " ";
        if (line.rfind(rtpmap, 0) == 0) {
            const std::string value = line.substr(rtpmap.size());
            const size_t slash = value.find('/');
            track.encoding = upper(value.substr(0, slash));
            if (slash != std::string::npos) {
                track.clockRate = uint32_t(strtoul(value.c_str() + slash + 1, nullptr, 10));
                const size_t second = value.find('/', slash + 1);
                if (second != std::string::npos) track.channels = atoi(value.c_str() + second + 1);
            }
        } else if (line.rfind(fmtp, 0) == 0) {
            track.fmtp = line.substr(fmtp.size());
        }
    }
    while (!track.fmtp.empty() && (track.fmtp.back() == '\r' || track.fmtp.back() == '\n'))
        track.fmtp.pop_back();
    return track;
}

std::string FmtpParameter(const std::string& fmtp, const char* name) {
    const size_t nameLength = strlen(name);
    size_t at = 0;
    while (at < fmtp.size()) {
        while (at < fmtp.size() && (fmtp[at] == ' ' || fmtp[at] == ';')) ++at;
        const size_t end = std::min(fmtp.find(';', at), fmtp.size());
        const size_t equals = fmtp.find('=', at);
        if (equals < end && equals - at == nameLength && strncasecmp(fmtp.c_str() + at, name, nameLength) == 0) {
            std::string value = fmtp.substr(equals + 1, end - equals - 1);
            while (!value.empty() && isspace(static_cast<unsigned char>(value.back()))) value.pop_back();
            return value;
        }
        at = end;
    }
    return {};
}

std::string DecodeParameterSets(const std::string& sprop) {
    std::string units;
    size_t at = 0;
    while (at <= sprop.size()) {
        const size_t comma = std::min(sprop.find(',', at), sprop.size());
        const std::string unit = base64Decode(sprop.substr(at, comma - at));
        if (!unit.empty()) units += std::string("\x00\x00\x00\x01", 4) + unit;
        at = comma + 1;
    }
    return units;
}

}  // namespace kovo
