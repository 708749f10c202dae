// The settings `get` and `set` know: one per Get export of the library
// (the export's name without Kovo_Get / Kovo_Set), with its record.
#ifndef KOVO_CLI_SETTINGS_H
#define KOVO_CLI_SETTINGS_H

#include <string>
#include <vector>

#include "Cli.h"
#include "Records.h"

namespace kovo::cli {

// Which camera item a call addresses: the channel argument of the exports
// that take one, and the numbered item (area, port, slot, OSD type).
struct Selection {
    int channel;
    int index;
};

using Invoke = long (*)(long deviceId, const Selection& selection, void* record);

struct Setting {
    const char* name;
    RecordDesc record;
    Invoke get;
    Invoke set;              // null: read only
    const char* indexUse;    // what --index selects, or null when unused
};

const std::vector<Setting>& settings();
const Setting* findSetting(const std::string& name);  // case-insensitive
std::vector<std::string> settingNames();

// Reads the setting into record (record.size bytes), selector fields filled.
long readSetting(const Setting& setting, long deviceId, const Selection& selection, void* record);
// The same by name, a failure ending the command.
std::vector<unsigned char> readNamed(const Camera& camera, const char* name, const Selection& selection);

}  // namespace kovo::cli

#endif
