#include "support/win32/ImportTable.h"

#include <algorithm>
#include <cctype>

namespace zq::test {

namespace {

class ImportTable {
public:
    explicit ImportTable(HMODULE module)
        : m_base(reinterpret_cast<unsigned char*>(module ? module : GetModuleHandleW(nullptr))) {}

    // Calls visit(library, function, slot) for each function that is imported by name.
    template <class Visit>
    void ForEach(Visit visit) const {
        const auto* dos = At<IMAGE_DOS_HEADER>(0);
        const auto* headers = At<IMAGE_NT_HEADERS64>(static_cast<DWORD>(dos->e_lfanew));
        const IMAGE_DATA_DIRECTORY& imports =
            headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
        if (imports.VirtualAddress == 0) {
            return;
        }
        for (auto* library = At<IMAGE_IMPORT_DESCRIPTOR>(imports.VirtualAddress); library->Name != 0;
             ++library) {
            const auto* name = At<IMAGE_THUNK_DATA64>(library->OriginalFirstThunk);
            auto* place = At<IMAGE_THUNK_DATA64>(library->FirstThunk);
            for (; name->u1.AddressOfData != 0; ++name, ++place) {
                if (!IMAGE_SNAP_BY_ORDINAL64(name->u1.Ordinal)) {
                    visit(At<char>(library->Name), NameAt(name->u1.AddressOfData),
                          reinterpret_cast<FARPROC*>(&place->u1.Function));
                }
            }
        }
    }

private:
    template <class Type>
    Type* At(DWORD offset) const {
        return reinterpret_cast<Type*>(m_base + offset);
    }

    const char* NameAt(ULONGLONG offset) const {
        return reinterpret_cast<const char*>(At<IMAGE_IMPORT_BY_NAME>(static_cast<DWORD>(offset))->Name);
    }

    unsigned char* m_base;
};

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

} // namespace

FARPROC* FindImport(HMODULE module, const char* dll, const char* function) {
    FARPROC* found = nullptr;
    ImportTable(module).ForEach([&](const std::string& library, const std::string& name, FARPROC* place) {
        if (Lower(library) == Lower(dll) && name == function) {
            found = place;
        }
    });
    return found;
}

std::vector<std::pair<std::string, std::string>> ImportedFunctions(HMODULE module) {
    std::vector<std::pair<std::string, std::string>> functions;
    ImportTable(module).ForEach([&](const std::string& library, const std::string& name, FARPROC*) {
        functions.emplace_back(Lower(library), name);
    });
    return functions;
}

} // namespace zq::test
