// list, get and set: everything they print or accept comes from the record
// descriptions of the catalogue.
#include <algorithm>
#include <cstring>

#include "Commands.h"
#include "Settings.h"

namespace kovo::cli {
namespace {

const char* roleNote(const FieldDesc& field) {
    switch (field.role) {
    case FieldRole::SelectChannel: return "chosen with --channel";
    case FieldRole::SelectIndex: return "chosen with --index";
    case FieldRole::ReadOnly: return "read only: the Set does not send it";
    case FieldRole::Unused: return "not used by the camera";
    case FieldRole::Value: break;
    }
    return "";
}

size_t widest(const RecordDesc& record) {
    size_t width = 0;
    for (const FieldDesc& field : record) width = std::max(width, std::strlen(field.name));
    return width;
}

const Setting& settingNamed(const std::string& name) {
    const Setting* setting = findSetting(name);
    if (setting == nullptr) usageError("unknown setting '" + name + "'" + suggestion(name, settingNames()));
    return *setting;
}

Selection selectionFor(const Args& args, const Setting& setting) {
    if (args.has("index") && setting.indexUse == nullptr)
        usageError(std::string(setting.name) + " takes no --index");
    return Selection{channelOf(args), static_cast<int>(args.number("index", 1, -1, 65535))};
}

void listOne(const Setting& setting, bool json, bool first) {
    FILE* o = out();
    if (json) {
        std::fprintf(o, "%s{\"name\":%s,\"record\":%s,\"access\":\"%s\",\"index\":%s,\"fields\":[", first ? "" : ",",
                     jsonString(setting.name).c_str(), jsonString(setting.record.name).c_str(),
                     setting.set ? "get set" : "get", setting.indexUse ? jsonString(setting.indexUse).c_str() : "null");
        bool firstField = true;
        for (const FieldDesc& field : setting.record) {
            std::fprintf(o, "%s{\"name\":%s,\"type\":\"%s\",\"offset\":%zu,\"note\":%s}", firstField ? "" : ",",
                         jsonString(field.name).c_str(), typeName(field), field.offset,
                         jsonString(roleNote(field)).c_str());
            firstField = false;
        }
        std::fprintf(o, "]}");
        return;
    }
    std::fprintf(o, "%-24s %-26s %s", setting.name, setting.record.name, setting.set ? "get set" : "get");
    if (setting.indexUse) std::fprintf(o, "   --index: %s", setting.indexUse);
    std::fprintf(o, "\n");
    const int width = static_cast<int>(widest(setting.record));
    for (const FieldDesc& field : setting.record)
        std::fprintf(o, "    %-*s  %-*s%s\n", width, field.name, *roleNote(field) ? 11 : 0, typeName(field),
                     roleNote(field));
}

// One field a line; with a prefix ("NetConfig.") when several settings are printed.
void printRecord(const RecordDesc& record, const void* data, const std::string& prefix) {
    const int width = static_cast<int>(widest(record) + prefix.size());
    for (const FieldDesc& field : record)
        if (field.role != FieldRole::Unused)
            std::fprintf(out(), "%-*s  %s\n", width, (prefix + field.name).c_str(), formatField(field, data).c_str());
}

// A change `set` was asked for, checked against the description.
struct Assignment {
    const FieldDesc* field;
    std::string value;
};

std::vector<Assignment> parseAssignments(const Setting& setting, const std::vector<std::string>& words) {
    std::vector<Assignment> assignments;
    std::vector<unsigned char> scratch(setting.record.size);
    for (const std::string& word : words) {
        const size_t equals = word.find('=');
        if (equals == std::string::npos) usageError("'" + word + "' is not FIELD=VALUE");
        const std::string name = word.substr(0, equals);
        const FieldDesc* field = setting.record.find(name);
        if (field == nullptr)
            usageError(std::string(setting.name) + " has no field '" + name + "'" +
                       suggestion(name, setting.record.names()));
        if (field->role != FieldRole::Value)
            usageError(std::string(setting.name) + "." + field->name + " cannot be set: " + roleNote(*field));
        std::string why;
        if (!parseField(*field, word.substr(equals + 1), scratch.data(), why))
            usageError(std::string(setting.name) + "." + field->name + ": '" + word.substr(equals + 1) + "' " + why);
        assignments.push_back({field, word.substr(equals + 1)});
    }
    return assignments;
}

}  // namespace

std::vector<unsigned char> readNamed(const Camera& camera, const char* name, const Selection& selection) {
    const Setting& setting = settingNamed(name);
    std::vector<unsigned char> record(setting.record.size);
    camera.check(readSetting(setting, camera.id(), selection, record.data()), std::string("Get") + setting.name);
    return record;
}

int runList(const Args& args) {
    expectWords(args, 0, "", true);
    std::vector<const Setting*> chosen;
    for (const std::string& word : args.words) chosen.push_back(&settingNamed(word));
    if (chosen.empty())
        for (const Setting& setting : settings()) chosen.push_back(&setting);
    if (args.json()) std::fprintf(out(), "[");
    for (size_t i = 0; i < chosen.size(); ++i) listOne(*chosen[i], args.json(), i == 0);
    if (args.json()) std::fprintf(out(), "]\n");
    return kExitOk;
}

int runGet(const Args& args) {
    expectWords(args, 2, "ADDRESS NAME...", true);
    std::vector<const Setting*> wanted;
    for (size_t i = 1; i < args.words.size(); ++i) wanted.push_back(&settingNamed(args.words[i]));
    const bool several = wanted.size() > 1;
    // With several names, --index goes to those that have numbered items.
    if (!several) selectionFor(args, *wanted[0]);
    const Selection selection{channelOf(args), static_cast<int>(args.number("index", 1, -1, 65535))};
    Camera camera(args, args.words[0]);
    FILE* o = out();
    if (args.json() && several) std::fprintf(o, "{");
    for (size_t i = 0; i < wanted.size(); ++i) {
        const Setting& setting = *wanted[i];
        const std::vector<unsigned char> record = readNamed(camera, setting.name, selection);
        if (!args.json())
            printRecord(setting.record, record.data(), several ? std::string(setting.name) + "." : "");
        else if (several)
            std::fprintf(o, "%s%s:%s", i ? "," : "", jsonString(setting.name).c_str(),
                         recordJson(setting.record, record.data()).c_str());
        else
            std::fprintf(o, "%s\n", recordJson(setting.record, record.data()).c_str());
    }
    if (args.json() && several) std::fprintf(o, "}\n");
    return kExitOk;
}

int runSet(const Args& args) {
    expectWords(args, 3, "ADDRESS NAME FIELD=VALUE...", true);
    const Setting& setting = settingNamed(args.words[1]);
    if (setting.set == nullptr) usageError(std::string(setting.name) + " is read only");
    const auto assignments =
        parseAssignments(setting, std::vector<std::string>(args.words.begin() + 2, args.words.end()));
    const Selection selection = selectionFor(args, setting);
    Camera camera(args, args.words[0]);
    const std::vector<unsigned char> before = readNamed(camera, setting.name, selection);
    std::vector<unsigned char> after = before;
    std::string why;
    for (const Assignment& change : assignments) parseField(*change.field, change.value, after.data(), why);
    camera.check(setting.set(camera.id(), selection, after.data()), std::string("Set") + setting.name);

    FILE* o = out();
    bool first = true;
    if (args.json()) std::fprintf(o, "{");
    for (const Assignment& change : assignments) {
        const FieldDesc& field = *change.field;
        if (args.json())
            std::fprintf(o, "%s%s:{\"old\":%s,\"new\":%s}", first ? "" : ",", jsonString(field.name).c_str(),
                         jsonField(field, before.data()).c_str(), jsonField(field, after.data()).c_str());
        else
            std::fprintf(o, "%s: %s -> %s\n", field.name, formatField(field, before.data()).c_str(),
                         formatField(field, after.data()).c_str());
        first = false;
    }
    if (args.json()) std::fprintf(o, "}\n");
    return kExitOk;
}

}  // namespace kovo::cli
