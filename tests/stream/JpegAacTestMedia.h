// Real-media helpers for the JPEG and AAC tests: taking a baseline JPEG
// apart into what an RTP/JPEG sender transmits, splitting an ADTS stream into
// access units, and making and decoding both with the Debian tools.
#pragma once

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "support/FakeCamera.h"
#include "support/Scratch.h"

namespace kovo::test::media {

// The file and tool helpers come along for whoever uses these.
using namespace kovo::test;

// What an RTP/JPEG sender needs from a baseline, 3-component JPEG file.
struct JpegPicture {
    int width = 0, height = 0;        // pixels
    int lumaSampling = 0;             // 0x21 (4:2:2) or 0x22 (4:2:0)
    std::string lumaTable, chromaTable;  // 64 bytes each, as stored in the DQT
    unsigned restartInterval = 0;
    std::string scan;                 // entropy-coded data between SOS and EOI
};

// Marker segments of a JPEG file up to SOS: SOI with an empty body, then each body after its length.
inline std::vector<std::pair<int, std::string>> jpegSegments(const std::string& file) {
    std::vector<std::pair<int, std::string>> out;
    auto u8 = [&](size_t i) { return static_cast<unsigned char>(file[i]); };
    if (file.size() < 2 || u8(0) != 0xFF || u8(1) != 0xD8) return out;
    out.emplace_back(0xD8, "");
    for (size_t i = 2; i + 4 <= file.size() && u8(i) == 0xFF;) {
        const size_t length = u8(i + 2) << 8 | u8(i + 3);
        if (length < 2 || i + 2 + length > file.size()) break;
        out.emplace_back(u8(i + 1), file.substr(i + 4, length - 2));
        if (u8(i + 1) == 0xDA) break;
        i += 2 + length;
    }
    return out;
}

// Returns an empty string on success, otherwise why the file does not fit RTP/JPEG.
inline std::string parseJpeg(const std::string& file, JpegPicture* out) {
    std::string tables[4];
    int tableOfComponent[3] = {0, 0, 0};
    size_t end = 0;  // of the segments so far
    for (const auto& segment : jpegSegments(file)) {
        const int marker = segment.first;
        const std::string& body = segment.second;
        auto u8 = [&](size_t i) { return static_cast<unsigned char>(body[i]); };
        auto u16 = [&](size_t i) { return u8(i) << 8 | u8(i + 1); };
        end += marker == 0xD8 ? 2 : 4 + body.size();
        if (marker == 0xDB) {
            for (size_t t = 0; t + 65 <= body.size(); t += 65) {
                if (u8(t) >> 4) return "16-bit quantisation table";
                tables[u8(t) & 3] = body.substr(t + 1, 64);
            }
        } else if (marker == 0xC0) {
            out->height = u16(1);
            out->width = u16(3);
            if (u8(5) != 3) return "not 3 components";
            out->lumaSampling = u8(7);
            for (int c = 0; c < 3; ++c) tableOfComponent[c] = u8(8 + 3 * c);
            if (u8(10) != 0x11 || u8(13) != 0x11) return "chroma subsampled oddly";
        } else if (marker >= 0xC1 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC) {
            return "not baseline";
        } else if (marker == 0xDD) {
            out->restartInterval = u16(0);
        } else if (marker == 0xDA) {
            if (file.size() < end + 2) return "no EOI";
            out->scan = file.substr(end, file.size() - end - 2);
            out->lumaTable = tables[tableOfComponent[0]];
            out->chromaTable = tables[tableOfComponent[1]];
            if (out->lumaTable.size() != 64 || out->chromaTable.size() != 64) return "missing DQT";
            return "";
        }
    }
    return "no SOS";
}

// RTP/JPEG packets of one picture: in-band tables (Q 255) in the first packet, a restart
// header in every packet when the picture has restart markers, fragments of at most
// maxScan scan bytes, the marker bit on the last one.
inline std::vector<std::string> packetiseJpeg(const JpegPicture& pic, uint16_t* seq,
                                              uint32_t timestamp, size_t maxScan) {
    const int type = (pic.lumaSampling == 0x21 ? 0 : 1) | (pic.restartInterval ? 64 : 0);
    std::vector<std::string> packets;
    for (size_t offset = 0; offset < pic.scan.size() || offset == 0; offset += maxScan) {
        std::string payload{'\0', char(offset >> 16), char(offset >> 8), char(offset), char(type), char(255),
                            char(pic.width / 8), char(pic.height / 8)};
        if (pic.restartInterval)  // first and last bits set, count 0x3FFF
            payload += {char(pic.restartInterval >> 8), char(pic.restartInterval), '\xFF', '\xFF'};
        if (offset == 0) payload += std::string("\0\0\0\x80", 4) + pic.lumaTable + pic.chromaTable;
        payload += pic.scan.substr(offset, maxScan);
        packets.push_back(rtpPacket(26, offset + maxScan >= pic.scan.size(), (*seq)++, timestamp, payload));
    }
    return packets;
}

// Access units of an ADTS stream (headers stripped); empty when the stream is malformed.
inline std::vector<std::string> splitAdts(const std::string& adts) {
    std::vector<std::string> units;
    size_t i = 0;
    while (i + 7 <= adts.size()) {
        auto u8 = [&](size_t k) { return static_cast<unsigned char>(adts[i + k]); };
        if (u8(0) != 0xFF || (u8(1) & 0xF0) != 0xF0) return {};
        const size_t header = (u8(1) & 1) ? 7 : 9;
        const size_t frame = (u8(3) & 3) << 11 | u8(4) << 3 | u8(5) >> 5;
        if (frame < header || i + frame > adts.size()) return {};
        units.push_back(adts.substr(i + header, frame - header));
        i += frame;
    }
    return units;
}

// One access unit as an RFC 3640 RTP packet: AU-headers-length 16, 13-bit size, index 0.
inline std::string aacPacket(const std::string& unit, uint16_t seq, uint32_t timestamp) {
    const std::string header{'\0', '\x10', char(unit.size() >> 5), char((unit.size() & 31) << 3)};
    return rtpPacket(97, true, seq, timestamp, header + unit);
}

// Baseline 4:2:0 JPEG frames of a moving test picture (standard Huffman tables,
// one quantisation table per component); empty when ffmpeg fails.
inline std::vector<std::string> makeJpegClip(const TempDir& dir, int frames,
                                             const std::string& size = "320x240") {
    if (!run("ffmpeg -loglevel error -f lavfi -i testsrc=size=" + size + ":rate=10 -frames:v " +
             std::to_string(frames) + " -q:v 5 -huffman default -force_duplicated_matrix 1 " +
             "-pix_fmt yuvj420p " + dir.file("clip%03d.jpg")))
        return {};
    std::vector<std::string> clip;
    for (int n = 1; n <= frames; ++n) {
        char name[32];
        snprintf(name, sizeof name, "clip%03d.jpg", n);
        clip.push_back(readFile(dir.file(name)));
        if (clip.back().empty()) return {};
    }
    return clip;
}

// An AAC-LC 48 kHz stereo ADTS track; empty when ffmpeg fails.
inline std::string makeAacTrack(const TempDir& dir, double seconds) {
    const std::string file = dir.file("track.aac");
    if (!run("ffmpeg -loglevel error -f lavfi -i "
             "'aevalsrc=0.4*sin(440*2*PI*t)|0.3*sin(660*2*PI*t)*sin(3*t):s=48000:d=" +
             std::to_string(seconds) + "' -c:a aac -b:a 128k -f adts " + file))
        return "";
    return readFile(file);
}

// What the Debian tools decode from an ADTS stream (ffmpeg: 16-bit stereo
// 48 kHz PCM) or a JPEG file (djpeg: PPM); empty on failure.
inline std::string decoded(const TempDir& dir, const std::string& bytes, const std::string& name, bool aac) {
    const std::string in = dir.file(name + (aac ? ".aac" : ".jpg")), out = dir.file(name + ".decoded");
    writeFile(in, bytes);
    const bool ok = run(aac ? "ffmpeg -loglevel error -y -i " + in + " -f s16le -ac 2 -ar 48000 " + out
                            : "djpeg -ppm -outfile " + out + " " + in);
    return ok ? readFile(out) : "";
}

}  // namespace kovo::test::media
