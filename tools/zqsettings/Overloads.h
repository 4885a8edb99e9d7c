// One visitor out of several functions.
#pragma once

namespace zq::tool {

template <class... Functions>
struct Overloads : Functions... {
    using Functions::operator()...;
};
template <class... Functions>
Overloads(Functions...) -> Overloads<Functions...>;

} // namespace zq::tool
