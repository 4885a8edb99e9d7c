// What only shows when the files of one folder are looked at together.
//
// Portable.
#pragma once

#include "check/FileCheck.h"

#include <span>

namespace zq {

// Warns, at the place that loses, of each variable that two of the files set. The files are those of one
// folder, in the order in which the module loads them.
void CheckAcrossFiles(std::span<FileCheck* const> files);

} // namespace zq
