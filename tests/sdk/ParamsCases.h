// Table runners for the parameter exports of the network, mail, alarm,
// storage and file families: the lines a Set sends, the keys a Get asks for
// and what it makes of the answers, the rejections and the outcome traces.
#ifndef KOVO_TESTS_SDK_PARAMSCASES_H
#define KOVO_TESTS_SDK_PARAMSCASES_H

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "ParamTestSupport.h"

namespace kovo::test {

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

// A call refused before anything is sent.
struct RejectCase {
    const char* name;
    std::function<long(long id)> call;  // id: a logged-in device
    long code;
    const char* trace;
};

// The traces of an export on status 400 and on status 200.
struct OutcomeCase {
    const char* name;
    std::function<long(long id)> call;
    const char* failed;   // null: silent
    const char* success;
};

inline std::vector<std::string> afterContentType(std::vector<std::string> lines) {
    std::vector<std::string> expected{kContentType};
    expected.insert(expected.end(), lines.begin(), lines.end());
    return expected;
}

inline void runSetLinesCases(const std::vector<SetLinesCase>& cases) {
    LoggedInCamera cam;
    ASSERT_GT(cam.id, 0);
    for (const SetLinesCase& c : cases) {
        SCOPED_TRACE(c.name);
        cam.cam.clearRequests();
        EXPECT_EQ(c.call(cam.id), 0);
        const auto requests = cam.cam.requests();
        ASSERT_EQ(requests.size(), 1u);
        EXPECT_EQ(requests[0].method, "SET_PARAMETER");
        EXPECT_EQ(requests[0].url, "rtsp://127.0.0.1");
        EXPECT_EQ(paramLines(requests[0]), afterContentType(c.lines));
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
        const auto requests = cam.cam.requests();
        ASSERT_EQ(requests.size(), 1u);
        EXPECT_EQ(requests[0].method, "GET_PARAMETER");
        EXPECT_EQ(paramLines(requests[0]), afterContentType(c.keys));
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
        const std::string traces = out.text();
        EXPECT_TRUE(isTrace(traces, c.trace)) << traces;
        EXPECT_EQ(cam.cam.requestCount(), 0u);
    }
}

inline void runOutcomeCases(const std::vector<OutcomeCase>& cases) {
    LoggedInCamera cam;
    ASSERT_GT(cam.id, 0);
    for (const OutcomeCase& c : cases) {
        SCOPED_TRACE(c.name);
        cam.answerStatus(400);
        {
            StdoutCapture out;
            EXPECT_EQ(c.call(cam.id), -2);
            const std::string traces = tracesOnly(out.text());
            if (c.failed)
                EXPECT_TRUE(isTrace(traces, c.failed)) << traces;
            else
                EXPECT_EQ(traces, "");
        }
        cam.answerStatus(200);
        StdoutCapture out;
        EXPECT_EQ(c.call(cam.id), 0);
        const std::string traces = tracesOnly(out.text());
        EXPECT_TRUE(isTrace(traces, c.success)) << traces;
    }
}

// A reply of any status that carries answer lines all the same.
inline Reply statusWithLines(int status, std::vector<std::string> lines) {
    Reply reply = Reply::status_(status);
    reply.headers = std::move(lines);
    return reply;
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
