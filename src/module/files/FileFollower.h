// Decides when a reload pass runs: what the watcher does with its notices.
//
// A reload has two steps. First the files are checked without logging. A file whose whole text parses is
// complete, since the root's last bracket has to be the last character: no part of it, cut anywhere, is
// accepted. So if each file is unchanged or acceptable, the pass runs at once and loads the very bytes
// that were checked. If a file is missing, or changed and refused, an editor may be between two steps: the
// pass waits until the file has stayed that way, unchanged, for a while, counted for the three files
// together. A file that another program holds is left out of the pass and checked again until it is free.
//
// Runs on the watcher's thread. Nothing here waits: Follow() says when it wants to be called again.
#pragma once

#include "module/files/FolderNotice.h"
#include "module/files/ReloadPass.h"

#include <array>
#include <cstdint>
#include <vector>

namespace zq {

// Why the watcher asks for a reload.
enum class ReloadCause {
    Start,  // it has just begun to watch: an edit made before has raised no notice
    Notice, // a notice names one of the files
    Other,  // a notice names none of them
    Timer   // the wait that Follow() asked for is over
};

inline constexpr uint32_t kNoTimer = UINT32_MAX;

struct FollowResult {
    bool isReported = false;       // a pass ran, and the host has to be called for it
    uint32_t lookAgain = kNoTimer; // milliseconds after which Follow(Timer) has something to do
};

class FileFollower {
public:
    // Both must outlive this object.
    FileFollower(PrivateFiles& files, const ReloadContext& context) : m_files(files), m_context(context) {}

    // Checks the files and runs a pass if one is due. Raises std::filesystem::filesystem_error if a file
    // cannot be replaced by its default.
    //
    // `named` are the files that the notice has records of. Something is happening to them, so the wait
    // starts again for one that is missing or refused, even if each look finds it in the same state.
    FollowResult Follow(ReloadCause cause, const NamedFiles& named = {});

private:
    // The reason why a pass waits, to compare with the next look.
    struct Trouble {
        FileVerdict verdict = FileVerdict::Unchanged;
        uint32_t error = 0;
        std::vector<char> bytes;
    };

    // Files to look at.
    using Selection = std::array<bool, 3>;
    static constexpr Selection kAll{true, true, true};

    bool IsWorthLook(ReloadCause cause) const;
    bool LookAndReload(Selection selection);
    // Returns false if a look was abandoned.
    bool LookAt(const Selection& selection, ReloadLooks& looks);
    void LeaveToWriters(ReloadLooks& looks) const;
    uint32_t TroubleLeft(const ReloadLooks& looks);
    void PlanNextLook(const ReloadLooks& looks, uint32_t troubleLeft);
    uint32_t UntilNextLook() const;

    PrivateFiles& m_files;
    const ReloadContext& m_context;
    bool m_isPassOwed = false; // a notice came, and its pass waits
    std::array<Trouble, 3> m_trouble;
    uint64_t m_troubleSince = 0;
    uint64_t m_troubleLook = 0;          // the last one
    uint32_t m_heldPause = 0;            // before the next look at a held file
    uint64_t m_lookAgainAt = UINT64_MAX; // in Clock::Milliseconds()
    Selection m_lookAgain{};             // at these files
};

} // namespace zq
