#include "stream/JpegHeaders.h"

#include <cstring>
#include <initializer_list>

namespace kovo {

const unsigned char jpegLumaQuantizer[64] = {
    16, 11, 10, 16, 24,  40,  51,  61,  12, 12, 14, 19, 26,  58,  60,  55,
    14, 13, 16, 24, 40,  57,  69,  56,  14, 17, 22, 29, 51,  87,  80,  62,
    18, 22, 37, 56, 68,  109, 103, 77,  24, 35, 55, 64, 81,  104, 113, 92,
    49, 64, 78, 87, 103, 121, 120, 101, 72, 92, 95, 98, 112, 100, 103, 99};

const unsigned char jpegChromaQuantizer[64] = {
    17, 18, 24, 47, 99, 99, 99, 99, 18, 21, 26, 66, 99, 99, 99, 99,
    24, 26, 56, 99, 99, 99, 99, 99, 47, 66, 99, 99, 99, 99, 99, 99,
    99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99,
    99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99};

const unsigned char lumDccodeLens[16] = {0, 1, 5, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0};
const unsigned char lumDcSymbols[12] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
const unsigned char lumAccodeLens[16] = {0, 2, 1, 3, 3, 2, 4, 3, 5, 5, 4, 4, 0, 0, 1, 0x7d};
const unsigned char lumAcSymbols[162] = {
    0x01, 0x02, 0x03, 0x00, 0x04, 0x11, 0x05, 0x12, 0x21, 0x31, 0x41, 0x06, 0x13, 0x51, 0x61,
    0x07, 0x22, 0x71, 0x14, 0x32, 0x81, 0x91, 0xa1, 0x08, 0x23, 0x42, 0xb1, 0xc1, 0x15, 0x52,
    0xd1, 0xf0, 0x24, 0x33, 0x62, 0x72, 0x82, 0x09, 0x0a, 0x16, 0x17, 0x18, 0x19, 0x1a, 0x25,
    0x26, 0x27, 0x28, 0x29, 0x2a, 0x34, 0x35, 0x36, 0x37, 0x38, 0x39, 0x3a, 0x43, 0x44, 0x45,
    0x46, 0x47, 0x48, 0x49, 0x4a, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58, 0x59, 0x5a, 0x63, 0x64,
    0x65, 0x66, 0x67, 0x68, 0x69, 0x6a, 0x73, 0x74, 0x75, 0x76, 0x77, 0x78, 0x79, 0x7a, 0x83,
    0x84, 0x85, 0x86, 0x87, 0x88, 0x89, 0x8a, 0x92, 0x93, 0x94, 0x95, 0x96, 0x97, 0x98, 0x99,
    0x9a, 0xa2, 0xa3, 0xa4, 0xa5, 0xa6, 0xa7, 0xa8, 0xa9, 0xaa, 0xb2, 0xb3, 0xb4, 0xb5, 0xb6,
    0xb7, 0xb8, 0xb9, 0xba, 0xc2, 0xc3, 0xc4, 0xc5, 0xc6, 0xc7, 0xc8, 0xc9, 0xca, 0xd2, 0xd3,
    0xd4, 0xd5, 0xd6, 0xd7, 0xd8, 0xd9, 0xda, 0xe1, 0xe2, 0xe3, 0xe4, 0xe5, 0xe6, 0xe7, 0xe8,
    0xe9, 0xea, 0xf1, 0xf2, 0xf3, 0xf4, 0xf5, 0xf6, 0xf7, 0xf8, 0xf9, 0xfa};

const unsigned char chmDccodeLens[16] = {0, 3, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0};
const unsigned char chmDcSymbols[12] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
const unsigned char chmAccodeLens[16] = {0, 2, 1, 2, 4, 4, 3, 4, 7, 5, 4, 4, 0, 1, 2, 0x77};
const unsigned char chmAcSymbols[162] = {
    0x00, 0x01, 0x02, 0x03, 0x11, 0x04, 0x05, 0x21, 0x31, 0x06, 0x12, 0x41, 0x51, 0x07, 0x61,
    0x71, 0x13, 0x22, 0x32, 0x81, 0x08, 0x14, 0x42, 0x91, 0xa1, 0xb1, 0xc1, 0x09, 0x23, 0x33,
    0x52, 0xf0, 0x15, 0x62, 0x72, 0xd1, 0x0a, 0x16, 0x24, 0x34, 0xe1, 0x25, 0xf1, 0x17, 0x18,
    0x19, 0x1a, 0x26, 0x27, 0x28, 0x29, 0x2a, 0x35, 0x36, 0x37, 0x38, 0x39, 0x3a, 0x43, 0x44,
    0x45, 0x46, 0x47, 0x48, 0x49, 0x4a, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58, 0x59, 0x5a, 0x63,
    0x64, 0x65, 0x66, 0x67, 0x68, 0x69, 0x6a, 0x73, 0x74, 0x75, 0x76, 0x77, 0x78, 0x79, 0x7a,
    0x82, 0x83, 0x84, 0x85, 0x86, 0x87, 0x88, 0x89, 0x8a, 0x92, 0x93, 0x94, 0x95, 0x96, 0x97,
    0x98, 0x99, 0x9a, 0xa2, 0xa3, 0xa4, 0xa5, 0xa6, 0xa7, 0xa8, 0xa9, 0xaa, 0xb2, 0xb3, 0xb4,
    0xb5, 0xb6, 0xb7, 0xb8, 0xb9, 0xba, 0xc2, 0xc3, 0xc4, 0xc5, 0xc6, 0xc7, 0xc8, 0xc9, 0xca,
    0xd2, 0xd3, 0xd4, 0xd5, 0xd6, 0xd7, 0xd8, 0xd9, 0xda, 0xe2, 0xe3, 0xe4, 0xe5, 0xe6, 0xe7,
    0xe8, 0xe9, 0xea, 0xf2, 0xf3, 0xf4, 0xf5, 0xf6, 0xf7, 0xf8, 0xf9, 0xfa};

namespace {

unsigned char scaleEntry(int base, int scale) {
    int v = (base * scale + 50) / 100;
    if (v < 1) v = 1;
    if (v > 255) v = 255;
    return static_cast<unsigned char>(v);
}

unsigned char* putBytes(unsigned char* p, std::initializer_list<unsigned char> bytes) {
    for (unsigned char b : bytes) *p++ = b;
    return p;
}

unsigned char* put16(unsigned char* p, int value) {
    return putBytes(p, {static_cast<unsigned char>(value >> 8), static_cast<unsigned char>(value)});
}

unsigned char* putMarker(unsigned char* p, unsigned char marker, int segmentLength) {
    return put16(putBytes(p, {0xFF, marker}), segmentLength);
}

// Sampling byte of the luminance component; other types pass through unchanged.
unsigned char lumaSampling(int type) {
    const int t = type & ~64;
    if (t == 0) return 0x21;
    if (t == 1) return 0x22;
    return static_cast<unsigned char>(t);
}

}  // namespace

void MakeTables(int q, unsigned char* lqt, unsigned char* cqt) {
    int factor = q;
    if (factor < 1) factor = 1;
    if (factor > 99) factor = 99;
    const int scale = q < 50 ? 5000 / factor : 200 - factor * 2;
    for (int i = 0; i < 64; ++i) {
        lqt[i] = scaleEntry(jpegLumaQuantizer[i], scale);
        cqt[i] = scaleEntry(jpegChromaQuantizer[i], scale);
    }
}

unsigned char* MakeQuantHeader(unsigned char* p, const unsigned char* qt, int tableNo) {
    p = putMarker(p, 0xDB, 0x43);
    *p++ = static_cast<unsigned char>(tableNo);
    std::memcpy(p, qt, 64);
    return p + 64;
}

unsigned char* MakeHuffmanHeader(unsigned char* p, const unsigned char* codelens, int ncodes,
                                 const unsigned char* symbols, int nsymbols, int tableNo,
                                 int tableClass) {
    p = putMarker(p, 0xC4, 3 + ncodes + nsymbols);
    *p++ = static_cast<unsigned char>((tableClass << 4) | tableNo);
    std::memcpy(p, codelens, ncodes);
    p += ncodes;
    std::memcpy(p, symbols, nsymbols);
    return p + nsymbols;
}

unsigned char* MakeDRIHeader(unsigned char* p, unsigned short dri) {
    return put16(putMarker(p, 0xDD, 4), dri);
}

namespace {

// SOI, Huffman and quantisation tables, restart interval, frame and scan
// headers. A table of precision 1 carries 64 two-byte entries.
int writeHeaders(unsigned char* p, int type, int width, int height, const QuantTable (&tables)[2],
                 unsigned short dri) {
    unsigned char* const start = p;
    p = putBytes(p, {0xFF, 0xD8});
    p = MakeHuffmanHeader(p, lumDccodeLens, 16, lumDcSymbols, 12, 0, 0);
    p = MakeHuffmanHeader(p, chmDccodeLens, 16, chmDcSymbols, 12, 1, 0);
    p = MakeHuffmanHeader(p, lumAccodeLens, 16, lumAcSymbols, 162, 0, 1);
    p = MakeHuffmanHeader(p, chmAccodeLens, 16, chmAcSymbols, 162, 1, 1);
    for (int table = 0; table < 2; ++table) {
        if (tables[table].precision == 0) {
            p = MakeQuantHeader(p, tables[table].entries, table);
            continue;
        }
        p = putMarker(p, 0xDB, 3 + 128);
        *p++ = static_cast<unsigned char>(0x10 | table);
        std::memcpy(p, tables[table].entries, 128);
        p += 128;
    }
    if (dri != 0) p = MakeDRIHeader(p, dri);

    // Frame header: precision, size in pixels, then id / sampling / table per component.
    p = putMarker(p, 0xC0, 0x11);
    *p++ = 8;
    p = put16(p, height * 8);
    p = put16(p, width * 8);
    p = putBytes(p, {3, 0, lumaSampling(type), 0, 1, 0x11, 1, 2, 0x11, 1});

    // Scan header: id / Huffman tables per component, then the full spectral range.
    p = putMarker(p, 0xDA, 0x0C);
    p = putBytes(p, {3, 0, 0x00, 1, 0x11, 2, 0x11, 0x00, 0x3F, 0x00});
    return static_cast<int>(p - start);
}

}  // namespace

int MakeHeaders(unsigned char* p, int type, int width, int height, const unsigned char* lqt,
                const unsigned char* cqt, unsigned short dri) {
    return writeHeaders(p, type, width, height, {{lqt, 0}, {cqt, 0}}, dri);
}

int MakeStandardHeaders(unsigned char* p, int type, int width, int height, QuantTable luma,
                        QuantTable chroma, unsigned short dri) {
    return writeHeaders(p, type, width, height, {luma, chroma}, dri);
}

void MakeZigzagTables(int q, unsigned char* lqt, unsigned char* cqt) {
    static const unsigned char kZigzag[64] = {
        0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,  12, 19, 26, 33, 40, 48,
        41, 34, 27, 20, 13, 6,  7,  14, 21, 28, 35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23,
        30, 37, 44, 51, 58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};
    unsigned char luma[64];
    unsigned char chroma[64];
    MakeTables(q, luma, chroma);
    for (int i = 0; i < 64; ++i) {
        lqt[i] = luma[kZigzag[i]];
        cqt[i] = chroma[kZigzag[i]];
    }
}

int AddMjpegHeader(const unsigned char* payload, size_t payloadLen, unsigned char* headers,
                   unsigned short* dri, int* qtLen) {
    if (payloadLen < 8) return -1;
    const int type = payload[4];
    const int q = payload[5];
    const int width = payload[6];
    const int height = payload[7];
    size_t tableAt = 8;
    *dri = 0;
    if (type & 64) {
        if (payloadLen < 12) return -1;
        *dri = static_cast<unsigned short>((payload[8] << 8) | payload[9]);
    }
    if (*dri != 0) tableAt = 12;

    // Room for any 8-bit table length; only the first 64 bytes of each reach the DQT.
    unsigned char lqt[128];
    unsigned char cqt[128];
    if (q > 127) {
        if (payloadLen < tableAt + 4) return -1;
        const int length = payload[tableAt + 3];
        if (payloadLen < tableAt + 4 + static_cast<size_t>(length)) return -1;
        // A short in-band table leaves the rest of the entries at the standard quality.
        MakeTables(50, lqt, cqt);
        const unsigned char* tables = payload + tableAt + 4;
        std::memcpy(lqt, tables, length / 2);
        std::memcpy(cqt, tables + length / 2, length / 2);
        *qtLen = length;
    } else {
        MakeTables(q, lqt, cqt);
        *qtLen = 0;
    }
    return MakeHeaders(headers, type, width, height, lqt, cqt, *dri);
}

}  // namespace kovo
