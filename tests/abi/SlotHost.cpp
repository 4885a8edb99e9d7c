// A host that knows no header of the module: it calls by slot number alone, so a slot that moves breaks it.
// The numbers, and what stands behind them, are those that deployed hosts were built with.
#include "HostSupport.h"

namespace zq {
namespace abi {
namespace {

template <class Result, class... Arguments>
Result Call(void* object, int slot, Arguments... arguments) {
    void* const* const table = *static_cast<void* const* const*>(object);
    return reinterpret_cast<Result (*)(void*, Arguments...)>(table[slot])(object, arguments...);
}

// A callback object is a pointer to a table of functions; this one counts the calls of its slots.
struct CallbackObject {
    void* const* table;
    int calls[4];
};

void* Destroy(CallbackObject* self, unsigned) {
    ++self->calls[0];
    return self;
}

void Log(CallbackObject* self, const wchar_t* tag, int32_t level, const wchar_t* format, va_list) {
    ++self->calls[1];
    ZQ_CHECK(Equals(L"ZQModSettings", tag));
    ZQ_CHECK(level >= 1 && level <= 3);
    ZQ_CHECK(self->calls[1] > 1 || Equals(L"DoInit begin", format));
}

template <int Slot>
void CountCall(CallbackObject* self) {
    ++self->calls[Slot];
}

void OnVariableChanged(CallbackObject* self, const wchar_t*, uint32_t, void*) { ++self->calls[1]; }

void* const kModHostTable[] = {reinterpret_cast<void*>(Destroy), reinterpret_cast<void*>(Log),
                               reinterpret_cast<void*>(CountCall<2>), reinterpret_cast<void*>(CountCall<3>)};
void* const kVariableHostTable[] = {reinterpret_cast<void*>(Destroy),
                                    reinterpret_cast<void*>(OnVariableChanged),
                                    reinterpret_cast<void*>(CountCall<2>)};

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
    Call<void>(variables, 10, L"Abi.Bool", static_cast<unsigned char>(1), nobody, 0);
    Call<void>(variables, 11, L"Abi.Integer", INT64_MIN, nobody, 0);
    Call<void>(variables, 12, L"Abi.String", L"text", nobody, 0);
}

void Pack(void* variables) {
    const int64_t value = 7;
    size_t size = 0;
    void* packet = Call<void*>(variables, 5, L"Abi.Packed", uint32_t{2}, static_cast<const void*>(&value),
                               sizeof(value), &size);
    Call<int32_t>(variables, 7, static_cast<const void*>(packet), size, static_cast<void*>(nullptr));
    HeapFree(GetProcessHeap(), 0, packet);
    HeapFree(GetProcessHeap(), 0, Call<void*>(variables, 6, &size));
}

void Save(void* module) {
    const int64_t values[2] = {1, 2};
    const unsigned char no = 0;
    const unsigned char yes = 1;
    for (int slot = 6; slot <= 9; ++slot) {
        Call<void>(module, slot, L"name");
    }
    Call<void>(module, 10, L"MERIN5", 3, 0, 0, static_cast<const int64_t*>(values), 2);
    Call<void>(module, 11, L"CL.MERIN5.RenderScale", 1.25, yes);
    Call<void>(module, 12, L"Settings.EnableDashboard", no, no);
    Call<void>(module, 13, L"Settings.ServerName", "Saved", no);
    Call<void>(module, 14, L"Settings.CurrentBitrate", int64_t{45}, no);
}

} // namespace

void RunHost() {
    const Folders folders;
    CallbackObject host = {kModHostTable, {}};
    CallbackObject listener = {kVariableHostTable, {}};
    void* const module = Create();
    void* const variables = VariablesOf(module);

    ZQ_CHECK(Call<int32_t>(module, 1, static_cast<void*>(&host), folders.HostPath(), folders.DefaultDir(),
                           folders.CommonDataDir()) == 0);
    ReadVariables(variables);
    Call<void>(module, 5);
    Call<void>(variables, 1, static_cast<void*>(&listener));
    Call<void>(variables, 3);
    WriteVariables(variables);
    Pack(variables);
    ZQ_CHECK(Call<int32_t>(module, 2) == 0);
    Save(module);
    Call<void>(variables, 2, static_cast<void*>(&listener));
    Call<void>(module, 3);
    Call<void>(variables, 4);
    int64_t integer = 5;
    ZQ_CHECK(Call<int32_t>(variables, 16, L"Network.ControlPort", &integer) == 0 && integer == 5);
    Call<void>(module, 4);
    ZQ_CHECK(host.calls[1] > 0 && host.calls[0] == 0 && host.calls[2] == 0 && listener.calls[0] == 0);

    Call<void*>(module, 0, 1u);
    Call<void*>(VariablesOf(Create()), 0, 1u);
}

} // namespace abi
} // namespace zq
