// What the DLL's own headers say: its one export, its imports, its protections, its version.
#include "support/win32/Folders.h"
#include "support/win32/ImportTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <windows.h>

namespace zq::test {
namespace {

struct FreeModule {
    void operator()(void* module) const { FreeLibrary(static_cast<HMODULE>(module)); }
};

// The DLL as the loader lays it out, without being run.
class DllImage {
public:
    DllImage()
        : m_module(LoadLibraryExW((ProgramFolder() / L"ZQModSettings.dll").c_str(), nullptr,
                                  DONT_RESOLVE_DLL_REFERENCES)) {
        if (!m_module) {
            throw std::runtime_error("ZQModSettings.dll is not beside the test program");
        }
    }

    const IMAGE_NT_HEADERS64& Headers() const {
        return *At<IMAGE_NT_HEADERS64>(static_cast<DWORD>(At<IMAGE_DOS_HEADER>(0)->e_lfanew));
    }

    std::vector<std::string> Exports() const {
        const auto* directory = At<IMAGE_EXPORT_DIRECTORY>(Directory(IMAGE_DIRECTORY_ENTRY_EXPORT));
        std::vector<std::string> names;
        for (DWORD i = 0; i < directory->NumberOfNames; ++i) {
            names.emplace_back(At<char>(At<DWORD>(directory->AddressOfNames)[i]));
        }
        // An entry without a name would be an export too; an empty entry of the table is not.
        const DWORD* functions = At<DWORD>(directory->AddressOfFunctions);
        EXPECT_EQ(directory->NumberOfNames,
                  directory->NumberOfFunctions -
                      static_cast<DWORD>(std::count(functions, functions + directory->NumberOfFunctions, 0)));
        return names;
    }

    std::set<std::string> Imports() const {
        std::set<std::string> names;
        for (const auto& [library, function] : ImportedFunctions(Handle())) {
            names.insert(library);
        }
        return names;
    }

    std::set<std::string> Functions() const {
        std::set<std::string> names;
        for (const auto& [library, function] : ImportedFunctions(Handle())) {
            names.insert(function);
        }
        return names;
    }

    // Returns the resource's bytes; empty if there is none.
    std::string VersionResource() const {
        const HMODULE module = Handle();
        const HRSRC resource = FindResourceW(module, MAKEINTRESOURCEW(VS_VERSION_INFO), RT_VERSION);
        if (!resource) {
            return {};
        }
        const HGLOBAL loaded = LoadResource(module, resource);
        return {static_cast<const char*>(LockResource(loaded)), SizeofResource(module, resource)};
    }

private:
    template <class Type>
    const Type* At(DWORD address) const {
        return reinterpret_cast<const Type*>(static_cast<const char*>(m_module.get()) + address);
    }
    HMODULE Handle() const { return static_cast<HMODULE>(m_module.get()); }
    DWORD Directory(int entry) const { return Headers().OptionalHeader.DataDirectory[entry].VirtualAddress; }

    std::unique_ptr<void, FreeModule> m_module;
};

TEST(Dll, ExportsCreateSettingsAndNothingElse) {
    EXPECT_EQ(std::vector<std::string>{"CreateSettings"}, DllImage().Exports());
}

TEST(Dll, ImportsSystemLibrariesOnly) {
    // Neither sockets (ws2_32) nor any other network are among them; advapi32 is what the stack protector of
    // the hardened build takes its random numbers from.
    const std::set<std::string> system = {"advapi32.dll", "iphlpapi.dll", "kernel32.dll",
                                          "msvcrt.dll",   "ole32.dll",    "oleaut32.dll"};

    const std::set<std::string> imports = DllImage().Imports();

    EXPECT_FALSE(imports.empty());
    for (const std::string& name : imports) {
        EXPECT_TRUE(system.contains(name)) << name;
    }
}

TEST(Dll, DoesNotStartProcessesOrWriteTheRegistry) {
    const std::set<std::string> functions = DllImage().Functions();

    EXPECT_TRUE(functions.contains("ReadDirectoryChangesW"));
    for (const char* start : {"CreateProcess", "WinExec", "ShellExecute", "system", "_wsystem", "_spawn",
                              "_wspawn", "_exec", "_wexec", "_popen", "_wpopen", "Reg"}) {
        const auto found = functions.lower_bound(start);
        EXPECT_FALSE(found != functions.end() && found->starts_with(start)) << *found;
    }
}

TEST(Dll, IsNoLargerThanAMegabyte) {
#ifdef NDEBUG
    EXPECT_LE(std::filesystem::file_size(ProgramFolder() / L"ZQModSettings.dll"), 1'048'576u);
#endif
}

TEST(Dll, IsFor64BitWindows) {
    const DllImage dll;

    EXPECT_EQ(IMAGE_FILE_MACHINE_AMD64, dll.Headers().FileHeader.Machine);
    EXPECT_TRUE(dll.Headers().FileHeader.Characteristics & IMAGE_FILE_DLL);
}

TEST(Dll, IsProtected) {
    const DllImage dll;

    const WORD flags = dll.Headers().OptionalHeader.DllCharacteristics;

    EXPECT_TRUE(flags & IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE);
    EXPECT_TRUE(flags & IMAGE_DLLCHARACTERISTICS_HIGH_ENTROPY_VA);
    EXPECT_TRUE(flags & IMAGE_DLLCHARACTERISTICS_NX_COMPAT);
    // Without relocations the address could not be chosen at random.
    EXPECT_NE(0u, dll.Headers().OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_BASERELOC].VirtualAddress);
    EXPECT_FALSE(dll.Headers().FileHeader.Characteristics & IMAGE_FILE_RELOCS_STRIPPED);
}

TEST(Dll, CarriesItsVersion) {
    const std::string resource = DllImage().VersionResource();

    // VS_FIXEDFILEINFO begins with this signature.
    EXPECT_NE(std::string::npos, resource.find(std::string("\xBD\x04\xEF\xFE", 4)));
    const std::wstring name = L"ZQModSettings.dll";
    EXPECT_NE(std::string::npos, resource.find(std::string(reinterpret_cast<const char*>(name.data()),
                                                           name.size() * sizeof(wchar_t))));
}

} // namespace
} // namespace zq::test
