// One reload pass over the three private files: logs each of them, loads what changed, repairs what is
// missing or refused, and notifies the hosts of each file that was loaded.
//
// Runs on the watcher's thread. No lock is held while the host is called.
#pragma once

#include "base/Cancellation.h"
#include "module/files/PrivateFiles.h"

#include <array>
#include <functional>

namespace zq {

struct ReloadContext {
    FilesContext files;
    std::function<void()> notifyReloaded; // after each file that was loaded
};

// What was seen of each file immediately before the pass.
using ReloadLooks = std::array<FileLook, 3>;

// Acts on the looks. A file that turns out to have changed since its look, or that others hold, is left alone
// without a word: its look becomes Held, so that it is looked at again. Returns false when the pass was cut
// short before it loaded anything: it is not reported to the host then.
bool ReloadPrivateConfigFile(PrivateFiles& files, ReloadLooks& looks, const ReloadContext& context);

} // namespace zq
