// The handle from opening to closing: what stops it, each with one clear error, and what its end waits for.
#include "comfort/OpenModule.h"

#include "support/win32/ProcessResources.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <thread>

namespace zq::test {
namespace {

namespace fs = std::filesystem;

class Opening : public testing::Test {
protected:
    Error Failure() const {
        return ErrorOf([this] { const Module module(options); });
    }

    ModuleFolders folders;
    Options options = OptionsFor(folders);
};

bool Mentions(const Error& error, const std::string& text) {
    return std::string(error.what()).find(text) != std::string::npos;
}

TEST_F(Opening, WorksWithTheDefaultsBesideTheProgram) {
    Options beside;
    beside.commonDataDir = folders.CommonDataDir();
    const Module module(beside);
    EXPECT_EQ(9940, module.get<int64_t>(L"Network.ControlPort"));
}

TEST_F(Opening, TakesSlashesAndASlashAtTheEnd) {
    std::replace(options.commonDataDir.begin(), options.commonDataDir.end(), L'\\', L'/');
    options.defaultDir += L'\\';
    options.commonDataDir += L'/';
    const Module module(options);
    EXPECT_EQ(1, module.get<int64_t>(L"Level"));
}

TEST_F(Opening, NamesADllThatIsMissing) {
    options.library = (folders.InstallDir() / L"ZQModSettings.dll").wstring();
    const Error error = Failure();
    EXPECT_EQ(Reason::LibraryMissing, error.reason());
    EXPECT_TRUE(Mentions(error, "install\\ZQModSettings.dll\"; put the DLL there")) << error.what();
}

TEST_F(Opening, NamesADllOfAnotherArchitecture) {
    std::string bytes = ReadBytes(ProgramFolder() / L"ZQModSettings.dll");
    const size_t header =
        static_cast<unsigned char>(bytes[0x3C]) + 256u * static_cast<unsigned char>(bytes[0x3D]);
    bytes[header + 4] = 0x64; // the machine field: ARM64
    bytes[header + 5] = static_cast<char>(0xAA);
    const fs::path file = folders.InstallDir() / L"ZQModSettings.dll";
    WriteBytes(file, bytes);
    options.library = file.wstring();
    const Error error = Failure();
    EXPECT_EQ(Reason::WrongArchitecture, error.reason());
    EXPECT_EQ(193u, error.systemCode());
    EXPECT_TRUE(Mentions(error, "is no DLL for x64")) << error.what();
}

TEST_F(Opening, NamesAFileThatIsNoDll) {
    const fs::path file = folders.InstallDir() / L"ZQModSettings.dll";
    WriteBytes(file, "no DLL");
    options.library = file.wstring();
    EXPECT_EQ(Reason::WrongArchitecture, Failure().reason());
}

TEST_F(Opening, NamesADllThatWindowsDoesNotLoad) {
    std::string bytes = ReadBytes(ProgramFolder() / L"ZQModSettings.dll");
    bytes.replace(bytes.find("KERNEL32.dll"), 12, "ABSENT32.dll");
    const fs::path file = folders.InstallDir() / L"ZQModSettings.dll";
    WriteBytes(file, bytes);
    options.library = file.wstring();
    const Error error = Failure();
    EXPECT_EQ(Reason::LibraryNotLoaded, error.reason());
    EXPECT_EQ(static_cast<unsigned long>(ERROR_MOD_NOT_FOUND), error.systemCode());
    EXPECT_TRUE(Mentions(error, "error 126")) << error.what();
}

TEST_F(Opening, NamesADllThatGivesNoObject) {
    options.library = (ProgramFolder() / L"no_object.dll").wstring();
    const Error error = Failure();
    EXPECT_EQ(Reason::NoObject, error.reason());
    EXPECT_EQ(nullptr, GetModuleHandleW(L"no_object.dll"));
}

TEST_F(Opening, NamesADllWithoutTheExport) {
    wchar_t system[MAX_PATH];
    GetSystemDirectoryW(system, MAX_PATH);
    options.library = std::wstring(system) + L"\\version.dll";
    const Error error = Failure();
    EXPECT_EQ(Reason::NoExport, error.reason());
    EXPECT_TRUE(Mentions(error, "does not export CreateSettings")) << error.what();
}

TEST_F(Opening, NamesAMissingDataFolderAndMakesItOnRequest) {
    RemoveDirectoryW(folders.DataDir().c_str());
    const Error error = Failure();
    EXPECT_EQ(Reason::DataFolderMissing, error.reason());
    EXPECT_TRUE(Mentions(error, "common\\ZQserver\" is missing; make it")) << error.what();
    options.createDataFolder = true;
    const Module module(options);
    EXPECT_TRUE(fs::exists(folders.Private(kSettingsName)));
}

TEST_F(Opening, NamesADataFolderThatCannotBeMade) {
    RemoveDirectoryW(folders.DataDir().c_str());
    WriteBytes(folders.DataDir(), "a file");
    options.createDataFolder = true;
    const Error error = Failure();
    EXPECT_EQ(Reason::DataFolderMissing, error.reason());
    EXPECT_TRUE(Mentions(error, "cannot be made")) << error.what();
}

TEST_F(Opening, NamesAMissingDefaultFile) {
    fs::remove(folders.Default(kQualityName));
    const Error error = Failure();
    EXPECT_EQ(Reason::DefaultsMissing, error.reason());
    EXPECT_TRUE(Mentions(error, "ZQ2_QualityPreset.json\" is missing")) << error.what();
}

TEST_F(Opening, RefusesPathsThatAreNotFull) {
    for (std::wstring Options::*path :
         {&Options::library, &Options::hostPath, &Options::defaultDir, &Options::commonDataDir}) {
        Options wrong = options;
        wrong.*path = L"some\\folder";
        const Error error = ErrorOf([&] { const Module module(wrong); });
        EXPECT_EQ(Reason::InvalidArgument, error.reason());
        EXPECT_TRUE(Mentions(error, "\"some\\folder\" is no full path")) << error.what();
    }
    options.commonDataDir.clear();
    EXPECT_TRUE(Mentions(Failure(), "zq::Options::commonDataDir")) << Failure().what();
    options = OptionsFor(folders);
    options.hostPath = L"C:\\" + std::wstring(510, L'x') + L"\\host.exe";
    EXPECT_TRUE(Mentions(Failure(), "more than 511 characters")) << Failure().what();
}

TEST_F(Opening, GivesTheModulesOwnExceptionAsItsText) {
    fs::remove(folders.Default(kSettingsName));
    fs::create_directory(folders.Default(kSettingsName)); // cannot be copied
    const Error error = Failure();
    EXPECT_EQ(Reason::InitFailed, error.reason());
    EXPECT_EQ(nullptr, GetModuleHandleW(L"ZQModSettings.dll"));
}

TEST_F(Opening, OpenedAndClosedTwiceLeavesNothingBehind) {
    { const Module first(options); }
    const size_t handles = HandleCount();
    const size_t threads = ThreadCount();
    for (int i = 0; i < 3; ++i) {
        const Module module(options);
    }
    // The system counts an ended thread for a moment.
    EXPECT_TRUE(WaitFor([&] { return ThreadCount() <= threads; })) << ThreadCount() << " threads";
    EXPECT_TRUE(WaitFor([&] { return HandleCount() <= handles; })) << HandleCount() << " handles";
    EXPECT_EQ(nullptr, GetModuleHandleW(L"ZQModSettings.dll"));
}

TEST_F(Opening, TwoModulesEachHaveTheirOwnVariables) {
    const ModuleFolders others;
    const Module first(options);
    const Module second(OptionsFor(others));
    first.set(L"A", 1);
    EXPECT_EQ(std::nullopt, second.get<int64_t>(L"A"));
}

class Closing : public OpenModule {};

TEST_F(Closing, IsStopThenReleaseAndNothingIsLoggedAfterwards) {
    module.close();
    std::vector<std::wstring> ends;
    for (const LogLine& line : log.All()) {
        if (line.text.starts_with(L"DoStop") || line.text.starts_with(L"DoRelease")) {
            ends.push_back(line.text);
        }
    }
    EXPECT_EQ(
        (std::vector<std::wstring>{L"DoStop begin", L"DoStop end", L"DoRelease begin", L"DoRelease end"}),
        ends);
    EXPECT_EQ(nullptr, GetModuleHandleW(L"ZQModSettings.dll"));
}

TEST_F(Closing, TwiceDoesNothing) {
    module.close();
    module.close();
    EXPECT_FALSE(module.isOpen());
}

TEST_F(Closing, MakesEveryLaterUseAnError) {
    module.close();
    const std::vector<std::function<void()>> uses = {
        [&] { module.get<int64_t>(L"A"); },
        [&] { module.set(L"A", 1); },
        [&] { module.save(L"A", 1); },
        [&] { module.pack(); },
        [&] { module.unpack(PacketView("\xBF\xFE\xEB\1\0\0\0\0", 8)); },
        [&] { module.removeAll(); },
        [&] { module.subscribe(L"A", [](const Change&) {}).reset(); },
        [&] { module.updateDefaultDeviceName(); },
        [&] { module.plain(); },
    };
    for (const auto& use : uses) {
        const Error error = ErrorOf(use);
        EXPECT_EQ(Reason::Closed, error.reason());
        EXPECT_STREQ("zq::Module: used after close or after it was moved from; open another", error.what());
    }
}

TEST_F(Closing, AMoveTakesTheModuleAndAnAssignmentClosesTheOld) {
    const ModuleFolders others;
    Module other(OptionsFor(others));
    other.set(L"A", 1);
    module = std::move(other);
    EXPECT_EQ(1, log.Count(L"DoRelease end"));
    EXPECT_EQ(1, module.get<int64_t>(L"A"));
    // NOLINTNEXTLINE(bugprone-use-after-move): what a moved module answers
    EXPECT_EQ(Reason::Closed, ErrorOf([&] { other.get<int64_t>(L"A"); }).reason());
    module.close(); // before its folders go
}

// The module would terminate the thread after a second.
TEST_F(Closing, WaitsForASubscriberThatTakesLongerThanASecond) {
    std::atomic<bool> isEntered{false};
    std::atomic<bool> hasLeft{false};
    const Subscription token = module.subscribe(L"A", [&](const Change&) {
        isEntered = true;
        WaitFor([] { return false; }, std::chrono::milliseconds(1200));
        hasLeft = true;
    });
    module.set(L"A", 1);
    ASSERT_TRUE(WaitFor([&] { return isEntered.load(); }));
    module.close();
    EXPECT_TRUE(hasLeft);
}

TEST_F(Closing, InsideASubscriberIsAnErrorAndTheModuleStaysOpen) {
    std::atomic<int> reason{-1};
    const Subscription token = module.subscribe(
        L"A", [&](const Change&) { reason = static_cast<int>(ErrorOf([&] { module.close(); }).reason()); });
    module.set(L"A", 1);
    ASSERT_TRUE(WaitForDelivery());
    EXPECT_EQ(static_cast<int>(Reason::InsideCallback), reason);
    EXPECT_EQ(1, module.get<int64_t>(L"A"));
}

// The option's callables may use the module once it is there.
class ClosingInside : public testing::Test {
protected:
    ModuleFolders folders;
    Options options = OptionsFor(folders);
    std::unique_ptr<Module> module;
    std::atomic<bool> isArmed{false};
    std::atomic<int> calls{0};

    void CloseOnce() {
        if (isArmed.exchange(false)) {
            const Error error = ErrorOf([&] { module->close(); });
            EXPECT_EQ(Reason::InsideCallback, error.reason());
            EXPECT_STREQ(
                "zq::Module::close was called inside one of the module's own callbacks, which cannot wait "
                "for itself; call it on another thread",
                error.what());
            ++calls;
        }
    }
};

TEST_F(ClosingInside, TheLogIsAnError) {
    options.log = [&](int, const std::wstring&) { CloseOnce(); };
    module = std::make_unique<Module>(options);
    isArmed = true;
    module->updateDefaultDeviceName();
    EXPECT_TRUE(WaitFor([&] { return calls == 1; }));
    EXPECT_TRUE(module->isOpen());
}

TEST_F(ClosingInside, TheReloadIsAnError) {
    options.reloaded = [&] { CloseOnce(); };
    module = std::make_unique<Module>(options);
    isArmed = true;
    WriteBytes(folders.Private(kSettingsName), R"({"Level":2})");
    EXPECT_TRUE(WaitFor([&] { return calls == 1; }));
    EXPECT_TRUE(module->isOpen());
}

// The error of a destructor goes to the log; the module is closed by another thread, which then drops what
// the options captured.
class DestroyedInside : public testing::Test {
protected:
    ModuleFolders folders;
    std::shared_ptr<LogLines> lines = std::make_shared<LogLines>();
    std::unique_ptr<Module> module;
    std::atomic<int> calls{0};

    Options Logged() {
        Options options = OptionsFor(folders);
        options.log = [lines = lines](int level, const std::wstring& text) { lines->Add(level, text); };
        return options;
    }

    void ExpectOneErrorAndTheEnd() {
        EXPECT_TRUE(WaitFor([&] { return lines.use_count() == 1; })) << "the module was not closed";
        EXPECT_EQ(1, lines->Count(L"zq::Module was destroyed inside one of its own callbacks"));
        EXPECT_EQ(0, lines->Count(L"DoStop")) << "the log was called after the destructor";
        EXPECT_TRUE(WaitFor([] { return GetModuleHandleW(L"ZQModSettings.dll") == nullptr; }));
    }
};

TEST_F(DestroyedInside, ASubscriberTheModuleReportsItAndClosesLater) {
    module = std::make_unique<Module>(Logged());
    std::atomic<bool> areBothSet{false};
    const Subscription token = module->subscribe(L"A", [&](const Change&) {
        WaitFor([&] { return areBothSet.load(); }); // nobody else uses the module from here on
        ++calls;
        module.reset();
    });
    const Subscription next = module->subscribe(L"A", [&](const Change&) { ++calls; });
    module->set(L"A", 1);
    module->set(L"A", 2, Notify::Always);
    areBothSet = true;
    ASSERT_TRUE(WaitFor([] { return GetModuleHandleW(L"ZQModSettings.dll") == nullptr; }));
    EXPECT_EQ(1, calls) << "a subscriber was called after the destructor";
    EXPECT_EQ(1, lines->Count(L"zq::Module was destroyed inside one of its own callbacks"));
    EXPECT_EQ(0, lines->Count(L"DoStop"));
}

TEST_F(DestroyedInside, TheReloadTheModuleReportsItAndClosesLater) {
    Options options = Logged();
    options.reloaded = [this] { module.reset(); };
    module = std::make_unique<Module>(options);
    options = {};
    WriteBytes(folders.Private(kSettingsName), R"({"Level":2})");
    ExpectOneErrorAndTheEnd();
}

TEST_F(DestroyedInside, TheLogTheModuleReportsItAndClosesLater) {
    Options options = OptionsFor(folders);
    std::atomic<bool> isArmed{false};
    options.log = [this, &isArmed, lines = lines](int level, const std::wstring& text) {
        lines->Add(level, text);
        if (isArmed.exchange(false)) {
            module.reset();
        }
    };
    module = std::make_unique<Module>(options);
    options = {};
    isArmed = true;
    module->updateDefaultDeviceName();
    ExpectOneErrorAndTheEnd();
}

TEST(Callables, ThatRaiseDoNotStopTheModule) {
    const ModuleFolders folders;
    std::atomic<int> reports{0};
    Options options = OptionsFor(folders);
    options.reloaded = [] { throw std::runtime_error("no"); };
    options.log = [&](int, const std::wstring& text) {
        reports += text.find(L"Options::reloaded raised no") != std::wstring::npos ? 1 : 0;
        throw std::runtime_error("not here");
    };
    const Module module(options);
    WriteBytes(folders.Private(kSettingsName), R"({"Level":2})");
    EXPECT_TRUE(WaitFor([&] { return reports != 0; }));
    EXPECT_EQ(2, module.get<int64_t>(L"Level"));
}

TEST(Callables, ReceiveMessagesOfAnyLengthFormatted) {
    const ModuleFolders folders;
    LogLines lines;
    Options options = OptionsFor(folders);
    options.log = [&](int level, const std::wstring& text) { lines.Add(level, text); };
    WriteBytes(folders.Private(kSettingsName),
               R"({"DHI":0,"CL":[{"HD":")" + std::string(200, 'N') + R"("}]})");
    const Module module(options);
    EXPECT_EQ(2, lines.Count(std::wstring(200, L'N')));
    module.save(std::wstring(3000, L'M'), 1);
    module.plain().SaveConfigRemoved6(std::wstring(3000, L'M').c_str());
    EXPECT_EQ(1, lines.Count(std::wstring(3000, L'M')));
}

} // namespace
} // namespace zq::test
