// The variable map beside std::unordered_map and tsl::robin_map: look-up, insertion and memory; and the
// store's getter, mutex included.
#include "Rounds.h"

#include "variables/VariableBatch.h"
#include "variables/VariableMaps.h"
#include "variables/VariableStore.h"

#include <tsl/robin_map.h>

#include <cstdlib>
#include <new>
#include <random>
#include <string_view>
#include <unordered_map>

namespace {

// What is allocated, as the process heap keeps it: a header of 16 bytes, sizes in steps of 16.
size_t g_liveBytes = 0;

size_t HeapBytes(size_t bytes) { return 16 + (bytes + 15) / 16 * 16; }

} // namespace

void* operator new(size_t bytes) {
    auto* block = static_cast<size_t*>(std::malloc(bytes + 16));
    if (!block) {
        throw std::bad_alloc();
    }
    *block = HeapBytes(bytes);
    g_liveBytes += *block;
    return block + 2;
}

void operator delete(void* memory) noexcept {
    if (memory) {
        size_t* block = static_cast<size_t*>(memory) - 2;
        g_liveBytes -= *block;
        std::free(block);
    }
}

void operator delete(void* memory, size_t) noexcept { operator delete(memory); }

namespace zq::bench {
namespace {

struct NameHasher : std::hash<std::wstring_view> {
    using is_transparent = void;
};

using UnorderedMap = std::unordered_map<std::wstring, int64_t, NameHasher, std::equal_to<>>;
using RobinMap = tsl::robin_map<std::wstring, int64_t, NameHasher, std::equal_to<>>;

std::vector<std::wstring> MakeNames(size_t count) {
    std::vector<std::wstring> names;
    for (size_t i = 0; i < count; ++i) {
        names.push_back(L"CL.DEVICE" + std::to_wstring(i / 10) + L".Member" + std::to_wstring(i % 10));
    }
    return names;
}

// Every name once, in random order: what is looked up is not what was made last.
std::vector<std::wstring> Shuffled(std::vector<std::wstring> names) {
    std::shuffle(names.begin(), names.end(), std::mt19937_64(1));
    return names;
}

void Fill(VariableMaps& maps, const std::vector<std::wstring>& names) {
    for (const std::wstring& name : names) {
        maps.integers.FindOrAdd(name, maps.Hash(name)).first->value = 1;
    }
}

template <class Map>
void FillPeer(Map& map, const std::vector<std::wstring>& names) {
    for (const std::wstring& name : names) {
        map[name] = 1;
    }
}

int64_t LookUp(const VariableMaps& maps, const std::vector<std::wstring>& names) {
    int64_t sum = 0;
    for (const std::wstring& name : names) {
        sum += maps.integers.Find(name, maps.Hash(name))->value;
    }
    return sum;
}

template <class Map>
int64_t LookUpPeer(const Map& map, const std::vector<std::wstring>& names) {
    int64_t sum = 0;
    for (const std::wstring& name : names) {
        sum += map.find(std::wstring_view(name))->second;
    }
    return sum;
}

template <class Make>
double BytesPerVariable(size_t count, Make make) {
    const size_t before = g_liveBytes;
    const auto map = make();
    return static_cast<double>(g_liveBytes - before) / static_cast<double>(count);
}

double CompareMaps(size_t count, int runs) {
    const std::vector<std::wstring> names = MakeNames(count);
    const std::vector<std::wstring> asked = Shuffled(names);
    const std::string title = std::to_string(count) + " names: ";
    VariableMaps maps(1);
    Fill(maps, names);
    UnorderedMap unordered;
    FillPeer(unordered, names);
    RobinMap robin;
    FillPeer(robin, names);

    std::vector<Competitor> lookUps = {
        {"VariableMap", [&] { Use(LookUp(maps, asked)); }},
        {"tsl::robin_map", [&] { Use(LookUpPeer(robin, asked)); }},
        {"std::unordered_map", [&] { Use(LookUpPeer(unordered, asked)); }},
    };
    RunRounds(lookUps, runs);
    Print(title + "look-up", lookUps, 1e-9 * static_cast<double>(count), "ns");

    std::vector<Competitor> inserts = {
        {"VariableMap",
         [&] {
             VariableMaps other(1);
             Fill(other, asked);
         }},
        {"tsl::robin_map",
         [&] {
             RobinMap other;
             FillPeer(other, asked);
         }},
        {"std::unordered_map",
         [&] {
             UnorderedMap other;
             FillPeer(other, asked);
         }},
    };
    RunRounds(inserts, runs);
    Print(title + "insert and free", inserts, 1e-9 * static_cast<double>(count), "ns");

    const double ours = BytesPerVariable(count, [&] {
        auto other = std::make_unique<VariableMaps>(1);
        Fill(*other, names);
        return other;
    });
    const double theirs = BytesPerVariable(count, [&] {
        auto other = std::make_unique<UnorderedMap>();
        FillPeer(*other, names);
        return other;
    });
    std::printf("%smemory of a variable: %.1f bytes, %.2f of std::unordered_map\n", title.c_str(), ours,
                ours / theirs);
    return lookUps.front().median / static_cast<double>(count);
}

double GetterSeconds(size_t count) {
    const std::vector<std::wstring> names = MakeNames(count);
    std::vector<std::wstring> asked = Shuffled(names);
    asked.resize(1000);
    VariableStore store;
    VariableBatch batch;
    for (const std::wstring& name : names) {
        batch.AddInt64(name, 1);
    }
    store.Apply(batch);
    std::vector<Competitor> getter = {{"VariableStore::GetInt64", [&] {
                                           int64_t value = 0;
                                           for (const std::wstring& name : asked) {
                                               store.GetInt64(name.c_str(), &value);
                                           }
                                           Use(value);
                                       }}};
    RunRounds(getter);
    Print(std::to_string(count) + " names: getter with its mutex", getter, 1e-6 * 1000, "us");
    return getter.front().median;
}

} // namespace
} // namespace zq::bench

int main() {
    using namespace zq::bench;
    const double few = CompareMaps(1000, 100);
    const double many = CompareMaps(100000, 1);
    std::printf("look-up among 100,000 names to that among 1,000, map alone: %.2f\n", many / few);
    const double fewLocked = GetterSeconds(1000);
    const double manyLocked = GetterSeconds(100000);
    std::printf("look-up among 100,000 names to that among 1,000, getter:    %.2f\n", manyLocked / fewLocked);
}
