// A registered host that keeps every notice. A std::mutex guards its list, so it must not be the host
// whose delivery thread is terminated: see BlockingHost for that.
#pragma once

#include "CZQVariable.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <ostream>
#include <string>
#include <vector>

#include <windows.h>

namespace zq::test {

struct Notice {
    std::wstring name; // empty for a reload
    uint32_t type;     // 0 for a reload
    CZQVariableHost* source;

    friend bool operator==(const Notice&, const Notice&) = default;
    friend void PrintTo(const Notice& notice, std::ostream* out) {
        for (const wchar_t c : notice.name) {
            *out << (c < 127 ? static_cast<char>(c) : '?');
        }
        *out << " type " << notice.type << " source " << notice.source;
    }
};

class NoticeHost final : public CZQVariableHost {
public:
    void OnVariableChanged(const wchar_t* name, uint32_t type, CZQVariableHost* source) override {
        Keep({name, type, source});
    }
    void OnVariablesReloaded() override { Keep({L"", VariableTypeNone, nullptr}); }

    std::vector<Notice> Notices() const {
        const std::lock_guard lock(m_mutex);
        return m_notices;
    }
    size_t Count() const { return m_count; }
    DWORD ThreadId() const { return m_threadId; }

    // Called in each notice, after it was kept, with no lock held.
    std::function<void(const Notice&)> onNotice;

private:
    void Keep(const Notice& notice) {
        m_threadId = GetCurrentThreadId();
        {
            const std::lock_guard lock(m_mutex);
            m_notices.push_back(notice);
        }
        ++m_count;
        if (onNotice) {
            onNotice(notice);
        }
    }

    mutable std::mutex m_mutex;
    std::vector<Notice> m_notices;
    std::atomic<size_t> m_count{0};
    std::atomic<DWORD> m_threadId{0};
};

// A host that stays inside its first callback, holding no lock, until its thread is terminated.
class BlockingHost final : public CZQVariableHost {
public:
    // `work` runs again and again; null waits without end.
    explicit BlockingHost(void (*work)(void*) = nullptr, void* argument = nullptr)
        : m_work(work), m_argument(argument), m_entered(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
          m_never(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
    ~BlockingHost() {
        CloseHandle(m_entered);
        CloseHandle(m_never);
    }
    BlockingHost(const BlockingHost&) = delete;
    BlockingHost& operator=(const BlockingHost&) = delete;

    void OnVariableChanged(const wchar_t*, uint32_t, CZQVariableHost*) override { Block(); }
    void OnVariablesReloaded() override { Block(); }

    bool WaitUntilEntered() const { return WaitForSingleObject(m_entered, 10000) == WAIT_OBJECT_0; }
    // How often `work` returned.
    long Rounds() const { return m_rounds; }

private:
    void Block() {
        SetEvent(m_entered);
        if (!m_work) {
            WaitForSingleObject(m_never, INFINITE);
        }
        for (;;) {
            m_work(m_argument);
            ++m_rounds;
        }
    }

    void (*m_work)(void*);
    void* m_argument;
    HANDLE m_entered;
    HANDLE m_never;
    std::atomic<long> m_rounds{0};
};

} // namespace zq::test
