// How programs write a file: every style in which people's editors, copying tools, scanners and mishaps
// change a configuration file.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include <windows.h>

namespace zq::test {

struct EditTarget {
    std::wstring file;
    std::wstring outside;                // a path elsewhere on the same volume
    DWORD pause;                         // milliseconds
    std::function<DWORD()> randomLength; // from 0 to `pause`

    void WaitRandomly() const { Sleep(randomLength()); }
    void WaitWhole() const { Sleep(pause); }
};

using EditStyle = void (*)(const EditTarget& target, int edit);

// Null for an unknown name.
EditStyle FindEditStyle(std::wstring_view name);

} // namespace zq::test
