// The save slots through the DLL: what the file holds afterwards, and what is logged.
#include "support/LongForm.h"
#include "support/win32/Module.h"
#include "support/win32/UnixCommand.h"
#include "support/win32/Waiting.h"

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <thread>

namespace zq::test {
namespace {

namespace fs = std::filesystem;

class Save : public testing::Test {
protected:
    void InitWith(std::string_view settings) {
        WriteBytes(folders.Private(kSettingsName), settings);
        module.Init(host, folders);
        host.Clear();
    }

    std::string Settings() const { return ReadBytes(folders.Private(kSettingsName)); }
    std::wstring Done(int code, const wchar_t* name) const {
        return L"[ModSetting] SaveJsonDoc() done, ret code :" + std::to_wstring(code) + L",file:" +
               folders.CommonDataDir() + L"\\ZQserver\\" + name;
    }

    ModuleFolders folders;
    RecordingHost host;
    Module module;
};

TEST_F(Save, PerDeviceChangesTheEntryInUseNotTheOneOfTheName) {
    InitWith(R"({"DHI":1,"CL":[{"HD":"A","K":1},{"HD":"B","K":2},{"HD":"C","K":3},{"HD":"D","K":4}]})");

    module->SaveConfigInt64(L"CL.3.K", 9, 1);

    const std::string text = Settings();
    EXPECT_NE(std::string::npos, text.find("\"HD\": \"B\",\n            \"K\": 9"));
    EXPECT_NE(std::string::npos, text.find("\"HD\": \"D\",\n            \"K\": 4"));
    EXPECT_TRUE(host.Has(Done(0, kSettingsName)));
}

TEST_F(Save, PerDeviceWithAnAbsentKeySavesNothing) {
    const std::string text = R"({"DHI":0,"CL.0.K":1,"CL":[{"HD":"A"}]})";
    InitWith(text);

    module->SaveConfigInt64(L"CL.0.K", 9, 1);

    EXPECT_EQ(text, Settings());
    EXPECT_TRUE(host.Lines().empty());
}

TEST_F(Save, PerDeviceWithoutAHeaderListChangesTheRootsMember) {
    InitWith(R"({"CL.0.K":1})");

    module->SaveConfigInt64(L"CL.0.K", 9, 1);

    EXPECT_EQ("{\n    \"CL.0.K\": 9\n}", Settings());
}

TEST_F(Save, ABoolSavedAsDoubleBecomesADouble) {
    InitWith(R"({"A":true})");

    module->SaveConfigDouble(L"A", 2.5, 0);

    EXPECT_EQ("{\n    \"A\": 2.5\n}", Settings());
}

TEST_F(Save, EachTypeIsWrittenInItsForm) {
    InitWith(R"({"B":0,"D":0,"I":0,"S":0})");

    module->SaveConfigBool(L"B", 1, 0);
    module->SaveConfigDouble(L"D", 1.23456, 0);
    module->SaveConfigInt64(L"I", std::numeric_limits<int64_t>::min(), 0);
    module->SaveConfigString(L"S", "a\"\\\n\x01", 0);

    EXPECT_EQ("{\n    \"B\": true,\n    \"D\": 1.2345,\n    \"I\": -9223372036854775808,\n"
              "    \"S\": \"a\\\"\\\\\\n\\u0001\"\n}",
              Settings());
    Module other;
    other.Init(host, folders);
    EXPECT_EQ(1, other.Bool(L"B"));
    EXPECT_EQ(1.2345, other.Double(L"D"));
}

TEST_F(Save, TheHeadsetListsFirstResponseIsChangedWithoutNumbers) {
    InitWith("{}");
    const int64_t values[] = {1, -2};

    module->SaveConfigHmdListIntArray(L"ALPHA1", -1, -1, -1, values, 2);

    EXPECT_NE(std::string::npos, ReadBytes(folders.Private(kHmdListName))
                                     .find("\"Value\": [\n                    1,\n                    -2,\n"
                                           "                    30\n"));
}

TEST_F(Save, ACountOfZeroOrLessRewritesTheHeadsetList) {
    InitWith("{}");
    for (const int32_t count : {0, -3}) {
        WriteBytes(folders.Private(kHmdListName), ReadBytes(folders.Default(kHmdListName)));

        module->SaveConfigHmdListIntArray(L"ALPHA1", 1, 2, 0, nullptr, count);

        EXPECT_TRUE(ReadBytes(folders.Private(kHmdListName))
                        .starts_with("[\n    {\n        \"DeviceName\": \"ALPHA1\""));
    }
}

TEST_F(Save, AnUnknownHeadsetIsLoggedAndNothingSaved) {
    InitWith("{}");
    const std::string before = ReadBytes(folders.Private(kHmdListName));
    const int64_t value = 1;

    module->SaveConfigHmdListIntArray(L"NOBODY", 1, 2, 0, &value, 1);

    const std::vector<LogLine> expected = {
        {2, L"SaveConfigHmdListIntArray() No HmdList condfig for HMD NOBODY"}};
    EXPECT_EQ(expected, host.Lines());
    EXPECT_EQ(before, ReadBytes(folders.Private(kHmdListName)));
}

TEST_F(Save, AFileOfFewerThanFourBytesIsNotSaved) {
    InitWith("{}");

    module->SaveConfigInt64(L"A", 1, 0);

    EXPECT_EQ("{}", Settings());
}

TEST_F(Save, TheKeptSlotsNeverChangeAFile) {
    const std::string text = R"({"A":1})";
    InitWith(text);

    module->SaveConfigRemoved6(L"A");
    module->SaveConfigRemoved7(L"B");
    module->SaveConfigRemoved8(L"C");
    module->SaveConfigRemoved9(L"D");

    const std::vector<LogLine> expected = {{2, L"Remove SaveConfig: A"},
                                           {2, L"Remove SaveConfig: B"},
                                           {2, L"Remove SaveConfig: C"},
                                           {2, L"Remove SaveConfig: D"}};
    EXPECT_EQ(expected, host.Lines());
    EXPECT_EQ(text, Settings());
}

TEST_F(Save, WhatCannotBeSavedLeavesTheBytes) {
    InitWith("{}");
    const std::string deep = R"({"A":1,"B":)" + std::string(100'000, '[') + std::string(100'000, ']') + "}";
    for (const std::string& text :
         {std::string(R"({"A":1 "B":2})"), std::string("[1,2,3]"), std::string("\xEF\xBB\xBF{\"A\":1}"), deep,
          std::string("{\"A\":1}\0\0", 9), std::string(R"({"A\u0000":1})")}) {
        WriteBytes(folders.Private(kSettingsName), text);

        module->SaveConfigInt64(L"A", 9, 0);

        EXPECT_EQ(text, Settings());
    }
}

TEST_F(Save, ADoubleThatJsonCannotHoldIsNotSaved) {
    const std::string text = R"({"A":1})";
    InitWith(text);

    module->SaveConfigDouble(L"A", std::numeric_limits<double>::infinity(), 0);
    module->SaveConfigDouble(L"A", std::nan(""), 0);

    EXPECT_EQ(text, Settings());
}

TEST_F(Save, ANameThatTheCodePageCannotExpressIsComparedByItsBestFit) {
    InitWith(R"({"?":1})");

    module->SaveConfigInt64(L"\u8A2D", 9, 0);

    EXPECT_EQ("{\n    \"?\": 9\n}", Settings());
}

// The thread's code page may differ from the system's.
TEST_F(Save, ANameIsConvertedByTheCodePageOfTheThread) {
    constexpr LCID kRussian = MAKELCID(MAKELANGID(LANG_RUSSIAN, SUBLANG_DEFAULT), SORT_DEFAULT);
    const LCID before = GetThreadLocale();
    InitWith("{\"\xC6\":1}");
    ASSERT_TRUE(SetThreadLocale(kRussian));

    module->SaveConfigInt64(L"\u0416", 9, 0);

    SetThreadLocale(before);
    EXPECT_EQ("{\n    \"\xC6\": 9\n}", Settings());
}

TEST_F(Save, AMemberThatOccursTwiceIsSavedTwice) {
    InitWith(R"({"A":1,"A":2})");

    module->SaveConfigInt64(L"A", 9, 0);

    EXPECT_EQ("{\n    \"A\": 9,\n    \"A\": 9\n}", Settings());
}

TEST_F(Save, NullNamesAndValuesRaiseInvalidArgument) {
    InitWith("{}");

    EXPECT_THROW(module->SaveConfigInt64(nullptr, 1, 0), std::invalid_argument);
    EXPECT_THROW(module->SaveConfigString(L"A", nullptr, 0), std::invalid_argument);
    EXPECT_THROW(module->SaveConfigHmdListIntArray(nullptr, 1, 1, 1, nullptr, 0), std::invalid_argument);
    EXPECT_THROW(module->SaveConfigHmdListIntArray(L"A", 1, 1, 1, nullptr, 1), std::invalid_argument);
}

TEST_F(Save, AFileThatCannotBeOpenedForWritingKeepsItsBytes) {
    const std::string text = R"({"A":1})";
    InitWith(text);
    const HANDLE reader = CreateFileW(folders.Private(kSettingsName).c_str(), GENERIC_READ, FILE_SHARE_READ,
                                      nullptr, OPEN_EXISTING, 0, nullptr);

    module->SaveConfigInt64(L"A", 9, 0);

    CloseHandle(reader);
    EXPECT_EQ(text, Settings());
    EXPECT_TRUE(host.Has(Done(1, kSettingsName)));
}

// A save that would otherwise succeed is logged as not written; one that would not is
// reported as usual.
TEST_F(Save, AFileThatOthersShareOnlyForReadingIsStillRead) {
    const std::string text = R"({"A":1})";
    InitWith(text);
    const std::string headsets = ReadBytes(folders.Private(kHmdListName));
    const auto hold = [&](const wchar_t* name) {
        return CreateFileW(folders.Private(name).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                           OPEN_EXISTING, 0, nullptr);
    };
    const HANDLE readers[] = {hold(kSettingsName), hold(kHmdListName)};
    const int64_t value = 1;

    module->SaveConfigInt64(L"A", 9, 0);
    module->SaveConfigInt64(L"Unknown", 9, 0);
    module->SaveConfigHmdListIntArray(L"NOBODY", 1, 2, 0, &value, 1);

    for (const HANDLE reader : readers) {
        CloseHandle(reader);
    }
    const std::vector<LogLine> expected = {
        {2, Done(1, kSettingsName)}, {2, L"SaveConfigHmdListIntArray() No HmdList condfig for HMD NOBODY"}};
    EXPECT_EQ(expected, host.Lines());
    EXPECT_EQ(text, Settings());
    EXPECT_EQ(headsets, ReadBytes(folders.Private(kHmdListName)));
}

TEST_F(Save, AFileThatIsALinkToAnotherFolderIsNotSaved) {
    if (!HasUnixCommands()) {
        GTEST_SKIP();
    }
    const std::string text = R"({"A":1})";
    WriteBytes(folders.Outside(L"target.json"), text);
    fs::create_directory(folders.DataDir());
    MakeLink(folders.Outside(L"target.json"), folders.Private(kSettingsName));
    module.Init(host, folders);
    EXPECT_EQ(1, module.Int64(L"A"));
    host.Clear();

    module->SaveConfigInt64(L"A", 9, 0);

    EXPECT_EQ(text, ReadBytes(folders.Outside(L"target.json")));
    EXPECT_EQ((std::vector<LogLine>{{2, Done(1, kSettingsName)}}), host.Lines());
}

TEST_F(Save, AHardLinkIsSavedForAllItsNames) {
    InitWith(R"({"A":1})");
    const fs::path other = folders.Outside(L"other.json");
    fs::create_hard_link(folders.Private(kSettingsName), other);

    module->SaveConfigInt64(L"A", 9, 0);

    EXPECT_EQ("{\n    \"A\": 9\n}", Settings());
    EXPECT_EQ(Settings(), ReadBytes(other));
}

TEST_F(Save, AFolderWithTheFilesNameIsLeftAloneSilently) {
    InitWith(R"({"A":1})");
    const fs::path file = folders.Private(kSettingsName);
    fs::remove(file);
    fs::create_directory(file);

    module->SaveConfigInt64(L"A", 9, 0);

    EXPECT_TRUE(host.Lines().empty());
    EXPECT_TRUE(fs::is_directory(file));
}

TEST_F(Save, ThreadsThatSaveDifferentMembersLoseNone) {
    InitWith(R"({"T0":0,"T1":0,"T2":0,"T3":0})");
    const int saves = Long(1000, 100);
    std::vector<std::thread> threads;

    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            const std::wstring name = L"T" + std::to_wstring(t);
            for (int i = 1; i <= saves; ++i) {
                module->SaveConfigInt64(name.c_str(), i, 0);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }

    const std::string last = std::to_string(saves);
    EXPECT_EQ("{\n    \"T0\": " + last + ",\n    \"T1\": " + last + ",\n    \"T2\": " + last +
                  ",\n    \"T3\": " + last + "\n}",
              Settings());
    EXPECT_EQ(0, host.Count(Done(1, kSettingsName)));
}

TEST_F(Save, FromInsideTheHostsLogNeitherBlocksNorRecursesEndlessly) {
    InitWith(R"({"A":1,"B":1})");
    host.onLog = Once([this] { module->SaveConfigInt64(L"B", 2, 0); });

    module->SaveConfigInt64(L"A", 2, 0);

    EXPECT_EQ("{\n    \"A\": 2,\n    \"B\": 2\n}", Settings());
}

class SaveWhileWatched : public Save {
protected:
    void WatchWith(std::string_view settings) {
        WriteBytes(folders.Private(kSettingsName), settings);
        InitAndWatch(module, host, folders);
        host.Clear();
    }

    bool IsRepaired() const {
        for (const LogLine& line : host.Lines()) {
            if (line.text.find(L" again OK ") != std::wstring::npos) {
                return true;
            }
        }
        return false;
    }
};

TEST_F(SaveWhileWatched, ManySavesEndAtTheLastValueInFileAndVariables) {
    WatchWith(R"({"A":0})");
    const int saves = Long(1000, 150);

    for (int i = 1; i <= saves; ++i) {
        module->SaveConfigInt64(L"A", i, 0);
    }

    EXPECT_TRUE(WaitFor([&] { return module.Int64(L"A") == saves; }));
    EXPECT_EQ("{\n    \"A\": " + std::to_string(saves) + "\n}", Settings());
    EXPECT_FALSE(IsRepaired());
    EXPECT_EQ(0, host.Count(Done(1, kSettingsName)));
}

// A host that saves once, from inside a callback.
class SavingHost final : public CZQVariableHost {
public:
    explicit SavingHost(CZQModSettings& module) : m_module(module) {}

    void OnVariableChanged(const wchar_t*, uint32_t, CZQVariableHost*) override {
        m_module.SaveConfigInt64(L"C", 1, 0);
    }
    void OnVariablesReloaded() override {
        if (!m_hasSaved.exchange(true)) {
            m_module.SaveConfigInt64(L"R", 1, 0);
        }
    }

private:
    CZQModSettings& m_module;
    std::atomic<bool> m_hasSaved{false};
};

TEST_F(SaveWhileWatched, FromInsideCallbacksReachesTheVariables) {
    WatchWith(R"({"C":0,"R":0,"O":0})");
    host.onReloaded = Once([this] { module->SaveConfigInt64(L"O", 1, 0); });
    SavingHost saver(module.Settings());
    module.Variables().RegisterHost(&saver);

    module.Variables().SetVariableInt64(L"Anything", 1, nullptr, 0);

    EXPECT_TRUE(WaitFor(
        [&] { return module.Int64(L"C") == 1 && module.Int64(L"R") == 1 && module.Int64(L"O") == 1; }));
    module.Variables().UnregisterHost(&saver);
    module->DoStop();
    EXPECT_EQ("{\n    \"C\": 1,\n    \"R\": 1,\n    \"O\": 1\n}", Settings());
    EXPECT_FALSE(IsRepaired());
}

} // namespace
} // namespace zq::test
