#include "support/win32/ComCalls.h"

namespace zq::test {

namespace {

ComCalls* currentCalls = nullptr;

template <class Function>
Function* OriginalOf(const ImportPatch& patch, Function*) {
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(patch.Original()));
}

} // namespace

ComCalls::ComCalls()
    : m_initialize(nullptr, "ole32.dll", "CoInitializeEx", AsProc(&ComCalls::Initialize)),
      m_initializeSecurity(nullptr, "ole32.dll", "CoInitializeSecurity",
                           AsProc(&ComCalls::InitializeSecurity)),
      m_setProxyBlanket(nullptr, "ole32.dll", "CoSetProxyBlanket", AsProc(&ComCalls::SetProxyBlanket)),
      m_uninitialize(nullptr, "ole32.dll", "CoUninitialize", AsProc(&ComCalls::Uninitialize)) {
    currentCalls = this;
}

ComCalls::~ComCalls() { currentCalls = nullptr; }

HRESULT WINAPI ComCalls::Initialize(void* reserved, DWORD model) {
    ++currentCalls->initializations;
    if (reserved || model != COINIT_MULTITHREADED) {
        currentCalls->argumentsAsExpected = false;
    }
    if (currentCalls->initializeResult) {
        return *currentCalls->initializeResult;
    }
    return OriginalOf(currentCalls->m_initialize, &Initialize)(reserved, model);
}

HRESULT WINAPI ComCalls::InitializeSecurity(PSECURITY_DESCRIPTOR descriptor, LONG serviceCount,
                                            SOLE_AUTHENTICATION_SERVICE* services, void* reserved1,
                                            DWORD authenticationLevel, DWORD impersonationLevel,
                                            void* authenticationList, DWORD capabilities, void* reserved3) {
    ++currentCalls->securityCalls;
    if (descriptor || serviceCount != -1 || services || reserved1 ||
        authenticationLevel != RPC_C_AUTHN_LEVEL_DEFAULT ||
        impersonationLevel != RPC_C_IMP_LEVEL_IMPERSONATE || authenticationList ||
        capabilities != EOAC_NONE || reserved3) {
        currentCalls->argumentsAsExpected = false;
    }
    if (currentCalls->securityResult) {
        return *currentCalls->securityResult;
    }
    return OriginalOf(currentCalls->m_initializeSecurity,
                      &InitializeSecurity)(descriptor, serviceCount, services, reserved1, authenticationLevel,
                                           impersonationLevel, authenticationList, capabilities, reserved3);
}

HRESULT WINAPI ComCalls::SetProxyBlanket(IUnknown* proxy, DWORD authentication, DWORD authorization,
                                         OLECHAR* principal, DWORD authenticationLevel,
                                         DWORD impersonationLevel, RPC_AUTH_IDENTITY_HANDLE identity,
                                         DWORD capabilities) {
    ++currentCalls->proxyBlankets;
    if (!proxy || authentication != RPC_C_AUTHN_WINNT || authorization != RPC_C_AUTHZ_NONE || principal ||
        authenticationLevel != RPC_C_AUTHN_LEVEL_CALL || impersonationLevel != RPC_C_IMP_LEVEL_IMPERSONATE ||
        identity || capabilities != EOAC_NONE) {
        currentCalls->argumentsAsExpected = false;
    }
    return OriginalOf(currentCalls->m_setProxyBlanket,
                      &SetProxyBlanket)(proxy, authentication, authorization, principal, authenticationLevel,
                                        impersonationLevel, identity, capabilities);
}

void WINAPI ComCalls::Uninitialize() {
    ++currentCalls->uninitializations;
    if (currentCalls->onUninitialize) {
        currentCalls->onUninitialize();
    }
    OriginalOf(currentCalls->m_uninitialize, &Uninitialize)();
}

} // namespace zq::test
