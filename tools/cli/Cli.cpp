#include "Cli.h"

#include <arpa/inet.h>
#include <netdb.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>

#include "KovoSDK.h"

namespace kovo::cli {
namespace {

const OptionTable kCommonOptions = {{"proxy", true},  {"timeout", true}, {"channel", true},
                                   {"json", false},  {"verbose", false}, {"help", false}};

std::string lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

size_t editDistance(const std::string& a, const std::string& b) {
    std::vector<size_t> row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j) row[j] = j;
    for (size_t i = 1; i <= a.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t above = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0 : 1)});
            diagonal = above;
        }
    }
    return row[b.size()];
}

// "host[:port][/path]" with the host resolved to dotted IPv4.
struct Endpoint {
    std::string ip;
    unsigned short port = 554;
    std::string path;  // with its leading '/', or empty
};

Endpoint resolve(const std::string& address) {
    Endpoint endpoint;
    const size_t slash = address.find('/');
    std::string hostPort = address.substr(0, slash);
    if (slash != std::string::npos) endpoint.path = address.substr(slash);
    const size_t colon = hostPort.find(':');
    if (colon != std::string::npos) {
        endpoint.port = static_cast<unsigned short>(parseNumber(hostPort.substr(colon + 1), "port in " + address, 1, 65535));
        hostPort.resize(colon);
    }
    if (hostPort.empty()) usageError("no host in address '" + address + "'");
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    const int rc = ::getaddrinfo(hostPort.c_str(), nullptr, &hints, &found);
    if (rc != 0 || found == nullptr)
        throw Failure(kExitCamera, address + ": cannot resolve '" + hostPort + "': " + ::gai_strerror(rc));
    char text[INET_ADDRSTRLEN] = {};
    ::inet_ntop(AF_INET, &reinterpret_cast<sockaddr_in*>(found->ai_addr)->sin_addr, text, sizeof text);
    ::freeaddrinfo(found);
    endpoint.ip = text;
    return endpoint;
}

}  // namespace

void usageError(const std::string& message) { throw Failure(kExitUsage, message); }

std::string Args::text(const std::string& name, const std::string& fallback) const {
    auto it = options.find(name);
    return it == options.end() ? fallback : it->second;
}

long Args::number(const std::string& name, long fallback, long low, long high) const {
    return has(name) ? parseNumber(text(name), "--" + name, low, high) : fallback;
}

long parseNumber(const std::string& text, const std::string& what, long low, long high) {
    errno = 0;
    char* end = nullptr;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || errno == ERANGE || value < low || value > high)
        usageError(what + ": '" + text + "' is not a whole number from " + std::to_string(low) + " to " +
                   std::to_string(high));
    return value;
}

Args parseArgs(const std::vector<std::string>& argv, const OptionTable& extra) {
    OptionTable known = kCommonOptions;
    known.insert(extra.begin(), extra.end());
    std::vector<std::string> names;
    for (const auto& entry : known) names.push_back("--" + entry.first);
    Args args;
    for (size_t i = 0; i < argv.size(); ++i) {
        const std::string& word = argv[i];
        // "--name", "--name=value", or a one-letter "-x".
        const bool letter = word.size() == 2 && word[0] == '-' && std::isalpha(static_cast<unsigned char>(word[1]));
        if (!letter && (word.size() < 3 || word.compare(0, 2, "--") != 0)) {
            args.words.push_back(word);
            continue;
        }
        std::string name = word.substr(letter ? 1 : 2), value;
        const size_t equals = name.find('=');
        const bool inlineValue = equals != std::string::npos;
        if (inlineValue) {
            value = name.substr(equals + 1);
            name.resize(equals);
        }
        auto it = known.find(name);
        if (it == known.end()) usageError("unknown option '" + word + "'" + suggestion(word, names));
        if (it->second && !inlineValue) {
            if (i + 1 >= argv.size()) usageError("option --" + name + " needs a value");
            value = argv[++i];
        }
        args.options[name] = value;
    }
    return args;
}

bool sameName(const std::string& a, const std::string& b) { return lower(a) == lower(b); }

std::string suggestion(const std::string& word, const std::vector<std::string>& candidates) {
    const std::string key = lower(word);
    const std::string* best = nullptr;
    size_t bestDistance = 0;
    for (const auto& candidate : candidates) {
        const std::string name = lower(candidate);
        // A prefix or contained word counts as close whatever its length.
        size_t distance = editDistance(key, name);
        if (!key.empty() && name.find(key) != std::string::npos) distance = std::min<size_t>(distance, 1);
        if (best == nullptr || distance < bestDistance) {
            best = &candidate;
            bestDistance = distance;
        }
    }
    if (best == nullptr || bestDistance > std::max<size_t>(2, key.size() / 3)) return "";
    return " (did you mean " + *best + "?)";
}

FILE* out() { return stdout; }

std::string jsonString(const std::string& text) {
    std::string quoted = "\"";
    for (unsigned char c : text) {
        if (c == '"' || c == '\\') {
            quoted += '\\';
            quoted += static_cast<char>(c);
        } else if (c < 0x20) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
            quoted += escaped;
        } else {
            quoted += static_cast<char>(c);
        }
    }
    return quoted + "\"";
}

int channelOf(const Args& args) { return static_cast<int>(args.number("channel", 1, -1, 65535)); }

Camera::Camera(const Args& args, const std::string& address) : address_(address) {
    channel_ = channelOf(args);
    const Endpoint camera = resolve(address);
    std::string target = camera.ip + ":" + std::to_string(camera.port) + camera.path;
    unsigned short port = camera.port;
    std::string proxyIp;
    if (args.has("proxy")) {
        const Endpoint proxy = resolve(args.text("proxy"));
        proxyIp = proxy.ip;
        port = proxy.port;
    }
    id_ = Kovo_Login(target.c_str(), port, proxyIp.empty() ? nullptr : proxyIp.c_str());
    if (id_ <= 0) {
        const CallError error = lastCallError(id_, true);
        throw Failure(error.exitCode, address_ + ": login failed: " + error.reason);
    }
}

Camera::~Camera() {
    if (id_ > 0) Kovo_Logout(id_);
}

long Camera::check(long result, const std::string& call) const {
    if (result >= 0) return result;
    const CallError error = lastCallError(result);
    throw Failure(error.exitCode, address_ + ": " + call + ": " + error.reason);
}

}  // namespace kovo::cli
