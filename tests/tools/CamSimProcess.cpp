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

sockaddr_in loopback(unsigned short port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

unsigned short freePort() {
    int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = loopback(0);
    socklen_t length = sizeof address;
    unsigned short port = 0;
    if (::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0)
        port = ntohs(address.sin_port);
    ::close(fd);
    return port;
}

void killAndReap(pid_t& pid) {
    ::kill(pid, SIGKILL);
    ::waitpid(pid, nullptr, 0);
    pid = -1;
}

}  // namespace

int connectLoopback(unsigned short port) {
    int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = loopback(port);
    if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) return fd;
    ::close(fd);
    return -1;
}

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
        port_ = freePort();
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

std::string CamSimProcess::output() const {
    std::ifstream in(logPath_);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

ScratchDir::ScratchDir() {
    char dirTemplate[] = "/tmp/kovo-camsim-test-XXXXXX";
    if (::mkdtemp(dirTemplate) != nullptr) path_ = dirTemplate;
}

ScratchDir::~ScratchDir() {
    if (!path_.empty()) runCommand("rm -rf '" + path_ + "'");
}

int runCommand(const std::string& command, std::string* output) {
    FILE* pipe = ::popen((command + " 2>&1").c_str(), "r");
    if (pipe == nullptr) return -1;
    char buffer[4096];
    size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0)
        if (output) output->append(buffer, n);
    int status = ::pclose(pipe);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace kovo::test
