#include "HostSupport.h"

#include "WindowsApi.h"

// What the compiler calls implicitly and a run-time library would provide.
extern "C" {
int _fltused = 0;
void _purecall() { ExitProcess(3); }

void* memset(void* memory, int value, size_t size) {
    volatile char* bytes = static_cast<volatile char*>(memory);
    while (size-- > 0) {
        *bytes++ = static_cast<char>(value);
    }
    return memory;
}
}

void* operator new(size_t size) { return HeapAlloc(GetProcessHeap(), 0, size); }
void operator delete(void* memory) noexcept { HeapFree(GetProcessHeap(), 0, memory); }
void operator delete(void* memory, size_t) noexcept { HeapFree(GetProcessHeap(), 0, memory); }

namespace zq {
namespace abi {

namespace {

constexpr uint32_t kStandardOutput = static_cast<uint32_t>(-11);
constexpr uint32_t kWaitCapMs = 20000;

int g_checks = 0;
int g_failures = 0;

void Print(const char* text) {
    uint32_t length = 0;
    while (text[length] != 0) {
        ++length;
    }
    uint32_t written = 0;
    WriteFile(GetStdHandle(kStandardOutput), text, length, &written, nullptr);
}

void Print(int number) {
    char digits[12];
    char* first = digits + sizeof(digits) - 1;
    *first = 0;
    do {
        *--first = static_cast<char>('0' + number % 10);
        number /= 10;
    } while (number > 0);
    Print(first);
}

void CutBehindLastBackslash(wchar_t* path) {
    wchar_t* end = path;
    for (wchar_t* c = path; *c != 0; ++c) {
        end = *c == L'\\' ? c : end;
    }
    *end = 0;
}

} // namespace

void Check(bool isTrue, const char* condition, const char* file, int line) {
    ++g_checks;
    if (isTrue) {
        return;
    }
    ++g_failures;
    Print(file);
    Print(":");
    Print(line);
    Print(": not so: ");
    Print(condition);
    Print("\n");
}

bool FormatsTo(const wchar_t* expected, const wchar_t* format, va_list arguments) {
    wchar_t text[1024];
    wvsprintfW(text, format, arguments);
    return Equals(expected, text);
}

bool Equals(const wchar_t* left, const wchar_t* right) {
    while (*left != 0 && *left == *right) {
        ++left;
        ++right;
    }
    return *left == *right;
}

bool Equals(const void* left, const void* right, size_t size) {
    const unsigned char* l = static_cast<const unsigned char*>(left);
    const unsigned char* r = static_cast<const unsigned char*>(right);
    while (size > 0 && *l == *r) {
        ++l;
        ++r;
        --size;
    }
    return size == 0;
}

Signal::Signal() : m_event(CreateEventW(nullptr, 0, 0, nullptr)) {}
void Signal::Set() { SetEvent(m_event); }
bool Signal::Wait() { return WaitForSingleObject(m_event, kWaitCapMs) == 0; }

void* FindCreateSettings() {
    void* const library = LoadLibraryW(L"ZQModSettings.dll");
    void* const create = library ? GetProcAddress(library, "CreateSettings") : nullptr;
    if (!create) {
        Print("ZQModSettings.dll with CreateSettings is not beside this program\n");
        ExitProcess(2);
    }
    return create;
}

Folders::Folders() {
    GetModuleFileNameW(nullptr, m_hostPath, 260);
    wchar_t folder[260];
    GetModuleFileNameW(nullptr, folder, 260);
    CutBehindLastBackslash(folder);
    wsprintfW(m_defaultDir, L"%s\\defaults", folder);

    wchar_t temporary[200];
    GetTempPathW(200, temporary);
    wsprintfW(m_commonDataDir, L"%szqabi-%u", temporary, GetCurrentProcessId());
    wsprintfW(m_dataDir, L"%s\\ZQserver", m_commonDataDir);
    wsprintfW(m_settingsFile, L"%s\\ZQ2_serverSetting.setting", m_dataDir);
    CreateDirectoryW(m_commonDataDir, nullptr);
    ZQ_CHECK(CreateDirectoryW(m_dataDir, nullptr) != 0);
}

Folders::~Folders() {
    const wchar_t* const names[] = {L"ZQ2_serverSetting.setting", L"ZQ2_HmdList.json",
                                    L"ZQ2_QualityPreset.json"};
    for (const wchar_t* name : names) {
        wchar_t path[400];
        wsprintfW(path, L"%s\\%s", m_dataDir, name);
        ZQ_CHECK(DeleteFileW(path) != 0);
    }
    ZQ_CHECK(RemoveDirectoryW(m_dataDir) != 0);
    ZQ_CHECK(RemoveDirectoryW(m_commonDataDir) != 0);
}

} // namespace abi
} // namespace zq

extern "C" void HostMain() {
    using namespace zq::abi;
    RunHost();
    Print(g_checks);
    Print(" checks, ");
    Print(g_failures);
    Print(" failed\n");
    ExitProcess(g_failures == 0 && g_checks > 0 ? 0 : 1);
}
