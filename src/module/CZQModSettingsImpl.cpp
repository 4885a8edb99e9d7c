#include "module/CZQModSettingsImpl.h"

#include <new>

namespace zq {

CZQModSettingsImpl::CZQModSettingsImpl() = default;

CZQModSettingsImpl::~CZQModSettingsImpl() {
    m_hStopEvent.Close();
    m_hosts.UnregisterAll();
}

void* CZQModSettingsImpl::ScalarDeletingDestructor(unsigned int flags) {
    this->~CZQModSettingsImpl();
    if ((flags & 1U) != 0) {
        ::operator delete(this);
    }
    return this;
}

} // namespace zq
