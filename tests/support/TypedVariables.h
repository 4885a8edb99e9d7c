// A set of variables by type and name, for comparing what a document gave with what it should give. Values
// are compared bit by bit. Portable.
#pragma once

#include <cstdint>
#include <map>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

namespace zq::test {

// Text as far as ASCII shows it, the rest as \x escapes.
std::string Printable(std::wstring_view text);

class TypedVariables {
public:
    TypedVariables& Bool(std::wstring_view name, uint8_t value);
    TypedVariables& Int64(std::wstring_view name, int64_t value);
    TypedVariables& Double(std::wstring_view name, double value);
    TypedVariables& String(std::wstring_view name, std::wstring_view value);
    // What a whole number of a file becomes: an integer and a double.
    TypedVariables& Number(std::wstring_view name, int64_t value);

    size_t Size() const { return m_values.size(); }

    friend bool operator==(const TypedVariables&, const TypedVariables&) = default;
    friend void PrintTo(const TypedVariables& variables, std::ostream* out);

private:
    enum class Type { Bool, Int64, Double, String };
    using Value = std::variant<uint64_t, std::wstring>;

    TypedVariables& Set(Type type, std::wstring_view name, Value value);

    std::map<std::pair<Type, std::wstring>, Value> m_values;
};

} // namespace zq::test
