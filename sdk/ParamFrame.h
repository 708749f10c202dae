// The parameter exchange shared by every settings export: each call is one
// GET_PARAMETER (bare keys) or SET_PARAMETER ("key: value" lines) request on
// the device's parameter connection, answered by "key: value" header lines.
//
// A record is described once, as a table of fields; the same table drives
// the lines of its Set and the conversion of its Get:
//
//   static const kovo::param::Field kFlipFields[] = {
//       KOVO_FIELD(VIDEO_FLIP, nVerticalFlip, "VerticalFlip", SwitchOn),
//       KOVO_FIELD(VIDEO_FLIP, nHorizontalFlip, "HorizontalFlip", SwitchOn),
//   };
//   static const kovo::param::Messages kGetFlip = {
//       "GetVideoFlip[%d] input invalid.\n", "GetVideoFlip[%d] device null.\n",
//       "GetVideoFlip [%d] get video flip failed.\n", "GetVideoFlip success.\n"};
//
//   long Kovo_GetVideoFlip(long lDeviceID, VIDEO_FLIP* pFlip) {
//       return kovo::param::getRecord(lDeviceID, kovo::param::kNoChannel, pFlip,
//                                     kFlipFields, kGetFlip, __LINE__);
//   }
//   (setRecord is the same for the Set.)
//
// Exports with checks or lines of their own drive an Exchange themselves;
// nothing reaches the connection before send(), so a late rejection leaves
// it untouched:
//
//   if (lDeviceID < 1 || !pRec) return kovo::param::reject(kMsgs, __LINE__);
//   kovo::param::Exchange ex(lDeviceID);          // looks up and locks the device
//   if (!ex.found()) return kovo::param::noDevice(kMsgs, __LINE__);
//   if (pRec->nMode > 2) return kovo::param::reject(kMsgs, __LINE__);
//   ex.addLine("SysManage: reboot");              // any literal line
//   ex.addValues(kTable, pRec);                   // "key: value" per field
//   return ex.finishSet(kMsgs, __LINE__);         // -2 / 0 with their traces
//
// A block of fields shared by several records under different key prefixes
// is one table used with a prefix: ex.addValues(kLinkBlock, &rec.block, "Alarm").
//
// The "[%d]" of a message is the caller's source line (__LINE__ of the export).
#ifndef KOVO_SDK_PARAMFRAME_H
#define KOVO_SDK_PARAMFRAME_H

#include <cstddef>
#include <mutex>
#include <string>
#include <type_traits>
#include <vector>

#include "sdk/Device.h"
#include "sdk/KovoSDK.h"

namespace kovo::param {

// Result codes of every parameter export.
constexpr long kOk = 0;
constexpr long kInvalidArg = -1;
constexpr long kFailed = -2;
constexpr long kNoDevice = -3;

// Longest header line the field buffer of a request holds.
constexpr size_t kMaxFieldLine = 255;

// Channel value for exports without a channel argument (passes the check).
constexpr int kNoChannel = 0;

inline bool validDevice(long id) { return id >= 1; }
inline bool validChannel(int channel) { return channel >= -1; }

// Trace texts of one export; a null entry means that outcome is silent.
// Every text receives the caller's line number as its first argument (texts
// without a conversion simply ignore it).
struct Messages {
    const char* invalid;   // -1
    const char* noDevice;  // -3
    const char* failed;    // -2
    const char* success;   // 0
};

// Traces msgs.invalid and returns -1.
long reject(const Messages& msgs, int line);
// Traces msgs.noDevice and returns -3.
long noDevice(const Messages& msgs, int line);
// Traces an arbitrary text with the line number and returns code.
long traceAndReturn(const char* text, int line, long code);
// Records code as the call's outcome (Kovo_GetLastError) and returns it;
// traceAndReturn and the helpers above do so for every code they return.
long outcome(long code);

// Value vocabulary of an enumerated field: names[i] is the word of value i.
// A Set of a value without a word sends names[setOther]; a Get of a word not
// in the list stores getOther. Null names are never sent nor matched.
struct Words {
    const char* const* names;
    int count;
    int setOther;
    int getOther;
    const char* wordFor(int value) const;
    int valueOf(const char* word) const;
};
template <size_t N>
constexpr Words words(const char* const (&names)[N], int setOther, int getOther) {
    return Words{names, static_cast<int>(N), setOther, getOther};
}

enum class Rule {
    Text,        // char[N]: Set "%s: %s" (at most N chars), Get zero then copy min(len, N)
    Int,         // int: Set "%s: %d", Get atoi
    IntScan,     // int: Set "%s: %d", Get sscanf "%d" (unchanged without digits)
    IntPair,     // two ints: Set "%s: %d, %d", Get sscanf "%d, %d" as far as it matches
    SwitchOn,    // int: Set "ON"/"OFF", Get 1 only for exactly "ON"
    SwitchOff,   // int: Set "ON"/"OFF", Get 0 only for exactly "OFF"
    Long,        // long: Set "%s: %ld", Get atol
    Word,        // int: Set and Get through Words
    IntWordGet,  // int: Set "%s: %d", Get through Words
};

struct Field {
    const char* key;
    Rule rule;
    size_t offset;
    size_t size;               // bytes of the member (the N of a char array)
    size_t offset2 = 0;        // IntPair: the second int
    const Words* words = nullptr;  // Word, IntWordGet
    size_t readLimit = 0;      // Text: bytes zeroed and copied on Get (0: size)
};

// Compile-time member checks used by the field macros.
template <typename Member, Rule R>
constexpr size_t checkedOffset(size_t offset) {
    if constexpr (R == Rule::Text) {
        static_assert(std::is_array_v<Member> && std::is_same_v<std::remove_extent_t<Member>, char>,
                      "text fields are char arrays");
    } else if constexpr (R == Rule::Long) {
        static_assert(std::is_same_v<Member, long>, "long fields are long");
    } else {
        static_assert(std::is_same_v<Member, int>, "numeric and switch fields are int");
    }
    return offset;
}

#define KOVO_FIELD_AT(Rec, member, key, rule_)                                                  \
    kovo::param::checkedOffset<decltype(Rec::member), kovo::param::Rule::rule_>(                 \
        offsetof(Rec, member))

// A field with one of the rules Text, Int, IntScan, SwitchOn, SwitchOff, Long.
#define KOVO_FIELD(Rec, member, key, rule_)                                                     \
    kovo::param::Field {                                                                        \
        key, kovo::param::Rule::rule_, KOVO_FIELD_AT(Rec, member, key, rule_), sizeof(Rec::member) \
    }
// A text field whose Get zeroes and fills only the first `limit` bytes.
#define KOVO_TEXT_BOUNDED(Rec, member, key, limit)                                              \
    kovo::param::Field {                                                                        \
        key, kovo::param::Rule::Text, KOVO_FIELD_AT(Rec, member, key, Text), sizeof(Rec::member), \
            0, nullptr, (limit)                                                                 \
    }
// An int field whose value travels as a word (rule_ Word or IntWordGet).
#define KOVO_WORD_FIELD(Rec, member, key, rule_, wordsPtr)                                      \
    kovo::param::Field {                                                                        \
        key, kovo::param::Rule::rule_, KOVO_FIELD_AT(Rec, member, key, Int), sizeof(int), 0, (wordsPtr) \
    }
// Two int fields sent and read as one "x, y" value.
#define KOVO_PAIR_FIELD(Rec, first, second, key)                                                \
    kovo::param::Field {                                                                        \
        key, kovo::param::Rule::IntPair, KOVO_FIELD_AT(Rec, first, key, Int), sizeof(int),      \
            KOVO_FIELD_AT(Rec, second, key, Int)                                                \
    }

// A record table: a view of a static array of fields.
class Table {
public:
    template <size_t N>
    constexpr Table(const Field (&fields)[N]) : fields_(fields), count_(N) {}
    const Field* begin() const { return fields_; }
    const Field* end() const { return fields_ + count_; }
    size_t size() const { return count_; }

private:
    const Field* fields_;
    size_t count_;
};

// The line a Set sends for one field ("key: value"), key prefixed.
std::string composeLine(const Field& field, const void* record, const char* prefix = "");
// Converts one answer value into the record's field.
void convertAnswer(const Field& field, const char* value, void* record);

// "key: value" for a caller's plain text; false (nothing composed) when the
// line would not fit the 255-character field buffer.
bool composeTextLine(const char* key, const char* text, std::string& line);

// Value conversions shared with exports that read answers by hand.
int switchOn(const char* value);   // 1 only for exactly "ON"
int switchOff(const char* value);  // 0 only for exactly "OFF"
const char* onOff(int value);      // "ON" when non-zero, else "OFF"
// Zeroes limit bytes of dst, then copies min(strlen(value), limit) bytes.
void copyBounded(char* dst, size_t limit, const char* value);

// One exchange with one device. Looking the device up takes its call lock,
// held until the object is destroyed, so that threads sharing a device never
// interleave fields and replies. Lines are only collected until send().
class Exchange {
public:
    explicit Exchange(long deviceId);
    ~Exchange();
    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;

    bool found() const { return device_ != nullptr; }
    CDevice* device() const { return device_; }
    // The connection parameter traffic uses: control while the stream
    // connection carries interleaved media, else stream.
    CConnect* connection() const { return conn_; }

    // Address the request with the chosen connection's own mrl instead of
    // the stream connection's.
    void useConnectionMrl() { ownMrl_ = true; }

    void addLine(std::string line);
    void addKeys(const Table& table, const char* prefix = "");
    void addValues(const Table& table, const void* record, const char* prefix = "");

    // Schedules "Content-type" and the optional "ClientID" at once, ahead of
    // the lines; send() then does not repeat them.
    void scheduleHeaderNow();

    // Schedules header and lines, sends, reads the reply; returns its status.
    int send(bool set);
    // The value of key in the reply just read, or null.
    const char* answer(const std::string& key) const;
    // Converts every present key of the table into the record.
    void readInto(const Table& table, void* record, const char* prefix = "") const;

    // Bare keys of the table, GET_PARAMETER, conversion: -2 or 0 with traces.
    long finishGet(const Table& table, void* record, const Messages& msgs, int line);
    // SET_PARAMETER of the collected lines: -2 or 0 with traces.
    long finishSet(const Messages& msgs, int line);

private:
    DeviceHold hold_;  // declared before the lock: released after it
    std::unique_lock<std::recursive_mutex> lock_;
    CDevice* device_ = nullptr;
    CConnect* conn_ = nullptr;
    bool ownMrl_ = false;
    bool headerScheduled_ = false;
    std::vector<std::string> lines_;
};

// The common shapes: device and channel checks, record not null, lookup,
// then the table's keys.
long getRecord(long deviceId, int channel, void* record, const Table& table, const Messages& msgs,
               int line);
long setRecord(long deviceId, int channel, const void* record, const Table& table,
               const Messages& msgs, int line);

// Single-key exports on a caller's plain buffer or text.
long getPlainText(long deviceId, int channel, char* buffer, const char* key, const Messages& msgs,
                  int line);
long setPlainText(long deviceId, int channel, const char* text, const char* key,
                  const Messages& msgs, int line);

}  // namespace kovo::param

#endif
