// A host for a look that needs no messages.
#pragma once

#include "CZQModHost.h"

namespace zq::tool {

class SilentHost final : public CZQModHost {
public:
    void Log(const wchar_t*, int32_t, const wchar_t*, va_list) override {}
    void OnConfigReloaded() override {}
};

} // namespace zq::tool
