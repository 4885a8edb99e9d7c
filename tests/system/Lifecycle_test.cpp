// The four lifecycle operations as a host sees them: their whole logs, their order, what they leave behind.
#include "support/LongForm.h"
#include "support/win32/Module.h"
#include "support/win32/Waiting.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>

namespace zq::test {
namespace {

namespace fs = std::filesystem;

// The machine survey's messages depend on the machine; its own tests check them.
std::vector<LogLine> WithoutSurvey(std::vector<LogLine> lines) {
    std::erase_if(lines, [](const LogLine& line) {
        return line.text.starts_with(L"[WmiServiceExectue]") || line.text.starts_with(L"[FindIpAddress]");
    });
    return lines;
}

std::wstring Path(const ModuleFolders& folders, const wchar_t* name) {
    return folders.CommonDataDir() + L"\\ZQserver\\" + name;
}

TEST(Lifecycle, TheWholeLogOfAFirstStart) {
    ModuleFolders folders;
    RecordingHost host;
    Module module;

    module.Init(host, folders);

    const std::vector<LogLine> expected = {
        {2, L"DoInit begin"},
        {1, L"[DoInit] copy " + Path(folders, kSettingsName) + L" OK , exist:0 ."},
        {1, L"[DoInit] copy " + Path(folders, kHmdListName) + L" OK , exist:0 ."},
        {1, L"[DoInit] copy " + Path(folders, kQualityName) + L" OK , exist:0 ."},
        {2, L"LoadSettingsFromFile begin."},
        {2, L"Set variable STRING HmdNameList.0 = ALPHA1"},
        {2, L"Set variable STRING HmdNameList.1 = BETA2"},
        {2, L"LoadHmdListFromFile begin."},
        {2, L"LoadQualityFromFile begin."},
        {2, L"Use default device name MERIN5 because get DHI failed"},
        {2, L"DoInit end."},
    };
    EXPECT_EQ(expected, WithoutSurvey(host.Lines()));
}

TEST(Lifecycle, TheWholeLogOfARepair) {
    ModuleFolders folders;
    WriteBytes(folders.Private(kSettingsName), "{\"A\":1}\r\n");
    WriteBytes(folders.Private(kHmdListName), "{}");
    WriteBytes(folders.Private(kQualityName), "{\"Q\":2}");
    RecordingHost host;
    Module module;

    module.Init(host, folders);

    const std::wstring settings = Path(folders, kSettingsName);
    const std::vector<LogLine> expected = {
        {2, L"DoInit begin"},
        {2, L"LoadSettingsFromFile begin."},
        {1, L"LoadSettingsFromFile() JSON paser " + settings +
                L" fail ret length: 7 , file length:9 copy again."},
        {1, L"DoInit() copy " + settings + L" again OK , exist:0."},
        {2, L"LoadSettingsFromFile begin."},
        {2, L"Set variable STRING HmdNameList.0 = ALPHA1"},
        {2, L"Set variable STRING HmdNameList.1 = BETA2"},
        {2, L"LoadHmdListFromFile begin."},
        {4, L"Invalid hmd list format."},
        {1, L"DoInit() copy " + Path(folders, kHmdListName) + L" again OK , exist:0."},
        {2, L"LoadHmdListFromFile begin."},
        {2, L"LoadQualityFromFile begin."},
        {2, L"Use default device name MERIN5 because get DHI failed"},
        {2, L"DoInit end."},
    };
    EXPECT_EQ(expected, WithoutSurvey(host.Lines()));
    EXPECT_EQ(std::nullopt, module.Int64(L"A"));
    EXPECT_EQ(2, module.Int64(L"Q"));
}

TEST(Lifecycle, TheWholeLogFromStartToRelease) {
    ModuleFolders folders;
    RecordingHost host;
    Module module;
    module.Init(host, folders);
    host.Clear();

    module->DoStart();
    ASSERT_TRUE(WaitFor([&] { return host.Has(L"CreateFile to programdata folder success."); }));
    ASSERT_TRUE(WaitFor([&] { return host.Has(L"DoStart end"); }));
    module->DoStop();
    module->DoRelease();

    std::vector<std::wstring> watcher;
    std::vector<std::wstring> caller;
    for (const LogLine& line : host.Lines()) {
        const bool isWatcher = line.text.find(L"ThreadEntry") == 0 || line.text.find(L"CreateFile") == 0;
        (isWatcher ? watcher : caller).push_back(line.text);
    }
    std::erase_if(caller,
                  [](const std::wstring& text) { return text.starts_with(L"[GetLocalClientAPKVersion]"); });
    EXPECT_EQ((std::vector<std::wstring>{L"ThreadEntryWatchConfig begin.",
                                         L"CreateFile to programdata folder success.",
                                         L"ThreadEntryWatchConfig end."}),
              watcher);
    EXPECT_EQ((std::vector<std::wstring>{L"DoStart begin", L"DoStart end", L"DoStop begin", L"DoStop end",
                                         L"DoRelease begin", L"DoRelease end"}),
              caller);
}

TEST(Lifecycle, AMissingDefaultFileLeavesDoInitAsAFileSystemError) {
    ModuleFolders folders;
    fs::remove(folders.Default(kHmdListName));
    RecordingHost host;
    Module module;

    EXPECT_THROW(module.Init(host, folders), fs::filesystem_error);

    EXPECT_FALSE(host.Has(L"LoadSettingsFromFile begin."));
    EXPECT_FALSE(host.Has(L"DoInit end."));
}

TEST(Lifecycle, AMissingDataFolderLeavesDoInitAsAFileSystemError) {
    ModuleFolders folders;
    fs::remove_all(folders.DataDir());
    RecordingHost host;
    Module module;

    EXPECT_THROW(module.Init(host, folders), fs::filesystem_error);
}

TEST(Lifecycle, ARefusedFileWhoseDefaultIsRefusedTooLeavesTheDefaultSettings) {
    ModuleFolders folders;
    WriteBytes(folders.Default(kSettingsName), "broken");
    RecordingHost host;
    Module module;

    module.Init(host, folders);

    EXPECT_EQ(1, module.Int64(L"Settings.PerformanceLevel"));
    EXPECT_TRUE(host.Has(L"DoInit end."));
}

TEST(Lifecycle, NullPathsAreTakenAsEmpty) {
    RecordingHost host;
    Module module;

    EXPECT_THROW(module->DoInit(&host, nullptr, nullptr, nullptr), fs::filesystem_error);

    EXPECT_TRUE(host.Has(L"DoInit begin"));
}

TEST(Lifecycle, AnInstallationFolderOfMoreThan511CharactersIsAnInvalidParameter) {
    ModuleFolders folders;
    RecordingHost host;
    Module module;
    const std::wstring longest = std::wstring(511, L'x') + L"\\host.exe";
    const std::wstring tooLong = std::wstring(512, L'x') + L"\\host.exe";

    EXPECT_EQ(0, module->DoInit(&host, longest.c_str(), folders.DefaultDir().c_str(),
                                folders.CommonDataDir().c_str()));
    EXPECT_THROW(
        module->DoInit(&host, tooLong.c_str(), folders.DefaultDir().c_str(), folders.CommonDataDir().c_str()),
        std::invalid_argument);
}

TEST(Lifecycle, AHostPathWithoutABackslashHasAnEmptyInstallationFolder) {
    ModuleFolders folders;
    RecordingHost host;
    Module module;
    module->DoInit(&host, L"host.exe", folders.DefaultDir().c_str(), folders.CommonDataDir().c_str());

    module->DoStart();

    EXPECT_TRUE(
        host.Has(L"[GetLocalClientAPKVersion] Client version txt (\\ZQClient\\Version.txt) is not exist, "
                 L"just pass false to checker function"));
}

TEST(Lifecycle, ANullHostIsSilent) {
    ModuleFolders folders;
    Module module;

    EXPECT_EQ(0, module->DoInit(nullptr, folders.HostPath().c_str(), folders.DefaultDir().c_str(),
                                folders.CommonDataDir().c_str()));

    EXPECT_EQ(L"default", module.String(L"Source"));
}

TEST(Lifecycle, StoppingWithoutAStartOnlyLogs) {
    ModuleFolders folders;
    RecordingHost host;
    Module module;
    module.Init(host, folders);
    host.Clear();

    module->DoStop();
    module->DoStop();

    const std::vector<LogLine> expected = {
        {2, L"DoStop begin"}, {2, L"DoStop end"}, {2, L"DoStop begin"}, {2, L"DoStop end"}};
    EXPECT_EQ(expected, host.Lines());
}

TEST(Lifecycle, AMessageBeforeDoInitIsDropped) {
    ModuleFolders folders;
    RecordingHost host;
    Module module;
    module->UpdateDefaultDeviceName();

    module.Init(host, folders);

    EXPECT_EQ(1, host.Count(L"Use default device name MERIN5 because get DHI failed"));
    EXPECT_EQ(L"DoInit begin", host.Lines().front().text);
}

TEST(Lifecycle, AReadOnlyPrivateFileIsLoadedAndARefusedOneIsReplaced) {
    ModuleFolders folders;
    WriteBytes(folders.Private(kSettingsName), R"({"Fine":1})");
    WriteBytes(folders.Private(kQualityName), "broken");
    for (const wchar_t* name : {kSettingsName, kQualityName}) {
        SetFileAttributesW(folders.Private(name).c_str(), FILE_ATTRIBUTE_READONLY);
    }
    RecordingHost host;
    Module module;

    module.Init(host, folders);

    EXPECT_EQ(1, module.Int64(L"Fine"));
    EXPECT_EQ(ReadBytes(folders.Default(kQualityName)), ReadBytes(folders.Private(kQualityName)));
    EXPECT_EQ(0U, GetFileAttributesW(folders.Private(kQualityName).c_str()) & FILE_ATTRIBUTE_READONLY);
    SetFileAttributesW(folders.Private(kSettingsName).c_str(), FILE_ATTRIBUTE_NORMAL);
}

TEST(Lifecycle, ACopyOfAReadOnlyDefaultCanBeSaved) {
    ModuleFolders folders;
    SetFileAttributesW(folders.Default(kSettingsName).c_str(), FILE_ATTRIBUTE_READONLY);
    RecordingHost host;
    Module module;

    module.Init(host, folders);

    EXPECT_EQ(0U, GetFileAttributesW(folders.Private(kSettingsName).c_str()) & FILE_ATTRIBUTE_READONLY);
    SetFileAttributesW(folders.Default(kSettingsName).c_str(), FILE_ATTRIBUTE_NORMAL);
}

TEST(Lifecycle, AFolderWithAFilesNameRaisesAnErrorThatNamesIt) {
    ModuleFolders folders;
    fs::create_directory(folders.Private(kHmdListName));
    RecordingHost host;
    Module module;

    try {
        module.Init(host, folders);
        FAIL() << "nothing was raised";
    } catch (const fs::filesystem_error& error) {
        EXPECT_EQ(folders.Private(kHmdListName), error.path2());
    }
    EXPECT_TRUE(fs::is_directory(folders.Private(kHmdListName)));
}

TEST(Lifecycle, AHeldPrivateFileIsLeftAloneAndItsDefaultsContentIsLoaded) {
    ModuleFolders folders;
    WriteBytes(folders.Private(kSettingsName), R"({"A":1})");
    const HANDLE lock = CreateFileW(folders.Private(kSettingsName).c_str(), GENERIC_READ | GENERIC_WRITE, 0,
                                    nullptr, OPEN_EXISTING, 0, nullptr);
    RecordingHost host;
    Module module;

    module.Init(host, folders);

    EXPECT_EQ(L"default", module.String(L"Source"));
    EXPECT_EQ(1, host.Count(L"Settings file open fail : " + Path(folders, kSettingsName)));
    EXPECT_EQ(2, host.Count(L"LoadSettingsFromFile begin."));
    EXPECT_FALSE(host.Has(L"DoInit() copy " + Path(folders, kSettingsName) + L" again OK , exist:0."));
    CloseHandle(lock);
    EXPECT_EQ(R"({"A":1})", ReadBytes(folders.Private(kSettingsName)));

    module->DoStart();
    EXPECT_TRUE(WaitFor([&] { return module.Int64(L"A") == 1; }));
}

// A file that takes seconds to load, and a stop during the load.
TEST(Lifecycle, AStopAbandonsALongLoadAndTerminatesNothing) {
    ModuleFolders folders;
    RecordingHost host;
    Module module;
    InitAndWatch(module, host, folders);
    std::string large = R"({"Source":"large")";
    for (int i = 0; large.size() < static_cast<size_t>(Long(60, 4)) << 20U; ++i) {
        large += ",\"A setting of a large file " + std::to_string(i) + "\":\"a text\"";
    }
    WriteBytes(folders.Outside(L"large.json"), large + "}");
    fs::rename(folders.Outside(L"large.json"), folders.Private(kSettingsName));

    const ULONGLONG start = GetTickCount64();
    module->DoStop();

    EXPECT_LT(GetTickCount64() - start, 1200U);
    EXPECT_TRUE(host.Has(L"ThreadEntryWatchConfig end."));
    EXPECT_EQ(large.size() + 1, fs::file_size(folders.Private(kSettingsName)));
    const auto source = module.String(L"Source");
    EXPECT_TRUE(source == L"default" || source == L"large");
    EXPECT_EQ(source == L"large", host.Has(L"Private settings file changed.") && host.Reloads() > 0);
}

// DoInit on folders below a given one.
void ExpectInitBelow(const fs::path& root) {
    ModuleFolders source;
    fs::create_directories(root / L"defaults");
    fs::create_directories(root / L"common" / L"ZQserver");
    for (const wchar_t* name : {kSettingsName, kHmdListName, kQualityName}) {
        fs::copy_file(source.Default(name), root / L"defaults" / name);
    }
    RecordingHost host;
    Module module;

    module->DoInit(&host, (root / L"host.exe").c_str(), (root / L"defaults").c_str(),
                   (root / L"common").c_str());

    EXPECT_EQ(L"default", module.String(L"Source"));
}

TEST(Lifecycle, ADataFolderOnAPathOf250CharactersWorks) {
    TempFolder temp;
    // The longest file's whole path has 250 characters.
    const size_t fixed = temp.Path().wstring().size() + std::wstring(L"\\\\common\\ZQserver\\").size() +
                         std::wstring(kSettingsName).size();
    ASSERT_LT(fixed, 250U);

    ExpectInitBelow(temp.Path() / std::wstring(250 - fixed, L'd'));
}

TEST(Lifecycle, ADataFolderWithNonAsciiCharactersWorks) {
    TempFolder temp;

    ExpectInitBelow(temp.Path() / L"Einstellungen-\u00E4\u00F6\u00FC-\u8A2D\u5B9A");
}

TEST(Lifecycle, ReleaseFreesTheBinaryVariablesAndKeepsTheOthers) {
    Module module;
    module.Variables().SetVariableBinary(L"B", 3, "abc", nullptr, 0);
    module.Variables().SetVariableInt64(L"I", 5, nullptr, 0);

    module->DoRelease();

    EXPECT_EQ(std::nullopt, module.Binary(L"B"));
    EXPECT_EQ(5, module.Int64(L"I"));
}

} // namespace
} // namespace zq::test
