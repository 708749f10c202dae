#include "sdk/ParamFrame.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "rtsp/rtsp.h"
#include "sdk/Device.h"
#include "sdk/LastError.h"

namespace kovo::param {

namespace {

const char kContentType[] = "Content-type: text/parameters";

template <typename T>
T* member(void* record, size_t offset) {
    return reinterpret_cast<T*>(static_cast<char*>(record) + offset);
}
template <typename T>
const T* member(const void* record, size_t offset) {
    return reinterpret_cast<const T*>(static_cast<const char*>(record) + offset);
}

std::string keyOf(const Field& field, const char* prefix) {
    return std::string(prefix ? prefix : "") + field.key;
}

}  // namespace

long outcome(long code) {
    switch (code) {
        case kInvalidArg:
            return kovo::failWith(KOVO_ERR_INVALID_ARG, code);
        case kNoDevice:
        case -kNoDevice:  // Kovo_PTZControl's unknown device
            return kovo::failWith(KOVO_ERR_NO_DEVICE, code);
        default:
            return kovo::exchangeOutcome(code);
    }
}

long traceAndReturn(const char* text, int line, long code) {
    if (text) KovoTrace(text, line);
    return outcome(code);
}

long reject(const Messages& msgs, int line) { return traceAndReturn(msgs.invalid, line, kInvalidArg); }

long noDevice(const Messages& msgs, int line) { return traceAndReturn(msgs.noDevice, line, kNoDevice); }

const char* Words::wordFor(int value) const {
    if (value >= 0 && value < count && names[value]) return names[value];
    return names[setOther];
}

int Words::valueOf(const char* word) const {
    for (int i = 0; i < count; ++i) {
        if (names[i] && std::strcmp(names[i], word) == 0) return i;
    }
    return getOther;
}

int switchOn(const char* value) { return std::strcmp(value, "ON") == 0 ? 1 : 0; }

int switchOff(const char* value) { return std::strcmp(value, "OFF") == 0 ? 0 : 1; }

const char* onOff(int value) { return value ? "ON" : "OFF"; }

void copyBounded(char* dst, size_t limit, const char* value) {
    std::memset(dst, 0, limit);
    std::memcpy(dst, value, strnlen(value, limit));
}

std::string composeLine(const Field& field, const void* record, const char* prefix) {
    std::string line = keyOf(field, prefix) + ": ";
    char number[48];
    switch (field.rule) {
        case Rule::Text: {
            // The array may be full without a terminator: send exactly its characters.
            const char* text = member<char>(record, field.offset);
            line.append(text, strnlen(text, field.size));
            return line;
        }
        case Rule::Int:
        case Rule::IntScan:
        case Rule::IntWordGet:
            std::snprintf(number, sizeof number, "%d", *member<int>(record, field.offset));
            break;
        case Rule::IntPair:
            std::snprintf(number, sizeof number, "%d, %d", *member<int>(record, field.offset),
                          *member<int>(record, field.offset2));
            break;
        case Rule::SwitchOn:
        case Rule::SwitchOff:
            return line + onOff(*member<int>(record, field.offset));
        case Rule::Long:
            std::snprintf(number, sizeof number, "%ld", *member<long>(record, field.offset));
            break;
        case Rule::Word:
            return line + field.words->wordFor(*member<int>(record, field.offset));
    }
    return line + number;
}

void convertAnswer(const Field& field, const char* value, void* record) {
    switch (field.rule) {
        case Rule::Text:
            copyBounded(member<char>(record, field.offset),
                        field.readLimit ? field.readLimit : field.size, value);
            return;
        case Rule::Int:
            *member<int>(record, field.offset) = std::atoi(value);
            return;
        case Rule::IntScan:
            std::sscanf(value, "%d", member<int>(record, field.offset));
            return;
        case Rule::IntPair:
            std::sscanf(value, "%d, %d", member<int>(record, field.offset),
                        member<int>(record, field.offset2));
            return;
        case Rule::SwitchOn:
            *member<int>(record, field.offset) = switchOn(value);
            return;
        case Rule::SwitchOff:
            *member<int>(record, field.offset) = switchOff(value);
            return;
        case Rule::Long:
            *member<long>(record, field.offset) = std::atol(value);
            return;
        case Rule::Word:
        case Rule::IntWordGet:
            *member<int>(record, field.offset) = field.words->valueOf(value);
            return;
    }
}

bool composeTextLine(const char* key, const char* text, std::string& line) {
    std::string composed = std::string(key) + ": " + text;
    if (composed.size() > kMaxFieldLine) return false;
    line = std::move(composed);
    return true;
}

Exchange::Exchange(long deviceId) : hold_(deviceId) {
    CDevice* device = hold_.get();
    if (!device) return;
    lock_ = std::unique_lock<std::recursive_mutex>(device->callLock);
    device_ = device;
    conn_ = device->stream.protocol == CONNECT_TYPE_TCP ? &device->control : &device->stream;
}

Exchange::~Exchange() = default;

void Exchange::addLine(std::string line) { lines_.push_back(std::move(line)); }

void Exchange::addKeys(const Table& table, const char* prefix) {
    for (const Field& field : table) lines_.push_back(keyOf(field, prefix));
}

void Exchange::addValues(const Table& table, const void* record, const char* prefix) {
    for (const Field& field : table) lines_.push_back(composeLine(field, record, prefix));
}

void Exchange::scheduleHeaderNow() {
    if (headerScheduled_) return;
    headerScheduled_ = true;
    rtsp_schedule_field(conn_, kContentType);
    const size_t idLength = strnlen(conn_->clientid, sizeof conn_->clientid);
    if (idLength > 0) {
        std::string line = "ClientID: " + std::string(conn_->clientid, idLength);
        rtsp_schedule_field(conn_, line.c_str());
    }
}

int Exchange::send(bool set) {
    // The links are being replaced (reconnection): fail at once.
    if (device_->linkDown) {
        lines_.clear();
        kovo::setLastError(KOVO_ERR_CLOSED);
        return 0;
    }
    scheduleHeaderNow();
    for (const std::string& line : lines_) rtsp_schedule_field(conn_, line.c_str());
    lines_.clear();
    headerScheduled_ = false;
    const CConnect& addressed = ownMrl_ ? *conn_ : device_->stream;
    const std::string url = "rtsp://" + std::string(addressed.mrl, strnlen(addressed.mrl, sizeof addressed.mrl));
    return set ? rtsp_request_setparameter(conn_, url.c_str())
               : rtsp_request_getparameter(conn_, url.c_str());
}

const char* Exchange::answer(const std::string& key) const {
    return rtsp_search_answers(conn_, key.c_str());
}

void Exchange::readInto(const Table& table, void* record, const char* prefix) const {
    for (const Field& field : table) {
        if (const char* value = answer(keyOf(field, prefix))) convertAnswer(field, value, record);
    }
}

long Exchange::finishGet(const Table& table, void* record, const Messages& msgs, int line) {
    addKeys(table);
    if (send(false) != 200) return traceAndReturn(msgs.failed, line, kFailed);
    readInto(table, record);
    return traceAndReturn(msgs.success, line, kOk);
}

long Exchange::finishSet(const Messages& msgs, int line) {
    if (send(true) != 200) return traceAndReturn(msgs.failed, line, kFailed);
    return traceAndReturn(msgs.success, line, kOk);
}

long getRecord(long deviceId, int channel, void* record, const Table& table, const Messages& msgs,
               int line) {
    if (!validDevice(deviceId) || !validChannel(channel) || !record) return reject(msgs, line);
    Exchange ex(deviceId);
    if (!ex.found()) return noDevice(msgs, line);
    return ex.finishGet(table, record, msgs, line);
}

long setRecord(long deviceId, int channel, const void* record, const Table& table,
               const Messages& msgs, int line) {
    if (!validDevice(deviceId) || !validChannel(channel) || !record) return reject(msgs, line);
    Exchange ex(deviceId);
    if (!ex.found()) return noDevice(msgs, line);
    ex.addValues(table, record);
    return ex.finishSet(msgs, line);
}

long getPlainText(long deviceId, int channel, char* buffer, const char* key, const Messages& msgs,
                  int line) {
    if (!validDevice(deviceId) || !validChannel(channel) || !buffer) return reject(msgs, line);
    Exchange ex(deviceId);
    if (!ex.found()) return noDevice(msgs, line);
    ex.addLine(key);
    if (ex.send(false) != 200) return traceAndReturn(msgs.failed, line, kFailed);
    // The caller's buffer has no stated size: the value is copied whole.
    if (const char* value = ex.answer(key)) std::strcpy(buffer, value);
    return traceAndReturn(msgs.success, line, kOk);
}

long setPlainText(long deviceId, int channel, const char* text, const char* key,
                  const Messages& msgs, int line) {
    if (!validDevice(deviceId) || !validChannel(channel) || !text) return reject(msgs, line);
    std::string field;
    if (!composeTextLine(key, text, field)) return reject(msgs, line);
    Exchange ex(deviceId);
    if (!ex.found()) return noDevice(msgs, line);
    ex.addLine(std::move(field));
    return ex.finishSet(msgs, line);
}

}  // namespace kovo::param
