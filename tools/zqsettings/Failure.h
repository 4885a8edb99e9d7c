// What ends a command: one sentence for stderr, behind which the program exits with 1.
#pragma once

#include <stdexcept>

namespace zq::tool {

// The text is UTF-8 and ends without a full stop.
class Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace zq::tool
