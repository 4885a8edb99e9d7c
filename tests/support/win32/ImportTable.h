// What a loaded module imports.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include <windows.h>

namespace zq::test {

// The slot that the loader filled with the address of an imported function; null when there is none. `dll`
// in any case; a null module is the program itself.
FARPROC* FindImport(HMODULE module, const char* dll, const char* function);

// All functions that are imported by name: library, in lower case, and function.
std::vector<std::pair<std::string, std::string>> ImportedFunctions(HMODULE module);

} // namespace zq::test
