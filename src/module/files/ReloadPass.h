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

// The state of each file immediately before the pass.
using ReloadLooks = std::array<FileLook, 3>;

// Acts on the looks. A file that has changed since its look, or that others hold, is left alone without a
// message: its look becomes Held, so that it is checked again. Returns false if the pass was abandoned before
// it loaded anything; the host is then not called.
bool ReloadPrivateConfigFile(PrivateFiles& files, ReloadLooks& looks, const ReloadContext& context);

} // namespace zq
