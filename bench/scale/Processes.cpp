#include "Processes.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <sstream>
#include <thread>

namespace scale {

pid_t spawn(const std::vector<std::string>& argv, int outFd, int errFd) {
    std::vector<char*> args;
    for (const auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    const int null = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    const pid_t pid = ::fork();
    if (pid == 0) {  // only async-signal-safe calls until exec
        ::dup2(null, STDIN_FILENO);
        ::dup2(outFd >= 0 ? outFd : null, STDOUT_FILENO);
        ::dup2(errFd >= 0 ? errFd : null, STDERR_FILENO);
        ::execv(args[0], args.data());
        _exit(127);
    }
    ::close(null);
    return pid;
}

bool running(pid_t pid) { return ::waitpid(pid, nullptr, WNOHANG) == 0; }

void stop(pid_t pid, int signal, int graceMs) {
    if (pid <= 0) return;
    ::kill(pid, signal);
    for (int waited = 0; waited < graceMs; waited += 10) {
        if (::waitpid(pid, nullptr, WNOHANG) != 0) return;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    ::kill(pid, SIGKILL);
    ::waitpid(pid, nullptr, 0);
}

bool readUsage(pid_t pid, Usage& out) {
    const std::string base = "/proc/" + std::to_string(pid);
    std::ifstream statFile(base + "/stat");
    std::string stat((std::istreambuf_iterator<char>(statFile)), std::istreambuf_iterator<char>());
    const size_t close = stat.rfind(')');
    if (close == std::string::npos) return false;
    // After the command name: state, then fields 4 to 13, then utime and stime (fields 14, 15).
    std::istringstream fields(stat.substr(close + 2));
    std::string skip;
    for (int field = 3; field < 14; ++field) fields >> skip;
    unsigned long long user = 0, system = 0;
    if (!(fields >> user >> system)) return false;
    out.cpuSeconds = double(user + system) / double(::sysconf(_SC_CLK_TCK));
    std::ifstream status(base + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("VmHWM:", 0) == 0) out.peakRssKb = std::atol(line.c_str() + 6);
        if (line.rfind("Threads:", 0) == 0) out.threads = std::atol(line.c_str() + 8);
    }
    return true;
}

std::string loadAverage() {
    std::ifstream in("/proc/loadavg");
    std::string one, five, fifteen;
    in >> one >> five >> fifteen;
    return one + " " + five + " " + fifteen;
}

std::string programDirectory() {
    char path[4096];
    const ssize_t n = ::readlink("/proc/self/exe", path, sizeof path - 1);
    if (n <= 0) return ".";
    std::string self(path, static_cast<size_t>(n));
    return self.substr(0, self.rfind('/'));
}

}  // namespace scale
