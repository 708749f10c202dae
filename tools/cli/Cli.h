// Shared pieces of the kovo command-line tool: parsed arguments, exit
// codes, the error every command reports, output and the camera session.
#ifndef KOVO_CLI_CLI_H
#define KOVO_CLI_CLI_H

#include <cstdio>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace kovo::cli {

// Exit status of the tool.
enum Exit { kExitOk = 0, kExitUsage = 1, kExitCamera = 2, kExitTimeout = 3 };

// Ends a command: main prints "kovo: <message>" on standard error and exits
// with the code.
struct Failure : std::runtime_error {
    Failure(int exitCode, const std::string& message) : std::runtime_error(message), code(exitCode) {}
    int code;
};
[[noreturn]] void usageError(const std::string& message);

// The command line after the command name: positional words, and options
// (each "--name value" or a bare "--flag", stored with an empty value).
struct Args {
    std::vector<std::string> words;
    std::map<std::string, std::string> options;

    bool has(const std::string& name) const { return options.count(name) != 0; }
    std::string text(const std::string& name, const std::string& fallback = "") const;
    // A whole number within [low, high]; usage error otherwise.
    long number(const std::string& name, long fallback, long low, long high) const;
    bool json() const { return has("json"); }
};

// Options a command accepts: name -> whether it takes a value. The common
// options are always accepted.
using OptionTable = std::map<std::string, bool>;
Args parseArgs(const std::vector<std::string>& argv, const OptionTable& extra);
// Whole number of a text, usage error naming `what` when it is not one.
long parseNumber(const std::string& text, const std::string& what, long low, long high);

// The closest of `candidates` to `word` (edit distance, case-insensitive),
// as " (did you mean X?)", or "" when nothing is close.
std::string suggestion(const std::string& word, const std::vector<std::string>& candidates);
bool sameName(const std::string& a, const std::string& b);  // case-insensitive

// Where the tool's own results go (standard output). The library's traces
// never reach it: routeLibraryTraces sends them to standard error
// (verbose) or nowhere.
FILE* out();
void routeLibraryTraces(bool verbose);

// Text as a JSON string literal.
std::string jsonString(const std::string& text);

// One logged-in camera. The address is "host[:port][/path]"; the host name
// is resolved here (IPv4). Logs out when destroyed.
class Camera {
public:
    explicit Camera(const Args& args, const std::string& address);
    ~Camera();
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;

    long id() const { return id_; }
    const std::string& name() const { return address_; }
    bool motionJpeg() const { return address_.find("MJPEG") != std::string::npos; }
    int channel() const { return channel_; }

    // Checks a library result: returns it when >= 0 (or == okValue), else
    // throws the failure for that call ("GetVersionInfo: <reason>").
    long check(long result, const std::string& call) const;

private:
    std::string address_;
    long id_ = -1;
    int channel_ = 1;
};

// Reason and exit code of the calling thread's last failed library call.
struct CallError {
    int exitCode;
    std::string reason;
};
CallError lastCallError(long result, bool login = false);

// --channel (default 1).
int channelOf(const Args& args);

// Library-wide settings taken from the common options (time-outs).
void applyLinkOptions(const Args& args);

}  // namespace kovo::cli

#endif
