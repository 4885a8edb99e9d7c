// The versions of this program, of the module beside it, and of the forms that both write.
#pragma once

#include <string>

namespace zq::tool {

std::string VersionsText();

} // namespace zq::tool
