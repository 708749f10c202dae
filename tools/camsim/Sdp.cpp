#include "Sdp.h"

#include <chrono>

namespace camsim {

std::string buildSdp(const Options& o, bool mjpeg, const std::string& serverAddress) {
    const auto sessionId = std::chrono::duration_cast<std::chrono::seconds>(
                               std::chrono::system_clock::now().time_since_epoch())
                               .count();
    std::string sdp;
    sdp += "v=0\r\n";
    sdp += "o=- " + std::to_string(sessionId) + " 1 IN IP4 " + serverAddress + "\r\n";
    sdp += "s=Kovo camera simulator\r\n";
    sdp += "c=IN IP4 0.0.0.0\r\n";
    sdp += "t=0 0\r\n";
    sdp += "a=control:*\r\n";
    sdp += "a=range:npt=0-\r\n";
    sdp += "a=x-dimensions:" + std::to_string(o.width) + ", " + std::to_string(o.height) + "\r\n";
    sdp += "a=x-framerate:" + std::to_string(o.fps) + "\r\n";
    if (mjpeg) {
        sdp += "m=video 0 RTP/AVP 26\r\n";
        sdp += "a=rtpmap:26 JPEG/90000\r\n";
    } else {
        sdp += "m=video 0 RTP/AVP 96\r\n";
        sdp += "a=rtpmap:96 H264/90000\r\n";
        sdp += "a=fmtp:96 packetization-mode=1\r\n";
    }
    sdp += "a=framerate:" + std::to_string(o.fps) + "\r\n";
    sdp += "a=control:trackID=1\r\n";
    if (o.audio) {
        // AAC-LC, 48 kHz, stereo: AudioSpecificConfig 0x1190.
        sdp += "m=audio 0 RTP/AVP 97\r\n";
        sdp += "a=rtpmap:97 MPEG4-GENERIC/48000/2\r\n";
        sdp += "a=fmtp:97 streamtype=5;profile-level-id=1;mode=AAC-hbr;sizelength=13;indexlength=3;"
               "indexdeltalength=3;config=1190\r\n";
        sdp += "a=control:trackID=2\r\n";
    }
    return sdp;
}

}  // namespace camsim
