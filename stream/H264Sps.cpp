#include "stream/H264Sps.h"

namespace kovo {

namespace {

// Exp-Golomb reader over the RBSP, skipping emulation prevention bytes.
class BitReader {
public:
    BitReader(const uint8_t* data, uint32_t size) : m_data(data), m_size(size) {}

    bool failed() const { return m_failed; }

    uint32_t bit() {
        if (m_bit == 0 && !nextByte()) return 0;
        const uint32_t value = (m_byte >> --m_bit) & 1;
        return value;
    }
    uint32_t bits(int n) {
        uint32_t value = 0;
        while (n-- > 0) value = (value << 1) | bit();
        return value;
    }
    uint32_t ue() {
        int zeros = 0;
        while (!m_failed && bit() == 0)
            if (++zeros > 31) m_failed = true;
        return m_failed ? 0 : (1u << zeros) - 1 + bits(zeros);
    }
    int32_t se() {
        const uint32_t v = ue();
        return (v & 1) ? int32_t((v + 1) / 2) : -int32_t(v / 2);
    }

private:
    bool nextByte() {
        if (m_at >= m_size) return !(m_failed = true);
        if (m_zeros >= 2 && m_data[m_at] == 3) {
            m_zeros = 0;
            if (++m_at >= m_size) return !(m_failed = true);
        }
        m_byte = m_data[m_at++];
        m_zeros = m_byte == 0 ? m_zeros + 1 : 0;
        m_bit = 8;
        return true;
    }

    const uint8_t* m_data;
    uint32_t m_size;
    uint32_t m_at = 0;
    uint8_t m_byte = 0;
    int m_bit = 0;
    int m_zeros = 0;
    bool m_failed = false;
};

void skipScalingList(BitReader& r, int count) {
    int last = 8, next = 8;
    for (int i = 0; i < count && !r.failed(); ++i) {
        if (next != 0) next = (last + r.se() + 256) % 256;
        last = next == 0 ? last : next;
    }
}

}  // namespace

bool ReadSpsPictureSize(const uint8_t* nal, uint32_t size, int* width, int* height) {
    if (size < 4) return false;
    BitReader r(nal + 1, size - 1);
    const uint32_t profile = r.bits(8);
    r.bits(16);  // constraint flags, level
    r.ue();      // seq_parameter_set_id
    uint32_t chromaFormat = 1;
    if (profile == 100 || profile == 110 || profile == 122 || profile == 244 || profile == 44 ||
        profile == 83 || profile == 86 || profile == 118 || profile == 128 || profile == 138 ||
        profile == 139 || profile == 134 || profile == 135) {
        chromaFormat = r.ue();
        if (chromaFormat == 3) r.bit();  // separate colour planes
        r.ue();                           // luma bit depth
        r.ue();                           // chroma bit depth
        r.bit();                          // transform bypass
        if (r.bit())
            for (int i = 0; i < (chromaFormat == 3 ? 12 : 8); ++i)
                if (r.bit()) skipScalingList(r, i < 6 ? 16 : 64);
    }
    r.ue();  // log2_max_frame_num
    const uint32_t pocType = r.ue();
    if (pocType == 0) {
        r.ue();
    } else if (pocType == 1) {
        r.bit();
        r.se();
        r.se();
        const uint32_t cycle = r.ue();
        for (uint32_t i = 0; i < cycle && i < 256 && !r.failed(); ++i) r.se();
    }
    r.ue();   // max_num_ref_frames
    r.bit();  // gaps allowed
    const uint32_t widthMbs = r.ue() + 1;
    const uint32_t heightUnits = r.ue() + 1;
    const uint32_t frameMbsOnly = r.bit();
    if (!frameMbsOnly) r.bit();
    r.bit();  // direct_8x8_inference
    uint32_t crop[4] = {0, 0, 0, 0};
    if (r.bit())
        for (uint32_t& c : crop) c = r.ue();
    if (r.failed() || widthMbs > 1024 || heightUnits > 1024) return false;
    const uint32_t cropX = chromaFormat == 1 || chromaFormat == 2 ? 2 : 1;
    const uint32_t cropY = (chromaFormat == 1 ? 2 : 1) * (2 - frameMbsOnly);
    const int64_t w = int64_t(widthMbs) * 16 - int64_t(cropX) * (crop[0] + crop[1]);
    const int64_t h = int64_t(heightUnits) * 16 * (2 - frameMbsOnly) - int64_t(cropY) * (crop[2] + crop[3]);
    if (w <= 0 || h <= 0) return false;
    *width = int(w);
    *height = int(h);
    return true;
}

}  // namespace kovo
