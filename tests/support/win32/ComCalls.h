// The test program's calls of CoInitializeEx, CoInitializeSecurity, CoSetProxyBlanket and CoUninitialize,
// counted and on request answered with another result. One at a time in a process.
#pragma once

#include "support/win32/ImportPatch.h"

#include <atomic>
#include <functional>
#include <optional>

#include <objbase.h>

namespace zq::test {

class ComCalls {
public:
    ComCalls();
    ~ComCalls();
    ComCalls(const ComCalls&) = delete;
    ComCalls& operator=(const ComCalls&) = delete;

    // Answered in place of the call.
    std::optional<HRESULT> initializeResult;
    std::optional<HRESULT> securityResult;
    // Called before the call goes on to the system.
    std::function<void()> onUninitialize;

    std::atomic<int> initializations{0};
    std::atomic<int> securityCalls{0};
    std::atomic<int> proxyBlankets{0};
    std::atomic<int> uninitializations{0};
    // Whether all calls asked for the multithreaded apartment, for default security with impersonation, and
    // for blankets of authenticated calls with impersonation.
    std::atomic<bool> argumentsAsExpected{true};

private:
    static HRESULT WINAPI Initialize(void* reserved, DWORD model);
    static HRESULT WINAPI InitializeSecurity(PSECURITY_DESCRIPTOR descriptor, LONG serviceCount,
                                             SOLE_AUTHENTICATION_SERVICE* services, void* reserved1,
                                             DWORD authenticationLevel, DWORD impersonationLevel,
                                             void* authenticationList, DWORD capabilities, void* reserved3);
    static HRESULT WINAPI SetProxyBlanket(IUnknown* proxy, DWORD authentication, DWORD authorization,
                                          OLECHAR* principal, DWORD authenticationLevel,
                                          DWORD impersonationLevel, RPC_AUTH_IDENTITY_HANDLE identity,
                                          DWORD capabilities);
    static void WINAPI Uninitialize();

    ImportPatch m_initialize;
    ImportPatch m_initializeSecurity;
    ImportPatch m_setProxyBlanket;
    ImportPatch m_uninitialize;
};

} // namespace zq::test
