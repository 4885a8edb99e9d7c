// A folder of private files with the follower of their changes, on a clock that the test advances.
#pragma once

#include "module/files/FileFollower.h"
#include "module/files/FilesFixture.h"

#include <algorithm>
#include <functional>
#include <string_view>
#include <vector>

namespace zq::test {

class Switch final : public Cancellation {
public:
    bool IsRequested() const override { return isOn; }
    bool isOn = false;
};

// Does what the watcher does: calls the follower for each notice and whenever it asked to be called.
class Following : public FilesFixture {
protected:
    void SetUp() override {
        StartLoaded();
        m_start = clock.Milliseconds();
    }

    void Follow(ReloadCause cause) {
        const FollowResult result = m_follower.Follow(cause);
        if (result.isReported) {
            m_passes.push_back(clock.Milliseconds() - m_start);
        }
        m_callAt = result.lookAgain == kNoTimer ? UINT64_MAX : clock.Milliseconds() + result.lookAgain;
    }
    void Notice() { Follow(ReloadCause::Notice); }

    // After `milliseconds`, an edit and the notice of it.
    void EditIn(uint64_t milliseconds, std::function<void()> edit, ReloadCause cause = ReloadCause::Notice) {
        clock.In(milliseconds, [this, edit = std::move(edit), cause] {
            edit();
            Follow(cause);
        });
    }

    void RunFor(uint64_t milliseconds) {
        const uint64_t end = clock.Milliseconds() + milliseconds;
        while (clock.Milliseconds() < end) {
            const uint64_t next = std::min({end, m_callAt, clock.NextPlanned().value_or(end)});
            clock.Advance(next - clock.Milliseconds());
            if (m_callAt <= clock.Milliseconds()) {
                ++m_timers;
                Follow(ReloadCause::Timer);
            }
        }
    }

    bool HasTimer() const { return m_callAt != UINT64_MAX; }

    using Times = std::vector<uint64_t>;

    Switch m_cancellation;
    int m_notified = 0;
    ReloadContext m_reload{{store, log, clock, &m_cancellation}, [this] { ++m_notified; }};
    FileFollower m_follower{files, m_reload};
    uint64_t m_start = 0;
    uint64_t m_callAt = UINT64_MAX;
    int m_timers = 0;
    Times m_passes; // after the start
};

} // namespace zq::test
