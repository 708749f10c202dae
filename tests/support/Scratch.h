// Files, shell commands and plain loopback sockets, for tests that work
// beside the library rather than through it.
#ifndef KOVO_TESTS_SUPPORT_SCRATCH_H
#define KOVO_TESTS_SUPPORT_SCRATCH_H

#include <sys/socket.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

namespace kovo::test {

bool haveTool(const std::string& name);
bool run(const std::string& command);
// Runs a shell command; exit status, with standard output and error in `output`.
int runCommand(const std::string& command, std::string* output = nullptr);
std::string readFile(const std::string& path);
void writeFile(const std::string& path, const std::string& data);

// A scratch directory, removed with its contents.
class TempDir {
public:
    TempDir();
    ~TempDir();
    const std::string& path() const { return path_; }
    std::string file(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};
using ScratchDir = TempDir;

// Polls the condition every 5 ms until it holds or the time-out passes; whether it held.
bool eventually(const std::function<bool()>& condition, std::chrono::milliseconds timeout = std::chrono::seconds(5));
// Up to `size` bytes from a socket, fewer when it closes or nothing more
// arrives within `ms`.
std::string receiveBytes(int fd, size_t size, int ms = 1000);
// A connected TCP socket to 127.0.0.1:port, or -1.
int connectLoopback(uint16_t port);
// A socket of `type` bound to 127.0.0.1 at `port` (0: a free one, set on
// return), listening when TCP; -1 on failure.
int bindLoopback(uint16_t& port, int type = SOCK_STREAM);

}  // namespace kovo::test

#endif
