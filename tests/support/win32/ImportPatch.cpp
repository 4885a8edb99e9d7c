#include "support/win32/ImportPatch.h"

#include "support/win32/ImportTable.h"

#include <stdexcept>
#include <string>

namespace zq::test {

ImportPatch::ImportPatch(HMODULE module, const char* dll, const char* function, FARPROC replacement)
    : m_slot(FindImport(module, dll, function)), m_original(nullptr) {
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
