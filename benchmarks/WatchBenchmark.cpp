// From the close of a write in another process, or the rename that ends it, to OnVariablesReloaded, compared
// with a bare directory watch of the same folder; from the return of a save until the variable has its value;
// and DoInit on the default files, compared with only reading them with ReadFile.
//
//     watch_benchmark [EDITS]
//
// The program starts itself as the editor. Times are of the system-wide performance counter, handed over in
// shared memory.
#include "Rounds.h"

#include "CZQModSettings.h"

#include "base/HostLog.h"
#include "config/ConfigText.h"
#include "support/win32/ImportPatch.h"
#include "variables/VariableBatch.h"
#include "variables/VariableMaps.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <windows.h>

namespace {

namespace fs = std::filesystem;

constexpr const wchar_t* kNames[] = {L"ZQ2_serverSetting.setting", L"ZQ2_HmdList.json",
                                     L"ZQ2_QualityPreset.json"};
constexpr int kInits = 31;
constexpr int kMostEdits = 10'000;
constexpr DWORD kPauseMilliseconds = 60;
constexpr int kSaves = 100;

// By the number of the edit: performance counter values.
struct Times {
    std::atomic<int64_t> closed[kMostEdits];
    std::atomic<int64_t> bare[kMostEdits];
    std::atomic<int64_t> reloaded[kMostEdits];
    std::atomic<int> current;
};

int64_t Now() {
    LARGE_INTEGER counter;
    QueryPerformanceCounter(&counter);
    return counter.QuadPart;
}

double Milliseconds(int64_t ticks) {
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);
    return 1000.0 * static_cast<double>(ticks) / static_cast<double>(frequency.QuadPart);
}

double Quantile(std::vector<double> values, double part) {
    std::sort(values.begin(), values.end());
    return values[static_cast<size_t>(part * static_cast<double>(values.size() - 1))];
}

Times& SharedTimes(const wchar_t* name) {
    const HANDLE mapping =
        CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(Times), name);
    return *static_cast<Times*>(MapViewOfFile(mapping, FILE_MAP_ALL_ACCESS, 0, 0, 0));
}

void WriteWhole(const std::wstring& file, const std::string& bytes) {
    const HANDLE out =
        CreateFileW(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS, 0, nullptr);
    DWORD written = 0;
    WriteFile(out, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    CloseHandle(out);
}

bool IsRename(int edit) { return edit % 2 != 0; }

// Rewrites the file, and every second time writes another one that takes its place.
int RunEditor(const wchar_t* mapping, const std::wstring& file, int edits) {
    Times& times = SharedTimes(mapping);
    const std::wstring aside = file + L".new";
    for (int edit = 1; edit < edits; ++edit) {
        const std::string bytes = "{\"Edit\":" + std::to_string(edit) + "}";
        if (IsRename(edit)) {
            WriteWhole(aside, bytes);
            times.current = edit;
            MoveFileExW(aside.c_str(), file.c_str(), MOVEFILE_REPLACE_EXISTING);
        } else {
            times.current = edit;
            WriteWhole(file, bytes);
        }
        times.closed[edit] = Now();
        Sleep(kPauseMilliseconds);
    }
    return 0;
}

// Notes when each edit's first completion after the close arrives.
void WatchBarely(const std::wstring& folder, Times& times, const std::atomic<bool>& isOver) {
    const HANDLE directory = CreateFileW(folder.c_str(), FILE_LIST_DIRECTORY,
                                         FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                         OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    alignas(DWORD) char buffer[1024];
    DWORD bytes = 0;
    while (!isOver &&
           ReadDirectoryChangesW(directory, buffer, sizeof(buffer), FALSE, 0x53, &bytes, nullptr, nullptr)) {
        times.bare[times.current] = Now();
    }
    CloseHandle(directory);
}

class Host final : public CZQModHost, public CZQVariableHost {
public:
    Host(Times& times, CZQVariable*& variables) : m_times(times), m_variables(variables) {}

    // The messages show which step DoInit has reached.
    void Log(const wchar_t*, int32_t, const wchar_t* format, va_list) override {
        for (const auto& [message, step] : kSteps) {
            if (std::wstring_view(format) == message) {
                Enter(step);
            }
        }
    }
    void OnConfigReloaded() override {}
    void OnVariableChanged(const wchar_t*, uint32_t, CZQVariableHost*) override {}
    void OnVariablesReloaded() override {
        const int64_t now = Now();
        int64_t edit = 0;
        if (m_variables->GetVariableInt64(L"Edit", &edit) && m_times.reloaded[edit] == 0) {
            m_times.reloaded[edit] = now;
        }
    }
    void* ScalarDeletingDestructor(unsigned int) override { return this; }

    // Ends the step under way and begins another; an empty name begins none.
    void Enter(const std::string& step) {
        const int64_t now = Now();
        if (!m_step.empty()) {
            steps[m_step] += Milliseconds(now - m_begin);
        }
        m_step = step;
        m_begin = now;
    }

    std::map<std::string, double> steps; // milliseconds of all calls of DoInit

private:
    // What each message begins.
    static constexpr std::pair<std::wstring_view, const char*> kSteps[] = {
        {L"DoInit begin", "1 defaults and missing files"},
        {L"LoadSettingsFromFile begin.", "2 server settings"},
        {L"LoadHmdListFromFile begin.", "3 headset list"},
        {L"LoadQualityFromFile begin.", "4 quality presets"},
        {L"[WmiServiceExectue] Run CoInitializeEx failed", "5 device name"},
    };

    Times& m_times;
    CZQVariable*& m_variables;
    std::string m_step;
    int64_t m_begin = 0;
};

struct Folders {
    fs::path root = fs::temp_directory_path() / ("zqbench-" + std::to_string(GetCurrentProcessId()));
    fs::path common = root / "common";
    fs::path data = common / "ZQserver";
    fs::path defaults;
};

HRESULT WINAPI RefuseCom(void*, DWORD) { return E_FAIL; }
void WINAPI IgnoreCom() {}
ULONG WINAPI RefuseAdapters(void*, ULONG*) { return ERROR_NOT_SUPPORTED; }

// While it lives the machine survey ends at once: its time is that of the machine's WMI.
struct NoSurvey {
    explicit NoSurvey(HMODULE dll)
        : com(dll, "ole32.dll", "CoInitializeEx", zq::test::AsProc(RefuseCom)),
          comEnd(dll, "ole32.dll", "CoUninitialize", zq::test::AsProc(IgnoreCom)),
          adapters(dll, "iphlpapi.dll", "GetAdaptersInfo", zq::test::AsProc(RefuseAdapters)) {}

    zq::test::ImportPatch com;
    zq::test::ImportPatch comEnd;
    zq::test::ImportPatch adapters;
};

double MedianOfInit(ZQCreateSettingsFunction create, Host& host, const Folders& folders) {
    std::vector<double> times;
    for (int round = 0; round < kInits; ++round) {
        CZQModSettings* module = create();
        const int64_t start = Now();
        module->DoInit(&host, L"", folders.defaults.c_str(), folders.common.c_str());
        times.push_back(Milliseconds(Now() - start));
        host.Enter({});
        module->DoRelease();
        ZQDestroy(module);
    }
    return Quantile(times, 0.5);
}

double MedianOfBareReads(const Folders& folders) {
    std::vector<double> times;
    std::vector<char> buffer(1 << 20);
    for (int round = 0; round < 31; ++round) {
        const int64_t start = Now();
        for (const wchar_t* name : kNames) {
            const HANDLE file = CreateFileW((folders.data / name).c_str(), GENERIC_READ, 7, nullptr,
                                            OPEN_EXISTING, 0, nullptr);
            DWORD read = 0;
            ReadFile(file, buffer.data(), static_cast<DWORD>(buffer.size()), &read, nullptr);
            CloseHandle(file);
        }
        times.push_back(Milliseconds(Now() - start));
    }
    return Quantile(times, 0.5);
}

// The module's own way from the bytes of the three files to variables, without files.
double MedianOfParsing(const Folders& folders) {
    std::vector<std::string> files;
    for (const wchar_t* name : kNames) {
        std::ifstream in(folders.data / name, std::ios::binary);
        files.emplace_back(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
    std::vector<double> times;
    for (int round = 0; round < 31; ++round) {
        const int64_t start = Now();
        zq::VariableMaps maps;
        for (size_t i = 0; i < files.size(); ++i) {
            zq::ConfigText config(static_cast<zq::ConfigFile>(i));
            config.Read(files[i]);
            config.Flatten(zq::HostLog());
            maps.Apply(config.Batch());
        }
        times.push_back(Milliseconds(Now() - start));
    }
    return Quantile(times, 0.5);
}

void ReportQuantiles(const char* who, const std::vector<double>& milliseconds) {
    for (const auto& [part, what] : {std::pair(0.5, "median"), std::pair(0.99, "99 %")}) {
        const double value = Quantile(milliseconds, part);
        std::printf("  %-44s %-8s %8.3f ms\n", who, what, value);
        zq::bench::Record(part == 0.5 ? "edit" : "edit-99", 0, who, value);
    }
}

void ReportEdits(const Times& times, int edits) {
    for (const bool isRename : {false, true}) {
        std::vector<double> bare;
        std::vector<double> module;
        int unseen = 0;
        for (int edit = 1; edit < edits; ++edit) {
            if (IsRename(edit) != isRename) {
                continue;
            }
            if (times.bare[edit] == 0 || times.reloaded[edit] == 0) {
                ++unseen;
                continue;
            }
            bare.push_back(Milliseconds(times.bare[edit] - times.closed[edit]));
            module.push_back(Milliseconds(times.reloaded[edit] - times.closed[edit]));
        }
        const std::string how = isRename ? "rename" : "rewrite";
        std::printf("%zu edits by %s, %d without both times\n", module.size(), how.c_str(), unseen);
        ReportQuantiles((how + ": bare directory watch").c_str(), bare);
        ReportQuantiles((how + ": OnVariablesReloaded").c_str(), module);
    }
}

// From the return of a save to the variable with the saved value.
void MeasureSaves(CZQModSettings& module, CZQVariable& variables) {
    constexpr double kMostMilliseconds = 2000;
    std::vector<double> times;
    for (int save = 0; save < kSaves; ++save) {
        const int64_t value = 1'000'000 + save;
        module.SaveConfigInt64(L"Edit", value, 0);
        const int64_t start = Now();
        int64_t held = 0;
        double taken = 0;
        while ((!variables.GetVariableInt64(L"Edit", &held) || held != value) && taken < kMostMilliseconds) {
            taken = Milliseconds(Now() - start);
            Sleep(0);
        }
        times.push_back(Milliseconds(Now() - start));
        Sleep(kPauseMilliseconds);
    }
    ReportQuantiles("save: SaveConfigInt64 to the variable", times);
}

int RunBenchmark(int edits) {
    wchar_t program[MAX_PATH];
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    Folders folders;
    folders.defaults = fs::path(program).replace_filename(L"defaults");
    fs::create_directories(folders.data);

    const HMODULE dll = LoadLibraryW(L"ZQModSettings.dll");
    const auto create = reinterpret_cast<ZQCreateSettingsFunction>(
        reinterpret_cast<void*>(GetProcAddress(dll, "CreateSettings")));
    const NoSurvey noSurvey(dll);
    const std::wstring mapping = L"zqbench-" + std::to_wstring(GetCurrentProcessId());
    Times& times = SharedTimes(mapping.c_str());
    CZQVariable* variables = nullptr;
    Host host(times, variables);

    MedianOfInit(create, host, folders);
    host.steps.clear();
    const double init = MedianOfInit(create, host, folders);
    for (const auto& [step, milliseconds] : host.steps) {
        std::printf("  %-32s %.3f ms\n", step.c_str(), milliseconds / kInits);
        zq::bench::Record("init", 0, step, 1000 * milliseconds / kInits);
    }
    const double reads = MedianOfBareReads(folders);
    const double parsing = MedianOfParsing(folders);
    zq::bench::Record("init", 0, "DoInit without the survey", 1000 * init);
    zq::bench::Record("init", 0, "floor: the three bare reads", 1000 * reads);
    zq::bench::Record("init", 0, "floor: parsing into variables", 1000 * parsing);
    std::printf("DoInit without the survey %.2f ms, reading the three files %.2f ms, ratio %.1f\n\n", init,
                reads, init / reads);

    CZQModSettings* module = create();
    module->DoInit(&host, L"", folders.defaults.c_str(), folders.common.c_str());
    variables = ZQVariables(module);
    variables->RegisterHost(&host);
    module->DoStart();
    std::atomic<bool> isOver{false};
    std::thread bare([&] { WatchBarely(folders.data.wstring(), times, isOver); });
    Sleep(200);

    std::wstring command = L"\"" + std::wstring(program) + L"\" --edit " + mapping + L" \"" +
                           (folders.data / kNames[0]).wstring() + L"\" " + std::to_wstring(edits);
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process);
    WaitForSingleObject(process.hProcess, INFINITE);
    Sleep(200);

    MeasureSaves(*module, *variables);
    isOver = true;
    std::ofstream(folders.data / "last.tmp") << "ends the bare watch";
    bare.join();
    module->DoStop();
    variables->UnregisterHost(&host);
    module->DoRelease();
    ZQDestroy(module);
    ReportEdits(times, edits);
    std::error_code ignored;
    fs::remove_all(folders.root, ignored);
    return 0;
}

} // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc == 5 && std::wstring(argv[1]) == L"--edit") {
        return RunEditor(argv[2], argv[3], static_cast<int>(std::wcstol(argv[4], nullptr, 10)));
    }
    const long edits = argc == 2 ? std::wcstol(argv[1], nullptr, 10) : 200;
    return RunBenchmark(static_cast<int>(std::clamp(edits, 10L, long{kMostEdits - 1})) + 1);
}
