// The three configuration files: what differs between them stands here, what is done with them in
// ConfigFiles.cpp and in the folder watcher.
#pragma once

#include "module/CZQModSettingsImpl.h"

#include "config/ConfigText.h"

#include <array>
#include <string>

namespace zq {

struct ConfigFileRow {
    ConfigFile file;
    const wchar_t* name;
    std::wstring CZQModSettingsImpl::*defaultPath;
    std::wstring CZQModSettingsImpl::*privatePath;
    FileTime CZQModSettingsImpl::*time;
    Mutex CZQModSettingsImpl::*fileMutex;
    // Messages of a reload pass.
    const wchar_t* missing;
    const wchar_t* statFailed;
    const wchar_t* changed;
    const wchar_t* unchanged;

    static const std::array<ConfigFileRow, 3> kAll;
};

} // namespace zq
