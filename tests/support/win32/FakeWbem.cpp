#include "support/win32/FakeWbem.h"

#include <stdexcept>
#include <utility>

#include <wbemcli.h>

namespace zq::test {

namespace {

// Reference counting for an object of one interface, which the fake counts while it lives.
template <class Interface>
class Counted : public Interface {
public:
    explicit Counted(FakeWbem& fake) : m_fake(fake) { m_fake.CountObject(1); }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        if (iid != __uuidof(Interface) && iid != IID_IUnknown) {
            *object = nullptr;
            return E_NOINTERFACE;
        }
        AddRef();
        *object = static_cast<Interface*>(this);
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG left = --m_references;
        if (left == 0) {
            delete this;
        }
        return left;
    }

protected:
    virtual ~Counted() { m_fake.CountObject(-1); }
    FakeWbem& Fake() const { return m_fake; }

private:
    FakeWbem& m_fake;
    std::atomic<ULONG> m_references{1};
};

class ClassObject final : public Counted<IWbemClassObject> {
public:
    ClassObject(FakeWbem& fake, const FakeObject& properties) : Counted(fake), m_properties(properties) {}

    STDMETHODIMP Get(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE*, LONG*) override {
        if (!name || flags != 0 || !value || V_VT(value) != VT_EMPTY) {
            Fake().Complain(L"Get with odd arguments");
            return WBEM_E_INVALID_PARAMETER;
        }
        const auto property = m_properties.find(name);
        if (property == m_properties.end()) {
            return WBEM_E_NOT_FOUND;
        }
        return property->second(*value);
    }

    STDMETHODIMP GetQualifierSet(IWbemQualifierSet**) override { return E_NOTIMPL; }
    STDMETHODIMP Put(LPCWSTR, LONG, VARIANT*, CIMTYPE) override { return E_NOTIMPL; }
    STDMETHODIMP Delete(LPCWSTR) override { return E_NOTIMPL; }
    STDMETHODIMP GetNames(LPCWSTR, LONG, VARIANT*, SAFEARRAY**) override { return E_NOTIMPL; }
    STDMETHODIMP BeginEnumeration(LONG) override { return E_NOTIMPL; }
    STDMETHODIMP Next(LONG, BSTR*, VARIANT*, CIMTYPE*, LONG*) override { return E_NOTIMPL; }
    STDMETHODIMP EndEnumeration() override { return E_NOTIMPL; }
    STDMETHODIMP GetPropertyQualifierSet(LPCWSTR, IWbemQualifierSet**) override { return E_NOTIMPL; }
    STDMETHODIMP Clone(IWbemClassObject**) override { return E_NOTIMPL; }
    STDMETHODIMP GetObjectText(LONG, BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP SpawnDerivedClass(LONG, IWbemClassObject**) override { return E_NOTIMPL; }
    STDMETHODIMP SpawnInstance(LONG, IWbemClassObject**) override { return E_NOTIMPL; }
    STDMETHODIMP CompareTo(LONG, IWbemClassObject*) override { return E_NOTIMPL; }
    STDMETHODIMP GetPropertyOrigin(LPCWSTR, BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP InheritsFrom(LPCWSTR) override { return E_NOTIMPL; }
    STDMETHODIMP GetMethod(LPCWSTR, LONG, IWbemClassObject**, IWbemClassObject**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP PutMethod(LPCWSTR, LONG, IWbemClassObject*, IWbemClassObject*) override { return E_NOTIMPL; }
    STDMETHODIMP DeleteMethod(LPCWSTR) override { return E_NOTIMPL; }
    STDMETHODIMP BeginMethodEnumeration(LONG) override { return E_NOTIMPL; }
    STDMETHODIMP NextMethod(LONG, BSTR*, IWbemClassObject**, IWbemClassObject**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP EndMethodEnumeration() override { return E_NOTIMPL; }
    STDMETHODIMP GetMethodQualifierSet(LPCWSTR, IWbemQualifierSet**) override { return E_NOTIMPL; }
    STDMETHODIMP GetMethodOrigin(LPCWSTR, BSTR*) override { return E_NOTIMPL; }

private:
    const FakeObject& m_properties;
};

class Enumerator final : public Counted<IEnumWbemClassObject> {
public:
    Enumerator(FakeWbem& fake, const FakeQuery& query) : Counted(fake), m_query(query) {}

    STDMETHODIMP Next(LONG timeout, ULONG count, IWbemClassObject** objects, ULONG* returned) override {
        if (timeout != static_cast<LONG>(WBEM_INFINITE) || count != 1 || !objects || !returned || m_ended) {
            Fake().Complain(L"Next with odd arguments or behind the end");
            return WBEM_E_INVALID_PARAMETER;
        }
        *objects = nullptr;
        *returned = 0;
        if (m_next == m_query.objects.size()) {
            m_ended = true;
            return m_query.end;
        }
        *objects = new ClassObject(Fake(), m_query.objects[m_next++]);
        *returned = 1;
        return S_OK;
    }

    STDMETHODIMP Reset() override { return E_NOTIMPL; }
    STDMETHODIMP NextAsync(ULONG, IWbemObjectSink*) override { return E_NOTIMPL; }
    STDMETHODIMP Clone(IEnumWbemClassObject**) override { return E_NOTIMPL; }
    STDMETHODIMP Skip(LONG, ULONG) override { return E_NOTIMPL; }

private:
    const FakeQuery& m_query;
    size_t m_next = 0;
    bool m_ended = false;
};

class Service final : public Counted<IWbemServices> {
public:
    Service(FakeWbem& fake, const FakeNamespace& space) : Counted(fake), m_space(space) {}

    STDMETHODIMP ExecQuery(const BSTR language, const BSTR text, LONG flags, IWbemContext* context,
                           IEnumWbemClassObject** objects) override {
        *objects = nullptr;
        if (!language || std::wstring_view(language) != L"WQL" || !text || flags != 0x30 || context) {
            Fake().Complain(L"ExecQuery with odd arguments");
            return WBEM_E_INVALID_PARAMETER;
        }
        Fake().NoteCall(std::wstring(L"query ") + text);
        const auto query = m_space.queries.find(text);
        if (query == m_space.queries.end()) {
            Fake().Complain(std::wstring(L"unknown query ") + text);
            return WBEM_E_INVALID_CLASS;
        }
        if (SUCCEEDED(query->second.result) && !query->second.withoutEnumerator) {
            *objects = new Enumerator(Fake(), query->second);
        }
        return query->second.result;
    }

    STDMETHODIMP OpenNamespace(const BSTR, LONG, IWbemContext*, IWbemServices**, IWbemCallResult**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP CancelAsyncCall(IWbemObjectSink*) override { return E_NOTIMPL; }
    STDMETHODIMP QueryObjectSink(LONG, IWbemObjectSink**) override { return E_NOTIMPL; }
    STDMETHODIMP GetObject(const BSTR, LONG, IWbemContext*, IWbemClassObject**, IWbemCallResult**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP GetObjectAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP PutClass(IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP PutClassAsync(IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP DeleteClass(const BSTR, LONG, IWbemContext*, IWbemCallResult**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP DeleteClassAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP CreateClassEnum(const BSTR, LONG, IWbemContext*, IEnumWbemClassObject**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP CreateClassEnumAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP PutInstance(IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP PutInstanceAsync(IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP DeleteInstance(const BSTR, LONG, IWbemContext*, IWbemCallResult**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP DeleteInstanceAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP CreateInstanceEnum(const BSTR, LONG, IWbemContext*, IEnumWbemClassObject**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP CreateInstanceEnumAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP ExecQueryAsync(const BSTR, const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP ExecNotificationQuery(const BSTR, const BSTR, LONG, IWbemContext*,
                                       IEnumWbemClassObject**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP ExecNotificationQueryAsync(const BSTR, const BSTR, LONG, IWbemContext*,
                                            IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP ExecMethod(const BSTR, const BSTR, LONG, IWbemContext*, IWbemClassObject*,
                            IWbemClassObject**, IWbemCallResult**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP ExecMethodAsync(const BSTR, const BSTR, LONG, IWbemContext*, IWbemClassObject*,
                                 IWbemObjectSink*) override {
        return E_NOTIMPL;
    }

private:
    const FakeNamespace& m_space;
};

class Locator final : public Counted<IWbemLocator> {
public:
    using Counted::Counted;

    STDMETHODIMP ConnectServer(const BSTR path, const BSTR user, const BSTR password, const BSTR locale,
                               LONG flags, const BSTR authority, IWbemContext* context,
                               IWbemServices** service) override {
        *service = nullptr;
        if (!path || user || password || locale || flags != 0 || authority || context) {
            Fake().Complain(L"ConnectServer with odd arguments");
            return WBEM_E_INVALID_PARAMETER;
        }
        Fake().NoteCall(std::wstring(L"connect ") + path);
        const auto space = Fake().namespaces.find(path);
        if (space == Fake().namespaces.end()) {
            Fake().Complain(std::wstring(L"unknown namespace ") + path);
            return WBEM_E_INVALID_NAMESPACE;
        }
        if (SUCCEEDED(space->second.result) && !space->second.withoutService) {
            *service = new Service(Fake(), space->second);
        }
        return space->second.result;
    }
};

// Lives on the registering thread's stack, longer than its registration.
class LocatorFactory final : public IClassFactory {
public:
    explicit LocatorFactory(FakeWbem& fake) : m_fake(fake) {}

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        const bool known = iid == IID_IClassFactory || iid == IID_IUnknown;
        *object = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP CreateInstance(IUnknown*, REFIID iid, void** object) override {
        *object = nullptr;
        if (FAILED(m_fake.locatorResult)) {
            return m_fake.locatorResult;
        }
        auto* locator = new Locator(m_fake);
        const HRESULT result = locator->QueryInterface(iid, object);
        locator->Release();
        return result;
    }
    STDMETHODIMP LockServer(BOOL) override { return S_OK; }

private:
    FakeWbem& m_fake;
};

void PutInteger(void* place, VARTYPE type, int64_t value) {
    switch (type) {
    case VT_I1:
    case VT_UI1:
        *static_cast<int8_t*>(place) = static_cast<int8_t>(value);
        break;
    case VT_I2:
    case VT_UI2:
        *static_cast<int16_t*>(place) = static_cast<int16_t>(value);
        break;
    case VT_I8:
    case VT_UI8:
        *static_cast<int64_t*>(place) = value;
        break;
    default:
        *static_cast<int32_t*>(place) = static_cast<int32_t>(value);
    }
}

void PutArray(VARIANT& value, VARTYPE type, SAFEARRAY* array) {
    V_VT(&value) = static_cast<VARTYPE>(VT_ARRAY | type);
    V_ARRAY(&value) = array;
}

} // namespace

FakeValue TextValue(const std::wstring& text) {
    return [text](VARIANT& value) {
        V_VT(&value) = VT_BSTR;
        V_BSTR(&value) = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
        return S_OK;
    };
}

FakeValue NullTextValue() {
    return [](VARIANT& value) {
        V_VT(&value) = VT_BSTR;
        V_BSTR(&value) = nullptr;
        return S_OK;
    };
}

FakeValue NullValue() {
    return [](VARIANT& value) {
        V_VT(&value) = VT_NULL;
        return S_OK;
    };
}

FakeValue IntegerValue(VARTYPE type, int64_t integer) {
    return [type, integer](VARIANT& value) {
        V_VT(&value) = type;
        PutInteger(&V_I8(&value), type, integer);
        return S_OK;
    };
}

FakeValue TextsValue(const std::vector<std::optional<std::wstring>>& texts, LONG lowerBound) {
    return [texts, lowerBound](VARIANT& value) {
        SAFEARRAY* array = SafeArrayCreateVector(VT_BSTR, lowerBound, static_cast<ULONG>(texts.size()));
        auto** elements = static_cast<BSTR*>(array->pvData);
        for (size_t i = 0; i < texts.size(); ++i) {
            elements[i] = texts[i] ? SysAllocString(texts[i]->c_str()) : nullptr;
        }
        PutArray(value, VT_BSTR, array);
        return S_OK;
    };
}

FakeValue IntegersValue(VARTYPE type, const std::vector<int64_t>& values, LONG lowerBound) {
    return [type, values, lowerBound](VARIANT& value) {
        SAFEARRAY* array = SafeArrayCreateVector(type, lowerBound, static_cast<ULONG>(values.size()));
        for (size_t i = 0; i < values.size(); ++i) {
            PutInteger(static_cast<char*>(array->pvData) + i * array->cbElements, type, values[i]);
        }
        PutArray(value, type, array);
        return S_OK;
    };
}

FakeValue FailingValue(HRESULT result) {
    return [result](VARIANT&) { return result; };
}

FakeWbem::FakeWbem()
    : m_registered(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      m_stop(CreateEventW(nullptr, TRUE, FALSE, nullptr)), m_thread([this] { KeepRegistered(); }) {
    WaitForSingleObject(m_registered, INFINITE);
    if (FAILED(m_registration)) {
        m_thread.join();
        throw std::runtime_error("the locator cannot be registered");
    }
}

FakeWbem::~FakeWbem() {
    SetEvent(m_stop);
    m_thread.join();
    CloseHandle(m_stop);
    CloseHandle(m_registered);
}

void FakeWbem::KeepRegistered() {
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    LocatorFactory factory(*this);
    DWORD cookie = 0;
    m_registration =
        CoRegisterClassObject(CLSID_WbemLocator, &factory, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie);
    SetEvent(m_registered);
    if (SUCCEEDED(m_registration)) {
        WaitForSingleObject(m_stop, INFINITE);
        CoRevokeClassObject(cookie);
    }
    CoUninitialize();
}

std::vector<std::wstring> FakeWbem::Calls() const {
    const std::lock_guard lock(m_mutex);
    return m_calls;
}

void FakeWbem::ForgetCalls() {
    const std::lock_guard lock(m_mutex);
    std::vector<std::wstring>().swap(m_calls);
}

std::vector<std::wstring> FakeWbem::Complaints() const {
    const std::lock_guard lock(m_mutex);
    return m_complaints;
}

void FakeWbem::NoteCall(std::wstring call) {
    const std::lock_guard lock(m_mutex);
    m_calls.push_back(std::move(call));
}

void FakeWbem::Complain(std::wstring complaint) {
    const std::lock_guard lock(m_mutex);
    m_complaints.push_back(std::move(complaint));
}

void FakeWbem::CountObject(int change) {
    m_liveObjects += change;
    if (change > 0) {
        ++m_madeObjects;
    }
}

} // namespace zq::test
