#include "support/win32/ImportFault.h"

#include <atomic>

namespace zq::test {

namespace {

constexpr DWORD kAnyThread = 0;

std::atomic<bool> g_isArmed{false};
std::atomic<int> g_calls{0};
std::atomic<int> g_failingCall{0};
std::atomic<DWORD> g_thread{kAnyThread};

} // namespace

bool detail::IsFailingCall() {
    if (!g_isArmed || (g_thread != kAnyThread && g_thread != GetCurrentThreadId())) {
        return false;
    }
    return g_calls++ == g_failingCall;
}

ArmedFault::ArmedFault(const Fault& fault, int call, FaultThreads threads)
    : m_patch(GetModuleHandleW(L"ZQModSettings.dll"), fault.dll.c_str(), fault.function.c_str(),
              fault.replacement) {
    // A thread of the module that calls before this line goes through an original that is not set yet; the
    // tests arm their faults while the module is quiet.
    *fault.original = m_patch.Original();
    g_calls = 0;
    g_failingCall = call;
    g_thread = threads == FaultThreads::Calling ? GetCurrentThreadId() : kAnyThread;
    g_isArmed = true;
}

ArmedFault::~ArmedFault() { g_isArmed = false; }

bool ArmedFault::HasFailed() const { return g_calls > g_failingCall; }

} // namespace zq::test
