// What one query cost: for tools that show where the time of a survey goes.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>

namespace zq {

struct WmiQueryReport {
    const wchar_t* query;             // its text; lives as long as the program
    int32_t result;                   // the HRESULT of the call that ended the query; negative for a failure
    size_t objects;                   // how many were visited
    std::chrono::nanoseconds elapsed; // of the query and its objects' visits together
};

using WmiQueryObserver = std::function<void(const WmiQueryReport&)>;

} // namespace zq
