// Owned OLE values: the type says what frees them.
#pragma once

#include <memory>
#include <new>
#include <type_traits>

#include <windows.h>

#include <oleauto.h>

namespace zq {

struct SysFreeStringDeleter {
    void operator()(BSTR text) const { SysFreeString(text); }
};

using UniqueBstr = std::unique_ptr<std::remove_pointer_t<BSTR>, SysFreeStringDeleter>;

// Raises std::bad_alloc.
inline UniqueBstr MakeBstr(const wchar_t* text) {
    UniqueBstr copy(SysAllocString(text));
    if (!copy) {
        throw std::bad_alloc();
    }
    return copy;
}

// Initially empty. The destructor frees the text, array or object that it holds.
class ScopedVariant {
public:
    ScopedVariant() { VariantInit(&m_value); }
    ~ScopedVariant() { VariantClear(&m_value); }
    ScopedVariant(const ScopedVariant&) = delete;
    ScopedVariant& operator=(const ScopedVariant&) = delete;

    VARIANT* Get() { return &m_value; }
    const VARIANT& operator*() const { return m_value; }

private:
    VARIANT m_value;
};

} // namespace zq
