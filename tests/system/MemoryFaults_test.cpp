// Running out of memory at each allocation that an operation of the module makes, one after the other.
#include "support/win32/FakeWbem.h"
#include "support/win32/ImportFault.h"
#include "support/win32/Module.h"
#include "support/win32/ProcessResources.h"
#include "support/win32/Waiting.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <new>

namespace zq::test {
namespace {

const Fault& NoMemory() {
    static const Fault fault = FaultOf<struct HeapAllocTag>("kernel32.dll", "HeapAlloc", HeapAlloc, nullptr);
    return fault;
}

// Repeats an operation, with a different allocation failing each time, until none fails.
class MemoryFaults : public testing::Test {
protected:
    MemoryFaults() {
        LoadModuleDll();
        m_wbem.namespaces[L"root\\Cimv2"].result = E_FAIL;
        m_wbem.namespaces[L"root\\StandardCimv2"].result = E_FAIL;
    }

    // The operation that runs out of memory; returns whether it threw that.
    bool RaisesBadAlloc(const std::function<void()>& operation) {
        const ArmedFault fault(NoMemory(), m_call, FaultThreads::Calling);
        bool isRaised = false;
        try {
            operation();
        } catch (const std::bad_alloc&) {
            isRaised = true;
        }
        m_hasFailed = fault.HasFailed();
        return isRaised;
    }

    void FailEachAllocation(const std::function<void()>& attempt) {
        size_t bytes = 0;
        for (m_call = 0; m_hasFailed && !HasFailure(); ++m_call) {
            SCOPED_TRACE("allocation " + std::to_string(m_call));
            size_t left = BytesAfter(attempt);
            // What is made once and kept is not made again, and other threads of the process come to rest;
            // what is lost is lost each time.
            for (int again = 0; left != bytes && again < 5; ++again) {
                bytes = left;
                left = BytesAfter(attempt);
            }
            EXPECT_EQ(bytes, left);
        }
        EXPECT_GT(m_call, 1);
    }

    RecordingHost host;
    ModuleFolders folders;

private:
    size_t BytesAfter(const std::function<void()>& attempt) {
        attempt();
        host.Clear();
        m_wbem.ForgetCalls();
        return HeapBytes();
    }

    FakeWbem m_wbem; // the system's own loses memory at each query
    int m_call = 0;
    bool m_hasFailed = true;
};

constexpr int kValues = 40;

void WriteFiles(const ModuleFolders& folders) {
    std::string settings = R"({"DHI":0)";
    std::string list = R"([{"DeviceName":"ALPHA1","Response":[)"
                       R"({"MainRequest":1,"SubRequest":2,"index":0,"Value":[0)";
    std::string quality = R"({"ALPHA1":[{"Q":0)";
    for (int i = 1; i < kValues; ++i) {
        const std::string number = std::to_string(i);
        settings += ",\"S" + number + "\":\"a text that no small string holds " + number + '"';
        list += ',' + number;
        quality += ",\"Q" + number + "\":" + number;
    }
    WriteBytes(folders.Private(kSettingsName), settings + '}');
    WriteBytes(folders.Private(kHmdListName), list + "]}]}]");
    WriteBytes(folders.Private(kQualityName), quality + "},{},{},{}]}");
}

// Each file is there with all its variables or with none.
void ExpectWholeFiles(const Module& module) {
    int settings = 0;
    int list = 0;
    int quality = 0;
    for (int i = 1; i < kValues; ++i) {
        const std::wstring number = std::to_wstring(i);
        settings += module.String((L"S" + number).c_str()).has_value();
        list += module.Int64((L"CL.ALPHA1.1.2.0." + number).c_str()).has_value();
        quality += module.Int64((L"CL.ALPHA1.Quality.Q" + number).c_str()).has_value();
    }
    for (const int count : {settings, list, quality}) {
        EXPECT_TRUE(count == 0 || count == kValues - 1) << count;
    }
}

TEST_F(MemoryFaults, ALoadSetsEverythingOrNothingAndTheFilesStay) {
    WriteFiles(folders);
    const std::string settings = ReadBytes(folders.Private(kSettingsName));

    FailEachAllocation([&] {
        Module module;
        RaisesBadAlloc([&] { module.Init(host, folders); });
        ExpectWholeFiles(module);
        EXPECT_EQ(settings, ReadBytes(folders.Private(kSettingsName)));

        module.Init(host, folders);
        EXPECT_EQ(39, module.Int64(L"CL.ALPHA1.Quality.Q39"));
        EXPECT_TRUE(EndsOnAnotherThread([&] { module->SaveConfigInt64(L"none", 1, 0); }));
    });
}

TEST_F(MemoryFaults, ASaveWritesTheWholeFileOrNothing) {
    WriteFiles(folders);
    Module module;
    module.Init(host, folders);
    module->SaveConfigString(L"S1", "old", 0);
    module->SaveConfigHmdListIntArray(L"ALPHA1", 1, 2, 0, std::array<int64_t, 1>{7}.data(), 1);
    const std::string oldSettings = ReadBytes(folders.Private(kSettingsName));
    const std::string oldList = ReadBytes(folders.Private(kHmdListName));
    module->SaveConfigString(L"S1", "new", 0);
    module->SaveConfigHmdListIntArray(L"ALPHA1", 1, 2, 0, std::array<int64_t, 1>{8}.data(), 1);
    const std::string newSettings = ReadBytes(folders.Private(kSettingsName));
    const std::string newList = ReadBytes(folders.Private(kHmdListName));
    ASSERT_NE(oldSettings, newSettings);
    ASSERT_NE(oldList, newList);

    FailEachAllocation([&] {
        WriteBytes(folders.Private(kSettingsName), oldSettings);
        const bool isRaised = RaisesBadAlloc([&] { module->SaveConfigString(L"S1", "new", 0); });
        EXPECT_EQ(isRaised ? oldSettings : newSettings, ReadBytes(folders.Private(kSettingsName)));
        EXPECT_TRUE(EndsOnAnotherThread([&] { module->SaveConfigString(L"S1", "new", 0); }));
        EXPECT_EQ(newSettings, ReadBytes(folders.Private(kSettingsName)));
    });
}

TEST_F(MemoryFaults, ASaveOfAHeadsetWritesTheWholeFileOrNothing) {
    WriteFiles(folders);
    Module module;
    module.Init(host, folders);
    const std::array<int64_t, 2> values = {7, 8};
    const auto save = [&] { module->SaveConfigHmdListIntArray(L"ALPHA1", 1, 2, 0, values.data(), 2); };
    const std::string before = ReadBytes(folders.Private(kHmdListName));
    save();
    const std::string after = ReadBytes(folders.Private(kHmdListName));
    ASSERT_NE(before, after);

    FailEachAllocation([&] {
        WriteBytes(folders.Private(kHmdListName), before);
        const bool isRaised = RaisesBadAlloc(save);
        EXPECT_EQ(isRaised ? before : after, ReadBytes(folders.Private(kHmdListName)));
        EXPECT_TRUE(EndsOnAnotherThread(save));
        EXPECT_EQ(after, ReadBytes(folders.Private(kHmdListName)));
    });
}

TEST_F(MemoryFaults, AnUnpackedVariableIsOldOrNewAndTheRestCanBeSentAgain) {
    Module sender;
    for (int i = 0; i < kValues; ++i) {
        const std::wstring name = L"Variable" + std::to_wstring(i);
        sender.Variables().SetVariableInt64(name.c_str(), i, nullptr, 0);
        sender.Variables().SetVariableString(name.c_str(), L"a text that no small string holds", nullptr, 0);
        sender.Variables().SetVariableBinary(name.c_str(), 9, "123456789", nullptr, 0);
    }
    size_t size = 0;
    void* packet = sender.Variables().PackAllVariables(&size);

    FailEachAllocation([&] {
        Module module;
        CZQVariable& variables = module.Variables();
        RaisesBadAlloc([&] { variables.UnpackVariables(packet, size, nullptr); });
        for (int i = 0; i < kValues; ++i) {
            const std::wstring name = L"Variable" + std::to_wstring(i);
            EXPECT_EQ(i, module.Int64(name.c_str()).value_or(i));
            EXPECT_EQ(L"a text that no small string holds",
                      module.String(name.c_str()).value_or(L"a text that no small string holds"));
        }
        EXPECT_TRUE(EndsOnAnotherThread([&] { variables.UnpackVariables(packet, size, nullptr); }));
        EXPECT_EQ(kValues - 1, module.Int64(L"Variable39"));
        EXPECT_EQ(9u, module.Binary(L"Variable39").value().size());
    });
    HeapFree(GetProcessHeap(), 0, packet);
}

TEST_F(MemoryFaults, AChangeAndAPacketThatFailLeakNothing) {
    Module module;
    CZQVariable& variables = module.Variables();
    const std::wstring text(200, L'x');
    variables.SetVariableString(L"Name", L"old", nullptr, 0);

    FailEachAllocation([&] {
        RaisesBadAlloc([&] {
            variables.SetVariableString(L"Name", text.c_str(), nullptr, 0);
            variables.SetVariableBinary(L"Name", 9, "123456789", nullptr, 0);
            size_t size = 0;
            HeapFree(GetProcessHeap(), 0, variables.PackAllVariables(&size));
        });
        const auto value = module.String(L"Name");
        EXPECT_TRUE(value == L"old" || value == text);
        variables.RemoveAllVariables();
        variables.SetVariableString(L"Name", L"old", nullptr, 0);
    });
}

TEST_F(MemoryFaults, AnObjectIsMadeCompletelyOrNotAtAll) {
    FailEachAllocation([&] {
        CZQModSettings* settings = nullptr;
        EXPECT_FALSE(RaisesBadAlloc([&] { settings = CreateFromDll(); }));
        if (settings) {
            ZQDestroy(settings);
        }
    });
}

} // namespace
} // namespace zq::test
