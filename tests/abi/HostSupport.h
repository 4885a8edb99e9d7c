// What both hosts need and have no run-time library for: checks that say where they failed, an event with a
// cap, the module's folders.
#pragma once

#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>

// A failed check is printed and makes the program end with 1.
#define ZQ_CHECK(condition) zq::abi::Check((condition), #condition, __FILE__, __LINE__)

namespace zq {
namespace abi {

void Check(bool isTrue, const char* condition, const char* file, int line);

// As the module's format functions do it: in Microsoft's reading, cut at 1023 characters.
bool FormatsTo(const wchar_t* expected, const wchar_t* format, va_list arguments);

bool Equals(const wchar_t* left, const wchar_t* right);
bool Equals(const void* left, const void* right, size_t size);

// Set by a callback on any thread, waited for with a cap of seconds.
class Signal {
public:
    Signal();
    void Set();
    // Returns whether the signal came; it is taken then.
    bool Wait();

private:
    void* m_event;
};

// Returns whether the condition became true. It is checked again at each signal.
template <class Condition>
bool WaitUntil(Signal& signal, Condition condition) {
    while (!condition()) {
        if (!signal.Wait()) {
            return condition();
        }
    }
    return true;
}

// The address of CreateSettings in the DLL in this program's folder. Ends the program if there is none.
void* FindCreateSettings();

// The default files in this program's folder, and an empty data folder.
class Folders {
public:
    Folders();
    ~Folders();
    Folders(const Folders&) = delete;
    Folders& operator=(const Folders&) = delete;

    const wchar_t* HostPath() const { return m_hostPath; }
    const wchar_t* DefaultDir() const { return m_defaultDir; }
    const wchar_t* CommonDataDir() const { return m_commonDataDir; }
    const wchar_t* SettingsFile() const { return m_settingsFile; }

private:
    wchar_t m_hostPath[260];
    wchar_t m_defaultDir[300];
    wchar_t m_commonDataDir[260];
    wchar_t m_dataDir[300];
    wchar_t m_settingsFile[360];
};

// Each host defines this; it is called once.
void RunHost();

} // namespace abi
} // namespace zq
