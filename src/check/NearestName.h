// Which of several known names a mistyped one was meant for.
//
// Portable.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace zq {

// How many letters have to be added, dropped, changed or swapped with their neighbour to make `b` of `a`;
// letters that differ only in case do not count. More than `limit` is returned as limit + 1.
size_t EditDistance(std::wstring_view a, std::wstring_view b, size_t limit);

// Whether `name` looks like `known` mistyped: it differs, by case or by few letters for its length, but not
// only in digits, which number things.
bool IsMistyped(std::wstring_view name, std::wstring_view known);

// The names nearest to `name`, best first, at most `count` of those that are near at all: those that few
// letters make of it, then those that hold it.
std::vector<std::wstring> NearestNames(std::wstring_view name, const std::vector<std::wstring>& known,
                                       size_t count);

} // namespace zq
