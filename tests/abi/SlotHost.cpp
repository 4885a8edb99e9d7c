// A host that knows no header of the module: it calls only by slot number, so that a slot that moves breaks
// it. Deployed hosts were built with these numbers and their meaning.
#include "HostSupport.h"
#include "WindowsApi.h"

namespace zq {
namespace abi {
namespace {

template <class Result, class... Arguments>
Result Call(void* object, int slot, Arguments... arguments) {
    void* const* const table = *static_cast<void* const* const*>(object);
    return reinterpret_cast<Result (*)(void*, Arguments...)>(table[slot])(object, arguments...);
}

// A callback object is a pointer to a table of functions; this one counts the calls of its slots and looks
// out for one message.
struct CallbackObject {
    void* const* table;
    int calls[4];
    const wchar_t* expectedFormat;
    bool isSeen;
    Signal called;
};

void* Destroy(CallbackObject* self, unsigned) {
    ++self->calls[0];
    return self;
}

void Log(CallbackObject* self, const wchar_t* tag, int32_t level, const wchar_t* format, va_list) {
    ++self->calls[1];
    ZQ_CHECK(Equals(L"ZQModSettings", tag));
    ZQ_CHECK(level >= 1 && level <= 3);
    self->isSeen = self->isSeen || Equals(self->expectedFormat, format);
}

template <int Slot>
void CountCall(CallbackObject* self) {
    ++self->calls[Slot];
}

void OnVariableChanged(CallbackObject* self, const wchar_t* name, uint32_t type, void* source) {
    ++self->calls[1];
    ZQ_CHECK(source == nullptr);
    if (Equals(L"Abi.Last", name)) {
        ZQ_CHECK(type == 4);
        self->called.Set();
    }
}

void* const kModHostTable[] = {reinterpret_cast<void*>(Destroy), reinterpret_cast<void*>(Log),
                               reinterpret_cast<void*>(CountCall<2>), reinterpret_cast<void*>(CountCall<3>)};
void* const kVariableHostTable[] = {reinterpret_cast<void*>(Destroy),
                                    reinterpret_cast<void*>(OnVariableChanged),
                                    reinterpret_cast<void*>(CountCall<2>)};

void Expect(CallbackObject& host, const wchar_t* format) {
    host.expectedFormat = format;
    host.isSeen = false;
}

void* Create() {
    void* const module = reinterpret_cast<void* (*)()>(FindCreateSettings())();
    ZQ_CHECK(module != nullptr);
    return module;
}

void* VariablesOf(void* module) { return static_cast<void**>(module) + 1; }

void ReadVariables(void* variables) {
    unsigned char bytes[4];
    size_t length = 77;
    ZQ_CHECK(
        Call<int32_t>(variables, 13, L"Abi.Missing", static_cast<void*>(bytes), sizeof(bytes), &length) == 0);
    ZQ_CHECK(length == 77);
    double real = 0;
    ZQ_CHECK(Call<int32_t>(variables, 14, L"Tracking.SmoothingFactor", &real) == 1 && real == 0.15);
    unsigned char truth = 9;
    ZQ_CHECK(Call<int32_t>(variables, 15, L"Settings.CheckForUpdates", &truth) == 1 && truth == 1);
    int64_t integer = -1;
    ZQ_CHECK(Call<int32_t>(variables, 16, L"Network.ControlPort", &integer) == 1 && integer == 9940);
    wchar_t text[12];
    ZQ_CHECK(Call<int32_t>(variables, 17, L"Settings.ServerName", static_cast<wchar_t*>(text), 12) == 1);
    ZQ_CHECK(Equals(L"Lumo Server", text));
}

void WriteVariables(void* variables) {
    const unsigned char bytes[3] = {1, 0, 255};
    void* const nobody = nullptr;
    Call<void>(variables, 8, L"Abi.Binary", sizeof(bytes), static_cast<const void*>(bytes), nobody, 0);
    Call<void>(variables, 9, L"Abi.Double", -2.5, nobody, 0);
    Call<void>(variables, 10, L"Abi.Bool", static_cast<unsigned char>(2), nobody, 0);
    Call<void>(variables, 11, L"Abi.Integer", INT64_MIN, nobody, 0);
    Call<void>(variables, 12, L"Abi.Last", L"text", nobody, 0);

    unsigned char read[3] = {};
    size_t length = 0;
    ZQ_CHECK(Call<int32_t>(variables, 13, L"Abi.Binary", static_cast<void*>(read), sizeof(read), &length) ==
             1);
    ZQ_CHECK(length == sizeof(bytes) && Equals(bytes, read, sizeof(bytes)));
    double real = 0;
    ZQ_CHECK(Call<int32_t>(variables, 14, L"Abi.Double", &real) == 1 && real == -2.5);
    unsigned char truth = 0;
    ZQ_CHECK(Call<int32_t>(variables, 15, L"Abi.Bool", &truth) == 1 && truth == 2);
    int64_t integer = 0;
    ZQ_CHECK(Call<int32_t>(variables, 16, L"Abi.Integer", &integer) == 1 && integer == INT64_MIN);
    wchar_t text[8];
    ZQ_CHECK(Call<int32_t>(variables, 17, L"Abi.Last", static_cast<wchar_t*>(text), 8) == 1);
    ZQ_CHECK(Equals(L"text", text));
}

void HearOfChanges(void* variables) {
    CallbackObject listener = {kVariableHostTable, {}, nullptr, false, {}};
    CallbackObject other = {kVariableHostTable, {}, nullptr, false, {}};
    Call<void>(variables, 1, static_cast<void*>(&listener));
    Call<void>(variables, 1, static_cast<void*>(&other));
    Call<void>(variables, 3);
    WriteVariables(variables);
    ZQ_CHECK(listener.called.Wait() && other.called.Wait());
    ZQ_CHECK(listener.calls[1] == 5 && other.calls[1] == 5);

    Call<void>(variables, 2, static_cast<void*>(&listener));
    Call<void>(variables, 12, L"Abi.Last", L"other text", static_cast<void*>(nullptr), 0);
    ZQ_CHECK(other.called.Wait());
    Call<void>(variables, 2, static_cast<void*>(&other));
    ZQ_CHECK(listener.calls[1] == 5 && other.calls[1] == 6);
    ZQ_CHECK(listener.calls[0] == 0 && listener.calls[2] == 0);
}

void Pack(void* variables) {
    const unsigned char expected[] = {0xBF, 0xFE, 0xEB, 1, 0, 0, 0, 0,             // header
                                      2,    0,    0,    0, 2, 0, 0, 0, 8, 0, 0, 0, // type and lengths
                                      'P',  0,    7,    0, 0, 0, 0, 0, 0, 0};      // name and value
    const int64_t value = 7;
    size_t size = 0;
    void* packet =
        Call<void*>(variables, 5, L"P", uint32_t{2}, static_cast<const void*>(&value), sizeof(value), &size);
    ZQ_CHECK(size == sizeof(expected) && Equals(expected, packet, sizeof(expected)));
    ZQ_CHECK(Call<int32_t>(variables, 7, static_cast<const void*>(packet), size,
                           static_cast<void*>(nullptr)) == 1);
    HeapFree(GetProcessHeap(), 0, packet);
    int64_t integer = 0;
    ZQ_CHECK(Call<int32_t>(variables, 16, L"P", &integer) == 1 && integer == 7);

    packet = Call<void*>(variables, 6, &size);
    ZQ_CHECK(packet && size > 1000 && Equals(expected, packet, 8));
    HeapFree(GetProcessHeap(), 0, packet);
}

void Save(void* module, CallbackObject& host) {
    const int64_t values[2] = {1, 2};
    const unsigned char no = 0;
    const unsigned char yes = 1;
    for (int slot = 6; slot <= 9; ++slot) {
        Expect(host, L"Remove SaveConfig: %s");
        Call<void>(module, slot, L"name");
        ZQ_CHECK(host.isSeen);
    }
    Call<void>(module, 10, L"MERIN5", 3, 0, 0, static_cast<const int64_t*>(values), 2);
    Call<void>(module, 11, L"CL.MERIN5.RenderScale", 1.25, yes);
    Call<void>(module, 12, L"Settings.EnableDashboard", no, no);
    Call<void>(module, 13, L"Settings.ServerName", "Saved", no);
    Call<void>(module, 14, L"Settings.CurrentBitrate", int64_t{45}, no);
}

void* Init(CallbackObject& host, const Folders& folders) {
    void* const module = Create();
    Expect(host, L"DoInit begin");
    ZQ_CHECK(Call<int32_t>(module, 1, static_cast<void*>(&host), folders.HostPath(), folders.DefaultDir(),
                           folders.CommonDataDir()) == 0);
    ZQ_CHECK(host.isSeen);
    return module;
}

void CallAndExpect(void* module, int slot, CallbackObject& host, const wchar_t* format) {
    Expect(host, format);
    Call<void>(module, slot);
    ZQ_CHECK(host.isSeen);
}

// Whatever the saves changed, a new module object finds in the files.
void ReadSavedVariables(void* variables) {
    int64_t integer = 0;
    ZQ_CHECK(Call<int32_t>(variables, 16, L"CL.MERIN5.3.0.0.0", &integer) == 1 && integer == 1);
    ZQ_CHECK(Call<int32_t>(variables, 16, L"CL.MERIN5.3.0.0.1", &integer) == 1 && integer == 2);
    ZQ_CHECK(Call<int32_t>(variables, 16, L"Settings.CurrentBitrate", &integer) == 1 && integer == 45);
    double real = 0;
    ZQ_CHECK(Call<int32_t>(variables, 14, L"CL.MERIN5.RenderScale", &real) == 1 && real == 1.25);
    unsigned char truth = 1;
    ZQ_CHECK(Call<int32_t>(variables, 15, L"Settings.EnableDashboard", &truth) == 1 && truth == 0);
    wchar_t text[12];
    ZQ_CHECK(Call<int32_t>(variables, 17, L"Settings.ServerName", static_cast<wchar_t*>(text), 12) == 1);
    ZQ_CHECK(Equals(L"Saved", text));
}

} // namespace

void RunHost() {
    const Folders folders;
    CallbackObject host = {kModHostTable, {}, nullptr, false, {}};
    void* const module = Init(host, folders);
    void* const variables = VariablesOf(module);

    ReadVariables(variables);
    CallAndExpect(module, 5, host, L"Get device name %s");
    HearOfChanges(variables);
    Pack(variables);
    Expect(host, L"DoStart begin");
    ZQ_CHECK(Call<int32_t>(module, 2) == 0 && host.isSeen);
    Save(module, host);
    CallAndExpect(module, 3, host, L"DoStop begin");
    Call<void>(variables, 4);
    int64_t integer = 5;
    ZQ_CHECK(Call<int32_t>(variables, 16, L"Network.ControlPort", &integer) == 0 && integer == 5);
    CallAndExpect(module, 4, host, L"DoRelease begin");
    Call<void*>(module, 0, 1u);

    void* const second = Init(host, folders);
    ReadSavedVariables(VariablesOf(second));
    CallAndExpect(second, 4, host, L"DoRelease begin");
    Call<void*>(VariablesOf(second), 0, 1u);
    ZQ_CHECK(host.calls[0] == 0 && host.calls[2] == 0);
}

} // namespace abi
} // namespace zq
