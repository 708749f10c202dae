// kovo: ask a camera a question from a shell. See tools/cli/README.md.
#include <cstring>
#include <string>
#include <vector>

#include "Commands.h"
#include "KovoSDK.h"

namespace kovo::cli {
namespace {

const char kCommonHelp[] =
    "Common options:\n"
    "  --proxy ADDRESS  log in through a proxy (host[:port])\n"
    "  --timeout MS     bound on each connect and each reply, default 5000\n"
    "  --channel N      channel argument of the calls, default 1\n"
    "  --json           results as JSON\n"
    "  --verbose        the library's traces on standard error\n"
    "  --help           this text\n"
    "ADDRESS is host[:port][/path]; port 554 when absent; /MJPEG selects Motion-JPEG on the simulator.\n"
    "Exit status: 0 success, 1 usage, 2 the camera refused or failed, 3 time-out.\n";

const std::vector<Command> kCommands = {
    {"info", "ADDRESS", "Version, serial number, clock settings, encoder channels and storage.", {}, runInfo},
    {"list", "[NAME...]", "Every setting get and set know, with its record's fields.", {}, runList},
    {"get", "ADDRESS NAME [--index N]",
     "One setting, its fields one per line. NAME is the export's name without Kovo_Get\n"
     "(ChannelAttribute, NetConfig, NoiseReduction, ...), any case. --index N picks the\n"
     "numbered item of settings that have one (motion area, alarm input, OSD type, ...).",
     {{"index", true}}, runGet},
    {"set", "ADDRESS NAME FIELD=VALUE... [--index N]",
     "Reads the setting, changes the named fields, writes it back and prints what changed.\n"
     "Unknown fields and values that do not fit are refused before anything is sent.",
     {{"index", true}}, runSet},
    {"ptz", "ADDRESS COMMAND [--speed N] [--preset N] | ADDRESS aux NUMBER MODE [--value N]",
     "Pan/tilt/zoom: up down left right leftup leftdown rightup rightdown stop zoomin zoomout\n"
     "focusnear focusfar compose (--speed N, default 5), presetset presetcall presetdelete\n"
     "(--preset N). aux NUMBER MODE switches an auxiliary output (--value with mode Manual).",
     {{"speed", true}, {"preset", true}, {"value", true}}, runPtz},
    {"files", "ADDRESS --from HH:MM:SS --to HH:MM:SS [--type avi|jpeg] [--alarm]",
     "The camera's recordings (or pictures) in that range, one per line.",
     {{"from", true}, {"to", true}, {"type", true}, {"alarm", false}}, runFiles},
    {"snapshot", "ADDRESS -o FILE",
     "One picture: the first JPEG of a Motion-JPEG stream, or the first key frame of an H.264\n"
     "stream decoded and written as JPEG or PNG by FILE's extension.",
     {{"o", true}, {"output", true}}, runSnapshot},
    {"record", "ADDRESS -o FILE [--duration S]",
     "The live stream to FILE: .mp4 or .mkv (video and audio), or raw .h264, .mjpeg, .aac.\n"
     "Ctrl-C or the duration ends it, leaving a complete file.",
     {{"o", true}, {"output", true}, {"duration", true}}, runRecord},
    {"watch", "ADDRESS... [--once]",
     "A table of several cameras refreshed each second: state, frame rate, bit rate, key-frame\n"
     "interval, lost packets, last event. --once prints one table and exits.",
     {{"once", false}}, runWatch},
};

std::vector<std::string> commandNames() {
    std::vector<std::string> names;
    for (const Command& command : kCommands) names.push_back(command.name);
    return names;
}

void printUsage(FILE* to) {
    std::fprintf(to, "usage: kovo COMMAND [options]\n\nCommands:\n");
    for (const Command& command : kCommands) std::fprintf(to, "  %-9s %s\n", command.name, command.synopsis);
    std::fprintf(to, "\n'kovo COMMAND --help' describes one command.\n%s", kCommonHelp);
}

void printHelp(const Command& command) {
    std::fprintf(out(), "usage: kovo %s %s\n\n%s\n\n%s", command.name, command.synopsis, command.help, kCommonHelp);
}

int run(int argc, char** argv) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    if (words.empty() || words[0] == "--help" || words[0] == "-h" || words[0] == "help") {
        printUsage(words.empty() ? stderr : out());
        return words.empty() ? kExitUsage : kExitOk;
    }
    const Command* command = nullptr;
    for (const Command& candidate : kCommands)
        if (words[0] == candidate.name) command = &candidate;
    if (command == nullptr) usageError("unknown command '" + words[0] + "'" + suggestion(words[0], commandNames()));
    const Args args = parseArgs(std::vector<std::string>(words.begin() + 1, words.end()), command->options);
    routeLibraryTraces(args.has("verbose"));
    if (args.has("help")) {
        printHelp(*command);
        return kExitOk;
    }
    applyLinkOptions(args);
    return command->run(args);
}

}  // namespace

const std::vector<Command>& commands() { return kCommands; }

void expectWords(const Args& args, size_t count, const char* what, bool atLeast) {
    if (args.words.size() < count) usageError(std::string("missing arguments: expected ") + what);
    if (!atLeast && args.words.size() > count)
        usageError("unexpected argument '" + args.words[count] + "': expected " + what);
}

}  // namespace kovo::cli

int main(int argc, char** argv) {
    int status;
    try {
        status = kovo::cli::run(argc, argv);
    } catch (const kovo::cli::Failure& failure) {
        std::fprintf(stderr, "kovo: %s\n", failure.what());
        status = failure.code;
    }
    std::fflush(kovo::cli::out());
    return status;
}
