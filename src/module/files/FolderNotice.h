// What a completed request for changes of the data folder means for the private files.
//
// Only the first record counts, with two exceptions. Records of the module's own temporary files and of the
// folders "rejected" and "kept" are skipped. And if the same completion reports that the file of the first
// record was renamed, its last name counts too, so that a save by a temporary file and a rename is noticed.
// An earlier change of some other file hides later ones; the root member "FollowEveryChange" of the settings
// file makes the watcher check for those too.
//
// No state, no Win32 calls.
#pragma once

#include "config/ConfigFile.h"

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

namespace zq {

// Whether it is the name of one of the three files, ignoring the case of ASCII letters.
bool IsConfigFileName(std::wstring_view name);

// `records` are FILE_NOTIFY_INFORMATION records, as the system wrote them into the buffer.
bool IsAboutConfigFile(std::span<const std::byte> records);

// Returns which of the three files the records are about, hidden or not.
using NamedFiles = std::array<bool, kConfigFiles.size()>;
NamedFiles FilesNamedIn(std::span<const std::byte> records);

} // namespace zq
