#include "support/win32/ImportPatch.h"

#include <cstring>
#include <stdexcept>
#include <string>

namespace zq::test {

namespace {

// Finds the entry of a loaded image's import address table that the loader filled for a function.
class ImportTable {
public:
    explicit ImportTable(HMODULE module)
        : m_base(reinterpret_cast<unsigned char*>(module ? module : GetModuleHandleW(nullptr))) {}

    FARPROC* Find(const char* dll, const char* function) const {
        const auto* dos = At<IMAGE_DOS_HEADER>(0);
        const auto* headers = At<IMAGE_NT_HEADERS64>(static_cast<DWORD>(dos->e_lfanew));
        const IMAGE_DATA_DIRECTORY& imports =
            headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
        if (imports.VirtualAddress == 0) {
            return nullptr;
        }
        for (auto* library = At<IMAGE_IMPORT_DESCRIPTOR>(imports.VirtualAddress); library->Name != 0;
             ++library) {
            if (_stricmp(At<char>(library->Name), dll) == 0) {
                if (FARPROC* slot = FindIn(*library, function)) {
                    return slot;
                }
            }
        }
        return nullptr;
    }

private:
    template <class Type>
    Type* At(DWORD offset) const {
        return reinterpret_cast<Type*>(m_base + offset);
    }

    FARPROC* FindIn(const IMAGE_IMPORT_DESCRIPTOR& library, const char* function) const {
        const auto* name = At<IMAGE_THUNK_DATA64>(library.OriginalFirstThunk);
        auto* slot = At<IMAGE_THUNK_DATA64>(library.FirstThunk);
        for (; name->u1.AddressOfData != 0; ++name, ++slot) {
            const bool byOrdinal = IMAGE_SNAP_BY_ORDINAL64(name->u1.Ordinal);
            if (!byOrdinal && std::strcmp(NameAt(name->u1.AddressOfData), function) == 0) {
                return reinterpret_cast<FARPROC*>(&slot->u1.Function);
            }
        }
        return nullptr;
    }

    const char* NameAt(ULONGLONG offset) const {
        return reinterpret_cast<const char*>(At<IMAGE_IMPORT_BY_NAME>(static_cast<DWORD>(offset))->Name);
    }

    unsigned char* m_base;
};

} // namespace

ImportPatch::ImportPatch(HMODULE module, const char* dll, const char* function, FARPROC replacement)
    : m_slot(ImportTable(module).Find(dll, function)), m_original(nullptr) {
    if (!m_slot) {
        throw std::runtime_error(std::string("no import ") + dll + "!" + function);
    }
    m_original = *m_slot;
    Write(replacement);
}

ImportPatch::~ImportPatch() { Write(m_original); }

void ImportPatch::Write(FARPROC function) {
    DWORD protection = 0;
    VirtualProtect(m_slot, sizeof(*m_slot), PAGE_READWRITE, &protection);
    *m_slot = function;
    VirtualProtect(m_slot, sizeof(*m_slot), protection, &protection);
}

} // namespace zq::test
