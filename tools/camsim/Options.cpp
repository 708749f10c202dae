#include "Options.h"

#include <arpa/inet.h>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

namespace camsim {
namespace {

bool parseLong(const char* text, long low, long high, long& out) {
    if (text == nullptr || *text == '\0') return false;
    errno = 0;
    char* end = nullptr;
    long value = std::strtol(text, &end, 10);
    if (errno != 0 || *end != '\0' || value < low || value > high) return false;
    out = value;
    return true;
}

bool parseSize(const char* text, int& width, int& height) {
    if (text == nullptr) return false;
    const char* x = std::strchr(text, 'x');
    if (x == nullptr) return false;
    std::string w(text, x - text);
    long wv = 0, hv = 0;
    // RTP/JPEG carries the size in units of 8 pixels, at most 255 of them.
    if (!parseLong(w.c_str(), 16, 2040, wv) || !parseLong(x + 1, 16, 2040, hv)) return false;
    if (wv % 8 != 0 || hv % 8 != 0) return false;
    width = static_cast<int>(wv);
    height = static_cast<int>(hv);
    return true;
}

// Seconds as a positive decimal number.
bool parseSeconds(const char* text, double& out) {
    if (text == nullptr || *text == '\0') return false;
    char* end = nullptr;
    double seconds = std::strtod(text, &end);
    if (*end != '\0' || !(seconds > 0)) return false;
    out = seconds;
    return true;
}

}  // namespace

const char* usageText() {
    return "Usage: kovo-camsim [options]\n"
           "A camera simulator for the Kovo SDK: RTSP/1.0 on TCP, the camera's parameter\n"
           "vocabulary over GET_PARAMETER/SET_PARAMETER, and a live test picture and tone.\n"
           "Streams are H.264; a request path containing \"MJPEG\" gets Motion-JPEG.\n"
           "\n"
           "  --address A      listen address (default 127.0.0.1; 0.0.0.0 for all)\n"
           "  --port N         listen port (default 554, which needs privileges)\n"
           "  --size WxH       picture size, multiples of 8 up to 2040 (default 640x360)\n"
           "  --fps N          frame rate, 1 to 60 (default 25)\n"
           "  --bitrate N      H.264 bit rate in kbit/s (default 1024)\n"
           "  --audio          stream an AAC tone with the picture (default)\n"
           "  --no-audio       picture only\n"
           "  --log            print every request received\n"
           "  --frames N       exit after N video frames have been sent in total\n"
           "  --duration S     exit after S seconds\n"
           "  --grain N        noise of +-N luma levels over the picture, so that the encoder\n"
           "                   uses the bit rate it is given (default 0: a clean picture)\n"
           "\n"
           "Field faults, for rehearsing a camera that misbehaves (times from PLAY):\n"
           "  --session-timeout S  announce Session: <id>;timeout=S and close a playing\n"
           "                       session that sends no request for S seconds\n"
           "  --stall-after S --stall-for T\n"
           "                       pause the media S seconds after PLAY for T seconds\n"
           "  --drop-after S       reset the connection S seconds after PLAY\n"
           "  --help           this text\n";
}

ParseResult parseOptions(int argc, char** argv, Options& out, std::string& error) {
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const char* value = (i + 1 < argc) ? argv[i + 1] : nullptr;
        long number = 0;
        auto needValue = [&](bool ok) {
            if (!ok) error = "invalid or missing value for " + arg;
            ++i;
            return ok;
        };
        if (arg == "--help" || arg == "-h") {
            return ParseResult::Help;
        } else if (arg == "--audio") {
            out.audio = true;
        } else if (arg == "--no-audio") {
            out.audio = false;
        } else if (arg == "--log") {
            out.log = true;
        } else if (arg == "--address") {
            in_addr probe{};
            if (!needValue(value != nullptr && inet_pton(AF_INET, value, &probe) == 1)) return ParseResult::Error;
            out.address = value;
        } else if (arg == "--port") {
            if (!needValue(parseLong(value, 1, 65535, number))) return ParseResult::Error;
            out.port = static_cast<int>(number);
        } else if (arg == "--size") {
            if (!needValue(parseSize(value, out.width, out.height))) return ParseResult::Error;
        } else if (arg == "--fps") {
            if (!needValue(parseLong(value, 1, 60, number))) return ParseResult::Error;
            out.fps = static_cast<int>(number);
        } else if (arg == "--bitrate") {
            if (!needValue(parseLong(value, 16, 100000, number))) return ParseResult::Error;
            out.bitrateKbps = static_cast<int>(number);
        } else if (arg == "--frames") {
            if (!needValue(parseLong(value, 1, LONG_MAX, number))) return ParseResult::Error;
            out.frames = number;
        } else if (arg == "--duration") {
            if (!needValue(parseSeconds(value, out.duration))) return ParseResult::Error;
        } else if (arg == "--grain") {
            if (!needValue(parseLong(value, 0, 64, number))) return ParseResult::Error;
            out.grain = static_cast<int>(number);
        } else if (arg == "--session-timeout") {
            if (!needValue(parseLong(value, 1, 86400, number))) return ParseResult::Error;
            out.sessionTimeout = static_cast<int>(number);
        } else if (arg == "--stall-after") {
            if (!needValue(parseSeconds(value, out.stallAfter))) return ParseResult::Error;
        } else if (arg == "--stall-for") {
            if (!needValue(parseSeconds(value, out.stallFor))) return ParseResult::Error;
        } else if (arg == "--drop-after") {
            if (!needValue(parseSeconds(value, out.dropAfter))) return ParseResult::Error;
        } else {
            error = "unknown option " + arg;
            return ParseResult::Error;
        }
    }
    if ((out.stallAfter > 0) != (out.stallFor > 0)) {
        error = "--stall-after and --stall-for go together";
        return ParseResult::Error;
    }
    return ParseResult::Run;
}

}  // namespace camsim
