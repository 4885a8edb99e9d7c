// Why a save wrote nothing, in words.
#pragma once

#include "Failure.h"
#include "PrivateFiles.h"

#include "save/DocumentEdit.h"

#include <string>

namespace zq::tool {

// `what` is the member or device that was asked for.
std::string ReasonText(SaveResult result, const PrivateFile& file, const std::string& what);
ExitCode ExitCodeOf(SaveResult result);

} // namespace zq::tool
