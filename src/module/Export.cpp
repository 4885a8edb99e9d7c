// The DLL's one export.
#define ZQ_NO_IMPORT
#include "module/CZQModSettingsImpl.h"

#include <cstring>
#include <new>
#include <system_error>

extern "C" __declspec(dllexport) CZQModSettings* CreateSettings() {
    void* memory = ::operator new(sizeof(zq::CZQModSettingsImpl), std::nothrow);
    if (!memory) {
        return nullptr;
    }
    std::memset(memory, 0, sizeof(zq::CZQModSettingsImpl));
    try {
        return new (memory) zq::CZQModSettingsImpl();
    } catch (const std::system_error&) { // the system has no mutex to give
        ::operator delete(memory);
        return nullptr;
    }
}
