#include "config/ConfigLoader.h"

#include "base/HostLog.h"
#include "platform/Files.h"
#include "platform/Mutex.h"
#include "support/RecordingHost.h"
#include "support/win32/Folders.h"
#include "variables/VariableStore.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include <windows.h>

namespace zq::test {
namespace {

struct LoaderTexts {
    ConfigFile file;
    const wchar_t* begin;
    const wchar_t* notFound;
    const wchar_t* openFail;
};

constexpr LoaderTexts kLoaders[] = {
    {ConfigFile::Settings, L"LoadSettingsFromFile begin.", L"Settings file not found : ",
     L"Settings file open fail : "},
    {ConfigFile::HmdList, L"LoadHmdListFromFile begin.", L"Hmd list file not found : ",
     L"Hmd list file open fail : "},
    {ConfigFile::Quality, L"LoadQualityFromFile begin.", L"Quality Preset file not found : ",
     L"Quality Preset file open fail : "},
};

struct CloseHandleDeleter {
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};

class ConfigLoader : public testing::Test {
protected:
    ConfigLoader() { m_log.SetHost(&host); }

    std::wstring Path() const { return (m_folder.Path() / L"config.json").wstring(); }

    bool LoadPath(ConfigFile file, const std::wstring& path) {
        host.Clear();
        ConfigLook look;
        look.file = ReadSnapshot(path);
        ParseLook(file, look);
        return LoadConfigFile(file, path, look, {store, m_log});
    }

    bool Load(ConfigFile file, std::string_view bytes) {
        WriteBytes(Path(), bytes);
        return LoadPath(file, Path());
    }

    int64_t Int64(const wchar_t* name, int64_t missing = -1) const {
        int64_t value = missing;
        store.GetInt64(name, &value);
        return value;
    }

    void ExpectRefused(std::string_view bytes, int result, int length) {
        for (const LoaderTexts& loader : kLoaders) {
            EXPECT_FALSE(Load(loader.file, bytes));
            EXPECT_EQ((std::vector<LogLine>{{2, loader.begin},
                                            {1, L"LoadSettingsFromFile() JSON paser " + Path() +
                                                    L" fail ret length: " + std::to_wstring(result) +
                                                    L" , file length:" + std::to_wstring(length) +
                                                    L" copy again."}}),
                      host.Lines());
        }
    }

    RecordingHost host;
    Mutex mutex;
    VariableStore store{mutex};

private:
    TempFolder m_folder;
    HostLog m_log;
};

TEST_F(ConfigLoader, WholeFileLoads) {
    EXPECT_TRUE(Load(ConfigFile::Settings, R"({"A":1})"));

    EXPECT_EQ(1, Int64(L"A"));
    EXPECT_EQ((std::vector<LogLine>{{2, L"LoadSettingsFromFile begin."}}), host.Lines());
}

TEST_F(ConfigLoader, LineBreakAfterTheEndIsRefusedWithBothLengths) {
    ExpectRefused("{\"A\":1}\r\n", 7, 9);
    EXPECT_EQ(-1, Int64(L"A"));
}

TEST_F(ConfigLoader, ByteOrderMarkIsRefusedWithBothLengths) { ExpectRefused("\xEF\xBB\xBF{\"A\":1}", 7, 10); }

TEST_F(ConfigLoader, EmptyFileIsRefusedWithMinusOne) { ExpectRefused("", -1, 0); }

TEST_F(ConfigLoader, BrokenFileIsRefusedWithThePlaceOfItsFailure) {
    ExpectRefused("{\"A\":1,\"B\":}", -11, 12);
}

TEST_F(ConfigLoader, SpaceInFrontIsAllowed) {
    EXPECT_TRUE(Load(ConfigFile::Settings, "  {}"));
    EXPECT_EQ(0, Int64(L"HmdNameSize"));
}

TEST_F(ConfigLoader, SettingsRootOfAnotherKindLoadsAndSetsNothing) {
    EXPECT_TRUE(Load(ConfigFile::Settings, "[1]"));
    EXPECT_EQ(-1, Int64(L"HmdNameSize"));
}

TEST_F(ConfigLoader, MissingFileIsReportedWithItsPath) {
    for (const LoaderTexts& loader : kLoaders) {
        EXPECT_FALSE(LoadPath(loader.file, Path()));
        EXPECT_EQ((std::vector<LogLine>{{2, loader.begin}, {2, loader.notFound + Path()}}), host.Lines());
    }
}

TEST_F(ConfigLoader, FileThatCannotBeOpenedIsReportedWithItsPath) {
    WriteBytes(Path(), "{}");
    const std::unique_ptr<void, CloseHandleDeleter> exclusive(
        CreateFileW(Path().c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_NE(INVALID_HANDLE_VALUE, exclusive.get());

    for (const LoaderTexts& loader : kLoaders) {
        EXPECT_FALSE(LoadPath(loader.file, Path()));
        EXPECT_EQ((std::vector<LogLine>{{2, loader.begin}, {2, loader.openFail + Path()}}), host.Lines());
    }
}

TEST_F(ConfigLoader, FolderInTheFilesPlaceCannotBeOpened) {
    const std::wstring folder = std::filesystem::path(Path()).parent_path().wstring();

    EXPECT_FALSE(LoadPath(ConfigFile::Settings, folder));
    EXPECT_TRUE(host.Has(L"Settings file open fail : " + folder));
}

TEST_F(ConfigLoader, FileThatAnEditorHoldsOpenLoads) {
    WriteBytes(Path(), "{\"A\":2}");
    const std::unique_ptr<void, CloseHandleDeleter> editor(
        CreateFileW(Path().c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                    OPEN_EXISTING, 0, nullptr));
    ASSERT_NE(INVALID_HANDLE_VALUE, editor.get());

    EXPECT_TRUE(LoadPath(ConfigFile::Settings, Path()));
    EXPECT_EQ(2, Int64(L"A"));
}

TEST_F(ConfigLoader, HmdListOfAnotherKindIsRefused) {
    EXPECT_FALSE(Load(ConfigFile::HmdList, "{}"));
    EXPECT_EQ((std::vector<LogLine>{{2, L"LoadHmdListFromFile begin."}, {4, L"Invalid hmd list format."}}),
              host.Lines());
    EXPECT_TRUE(Load(ConfigFile::HmdList, "[]"));
}

TEST_F(ConfigLoader, BadItemsAreReportedAndTheRestLoads) {
    EXPECT_TRUE(Load(ConfigFile::HmdList, R"([{"DeviceName":"A","Response":[{"index":1},)"
                                          R"({"MainRequest":1,"SubRequest":2,"index":3,"Value":4}]}])"));
    EXPECT_TRUE(host.Has(L"Invalid hmd list item : CL.A"));
    EXPECT_EQ(4, Int64(L"CL.A.1.2.3"));

    EXPECT_TRUE(Load(ConfigFile::Quality, R"({"A":[{"B":{},"C":5}]})"));
    EXPECT_TRUE(host.Has(L"Invalid Quality Preset item : CL.A.Quality"));
    EXPECT_EQ(5, Int64(L"CL.A.Quality.C"));
}

TEST_F(ConfigLoader, RefusedFileLeavesTheVariablesUnchanged) {
    ASSERT_TRUE(Load(ConfigFile::Settings, R"({"A":1})"));

    EXPECT_FALSE(Load(ConfigFile::Settings, R"({"A":2,"B":3)"));

    EXPECT_EQ(1, Int64(L"A"));
    EXPECT_EQ(-1, Int64(L"B"));
}

TEST_F(ConfigLoader, LoadingAgainWithoutAKeyLeavesItsVariable) {
    ASSERT_TRUE(Load(ConfigFile::Settings, R"({"A":1,"B":2})"));
    ASSERT_TRUE(Load(ConfigFile::Settings, R"({"B":3})"));

    EXPECT_EQ(1, Int64(L"A"));
    EXPECT_EQ(3, Int64(L"B"));
}

TEST_F(ConfigLoader, BytesWithoutAMarkAreReadInTheAnsiCodePage) {
    if (GetACP() != 1252) {
        GTEST_SKIP() << "the system's ANSI code page is not 1252";
    }
    // As many characters as bytes: both load, and two bytes of UTF-8 are two characters.
    EXPECT_TRUE(Load(ConfigFile::Settings, "{\"\xE9\":1,\"\xC3\xA9\":2}"));
    EXPECT_EQ(1, Int64(L"\xE9"));
    EXPECT_EQ(2, Int64(L"\xC3\xA9"));
}

TEST_F(ConfigLoader, HostIsCalledWithoutTheStoresLock) {
    std::vector<std::unique_ptr<void, CloseHandleDeleter>> threads;
    bool wasFree = true;
    host.onLog = [&](const LogLine&) {
        // The mutex is recursive for its owner, so another thread has to ask.
        const auto ask = [](void* asked) -> DWORD {
            int64_t value = 0;
            static_cast<const VariableStore*>(asked)->GetInt64(L"A", &value);
            return 0;
        };
        threads.emplace_back(CreateThread(nullptr, 0, ask, &store, 0, nullptr));
        wasFree = wasFree && WaitForSingleObject(threads.back().get(), 5000) == WAIT_OBJECT_0;
    };

    EXPECT_TRUE(Load(ConfigFile::Settings, R"({"CL":[{"HD":"A"},{"HD":"B"}]})"));

    EXPECT_TRUE(wasFree);
    for (const auto& thread : threads) {
        WaitForSingleObject(thread.get(), INFINITE);
    }
    EXPECT_EQ(3U, host.Lines().size());
}

} // namespace
} // namespace zq::test
