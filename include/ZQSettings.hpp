// The settings module as C++17 objects, over the plain interfaces and header-only: a handle that owns the
// module, values by type, subscriptions and cached values that end with their scope.
//
//     zq::Options options;
//     options.commonDataDir = L"C:\\ProgramData";               // ZQserver must exist below it
//     zq::Module module(options);                               // loaded, initialised, started
//     const auto port = module.get<int64_t>(L"Network.ControlPort");
//     const zq::Cached<bool> dashboard(module, zq::keys::Settings::EnableDashboard);
//     const auto token = module.subscribe(zq::Prefix{L"Video."}, [](const zq::Change& change) { ... });
//                                                               // the end of the scope undoes it all, in
//                                                               order
//
// zq::keys is in ZQSettingsKeys.hpp, which the build makes of the schemas and the default files.
//
// Errors: whatever can be checked is checked here, before the module is called, and raises zq::Error. What
// the module itself raises (lack of memory, a file that vanishes during DoInit) is an exception of its own
// compiler: a host built with GCC catches it as std::exception, a host built with another compiler cannot.
//
// Threads: Module, Packet and Subscription are handles. Every operation of Module except its end may be
// called from any thread, callbacks included. The caller must not move, close or destroy a Module while
// another thread uses it. Subscriptions and Cached values may end at any time, also after their Module.
//
// Windows x64; GCC, Clang and the Microsoft compiler. No Windows header is needed or included; one that is
// included beside this must be so with STRICT, its default.
#pragma once

#if !defined(ZQ_NO_IMPORT)
#define ZQ_NO_IMPORT // this header loads the DLL by hand
#define ZQ_SETTINGS_HPP_NO_IMPORT
#endif
#include "CZQModSettings.h"
#if defined(ZQ_SETTINGS_HPP_NO_IMPORT)
#undef ZQ_NO_IMPORT
#undef ZQ_SETTINGS_HPP_NO_IMPORT
#endif
#include "ZQPacketMemory.h"

#include <atomic>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <functional>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

// The few Windows functions that this header calls, as the system's own headers declare them.
struct HINSTANCE__;
struct _RTL_SRWLOCK;
struct _RTL_CONDITION_VARIABLE;
struct _SECURITY_ATTRIBUTES;
extern "C" {
#define ZQ_WINAPI(Result) __declspec(dllimport) Result __stdcall // NOLINT(bugprone-macro-parentheses): a type
ZQ_WINAPI(HINSTANCE__*) LoadLibraryExW(const wchar_t* path, void* reserved, unsigned long flags);
ZQ_WINAPI(int) FreeLibrary(HINSTANCE__* library);
using ZQProcedure = long long(__stdcall*)();
ZQ_WINAPI(ZQProcedure) GetProcAddress(HINSTANCE__* library, const char* name);
ZQ_WINAPI(unsigned long) GetModuleFileNameW(HINSTANCE__* library, wchar_t* path, unsigned long size);
ZQ_WINAPI(unsigned long) GetFileAttributesW(const wchar_t* path);
ZQ_WINAPI(int) CreateDirectoryW(const wchar_t* path, _SECURITY_ATTRIBUTES* security);
ZQ_WINAPI(unsigned long) GetLastError();
ZQ_WINAPI(unsigned long) GetCurrentThreadId();
ZQ_WINAPI(void*)
CreateThread(_SECURITY_ATTRIBUTES* security, unsigned long long stack, unsigned long(__stdcall* start)(void*),
             void* argument, unsigned long flags, unsigned long* id);
ZQ_WINAPI(int) CloseHandle(void* handle);
ZQ_WINAPI(void) OutputDebugStringW(const wchar_t* text);
#if defined(__MINGW32__) // whose header declares these two without dllimport
void __stdcall AcquireSRWLockExclusive(_RTL_SRWLOCK* lock);
void __stdcall ReleaseSRWLockExclusive(_RTL_SRWLOCK* lock);
#else
ZQ_WINAPI(void) AcquireSRWLockExclusive(_RTL_SRWLOCK* lock);
ZQ_WINAPI(void) ReleaseSRWLockExclusive(_RTL_SRWLOCK* lock);
#endif
ZQ_WINAPI(int)
SleepConditionVariableSRW(_RTL_CONDITION_VARIABLE* condition, _RTL_SRWLOCK* lock, unsigned long milliseconds,
                          unsigned long flags);
ZQ_WINAPI(void) WakeAllConditionVariable(_RTL_CONDITION_VARIABLE* condition);
ZQ_WINAPI(int)
MultiByteToWideChar(unsigned int codePage, unsigned long flags, const char* bytes, int byteCount,
                    wchar_t* text, int textSize);
ZQ_WINAPI(int)
WideCharToMultiByte(unsigned int codePage, unsigned long flags, const wchar_t* text, int textLength,
                    char* bytes, int byteCount, const char* replacement, int* isReplaced);
#undef ZQ_WINAPI
}

namespace zq {

static_assert(sizeof(void*) == 8 && sizeof(wchar_t) == 2, "the settings module is for Windows on x64 only");

// What an Error is about. Its text names the thing, the location and the fix.
enum class Reason {
    InvalidArgument,   // a name, a value or an option that the module cannot take
    LibraryMissing,    // there is no file at Options::library
    WrongArchitecture, // that file is no DLL for x64
    LibraryNotLoaded,  // Windows did not load it; see Error::systemCode
    NoExport,          // the DLL does not export CreateSettings
    NoObject,          // CreateSettings returned null: no memory, or no mutex of the system
    InitFailed,        // DoInit or DoStart raised an exception, whose text is in the message
    DefaultsMissing,   // a default file or its folder is missing
    DataFolderMissing, // there is no folder ZQserver below Options::commonDataDir
    Closed,            // the Module is closed, moved from, or a Subscription's or Cached's module was
    InsideCallback     // close was called inside one of the module's callbacks
};

class Error : public std::runtime_error {
public:
    Error(Reason reason, const std::string& text, unsigned long systemCode = 0)
        : std::runtime_error(text), m_reason(reason), m_systemCode(systemCode) {}

    Reason reason() const noexcept { return m_reason; }
    // The system's error number where a call to the system failed, else 0.
    unsigned long systemCode() const noexcept { return m_systemCode; }

private:
    Reason m_reason;
    unsigned long m_systemCode;
};

// The name of a variable with its type: bool, int64_t, double, std::wstring or std::vector<std::byte>. `name`
// is zero-terminated and outlives the key; a literal does.
template <class T>
struct Key {
    const wchar_t* name;
};

// In place of a name: every variable whose name begins with `text`. The empty text takes all.
struct Prefix {
    std::wstring text;
};

// What a subscriber is called with. `name` is zero-terminated and valid during the call only.
struct Change {
    std::wstring_view name; // empty for a reload
    VariableType type;      // VariableTypeNone for a reload

    // A configuration file was read again: any variable may have changed, and no single changes follow.
    bool isReload() const noexcept { return type == VariableTypeNone; }
};

// Whether subscribers are notified of a set whose value is the one already held. Binary values always count
// as changed.
enum class Notify { OnChange, Always };

// Where a save writes: a member at the root of the settings file, or that member of the headset in use, for
// names "CL.<anything>.<member>".
enum class SaveTo { File, Headset };

struct Options {
    // Full paths, with backslashes or slashes. Where the first three are empty: the DLL beside the program,
    // the program itself, and the folder "defaults" beside the program.
    std::wstring library;
    std::wstring hostPath; // a path inside the installation folder, 511 characters at most
    std::wstring defaultDir;
    std::wstring commonDataDir; // REQUIRES a value
    // Make the folder ZQserver below commonDataDir when it is missing. It inherits the access list of its
    // parent; see docs/security.md.
    bool createDataFolder = false;

    // Receives every message with its level: 1 notable, 2 progress, 3 warning, 4 failure. Called on any
    // thread, on several at once, from the constructor of Module until its end; an exception is dropped. A
    // call on the watcher's thread that is still running a second after the module is closed is terminated
    // with that thread.
    std::function<void(int level, const std::wstring& text)> log;
    // Called after each look of the folder watcher at the files, on its thread, where nothing is watched
    // meanwhile. An exception is reported to `log`.
    std::function<void()> reloaded;
};

class Module;
class Packet;

namespace detail {

[[noreturn]] inline void fail(Reason reason, const std::string& text, unsigned long systemCode = 0) {
    throw Error(reason, text, systemCode);
}

inline std::string utf8(std::wstring_view text) {
    const int length = static_cast<int>(text.size());
    const int size = WideCharToMultiByte(65001, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<size_t>(size), '\0');
    WideCharToMultiByte(65001, 0, text.data(), length, bytes.data(), size, nullptr, nullptr);
    return bytes;
}

inline std::wstring wideFromUtf8(const char* bytes, size_t count) {
    const int length = static_cast<int>(count);
    const int size = MultiByteToWideChar(65001, 0, bytes, length, nullptr, 0);
    std::wstring text(static_cast<size_t>(size), L'\0');
    MultiByteToWideChar(65001, 0, bytes, length, text.data(), size);
    return text;
}

// A slim lock: std::mutex is absent from some builds of GCC for Windows.
class Lock {
public:
    Lock() = default;
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

    void acquire() { AcquireSRWLockExclusive(slim()); }
    void release() { ReleaseSRWLockExclusive(slim()); }

private:
    friend class Condition;
    _RTL_SRWLOCK* slim() { return reinterpret_cast<_RTL_SRWLOCK*>(&m_state); }

    void* m_state = nullptr;
};

class Guard {
public:
    explicit Guard(Lock& lock) : m_lock(lock) { m_lock.acquire(); }
    ~Guard() { m_lock.release(); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

private:
    Lock& m_lock;
};

class Condition {
public:
    // REQUIRES: this thread holds `lock`. May return early: look at the condition again.
    void wait(Lock& lock) { SleepConditionVariableSRW(variable(), lock.slim(), 0xFFFFFFFF, 0); }
    void wakeAll() { WakeAllConditionVariable(variable()); }

private:
    _RTL_CONDITION_VARIABLE* variable() { return reinterpret_cast<_RTL_CONDITION_VARIABLE*>(&m_state); }

    void* m_state = nullptr;
};

// Knows which threads are inside one of the host's callables, and lets nobody in once it is closed.
class Gate {
public:
    // No thread enters after this. Waits for those that are inside, unless this one is among them.
    void close() {
        const Guard guard(m_lock);
        m_isClosed = true;
        while (!m_inside.empty() && !contains(GetCurrentThreadId())) {
            m_left.wait(m_lock);
        }
    }

    bool isClosed() {
        const Guard guard(m_lock);
        return m_isClosed;
    }

    bool isInside() {
        const Guard guard(m_lock);
        return contains(GetCurrentThreadId());
    }

private:
    friend class Visit;

    bool enter() {
        const Guard guard(m_lock);
        if (m_isClosed) {
            return false;
        }
        m_inside.push_back(GetCurrentThreadId());
        return true;
    }

    void leave() {
        const Guard guard(m_lock);
        const unsigned long thread = GetCurrentThreadId();
        for (size_t i = m_inside.size(); i-- > 0;) {
            if (m_inside[i] == thread) {
                m_inside.erase(m_inside.begin() + static_cast<std::ptrdiff_t>(i));
                break;
            }
        }
        m_left.wakeAll();
    }

    bool contains(unsigned long thread) const {
        for (const unsigned long inside : m_inside) {
            if (inside == thread) {
                return true;
            }
        }
        return false;
    }

    Lock m_lock;
    Condition m_left;
    std::vector<unsigned long> m_inside; // a thread is in it once for each entry
    bool m_isClosed = false;
};

// One stay inside a gate.
class Visit {
public:
    explicit Visit(Gate& gate) : m_gate(gate.enter() ? &gate : nullptr) {}
    ~Visit() {
        if (m_gate) {
            m_gate->leave();
        }
    }
    Visit(const Visit&) = delete;
    Visit& operator=(const Visit&) = delete;

    explicit operator bool() const { return m_gate != nullptr; }

private:
    Gate* m_gate;
};

// Passes the module's messages on, formatted, and its looks at the files.
class LogHost final : public CZQModHost {
public:
    LogHost(std::function<void(int, const std::wstring&)> log, std::function<void()> reloaded)
        : m_log(std::move(log)), m_reloaded(std::move(reloaded)) {}

    void Log(const wchar_t*, int32_t level, const wchar_t* format, va_list arguments) override {
        if (m_log) {
            passOn(level, [&] { return formatted(format, arguments); });
        }
    }

    void OnConfigReloaded() override {
        try {
            const Visit visit(reloads);
            if (visit && m_reloaded) {
                m_reloaded();
            }
        } catch (const std::exception& error) {
            report("the callable Options::reloaded", error.what());
        } catch (...) {
            report("the callable Options::reloaded", "something that is no std::exception");
        }
    }

    // A message of this header itself, at the level of failures.
    void report(const std::wstring& text) noexcept {
        passOn(4, [&] { return text; });
    }
    // ... on an exception that left one of the host's callables.
    void report(const std::string& who, const char* what) noexcept {
        passOn(4, [&] {
            const std::string text = "zq::Module: " + who + " raised " + what +
                                     "; exceptions must not leave it, this one was dropped";
            return wideFromUtf8(text.data(), text.size());
        });
    }

    Gate messages;
    Gate reloads;

private:
    template <class Text>
    void passOn(int level, Text text) noexcept {
        try {
            const Visit visit(messages);
            if (visit && m_log) {
                m_log(level, text());
            }
        } catch (...) { // there is nobody left to report it to, and it must not reach the module's frames
        }
    }

    static std::wstring formatted(const wchar_t* format, va_list arguments) {
        va_list again;
        va_copy(again, arguments);
        const int length = _vscwprintf(format, again);
        va_end(again);
        if (length < 0) {
            return format;
        }
        const size_t size = static_cast<size_t>(length) + 1;
        std::vector<wchar_t> text(size);
        _vsnwprintf_s(text.data(), size, static_cast<size_t>(-1), format, arguments);
        return std::wstring(text.data());
    }

    std::function<void(int, const std::wstring&)> m_log;
    std::function<void()> m_reloaded;
};

// How a value of each type is read from and written to the plain interface.
template <class T>
struct Access;

template <class T>
inline constexpr bool kIsVariableType =
    std::is_same_v<T, bool> || std::is_same_v<T, int64_t> || std::is_same_v<T, double> ||
    std::is_same_v<T, std::wstring> || std::is_same_v<T, std::vector<std::byte>>;

template <>
struct Access<bool> {
    static constexpr VariableType kType = VariableTypeBool;
    static std::optional<bool> get(CZQVariable& variables, const wchar_t* name) {
        ZQBool value = 0;
        return variables.GetVariableBool(name, &value) ? std::optional<bool>(value != 0) : std::nullopt;
    }
    static void set(CZQVariable& variables, const wchar_t* name, bool value, int32_t force) {
        variables.SetVariableBool(name, value ? 1 : 0, nullptr, force);
    }
    static void save(CZQModSettings& module, const wchar_t* name, bool value, ZQBool perDevice) {
        module.SaveConfigBool(name, value ? 1 : 0, perDevice);
    }
    static std::optional<bool> decode(const std::byte* bytes, size_t size, uint32_t) {
        return size < 1 ? std::nullopt : std::optional<bool>(*bytes != std::byte{0});
    }
};

template <>
struct Access<int64_t> {
    static constexpr VariableType kType = VariableTypeInt64;
    static std::optional<int64_t> get(CZQVariable& variables, const wchar_t* name) {
        int64_t value = 0;
        return variables.GetVariableInt64(name, &value) ? std::optional<int64_t>(value) : std::nullopt;
    }
    static void set(CZQVariable& variables, const wchar_t* name, int64_t value, int32_t force) {
        variables.SetVariableInt64(name, value, nullptr, force);
    }
    static void save(CZQModSettings& module, const wchar_t* name, int64_t value, ZQBool perDevice) {
        module.SaveConfigInt64(name, value, perDevice);
    }
    static std::optional<int64_t> decode(const std::byte* bytes, size_t size, uint32_t) {
        int64_t value = 0;
        if (size < sizeof(value)) {
            return std::nullopt;
        }
        std::memcpy(&value, bytes, sizeof(value));
        return value;
    }
};

template <>
struct Access<double> {
    static constexpr VariableType kType = VariableTypeDouble;
    static std::optional<double> get(CZQVariable& variables, const wchar_t* name) {
        double value = 0;
        return variables.GetVariableDouble(name, &value) ? std::optional<double>(value) : std::nullopt;
    }
    static void set(CZQVariable& variables, const wchar_t* name, double value, int32_t force) {
        variables.SetVariableDouble(name, value, nullptr, force);
    }
    static void save(CZQModSettings& module, const wchar_t* name, double value, ZQBool perDevice) {
        if (!std::isfinite(value)) {
            fail(Reason::InvalidArgument, "zq::Module: a file cannot hold infinity or NaN; save \"" +
                                              utf8(name) + "\" as a finite number");
        }
        module.SaveConfigDouble(name, value, perDevice);
    }
    static std::optional<double> decode(const std::byte* bytes, size_t size, uint32_t) {
        double value = 0;
        if (size < sizeof(value)) {
            return std::nullopt;
        }
        std::memcpy(&value, bytes, sizeof(value));
        return value;
    }
};

inline void requireNoZero(const std::wstring& text, const char* what) {
    if (text.find(L'\0') != std::wstring::npos) {
        fail(Reason::InvalidArgument, std::string("zq::Module: ") + what + " \"" + utf8(text.c_str()) +
                                          "\" has a zero character inside; the module would cut it there");
    }
}

template <>
struct Access<std::wstring> {
    static constexpr VariableType kType = VariableTypeString;
    static std::optional<std::wstring> get(CZQVariable& variables, const wchar_t* name);
    static void set(CZQVariable& variables, const wchar_t* name, const std::wstring& value, int32_t force) {
        requireNoZero(value, "the value");
        variables.SetVariableString(name, value.c_str(), nullptr, force);
    }
    static void save(CZQModSettings& module, const wchar_t* name, const std::wstring& value,
                     ZQBool perDevice) {
        requireNoZero(value, "the value");
        std::string bytes;
        for (const wchar_t c : value) {
            if (c > 0x7F) {
                fail(Reason::InvalidArgument, "zq::Module: \"" + utf8(value) + "\" cannot be saved as \"" +
                                                  utf8(name) +
                                                  "\": the module refuses files with other characters than "
                                                  "ASCII; save ASCII only");
            }
            bytes.push_back(static_cast<char>(c));
        }
        module.SaveConfigString(name, bytes.c_str(), perDevice);
    }
    // An odd last byte is left out, and the text ends at a zero character, as the module reads it.
    static std::optional<std::wstring> decode(const std::byte* bytes, size_t size, uint32_t encoding) {
        std::wstring text;
        if (encoding == 65001) {
            text = wideFromUtf8(reinterpret_cast<const char*>(bytes), size);
        } else if (encoding == 0) {
            text.resize(size / sizeof(wchar_t));
            if (!text.empty()) {
                std::memcpy(text.data(), bytes, text.size() * sizeof(wchar_t));
            }
        }
        text.resize(std::wcslen(text.c_str()));
        return text;
    }
};

template <>
struct Access<std::vector<std::byte>> {
    static constexpr VariableType kType = VariableTypeBinary;
    static std::optional<std::vector<std::byte>> get(CZQVariable& variables, const wchar_t* name) {
        constexpr size_t kMissing = static_cast<size_t>(-1);
        std::vector<std::byte> bytes;
        for (;;) { // the value may grow between the question for its length and the copy
            size_t length = kMissing;
            std::byte none{};
            const bool isCopied = variables.GetVariableBinary(name, bytes.empty() ? &none : bytes.data(),
                                                              bytes.size(), &length) != 0;
            if (length == kMissing) {
                return std::nullopt;
            }
            bytes.resize(length);
            if (isCopied) {
                return bytes;
            }
        }
    }
    static void set(CZQVariable& variables, const wchar_t* name, const std::vector<std::byte>& value,
                    int32_t) {
        const std::byte none{}; // a null pointer would delete the variable
        variables.SetVariableBinary(name, value.size(), value.empty() ? &none : value.data(), nullptr, 0);
    }
    static std::optional<std::vector<std::byte>> decode(const std::byte* bytes, size_t size, uint32_t) {
        return std::vector<std::byte>(bytes, bytes + size);
    }
};

// The type of the variable that a C++ value of type T becomes.
template <class T, class = void>
struct Stored {
    using Type = T;
};
template <class T>
struct Stored<T, std::enable_if_t<std::is_integral_v<T> && !std::is_same_v<T, bool>>> {
    static_assert(std::is_signed_v<T> || sizeof(T) < sizeof(int64_t),
                  "an unsigned 64-bit value need not fit into an integer variable; convert it to int64_t");
    static_assert(!std::is_same_v<T, char> && !std::is_same_v<T, wchar_t>,
                  "a single character is no variable; convert it to int64_t or to std::wstring");
    using Type = int64_t;
};
template <class T>
struct Stored<T, std::enable_if_t<std::is_same_v<T, float>>> {
    using Type = double;
};
template <class T>
struct Stored<
    T, std::enable_if_t<std::is_convertible_v<T, const wchar_t*> || std::is_same_v<T, std::wstring_view>>> {
    using Type = std::wstring;
};
template <class T>
using StoredType = typename Stored<std::decay_t<T>>::Type;

// Whether a value of type U can become a variable of type T without loss.
template <class T, class U>
inline constexpr bool kFits = std::is_same_v<StoredType<U>, T> ||
                              (std::is_same_v<T, double> && std::is_integral_v<U> &&
                               !std::is_same_v<U, bool> && sizeof(U) <= 4);

template <class T, class U>
T convert(const U& value) {
    if constexpr (std::is_convertible_v<U, const wchar_t*>) {
        const wchar_t* const text = value;
        if (!text) {
            fail(Reason::InvalidArgument, "zq::Module: the value of a string variable is null; give a text");
        }
        return T(text);
    } else {
        return static_cast<T>(value);
    }
}

// A variable's name on its way to the module, which must not meet a null one.
class Name {
public:
    Name(const wchar_t* name) : m_name(name) { // NOLINT: names are given as they are
        if (!name) {
            fail(Reason::InvalidArgument, "zq::Module: the name of a variable is null; give one");
        }
    }
    Name(const std::wstring& name) : m_name(name.c_str()) { // NOLINT
        requireNoZero(name, "the variable's name");
    }

    const wchar_t* get() const { return m_name; }

private:
    const wchar_t* m_name;
};

struct Subscriber {
    std::wstring pattern;
    bool isPrefix;
    std::function<void(const Change&)> callable;
    bool isRunning = false; // under the lock of the dispatcher

    bool matches(const Change& change) const {
        return change.isReload() ||
               (isPrefix ? change.name.substr(0, pattern.size()) == pattern : change.name == pattern);
    }
};

// What a Cached value is to the dispatcher.
class CacheEntry {
public:
    virtual void refresh(CZQVariable& variables) noexcept = 0;
    bool matches(const Change& change) const {
        return change.isReload() || (change.type == m_type && change.name == m_name);
    }

protected:
    CacheEntry(const wchar_t* name, VariableType type) : m_name(name), m_type(type) {}
    ~CacheEntry() = default;

    const std::wstring m_name;

private:
    const VariableType m_type;
};

// The one host that a Module registers. Each notice first refreshes the cached values, then goes to the
// subscribers. Never calls the host with a lock held, and never allocates memory for a notice.
class Dispatcher final : public CZQVariableHost {
public:
    explicit Dispatcher(LogHost& log) : m_log(log) {}

    void OnVariableChanged(const wchar_t* name, uint32_t type, CZQVariableHost*) override {
        dispatch({name, static_cast<VariableType>(type)});
    }
    void OnVariablesReloaded() override { dispatch({{}, VariableTypeNone}); }

    void open(CZQVariable& variables) {
        const Guard guard(m_cacheLock);
        m_variables = &variables;
    }

    // Nothing reads the module or calls a subscriber after this.
    void close() {
        gate.close();
        const Guard guard(m_cacheLock);
        m_variables = nullptr;
    }

    void add(std::shared_ptr<Subscriber> subscriber) {
        const Guard guard(m_lock);
        m_subscribers.push_back(std::move(subscriber));
    }

    // The subscriber is not called after this, and not running either, unless this thread is inside that
    // call.
    void drop(Subscriber& subscriber) noexcept {
        std::function<void(const Change&)> ended; // destroyed without the lock: it may drop other tokens
        const Guard guard(m_lock);
        remove(subscriber);
        if (subscriber.isRunning && m_thread == GetCurrentThreadId()) {
            return; // inside its own call, after which the dispatcher's reference is the last
        }
        while (subscriber.isRunning) {
            m_finished.wait(m_lock);
        }
        ended.swap(subscriber.callable);
    }

    // Gives the entry its first value too; the lock keeps an older one from overtaking a newer one.
    void add(CacheEntry& entry) {
        const Guard guard(m_cacheLock);
        if (!m_variables) {
            fail(Reason::Closed, "zq::Cached: the module is closed; make cached values while it is open");
        }
        m_entries.push_back(&entry);
        entry.refresh(*m_variables);
    }

    void drop(CacheEntry& entry) noexcept {
        const Guard guard(m_cacheLock);
        for (size_t i = 0; i < m_entries.size(); ++i) {
            if (m_entries[i] == &entry) {
                m_entries[i] = m_entries.back();
                m_entries.pop_back();
                break;
            }
        }
    }

    Gate gate;

private:
    void dispatch(const Change& change) noexcept {
        try {
            const Visit visit(gate);
            if (visit) {
                refresh(change);
                callSubscribers(change);
            }
        } catch (...) { // no memory to enter the gate: a notice is lost, as in the module itself
        }
    }

    void refresh(const Change& change) {
        const Guard guard(m_cacheLock);
        for (CacheEntry* const entry : m_entries) {
            if (m_variables && entry->matches(change)) {
                entry->refresh(*m_variables);
            }
        }
    }

    // Those who subscribe during the calls are notified from the next change on. Entries keep their index
    // meanwhile.
    void callSubscribers(const Change& change) {
        size_t count = 0;
        {
            const Guard guard(m_lock);
            m_thread = GetCurrentThreadId();
            count = m_subscribers.size();
        }
        for (size_t i = 0; i < count && !gate.isClosed(); ++i) {
            if (const std::shared_ptr<Subscriber> subscriber = startCall(i, change)) {
                call(*subscriber, change);
                endCall(*subscriber);
            }
        }
        const Guard guard(m_lock);
        m_thread = 0;
        compact();
    }

    std::shared_ptr<Subscriber> startCall(size_t index, const Change& change) {
        const Guard guard(m_lock);
        const std::shared_ptr<Subscriber>& subscriber = m_subscribers[index];
        if (!subscriber || !subscriber->matches(change)) {
            return nullptr;
        }
        subscriber->isRunning = true;
        return subscriber;
    }

    void call(const Subscriber& subscriber, const Change& change) noexcept {
        try {
            subscriber.callable(change);
        } catch (const std::exception& error) {
            report(subscriber, error.what());
        } catch (...) {
            report(subscriber, "something that is no std::exception");
        }
    }

    void report(const Subscriber& subscriber, const char* what) noexcept {
        try {
            m_log.report("the subscriber of \"" + utf8(subscriber.pattern) + "\"", what);
        } catch (...) {
            m_log.report(L"zq::Module: a subscriber raised an exception, which was dropped");
        }
    }

    void endCall(Subscriber& subscriber) {
        const Guard guard(m_lock);
        subscriber.isRunning = false;
        m_finished.wakeAll();
    }

    void remove(const Subscriber& subscriber) {
        for (std::shared_ptr<Subscriber>& entry : m_subscribers) {
            if (entry.get() == &subscriber) {
                entry.reset(); // the token holds another reference
            }
        }
        if (m_thread == 0) {
            compact();
        }
    }

    void compact() {
        size_t kept = 0;
        for (std::shared_ptr<Subscriber>& entry : m_subscribers) {
            if (entry) {
                m_subscribers[kept++].swap(entry);
            }
        }
        m_subscribers.resize(kept);
    }

    LogHost& m_log;
    Lock m_lock; // the list, its subscribers' flags and m_thread
    Condition m_finished;
    std::vector<std::shared_ptr<Subscriber>> m_subscribers;
    unsigned long m_thread = 0; // the one that calls subscribers just now
    Lock m_cacheLock;           // the entries and m_variables; held while they are refreshed
    std::vector<CacheEntry*> m_entries;
    CZQVariable* m_variables = nullptr;
};

// The module object with its DLL, from loading to unloading.
class Core {
public:
    explicit Core(const Options& options)
        : m_logHost(options.log, options.reloaded), m_dispatcher(m_logHost) {
        const Paths paths(options);
        load(paths.library);
        create();
        // What the DLL raised must be gone before the DLL is: its destructor lies there.
        const std::optional<std::string> failure = start(paths);
        if (failure) {
            close();
            fail(Reason::InitFailed, "zq::Module: the module could not be initialised: " + *failure);
        }
    }
    ~Core() { close(); }
    Core(const Core&) = delete;
    Core& operator=(const Core&) = delete;

    // Null once closed.
    CZQModSettings* module() const { return m_module; }
    CZQVariable* variables() const { return m_variables; }
    Dispatcher& dispatcher() { return m_dispatcher; }

    bool isInsideCallback() {
        return m_dispatcher.gate.isInside() || m_logHost.reloads.isInside() || m_logHost.messages.isInside();
    }

    // Waits for running subscribers first: UnregisterHost and DoStop would terminate their threads.
    void close() noexcept {
        if (!m_module) {
            return;
        }
        m_dispatcher.close();
        m_logHost.reloads.close();
        m_variables->UnregisterHost(&m_dispatcher);
        m_module->DoStop();
        m_module->DoRelease();
        ZQDestroy(m_module);
        m_module = nullptr;
        m_variables = nullptr;
        FreeLibrary(m_library);
    }

    // The end of a Module that is destroyed inside one of its callbacks: nothing of the host's is called any
    // more, and a thread of its own closes the module once the callback has returned.
    static void closeLater(std::shared_ptr<Core> core) noexcept {
        static constexpr const wchar_t* kText =
            L"zq::Module was destroyed inside one of its own callbacks, which cannot wait for itself; "
            L"another thread closes it. Destroy it outside of them.";
        OutputDebugStringW(kText);
        core->m_logHost.report(kText);
        core->m_dispatcher.gate.close();
        core->m_logHost.reloads.close();
        core->m_logHost.messages.close();
        Core* const self = core.get();
        self->m_self = std::move(core);
        if (void* const thread = CreateThread(nullptr, 0, &closeOnThread, self, 0, nullptr)) {
            CloseHandle(thread);
        } // else the module stays, silent, to the end of the process
    }

private:
    // The options as the module takes them.
    struct Paths {
        explicit Paths(const Options& options)
            : library(full(options.library, L"ZQModSettings.dll", "library")),
              host(full(options.hostPath, L"", "hostPath")),
              defaults(full(options.defaultDir, L"defaults", "defaultDir")),
              data(full(options.commonDataDir, nullptr, "commonDataDir")) {
            if (host.rfind(L'\\') > 511) {
                fail(Reason::InvalidArgument,
                     "zq::Options::hostPath: the folder has more than 511 characters");
            }
            requireDefaults();
            requireDataFolder(options.createDataFolder);
        }

        std::wstring library;
        std::wstring host;
        std::wstring defaults;
        std::wstring data;

    private:
        // `beside` is what an empty option takes from the program's folder; "" takes the program itself, null
        // refuses.
        static std::wstring full(std::wstring path, const wchar_t* beside, const char* option) {
            requireNoZero(path, "a path");
            if (path.empty() && beside) {
                path = programPath();
                if (*beside != 0) {
                    path.replace(path.rfind(L'\\') + 1, std::wstring::npos, beside);
                }
            }
            for (wchar_t& c : path) {
                c = c == L'/' ? L'\\' : c;
            }
            while (!path.empty() && path.back() == L'\\') {
                path.pop_back();
            }
            const bool hasDrive =
                path.size() > 1 && path[1] == L':' && (path.size() == 2 || path[2] == L'\\');
            if (!hasDrive && path.substr(0, 2) != L"\\\\") {
                fail(Reason::InvalidArgument, std::string("zq::Options::") + option + ": \"" + utf8(path) +
                                                  "\" is no full path; give it with its drive");
            }
            return path;
        }

        static std::wstring programPath() {
            std::wstring path(32768, L'\0');
            path.resize(GetModuleFileNameW(nullptr, path.data(), 32768));
            return path;
        }

        static bool isFolder(const std::wstring& path) {
            const unsigned long attributes = GetFileAttributesW(path.c_str());
            return attributes != 0xFFFFFFFF && (attributes & 0x10) != 0;
        }

        // All three: a private file that is missing or refused now or later is replaced by its default copy,
        // and the module could only end the process when that is missing too.
        void requireDefaults() const {
            for (const wchar_t* name :
                 {L"ZQ2_serverSetting.setting", L"ZQ2_HmdList.json", L"ZQ2_QualityPreset.json"}) {
                const std::wstring path = defaults + L'\\' + name;
                if (GetFileAttributesW(path.c_str()) == 0xFFFFFFFF) {
                    fail(Reason::DefaultsMissing,
                         "zq::Options::defaultDir: the default file \"" + utf8(path) +
                             "\" is missing; ship the three default files and name their folder",
                         GetLastError());
                }
            }
        }

        void requireDataFolder(bool mayCreate) const {
            const std::wstring folder = data + L"\\ZQserver";
            if (isFolder(folder) || (mayCreate && CreateDirectoryW(folder.c_str(), nullptr))) {
                return;
            }
            const unsigned long code = GetLastError();
            fail(Reason::DataFolderMissing,
                 "zq::Options::commonDataDir: the data folder \"" + utf8(folder) +
                     (mayCreate ? "\" cannot be made; check its parent folder and your rights"
                                : "\" is missing; make it, or set createDataFolder"),
                 code);
        }
    };

    void load(const std::wstring& path) {
        if (GetFileAttributesW(path.c_str()) == 0xFFFFFFFF) {
            fail(Reason::LibraryMissing,
                 "zq::Options::library: there is no file \"" + utf8(path) +
                     "\"; put the DLL there or name its path",
                 GetLastError());
        }
        // Its own folder and the system's are searched for what it needs, never the current folder.
        constexpr unsigned long kSearchDllFolderAndSystem32 = 0x100 | 0x800;
        m_library = LoadLibraryExW(path.c_str(), nullptr, kSearchDllFolderAndSystem32);
        if (m_library) {
            return;
        }
        constexpr unsigned long kBadExeFormat = 193;
        const unsigned long code = GetLastError();
        if (code == kBadExeFormat) {
            fail(Reason::WrongArchitecture,
                 "zq::Options::library: \"" + utf8(path) +
                     "\" is no DLL for x64 (another architecture, or damaged); install the x64 one",
                 code);
        }
        fail(Reason::LibraryNotLoaded,
             "zq::Options::library: Windows did not load \"" + utf8(path) + "\", error " +
                 std::to_string(code),
             code);
    }

    void create() {
        const auto entry = GetProcAddress(m_library, "CreateSettings");
        if (!entry) {
            const unsigned long code = GetLastError();
            FreeLibrary(m_library);
            fail(
                Reason::NoExport,
                "zq::Options::library: the DLL does not export CreateSettings; it is not the settings module",
                code);
        }
        m_module = reinterpret_cast<ZQCreateSettingsFunction>(reinterpret_cast<void (*)()>(entry))();
        if (!m_module) {
            FreeLibrary(m_library);
            fail(Reason::NoObject,
                 "zq::Module: CreateSettings returned no object: the system has no memory or "
                 "no mutex to give");
        }
        m_variables = ZQVariables(m_module);
    }

    // The text of the exception that stopped it, or nothing.
    std::optional<std::string> start(const Paths& paths) {
        try {
            m_module->DoInit(&m_logHost, paths.host.c_str(), paths.defaults.c_str(), paths.data.c_str());
            m_dispatcher.open(*m_variables);
            m_variables->RegisterHost(&m_dispatcher);
            m_module->DoStart();
            return std::nullopt;
        } catch (const std::exception& error) {
            return error.what();
        }
    }

    static unsigned long __stdcall closeOnThread(void* argument) {
        const std::shared_ptr<Core> core = std::move(static_cast<Core*>(argument)->m_self);
        core->m_logHost.messages.close(); // waits for the callback that destroyed the Module
        core->close();
        return 0;
    }

    LogHost m_logHost;
    Dispatcher m_dispatcher;
    HINSTANCE__* m_library = nullptr;
    CZQModSettings* m_module = nullptr;
    CZQVariable* m_variables = nullptr;
    std::shared_ptr<Core> m_self; // held while a thread of its own closes it
};

} // namespace detail

// Ends with its scope: the callable is not called any more, and is not running on another thread, once the
// token is gone. It may be dropped at any time and on any thread, inside its own callable too, which then
// finishes its call. The caller must not drop it while it holds a lock that the callable takes.
class [[nodiscard]] Subscription {
public:
    Subscription() = default;
    ~Subscription() { reset(); }
    Subscription(Subscription&&) = default;
    Subscription& operator=(Subscription&& other) noexcept {
        Subscription taken(std::move(other));
        m_core.swap(taken.m_core);
        m_subscriber.swap(taken.m_subscriber);
        return *this;
    }

    void reset() noexcept {
        if (const std::shared_ptr<detail::Subscriber> subscriber = std::move(m_subscriber)) {
            m_core->dispatcher().drop(*subscriber);
        }
        m_core.reset();
    }

    explicit operator bool() const noexcept { return m_subscriber != nullptr; }

private:
    friend class Module;
    Subscription(std::shared_ptr<detail::Core> core, std::shared_ptr<detail::Subscriber> subscriber)
        : m_core(std::move(core)), m_subscriber(std::move(subscriber)) {}

    std::shared_ptr<detail::Core> m_core;
    std::shared_ptr<detail::Subscriber> m_subscriber;
};

// One variable of a packet.
struct PacketVariable {
    std::wstring name;
    VariableType type;
    const std::byte* data; // the value's bytes, inside the packet
    size_t size;
    uint32_t encoding; // of texts, from the packet's header

    // The value, or nothing when the variable has another type.
    template <class T>
    std::optional<T> as() const {
        return type == detail::Access<T>::kType ? detail::Access<T>::decode(data, size, encoding)
                                                : std::nullopt;
    }
};

// The bytes of a packet, as a sequence of its variables. Does not own them. Reads what the module reads: a
// record that the module skips is skipped, and damage ends the sequence.
class PacketView {
public:
    class Iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = PacketVariable;
        using difference_type = std::ptrdiff_t;
        using pointer = const PacketVariable*;
        using reference = const PacketVariable&;

        const PacketVariable& operator*() const { return m_variable; }
        const PacketVariable* operator->() const { return &m_variable; }
        Iterator& operator++() {
            advance();
            return *this;
        }
        // Two iterators of one packet are equal at the same record, and at the end.
        friend bool operator==(const Iterator& left, const Iterator& right) {
            return left.m_record == right.m_record;
        }
        friend bool operator!=(const Iterator& left, const Iterator& right) { return !(left == right); }

    private:
        friend class PacketView;
        static constexpr size_t kEnd = static_cast<size_t>(-1);
        static constexpr size_t kRecordHeader = 12;

        Iterator() = default;
        Iterator(const std::byte* packet, size_t size) : m_packet(packet), m_size(size), m_next(8) {
            m_variable.encoding = number(4);
            advance();
        }

        uint32_t number(size_t offset) const {
            uint32_t value = 0;
            std::memcpy(&value, m_packet + offset, sizeof(value));
            return value;
        }

        void advance() {
            do {
                m_record = readRecord() ? m_record : kEnd;
            } while (m_record != kEnd && !hasValue());
        }

        // Reads the record at m_next, or returns false where reading stops.
        bool readRecord() {
            m_record = m_next;
            if (m_size - m_next < kRecordHeader) {
                return false;
            }
            const uint32_t type = number(m_next);
            const int64_t nameSize = static_cast<int32_t>(number(m_next + 4));
            const int64_t valueSize = static_cast<int32_t>(number(m_next + 8));
            const size_t left = m_size - m_next - kRecordHeader;
            if (nameSize <= 0 || valueSize < 0 || static_cast<uint64_t>(nameSize + valueSize) > left) {
                return false;
            }
            const std::byte* const name = m_packet + m_next + kRecordHeader;
            m_variable.name = *detail::Access<std::wstring>::decode(name, static_cast<size_t>(nameSize),
                                                                    m_variable.encoding);
            m_variable.type = static_cast<VariableType>(type);
            m_variable.data = name + nameSize;
            m_variable.size = static_cast<size_t>(valueSize);
            if (m_variable.name.empty()) {
                return false;
            }
            m_next += kRecordHeader + static_cast<size_t>(nameSize + valueSize);
            return true;
        }

        bool hasValue() const {
            switch (m_variable.type) {
            case VariableTypeBool:
                return m_variable.size >= 1;
            case VariableTypeInt64:
            case VariableTypeDouble:
                return m_variable.size >= 8;
            case VariableTypeString:
            case VariableTypeBinary:
                return true;
            default:
                return false;
            }
        }

        const std::byte* m_packet = nullptr;
        size_t m_size = 0;
        size_t m_record = kEnd; // offset of the current record
        size_t m_next = 0;      // where reading goes on, or stopped
        PacketVariable m_variable{{}, VariableTypeNone, nullptr, 0, 0};
    };

    PacketView() = default;
    PacketView(const void* packet, size_t size)
        : m_packet(static_cast<const std::byte*>(packet)), m_size(size) {}

    const std::byte* data() const { return m_packet; }
    size_t size() const { return m_size; }

    // Whether the bytes begin with a packet's header. Other bytes are an empty sequence.
    bool isPacket() const {
        constexpr unsigned char kMagic[3] = {0xBF, 0xFE, 0xEB};
        return m_packet && m_size >= 8 && std::memcmp(m_packet, kMagic, sizeof(kMagic)) == 0;
    }

    // Whether the sequence goes on to the last byte; if not, the rest is damaged, and lost.
    bool isWhole() const {
        if (!isPacket()) {
            return false;
        }
        Iterator at = begin();
        while (at != end()) {
            ++at;
        }
        return at.m_next == m_size;
    }

    Iterator begin() const { return isPacket() ? Iterator(m_packet, m_size) : Iterator(); }
    Iterator end() const { return {}; }

private:
    const std::byte* m_packet = nullptr;
    size_t m_size = 0;
};

// A packet that the module made, owned.
class Packet {
public:
    Packet() = default;

    const std::byte* data() const { return m_bytes.get(); }
    size_t size() const { return m_size; }
    PacketView view() const { return {data(), size()}; }
    PacketView::Iterator begin() const { return view().begin(); }
    PacketView::Iterator end() const { return view().end(); }

private:
    friend class Module;
    template <class T>
    friend struct detail::Access;
    struct Free {
        void operator()(std::byte* bytes) const { ZQFreePacket(bytes); }
    };

    Packet(void* bytes, size_t size) : m_bytes(static_cast<std::byte*>(bytes)), m_size(bytes ? size : 0) {}

    std::unique_ptr<std::byte, Free> m_bytes;
    size_t m_size = 0;
};

// The plain getter answers 0 for missing and for too small alike, so the buffer doubles to 65,536 characters,
// and then a packet decides.
inline std::optional<std::wstring> detail::Access<std::wstring>::get(CZQVariable& variables,
                                                                     const wchar_t* name) {
    constexpr int32_t kFirst = 256;
    constexpr int32_t kLast = 65536;
    wchar_t text[kFirst];
    if (variables.GetVariableString(name, text, kFirst)) {
        return std::wstring(text);
    }
    const std::unique_ptr<wchar_t[]> longText(new wchar_t[kLast]);
    for (int32_t size = kFirst * 2; size <= kLast; size *= 2) {
        if (variables.GetVariableString(name, longText.get(), size)) {
            return std::wstring(longText.get());
        }
    }
    size_t size = 0;
    void* const bytes = variables.PackAllVariables(&size);
    const Packet packet(bytes, size);
    for (const PacketVariable& variable : packet) {
        if (variable.type == VariableTypeString && variable.name == name) {
            return variable.as<std::wstring>();
        }
    }
    return std::nullopt;
}

// Owns a module object, from the loading of its DLL to the end. There is no wrong order of calls: what is
// open is initialised and started.
class Module {
public:
    // Loads the DLL by its full path, makes the module object, initialises it (the files, the survey of the
    // machine) and starts the folder watcher. Takes as long as the survey does.
    //
    // Raises Error for what is wrong with the options, the DLL or the folders; nothing remains then.
    explicit Module(const Options& options) : m_core(std::make_shared<detail::Core>(options)) {}

    // As close. Inside one of the module's own callbacks, where close would wait for itself, this is reported
    // at level 4, the host's callables are not called any more, and another thread closes the module once the
    // callback has returned. REQUIRES: the code of this header stays loaded until then.
    ~Module() { end(); }
    Module(Module&&) = default;
    Module& operator=(Module&& other) noexcept {
        Module taken(std::move(other));
        m_core.swap(taken.m_core);
        return *this;
    }

    // Ends the notices, stops the watcher, and frees the object and the DLL, in this order. Waits without
    // limit for subscribers and for Options::reloaded that are running. Closing twice does nothing.
    //
    // Raises Error inside a callback of this module: a subscriber, Options::log or Options::reloaded. The
    // module stays open then.
    void close() {
        if (!m_core) {
            return;
        }
        if (m_core->isInsideCallback()) {
            detail::fail(
                Reason::InsideCallback,
                "zq::Module::close was called inside one of the module's own callbacks, which cannot "
                "wait for itself; call it on another thread");
        }
        m_core->close();
        m_core.reset();
    }

    bool isOpen() const noexcept { return m_core != nullptr; }

    // The value of a variable, or nothing. T is bool, int64_t, double, std::wstring or
    // std::vector<std::byte>. A string of any length comes whole; one that is missing or longer than 65,535
    // characters costs a packet of all variables.
    template <class T>
    std::optional<T> get(detail::Name name) const {
        static_assert(detail::kIsVariableType<T>,
                      "a variable is a bool, int64_t, double, std::wstring or std::vector<std::byte>");
        if constexpr (detail::kIsVariableType<T>) {
            return detail::Access<T>::get(variables(), name.get());
        } else {
            return std::nullopt;
        }
    }
    template <class T>
    std::optional<T> get(const Key<T>& key) const {
        return get<T>(detail::Name(key.name));
    }

    // Sets a variable of the value's type: any integer an integer, float and double a double, wide text a
    // string, std::vector<std::byte> a binary variable. This module's own subscribers and cached values
    // are notified shortly after set has returned.
    template <class U>
    void set(detail::Name name, const U& value, Notify notify = Notify::OnChange) const {
        store<detail::StoredType<U>>(name, value, notify);
    }
    // The same for a key, whose type the value must fit without loss.
    template <class T, class U>
    void set(const Key<T>& key, const U& value, Notify notify = Notify::OnChange) const {
        static_assert(detail::kFits<T, U>, "the value does not fit the key's type without loss");
        if constexpr (detail::kFits<T, U>) {
            store<T>(detail::Name(key.name), value, notify);
        }
    }

    // Deletes a binary variable, the one kind that can be deleted singly.
    void eraseBinary(detail::Name name) const {
        variables().SetVariableBinary(name.get(), 0, nullptr, nullptr, 0);
    }

    // Removes every variable. This raises no notice: subscribers are not called, and cached values keep what
    // they hold.
    void removeAll() const { variables().RemoveAllVariables(); }

    // Replaces a value in the settings file. A member that the file lacks is not made, and there is no
    // result; the variable changes when the watcher has read the file again. Raises Error for text other than
    // ASCII and for numbers that are not finite.
    template <class U>
    void save(detail::Name name, const U& value, SaveTo where = SaveTo::File) const {
        using T = detail::StoredType<U>;
        constexpr bool kIsSaved = detail::kIsVariableType<T> && !std::is_same_v<T, std::vector<std::byte>>;
        static_assert(kIsSaved, "a file holds bools, numbers and wide texts");
        if constexpr (kIsSaved) {
            detail::Access<T>::save(plain(), name.get(), detail::convert<T>(value), where == SaveTo::Headset);
        }
    }
    template <class T, class U>
    void save(const Key<T>& key, const U& value, SaveTo where = SaveTo::File) const {
        static_assert(detail::kFits<T, U>, "the value does not fit the key's type without loss");
        if constexpr (detail::kFits<T, U>) {
            save(detail::Name(key.name), detail::convert<T>(value), where);
        }
    }

    // Overwrites the first numbers of a response in the headset list file; see SaveConfigHmdListIntArray.
    void saveResponse(detail::Name deviceName, int32_t mainRequest, int32_t subRequest, int32_t index,
                      const std::vector<int64_t>& values) const {
        plain().SaveConfigHmdListIntArray(deviceName.get(), mainRequest, subRequest, index, values.data(),
                                          static_cast<int32_t>(values.size()));
    }

    // Works out "DefaultDeviceName" again, after "DHI" was set.
    void updateDefaultDeviceName() const { plain().UpdateDefaultDeviceName(); }

    // Every variable as one block, or a single value that need not be a variable.
    Packet pack() const {
        size_t size = 0;
        void* const packet = variables().PackAllVariables(&size);
        return {packet, size};
    }
    Packet pack(detail::Name name, VariableType type, const void* value, size_t length) const {
        size_t size = 0;
        void* const packet = variables().PackVariable(name.get(), type, value, length, &size);
        return {packet, size};
    }

    // Sets what a packet holds; subscribers are notified of what changed. Returns false for bytes that are no
    // packet.
    bool unpack(PacketView packet) const {
        return packet.isPacket() && variables().UnpackVariables(packet.data(), packet.size(), nullptr) != 0;
    }

    // Calls `callable(const Change&)` for each change of one name, of any type, or of all names with a
    // prefix, and for each reload, in the order of the changes, on a thread of the module, after the cached
    // values were updated. Nothing is called for variables that exist already: read them. What the callable
    // raises is reported to Options::log and dropped.
    Subscription subscribe(detail::Name name, std::function<void(const Change&)> callable) const {
        return subscribe(name.get(), false, std::move(callable));
    }
    Subscription subscribe(const Prefix& prefix, std::function<void(const Change&)> callable) const {
        return subscribe(prefix.text, true, std::move(callable));
    }
    // Calls `callable(const T&)` with the value, when it is set and when a reload has changed it.
    template <class T, class Callable>
    Subscription subscribe(const Key<T>& key, Callable callable) const {
        const std::wstring name = detail::Name(key.name).get();
        detail::Core* const core = &opened(); // open whenever a subscriber runs
        return subscribe(
            name, false,
            [core, name, last = get(key), callable = std::move(callable)](const Change& change) mutable {
                if (!change.isReload() && change.type != detail::Access<T>::kType) {
                    return;
                }
                std::optional<T> value = detail::Access<T>::get(*core->variables(), name.c_str());
                if (value && !(change.isReload() && value == last)) {
                    last = value;
                    callable(std::as_const(*value));
                }
            });
    }

    // The plain interfaces, valid while this Module is open, for what this header does not cover. The caller
    // must not initialise, start, stop, release or destroy the object.
    CZQModSettings& plain() const { return *opened().module(); }
    CZQVariable& variables() const { return *opened().variables(); }

private:
    template <class T>
    friend class Cached;

    detail::Core& opened() const {
        if (!m_core) {
            detail::fail(Reason::Closed,
                         "zq::Module: used after close or after it was moved from; open another");
        }
        return *m_core;
    }

    template <class T, class U>
    void store(detail::Name name, const U& value, Notify notify) const {
        static_assert(detail::kIsVariableType<T>,
                      "a variable is a bool, a number, a wide text or a std::vector<std::byte>");
        if constexpr (detail::kIsVariableType<T>) {
            detail::Access<T>::set(variables(), name.get(), detail::convert<T>(value),
                                   notify == Notify::Always);
        }
    }

    Subscription subscribe(std::wstring pattern, bool isPrefix,
                           std::function<void(const Change&)> callable) const {
        detail::Core& core = opened();
        if (!callable) {
            detail::fail(Reason::InvalidArgument, "zq::Module: the subscriber of \"" + detail::utf8(pattern) +
                                                      "\" is empty; give something to call");
        }
        auto subscriber = std::make_shared<detail::Subscriber>();
        subscriber->pattern = std::move(pattern);
        subscriber->isPrefix = isPrefix;
        subscriber->callable = std::move(callable);
        core.dispatcher().add(subscriber);
        return {m_core, std::move(subscriber)};
    }

    void end() noexcept {
        if (!m_core) {
            return;
        }
        if (m_core->isInsideCallback()) {
            detail::Core::closeLater(std::move(m_core));
        } else {
            m_core->close();
        }
    }

    std::shared_ptr<detail::Core>
        m_core; // shared with tokens and cached values, which may outlive the Module
};

// The value of one variable, followed by itself and read by one atomic load: for code that reads every frame,
// where a getter's kernel mutex is too much. T is bool, int64_t or double.
//
// Holds `fallback` until the variable exists. A set, by whomever, and a reload arrive shortly afterwards,
// before any subscriber of the same Module is called; removeAll raises no notice and changes nothing here.
// Any number of threads may read. It may be destroyed at any time, inside callbacks and after its Module too;
// once that is closed it keeps its last value.
template <class T>
class Cached final : private detail::CacheEntry {
    static_assert(std::is_same_v<T, bool> || std::is_same_v<T, int64_t> || std::is_same_v<T, double>,
                  "Cached holds a bool, an int64_t or a double");
    static_assert(std::atomic<T>::is_always_lock_free);

public:
    // Raises Error when the Module is closed.
    Cached(const Module& module, const Key<T>& key, T fallback = T())
        : CacheEntry(detail::Name(key.name).get(), detail::Access<T>::kType), m_value(fallback) {
        module.opened();
        m_core = module.m_core;
        m_core->dispatcher().add(*this);
    }
    ~Cached() { m_core->dispatcher().drop(*this); }
    Cached(const Cached&) = delete;
    Cached& operator=(const Cached&) = delete;

    T get() const noexcept { return m_value.load(std::memory_order_acquire); }
    operator T() const noexcept { return get(); } // NOLINT: reads like the value

private:
    void refresh(CZQVariable& variables) noexcept override {
        if (const std::optional<T> value = detail::Access<T>::get(variables, m_name.c_str())) {
            m_value.store(*value, std::memory_order_release);
        }
    }

    std::atomic<T> m_value;
    std::shared_ptr<detail::Core> m_core;
};
template <class T>
Cached(const Module&, const Key<T>&) -> Cached<T>;
template <class T, class U>
Cached(const Module&, const Key<T>&, U) -> Cached<T>;

} // namespace zq
