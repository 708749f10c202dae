#include "Records.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "Cli.h"

namespace kovo::cli {
namespace {

const char* at(const FieldDesc& field, const void* record) {
    return static_cast<const char*>(record) + field.offset;
}

}  // namespace

const FieldDesc* RecordDesc::find(const std::string& member) const {
    for (const FieldDesc& field : *this)
        if (sameName(field.name, member)) return &field;
    return nullptr;
}

std::vector<std::string> RecordDesc::names() const {
    std::vector<std::string> list;
    for (const FieldDesc& field : *this) list.push_back(field.name);
    return list;
}

const char* typeName(const FieldDesc& field) {
    static thread_local std::string text;
    switch (field.type) {
    case FieldType::Int: return "int";
    case FieldType::Long: return "long";
    case FieldType::Text: break;
    }
    text = "text[" + std::to_string(field.size) + "]";
    return text.c_str();
}

std::string formatField(const FieldDesc& field, const void* record) {
    const char* where = at(field, record);
    switch (field.type) {
    case FieldType::Int: {
        int value;
        std::memcpy(&value, where, sizeof value);
        return std::to_string(value);
    }
    case FieldType::Long: {
        long value;
        std::memcpy(&value, where, sizeof value);
        return std::to_string(value);
    }
    case FieldType::Text: break;
    }
    return std::string(where, strnlen(where, field.size));
}

std::string jsonField(const FieldDesc& field, const void* record) {
    const std::string text = formatField(field, record);
    return field.type == FieldType::Text ? jsonString(text) : text;
}

std::string recordJson(const RecordDesc& record, const void* data) {
    std::string json = "{";
    for (const FieldDesc& field : record) {
        if (field.role == FieldRole::Unused) continue;
        if (json.size() > 1) json += ",";
        json += jsonString(field.name) + ":" + jsonField(field, data);
    }
    return json + "}";
}

bool parseField(const FieldDesc& field, const std::string& text, void* record, std::string& why) {
    char* where = static_cast<char*>(record) + field.offset;
    if (field.type == FieldType::Text) {
        // One byte stays for the terminator; line breaks would end the
        // request line that carries the value.
        if (text.size() >= field.size) {
            why = "is longer than " + std::to_string(field.size - 1) + " characters";
            return false;
        }
        for (unsigned char c : text)
            if (c < 0x20 || c == 0x7f) {
                why = "contains a control character";
                return false;
            }
        std::memset(where, 0, field.size);
        std::memcpy(where, text.data(), text.size());
        return true;
    }
    errno = 0;
    char* end = nullptr;
    const long long value = std::strtoll(text.c_str(), &end, 10);
    const long long low = field.type == FieldType::Int ? INT_MIN : LONG_MIN;
    const long long high = field.type == FieldType::Int ? INT_MAX : LONG_MAX;
    if (text.empty() || *end != '\0' || errno == ERANGE || value < low || value > high) {
        why = std::string("is not a whole number that fits ") + typeName(field);
        return false;
    }
    if (field.type == FieldType::Int) {
        const int number = static_cast<int>(value);
        std::memcpy(where, &number, sizeof number);
    } else {
        const long number = static_cast<long>(value);
        std::memcpy(where, &number, sizeof number);
    }
    return true;
}

}  // namespace kovo::cli
