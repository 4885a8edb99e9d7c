// What the comfort header costs over the plain interface, and what reading a cached value costs any number of
// threads.
#include "ZQSettings.hpp"

#include "Rounds.h"

#include "platform/Mutex.h"
#include "support/win32/Folders.h"

#include <atomic>
#include <memory>
#include <thread>

#include <windows.h>

namespace zq::bench {
namespace {

constexpr int kRuns = 200;
constexpr Key<int64_t> kNumber{L"Bench.Number"};

Options OptionsFor(const test::ModuleFolders& folders) {
    Options options;
    options.hostPath = folders.HostPath();
    options.defaultDir = folders.DefaultDir();
    options.commonDataDir = folders.CommonDataDir();
    return options;
}

// Pairs of the plain call and the same through the header.
void CompareWithPlain(const Module& module) {
    module.set(kNumber, 7);
    module.set(L"Bench.Text", L"some text");
    CZQVariable& plain = module.variables();
    const Mutex mutex;
    int64_t number = 0;
    wchar_t text[256];
    std::vector<Competitor> all = {
        {"bare mutex pair", [&] { MutexLock lock(mutex); }},
        {"GetVariableInt64", [&] { plain.GetVariableInt64(kNumber.name, &number); }},
        {"get, integer", [&] { Use(module.get(kNumber)); }},
        {"SetVariableInt64, silent", [&] { plain.SetVariableInt64(kNumber.name, 7, nullptr, 0); }},
        {"set, integer, silent", [&] { module.set(kNumber, 7); }},
        {"GetVariableString", [&] { plain.GetVariableString(L"Bench.Text", text, 256); }},
        {"get, string", [&] { Use(module.get<std::wstring>(L"Bench.Text")); }},
    };
    RunRounds(all, kRuns);
    Print("The comfort header over the plain interface", all, 1e-6, "us");
    Record("comfort", 1, all, 1e-6);
}

double ProcessorSecondsOfThisThread() {
    FILETIME created, ended, kernel, user;
    GetThreadTimes(GetCurrentThread(), &created, &ended, &kernel, &user);
    return 1e-7 *
           static_cast<double>((static_cast<uint64_t>(user.dwHighDateTime) << 32 | user.dwLowDateTime) +
                               (static_cast<uint64_t>(kernel.dwHighDateTime) << 32 | kernel.dwLowDateTime));
}

// Processor seconds of one read, when so many threads read at once. The clock of a thread has steps of 10 ms.
template <class Read>
double SecondsOfARead(size_t threadCount, const Read& read) {
    constexpr int64_t kReads = 100'000'000; // of each thread
    std::atomic<int64_t> nanoseconds{0};
    std::vector<std::thread> threads;
    for (size_t i = 0; i < threadCount; ++i) {
        threads.emplace_back([&] {
            const double start = ProcessorSecondsOfThisThread();
            int64_t sum = 0;
            for (int64_t n = 0; n < kReads; ++n) {
                sum += read();
            }
            Use(sum);
            nanoseconds += static_cast<int64_t>(1e9 * (ProcessorSecondsOfThisThread() - start));
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return 1e-9 * static_cast<double>(nanoseconds) /
           static_cast<double>(kReads * static_cast<int64_t>(threadCount));
}

// Sets the number again and again while it lives.
class Writer {
public:
    explicit Writer(const Module& module)
        : m_thread([this, &module] {
              for (int64_t value = 0; !m_isOver; ++value) {
                  module.set(kNumber, value);
              }
          }) {}
    ~Writer() {
        m_isOver = true;
        m_thread.join();
    }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

private:
    std::atomic<bool> m_isOver{false};
    std::thread m_thread;
};

void CompareCachedReads(const Module& module) {
    const Cached<int64_t> cached(module, kNumber);
    const std::atomic<int64_t> bare{7};
    const auto readCached = [&] { return cached.get(); };
    const auto readBare = [&] { return bare.load(std::memory_order_acquire); };
    std::printf("A read of a cached value, processor time\n");
    for (const size_t threads : {1u, 2u, 4u, 8u, 16u}) {
        std::unique_ptr<Writer> writer;
        const auto record = [&](const char* name, double seconds) {
            std::printf("  %-28s %3zu threads %8.2f ns\n", name, threads, 1e9 * seconds);
            Record("cached", static_cast<double>(threads), name, 1e9 * seconds);
        };
        record("Cached", SecondsOfARead(threads, readCached));
        record("bare std::atomic", SecondsOfARead(threads, readBare));
        writer = std::make_unique<Writer>(module);
        record("Cached, while it is set", SecondsOfARead(threads, readCached));
    }
}

} // namespace
} // namespace zq::bench

int main() {
    const zq::test::ModuleFolders folders;
    const zq::Module module(zq::bench::OptionsFor(folders));
    zq::bench::CompareWithPlain(module);
    zq::bench::CompareCachedReads(module);
}
