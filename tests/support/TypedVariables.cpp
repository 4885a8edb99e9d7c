#include "support/TypedVariables.h"

#include <bit>
#include <cstdio>

namespace zq::test {

std::string Printable(std::wstring_view text) {
    std::string out;
    for (const wchar_t unit : text) {
        if (unit >= 32 && unit < 127) {
            out += static_cast<char>(unit);
            continue;
        }
        char escape[16];
        std::snprintf(escape, sizeof(escape), "\\x%X", static_cast<unsigned>(unit));
        out += escape;
    }
    return out;
}

TypedVariables& TypedVariables::Set(Type type, std::wstring_view name, Value value) {
    m_values[{type, std::wstring(name)}] = std::move(value);
    return *this;
}

TypedVariables& TypedVariables::Bool(std::wstring_view name, uint8_t value) {
    return Set(Type::Bool, name, uint64_t{value});
}

TypedVariables& TypedVariables::Int64(std::wstring_view name, int64_t value) {
    return Set(Type::Int64, name, static_cast<uint64_t>(value));
}

TypedVariables& TypedVariables::Double(std::wstring_view name, double value) {
    return Set(Type::Double, name, std::bit_cast<uint64_t>(value));
}

TypedVariables& TypedVariables::String(std::wstring_view name, std::wstring_view value) {
    return Set(Type::String, name, std::wstring(value));
}

TypedVariables& TypedVariables::Number(std::wstring_view name, int64_t value) {
    return Int64(name, value).Double(name, static_cast<double>(value));
}

void PrintTo(const TypedVariables& variables, std::ostream* out) {
    static const char* const kNames[] = {"bool", "integer", "double", "string"};
    for (const auto& [key, value] : variables.m_values) {
        *out << "\n  " << kNames[static_cast<int>(key.first)] << ' ' << Printable(key.second) << " = ";
        if (const auto* text = std::get_if<std::wstring>(&value)) {
            *out << '"' << Printable(*text) << '"';
        } else if (key.second.empty() || kNames[static_cast<int>(key.first)][0] != 'd') {
            *out << static_cast<int64_t>(std::get<uint64_t>(value));
        } else {
            *out << std::bit_cast<double>(std::get<uint64_t>(value));
        }
    }
}

} // namespace zq::test
