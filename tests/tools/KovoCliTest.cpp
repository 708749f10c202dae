// The kovo command-line tool as a process against the simulator: its
// output, its exit codes, and the files it writes.
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "CamSimProcess.h"

namespace kovo::test {
namespace {

using Clock = std::chrono::steady_clock;

std::string kovoPath() { return std::string(KOVO_BINARY_DIR) + "/tools/cli/kovo"; }

// Runs kovo; its exit status, standard output in `output` (standard error
// dropped unless `withErrors`).
int kovo(const std::string& arguments, std::string* output = nullptr, bool withErrors = false) {
    if (output) output->clear();
    return runCommand("(" + kovoPath() + " " + arguments + (withErrors ? ")" : " 2>/dev/null)"), output);
}

// "name value" lines of `kovo get`.
std::map<std::string, std::string> fields(const std::string& text) {
    std::map<std::string, std::string> values;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const size_t gap = line.find("  ");
        if (gap == std::string::npos) continue;
        const size_t value = line.find_first_not_of(' ', gap);
        values[line.substr(0, gap)] = value == std::string::npos ? "" : line.substr(value);
    }
    return values;
}

// `kovo list`: each setting that `set` takes, with its settable fields in order.
std::vector<std::pair<std::string, std::vector<std::string>>> settableFields() {
    std::string text;
    EXPECT_EQ(0, kovo("list", &text));
    std::vector<std::pair<std::string, std::vector<std::string>>> settings;
    std::istringstream lines(text);
    bool settable = false;
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string name, type, note;
        words >> name >> type;
        if (line.empty()) continue;
        if (line[0] != ' ') {
            settable = line.find("get set") != std::string::npos;
            if (settable) settings.push_back({name, {}});
        } else if (settable && !(words >> note)) {  // fields with a note are not set directly
            settings.back().second.push_back(name + (type.rfind("text", 0) == 0 ? ":text" : ":int"));
        }
    }
    return settings;
}

class KovoCli : public CamSimTest {
protected:
    void SetUp() override {
        CamSimTest::SetUp();
        if (IsSkipped()) return;
        ASSERT_EQ(0, ::access(kovoPath().c_str(), X_OK)) << kovoPath();
        ASSERT_TRUE(sim_.start());
        address_ = "127.0.0.1:" + std::to_string(sim_.port());
    }
    CamSimProcess sim_;
    std::string address_;
};

TEST_F(KovoCli, InfoPrintsTheCameraAsATableAndAsJson) {
    std::string table, json;
    ASSERT_EQ(0, kovo("info " + address_, &table));
    EXPECT_EQ("KCS20261122000001", fields(table)["serial"]);
    EXPECT_NE(std::string::npos, table.find("640x360, 25 fps")) << table;
    ASSERT_EQ(0, kovo("info --json " + address_, &json));
    std::string parsed;
    ASSERT_EQ(0, runCommand("echo '" + json + "' | jq -r '.serial, .version.szCamModule, .channels[0].ResolutionX'",
                            &parsed));
    EXPECT_EQ("KCS20261122000001\nSIM-1080P\n640\n", parsed);
}

// For every setting `list` names: get, set one field to another value,
// get again. A field the library refuses in the current record (exit 1,
// as an FTP client switched on) gives way to the next one.
TEST_F(KovoCli, EverySettingReadsBackAFieldItChanged) {
    const auto settings = settableFields();
    ASSERT_GE(settings.size(), 35u);
    std::string names, text;
    for (const auto& setting : settings) names += " " + setting.first;
    ASSERT_EQ(0, kovo("get " + address_ + names, &text));
    auto before = fields(text);
    std::map<std::string, std::string> changed;  // "Setting.field" -> value set
    for (const auto& [name, settable] : settings) {
        for (size_t i = 0; i < settable.size() && changed.count(name) == 0; ++i) {
            const std::string field = settable[i].substr(0, settable[i].find(':'));
            const std::string old = before[name + "." + field];
            const std::string value = settable[i].find(":text") != std::string::npos ? "kovo" : old == "0" ? "1" : "0";
            const int status = kovo("set " + address_ + " " + name + " " + field + "=" + value);
            if (status == 1) continue;
            ASSERT_EQ(0, status) << name << "." << field;
            changed[name] = field + "=" + value;
        }
        EXPECT_EQ(1u, changed.count(name)) << name << ": no field could be changed";
    }
    ASSERT_EQ(0, kovo("get " + address_ + names, &text));
    auto after = fields(text);
    for (const auto& [name, change] : changed) {
        const size_t equals = change.find('=');
        EXPECT_EQ(change.substr(equals + 1), after[name + "." + change.substr(0, equals)]) << name;
    }
}

TEST_F(KovoCli, SetRefusesUnknownNamesAndBadValuesBeforeSendingAnything) {
    const std::pair<const char*, const char*> cases[] = {
        {"ChannelAttribute EncodBitRate=5", "did you mean EncodeBitRate?"},
        {"ChannelAttribute EncodeBitRate=fast", "EncodeBitRate"},
        {"NetConfig szIP=0123456789012345678901234567890123", "longer than 31"},
        {"ChanelAttribute EncodeBitRate=5", "did you mean ChannelAttribute?"},
    };
    for (const auto& [arguments, reason] : cases) {
        std::string text;
        EXPECT_EQ(1, kovo("set " + address_ + " " + arguments, &text, true)) << arguments;
        EXPECT_NE(std::string::npos, text.find(reason)) << text;
    }
    EXPECT_EQ(std::string::npos, sim_.output().find("RTSP/1.0")) << "a refused set reached the camera";
}

TEST_F(KovoCli, SnapshotsDecodeToPicturesOfTheStreamsSize) {
    ScratchDir dir;
    for (const char* stream : {"", "/MJPEG"})
        for (const char* file : {"shot.jpg", "shot.png"}) {
            const std::string path = dir.file(std::string(stream[0] ? "mjpeg-" : "h264-") + file);
            ASSERT_EQ(0, kovo("snapshot " + address_ + stream + " -o " + path)) << path;
            EXPECT_EQ("640,360\n", probe(path, "-show_entries stream=width,height")) << path;
        }
}

// A timed record and one interrupted by SIGINT both leave a playable file.
TEST_F(KovoCli, RecordWritesAPlayableFileWithVideoAndAudio) {
    ScratchDir dir;
    const std::string timed = dir.file("five.mp4"), cut = dir.file("cut.mkv");
    ASSERT_EQ(0, kovo("record " + address_ + " -o " + timed + " --duration 5"));
    EXPECT_NEAR(5.0, std::stod(probe(timed, "-show_entries format=duration")), 0.3);
    EXPECT_EQ(0, runCommand("(" + kovoPath() + " record " + address_ + "/MJPEG -o " + cut +
                            " & pid=$!; sleep 2; kill -INT $pid; wait $pid)"));
    EXPECT_GT(std::stod(probe(cut, "-show_entries format=duration")), 0.5);
    for (const auto& [path, codecs] : {std::pair{timed, "h264\naac\n"}, std::pair{cut, "mjpeg\naac\n"}}) {
        EXPECT_EQ(codecs, probe(path, "-show_entries stream=codec_name"));
        expectDecodes(path);
    }
}

TEST_F(KovoCli, UnreachableAndSilentCamerasExitWithTheirOwnStatusInTime) {
    uint16_t closedPort = 0, silentPort = 0;
    ::close(bindLoopback(closedPort));  // nothing listens there
    const int silent = bindLoopback(silentPort);  // a camera that never answers
    const std::string nobody = "127.0.0.1:" + std::to_string(closedPort);
    const std::string mute = "127.0.0.1:" + std::to_string(silentPort);
    const struct {
        std::string address;
        int status;
        std::chrono::milliseconds within;
    } cases[] = {{nobody, 2, std::chrono::seconds(1)}, {mute, 3, std::chrono::milliseconds(1500 + 1000)}};
    for (const auto& c : cases) {
        const auto start = Clock::now();
        std::string text;
        EXPECT_EQ(c.status, kovo("info --timeout 1500 " + c.address, &text, true)) << text;
        EXPECT_LT(Clock::now() - start, c.within) << c.address;
        EXPECT_NE(std::string::npos, text.find(c.address + ": login failed")) << "names the camera: " << text;
    }
    ::close(silent);
}

}  // namespace
}  // namespace kovo::test
