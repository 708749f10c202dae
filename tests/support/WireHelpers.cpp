// Byte builders for interleaved media and the standard-output capture.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <stdexcept>

#include "support/FakeCamera.h"

namespace kovo::test {

namespace {

void putBigEndian(std::string& out, uint32_t value, int bytes) {
    for (int shift = (bytes - 1) * 8; shift >= 0; shift -= 8) out.push_back(static_cast<char>((value >> shift) & 0xff));
}

}  // namespace

std::string interleave(uint8_t channel, const std::string& payload) {
    if (payload.size() > 0xffff) throw std::length_error("interleave: payload over 65535 bytes");
    std::string out;
    out.reserve(4 + payload.size());
    out.push_back('$');
    out.push_back(static_cast<char>(channel));
    putBigEndian(out, static_cast<uint32_t>(payload.size()), 2);
    out += payload;
    return out;
}

std::string rtpPacket(uint8_t payloadType, bool marker, uint16_t seq, uint32_t timestamp,
                      const std::string& payload, uint32_t ssrc) {
    std::string out;
    out.reserve(12 + payload.size());
    out.push_back(static_cast<char>(0x80));  // version 2, no padding, extension or CSRC
    out.push_back(static_cast<char>((marker ? 0x80 : 0x00) | (payloadType & 0x7f)));
    putBigEndian(out, seq, 2);
    putBigEndian(out, timestamp, 4);
    putBigEndian(out, ssrc, 4);
    out += payload;
    return out;
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
    char buffer[4096];
    off_t offset = 0;
    ssize_t n;
    while ((n = ::pread(captureFd_, buffer, sizeof buffer, offset)) > 0) {
        text_.append(buffer, static_cast<size_t>(n));
        offset += n;
    }
    ::close(captureFd_);
    captureFd_ = -1;
    return text_;
}

}  // namespace kovo::test
