// A whole number in decimal digits, as a part of a variable's name. The library's own goes through printf,
// which takes longer than all else of such a name.
//
// Portable.
#pragma once

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>

namespace zq {

class Decimal {
public:
    explicit Decimal(int64_t number) {
        char digits[kMostUnits];
        const char* end = std::to_chars(std::begin(digits), std::end(digits), number).ptr;
        m_length = static_cast<size_t>(end - digits);
        std::copy_n(digits, m_length, m_units);
    }
    std::wstring_view View() const { return {m_units, m_length}; }

private:
    static constexpr size_t kMostUnits = 20; // a sign and 19 digits

    wchar_t m_units[kMostUnits];
    size_t m_length;
};

} // namespace zq
