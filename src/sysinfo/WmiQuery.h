// WMI as the survey needs it: connect to a namespace, run a query, visit each object, read its properties.
//
// Nothing here logs or throws on a WMI failure; a value that cannot be read is nothing. The calling thread
// must be in the multithreaded apartment for the lifetime of these objects.
#pragma once

#include "sysinfo/WmiQueryReport.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <windows.h>

#include <wbemcli.h>
#include <wrl/client.h>

namespace zq {

class ScopedVariant;

// A view of one object of a query's result, valid while it is visited. A property that is missing, null or
// of another type cannot be read.
class WmiObject {
public:
    explicit WmiObject(IWbemClassObject& object) : m_object(object) {}

    std::optional<std::wstring> Text(const wchar_t* property) const;
    // Also reads a number: WMI returns 64-bit numbers as texts, smaller ones as they are.
    std::optional<std::wstring> NumberText(const wchar_t* property) const;
    // The first element of an array of texts.
    std::optional<std::wstring> FirstText(const wchar_t* property) const;
    // The elements of an array of integers of up to 32 bits, without those that cannot be fetched.
    std::vector<int64_t> Integers(const wchar_t* property) const;

private:
    bool Read(const wchar_t* property, ScopedVariant& value) const;

    IWbemClassObject& m_object;
};

class WmiService {
public:
    // Returns nothing if the namespace cannot be reached. `observe` may be empty, and must outlive the
    // service.
    static std::optional<WmiService> Connect(IWbemLocator& locator, const wchar_t* nameSpace,
                                             const WmiQueryObserver& observe);

    // Runs a WQL query and visits its objects one at a time as they arrive; a failed enumeration ends there.
    // Returns false if the query itself fails.
    bool ForEach(const wchar_t* query, const std::function<void(const WmiObject&)>& visit) const;

private:
    WmiService(Microsoft::WRL::ComPtr<IWbemServices> service, const WmiQueryObserver& observe)
        : m_service(std::move(service)), m_observe(&observe) {}

    Microsoft::WRL::ComPtr<IWbemServices> m_service;
    const WmiQueryObserver* m_observe;
};

} // namespace zq
