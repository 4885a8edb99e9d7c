#include "variables/VariableMap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace zq {
namespace {

using namespace std::string_view_literals;

template <class Value>
Value* Find(const VariableMap<Value>& map, std::wstring_view name) {
    auto* node = map.Find(name, HashName(name));
    return node ? &node->value : nullptr;
}

template <class Value, class Given>
void Set(VariableMap<Value>& map, std::wstring_view name, const Given& value) {
    const uint32_t hash = HashName(name);
    if (auto* node = map.Find(name, hash)) {
        map.Assign(node, value);
    } else {
        map.Add(name, hash, nullptr, value);
    }
}

TEST(VariableMap, EmptyMapFindsAndRemovesNothing) {
    VariableMap<int64_t> map;
    EXPECT_EQ(nullptr, Find(map, L"a"));
    EXPECT_EQ(nullptr, Find(map, L""));
    EXPECT_FALSE(map.Remove(L"a", HashName(L"a")));
    EXPECT_EQ(0U, map.Size());
    map.Clear();
}

TEST(VariableMap, CountsTheUnitsOfItsNames) {
    VariableMap<int64_t> map;
    const std::wstring longName(300, L'n');
    Set(map, L"abc", int64_t{1});
    Set(map, L"abc", int64_t{2});
    Set(map, longName, int64_t{3});
    EXPECT_EQ(303U, map.NameUnits());

    map.Remove(L"abc", HashName(L"abc"));
    EXPECT_EQ(300U, map.NameUnits());
    map.Clear();
    EXPECT_EQ(0U, map.NameUnits());
}

TEST(VariableMap, LookUpCreatesNothing) {
    VariableMap<int64_t> map;
    Set<int64_t>(map, L"a", 1);
    Find(map, L"b");
    EXPECT_EQ(1U, map.Size());
}

TEST(VariableMap, NamesAreComparedExactly) {
    VariableMap<int64_t> map;
    Set<int64_t>(map, L"Name", 1);
    Set<int64_t>(map, L"", 2);
    Set<int64_t>(map, L"a\0b"sv, 3);

    for (const std::wstring_view other :
         {L"name"sv, L"Name "sv, L" Name"sv, L"Nam"sv, L"a"sv, L"a\0c"sv, L"\0"sv}) {
        EXPECT_EQ(nullptr, Find(map, other));
    }
    EXPECT_EQ(1, *Find(map, L"Name"));
    EXPECT_EQ(2, *Find(map, L""));
    EXPECT_EQ(3, *Find(map, L"a\0b"sv));
}

TEST(VariableMap, ExistingNameKeepsItsNode) {
    VariableMap<int64_t> map;
    const uint32_t hash = HashName(L"a");
    const auto first = map.FindOrAdd(L"a", hash);
    const auto second = map.FindOrAdd(L"a", hash);
    EXPECT_TRUE(first.second);
    EXPECT_FALSE(second.second);
    EXPECT_EQ(first.first, second.first);
    EXPECT_EQ(1U, map.Size());
}

TEST(VariableMap, NodesStayWhereTheyAreWhileTheTableGrows) {
    VariableMap<int64_t> map;
    auto* node = map.FindOrAdd(L"first", HashName(L"first")).first;
    for (int i = 0; i < 5000; ++i) {
        Set<int64_t>(map, std::to_wstring(i), i);
    }
    EXPECT_EQ(node, map.Find(L"first", HashName(L"first")));
}

TEST(VariableMap, NamesWithEqualHashesStayApart) {
    VariableMap<int64_t> map;
    for (int i = 0; i < 40; ++i) {
        map.FindOrAdd(std::to_wstring(i), 5).first->value = i;
    }
    EXPECT_TRUE(map.Remove(L"20", 5));
    EXPECT_FALSE(map.Remove(L"20", 5));
    for (int i = 0; i < 40; ++i) {
        const auto* node = map.Find(std::to_wstring(i), 5);
        ASSERT_EQ(i == 20, node == nullptr);
        EXPECT_TRUE(!node || node->value == i);
    }
}

TEST(VariableMap, IterationVisitsEveryEntryOnce) {
    VariableMap<int64_t> map;
    for (int i = 0; i < 1000; ++i) {
        Set<int64_t>(map, std::to_wstring(i), i);
    }
    std::set<std::wstring> seen;
    map.ForEach([&](std::wstring_view name, int64_t value) {
        EXPECT_EQ(std::to_wstring(value), name);
        EXPECT_TRUE(seen.insert(std::wstring(name)).second);
    });
    EXPECT_EQ(1000U, seen.size());
}

TEST(VariableMap, LongNamesStandBesidePooledOnes) {
    VariableMap<StoredText> map;
    for (size_t length = 0; length < 2000; length += 50) {
        Set(map, std::wstring(length, L'n'), std::wstring(length, L'v'));
    }
    for (size_t length = 0; length < 2000; length += 100) {
        const std::wstring name(length, L'n');
        EXPECT_TRUE(map.Remove(name, HashName(name)));
    }
    for (size_t length = 50; length < 2000; length += 100) {
        EXPECT_EQ(std::wstring(length, L'v'), *Find(map, std::wstring(length, L'n')));
    }
    map.Clear();
    EXPECT_EQ(0U, map.Size());
    Set(map, L"again", L"works"sv);
    EXPECT_EQ(L"works", *Find(map, L"again"));
}

// Their nodes are not the pool's; a sanitizer reports those that are not freed.
TEST(VariableMap, LongNamesAreFreedThoughOthersWereRemovedBefore) {
    VariableMap<int64_t> map;
    for (const size_t length : {size_t{1000}, size_t{2000}}) {
        Set<int64_t>(map, std::wstring(length, L'n'), 1);
    }
    EXPECT_TRUE(map.Remove(std::wstring(1000, L'n'), HashName(std::wstring(1000, L'n'))));

    map.Clear();

    EXPECT_EQ(0U, map.Size());
}

TEST(VariableMap, IterationVisitsLongNamesAndNoneThatIsGone) {
    VariableMap<StoredText> map;
    std::set<std::wstring> expected;
    for (size_t length = 1; length < 1000; length += 37) {
        const std::wstring name(length, L'n');
        Set(map, name, L"text"sv);
        if (length % 2 == 0) {
            EXPECT_TRUE(map.Remove(name, HashName(name)));
        } else {
            expected.insert(name);
        }
    }
    std::set<std::wstring> seen;
    map.ForEach([&](std::wstring_view name, std::wstring_view) {
        EXPECT_TRUE(seen.insert(std::wstring(name)).second);
    });
    EXPECT_EQ(expected, seen);
}

// Hashes that share a bucket's filter and those that do not.
TEST(VariableMap, RemovalLeavesTheOthersOfTheBucket) {
    for (uint32_t step : {1U, 16U}) {
        VariableMap<int64_t> map;
        for (uint32_t i = 0; i < 12; ++i) {
            map.FindOrAdd(std::to_wstring(i), i * step).first->value = i;
        }
        for (uint32_t i = 0; i < 12; i += 2) {
            EXPECT_TRUE(map.Remove(std::to_wstring(i), i * step));
        }
        for (uint32_t i = 0; i < 12; ++i) {
            const auto* node = map.Find(std::to_wstring(i), i * step);
            ASSERT_EQ(i % 2 == 0, node == nullptr);
            EXPECT_TRUE(!node || node->value == i);
        }
    }
}

TEST(VariableMap, MarksAreTheOwners) {
    VariableMap<int64_t> map;
    auto* node = map.FindOrAdd(L"a name", HashName(L"a name")).first;
    EXPECT_EQ(0U, node->Marks());
    for (const uint32_t marks : {1U, 2U, 3U, 0U}) {
        node->SetMarks(marks);
        EXPECT_EQ(marks, node->Marks());
        EXPECT_TRUE(node->Rest() == L"a name");
        EXPECT_EQ(nullptr, node->Prefix());
    }
}

TEST(VariableMap, AgreesWithAnOrderedMapOverRandomOperations) {
    std::mt19937_64 random(3);
    VariableMap<StoredText> map;
    std::map<std::wstring, std::wstring> model;
    for (int i = 0; i < 50000; ++i) {
        const std::wstring name(random() % 4, static_cast<wchar_t>(L'a' + random() % 3));
        const std::wstring key = name + std::to_wstring(random() % 300);
        const std::wstring value = std::to_wstring(i) + std::wstring(random() % 20, L'x');
        if (random() % 3 == 0) {
            EXPECT_EQ(model.erase(key) == 1, map.Remove(key, HashName(key)));
        } else {
            Set(map, key, value);
            model[key] = value;
        }
    }
    EXPECT_EQ(model.size(), map.Size());
    for (const auto& [key, value] : model) {
        ASSERT_NE(nullptr, Find(map, key));
        EXPECT_EQ(value, *Find(map, key));
    }
}

} // namespace
} // namespace zq
