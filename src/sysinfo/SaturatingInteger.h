// The leading integer of a text, as the C library's atoi reads it: blanks, a sign, digits, and 0 if there are
// no digits. A number out of range becomes the nearest 32-bit number; atoi itself wraps in some run-time
// libraries.
#pragma once

#include <charconv>
#include <cstdint>
#include <limits>
#include <string_view>

namespace zq {

inline int32_t SaturatingInteger(std::string_view text) {
    const size_t start = text.find_first_not_of(" \t\n\v\f\r");
    text.remove_prefix(start == std::string_view::npos ? text.size() : start);
    const bool negative = text.starts_with('-');
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-')) {
            return 0;
        }
    }
    int32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc::result_out_of_range) {
        return negative ? std::numeric_limits<int32_t>::min() : std::numeric_limits<int32_t>::max();
    }
    return value;
}

} // namespace zq
