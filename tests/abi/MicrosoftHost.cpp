// A host as the DLL's real ones are: compiled for the Microsoft ABI from the public headers. It calls every
// slot of both interfaces, implements both callback interfaces, and deletes one object through each base.
#include "CZQModSettings.h"
#include "ZQPacketMemory.h"

#include "HostSupport.h"

#if !defined(_MSC_VER)
#error "This program proves something only when it is compiled for the Microsoft ABI."
#endif

namespace zq {
namespace abi {
namespace {

class Host final : public CZQModHost {
public:
    explicit Host(const Folders& folders) : m_folders(folders) {}

    void Log(const wchar_t* tag, int32_t level, const wchar_t* format, va_list arguments) override {
        ++messages;
        ZQ_CHECK(Equals(L"ZQModSettings", tag));
        ZQ_CHECK(level >= 1 && level <= 3);
        hasBegun = hasBegun || (messages == 1 && level == 2 && Equals(L"DoInit begin", format));
        hasCopied = hasCopied || (level == 1 && IsCopyMessage(format, arguments));
        hasEnded = hasEnded || (level == 2 && Equals(L"DoInit end.", format));
        hasReleased = hasReleased || (level == 2 && Equals(L"DoRelease end", format));
    }

    void OnConfigReloaded() override { reloaded.Set(); }

    int messages = 0;
    bool hasBegun = false;
    bool hasCopied = false;
    bool hasEnded = false;
    bool hasReleased = false;
    Signal reloaded;

private:
    bool IsCopyMessage(const wchar_t* format, va_list arguments) const {
        wchar_t expected[512];
        wsprintfW(expected, L"[DoInit] copy %s OK , exist:0 .", m_folders.SettingsFile());
        return FormatsTo(expected, format, arguments);
    }

    const Folders& m_folders;
};

class VariableHost final : public CZQVariableHost {
public:
    void OnVariableChanged(const wchar_t* name, uint32_t type, CZQVariableHost* source) override {
        if (Equals(L"Abi.Integer", name)) {
            ZQ_CHECK(type == VariableTypeInt64);
            ZQ_CHECK(source == expectedSource);
            changed.Set();
        }
    }

    void OnVariablesReloaded() override { reloaded.Set(); }

    CZQVariableHost* expectedSource = nullptr;
    Signal changed;
    Signal reloaded;
};

CZQModSettings* Create() {
    CZQModSettings* const module = reinterpret_cast<ZQCreateSettingsFunction>(FindCreateSettings())();
    ZQ_CHECK(module != nullptr);
    return module;
}

void ReadLoadedVariables(CZQVariable& variables) {
    int64_t integer = -1;
    ZQ_CHECK(variables.GetVariableInt64(L"Network.ControlPort", &integer) == 1 && integer == 9940);
    double real = 0;
    ZQ_CHECK(variables.GetVariableDouble(L"Tracking.SmoothingFactor", &real) == 1 && real == 0.15);
    ZQBool truth = 9;
    ZQ_CHECK(variables.GetVariableBool(L"Settings.CheckForUpdates", &truth) == 1 && truth == 1);
    wchar_t text[12] = L"#";
    ZQ_CHECK(variables.GetVariableString(L"Settings.ServerName", text, 11) == 0 && text[0] == L'#');
    ZQ_CHECK(variables.GetVariableString(L"Settings.ServerName", text, 12) == 1);
    ZQ_CHECK(Equals(L"Lumo Server", text));
    size_t length = 77;
    ZQ_CHECK(variables.GetVariableBinary(L"Abi.Missing", nullptr, 0, &length) == 0 && length == 77);
}

void SetVariables(CZQVariable& variables, VariableHost& host, VariableHost& source) {
    const unsigned char bytes[3] = {1, 0, 255};
    variables.RegisterHost(&host);
    variables.RegisterHost(&source);
    variables.Reserved();
    variables.SetVariableBinary(L"Abi.Binary", sizeof(bytes), bytes, &source, 0);
    variables.SetVariableDouble(L"Abi.Double", -2.5, &source, 0);
    variables.SetVariableBool(L"Abi.Bool", 1, &source, 0);
    variables.SetVariableInt64(L"Abi.Integer", INT64_MIN, &source, 0);
    variables.SetVariableString(L"Abi.String", L"text", &source, 0);
}

void Pack(CZQVariable& variables) {
    const int64_t value = 7;
    size_t size = 0;
    void* packet = variables.PackVariable(L"Abi.Packed", VariableTypeInt64, &value, sizeof(value), &size);
    variables.UnpackVariables(packet, size, nullptr);
    ZQFreePacket(packet);
    ZQFreePacket(variables.PackAllVariables(&size));
}

void Save(CZQModSettings& module) {
    const int64_t values[2] = {1, 2};
    module.SaveConfigRemoved6(L"a");
    module.SaveConfigRemoved7(L"b");
    module.SaveConfigRemoved8(L"c");
    module.SaveConfigRemoved9(L"d");
    module.SaveConfigHmdListIntArray(L"MERIN5", 3, 0, 0, values, 2);
    module.SaveConfigDouble(L"CL.MERIN5.RenderScale", 1.25, 1);
    module.SaveConfigBool(L"Settings.EnableDashboard", 0, 0);
    module.SaveConfigString(L"Settings.ServerName", "Saved", 0);
    module.SaveConfigInt64(L"Settings.CurrentBitrate", 45, 0);
}

void DriveThroughBothInterfaces() {
    const Folders folders;
    Host host(folders);
    VariableHost listener;
    VariableHost source;
    CZQModSettings* const module = Create();
    CZQVariable& variables = *ZQVariables(module);
    ZQ_CHECK(sizeof(CZQModSettings) == sizeof(void*) && sizeof(CZQVariable) == sizeof(void*));

    ZQ_CHECK(module->DoInit(&host, folders.HostPath(), folders.DefaultDir(), folders.CommonDataDir()) == 0);
    ZQ_CHECK(host.hasBegun && host.hasCopied && host.hasEnded);
    ReadLoadedVariables(variables);
    module->UpdateDefaultDeviceName();

    SetVariables(variables, listener, source);
    Pack(variables);
    ZQ_CHECK(module->DoStart() == 0);
    Save(*module);

    variables.UnregisterHost(&source);
    variables.UnregisterHost(&listener);
    module->DoStop();
    variables.RemoveAllVariables();
    int64_t integer = 5;
    ZQ_CHECK(variables.GetVariableInt64(L"Network.ControlPort", &integer) == 0 && integer == 5);
    module->DoRelease();
    ZQ_CHECK(host.hasReleased);
    delete module;
}

void DeleteThroughSecondBase() {
    CZQModSettings* const module = Create();
    CZQVariable* const variables = ZQVariables(module);
    int64_t integer = 5;
    ZQ_CHECK(variables->GetVariableInt64(L"DHI", &integer) == 0);
    module->DoRelease();
    delete variables;
}

void DestroyThroughHelper() {
    ZQDestroy(Create());
    ZQDestroy(ZQVariables(Create()));
    ZQDestroy(static_cast<CZQModSettings*>(nullptr));
}

} // namespace

void RunHost() {
    DriveThroughBothInterfaces();
    DeleteThroughSecondBase();
    DestroyThroughHelper();
}

} // namespace abi
} // namespace zq
