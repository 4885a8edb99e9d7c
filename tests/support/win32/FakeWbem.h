// A fake WMI: a locator, namespaces, queries and objects as the test describes them, registered in this
// process in place of the system's. What is not described fails and is kept as a complaint, as are calls that
// WMI itself would refuse.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <windows.h>

#include <oleauto.h>

namespace zq::test {

// Fills the variant of a property, or fails.
using FakeValue = std::function<HRESULT(VARIANT&)>;

FakeValue TextValue(const std::wstring& text);
FakeValue NullTextValue(); // a VT_BSTR without a string
FakeValue NullValue();     // VT_NULL: what WMI gives for a property that is not set
FakeValue IntegerValue(VARTYPE type, int64_t value);
FakeValue TextsValue(const std::vector<std::optional<std::wstring>>& texts, LONG lowerBound = 0);
FakeValue IntegersValue(VARTYPE type, const std::vector<int64_t>& values, LONG lowerBound = 0);
FakeValue FailingValue(HRESULT result);

// The properties of one object; others fail with WBEM_E_NOT_FOUND.
using FakeObject = std::map<std::wstring, FakeValue>;

struct FakeQuery {
    HRESULT result = S_OK;
    bool withoutEnumerator = false; // succeeds and returns none
    std::vector<FakeObject> objects;
    HRESULT end = S_FALSE; // what the enumerator returns after the last object
};

struct FakeNamespace {
    HRESULT result = S_OK;
    bool withoutService = false; // succeeds and returns none
    std::map<std::wstring, FakeQuery> queries;
};

using FakeNamespaces = std::map<std::wstring, FakeNamespace>;

class FakeWbem {
public:
    // Registers the locator, on a separate thread that keeps the process's multithreaded apartment.
    FakeWbem();
    ~FakeWbem();
    FakeWbem(const FakeWbem&) = delete;
    FakeWbem& operator=(const FakeWbem&) = delete;

    // To be described before the locator is used.
    FakeNamespaces namespaces;
    HRESULT locatorResult = S_OK;

    // What was asked, one line each, such as "connect root\Cimv2".
    std::vector<std::wstring> Calls() const;
    void ForgetCalls();
    std::vector<std::wstring> Complaints() const;
    // COM objects that somebody still holds, the class factory aside.
    int LiveObjects() const { return m_liveObjects; }
    // COM objects that were made at all.
    int MadeObjects() const { return m_madeObjects; }

    // For the fake's own objects.
    void NoteCall(std::wstring call);
    void Complain(std::wstring complaint);
    void CountObject(int change);

private:
    void KeepRegistered();

    mutable std::mutex m_mutex;
    std::vector<std::wstring> m_calls;
    std::vector<std::wstring> m_complaints;
    std::atomic<int> m_liveObjects{0};
    std::atomic<int> m_madeObjects{0};
    HANDLE m_registered;
    HANDLE m_stop;
    HRESULT m_registration = E_FAIL;
    std::thread m_thread;
};

} // namespace zq::test
