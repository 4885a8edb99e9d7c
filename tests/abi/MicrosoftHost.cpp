// A host as the DLL's real ones are: compiled for the Microsoft ABI from the public headers. It calls every
// slot of both interfaces, implements both callback interfaces, and deletes one object through each base.
#include "CZQModSettings.h"
#include "ZQPacketMemory.h"

#include "HostSupport.h"
#include "WindowsApi.h"

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
        ZQ_CHECK(Equals(L"ZQModSettings", tag));
        ZQ_CHECK(level >= 1 && level <= 3);
        hasBegun = hasBegun || (level == 2 && Equals(L"DoInit begin", format));
        hasCopied = hasCopied || (level == 1 && IsCopyMessage(format, arguments));
        hasNamed = hasNamed || (level == 2 && FormatsTo(L"Get device name MERIN5", format, arguments));
        hasReleased = hasReleased || (level == 2 && Equals(L"DoRelease end", format));
    }

    void OnConfigReloaded() override { reloaded.Set(); }

    bool hasBegun = false;
    bool hasCopied = false;
    bool hasNamed = false;
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

// Keeps the types of the changes that it is notified of, in order.
class VariableHost final : public CZQVariableHost {
public:
    void OnVariableChanged(const wchar_t* name, uint32_t type, CZQVariableHost* source) override {
        ZQ_CHECK(name[0] == L'A' && name[1] == L'b' && name[2] == L'i');
        ZQ_CHECK(source == expectedSource);
        if (count < sizeof(types) / sizeof(types[0])) {
            types[count] = type;
        }
        ++count;
        if (Equals(L"Abi.Last", name)) {
            changed.Set();
        }
    }

    void OnVariablesReloaded() override { reloaded.Set(); }

    CZQVariableHost* expectedSource = nullptr;
    uint32_t types[8] = {};
    uint32_t count = 0;
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

void SetVariables(CZQVariable& variables, CZQVariableHost& source) {
    const unsigned char bytes[3] = {1, 0, 255};
    variables.Reserved();
    variables.SetVariableBinary(L"Abi.Binary", sizeof(bytes), bytes, &source, 0);
    variables.SetVariableDouble(L"Abi.Double", -2.5, &source, 0);
    variables.SetVariableBool(L"Abi.Bool", 2, &source, 0);
    variables.SetVariableInt64(L"Abi.Integer", INT64_MIN, &source, 0);
    variables.SetVariableString(L"Abi.Last", L"text", &source, 0);

    unsigned char read[3] = {};
    size_t length = 0;
    ZQ_CHECK(variables.GetVariableBinary(L"Abi.Binary", read, sizeof(read), &length) == 1);
    ZQ_CHECK(length == sizeof(bytes) && Equals(bytes, read, sizeof(bytes)));
    double real = 0;
    ZQ_CHECK(variables.GetVariableDouble(L"Abi.Double", &real) == 1 && real == -2.5);
    ZQBool truth = 0;
    ZQ_CHECK(variables.GetVariableBool(L"Abi.Bool", &truth) == 1 && truth == 2);
    int64_t integer = 0;
    ZQ_CHECK(variables.GetVariableInt64(L"Abi.Integer", &integer) == 1 && integer == INT64_MIN);
    wchar_t text[8];
    ZQ_CHECK(variables.GetVariableString(L"Abi.Last", text, 8) == 1 && Equals(L"text", text));
}

void HearOfChanges(CZQVariable& variables, VariableHost& listener, VariableHost& source) {
    variables.RegisterHost(&listener);
    variables.RegisterHost(&source);
    listener.expectedSource = &source;
    SetVariables(variables, source);
    ZQ_CHECK(listener.changed.Wait());
    const uint32_t expected[5] = {VariableTypeBinary, VariableTypeDouble, VariableTypeBool, VariableTypeInt64,
                                  VariableTypeString};
    ZQ_CHECK(listener.count == 5 && Equals(expected, listener.types, sizeof(expected)));
    ZQ_CHECK(source.count == 0);
}

void Pack(CZQVariable& variables) {
    const int64_t value = 7;
    size_t size = 0;
    void* packet = variables.PackVariable(L"Packed", VariableTypeInt64, &value, sizeof(value), &size);
    ZQ_CHECK(packet && size == 8 + 12 + 6 * sizeof(wchar_t) + sizeof(value));
    ZQ_CHECK(variables.UnpackVariables(packet, 7, nullptr) == 0);
    ZQ_CHECK(variables.UnpackVariables(packet, 8, nullptr) == 1);
    int64_t integer = 0;
    ZQ_CHECK(variables.GetVariableInt64(L"Packed", &integer) == 0);
    ZQ_CHECK(variables.UnpackVariables(packet, size, nullptr) == 1);
    ZQ_CHECK(variables.GetVariableInt64(L"Packed", &integer) == 1 && integer == 7);
    ZQFreePacket(packet);

    packet = variables.PackAllVariables(&size);
    ZQ_CHECK(packet && size > 1000);
    ZQ_CHECK(variables.UnpackVariables(packet, size, nullptr) == 1);
    ZQFreePacket(packet);
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

// What Save wrote, as the variables that the watcher makes of it.
bool HasSavedValues(CZQVariable& variables) {
    int64_t bitrate = 0;
    int64_t first = 0;
    int64_t second = 0;
    double scale = 0;
    ZQBool isEnabled = 1;
    wchar_t name[12];
    return variables.GetVariableInt64(L"Settings.CurrentBitrate", &bitrate) == 1 && bitrate == 45 &&
           variables.GetVariableInt64(L"CL.MERIN5.3.0.0.0", &first) == 1 && first == 1 &&
           variables.GetVariableInt64(L"CL.MERIN5.3.0.0.1", &second) == 1 && second == 2 &&
           variables.GetVariableDouble(L"CL.MERIN5.RenderScale", &scale) == 1 && scale == 1.25 &&
           variables.GetVariableBool(L"Settings.EnableDashboard", &isEnabled) == 1 && isEnabled == 0 &&
           variables.GetVariableString(L"Settings.ServerName", name, 12) == 1 && Equals(L"Saved", name);
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
    ZQ_CHECK(host.hasBegun && host.hasCopied && host.hasNamed);
    ReadLoadedVariables(variables);
    host.hasNamed = false;
    module->UpdateDefaultDeviceName();
    ZQ_CHECK(host.hasNamed);

    HearOfChanges(variables, listener, source);
    listener.expectedSource = nullptr;
    ZQ_CHECK(module->DoStart() == 0);
    Save(*module);
    ZQ_CHECK(WaitUntil(host.reloaded, [&] { return HasSavedValues(variables); }));
    ZQ_CHECK(listener.reloaded.Wait() && source.reloaded.Wait());

    variables.UnregisterHost(&source);
    variables.UnregisterHost(&listener);
    Pack(variables);
    module->DoStop();
    variables.RemoveAllVariables();
    int64_t integer = 5;
    ZQ_CHECK(variables.GetVariableInt64(L"Network.ControlPort", &integer) == 0 && integer == 5);
    module->DoRelease();
    ZQ_CHECK(host.hasReleased);
    delete module;
}

// A host of this compiler cannot catch the module's exceptions in C++, but it survives them with structured
// handling.
bool IsRaisedBy(void (*operation)(CZQVariable&), CZQVariable& variables) {
    __try {
        operation(variables);
        return false;
    } __except (1) {
        return true;
    }
}

uint32_t __stdcall SetOnAnotherThread(void* variables) {
    static_cast<CZQVariable*>(variables)->SetVariableInt64(L"Raised", 1, nullptr, 0);
    return 0;
}

void SurviveWhatIsRaised() {
    CZQModSettings* const module = Create();
    CZQVariable& variables = *ZQVariables(module);
    variables.SetVariableString(L"Text", L"kept", nullptr, 0);
    const auto setNullName = [](CZQVariable& v) { v.SetVariableInt64(nullptr, 1, nullptr, 0); };
    const auto setNullText = [](CZQVariable& v) { v.SetVariableString(L"Text", nullptr, nullptr, 1); };
    const auto packTooMuch = [](CZQVariable& v) {
        size_t size = 0;
        v.PackVariable(L"Large", VariableTypeBinary, &v, SIZE_MAX - 4, &size);
    };
    for (int i = 0; i < 3; ++i) {
        ZQ_CHECK(IsRaisedBy(setNullName, variables));
        ZQ_CHECK(IsRaisedBy(setNullText, variables));
        ZQ_CHECK(IsRaisedBy(packTooMuch, variables));
    }
    wchar_t text[8];
    ZQ_CHECK(variables.GetVariableString(L"Text", text, 8) == 1 && Equals(L"kept", text));
    // No lock remained held.
    void* const thread = CreateThread(nullptr, 0, SetOnAnotherThread, &variables, 0, nullptr);
    ZQ_CHECK(WaitForSingleObject(thread, 5000) == 0);
    int64_t integer = 0;
    ZQ_CHECK(variables.GetVariableInt64(L"Raised", &integer) == 1 && integer == 1);
    module->DoRelease();
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
    SurviveWhatIsRaised();
    DestroyThroughHelper();
}

} // namespace abi
} // namespace zq
