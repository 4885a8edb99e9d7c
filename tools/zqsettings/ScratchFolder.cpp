#include "ScratchFolder.h"

#include <string>
#include <system_error>

#include <windows.h>

namespace zq::tool {

namespace fs = std::filesystem;

ScratchFolder::ScratchFolder() {
    // A process id is given anew to later programs: one that was killed may have left its folder behind.
    const std::wstring name = L"zqsettings-" + std::to_wstring(GetCurrentProcessId()) + L"-";
    for (int attempt = 0; m_path.empty(); ++attempt) {
        const fs::path path = fs::temp_directory_path() / (name + std::to_wstring(attempt));
        if (fs::create_directory(path)) {
            m_path = path;
        }
    }
}

ScratchFolder::~ScratchFolder() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

} // namespace zq::tool
