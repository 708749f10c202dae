// What the receive path takes from a DESCRIBE answer for one medium, and
// the format parameters of its a=fmtp line.
#pragma once

#include <cstdint>
#include <string>

namespace kovo {

struct TrackSdp {
    int payloadType = -1;     // from the m= line; -1 when there is no such medium
    uint32_t clockRate = 0;   // from a=rtpmap; 0 when not given
    int channels = 0;         // audio channels from a=rtpmap
    std::string encoding;     // "H264", "JPEG", "MPEG4-GENERIC", ... (upper case)
    std::string fmtp;         // the parameters after "a=fmtp:<pt> "
};

// Reads the medium ("video" or "audio") from the lines of an SDP (a null
// terminated array, as an RTSP answer holds them).
TrackSdp ReadTrackSdp(const char* const* lines, const char* medium);

// Value of one fmtp parameter (case-insensitive name), or "" when absent.
std::string FmtpParameter(const std::string& fmtp, const char* name);

// sprop-parameter-sets decoded into Annex B units (4-byte start codes).
std::string DecodeParameterSets(const std::string& sprop);

}  // namespace kovo
