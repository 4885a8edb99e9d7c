#include "support/win32/Folders.h"

#include <atomic>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <windows.h>

namespace zq::test {

namespace fs = std::filesystem;

void WriteBytes(const fs::path& file, std::string_view bytes) {
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!out) {
        throw std::runtime_error("cannot write " + file.string());
    }
}

std::string ReadBytes(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        throw std::runtime_error("cannot read " + file.string());
    }
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

namespace {

// fs::remove_all never returns while a terminated thread holds a folder open.
void RemoveTree(const fs::path& folder) {
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(folder, ignored)) {
        if (entry.is_directory()) {
            RemoveTree(entry.path());
        } else {
            DeleteFileW(entry.path().c_str());
        }
    }
    RemoveDirectoryW(folder.c_str());
}

} // namespace

fs::path ProgramFolder() {
    std::wstring path(MAX_PATH, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), MAX_PATH));
    return fs::path(path).parent_path();
}

TempFolder::TempFolder() {
    static std::atomic<unsigned> next{0};
    // A process that was killed may have had the same number, and left what nobody can remove.
    do {
        m_path = fs::temp_directory_path() /
                 ("zqtest-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(next++));
    } while (!fs::create_directories(m_path));
}

TempFolder::~TempFolder() { RemoveTree(m_path); }

ModuleFolders::ModuleFolders() {
    fs::create_directories(InstallDir());
    fs::create_directories(DefaultDir());
    fs::create_directories(DataDir());
    WriteBytes(Default(kSettingsName),
               R"({"Source":"default","Level":1,"CL":[{"HD":"ALPHA1"},{"HD":"BETA2"}]})");
    WriteBytes(Default(kHmdListName), R"([{"DeviceName":"ALPHA1","Response":[)"
                                      R"({"MainRequest":1,"SubRequest":2,"index":0,"Value":[10,20,30]}]}])");
    WriteBytes(Default(kQualityName),
               R"({"ALPHA1":[{"Bitrate":70},{"Bitrate":50},{"Bitrate":30},{"Bitrate":100}]})");
}

} // namespace zq::test
