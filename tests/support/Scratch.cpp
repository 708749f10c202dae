#include "support/Scratch.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <thread>

namespace kovo::test {
namespace {

sockaddr_in loopback(uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

}  // namespace

bool haveTool(const std::string& name) { return run("command -v " + name + " >/dev/null 2>&1"); }

bool run(const std::string& command) { return std::system(command.c_str()) == 0; }

int runCommand(const std::string& command, std::string* output) {
    FILE* pipe = ::popen((command + " 2>&1").c_str(), "r");
    if (pipe == nullptr) return -1;
    char buffer[4096];
    for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
        if (output) output->append(buffer, n);
    const int status = ::pclose(pipe);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string readFile(const std::string& path) {
    std::ostringstream data;
    data << std::ifstream(path, std::ios::binary).rdbuf();
    return data.str();
}

void writeFile(const std::string& path, const std::string& data) { std::ofstream(path, std::ios::binary) << data; }

TempDir::TempDir() {
    char pattern[] = "/tmp/kovo-test-XXXXXX";
    if (::mkdtemp(pattern)) path_ = pattern;
}

TempDir::~TempDir() {
    if (!path_.empty()) run("rm -rf '" + path_ + "'");
}

bool eventually(const std::function<bool()>& condition, std::chrono::milliseconds timeout) {
    for (const auto deadline = std::chrono::steady_clock::now() + timeout; !condition();) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

std::string receiveBytes(int fd, size_t size, int ms) {
    std::string out;
    char buf[8192];
    pollfd p = {fd, POLLIN, 0};
    for (ssize_t n = 1; n > 0 && out.size() < size && ::poll(&p, 1, ms) > 0;)
        if ((n = ::recv(fd, buf, std::min(sizeof buf, size - out.size()), 0)) > 0) out.append(buf, size_t(n));
    return out;
}

int connectLoopback(uint16_t port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = loopback(port);
    if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return fd;
    ::close(fd);
    return -1;
}

int bindLoopback(uint16_t& port, int type) {
    const int fd = ::socket(AF_INET, type | SOCK_CLOEXEC, 0);
    const int one = 1;  // a port just given up can be taken again at once
    ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    sockaddr_in address = loopback(port);
    socklen_t length = sizeof address;
    if (::bind(fd, reinterpret_cast<sockaddr*>(&address), length) != 0 || (type == SOCK_STREAM && ::listen(fd, 64)) ||
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        ::close(fd);
        return -1;
    }
    port = ntohs(address.sin_port);
    return fd;
}

}  // namespace kovo::test
