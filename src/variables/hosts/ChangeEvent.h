// One change that waits to be told to one host.
//
// Portable.
#pragma once

#include "CZQVariableHost.h"

#include <string>

namespace zq {

struct CHANGE_EVENT {
    std::wstring name;       // empty for a reload
    uint32_t type;           // a VariableType; 0 for a reload
    CZQVariableHost* source; // the host that made the change, or null
};

} // namespace zq
