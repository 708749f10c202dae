// A logged-in fake camera for the parameter exports, and helpers to read the
// parameter lines of the requests it received and the traces printed.
#ifndef KOVO_TESTS_SDK_PARAMTESTSUPPORT_H
#define KOVO_TESTS_SDK_PARAMTESTSUPPORT_H

#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

#include "sdk/Device.h"
#include "support/FakeCamera.h"

namespace kovo::test {

const char kContentType[] = "Content-type: text/parameters";

// The header lines of a request after its "CSeq" (and "Session") lines.
inline std::vector<std::string> paramLines(const Request& request) {
    std::vector<std::string> lines;
    for (const std::string& line : request.lines) {
        if (line.rfind("CSeq:", 0) == 0 || line.rfind("Session:", 0) == 0) continue;
        lines.push_back(line);
    }
    return lines;
}

// The traces of captured output: the "---send" echoes of requests removed.
inline std::string tracesOnly(std::string text) {
    for (size_t at; (at = text.find("---send ")) != std::string::npos;) {
        const size_t end = text.find("\r\n\r\n\n", at);
        text.erase(at, end == std::string::npos ? std::string::npos : end + 5 - at);
    }
    return text;
}

// True when traces is exactly the message (its "%d" or "%ld" any number) followed by
// the trace's own CR LF.
inline bool isTrace(const std::string& traces, const std::string& message) {
    std::string pattern;
    for (size_t i = 0; i < message.size(); ++i) {
        if (message.compare(i, 2, "%d") == 0 || message.compare(i, 3, "%ld") == 0) {
            pattern += "-?[0-9]+";
            i += message[i + 1] == 'l' ? 2 : 1;
        } else if (std::string("\\^$.|?*+()[]{}").find(message[i]) != std::string::npos) {
            pattern += '\\';
            pattern += message[i];
        } else {
            pattern += message[i];
        }
    }
    return std::regex_match(traces, std::regex(pattern + "\r\n"));
}

class LoggedInCamera {
public:
    LoggedInCamera() {
        id = Kovo_Login("127.0.0.1", cam.port(), nullptr);
        cam.clearRequests();
    }
    ~LoggedInCamera() {
        if (id > 0) Kovo_Logout(id);
    }

    CDevice* device() const { return FindDeviceByDeviceID(id); }

    // Answers every parameter request with status 200 and these lines.
    void answer(std::vector<std::string> lines) {
        cam.onMethod("GET_PARAMETER", Reply::ok(lines));
        cam.onMethod("SET_PARAMETER", Reply::ok(lines));
    }
    void answerStatus(int status) {
        cam.onMethod("GET_PARAMETER", Reply::status_(status));
        cam.onMethod("SET_PARAMETER", Reply::status_(status));
    }

    // The parameter lines of the only request since the last clear.
    std::vector<std::string> onlyRequestLines() {
        auto requests = cam.requests();
        EXPECT_EQ(requests.size(), 1u);
        return requests.empty() ? std::vector<std::string>{} : paramLines(requests.back());
    }

    FakeCamera cam;
    long id = -1;
};

}  // namespace kovo::test

#endif
