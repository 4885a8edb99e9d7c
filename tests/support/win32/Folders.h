// Real folders for tests: a separate scratch folder for each test, and a module's three folders inside one.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace zq::test {

inline constexpr const wchar_t* kSettingsName = L"ZQ2_serverSetting.setting";
inline constexpr const wchar_t* kHmdListName = L"ZQ2_HmdList.json";
inline constexpr const wchar_t* kQualityName = L"ZQ2_QualityPreset.json";

void WriteBytes(const std::filesystem::path& file, std::string_view bytes);
std::string ReadBytes(const std::filesystem::path& file);

// The folder of the test program, where the DLL and the default files lie too.
std::filesystem::path ProgramFolder();

// Made empty, removed with all it holds.
class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::filesystem::path& Path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

// The folders that DoInit is given, with small valid default files; the data folder is empty.
class ModuleFolders {
public:
    ModuleFolders();

    std::wstring HostPath() const { return (m_root.Path() / L"install" / L"host.exe").wstring(); }
    std::wstring DefaultDir() const { return (m_root.Path() / L"defaults").wstring(); }
    std::wstring CommonDataDir() const { return (m_root.Path() / L"common").wstring(); }
    std::filesystem::path InstallDir() const { return m_root.Path() / L"install"; }
    std::filesystem::path DataDir() const { return m_root.Path() / L"common" / L"ZQserver"; }
    std::filesystem::path Private(const wchar_t* name) const { return DataDir() / name; }
    std::filesystem::path Default(const wchar_t* name) const { return m_root.Path() / L"defaults" / name; }
    // Outside all three, on the same volume: for files that are renamed into the data folder.
    std::filesystem::path Outside(const wchar_t* name) const { return m_root.Path() / name; }

private:
    TempFolder m_root;
};

} // namespace zq::test
