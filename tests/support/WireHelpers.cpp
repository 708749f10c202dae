// Byte builders for interleaved media and the standard-output capture.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <stdexcept>

#include "support/FakeCamera.h"
#include "support/Scratch.h"

namespace kovo::test {

// Big-endian bytes of value, the low `bytes` of them.
static std::string bigEndian(uint32_t value, int bytes) {
    std::string out;
    for (int shift = (bytes - 1) * 8; shift >= 0; shift -= 8) out.push_back(static_cast<char>(value >> shift));
    return out;
}

std::string interleave(uint8_t channel, const std::string& payload) {
    if (payload.size() > 0xffff) throw std::length_error("interleave: payload over 65535 bytes");
    return "$" + std::string(1, static_cast<char>(channel)) + bigEndian(uint32_t(payload.size()), 2) + payload;
}

std::string rtpPacket(uint8_t payloadType, bool marker, uint16_t seq, uint32_t timestamp,
                      const std::string& payload, uint32_t ssrc) {
    // Version 2, no padding, extension or CSRC.
    return std::string{'\x80', static_cast<char>((marker ? 0x80 : 0x00) | (payloadType & 0x7f))} + bigEndian(seq, 2) +
           bigEndian(timestamp, 4) + bigEndian(ssrc, 4) + payload;
}

StdoutCapture::StdoutCapture() {
    std::cout.flush();
    std::fflush(stdout);
    char path[] = "/tmp/kovo-stdout-XXXXXX";
    captureFd_ = ::mkostemp(path, O_CLOEXEC);
    if (captureFd_ < 0) throw std::runtime_error("StdoutCapture: mkostemp failed");
    ::unlink(path);
    savedFd_ = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
    if (savedFd_ < 0 || ::dup2(captureFd_, STDOUT_FILENO) < 0) {
        ::close(captureFd_);
        if (savedFd_ >= 0) ::close(savedFd_);
        throw std::runtime_error("StdoutCapture: cannot redirect standard output");
    }
}

StdoutCapture::~StdoutCapture() { text(); }

std::string StdoutCapture::text() {
    if (!active_) return text_;
    active_ = false;
    std::cout.flush();
    std::fflush(stdout);
    ::dup2(savedFd_, STDOUT_FILENO);
    ::close(savedFd_);
    savedFd_ = -1;
    text_ = readFile("/proc/self/fd/" + std::to_string(captureFd_));  // the unlinked file
    ::close(captureFd_);
    captureFd_ = -1;
    return text_;
}

}  // namespace kovo::test
