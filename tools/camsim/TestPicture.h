// The moving test picture: scrolling colour bars, a bouncing square and a
// bar at the bottom that fills once per second, so that frozen, dropped or
// repeated frames are visible at a glance.
#ifndef KOVO_CAMSIM_TESTPICTURE_H
#define KOVO_CAMSIM_TESTPICTURE_H

extern "C" {
#include <libavutil/frame.h>
}

namespace camsim {

// Draws picture `index` into a planar YUV 4:2:0 frame; `fullRange` selects
// 0-255 levels (JPEG) instead of video levels (H.264).
void drawTestPicture(AVFrame* frame, long index, int fps, bool fullRange);

// Lays new random noise of up to +-amplitude over the luma of picture
// `index`, as a camera sensor does, so the encoder has detail to spend its
// bit rate on.
void addGrain(AVFrame* frame, long index, int amplitude);

}  // namespace camsim

#endif
