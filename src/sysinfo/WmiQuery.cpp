#include "sysinfo/WmiQuery.h"

#include "sysinfo/ComTypes.h"

#include <utility>

namespace zq {

namespace {

using Microsoft::WRL::ComPtr;

// A null BSTR is the empty text.
std::wstring TextOf(const wchar_t* text) { return text ? text : L""; }

bool IsInteger(VARTYPE type) {
    switch (type) {
    case VT_I1:
    case VT_UI1:
    case VT_I2:
    case VT_UI2:
    case VT_I4:
    case VT_UI4:
    case VT_I8:
    case VT_UI8:
    case VT_INT:
    case VT_UINT:
        return true;
    default:
        return false;
    }
}

// The array in a property. Its type is the one that the array itself states; the property's type may differ.
struct ArrayView {
    SAFEARRAY* array;
    VARTYPE type;
    LONG lower;
    LONG upper;
};

// Returns nothing for other values and for arrays of several dimensions.
std::optional<ArrayView> ViewArray(const VARIANT& value) {
    if ((V_VT(&value) & ~VT_TYPEMASK) != VT_ARRAY || !V_ARRAY(&value)) {
        return std::nullopt;
    }
    ArrayView view{V_ARRAY(&value), VT_EMPTY, 0, 0};
    if (SafeArrayGetDim(view.array) != 1 || FAILED(SafeArrayGetVartype(view.array, &view.type)) ||
        FAILED(SafeArrayGetLBound(view.array, 1, &view.lower)) ||
        FAILED(SafeArrayGetUBound(view.array, 1, &view.upper))) {
        return std::nullopt;
    }
    return view;
}

template <class Integer>
std::optional<int64_t> FetchInteger(SAFEARRAY* array, LONG index) {
    Integer value = 0;
    if (FAILED(SafeArrayGetElement(array, &index, &value))) {
        return std::nullopt;
    }
    return value;
}

std::optional<int64_t> FetchInteger(const ArrayView& view, LONG index) {
    switch (view.type) {
    case VT_I1:
        return FetchInteger<int8_t>(view.array, index);
    case VT_UI1:
        return FetchInteger<uint8_t>(view.array, index);
    case VT_I2:
        return FetchInteger<int16_t>(view.array, index);
    case VT_UI2:
        return FetchInteger<uint16_t>(view.array, index);
    case VT_I4:
    case VT_INT:
        return FetchInteger<int32_t>(view.array, index);
    case VT_UI4:
    case VT_UINT:
        return FetchInteger<uint32_t>(view.array, index);
    default:
        return std::nullopt;
    }
}

// Visits objects until the enumeration ends or fails; returns how it ended and counts the objects.
HRESULT VisitAll(IEnumWbemClassObject& objects, const std::function<void(const WmiObject&)>& visit,
                 size_t& count) {
    for (;;) {
        ComPtr<IWbemClassObject> object;
        ULONG returned = 0;
        const HRESULT result = objects.Next(WBEM_INFINITE, 1, object.GetAddressOf(), &returned);
        if (FAILED(result) || returned == 0 || !object) {
            return result;
        }
        ++count;
        visit(WmiObject(*object.Get()));
    }
}

} // namespace

bool WmiObject::Read(const wchar_t* property, ScopedVariant& value) const {
    return SUCCEEDED(m_object.Get(property, 0, value.Get(), nullptr, nullptr));
}

std::optional<std::wstring> WmiObject::Text(const wchar_t* property) const {
    ScopedVariant value;
    if (!Read(property, value) || V_VT(&*value) != VT_BSTR) {
        return std::nullopt;
    }
    return TextOf(V_BSTR(&*value));
}

std::optional<std::wstring> WmiObject::NumberText(const wchar_t* property) const {
    ScopedVariant value;
    if (!Read(property, value) || (V_VT(&*value) != VT_BSTR && !IsInteger(V_VT(&*value)))) {
        return std::nullopt;
    }
    if (FAILED(VariantChangeTypeEx(value.Get(), value.Get(), LOCALE_INVARIANT, 0, VT_BSTR))) {
        return std::nullopt;
    }
    return TextOf(V_BSTR(&*value));
}

std::optional<std::wstring> WmiObject::FirstText(const wchar_t* property) const {
    ScopedVariant value;
    if (!Read(property, value)) {
        return std::nullopt;
    }
    const auto view = ViewArray(*value);
    if (!view || view->type != VT_BSTR) {
        return std::nullopt;
    }
    LONG index = view->lower;
    BSTR element = nullptr;
    if (FAILED(SafeArrayGetElement(view->array, &index, &element))) {
        return std::nullopt;
    }
    const UniqueBstr owned(element);
    return TextOf(owned.get());
}

std::vector<int64_t> WmiObject::Integers(const wchar_t* property) const {
    ScopedVariant value;
    if (!Read(property, value)) {
        return {};
    }
    const auto view = ViewArray(*value);
    if (!view) {
        return {};
    }
    std::vector<int64_t> integers;
    for (int64_t index = view->lower; index <= view->upper; ++index) {
        if (const auto integer = FetchInteger(*view, static_cast<LONG>(index))) {
            integers.push_back(*integer);
        }
    }
    return integers;
}

std::optional<WmiService> WmiService::Connect(IWbemLocator& locator, const wchar_t* nameSpace,
                                              const WmiQueryObserver& observe) {
    const UniqueBstr path = MakeBstr(nameSpace);
    ComPtr<IWbemServices> service;
    const HRESULT result = locator.ConnectServer(path.get(), nullptr, nullptr, nullptr, 0, nullptr, nullptr,
                                                 service.GetAddressOf());
    if (FAILED(result) || !service) {
        return std::nullopt;
    }
    // Only a proxy has a security blanket: a service inside the process refuses it and works without one.
    CoSetProxyBlanket(service.Get(), RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr, RPC_C_AUTHN_LEVEL_CALL,
                      RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE);
    return WmiService(std::move(service), observe);
}

bool WmiService::ForEach(const wchar_t* query, const std::function<void(const WmiObject&)>& visit) const {
    const auto start = std::chrono::steady_clock::now();
    const UniqueBstr language = MakeBstr(L"WQL");
    const UniqueBstr text = MakeBstr(query);
    ComPtr<IEnumWbemClassObject> objects;
    size_t count = 0;
    HRESULT result = m_service->ExecQuery(language.get(), text.get(),
                                          WBEM_FLAG_FORWARD_ONLY | WBEM_FLAG_RETURN_IMMEDIATELY, nullptr,
                                          objects.GetAddressOf());
    const bool executed = SUCCEEDED(result) && objects;
    if (executed) {
        result = VisitAll(*objects.Get(), visit, count);
    }
    if (*m_observe) {
        (*m_observe)({query, result, count, std::chrono::steady_clock::now() - start});
    }
    return executed;
}

} // namespace zq
