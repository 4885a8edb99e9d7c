#include "platform/Clock.h"

#include "platform/FileTicks.h"

#include <windows.h>

namespace zq {

namespace {

class Win32Clock final : public Clock {
public:
    uint64_t Milliseconds() const override { return GetTickCount64(); }
    uint64_t FileTicks() const override {
        FILETIME now{};
        GetSystemTimeAsFileTime(&now);
        return TicksOf(now);
    }
    void Sleep(uint32_t milliseconds) const override { ::Sleep(milliseconds); }
};

// Initialised at compile time: an object that is made at its first use would leave handles of the run-time
// library open each time that the DLL is unloaded.
constinit const Win32Clock clock;

} // namespace

const Clock& SystemClock() { return clock; }

} // namespace zq
