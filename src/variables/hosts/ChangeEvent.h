// One change that waits to be reported to one host.
//
// Portable. The name is shared by the queues of all hosts that are notified of the change.
#pragma once

#include "CZQVariableHost.h"

#include <cstdint>
#include <memory>
#include <string>

namespace zq {

struct CHANGE_EVENT {
    std::shared_ptr<const std::wstring> name; // null for a reload
    uint32_t type;                            // a VariableType; 0 for a reload
    CZQVariableHost* source;                  // the host that made the change, or null
};

} // namespace zq
