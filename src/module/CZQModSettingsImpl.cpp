#include "module/CZQModSettingsImpl.h"

#include <new>

namespace zq {

CZQModSettingsImpl::CZQModSettingsImpl() = default;

CZQModSettingsImpl::~CZQModSettingsImpl() { m_hStopEvent.Close(); }

void* CZQModSettingsImpl::ScalarDeletingDestructor(unsigned int flags) {
    this->~CZQModSettingsImpl();
    if ((flags & 1U) != 0) {
        ::operator delete(this);
    }
    return this;
}

void CZQModSettingsImpl::NotifyHostsReloaded() {}

void CZQModSettingsImpl::RemoveAllVariables() { m_store.RemoveAll(); }

int32_t CZQModSettingsImpl::GetVariableBinary(const wchar_t* name, void* buffer, size_t bufferSize,
                                              size_t* length) {
    return m_store.GetBinary(name, buffer, bufferSize, length);
}

int32_t CZQModSettingsImpl::GetVariableDouble(const wchar_t* name, double* value) {
    return m_store.GetDouble(name, value);
}

int32_t CZQModSettingsImpl::GetVariableBool(const wchar_t* name, ZQBool* value) {
    return m_store.GetBool(name, value);
}

int32_t CZQModSettingsImpl::GetVariableInt64(const wchar_t* name, int64_t* value) {
    return m_store.GetInt64(name, value);
}

int32_t CZQModSettingsImpl::GetVariableString(const wchar_t* name, wchar_t* buffer, int32_t bufferSize) {
    return m_store.GetString(name, buffer, bufferSize);
}

} // namespace zq
