// An imported function that fails at one of its calls, as on a system that is short of memory or handles.
#pragma once

#include "support/win32/ImportPatch.h"

#include <string>
#include <type_traits>

#include <windows.h>

namespace zq::test {

// One function of one library, and what replaces it while it may fail.
struct Fault {
    std::string dll;
    std::string function;
    FARPROC replacement;
    FARPROC* original; // called by the replacement where it does not fail
};

namespace detail {

// Whether the current call is the one that fails. Counts it.
bool IsFailingCall();

template <class Tag, class Function>
struct Failing;

template <class Tag, class Result, class... Arguments>
struct Failing<Tag, Result(Arguments...)> {
    static inline FARPROC original = nullptr;
    static inline Result result{};
    static inline DWORD error = 0;

    static Result Call(Arguments... arguments) {
        if (IsFailingCall()) {
            SetLastError(error);
            return result;
        }
        return reinterpret_cast<Result (*)(Arguments...)>(reinterpret_cast<void*>(original))(arguments...);
    }
};

} // namespace detail

// `Tag` is a type that no other function uses. `result` is what the function returns when it fails.
template <class Tag, class Result, class... Arguments>
Fault FaultOf(const char* dll, const char* function, Result (*)(Arguments...),
              std::type_identity_t<Result> result, DWORD error = ERROR_NOT_ENOUGH_MEMORY) {
    using Replacement = detail::Failing<Tag, Result(Arguments...)>;
    Replacement::result = result;
    Replacement::error = error;
    return {dll, function, AsProc(Replacement::Call), &Replacement::original};
}

enum class FaultThreads { All, Calling };

// While it lives, call number `call` of the DLL to the function fails, counted from 0; in a test program that
// holds the module's components itself, a call of the program. One at a time.
class ArmedFault {
public:
    ArmedFault(const Fault& fault, int call, FaultThreads threads = FaultThreads::All);
    ~ArmedFault();
    ArmedFault(const ArmedFault&) = delete;
    ArmedFault& operator=(const ArmedFault&) = delete;

    // Whether the call was made.
    bool HasFailed() const;

private:
    ImportPatch m_patch;
};

} // namespace zq::test
