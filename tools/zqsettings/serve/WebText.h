// A finished text that several connections send.
#pragma once

#include <memory>
#include <string>

namespace zq::tool {

using WebText = std::shared_ptr<const std::string>;

} // namespace zq::tool
