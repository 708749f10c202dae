// JPEG file headers generated from the few fields of an RTP/JPEG header:
// standard quantisation tables scaled by quality, the typical Huffman tables,
// and the SOI/DHT/DQT/DRI/SOF0/SOS segments in the order our viewers expect.
#pragma once

#include <cstddef>

namespace kovo {

// Room for the largest header MakeHeaders can write (about 611 bytes).
constexpr size_t kJpegHeaderScratch = 1000;

extern const unsigned char jpegLumaQuantizer[64];
extern const unsigned char jpegChromaQuantizer[64];
extern const unsigned char lumDccodeLens[16];
extern const unsigned char lumDcSymbols[12];
extern const unsigned char lumAccodeLens[16];
extern const unsigned char lumAcSymbols[162];
extern const unsigned char chmDccodeLens[16];
extern const unsigned char chmDcSymbols[12];
extern const unsigned char chmAccodeLens[16];
extern const unsigned char chmAcSymbols[162];

// Fills two 64-byte tables for quality q (natural order, no zig-zag).
void MakeTables(int q, unsigned char* lqt, unsigned char* cqt);

// Each writes one marker segment at p and returns the position after it.
unsigned char* MakeQuantHeader(unsigned char* p, const unsigned char* qt, int tableNo);
unsigned char* MakeHuffmanHeader(unsigned char* p, const unsigned char* codelens, int ncodes,
                                 const unsigned char* symbols, int nsymbols, int tableNo,
                                 int tableClass);
unsigned char* MakeDRIHeader(unsigned char* p, unsigned short dri);

// Writes SOI and every header up to SOS; returns their length in bytes.
int MakeHeaders(unsigned char* p, int type, int width, int height, const unsigned char* lqt,
                const unsigned char* cqt, unsigned short dri);

// A quantisation table as RTP/JPEG sends it: 64 entries in zig-zag order,
// one byte each (precision 0) or two bytes big-endian (precision 1).
struct QuantTable {
    const unsigned char* entries;
    int precision;
};

// The same headers with tables taken as they stand, for a receiver that
// follows the payload format to the letter.
int MakeStandardHeaders(unsigned char* p, int type, int width, int height, QuantTable luma,
                        QuantTable chroma, unsigned short dri);

// MakeTables' tables in zig-zag order, as a DQT segment carries them.
void MakeZigzagTables(int q, unsigned char* lqt, unsigned char* cqt);

// Reads the RTP/JPEG headers of the first packet of a frame (payloadLen bytes of RTP payload)
// and writes the JPEG headers into `headers` (kJpegHeaderScratch bytes). Stores the restart
// interval and the in-band table length. Returns the header length, or -1 when the packet is
// too short for the headers it announces.
int AddMjpegHeader(const unsigned char* payload, size_t payloadLen, unsigned char* headers,
                   unsigned short* dri, int* qtLen);

}  // namespace kovo
