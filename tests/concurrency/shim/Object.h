// What a HANDLE is in the native builds: an object that can be waited for.
#pragma once

#include <windows.h>

namespace zq::shim {

class Object {
public:
    virtual ~Object() = default;
    // Takes the object if it is signalled.
    virtual bool TryTake() { return false; }
};

inline Object* AsObject(HANDLE handle) { return static_cast<Object*>(handle); }

} // namespace zq::shim
