// What the flatteners of the three files share: which map a scalar goes to, and the name that is being built.
//
// Portable.
#pragma once

#include "base/ShortCopy.h"
#include "config/FlattenTrace.h"
#include "config/json/JsonValue.h"
#include "variables/VariableBatch.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace zq {

// Adds the variables of a scalar; returns false, and adds nothing, for null and for containers.
bool AddScalar(const BatchName& name, const JsonValue& value, VariableBatch& batch, FlattenTrace* trace);

// The name of the node that a flattener is at: grown on the way down, cut on the way up.
class NameBuffer {
public:
    explicit NameBuffer(std::wstring_view prefix) { Append(prefix); }

    size_t Length() const { return m_length; }
    void CutTo(size_t length) { m_length = length; }

    // Appends a key, after a point unless it is the first.
    void AppendKey(std::wstring_view key) {
        Reserve(key.size() + 1);
        if (m_length != 0) {
            m_buffer[m_length++] = L'.';
        }
        Put(key);
    }
    void Append(std::wstring_view text) {
        Reserve(text.size());
        Put(text);
    }
    void Replace(std::wstring_view text) {
        m_length = 0;
        Append(text);
    }

    std::wstring_view View() const { return {m_buffer.data(), m_length}; }
    std::wstring String() const { return std::wstring(View()); }

private:
    static constexpr size_t kFirstUnits = 128;

    void Reserve(size_t units) {
        if (units > m_buffer.size() - m_length) {
            m_buffer.resize(std::max({kFirstUnits, 2 * m_buffer.size(), m_length + units}));
        }
    }
    void Put(std::wstring_view text) {
        CopyShort(m_buffer.data() + m_length, text.data(), text.size() * sizeof(wchar_t));
        m_length += text.size();
    }

    std::wstring m_buffer; // its size is the capacity
    size_t m_length = 0;
};

} // namespace zq
