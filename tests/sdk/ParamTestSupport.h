// A logged-in fake camera for the parameter exports and helpers to read the
// parameter lines of the requests it received.
#ifndef KOVO_TESTS_SDK_PARAMTESTSUPPORT_H
#define KOVO_TESTS_SDK_PARAMTESTSUPPORT_H

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "sdk/Device.h"
#include "support/FakeCamera.h"

namespace kovo::test {

const char kContentType[] = "Content-type: text/parameters";

// No login ever returns this id (ids are socket descriptors).
constexpr long kUnknownId = 999999;

// The header lines of a request after its "CSeq" (and "Session") lines.
inline std::vector<std::string> paramLines(const Request& request) {
    std::vector<std::string> lines;
    for (const std::string& line : request.lines) {
        if (line.rfind("CSeq:", 0) == 0 || line.rfind("Session:", 0) == 0) continue;
        lines.push_back(line);
    }
    return lines;
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

    // The parameter lines of the only request since the last clear.
    std::vector<std::string> onlyRequestLines() {
        auto requests = cam.requests();
        EXPECT_EQ(requests.size(), 1u);
        cam.clearRequests();
        return requests.empty() ? std::vector<std::string>{} : paramLines(requests.back());
    }

    FakeCamera cam;
    long id = -1;
};

// Copies text into a char array without its terminator when it fills it.
template <size_t N>
void fill(char (&field)[N], const std::string& text) {
    std::memset(field, 0, N);
    std::memcpy(field, text.data(), text.size() < N ? text.size() : N);
}

// The bytes of a char array as a string (a full array needs no terminator).
template <size_t N>
std::string textOf(const char (&field)[N]) {
    return std::string(field, strnlen(field, N));
}

}  // namespace kovo::test

#endif
