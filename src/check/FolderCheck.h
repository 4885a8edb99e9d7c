// Checks that need all files of one folder.
//
// Portable.
#pragma once

#include "check/FileCheck.h"

#include <span>

namespace zq {

// Warns of each variable that two of the files set, at the one that is lost, and of names of headsets that
// the other files do not have. The files are those of one folder, in the order in which the module loads
// them.
void CheckAcrossFiles(std::span<FileCheck* const> files);

} // namespace zq
