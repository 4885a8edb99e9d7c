// The files of schemas/, compiled in.
//
// Portable. ASCII.
#pragma once

#include <string_view>

namespace zq {

extern const std::string_view kSettingsSchema;
extern const std::string_view kHmdListSchema;
extern const std::string_view kQualitySchema;
extern const std::string_view kModuleSchema; // variables that the module sets itself

} // namespace zq
