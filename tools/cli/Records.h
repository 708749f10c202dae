// One description of each public record the tool reads and writes: member
// name, type and offset, taken from the record's declaration by the
// compiler. list, get and set all work from these tables and from the
// catalogue of settings built on them.
#ifndef KOVO_CLI_RECORDS_H
#define KOVO_CLI_RECORDS_H

#include <cstddef>
#include <string>
#include <type_traits>
#include <vector>

namespace kovo::cli {

enum class FieldType { Int, Long, Text };

// What a field is to `set`: a value, or something it must not change.
enum class FieldRole {
    Value,
    SelectChannel,  // names the item read or written; filled from --channel
    SelectIndex,    // the same, filled from --index
    ReadOnly,       // read back, but a Set does not send it
    Unused,         // neither sent nor read
};

struct FieldDesc {
    const char* name;
    FieldType type;
    size_t offset;
    size_t size;  // bytes; for text, the capacity of the char array
    FieldRole role;
};

template <typename Member>
constexpr FieldType fieldTypeOf() {
    static_assert(std::is_same_v<Member, int> || std::is_same_v<Member, long> ||
                      (std::is_array_v<Member> && std::is_same_v<std::remove_extent_t<Member>, char>),
                  "record members are int, long or char arrays");
    if constexpr (std::is_same_v<Member, int>) return FieldType::Int;
    else if constexpr (std::is_same_v<Member, long>) return FieldType::Long;
    else return FieldType::Text;
}

// KOVO_CLI_RECORD(Rec, KOVO_CLI_FIELD(member), ...) describes the record Rec
// as Rec_fields::fields; the members' types and offsets come from Rec itself.
#define KOVO_CLI_RECORD(Rec, ...)                                      \
    struct Rec##_fields {                                              \
        using Described = Rec;                                         \
        static constexpr kovo::cli::FieldDesc fields[] = {__VA_ARGS__}; \
    }
#define KOVO_CLI_FIELD_AS(member, role)                                                             \
    kovo::cli::FieldDesc {                                                                          \
        #member, kovo::cli::fieldTypeOf<decltype(Described::member)>(), offsetof(Described, member), \
            sizeof(Described::member), kovo::cli::FieldRole::role                                   \
    }
#define KOVO_CLI_FIELD(member) KOVO_CLI_FIELD_AS(member, Value)

struct RecordDesc {
    const char* name;  // the C type name
    size_t size;
    const FieldDesc* fields;
    size_t count;

    const FieldDesc* begin() const { return fields; }
    const FieldDesc* end() const { return fields + count; }
    const FieldDesc* find(const std::string& member) const;  // case-insensitive
    std::vector<std::string> names() const;
};

template <size_t N>
constexpr RecordDesc describe(const char* name, size_t size, const FieldDesc (&fields)[N]) {
    return RecordDesc{name, size, fields, N};
}

const char* typeName(const FieldDesc& field);  // "int", "long", "text[32]"
// The field's value as text (a text field up to its first NUL or its end).
std::string formatField(const FieldDesc& field, const void* record);
// The value as JSON: a number or a string.
std::string jsonField(const FieldDesc& field, const void* record);
// Every used field as one JSON object.
std::string recordJson(const RecordDesc& record, const void* data);
// Stores text into the field; false with the reason when it does not fit.
bool parseField(const FieldDesc& field, const std::string& text, void* record, std::string& why);

}  // namespace kovo::cli

#endif
