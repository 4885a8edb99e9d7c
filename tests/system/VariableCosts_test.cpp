// What an operation on a variable costs: locks and memory, counted at the DLL's own imports.
#include "support/win32/FakeWbem.h"
#include "support/win32/ImportPatch.h"
#include "support/win32/Module.h"
#include "support/win32/VariableHost.h"
#include "support/win32/Waiting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <functional>
#include <new>

namespace zq::test {
namespace {

using HeapAllocFunction = void*(WINAPI*)(HANDLE, DWORD, SIZE_T);
using WaitFunction = DWORD(WINAPI*)(HANDLE, DWORD);
using ReleaseFunction = BOOL(WINAPI*)(HANDLE);

std::atomic<DWORD> g_countedThread{0};
int g_allocations = 0;
int g_waits = 0;
int g_releases = 0;
int g_signals = 0;
int g_failAt = -1; // the allocation that finds no memory

bool IsCounted() { return GetCurrentThreadId() == g_countedThread; }

HeapAllocFunction g_heapAlloc;
void* WINAPI CountHeapAlloc(HANDLE heap, DWORD flags, SIZE_T size) {
    if (IsCounted() && g_allocations++ == g_failAt) {
        return nullptr;
    }
    return g_heapAlloc(heap, flags, size);
}

WaitFunction g_wait;
DWORD WINAPI CountWait(HANDLE object, DWORD milliseconds) {
    g_waits += IsCounted();
    return g_wait(object, milliseconds);
}

ReleaseFunction g_release;
BOOL WINAPI CountRelease(HANDLE mutex) {
    g_releases += IsCounted();
    return g_release(mutex);
}

ReleaseFunction g_signal;
BOOL WINAPI CountSignal(HANDLE event) {
    g_signals += IsCounted();
    return g_signal(event);
}

template <class Function>
Function Typed(FARPROC function) {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(function));
}

struct Cost {
    int allocations;
    int waits;
    int releases;
    int signals;

    friend bool operator==(const Cost&, const Cost&) = default;
    friend void PrintTo(const Cost& cost, std::ostream* out) {
        *out << cost.allocations << " allocations, " << cost.waits << " waits, " << cost.releases
             << " releases, " << cost.signals << " signals";
    }
};

class VariableCosts : public testing::Test {
protected:
    VariableCosts() {
        g_heapAlloc = Typed<HeapAllocFunction>(m_heapAlloc.Original());
        g_wait = Typed<WaitFunction>(m_wait.Original());
        g_release = Typed<ReleaseFunction>(m_release.Original());
        g_signal = Typed<ReleaseFunction>(m_signal.Original());
    }
    ~VariableCosts() override { g_countedThread = 0; }

    static Cost CostOf(const std::function<void()>& operation, int failAt = -1) {
        g_allocations = g_waits = g_releases = g_signals = 0;
        g_failAt = failAt;
        g_countedThread = GetCurrentThreadId();
        try {
            operation();
        } catch (...) {
            g_countedThread = 0;
            throw;
        }
        g_countedThread = 0;
        return {g_allocations, g_waits, g_releases, g_signals};
    }

    Module module;
    CZQVariable& variables = module.Variables();

private:
    static HMODULE Dll() { return GetModuleHandleW(L"ZQModSettings.dll"); }

    ImportPatch m_heapAlloc{Dll(), "kernel32.dll", "HeapAlloc", AsProc(CountHeapAlloc)};
    ImportPatch m_wait{Dll(), "kernel32.dll", "WaitForSingleObject", AsProc(CountWait)};
    ImportPatch m_release{Dll(), "kernel32.dll", "ReleaseMutex", AsProc(CountRelease)};
    ImportPatch m_signal{Dll(), "kernel32.dll", "SetEvent", AsProc(CountSignal)};
};

constexpr Cost kOnePair = {0, 1, 1, 0};
constexpr const wchar_t* kLongName =
    L"CL.A rather long name that no small string holds in itself.Member.0.1.2";

TEST_F(VariableCosts, GettersTakeOneMutexPairAndNoMemory) {
    variables.SetVariableBool(kLongName, 1, nullptr, 0);
    variables.SetVariableInt64(kLongName, 1, nullptr, 0);
    variables.SetVariableDouble(kLongName, 1, nullptr, 0);
    variables.SetVariableString(kLongName, kLongName, nullptr, 0);
    variables.SetVariableBinary(kLongName, 9, "123456789", nullptr, 0);
    ZQBool boolean = 0;
    int64_t integer = 0;
    double real = 0;
    wchar_t text[200];
    size_t length = 0;

    for (const wchar_t* name : {kLongName, L"missing"}) {
        EXPECT_EQ(kOnePair, CostOf([&] { variables.GetVariableBool(name, &boolean); }));
        EXPECT_EQ(kOnePair, CostOf([&] { variables.GetVariableInt64(name, &integer); }));
        EXPECT_EQ(kOnePair, CostOf([&] { variables.GetVariableDouble(name, &real); }));
        EXPECT_EQ(kOnePair, CostOf([&] { variables.GetVariableString(name, text, 200); }));
        EXPECT_EQ(kOnePair, CostOf([&] { variables.GetVariableBinary(name, text, 200, &length); }));
    }
}

TEST_F(VariableCosts, SilentSettersTakeOneMutexPairAndNoMemory) {
    NoticeHost host;
    variables.RegisterHost(&host);
    variables.SetVariableBool(kLongName, 1, nullptr, 0);
    variables.SetVariableInt64(kLongName, 1, nullptr, 0);
    variables.SetVariableDouble(kLongName, 1, nullptr, 0);
    variables.SetVariableString(kLongName, kLongName, nullptr, 0);

    EXPECT_EQ(kOnePair, CostOf([&] { variables.SetVariableBool(kLongName, 1, nullptr, 0); }));
    EXPECT_EQ(kOnePair, CostOf([&] { variables.SetVariableInt64(kLongName, 1, nullptr, 0); }));
    EXPECT_EQ(kOnePair, CostOf([&] { variables.SetVariableDouble(kLongName, 1, nullptr, 0); }));
    EXPECT_EQ(kOnePair, CostOf([&] { variables.SetVariableString(kLongName, kLongName, nullptr, 0); }));
    EXPECT_EQ(kOnePair, CostOf([&] { variables.SetVariableBinary(L"none", 0, nullptr, nullptr, 0); }));
    variables.UnregisterHost(&host);
}

// One pair for the store, one for the list, one for each queue; one signal for each host that was idle.
TEST_F(VariableCosts, AChangeThatNotifiesTakesOneMutexPairForEachLock) {
    const HANDLE mayGoOn = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    std::array<NoticeHost, 3> hosts;
    for (NoticeHost& host : hosts) {
        host.onNotice = [&](const Notice&) { WaitForSingleObject(mayGoOn, 5000); };
        variables.RegisterHost(&host);
    }

    const Cost first = CostOf([&] { variables.SetVariableInt64(L"A", 1, nullptr, 0); });
    EXPECT_EQ(5, first.waits);
    EXPECT_EQ(5, first.releases);
    EXPECT_EQ(3, first.signals);
    ASSERT_TRUE(WaitFor([&] {
        return std::all_of(hosts.begin(), hosts.end(),
                           [](const NoticeHost& host) { return host.Count() == 1; });
    }));

    EXPECT_EQ(3, CostOf([&] { variables.SetVariableInt64(L"A", 2, nullptr, 0); }).signals);
    EXPECT_EQ(0, CostOf([&] { variables.SetVariableInt64(L"A", 3, nullptr, 0); }).signals);
    SetEvent(mayGoOn);
    ASSERT_TRUE(WaitFor([&] {
        return std::all_of(hosts.begin(), hosts.end(),
                           [](const NoticeHost& host) { return host.Count() == 3; });
    }));
    for (NoticeHost& host : hosts) {
        variables.UnregisterHost(&host);
    }
    CloseHandle(mayGoOn);
}

// The file's own, around reading it, and the store's, once for all of its variables.
TEST_F(VariableCosts, ALoadTakesTwoMutexPairsHoweverManyVariablesItHas) {
    FakeWbem wbem;
    wbem.namespaces[L"root\\Cimv2"].result = E_FAIL;
    wbem.namespaces[L"root\\StandardCimv2"].result = E_FAIL;
    RecordingHost host;
    const auto costOfInit = [&](int values) {
        const ModuleFolders folders;
        std::string settings = R"({"DHI":0)";
        for (int i = 0; i < values; ++i) {
            settings += ",\"S" + std::to_string(i) + "\":" + std::to_string(i);
        }
        WriteBytes(folders.Private(kSettingsName), settings + "}");
        Module loading;
        const Cost cost = CostOf([&] { loading.Init(host, folders); });
        EXPECT_EQ(values - 1, loading.Int64((L"S" + std::to_wstring(values - 1)).c_str()));
        return cost;
    };

    const Cost small = costOfInit(1);
    const Cost large = costOfInit(5000);

    // Built-in defaults 1, two files provided 1 each, three files loaded 2 each, the device's index and name
    // 2, its variable and the address list each with the list of hosts 4.
    EXPECT_EQ(15, small.waits);
    EXPECT_EQ(15, small.releases);
    EXPECT_EQ(small.waits, large.waits);
    EXPECT_EQ(small.releases, large.releases);
    EXPECT_EQ(0, large.signals);
}

// Makes each allocation of an operation fail once; after each failure that was thrown, `check` inspects what
// it left. Returns the number of failures.
int FailEachAllocation(const std::function<Cost(int)>& runFailing, const std::function<void()>& check) {
    int raised = 0;
    for (int failAt = 0; failAt < 100; ++failAt) {
        try {
            if (runFailing(failAt).allocations <= failAt) {
                return raised;
            }
        } catch (const std::bad_alloc&) {
            ++raised;
            check();
        }
    }
    return -1;
}

TEST_F(VariableCosts, AnOperationWithoutMemoryThrowsAndLeavesNoLockHeldAndNothingHalfDone) {
    NoticeHost host;
    variables.RegisterHost(&host);
    for (int64_t i = 0; i < 17; ++i) { // the next entry makes the table grow
        variables.SetVariableString((L"Name" + std::to_wstring(i)).c_str(), L"a text beyond small strings",
                                    &host, 0);
    }
    const auto check = [&] {
        EXPECT_TRUE(EndsOnAnotherThread([&] { module.Bool(L"A"); }));
        EXPECT_EQ(L"a text beyond small strings", module.String(L"Name0"));
        const auto text = module.String(L"New");
        EXPECT_TRUE(!text || *text == L"another text that needs memory");
        const auto binary = module.Binary(L"New");
        EXPECT_TRUE(!binary || binary->size() == 9);
        EXPECT_TRUE(HeapValidate(GetProcessHeap(), 0, nullptr));
    };
    const auto sweep = [&](const std::function<void()>& operation) {
        return FailEachAllocation([&](int failAt) { return CostOf(operation, failAt); }, check);
    };

    EXPECT_GT(
        sweep([&] { variables.SetVariableString(L"New", L"another text that needs memory", nullptr, 1); }),
        0);
    EXPECT_GT(sweep([&] { variables.SetVariableBinary(L"New", 9, "123456789", nullptr, 0); }), 0);
    EXPECT_GT(sweep([&] { variables.SetVariableInt64(kLongName, 1, nullptr, 1); }), 0);
    size_t size = 0;
    EXPECT_GT(sweep([&] { HeapFree(GetProcessHeap(), 0, variables.PackAllVariables(&size)); }), 0);
    NoticeHost second;
    EXPECT_GT(sweep([&] { variables.RegisterHost(&second); }), 0);

    const size_t heard = second.Count();
    variables.SetVariableInt64(L"Last", 1, nullptr, 0);
    EXPECT_TRUE(WaitFor([&] { return second.Count() == heard + 1; }));
    variables.UnregisterHost(&host);
    variables.UnregisterHost(&second);
}

} // namespace
} // namespace zq::test
