#include "module/files/FileFollower.h"

#include "platform/Clock.h"
#include "variables/VariableStore.h"

#include <algorithm>

namespace zq {

namespace {

// Longer than editors pause between deleting, writing and renaming, and short enough for a repair within a
// second.
constexpr uint64_t kTroubleMilliseconds = 700;
// The file is checked several times meanwhile. If the thread was kept from checking, the file may have been
// complete in between, so the wait starts again.
constexpr uint32_t kTroubleLookMilliseconds = 200;
constexpr uint64_t kUnseenMilliseconds = 400;
constexpr uint32_t kFirstHeldPause = 10;
constexpr uint32_t kLongestHeldPause = 250;

bool IsTrouble(FileVerdict verdict) {
    return verdict == FileVerdict::Missing || verdict == FileVerdict::Refused;
}

} // namespace

FollowResult FileFollower::Follow(ReloadCause cause, const NamedFiles& named) {
    for (size_t i = 0; i < named.size(); ++i) {
        if (named[i] && IsTrouble(m_trouble[i].verdict)) {
            m_troubleSince = m_context.files.clock.Milliseconds();
        }
    }
    if (cause == ReloadCause::Start) {
        PlanNextLook({}, 0);
    }
    bool isReported = false;
    if (IsWorthLook(cause)) {
        m_isPassOwed = m_isPassOwed || cause == ReloadCause::Notice;
        // A timer concerns certain files: a change of another one that no notice named stays hidden.
        isReported = LookAndReload(cause == ReloadCause::Timer && !m_isPassOwed ? m_lookAgain : kAll);
    }
    return {isReported, UntilNextLook()};
}

bool FileFollower::LookAndReload(Selection selection) {
    ReloadLooks looks;
    for (;;) {
        if (!LookAt(selection, looks)) {
            return false;
        }
        const uint32_t troubleLeft = TroubleLeft(looks);
        if (troubleLeft == 0) {
            LeaveToWriters(looks);
        }
        const bool isChanged = std::any_of(looks.begin(), looks.end(), [](const FileLook& look) {
            return IsTrouble(look.verdict) || look.verdict == FileVerdict::Accepted;
        });
        const bool isPassDue = troubleLeft == 0 && (m_isPassOwed || isChanged);
        if (isPassDue && selection != kAll) {
            selection = kAll;
            continue;
        }
        bool isReported = false;
        if (isPassDue) {
            m_isPassOwed = false;
            m_trouble = {};
            isReported = ReloadPrivateConfigFile(m_files, looks, m_context);
        }
        PlanNextLook(looks, troubleLeft);
        return isReported;
    }
}

bool FileFollower::IsWorthLook(ReloadCause cause) const {
    if (cause == ReloadCause::Notice || cause == ReloadCause::Timer) {
        return true;
    }
    // A file that was deleted before the watcher started waits for the next notice.
    if (cause == ReloadCause::Start) {
        return std::any_of(m_files.begin(), m_files.end(), [](const PrivateFile& file) {
            return FileExists(file.Path()) && file.HasOtherTime();
        });
    }
    uint8_t isEachFollowed = 0;
    return m_context.files.store.GetBool(L"FollowEveryChange", &isEachFollowed) && isEachFollowed != 0 &&
           std::any_of(m_files.begin(), m_files.end(),
                       [](const PrivateFile& file) { return file.HasOtherTime(); });
}

bool FileFollower::LookAt(const Selection& selection, ReloadLooks& looks) {
    const FilesContext& files = m_context.files;
    try {
        for (size_t i = 0; i < looks.size(); ++i) {
            looks[i] = selection[i] ? m_files[i].LookIfChanged(files.clock, files.cancellation) : FileLook();
        }
        return true;
    } catch (const Cancelled&) {
        return false;
    }
}

// A refused file that others have open for writing will get another content, however long that takes.
void FileFollower::LeaveToWriters(ReloadLooks& looks) const {
    for (size_t i = 0; i < looks.size(); ++i) {
        if (looks[i].verdict == FileVerdict::Refused && m_files[i].IsBeingWritten()) {
            looks[i].verdict = FileVerdict::Held;
        }
    }
}

// Returns how much longer the pass has to wait.
uint32_t FileFollower::TroubleLeft(const ReloadLooks& looks) {
    const uint64_t now = m_context.files.clock.Milliseconds();
    bool isAny = false;
    for (size_t i = 0; i < looks.size(); ++i) {
        Trouble& trouble = m_trouble[i];
        const FileSnapshot& file = looks[i].config.file;
        if (!IsTrouble(looks[i].verdict)) {
            trouble = {};
            continue;
        }
        isAny = true;
        if (trouble.verdict != looks[i].verdict || trouble.error != file.error ||
            trouble.bytes != file.bytes) {
            trouble = {looks[i].verdict, file.error, file.bytes};
            m_troubleSince = now;
        }
    }
    if (isAny && now > m_troubleLook + kUnseenMilliseconds) {
        m_troubleSince = now;
    }
    m_troubleLook = now;
    const uint64_t end = m_troubleSince + kTroubleMilliseconds;
    return isAny && now < end ? static_cast<uint32_t>(end - now) : 0;
}

void FileFollower::PlanNextLook(const ReloadLooks& looks, uint32_t troubleLeft) {
    const uint64_t now = m_context.files.clock.Milliseconds();
    bool isAnyHeld = false;
    m_lookAgainAt = troubleLeft == 0 ? UINT64_MAX : now + std::min(troubleLeft, kTroubleLookMilliseconds);
    for (size_t i = 0; i < looks.size(); ++i) {
        const bool isHeld = looks[i].verdict == FileVerdict::Held;
        const uint64_t confirmAt = m_files[i].ConfirmAt();
        isAnyHeld = isAnyHeld || isHeld;
        m_lookAgain[i] = isHeld || confirmAt != 0 || IsTrouble(looks[i].verdict);
        if (confirmAt != 0) {
            m_lookAgainAt = std::min(m_lookAgainAt, confirmAt);
        }
    }
    m_heldPause = isAnyHeld ? std::clamp(2 * m_heldPause, kFirstHeldPause, kLongestHeldPause) : 0;
    if (isAnyHeld) {
        m_lookAgainAt = std::min(m_lookAgainAt, now + m_heldPause);
    }
}

uint32_t FileFollower::UntilNextLook() const {
    if (m_lookAgainAt == UINT64_MAX) {
        return kNoTimer;
    }
    const uint64_t now = m_context.files.clock.Milliseconds();
    return m_lookAgainAt > now ? static_cast<uint32_t>(m_lookAgainAt - now) : 0;
}

} // namespace zq
