// ptz and files: one-shot commands to the camera.
#include <cstring>
#include <string>

#include "Commands.h"
#include "KovoSDK.h"

namespace kovo::cli {
namespace {

struct PtzCommand {
    const char* name;
    long id;
    bool preset;  // the parameter is a preset number, not a speed
};

const PtzCommand kPtzCommands[] = {
    {"up", 10, false},         {"down", 11, false},         {"left", 12, false},        {"right", 13, false},
    {"zoomin", 16, false},     {"zoomout", 17, false},      {"focusnear", 18, false},   {"focusfar", 19, false},
    {"presetset", 22, true},   {"presetcall", 23, true},    {"leftup", 26, false},      {"leftdown", 27, false},
    {"rightup", 28, false},    {"rightdown", 29, false},    {"stop", 30, false},        {"compose", 64, false},
    {"presetdelete", 75, true},
};

std::vector<std::string> ptzNames() {
    std::vector<std::string> names = {"aux"};
    for (const PtzCommand& command : kPtzCommands) names.push_back(command.name);
    return names;
}

// "HH:MM:SS", as the camera's file search takes it.
std::string clockTime(const Args& args, const std::string& option) {
    if (!args.has(option)) usageError("files needs --" + option + " HH:MM:SS");
    std::string value = args.text(option);
    if (value.size() != 8 || !CheckTime(&value[0]))
        usageError("--" + option + ": '" + value + "' is not a time HH:MM:SS");
    return value;
}

}  // namespace

int runPtz(const Args& args) {
    expectWords(args, 2, "ADDRESS COMMAND", true);
    const std::string& name = args.words[1];
    if (sameName(name, "aux")) {
        // aux NUMBER MODE: an auxiliary output; --value goes with mode Manual.
        expectWords(args, 4, "ADDRESS aux NUMBER MODE");
        const long number = parseNumber(args.words[2], "aux NUMBER", 1, 1L << 30);
        const long value = args.number("value", 0, -(1L << 30), 1L << 30);
        std::string mode = args.words[3];
        Camera camera(args, args.words[0]);
        camera.check(Kovo_AuxilControl(camera.id(), number, &mode[0], value), "AuxilControl");
        std::fprintf(out(), "aux %ld %s: done\n", number, mode.c_str());
        return kExitOk;
    }
    expectWords(args, 2, "ADDRESS COMMAND");
    const PtzCommand* command = nullptr;
    for (const PtzCommand& candidate : kPtzCommands)
        if (sameName(candidate.name, name)) command = &candidate;
    if (command == nullptr) usageError("unknown PTZ command '" + name + "'" + suggestion(name, ptzNames()));
    if (command->preset && !args.has("preset")) usageError(std::string(command->name) + " needs --preset N");
    const long parameter =
        command->preset ? args.number("preset", 1, 0, 255) : args.number("speed", command->id == 30 ? 0 : 5, 0, 255);
    Camera camera(args, args.words[0]);
    camera.check(Kovo_PTZControl(camera.id(), camera.channel(), command->id, parameter), "PTZControl");
    if (args.json())
        std::fprintf(out(), "{\"command\":%s,\"parameter\":%ld}\n", jsonString(command->name).c_str(), parameter);
    else
        std::fprintf(out(), "%s %ld: done\n", command->name, parameter);
    return kExitOk;
}

int runFiles(const Args& args) {
    expectWords(args, 1, "ADDRESS");
    QUERY_FILE query{};
    const std::string from = clockTime(args, "from"), to = clockTime(args, "to");
    std::strncpy(query.szStartTime, from.c_str(), sizeof query.szStartTime - 1);
    std::strncpy(query.szEndTime, to.c_str(), sizeof query.szEndTime - 1);
    const std::string type = args.text("type", "avi");
    if (!sameName(type, "avi") && !sameName(type, "jpeg")) usageError("--type is avi or jpeg");
    query.nFileType = sameName(type, "jpeg") ? 1 : 0;
    query.nMode = args.has("alarm") ? 1 : 0;

    Camera camera(args, args.words[0]);
    camera.check(Kovo_QueryFile(camera.id(), &query), "QueryFile");
    int count = 0;
    char** list = nullptr;
    camera.check(Kovo_QueryFileList(camera.id(), &count, &list), "QueryFileList");
    const char* block = reinterpret_cast<const char*>(list);
    FILE* o = out();
    if (args.json()) std::fprintf(o, "[");
    for (int i = 0; list != nullptr && i < count; ++i) {
        const char* name = block + static_cast<size_t>(i) * KOVO_FILE_LIST_ENTRY_SIZE;
        const std::string entry(name, strnlen(name, KOVO_FILE_LIST_ENTRY_SIZE));
        if (args.json()) std::fprintf(o, "%s%s", i ? "," : "", jsonString(entry).c_str());
        else std::fprintf(o, "%s\n", entry.c_str());
    }
    if (args.json()) std::fprintf(o, "]\n");
    Kovo_FreeFileList(list);
    return kExitOk;
}

}  // namespace kovo::cli
