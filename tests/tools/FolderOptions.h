// The options that point the tool at a test's folders.
#pragma once

#include "support/win32/Folders.h"

#include <string>

namespace zq::test {

inline std::wstring DataOption(const ModuleFolders& folders) {
    return L" --data \"" + folders.CommonDataDir() + L'"';
}

inline std::wstring DefaultsOption(const ModuleFolders& folders) {
    return L" --defaults \"" + folders.DefaultDir() + L'"';
}

inline std::wstring FolderOptions(const ModuleFolders& folders) {
    return DataOption(folders) + DefaultsOption(folders);
}

} // namespace zq::test
