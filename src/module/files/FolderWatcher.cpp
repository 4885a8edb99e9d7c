#include "module/files/FolderWatcher.h"

#include "base/HostLog.h"
#include "module/files/FolderNotice.h"
#include "platform/Clock.h"

#include <string>

namespace zq {

namespace {

// A load is abandoned once a stop has waited this long; DoStop terminates the thread after a second.
constexpr uint64_t kStopPatienceMilliseconds = 800;

} // namespace

void FolderWatcher::ThreadEntryWatchConfig() {
    const HostLog& log = m_reload.files.log;
    log.Log(LogProgress, L"ThreadEntryWatchConfig begin.");
    if (!m_watch.Open(m_context.folder)) {
        log.Log(LogFailure, L"Fail to CreateFile on programdata folder.");
        return;
    }
    log.Log(LogProgress, L"CreateFile to programdata folder success.");
    WatchUntilStopped();
    m_watch.Close();
    log.Log(LogProgress, L"ThreadEntryWatchConfig end.");
}

void FolderWatcher::WatchUntilStopped() {
    m_timer = kNoTimer;
    for (bool isFirst = true;; isFirst = false) {
        if (const DWORD error = m_watch.Request()) {
            const std::wstring text =
                L"Fail to ReadDirectoryChangesW, error = " + std::to_wstring(static_cast<int32_t>(error));
            m_reload.files.log.Log(LogFailure, text.c_str());
            return;
        }
        // The request is pending, so every edit from here on causes a notice. Earlier edits are checked for
        // now.
        if (isFirst && !m_context.stop.Wait(0)) {
            m_timer = Follow(ReloadCause::Start);
        }
        if (m_context.onRequested) {
            m_context.onRequested();
        }
        Wake wake = WaitForChange(m_timer);
        for (; wake == Wake::Timer; wake = WaitForChange(m_timer)) {
            m_timer = Follow(ReloadCause::Timer);
        }
        if (wake == Wake::Stop) {
            return;
        }
        if (const DirectoryWatch::Result result = m_watch.Fetch();
            result != DirectoryWatch::Result::Nothing) {
            m_timer = Follow(CauseOf(result), NamedBy(result));
        }
    }
}

FolderWatcher::Wake FolderWatcher::WaitForChange(uint32_t milliseconds) const {
    const HANDLE handles[] = {m_context.stop.Get(), m_watch.CompletionEvent()};
    const DWORD result =
        WaitForMultipleObjects(2, handles, FALSE, milliseconds == kNoTimer ? INFINITE : milliseconds);
    if (result == WAIT_OBJECT_0) {
        return Wake::Stop;
    }
    return result == WAIT_TIMEOUT ? Wake::Timer : Wake::Change;
}

// If names were lost, any of the three files may be among them.
ReloadCause FolderWatcher::CauseOf(DirectoryWatch::Result result) const {
    return result == DirectoryWatch::Result::Lost || IsAboutConfigFile(m_watch.Records())
               ? ReloadCause::Notice
               : ReloadCause::Other;
}

NamedFiles FolderWatcher::NamedBy(DirectoryWatch::Result result) const {
    return result == DirectoryWatch::Result::Lost ? NamedFiles{true, true, true}
                                                  : FilesNamedIn(m_watch.Records());
}

uint32_t FolderWatcher::Follow(ReloadCause cause, const NamedFiles& named) {
    const FollowResult result = m_follower.Follow(cause, named);
    if (result.isReported) {
        m_context.onConfigReloaded();
    }
    return result.lookAgain;
}

void FolderWatcher::PrepareStop() {
    m_giveUpAt.store(m_reload.files.clock.Milliseconds() + kStopPatienceMilliseconds);
}

bool FolderWatcher::IsRequested() const { return m_reload.files.clock.Milliseconds() >= m_giveUpAt.load(); }

} // namespace zq
