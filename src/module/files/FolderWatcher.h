// The watcher's thread: follows the data folder and reloads the files that changed.
//
// It lives as long as the module object; one thread at a time runs ThreadEntryWatchConfig. System objects
// that the thread needs are kept here, not on its stack, so that a terminated thread leaves nothing open.
#pragma once

#include "base/Cancellation.h"
#include "module/files/FileFollower.h"
#include "platform/DirectoryWatch.h"
#include "platform/Event.h"

#include <atomic>
#include <functional>
#include <string>

namespace zq {

struct WatcherContext {
    const std::wstring& folder; // the data folder
    const Event& stop;
    std::function<void()> notifyReloaded;   // after each file that was loaded
    std::function<void()> onConfigReloaded; // after each pass
    std::function<void()> onRequested;      // each time the watcher is about to wait; may be empty
};

class FolderWatcher final : private Cancellation {
public:
    // All arguments must outlive this object.
    FolderWatcher(PrivateFiles& files, const FilesContext& filesContext, WatcherContext context)
        : m_context(std::move(context)), m_reload{{filesContext.store, filesContext.log, filesContext.clock,
                                                   this},
                                                  m_context.notifyReloaded},
          m_follower(files, m_reload) {}

    // The body of the watcher's thread. Returns when the stop event is signalled, or when the folder cannot
    // be watched.
    void ThreadEntryWatchConfig();

    // Called before the stop event is signalled, from any thread: a load that runs much longer is
    // abandoned.
    void PrepareStop();
    // Called after the thread was terminated, from any thread.
    void CloseAfterTermination() { m_watch.Close(); }

private:
    enum class Wake { Stop, Change, Timer };

    void WatchUntilStopped();
    Wake WaitForChange(uint32_t milliseconds) const;
    ReloadCause CauseOf(DirectoryWatch::Result result) const;
    NamedFiles NamedBy(DirectoryWatch::Result result) const;
    uint32_t Follow(ReloadCause cause, const NamedFiles& named = {});
    bool IsRequested() const override;

    WatcherContext m_context;
    ReloadContext m_reload;
    FileFollower m_follower;
    DirectoryWatch m_watch;
    uint32_t m_timer = kNoTimer;                  // until the follower wants to look again
    std::atomic<uint64_t> m_giveUpAt{UINT64_MAX}; // in Clock::Milliseconds()
};

} // namespace zq
