// A logged-in fake camera for the parameter exports, helpers to read the
// parameter lines of the requests it received and the traces printed, and
// table runners: the lines a Set sends, the keys a Get asks for and what it
// makes of the answers, the rejections and the outcome traces.
#ifndef KOVO_TESTS_SDK_PARAMTESTSUPPORT_H
#define KOVO_TESTS_SDK_PARAMTESTSUPPORT_H

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <functional>
#include <regex>
#include <sstream>
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

// No login ever returns this id (ids are socket descriptors).
constexpr long kUnknownId = 999999;

// A Set or command that must send exactly these lines after "Content-type".
struct SetLinesCase {
    const char* name;
    std::function<long(long id)> call;
    std::vector<std::string> lines;
};

// A Get that must ask for these keys and, answered with reply, fill the
// record as check expects (check runs after the call, on the same record).
struct GetCase {
    const char* name;
    std::vector<std::string> keys;
    std::vector<std::string> reply;
    std::function<void(long id)> callAndCheck;
};

// A call refused before anything is sent, or (code 0) accepted and sent.
struct RejectCase {
    const char* name;
    std::function<long(long id)> call;  // id: a logged-in device
    long code;
    const char* trace;  // of a refusal
};

inline std::vector<std::string> afterContentType(std::vector<std::string> lines) {
    std::vector<std::string> expected{kContentType};
    expected.insert(expected.end(), lines.begin(), lines.end());
    return expected;
}

// Exactly one request of method to the device URL, carrying lines after
// the "Content-type" line.
inline void expectOneRequest(const FakeCamera& cam, const char* method, const std::vector<std::string>& lines) {
    const auto requests = cam.requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].method, method);
    EXPECT_EQ(requests[0].url, "rtsp://127.0.0.1");
    EXPECT_EQ(paramLines(requests[0]), afterContentType(lines));
}

inline void runSetLinesCases(const std::vector<SetLinesCase>& cases) {
    LoggedInCamera cam;
    ASSERT_GT(cam.id, 0);
    for (const SetLinesCase& c : cases) {
        SCOPED_TRACE(c.name);
        cam.cam.clearRequests();
        EXPECT_EQ(c.call(cam.id), 0);
        expectOneRequest(cam.cam, "SET_PARAMETER", c.lines);
    }
}

inline void runGetCases(const std::vector<GetCase>& cases) {
    LoggedInCamera cam;
    ASSERT_GT(cam.id, 0);
    for (const GetCase& c : cases) {
        SCOPED_TRACE(c.name);
        cam.answer(c.reply);
        cam.cam.clearRequests();
        c.callAndCheck(cam.id);
        expectOneRequest(cam.cam, "GET_PARAMETER", c.keys);
    }
}

inline void runRejectCases(const std::vector<RejectCase>& cases) {
    LoggedInCamera cam;
    ASSERT_GT(cam.id, 0);
    for (const RejectCase& c : cases) {
        SCOPED_TRACE(c.name);
        cam.cam.clearRequests();
        StdoutCapture out;
        EXPECT_EQ(c.call(cam.id), c.code);
        const std::string traces = tracesOnly(out.text());
        if (c.code != 0) {
            EXPECT_TRUE(isTrace(traces, c.trace)) << traces;
        }
        EXPECT_EQ(cam.cam.requestCount(), c.code == 0 ? 1u : 0u);
    }
}

// One export run through the outcomes every parameter export shares: ids 0
// and below (-1) and an id without a device (-3 unless noDeviceCode) send
// nothing; a status other than 200 fails (-2) and a 200 without the asked
// keys succeeds (0), both leaving the record untouched; a Get refuses a null
// record (-1). Each outcome with its exact trace.
struct ExportCase {
    std::string name;
    // Calls the export with valid other arguments; a Get fills `scratch`.
    std::function<long(long id, void* scratch)> call;
    bool fillsScratch;
    std::string invalid;   // trace of -1
    std::string noDevice;  // trace of -3
    const char* failed;    // trace of -2, null when silent
    const char* success;   // trace of 0, null when silent
    long noDeviceCode = -3;
};

// A Get whose traces of -1 and -3 read "<name>[%d] invalid input." (or
// invalidWords) and "<name>[%d] device null.".
template <typename Record>
ExportCase getCase(const std::string& name, std::function<long(long, Record*)> get, const char* failed,
                   const char* success, const char* invalidWords = "invalid input") {
    return {name, [get](long id, void* s) { return get(id, static_cast<Record*>(s)); }, true,
            name + "[%d] " + invalidWords + ".\n", name + "[%d] device null.\n", failed, success};
}

// A Set or command given valid arguments, traced like getCase.
inline ExportCase setCase(const std::string& name, std::function<long(long)> set, const char* failed,
                          const char* success, const char* invalidWords = "invalid input") {
    return {name, [set](long id, void*) { return set(id); }, false, name + "[%d] " + invalidWords + ".\n",
            name + "[%d] device null.\n", failed, success};
}

inline void expectTrace(const std::string& traces, const char* message) {
    if (message) {
        EXPECT_TRUE(isTrace(traces, message)) << "traced: " << traces << "expected: " << message;
    } else {
        EXPECT_EQ(traces, "");
    }
}

inline void runExportCases(const std::vector<ExportCase>& cases) {
    LoggedInCamera cam;
    ASSERT_GT(cam.id, 0);
    auto run = [&](const ExportCase& c, long id, bool withRecord, long code, size_t requests, const char* trace) {
        cam.cam.clearRequests();
        std::vector<char> scratch(1024, 'Z');
        StdoutCapture out;
        EXPECT_EQ(c.call(id, withRecord ? scratch.data() : nullptr), code);
        expectTrace(tracesOnly(out.text()), trace);
        EXPECT_EQ(cam.cam.requestCount(), requests);
        EXPECT_TRUE(std::all_of(scratch.begin(), scratch.end(), [](char b) { return b == 'Z'; }));
    };
    for (const ExportCase& c : cases) {
        SCOPED_TRACE(c.name);
        for (long id : {0L, -1L, LONG_MIN}) run(c, id, true, -1, 0, c.invalid.c_str());
        run(c, kUnknownId, true, c.noDeviceCode, 0, c.noDevice.c_str());
        if (c.fillsScratch) run(c, cam.id, false, -1, 0, c.invalid.c_str());
        for (int status : {201, 500}) {
            cam.answerStatus(status);
            run(c, cam.id, true, -2, 1, c.failed);
        }
        cam.answer({"Unrelated: 1"});
        run(c, cam.id, true, 0, 1, c.success);
    }
}

// A reply of any status that carries answer lines all the same.
inline Reply statusWithLines(int status, std::vector<std::string> lines) {
    Reply reply = Reply::status_(status);
    reply.headers = std::move(lines);
    return reply;
}

// The values each followed by "|", to compare a whole record in one assertion.
template <typename... Values>
std::string joined(const Values&... values) {
    std::ostringstream out;
    ((out << values << '|'), ...);
    return out.str();
}

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
