// One visitor out of several functions.
#pragma once

namespace zq::tool {

template <class... Functions>
struct Overloads : Functions... {
    using Functions::operator()...;
    // Without this a type that has no function of its own would be converted to another one's.
    template <class Other>
    void operator()(const Other&) const = delete;
};
template <class... Functions>
Overloads(Functions...) -> Overloads<Functions...>;

} // namespace zq::tool
