// Loads one configuration file into the variables, from bytes that were read before.
//
// Looking and loading are two steps: a look is silent and says whether the file would be accepted; loading
// logs what the module logs about it and sets the variables, from the very bytes that were looked at.
// Everything is decoded, parsed, flattened and logged before the store is locked, once, for the whole batch.
// A refused file sets no variable; what becomes of it is the caller's business. Called on a host's thread
// (DoInit) and on the watcher's.
#pragma once

#include "config/ConfigText.h"
#include "platform/Files.h"

#include <memory>
#include <string>

namespace zq {

class Cancellation;
class HostLog;
class VariableStore;

// What a loader works on.
struct ConfigTarget {
    VariableStore& store;
    const HostLog& log;
};

// One look at a file: what was found, and what its bytes say.
struct ConfigLook {
    FileSnapshot file;
    std::unique_ptr<ConfigText> text; // null unless the file was read
    bool isAccepted = false;
};

// Completes a look whose file was read: decodes and parses its bytes, silently. Raises std::bad_alloc, and
// Cancelled where `cancellation` asks for it.
void ParseLook(ConfigFile file, ConfigLook& look, const Cancellation* cancellation = nullptr);

// Logs what the file's loader logs and, where the look accepted the file, sets its variables. `path` is only
// for the messages. Returns whether the file was loaded. Raises what ParseLook raises, and has set nothing
// then. Called once for a look.
bool LoadConfigFile(ConfigFile file, const std::wstring& path, const ConfigLook& look,
                    const ConfigTarget& target);

} // namespace zq
