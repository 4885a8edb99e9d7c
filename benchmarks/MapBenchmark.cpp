// The variable map beside the usual maps and Boost.PropertyTree's paths: look-up, insertion, memory, and
// names that were made to collide; and the store's getter, mutex included.
#include "CountedHeap.h"
#include "Rounds.h"

#include "variables/VariableBatch.h"
#include "variables/VariableMaps.h"
#include "variables/VariableStore.h"

#include <boost/property_tree/ptree.hpp>
#include <boost/unordered/unordered_flat_map.hpp>
#include <tsl/robin_map.h>

#include <map>
#include <random>
#include <string_view>
#include <unordered_map>

namespace zq::bench {
namespace {

struct NameHasher : std::hash<std::wstring_view> {
    using is_transparent = void;
};

using UnorderedMap = std::unordered_map<std::wstring, int64_t, NameHasher, std::equal_to<>>;
using RobinMap = tsl::robin_map<std::wstring, int64_t, NameHasher, std::equal_to<>>;
using FlatMap = boost::unordered_flat_map<std::wstring, int64_t, NameHasher, std::equal_to<>>;
using OrderedMap = std::map<std::wstring, int64_t, std::less<>>;
using Tree = boost::property_tree::wptree;

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
        maps.numbers.Set(name, HashName(name), int64_t{1});
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
        sum += *maps.Integers().Find(name, HashName(name));
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

void FillTree(Tree& tree, const std::vector<std::wstring>& names) {
    for (const std::wstring& name : names) {
        tree.put(name, L"1");
    }
}

int64_t LookUpTree(const Tree& tree, const std::vector<std::wstring>& names) {
    int64_t sum = 0;
    for (const std::wstring& name : names) {
        sum += tree.get<int64_t>(name);
    }
    return sum;
}

template <class Make>
double BytesPerVariable(size_t count, Make make) {
    const size_t before = LiveBytes();
    const auto map = make();
    return static_cast<double>(LiveBytes() - before) / static_cast<double>(count);
}

template <class Map>
Competitor PeerLookUp(const char* name, const Map& map, const std::vector<std::wstring>& asked) {
    return {name, [&] { Use(LookUpPeer(map, asked)); }};
}

template <class Map>
Competitor PeerInsert(const char* name, const std::vector<std::wstring>& names) {
    return {name, [&] {
                Map map;
                FillPeer(map, names);
            }};
}

template <class Map>
double PeerBytes(const std::vector<std::wstring>& names) {
    return BytesPerVariable(names.size(), [&] {
        auto map = std::make_unique<Map>();
        FillPeer(*map, names);
        return map;
    });
}

double CompareMaps(size_t count, int runs) {
    const std::vector<std::wstring> names = MakeNames(count);
    const std::vector<std::wstring> asked = Shuffled(names);
    const auto size = static_cast<double>(count);
    const double nanoseconds = 1e-9 * size;
    const std::string title = std::to_string(count) + " names: ";
    VariableMaps maps;
    Fill(maps, names);
    UnorderedMap unordered;
    FillPeer(unordered, names);
    RobinMap robin;
    FillPeer(robin, names);
    FlatMap flat;
    FillPeer(flat, names);
    OrderedMap ordered;
    FillPeer(ordered, names);
    Tree tree;
    FillTree(tree, names);

    std::vector<Competitor> lookUps = {
        {"VariableMap", [&] { Use(LookUp(maps, asked)); }},
        PeerLookUp("tsl::robin_map", robin, asked),
        PeerLookUp("boost::unordered_flat_map", flat, asked),
        PeerLookUp("std::unordered_map", unordered, asked),
        PeerLookUp("std::map", ordered, asked),
        {"Boost.PropertyTree path", [&] { Use(LookUpTree(tree, asked)); }},
    };
    RunRounds(lookUps, runs);
    Print(title + "look-up", lookUps, nanoseconds, "ns");
    Record("lookup", size, lookUps, nanoseconds);

    std::vector<Competitor> inserts = {
        {"VariableMap",
         [&] {
             VariableMaps other;
             Fill(other, asked);
         }},
        PeerInsert<RobinMap>("tsl::robin_map", asked),
        PeerInsert<FlatMap>("boost::unordered_flat_map", asked),
        PeerInsert<UnorderedMap>("std::unordered_map", asked),
        PeerInsert<OrderedMap>("std::map", asked),
    };
    RunRounds(inserts, runs);
    Print(title + "insert and free", inserts, nanoseconds, "ns");
    Record("insert", size, inserts, nanoseconds);

    const std::vector<std::pair<const char*, double>> bytes = {
        {"VariableMap", BytesPerVariable(count,
                                         [&] {
                                             auto other = std::make_unique<VariableMaps>();
                                             Fill(*other, names);
                                             return other;
                                         })},
        {"tsl::robin_map", PeerBytes<RobinMap>(names)},
        {"boost::unordered_flat_map", PeerBytes<FlatMap>(names)},
        {"std::unordered_map", PeerBytes<UnorderedMap>(names)},
        {"std::map", PeerBytes<OrderedMap>(names)},
    };
    std::printf("%smemory of a variable\n", title.c_str());
    for (const auto& [name, perVariable] : bytes) {
        std::printf("  %-36s %12.1f bytes\n", name, perVariable);
        Record("memory", size, name, perVariable);
    }
    return lookUps.front().median / size;
}

// As many names as there are random ones, whose hashes under the keys agree in their upper bits.
void AddColliding(VariableBatch& batch, size_t count, const NameKeys& keys) {
    for (size_t i = 0; batch.Entries().size() < count; ++i) {
        const std::wstring name = L"Name" + std::to_wstring(i);
        if (HashName(name, keys) >> 24U == 0) {
            batch.AddInt64(name, 1);
        }
    }
}

// Who makes names collide does not know the keys of the process that will read them; here are both cases.
void CompareColliding() {
    constexpr size_t kCount = 100'000;
    VariableBatch ordinary;
    for (size_t i = 0; i < kCount; ++i) {
        ordinary.AddInt64(L"Name" + std::to_wstring(i + 10'000'000), 1);
    }
    VariableBatch colliding;
    AddColliding(colliding, kCount, NameKeys(7));
    VariableBatch known;
    AddColliding(known, kCount, kNameKeys);
    const auto load = [](const VariableBatch& batch) {
        return [&batch] {
            VariableMaps maps;
            maps.Apply(batch);
        };
    };
    std::vector<Competitor> all = {
        {"random names", load(ordinary)},
        {"colliding names", load(colliding)},
        {"colliding names, their keys known", load(known)},
    };
    RunRounds(all);
    Print("100,000 names into a map", all, 1e-3, "ms");
    Record("collisions", kCount, all, 1e-3);
}

double GetterSeconds(size_t count) {
    const std::vector<std::wstring> names = MakeNames(count);
    std::vector<std::wstring> asked = Shuffled(names);
    asked.resize(1000);
    const Mutex mutex;
    VariableStore store(mutex);
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
    CompareMaps(100, 1000);
    CompareMaps(500, 200);
    const double few = CompareMaps(1000, 100);
    CompareMaps(10'000, 10);
    const double many = CompareMaps(100'000, 1);
    CompareMaps(1'000'000, 1);
    CompareColliding();
    std::printf("look-up among 100,000 names to that among 1,000, map alone: %.2f\n", many / few);
    const double fewLocked = GetterSeconds(1000);
    const double manyLocked = GetterSeconds(100000);
    std::printf("look-up among 100,000 names to that among 1,000, getter:    %.2f\n", manyLocked / fewLocked);
}
