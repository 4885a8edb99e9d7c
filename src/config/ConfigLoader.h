// Loads one configuration file into the variables: one reader, and for each file its texts.
//
// A refused file sets no variable; what becomes of it is the caller's business. Everything is decoded,
// parsed, flattened and logged before the store is locked, once, for the whole batch. Called on a host's
// thread (DoInit) and on the watcher's.
#pragma once

#include "config/ConfigText.h"

#include <string>

namespace zq {

class HostLog;
class Mutex;
class VariableStore;

// What a loader works on.
struct ConfigTarget {
    VariableStore& store;
    const HostLog& log;
    // Held while the file is read, so that a save of this process is seen whole; null where there are none.
    const Mutex* fileMutex = nullptr;
};

// Returns whether the file was loaded. Raises std::bad_alloc, and has set nothing then.
bool LoadConfigFile(ConfigFile file, const std::wstring& path, const ConfigTarget& target);

} // namespace zq
