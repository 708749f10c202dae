#include "TestPicture.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace camsim {
namespace {

struct Yuv {
    uint8_t y, u, v;
};

Yuv toYuv(int r, int g, int b, bool fullRange) {
    double y = 0.299 * r + 0.587 * g + 0.114 * b;
    double u = 128 - 0.168736 * r - 0.331264 * g + 0.5 * b;
    double v = 128 + 0.5 * r - 0.418688 * g - 0.081312 * b;
    if (!fullRange) {
        y = 16 + y * 219.0 / 255.0;
        u = 128 + (u - 128) * 224.0 / 255.0;
        v = 128 + (v - 128) * 224.0 / 255.0;
    }
    return Yuv{static_cast<uint8_t>(y + 0.5), static_cast<uint8_t>(u + 0.5), static_cast<uint8_t>(v + 0.5)};
}

// 75 % colour bars.
const int kBars[7][3] = {{191, 191, 191}, {191, 191, 0}, {0, 191, 191}, {0, 191, 0},
                         {191, 0, 191},   {191, 0, 0},   {0, 0, 191}};

void fillRect(AVFrame* f, int x0, int y0, int w, int h, Yuv c) {
    for (int y = y0; y < y0 + h; ++y) std::memset(f->data[0] + y * f->linesize[0] + x0, c.y, w);
    for (int y = y0 / 2; y < (y0 + h) / 2; ++y) {
        std::memset(f->data[1] + y * f->linesize[1] + x0 / 2, c.u, w / 2);
        std::memset(f->data[2] + y * f->linesize[2] + x0 / 2, c.v, w / 2);
    }
}

// Position of a point bouncing between 0 and `range`.
int bounce(long step, int range) {
    if (range <= 0) return 0;
    long phase = step % (2L * range);
    return static_cast<int>(phase < range ? phase : 2L * range - phase);
}

}  // namespace

void drawTestPicture(AVFrame* f, long index, int fps, bool fullRange) {
    const int w = f->width & ~1, h = f->height & ~1;
    const int band = (h / 8) & ~1;
    const int barsHeight = h - band;
    const int shift = static_cast<int>((index * 4) % w);
    Yuv bars[7];
    for (int i = 0; i < 7; ++i) bars[i] = toYuv(kBars[i][0], kBars[i][1], kBars[i][2], fullRange);

    // Bars: compute one luma and one chroma row, then copy them down.
    for (int x = 0; x < w; ++x) f->data[0][x] = bars[((x + shift) % w) * 7 / w].y;
    for (int x = 0; x < w / 2; ++x) {
        const Yuv& c = bars[((2 * x + shift) % w) * 7 / w];
        f->data[1][x] = c.u;
        f->data[2][x] = c.v;
    }
    for (int y = 1; y < barsHeight; ++y) std::memcpy(f->data[0] + y * f->linesize[0], f->data[0], w);
    for (int y = 1; y < barsHeight / 2; ++y) {
        std::memcpy(f->data[1] + y * f->linesize[1], f->data[1], w / 2);
        std::memcpy(f->data[2] + y * f->linesize[2], f->data[2], w / 2);
    }

    // Bouncing square.
    const int side = (h / 6) & ~1;
    const int x = bounce(index * 6, w - side) & ~1;
    const int y = bounce(index * 4, barsHeight - side) & ~1;
    fillRect(f, x, y, side, side, toYuv(255, 255, 255, fullRange));

    // Seconds bar: fills from the left during each second.
    fillRect(f, 0, barsHeight, w, band, toYuv(16, 16, 16, fullRange));
    const long perSecond = fps > 0 ? fps : 1;
    const int filled = static_cast<int>((index % perSecond + 1) * w / perSecond) & ~1;
    fillRect(f, 0, barsHeight + band / 4, filled, (band / 2) & ~1, toYuv(235, 235, 235, fullRange));
}

void addGrain(AVFrame* f, long index, int amplitude) {
    uint32_t state = 2463534242u + static_cast<uint32_t>(index) * 2654435761u;
    const int span = 2 * amplitude + 1;
    for (int y = 0; y < f->height; ++y) {
        uint8_t* row = f->data[0] + y * f->linesize[0];
        for (int x = 0; x < f->width; ++x) {
            state ^= state << 13;  // xorshift32
            state ^= state >> 17;
            state ^= state << 5;
            const int value = row[x] + static_cast<int>(state % span) - amplitude;
            row[x] = static_cast<uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value);
        }
    }
}

}  // namespace camsim
