#include "ParamStore.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>

namespace camsim {
namespace {

const char kFileListKey[] = "QueryRecordFileList";
const char kRemainKey[] = "QueryRemainFileCount";
const size_t kFilesPerPage = 4;
const size_t kMaxFiles = 24;

// "key: value" -> key, value; a bare "key" has no value.
bool splitLine(const std::string& line, std::string& key, std::string& value) {
    size_t colon = line.find(':');
    if (colon == std::string::npos) {
        key = line;
        value.clear();
        return false;
    }
    key = line.substr(0, colon);
    size_t start = colon + 1;
    while (start < line.size() && line[start] == ' ') ++start;
    value = line.substr(start);
    return true;
}

// "EncStream_02" -> base "EncStream", index "2".
bool splitIndexedKey(const std::string& key, std::string& base, std::string& index) {
    size_t underscore = key.rfind('_');
    if (underscore == std::string::npos || underscore + 1 >= key.size()) return false;
    const char* digits = key.c_str() + underscore + 1;
    if (*digits == '-') ++digits;
    if (*digits == '\0') return false;
    for (const char* p = digits; *p; ++p)
        if (!std::isdigit(static_cast<unsigned char>(*p))) return false;
    base = key.substr(0, underscore);
    index = std::to_string(std::atoi(key.c_str() + underscore + 1));
    return true;
}

int secondsOf(const std::string& clock) {
    int h = 0, m = 0, s = 0;
    if (std::sscanf(clock.c_str(), "%d:%d:%d", &h, &m, &s) != 3) return -1;
    return h * 3600 + m * 60 + s;
}

}  // namespace

ParamStore::ParamStore(const Options& options) {
    loadDefaults(values_, options);
    rebuildFileList();
}

bool ParamStore::selectorOf(const std::string& key, const std::string& value, Scope& scope) const {
    const auto& families = scopedFamilies();
    if (!value.empty()) {
        if (families.count(key) == 0) return false;
        scope.selector = key;
        scope.index = std::to_string(std::atoi(value.c_str()));
        return true;
    }
    std::string base, index;
    if (!splitIndexedKey(key, base, index) || families.count(base) == 0) return false;
    scope.selector = base;
    scope.index = index;
    return true;
}

std::string ParamStore::scopedKey(const Scope& scope, const std::string& key) const {
    if (scope.selector.empty()) return key;
    const auto& members = scopedFamilies().at(scope.selector);
    for (const auto& member : members)
        if (member == key) return key + "@" + scope.index;
    return key;
}

bool ParamStore::lookup(const Scope& scope, const std::string& key, std::string& value) const {
    auto it = values_.find(scopedKey(scope, key));
    if (it == values_.end()) it = values_.find(key);  // an item without its own value shares the common one
    if (it == values_.end()) {
        // An indexed key of a family the camera knows ("TitleChar_2") answers with the family's value.
        std::string base, index;
        if (splitIndexedKey(key, base, index)) it = values_.find(base);
    }
    if (it == values_.end()) return false;
    value = it->second;
    return true;
}

// The item a request names applies to all of its lines, wherever the
// selector stands: the SDK asks for a serial port's protocol before its port.
ParamStore::Scope ParamStore::requestScope(const std::vector<std::string>& lines) const {
    Scope scope;
    for (const auto& line : lines) {
        std::string key, value;
        splitLine(line, key, value);
        if (selectorOf(key, value, scope)) break;
    }
    return scope;
}

std::vector<std::string> ParamStore::read(const std::vector<std::string>& lines) {
    std::lock_guard<std::mutex> lock(mutex_);
    std::vector<std::string> answers;
    Scope scope = requestScope(lines);
    for (const auto& line : lines) {
        std::string key, value;
        bool hasValue = splitLine(line, key, value);
        if (key.empty()) continue;
        if (selectorOf(key, value, scope)) {
            if (!hasValue) answers.push_back(key + ": " + scope.index);
            continue;
        }
        if (key == kFileListKey) {
            answers.push_back(key + ": " + nextFileListPage());
        } else if (key == kRemainKey) {
            answers.push_back(key + ": " + std::to_string(files_.size() - fileCursor_));
        } else if (lookup(scope, key, value)) {
            answers.push_back(key + ": " + value);
        }
    }
    return answers;
}

void ParamStore::write(const std::vector<std::string>& lines) {
    std::lock_guard<std::mutex> lock(mutex_);
    Scope scope = requestScope(lines);
    bool newSearch = false;
    for (const auto& line : lines) {
        std::string key, value;
        if (!splitLine(line, key, value) || key.empty()) continue;
        selectorOf(key, value, scope);
        if (key == "DeleteFile") {
            for (auto it = files_.begin(); it != files_.end(); ++it) {
                if (*it != value) continue;
                if (static_cast<size_t>(it - files_.begin()) < fileCursor_) --fileCursor_;
                files_.erase(it);
                break;
            }
        }
        if (key.compare(0, 11, "QueryRecord") == 0) newSearch = true;
        values_[scopedKey(scope, key)] = value;
    }
    if (newSearch) rebuildFileList();
}

// The recordings of the search criteria: one file every ten minutes between
// the start and end times, named after the time they begin.
void ParamStore::rebuildFileList() {
    files_.clear();
    fileCursor_ = 0;
    const bool jpeg = values_["QueryRecordFileType"] == "JPEG";
    const bool alarm = values_["QueryRecordMode"] == "Alarm";
    int start = secondsOf(values_["QueryRecordStartTime"]);
    int end = secondsOf(values_["QueryRecordEndTime"]);
    if (start < 0 || end < start) return;
    for (int t = start; t <= end && files_.size() < kMaxFiles; t += 600) {
        char name[64];
        std::snprintf(name, sizeof name, "%s%02d%02d%02d.%s", alarm ? "ALM_" : "REC_", t / 3600 % 24,
                      t / 60 % 60, t % 60, jpeg ? "jpg" : "avi");
        files_.push_back(name);
    }
}

// Names are sent as "name# " each: the SDK keeps a name only when a blank
// follows it. A list read to its end starts again at the next read.
std::string ParamStore::nextFileListPage() {
    if (fileCursor_ >= files_.size()) fileCursor_ = 0;
    std::string page;
    size_t end = fileCursor_ + kFilesPerPage;
    for (; fileCursor_ < files_.size() && fileCursor_ < end; ++fileCursor_) page += files_[fileCursor_] + "# ";
    return page;
}

}  // namespace camsim
