// Failing calls to Windows: every call that the watcher, the loaders, the saves and the survey make to the
// system fails in turn, and the host can go on using the module.
#include "support/LongForm.h"
#include "support/win32/FakeWbem.h"
#include "support/win32/ImportFault.h"
#include "support/win32/ImportTable.h"
#include "support/win32/Module.h"
#include "support/win32/ProcessResources.h"
#include "support/win32/VariableHost.h"
#include "support/win32/Waiting.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <system_error>
#include <vector>

#include <io.h>
#include <oleauto.h>

namespace zq::test {
namespace {

#define ZQ_FAULT(dll, function, ...) FaultOf<struct function##Tag>(dll, #function, function, __VA_ARGS__)

// What fails in turn.
std::vector<Fault> Faults() {
    const char* kernel = "kernel32.dll";
    return {
        ZQ_FAULT(kernel, CopyFileW, FALSE, ERROR_ACCESS_DENIED),
        ZQ_FAULT(kernel, CreateEventW, nullptr),
        ZQ_FAULT(kernel, CreateFileW, INVALID_HANDLE_VALUE, ERROR_ACCESS_DENIED),
        ZQ_FAULT(kernel, CreateMutexW, nullptr),
        ZQ_FAULT(kernel, CreateThread, nullptr),
        ZQ_FAULT(kernel, FlushFileBuffers, FALSE, ERROR_DISK_FULL),
        ZQ_FAULT(kernel, DeleteFileW, FALSE, ERROR_ACCESS_DENIED),
        ZQ_FAULT(kernel, GetComputerNameW, FALSE, ERROR_BUFFER_OVERFLOW),
        ZQ_FAULT(kernel, GetFileAttributesExW, FALSE, ERROR_ACCESS_DENIED),
        ZQ_FAULT(kernel, GetFileAttributesW, INVALID_FILE_ATTRIBUTES, ERROR_ACCESS_DENIED),
        ZQ_FAULT(kernel, GetFileInformationByHandle, FALSE, ERROR_ACCESS_DENIED),
        ZQ_FAULT(kernel, GetFileSizeEx, FALSE, ERROR_INVALID_HANDLE),
        ZQ_FAULT(kernel, GetFileTime, FALSE, ERROR_ACCESS_DENIED),
        ZQ_FAULT(kernel, GetFinalPathNameByHandleW, 0, ERROR_ACCESS_DENIED),
        ZQ_FAULT(kernel, GetOverlappedResult, FALSE, ERROR_OPERATION_ABORTED),
        ZQ_FAULT(kernel, GetPrivateProfileStringW, 0, ERROR_FILE_NOT_FOUND),
        ZQ_FAULT(kernel, MoveFileExW, FALSE, ERROR_ACCESS_DENIED),
        ZQ_FAULT(kernel, MultiByteToWideChar, 0, ERROR_NO_UNICODE_TRANSLATION),
        ZQ_FAULT(kernel, ReadDirectoryChangesW, FALSE, ERROR_INVALID_FUNCTION),
        ZQ_FAULT(kernel, ReadFile, FALSE, ERROR_READ_FAULT),
        ZQ_FAULT(kernel, SetEndOfFile, FALSE, ERROR_DISK_FULL),
        ZQ_FAULT(kernel, SetFileAttributesW, FALSE, ERROR_ACCESS_DENIED),
        ZQ_FAULT(kernel, SetFilePointerEx, FALSE, ERROR_INVALID_HANDLE),
        ZQ_FAULT(kernel, WaitForMultipleObjects, WAIT_FAILED, ERROR_INVALID_HANDLE),
        ZQ_FAULT(kernel, WideCharToMultiByte, 0, ERROR_NO_UNICODE_TRANSLATION),
        ZQ_FAULT(kernel, WriteFile, FALSE, ERROR_DISK_FULL),
        ZQ_FAULT("msvcrt.dll", _waccess, -1),
        ZQ_FAULT("ole32.dll", CoCreateInstance, E_OUTOFMEMORY),
        ZQ_FAULT("ole32.dll", CoInitializeSecurity, E_OUTOFMEMORY),
        ZQ_FAULT("ole32.dll", CoSetProxyBlanket, E_OUTOFMEMORY),
        ZQ_FAULT("oleaut32.dll", SafeArrayGetDim, 0u),
        ZQ_FAULT("oleaut32.dll", SafeArrayGetElement, E_OUTOFMEMORY),
        ZQ_FAULT("oleaut32.dll", SafeArrayGetLBound, E_INVALIDARG),
        ZQ_FAULT("oleaut32.dll", SafeArrayGetUBound, E_INVALIDARG),
        ZQ_FAULT("oleaut32.dll", SafeArrayGetVartype, E_INVALIDARG),
        ZQ_FAULT("oleaut32.dll", SysAllocString, nullptr),
        ZQ_FAULT("oleaut32.dll", VariantChangeTypeEx, E_OUTOFMEMORY),
    };
}

// Imports that do not fail in turn, and why.
const std::map<std::string, const char*> kNotFailed = {
    {"CancelIoEx", "fails only for a request that is over; the watcher's end has its own time limit"},
    {"CloseHandle", "cannot fail for a handle that is owned"},
    {"CoInitializeEx", "leaving COM follows in any case: tested with the survey"},
    {"CoUninitialize", "has no result"},
    {"GetAdaptersInfo", "both its calls fail in the tests of the survey"},
    {"GetCPInfo", "cannot fail for the system's own code page, and is asked once a process"},
    {"GetCurrentProcessId", "cannot fail"},
    {"GetCurrentThreadId", "cannot fail"},
    {"GetLastError", "cannot fail"},
    {"GetModuleHandleW", "the system's library is always there"},
    {"GetProcessHeap", "cannot fail"},
    {"GetSystemTime", "has no result"},
    {"GetSystemTimeAsFileTime", "has no result"},
    {"GetThreadContext", "cannot fail for a suspended thread that is owned"},
    {"GetTickCount64", "cannot fail"},
    {"HeapAlloc", "fails in turn in tests of its own"},
    {"HeapLock", "cannot fail for the process heap"},
    {"HeapUnlock", "cannot fail for the process heap"},
    {"HeapFree", "cannot fail for a block that is owned"},
    {"QueryPerformanceCounter", "cannot fail"},
    {"ReleaseMutex", "cannot fail for the owner"},
    {"ResumeThread", "cannot fail for a thread that is owned"},
    {"ResetEvent", "cannot fail for an event that is owned"},
    {"SetEvent", "cannot fail for an event that is owned"},
    {"Sleep", "has no result"},
    {"SuspendThread", "cannot fail for a thread that is owned"},
    {"SwitchToThread", "has no result that matters"},
    {"SysFreeString", "has no result"},
    {"TerminateThread", "cannot fail for a thread that is owned"},
    {"VariantClear", "fails only for what the survey never reads"},
    {"VariantInit", "has no result"},
    {"WaitForSingleObject", "cannot fail for an object that is owned"},
};

// Imports that only the compiler's run-time library uses.
const std::set<std::string> kRunTimeLibrary = {
    "AddVectoredExceptionHandler",
    "CreateEventA",
    "CreateHardLinkW",
    "CreateSemaphoreA",
    "DeleteCriticalSection",
    "DuplicateHandle",
    "EnterCriticalSection",
    "FileTimeToSystemTime",
    "FindFirstVolumeW",
    "FindNextVolumeW",
    "FindVolumeClose",
    "FormatMessageA",
    "GetCurrentProcess",
    "GetCurrentThread",
    "GetDiskFreeSpaceExW",
    "GetFileType",
    "GetFullPathNameW",
    "GetHandleInformation",
    "GetModuleHandleA",
    "GetProcAddress",
    "GetProcessAffinityMask",
    "GetProcessTimes",
    "GetSystemTimeAdjustment",
    "GetTempPathW",
    "GetThreadPriority",
    "GetThreadTimes",
    "GetVolumeInformationW",
    "InitializeCriticalSection",
    "IsDBCSLeadByteEx",
    "IsDebuggerPresent",
    "LeaveCriticalSection",
    "LoadLibraryW",
    "LocalFree",
    "OpenProcess",
    "OutputDebugStringA",
    "QueryPerformanceFrequency",
    "RaiseException",
    "ReleaseSemaphore",
    "RemoveDirectoryW",
    "RemoveVectoredExceptionHandler",
    "RtlCaptureContext",
    "RtlLookupFunctionEntry",
    "RtlUnwindEx",
    "RtlVirtualUnwind",
    "SetFilePointer",
    "SetLastError",
    "SetProcessAffinityMask",
    "SetSystemTime",
    "SetThreadContext",
    "SetThreadPriority",
    "TlsAlloc",
    "TlsGetValue",
    "TlsSetValue",
    "TryEnterCriticalSection",
    "VirtualProtect",
    "VirtualQuery",
    "__C_specific_handler",
    // the stack protector of the hardened build
    "CryptAcquireContextA",
    "CryptGenRandom",
    "CryptReleaseContext",
};

TEST(ImportFaults, EveryImportIsFailedOrDecidedUpon) {
    std::set<std::string> failed;
    for (const Fault& fault : Faults()) {
        failed.insert(fault.function);
    }
    for (const auto& [dll, function] : ImportedFunctions(LoadModuleDll())) {
        if (dll == "msvcrt.dll") {
            continue; // the run-time library's; what the module calls of it itself is among the faults
        }
        const int places = static_cast<int>(failed.contains(function)) +
                           static_cast<int>(kNotFailed.contains(function)) +
                           static_cast<int>(kRunTimeLibrary.contains(function));
        EXPECT_EQ(1, places) << dll << '!' << function
                             << ": let it fail in Faults(), or say in kNotFailed why it cannot";
    }
}

constexpr const char* kSettings = R"({"Source":"user","Level":2,"DHI":0,"CL":[{"HD":"ALPHA1"}]})";
// With enough white space that a save makes it shorter.
const std::string kEdited =
    R"({"Source":"edited",)" + std::string(500, ' ') + R"("Level":3,"DHI":0,"CL":[{"HD":"ALPHA1"}]})";

// WMI with an answer to each query.
void Describe(FakeWbem& wbem) {
    const FakeObject adapter = {{L"IPAddress", TextsValue({L"10.0.0.1"})},
                                {L"Description", TextValue(L"adapter")},
                                {L"Speed", IntegerValue(VT_I4, 1'000'000'000)},
                                {L"DriverVersion", TextValue(L"1.2")}};
    auto& cimv2 = wbem.namespaces[L"root\\Cimv2"].queries;
    cimv2[L"SELECT * from Win32_NetworkAdapterConfiguration Where IPEnabled = 'TRUE'"].objects = {adapter};
    cimv2[L"SELECT * FROM Win32_SystemEnclosure"].objects = {
        {{L"ChassisTypes", IntegersValue(VT_I4, {3, 9})}}};
    cimv2[L"SELECT * FROM Win32_VideoController"].objects = {{{L"PNPDeviceID", TextValue(L"PCI\\VEN_10DE")},
                                                              {L"Name", TextValue(L"card")},
                                                              {L"DriverVersion", TextValue(L"1.2")}}};
    wbem.namespaces[L"root\\StandardCimv2"]
        .queries[L"SELECT * from MSFT_NETAdapter Where ConnectorPresent = 'TRUE'"]
        .objects = {adapter};
}

// A typical run of a host in which one of the module's calls to the system fails.
class Day {
public:
    Day() {
        std::filesystem::create_directories(m_folders.InstallDir() / L"ZQClient");
        std::filesystem::create_directories(m_folders.DataDir() / L"rejected");
        WriteBytes(m_folders.InstallDir() / L"ZQClient" / L"Version.txt", "[ProductVersion]\nVersion=1.2\n");
        SetFileAttributesW(DefaultQuality().c_str(), FILE_ATTRIBUTE_READONLY);
    }
    ~Day() { SetFileAttributesW(DefaultQuality().c_str(), FILE_ATTRIBUTE_NORMAL); }
    Day(const Day&) = delete;
    Day& operator=(const Day&) = delete;

    // Whether the call was made at all.
    bool RunWith(const Fault& fault, int call) {
        WriteBytes(m_folders.Private(kSettingsName), kSettings);
        WriteBytes(m_folders.Private(kHmdListName), "[{"); // refused, and so repaired
        SetFileAttributesW(m_folders.Private(kQualityName).c_str(), FILE_ATTRIBUTE_NORMAL);
        std::filesystem::remove(m_folders.Private(kQualityName)); // missing, and so provided
        const ArmedFault armed(fault, call);
        try {
            LiveThrough();
        } catch (const std::exception&) {
            // Reported to the host; the tests of each component check which error it is.
        }
        return armed.HasFailed();
    }

    // What the next start finds.
    void ExpectACleanStart() {
        RecordingHost host;
        Module module;
        module.Init(host, m_folders);
        const auto source = module.String(L"Source");
        EXPECT_TRUE(source == L"user" || source == L"edited" || source == L"default");
        EXPECT_EQ(10, module.Int64(L"CL.ALPHA1.1.2.0.0"));
        EXPECT_EQ(70, module.Int64(L"CL.ALPHA1.Quality.Bitrate"));
    }

private:
    std::wstring DefaultQuality() const { return m_folders.Default(kQualityName).wstring(); }

    void LiveThrough() {
        RecordingHost host;
        NoticeHost notices;
        Module module;
        try {
            module.Init(host, m_folders);
        } catch (const std::exception&) {
            ExpectToAnswer(module);
            throw;
        }
        module.Variables().RegisterHost(&notices);
        module->DoStart();
        if (WaitFor([&] { return host.Has(L"CreateFile to programdata folder success."); }, kBriefly)) {
            WriteBytes(m_folders.Private(kSettingsName), kEdited);
            WaitFor([&] { return host.Reloads() > 0; }, kBriefly);
        }
        module->SaveConfigInt64(L"Level", 4, 0);
        module->SaveConfigHmdListIntArray(L"ALPHA1", 1, 2, 0, &m_value, 1);
        ExpectToAnswer(module);
        module.Variables().UnregisterHost(&notices);
    }

    static void ExpectToAnswer(Module& module) {
        EXPECT_TRUE(
            EndsOnAnotherThread([&] { module.Variables().SetVariableInt64(L"Asked", 1, nullptr, 0); }));
        EXPECT_EQ(1, module.Int64(L"Asked"));
    }

    static constexpr std::chrono::milliseconds kBriefly{250};

    ModuleFolders m_folders;
    int64_t m_value = 10;
};

TEST(ImportFaults, NoFailedCallBreaksTheModuleOrTheNextStart) {
    const int mostCalls = Long(1000, 3);
    FakeWbem wbem;
    Describe(wbem);
    LoadModuleDll();
    Day day;

    size_t handles = HandleCount();
    for (const Fault& fault : Faults()) {
        int call = 0;
        for (bool hasFailed = true; hasFailed && call < mostCalls; ++call) {
            SCOPED_TRACE(fault.function + ", call " + std::to_string(call));
            hasFailed = day.RunWith(fault, call);
            if (HandleCount() > handles) { // what the system makes once and keeps is not made again
                handles = HandleCount();
                day.RunWith(fault, call);
            }
            EXPECT_LE(HandleCount(), handles);
            day.ExpectACleanStart();
            EXPECT_TRUE(HeapValidate(GetProcessHeap(), 0, nullptr));
            EXPECT_EQ(0, wbem.LiveObjects());
        }
        EXPECT_GT(call, 1) << fault.function << " is never called";
    }
}

Fault NoMutex() { return ZQ_FAULT("kernel32.dll", CreateMutexW, nullptr); }
Fault NoEvent() { return ZQ_FAULT("kernel32.dll", CreateEventW, nullptr); }

TEST(ImportFaults, NoObjectIsMadeWithoutItsMutexes) {
    LoadModuleDll();
    int call = 0;
    for (bool hasFailed = true; hasFailed; ++call) {
        const ArmedFault fault(NoMutex(), call);
        CZQModSettings* settings = CreateFromDll();
        hasFailed = fault.HasFailed();
        EXPECT_EQ(hasFailed, settings == nullptr);
        if (settings) {
            ZQDestroy(settings);
        }
    }
    EXPECT_GT(call, 2);
}

TEST(ImportFaults, AHostWithoutAMutexForItsQueueIsNotRegistered) {
    NoticeHost host;
    Module module;
    {
        const ArmedFault fault(NoMutex(), 0);
        EXPECT_THROW(module.Variables().RegisterHost(&host), std::system_error);
    }
    module.Variables().SetVariableInt64(L"A", 1, nullptr, 0);
    module.Variables().RegisterHost(&host);
    module.Variables().SetVariableInt64(L"B", 1, nullptr, 0);

    EXPECT_TRUE(WaitFor([&] { return host.Count() == 1; }));
    module.Variables().UnregisterHost(&host);
}

TEST(ImportFaults, AHostWithoutItsEventsIsNeverNotifiedAndLeavesAtOnce) {
    Module module;
    for (int event = 0; event < 2; ++event) {
        NoticeHost host;
        {
            const ArmedFault fault(NoEvent(), event);
            module.Variables().RegisterHost(&host);
            EXPECT_TRUE(fault.HasFailed());
        }
        module.Variables().SetVariableInt64(L"A", 1, nullptr, 1);
        const auto start = std::chrono::steady_clock::now();
        module.Variables().UnregisterHost(&host);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(900));
        EXPECT_EQ(0u, host.Count());
    }
}

TEST(ImportFaults, AWatcherWithoutItsEventLogsThatAndEnds) {
    RecordingHost host;
    ModuleFolders folders;
    Module module;
    module.Init(host, folders);
    const ArmedFault fault(NoEvent(), 0);
    module->DoStart();

    EXPECT_TRUE(WaitFor([&] { return host.Has(L"ThreadEntryWatchConfig end."); }));
    EXPECT_TRUE(host.Has(L"Fail to ReadDirectoryChangesW, error = 6"));
}

} // namespace
} // namespace zq::test
