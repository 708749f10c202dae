// Starts the built kovo-camsim on a free loopback port for a test and stops
// it again; its standard output (the request log) goes to a file.
#ifndef KOVO_TESTS_TOOLS_CAMSIMPROCESS_H
#define KOVO_TESTS_TOOLS_CAMSIMPROCESS_H

#include <sys/types.h>

#include <string>
#include <vector>

namespace kovo::test {

class CamSimProcess {
public:
    // Path of the simulator in the build tree.
    static std::string binaryPath();
    static bool available();

    CamSimProcess() = default;
    ~CamSimProcess();  // SIGKILL if still running
    CamSimProcess(const CamSimProcess&) = delete;
    CamSimProcess& operator=(const CamSimProcess&) = delete;

    // Starts it with `--address 127.0.0.1 --port <free> --log` and the extra
    // arguments, and waits until it accepts connections.
    bool start(const std::vector<std::string>& extraArguments = {});

    // Sends SIGTERM and waits up to `timeoutMs`; returns the exit status, or
    // -1 when it had to be killed or did not exit normally.
    int terminate(int timeoutMs = 5000);

    // Waits up to `timeoutMs` for it to exit by itself; exit status or -1.
    int waitExit(int timeoutMs);

    unsigned short port() const { return port_; }
    // Everything it printed so far.
    std::string output() const;

private:
    pid_t pid_ = -1;
    unsigned short port_ = 0;
    std::string logPath_;
};

// A scratch directory for one test's files, removed with its contents.
class ScratchDir {
public:
    ScratchDir();
    ~ScratchDir();
    const std::string& path() const { return path_; }
    std::string file(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

// Runs a shell command; returns its exit status and fills `output` with
// its standard output and error.
int runCommand(const std::string& command, std::string* output = nullptr);

}  // namespace kovo::test

#endif
