// What all walkers share: which map a scalar goes to, and the name that is being built.
//
// Portable.
#pragma once

#include "config/FlattenTrace.h"
#include "config/JsonValue.h"
#include "variables/VariableBatch.h"

#include <string>
#include <string_view>

namespace zq {

inline bool AddScalarVariable(std::wstring_view name, const JsonValue& value, VariableBatch& batch) {
    switch (value.kind) {
    case JsonKind::Bool:
        batch.AddBool(name, value.boolean);
        return true;
    case JsonKind::Integer:
        batch.AddNumber(name, value.integer);
        return true;
    case JsonKind::Double:
        batch.AddDouble(name, value.real);
        return true;
    case JsonKind::String:
        batch.AddString(name, GetJsonString(value));
        return true;
    default:
        return false;
    }
}

// Adds the variables of a scalar; returns false, and adds nothing, for null and for containers.
inline bool AddScalar(std::wstring_view name, const JsonValue& value, VariableBatch& batch,
                      FlattenTrace* trace) {
    if (!AddScalarVariable(name, value, batch)) {
        return false;
    }
    TellAdded(trace, value);
    return true;
}

// The name of the place that a walker is at: grown on the way down, cut on the way up.
class NameBuffer {
public:
    explicit NameBuffer(std::wstring_view prefix) : m_name(prefix) {}

    size_t Length() const { return m_name.size(); }
    void CutTo(size_t length) { m_name.resize(length); }

    // Appends a key, behind a point unless it is the first.
    void AppendKey(std::wstring_view key) {
        if (!m_name.empty()) {
            m_name += L'.';
        }
        m_name += key;
    }
    void Append(std::wstring_view text) { m_name += text; }
    void Replace(std::wstring_view text) { m_name = text; }

    std::wstring_view View() const { return m_name; }
    const wchar_t* Text() const { return m_name.c_str(); }
    const std::wstring& String() const { return m_name; }

private:
    std::wstring m_name;
};

} // namespace zq
