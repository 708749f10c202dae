// The simulated camera's settings: every key the SDK reads or writes, with
// plausible values, shared by all connections (one camera, one configuration).
//
// Some keys belong to a numbered item (encoder stream, motion area, alarm
// contact, mail recipient, serial port). A request names the item with a
// selector line - bare "EncStream_02" in a read, "EncStream: 2" in a write -
// and the item's keys in the same request read and write that item's values.
#ifndef KOVO_CAMSIM_PARAMSTORE_H
#define KOVO_CAMSIM_PARAMSTORE_H

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "Options.h"

namespace camsim {

class ParamStore {
public:
    explicit ParamStore(const Options& options);

    // GET_PARAMETER: one "key: value" answer line per known key requested,
    // in request order. Lines that are not parameter keys must be filtered
    // out by the caller.
    std::vector<std::string> read(const std::vector<std::string>& lines);

    // SET_PARAMETER: stores every "key: value" line; bare lines are ignored.
    void write(const std::vector<std::string>& lines);

private:
    struct Scope {
        std::string selector;  // "" when no item is selected
        std::string index;
    };

    Scope requestScope(const std::vector<std::string>& lines) const;
    bool selectorOf(const std::string& key, const std::string& value, Scope& scope) const;
    std::string scopedKey(const Scope& scope, const std::string& key) const;
    bool lookup(const Scope& scope, const std::string& key, std::string& value) const;
    std::string nextFileListPage();
    void rebuildFileList();

    mutable std::mutex mutex_;
    std::map<std::string, std::string> values_;
    std::vector<std::string> files_;  // results of the last file search
    size_t fileCursor_ = 0;            // next name to hand out
};

// Fills the store's map with the factory settings.
void loadDefaults(std::map<std::string, std::string>& values, const Options& options);

// Members of each numbered item, by selector key.
const std::map<std::string, std::vector<std::string>>& scopedFamilies();

}  // namespace camsim

#endif
