// Replaces one imported function of a module that is loaded in this process, for as long as the patch lives:
// only calls out of that module see the replacement. Patches of the same function end in reverse order.
#pragma once

#include <windows.h>

namespace zq::test {

class ImportPatch {
public:
    // `module` is null for the test program itself; `dll` names the library as the module imports it, in any
    // case. Raises std::runtime_error when the module imports no such function.
    ImportPatch(HMODULE module, const char* dll, const char* function, FARPROC replacement);
    ~ImportPatch();
    ImportPatch(const ImportPatch&) = delete;
    ImportPatch& operator=(const ImportPatch&) = delete;

    // What the module called before.
    FARPROC Original() const { return m_original; }

private:
    void Write(FARPROC function);

    FARPROC* m_slot;
    FARPROC m_original;
};

// A function as ImportPatch takes it.
template <class Function>
FARPROC AsProc(Function* function) {
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(function));
}

} // namespace zq::test
