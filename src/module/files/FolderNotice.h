// What a completed request for changes of the data folder means for the private files.
//
// Only the first record counts, with two exceptions. Records of the module's own temporary files and of the
// folders "rejected" and "kept" are passed over when the first one is chosen. And where the first record is
// about a file that the same completion reports as renamed, its last name counts too: a save by a temporary
// file and a rename is seen. A change of some other file in front hides what follows; the root member
// "FollowEveryChange" of the settings file has the watcher look for such changes too.
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

// Which of the three files any of the records is about, hidden or not.
using NamedFiles = std::array<bool, kConfigFiles.size()>;
NamedFiles FilesNamedIn(std::span<const std::byte> records);

} // namespace zq
