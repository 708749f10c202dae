#include "CamSimProcess.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <thread>

namespace kovo::test {
namespace {

void killAndReap(pid_t& pid) {
    ::kill(pid, SIGKILL);
    ::waitpid(pid, nullptr, 0);
    pid = -1;
}

}  // namespace

std::string CamSimProcess::binaryPath() { return std::string(KOVO_BINARY_DIR) + "/tools/camsim/kovo-camsim"; }

bool CamSimProcess::available() { return ::access(binaryPath().c_str(), X_OK) == 0; }

CamSimProcess::~CamSimProcess() {
    if (pid_ > 0) killAndReap(pid_);
    if (!logPath_.empty()) ::unlink(logPath_.c_str());
}

bool CamSimProcess::start(const std::vector<std::string>& extraArguments) {
    char logTemplate[] = "/tmp/kovo-camsim-log-XXXXXX";
    int logFd = ::mkstemp(logTemplate);
    if (logFd < 0) return false;
    logPath_ = logTemplate;
    for (int attempt = 0; attempt < 3 && pid_ < 0; ++attempt) {
        port_ = 0;
        ::close(bindLoopback(port_));  // a free port, for the simulator to take
        std::vector<std::string> arguments = {binaryPath(), "--address", "127.0.0.1", "--port",
                                              std::to_string(port_), "--log"};
        arguments.insert(arguments.end(), extraArguments.begin(), extraArguments.end());
        std::vector<char*> argv;
        for (auto& a : arguments) argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        pid_ = ::fork();
        if (pid_ == 0) {  // only async-signal-safe calls until exec
            ::dup2(logFd, STDOUT_FILENO);
            ::dup2(logFd, STDERR_FILENO);
            ::execv(argv[0], argv.data());
            _exit(127);
        }
        if (pid_ < 0) break;
        bool up = false;
        for (int i = 0; i < 100 && !up; ++i) {
            int fd = connectLoopback(port_);
            up = fd >= 0;
            if (up) ::close(fd);
            else if (::waitpid(pid_, nullptr, WNOHANG) == pid_) break;  // lost the port race
            else std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        if (!up) killAndReap(pid_);
    }
    ::close(logFd);
    return pid_ > 0;
}

int CamSimProcess::waitExit(int timeoutMs) {
    for (int waited = 0; pid_ > 0 && waited <= timeoutMs; waited += 20) {
        int status = 0;
        if (::waitpid(pid_, &status, WNOHANG) == pid_) {
            pid_ = -1;
            return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return -1;
}

int CamSimProcess::terminate(int timeoutMs) {
    if (pid_ <= 0) return -1;
    ::kill(pid_, SIGTERM);
    int status = waitExit(timeoutMs);
    if (pid_ <= 0) return status;
    killAndReap(pid_);
    return -1;
}

std::string CamSimProcess::output() const { return readFile(logPath_); }

std::string probe(const std::string& path, const std::string& options) {
    std::string text;
    runCommand("ffprobe -v error " + options + " -of csv=p=0 '" + path + "'", &text);
    return text;
}

void expectDecodes(const std::string& path, const std::string& inputOptions) {
    std::string complaints;
    EXPECT_EQ(0, runCommand("ffmpeg -nostdin -v error " + inputOptions + " -i '" + path + "' -f null -", &complaints));
    EXPECT_EQ("", complaints) << path;
}

}  // namespace kovo::test
