// Reply parsing of the engine on texts handed in directly (no socket).
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "rtsp/rtsp.h"

namespace {

std::vector<std::string> scheduled(const CConnect& conn) {
    std::vector<std::string> out;
    for (int i = 0; i < RTSP_MAX_LINES && conn.scheduled[i]; ++i) out.push_back(conn.scheduled[i]);
    return out;
}

int parse(CConnect& conn, std::string text) { return rtsp_get_answersEx(&conn, text.data()); }

TEST(RtspStatusCode, RecognisesRepliesAndDeviceRequests) {
    struct Case { const char* text; int code; } cases[] = {
        {"RTSP/1.0 200 OK", 200}, {"RTSP/1.0 404 Not Found", 404}, {"/1.0 451 x", 451},
        {"SET_PARAMETER rtsp://a RTSP/1.0", 10}, {"PARAMETER", 10}, {"HTTP/1.1 200 OK", 0},
        {"RTSP/1.0", 0}, {"", 0},
    };
    CConnect conn;
    for (const auto& c : cases) EXPECT_EQ(rtsp_get_status_code(&conn, c.text), c.code) << c.text;
}

TEST(RtspGetLine, ReturnsOnlyLinesEndingInCrLf) {
    std::string text = "one\r\ntwo\r\nthree";
    char* cursor = text.data();
    EXPECT_STREQ(rtsp_get_line(&cursor), "one");
    EXPECT_STREQ(rtsp_get_line(&cursor), "two");
    EXPECT_EQ(rtsp_get_line(&cursor), nullptr);
}

TEST(RtspAnswers, ReplyWithoutEndOfHeaderReadsAsNoReply) {
    CConnect conn;
    conn.cseq = 2;
    EXPECT_EQ(parse(conn, "RTSP/1.0 200 OK\r\nCSeq: 2\r\n"), 0);
    EXPECT_EQ(conn.cseq, 2u);
    EXPECT_TRUE(scheduled(conn).empty());
}

TEST(RtspAnswers, KeepsAtMost256HeaderLines) {
    for (int extra : {255, 256, 1000}) {
        CConnect conn;
        std::string text = "RTSP/1.0 200 OK\r\n";
        for (int i = 1; i < extra; ++i) text += "K" + std::to_string(i) + ": " + std::to_string(i) + "\r\n";
        text += "\r\n";
        EXPECT_EQ(parse(conn, text), 200) << extra;
        int stored = 0;
        while (stored <= RTSP_MAX_LINES && conn.answers[stored]) ++stored;
        EXPECT_EQ(stored, std::min(extra + 1, RTSP_MAX_LINES)) << extra;
        EXPECT_EQ(conn.answers[RTSP_MAX_LINES], nullptr);
    }
}

TEST(RtspSearchAnswers, MatchesWholeKeyFollowedByColon) {
    CConnect conn;
    parse(conn, "RTSP/1.0 200 OK\r\nPortMap: 1\r\nPort: 80\r\nBlank:    \r\nBrightness:50\r\n\r\n");
    EXPECT_STREQ(rtsp_search_answers(&conn, "Port"), "80");
    EXPECT_STREQ(rtsp_search_answers(&conn, "Blank"), "");
    EXPECT_STREQ(rtsp_search_answers(&conn, "Brightness"), "50");
    EXPECT_EQ(rtsp_search_answers(&conn, "Contrast"), nullptr);
    EXPECT_EQ(rtsp_search_answers(&conn, nullptr), nullptr);
    EXPECT_STREQ(rtsp_search_line(&conn, "PortM"), "PortM");
    EXPECT_EQ(rtsp_search_line(&conn, "Nothing"), nullptr);
}

TEST(RtspSdp, ControlUrlsComeFromTheirMediaSections) {
    CConnect conn;
    const char* lines[] = {"v=0", "a=control:*", "m=video 0 RTP/AVP 96", "a=control:trackID=1",
                           "m=audio 0 RTP/AVP 97", "a=control: trackID=2", nullptr};
    for (int i = 0; lines[i]; ++i) conn.answers[i] = strdup(lines[i]);
    EXPECT_STREQ(rtsp_get_video_mrl(&conn), "trackID=1");
    EXPECT_STREQ(rtsp_get_audio_mrl(&conn), "trackID=2");

    rtsp_free_answers(&conn);
    const char* videoOnly[] = {"m=video 0 RTP/AVP 96", "b=AS:500", "m=text 0 x", "a=control:next", nullptr};
    for (int i = 0; videoOnly[i]; ++i) conn.answers[i] = strdup(videoOnly[i]);
    EXPECT_STREQ(rtsp_get_video_mrl(&conn), "next");
    EXPECT_EQ(rtsp_get_audio_mrl(&conn), nullptr);
}

TEST(RtspSchedule, UnscheduleFieldClosesTheGap) {
    CConnect conn;
    for (const char* f : {"A: 1", "B: 2", "C: 3"}) rtsp_schedule_field(&conn, f);
    rtsp_schedule_field(&conn, nullptr);
    rtsp_unschedule_field(&conn, "B");
    EXPECT_EQ(scheduled(conn), (std::vector<std::string>{"A: 1", "C: 3"}));
    rtsp_unschedule_all(&conn);
    EXPECT_TRUE(scheduled(conn).empty());
}

}  // namespace
