// A value as it is given on the command line, with the save slot that its type asks for.
#pragma once

#include "CZQModSettings.h"

#include <string>
#include <variant>

namespace zq::tool {

class SavedValue {
public:
    using Value = std::variant<bool, int64_t, double, std::string>;

    explicit SavedValue(Value value) : m_value(std::move(value)) {}

    const Value& Get() const { return m_value; }
    void Save(CZQModSettings& module, const wchar_t* name, ZQBool perDevice) const;

private:
    Value m_value;
};

// `type` is "bool", "integer", "double", "string", or empty for what the text looks like. Raises Failure for
// a text that is no value of its type.
SavedValue ParseSavedValue(const std::string& text, const std::string& type);

} // namespace zq::tool
