#include "Versions.h"

#include "ModuleLibrary.h"
#include "Text.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <vector>

#include <windows.h>

namespace zq::tool {

namespace {

std::string FileVersionText(const std::filesystem::path& file) {
    DWORD ignored = 0;
    const DWORD size = GetFileVersionInfoSizeW(file.c_str(), &ignored);
    std::vector<std::byte> block(size);
    VS_FIXEDFILEINFO* info = nullptr;
    UINT length = 0;
    if (size == 0 || !GetFileVersionInfoW(file.c_str(), 0, size, block.data()) ||
        !VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&info), &length)) {
        return std::filesystem::exists(file) ? "has no version" : "not found";
    }
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%u.%u.%u", HIWORD(info->dwFileVersionMS),
                  LOWORD(info->dwFileVersionMS), HIWORD(info->dwFileVersionLS));
    return text.data();
}

} // namespace

std::string VersionsText() {
    const std::filesystem::path module = ProgramPath().replace_filename(L"ZQModSettings.dll");
    return std::string("zqsettings ") + ZQ_VERSION + "\nZQModSettings.dll " + FileVersionText(module) + " (" +
           Utf8FromPath(module) + ")\nvariable packets 1\nJSON messages 1";
}

} // namespace zq::tool
