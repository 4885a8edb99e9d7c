// The three private files, and what initialising the module does with them: missing ones are provided, all
// are loaded, refused ones are repaired.
//
// They are handed paths, a log, a store and a clock, and know nothing of the module object. The file mutexes
// are held while a file is read or replaced, but never during a call to the host or a wait.
#pragma once

#include "module/files/PrivateFile.h"

#include <array>
#include <cstdint>

namespace zq {

class Cancellation;
class HostLog;
class VariableStore;

// What the private files are handed; all of it must outlive them.
struct FilesContext {
    VariableStore& store;
    const HostLog& log;
    const Clock& clock;
    const Cancellation* cancellation = nullptr; // of loads; null for none
};

// In the order in which they are provisioned, loaded and reloaded.
using PrivateFiles = std::array<PrivateFile, 3>;

// Copies the default of each file that is missing, then loads each file that exists; a refused file is
// replaced by its default, which is loaded. Raises std::filesystem::filesystem_error if a file cannot be
// copied or replaced.
//
// Waits 20 ms for a refused file to change, and up to 5 seconds for files that others hold, all three
// together. If one is still held, the content of its default is loaded, and the file and its recorded time
// are left to the watcher. The stop event is never checked: a DoInit after a DoStop repeats every step.
void ProvisionAndLoadPrivateFiles(PrivateFiles& files, const FilesContext& context);

// Loads what a look found: logs as the loader does, sets the variables, and keeps a copy if the user wants
// copies. Returns whether the file was loaded.
bool LoadLooked(const PrivateFile& file, const ConfigLook& look, const FilesContext& context);

// Logs that the default was copied over the file, and loads it once more, whatever it holds now.
void LoadReplaced(const PrivateFile& file, const wchar_t* message, const FilesContext& context);

} // namespace zq
