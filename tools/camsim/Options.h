// Command-line settings of the camera simulator.
#ifndef KOVO_CAMSIM_OPTIONS_H
#define KOVO_CAMSIM_OPTIONS_H

#include <string>

namespace camsim {

struct Options {
    std::string address = "127.0.0.1";
    int port = 554;
    int width = 640;
    int height = 360;
    int fps = 25;
    int bitrateKbps = 1024;   // H.264 target bit rate
    bool audio = true;
    bool log = false;         // print every request received
    long frames = 0;          // stop after this many video frames in total (0: never)
    double duration = 0;      // stop after this many seconds (0: never)
    int grain = 0;            // sensor-like noise over the picture, +- this much luma (0: none)

    // Field faults, each off at 0; times count from the PLAY that started the media.
    int sessionTimeout = 0;   // announced in Session; a playing session silent this long is closed
    double stallAfter = 0;    // media pauses this long after PLAY ...
    double stallFor = 0;      // ... for this long
    double dropAfter = 0;     // the connection is reset this long after PLAY
};

enum class ParseResult { Run, Help, Error };

// Fills `out` from argv; on Error `error` says why.
ParseResult parseOptions(int argc, char** argv, Options& out, std::string& error);

const char* usageText();

}  // namespace camsim

#endif
