// Runs the built kovo-camsim on a free loopback port for one test; its
// output (the request log) goes to a file.
#ifndef KOVO_TESTS_TOOLS_CAMSIMPROCESS_H
#define KOVO_TESTS_TOOLS_CAMSIMPROCESS_H

#include <gtest/gtest.h>
#include <sys/types.h>

#include <string>
#include <vector>

#include "support/Scratch.h"

namespace kovo::test {

class CamSimProcess {
public:
    static std::string binaryPath();
    static bool available();

    CamSimProcess() = default;
    ~CamSimProcess();  // SIGKILL if still running
    CamSimProcess(const CamSimProcess&) = delete;
    CamSimProcess& operator=(const CamSimProcess&) = delete;

    // `--address 127.0.0.1 --port <free> --log` plus `extraArguments`; returns once it accepts connections.
    bool start(const std::vector<std::string>& extraArguments = {});
    // SIGTERM, then waits; exit status, or -1 when it had to be killed or did not exit normally.
    int terminate(int timeoutMs = 5000);
    // Waits for it to exit by itself; exit status or -1.
    int waitExit(int timeoutMs);

    unsigned short port() const { return port_; }
    std::string output() const;  // everything it printed so far

private:
    pid_t pid_ = -1;
    unsigned short port_ = 0;
    std::string logPath_;
};

// ffprobe's answer about a media file, one csv line per stream or section.
std::string probe(const std::string& path, const std::string& options);
// The file decodes with ffmpeg from end to end without a complaint.
void expectDecodes(const std::string& path, const std::string& inputOptions = "");

// Skips the test when the simulator was not built (libavcodec missing).
class CamSimTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!CamSimProcess::available()) GTEST_SKIP() << "kovo-camsim is not built: " << CamSimProcess::binaryPath();
    }
};

}  // namespace kovo::test

#endif
