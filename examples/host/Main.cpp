// A whole host of the settings module: example_host DATA_FOLDER
// DATA_FOLDER stands for the machine's common application-data folder.
#include <CZQModSettings.h>
#include <ZQPacketMemory.h>

#include <windows.h>

#include <cstdio>
#include <filesystem>

namespace {

// Receives every message of the module, on whatever thread it comes from.
class Host final : public CZQModHost {
public:
    void Log(const wchar_t* tag, int32_t level, const wchar_t* format, va_list arguments) override {
        wchar_t text[1024];
        _vsnwprintf_s(text, 1024, _TRUNCATE, format, arguments);
        std::printf("%ls %d: %ls\n", tag, level, text);
    }

    void OnConfigReloaded() override { std::printf("the files were looked at again\n"); }
};

// Hears of changes, on a thread that the module keeps for it. The name is gone when the call returns.
class Listener final : public CZQVariableHost {
public:
    Listener(HANDLE told, HANDLE reloaded) : m_told(told), m_reloaded(reloaded) {}

    void OnVariableChanged(const wchar_t* name, uint32_t type, CZQVariableHost*) override {
        std::printf("changed: %ls, type %u\n", name, type);
        SetEvent(m_told);
    }

    void OnVariablesReloaded() override {
        std::printf("a file was read again: any variable may have changed\n");
        SetEvent(m_reloaded);
    }

private:
    HANDLE m_told;
    HANDLE m_reloaded;
};

void PrintBitrate(CZQVariable& variables) {
    int64_t bitrate = 0;
    if (variables.GetVariableInt64(L"Settings.CurrentBitrate", &bitrate)) {
        std::printf("Settings.CurrentBitrate is %lld\n", static_cast<long long>(bitrate));
    }
}

// Everything as one block of bytes, as another process would be sent it.
void PrintPacketSize(CZQVariable& variables) {
    size_t size = 0;
    void* packet = variables.PackAllVariables(&size);
    std::printf("all variables: %s\n", packet && size > 8 ? "packed" : "none");
    ZQFreePacket(packet);
}

// The file changes at once, the variable when the watcher has read the file again.
void SaveBitrate(CZQModSettings& module, HANDLE reloaded) {
    module.SaveConfigInt64(L"Settings.CurrentBitrate", 90, 0);
    WaitForSingleObject(reloaded, 5000);
    PrintBitrate(*ZQVariables(&module));
}

void Use(CZQModSettings& module) {
    CZQVariable& variables = *ZQVariables(&module);
    const HANDLE told = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    const HANDLE reloaded = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    Listener listener(told, reloaded);
    variables.RegisterHost(&listener);
    PrintBitrate(variables);
    // Without a source every registered host hears of it, this one too.
    variables.SetVariableInt64(L"Settings.CurrentBitrate", 100, nullptr, 0);
    WaitForSingleObject(told, 5000);
    PrintBitrate(variables);
    SaveBitrate(module, reloaded);
    PrintPacketSize(variables);
    variables.UnregisterHost(&listener); // behind it the module does not touch the listener again
    CloseHandle(told);
    CloseHandle(reloaded);
}

bool Run(const std::filesystem::path& program, const std::filesystem::path& data) {
    std::filesystem::create_directories(data / L"ZQserver"); // the data folder must exist
    const std::filesystem::path defaults = program.parent_path() / L"defaults";

    Host host; // outlives the module
    CZQModSettings* const module = CreateSettings();
    if (!module) {
        return false; // no memory
    }
    module->DoInit(&host, program.c_str(), defaults.c_str(), data.c_str());
    module->DoStart();
    Use(*module);
    module->DoStop(); // this order is binding
    module->DoRelease();
    ZQDestroy(module);
    return true;
}

} // namespace

int wmain(int count, wchar_t** words) {
    if (count != 2) {
        std::fprintf(stderr,
                     "example_host: give one folder, which stands for the common application-data folder.\n");
        return 2;
    }
    wchar_t program[32768];
    GetModuleFileNameW(nullptr, program, 32768);
    try {
        return Run(program, std::filesystem::absolute(words[1]).make_preferred()) ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "example_host: %s.\n", error.what());
        return 1;
    }
}
