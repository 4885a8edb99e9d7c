#include "variables/VariableMaps.h"

#include "base/Cancellation.h"
#include "support/ConfigRun.h"
#include "variables/VariableBatch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zq::test {
namespace {

TEST(VariableMaps, EachTypeHasItsOwnNames) {
    VariableBatch batch;
    batch.AddBool(L"A", 1);
    batch.AddInt64(L"A", 5);
    batch.AddDouble(L"A", 2.5);
    batch.AddString(L"A", L"text");
    VariableMaps maps;

    maps.Apply(batch);

    EXPECT_EQ(TypedVariables().Bool(L"A", 1).Int64(L"A", 5).Double(L"A", 2.5).String(L"A", L"text"),
              VariablesOf(maps));
}

TEST(VariableMaps, NumberIsAnIntegerAndADouble) {
    VariableBatch batch;
    batch.AddNumber(L"A", -7);
    batch.AddNumber(L"B", INT64_MAX);
    VariableMaps maps;

    maps.Apply(batch);

    EXPECT_EQ(TypedVariables().Number(L"A", -7).Number(L"B", INT64_MAX), VariablesOf(maps));
}

TEST(VariableMaps, LaterAssignmentOfABatchWins) {
    VariableBatch batch;
    batch.AddNumber(L"A", 1);
    batch.AddDouble(L"A", 1.5);
    batch.AddInt64(L"A", 2);
    batch.AddString(L"S", L"long enough to stand on the heap");
    batch.AddString(L"S", L"b");
    VariableMaps maps;

    maps.Apply(batch);

    EXPECT_EQ(TypedVariables().Int64(L"A", 2).Double(L"A", 1.5).String(L"S", L"b"), VariablesOf(maps));
}

// Thousands of assignments are not written in the order of the batch; what they come to is the same.
TEST(VariableMaps, LaterAssignmentOfALargeBatchWins) {
    constexpr int64_t kEntries = 20'000;
    constexpr int64_t kNames = 3000;
    VariableBatch batch;
    std::vector<std::wstring> texts;
    for (int64_t i = 0; i < kEntries; ++i) {
        texts.push_back(L"the text of assignment " + std::to_wstring(i));
    }
    for (int64_t i = 0; i < kEntries; ++i) {
        const std::wstring name = L"Name" + std::to_wstring(i % kNames);
        batch.AddInt64(name, i);
        batch.AddNumber(name, -i);
        batch.AddString(name, texts[static_cast<size_t>(i)]);
    }
    VariableMaps maps;

    maps.Apply(batch);

    EXPECT_EQ(static_cast<size_t>(kNames), maps.Integers().Size());
    for (int64_t name = 0; name < kNames; ++name) {
        const std::wstring text = L"Name" + std::to_wstring(name);
        const int64_t last = (kEntries - 1 - name) / kNames * kNames + name;
        EXPECT_EQ(-last, *maps.Integers().Find(text, HashName(text)));
        EXPECT_EQ(static_cast<double>(-last), *maps.Doubles().Find(text, HashName(text)));
        EXPECT_EQ(texts[static_cast<size_t>(last)], maps.strings.Find(text, HashName(text))->value);
    }
}

TEST(VariableMaps, SecondBatchOverwritesAndRemovesNothing) {
    VariableMaps maps;
    VariableBatch first;
    first.AddBool(L"A", 1);
    first.AddBool(L"B", 1);
    maps.Apply(first);
    VariableBatch second;
    second.AddBool(L"B", 2);
    second.AddBool(L"C", 0);

    maps.Apply(second);

    EXPECT_EQ(TypedVariables().Bool(L"A", 1).Bool(L"B", 2).Bool(L"C", 0), VariablesOf(maps));
}

// Asks for the end the n-th time that somebody looks.
class CancelOnceAt final : public Cancellation {
public:
    explicit CancelOnceAt(int look) : m_look(look) {}
    bool IsRequested() const override { return m_looks++ == m_look; }
    int Looks() const { return m_looks; }

private:
    int m_look;
    mutable int m_looks = 0;
};

constexpr std::array<std::wstring_view, 3> kTexts = {L"d", L"",
                                                     L"a text of some length, which is kept in the node"};

// New names and old ones, each several times, in both maps of a number, and under a prefix. Eight entries a
// round.
void AddManyKinds(VariableBatch& batch, int rounds) {
    const std::wstring prefix(300, L'p');
    for (int i = 0; i < rounds; ++i) {
        const std::wstring name = L"New" + std::to_wstring(i % (rounds / 3 + 1));
        batch.UsePrefix(nullptr);
        batch.AddNumber(name, i);
        batch.AddBool(name, 1);
        batch.AddDouble(name, 0.5);
        batch.AddString(name, kTexts[static_cast<size_t>(i) % kTexts.size()]);
        batch.AddString(L"Text", i % 2 == 0 ? L"b" : L"c");
        batch.AddNumber(L"Old", 2 + i);
        batch.AddNumber(L"Number", i);
        batch.UsePrefix(batch.PrefixFor(nullptr, prefix));
        batch.AddNumber(prefix + name, i);
    }
}

void ApplyManyKinds(VariableMaps& maps, const Cancellation& cancellation) {
    VariableBatch batch(VariableBatch::Names::SharePrefixes, &cancellation);
    AddManyKinds(batch, 2000);
    maps.Apply(batch);
}

// What those write over.
void ApplyOldOnes(VariableMaps& maps) {
    VariableBatch batch;
    batch.AddNumber(L"Old", 1);
    batch.AddInt64(L"Number", 1);
    batch.AddString(L"Text", L"a text that stands on the heap");
    maps.Apply(batch);
}

TEST(VariableMaps, BatchThatFailsHalfWayLeavesNoTrace) {
    VariableMaps maps;
    ApplyOldOnes(maps);
    const TypedVariables before = VariablesOf(maps);
    const CancelOnceAt never(-1);
    {
        VariableMaps others;
        ApplyManyKinds(others, never);
    }

    for (int look = 0; look < never.Looks(); ++look) {
        const CancelOnceAt cancellation(look);
        EXPECT_THROW(ApplyManyKinds(maps, cancellation), Cancelled);
        EXPECT_EQ(before, VariablesOf(maps)) << look;
    }
    EXPECT_LT(8, never.Looks());
}

// A large batch is freed while it is written.
constexpr int kLargeRounds = 10000;

TEST(VariableMaps, BatchThatIsGivenAwayIsWrittenAsAnyOther) {
    for (const int rounds : {0, 1, 1000, kLargeRounds}) {
        VariableBatch kept(VariableBatch::Names::SharePrefixes);
        VariableBatch given(VariableBatch::Names::SharePrefixes);
        AddManyKinds(kept, rounds);
        AddManyKinds(given, rounds);
        VariableMaps wanted;
        VariableMaps maps;
        wanted.Apply(kept);
        maps.Apply(std::move(given));
        EXPECT_EQ(VariablesOf(wanted), VariablesOf(maps)) << rounds;
    }
}

TEST(VariableMaps, LargeBatchThatIsGivenAwayAndFailsLeavesNoTrace) {
    VariableMaps maps;
    ApplyOldOnes(maps);
    const TypedVariables before = VariablesOf(maps);
    const auto apply = [](VariableMaps& target, const Cancellation& cancellation) {
        VariableBatch batch(VariableBatch::Names::SharePrefixes, &cancellation);
        AddManyKinds(batch, kLargeRounds);
        target.Apply(std::move(batch));
    };
    const CancelOnceAt never(-1);
    {
        VariableMaps others;
        apply(others, never);
    }

    constexpr int kStep = 3;
    for (int look = never.Looks() - 1; look >= 0; look -= kStep) {
        const CancelOnceAt cancellation(look);
        EXPECT_THROW(apply(maps, cancellation), Cancelled);
        EXPECT_EQ(before, VariablesOf(maps)) << look;
    }
}

// One name as an integer, a double or a number of a file, `kinds` of them one after the other.
class HalvesOfA {
public:
    explicit HalvesOfA(std::vector<size_t> kinds, size_t count = 0)
        : m_kinds(std::move(kinds)), m_count(count) {}

    // Returns what comes of it over what was there.
    TypedVariables Apply(VariableMaps& maps, const Cancellation* cancellation = nullptr) const {
        VariableBatch batch(VariableBatch::Names::Whole, cancellation);
        std::optional<int64_t> integer = maps.Integers().Find(L"A", HashName(L"A"));
        std::optional<double> real = maps.Doubles().Find(L"A", HashName(L"A"));
        for (size_t i = 0; i < std::max(m_count, m_kinds.size()); ++i) {
            const auto value = static_cast<int64_t>(i % 5);
            switch (m_kinds[i % m_kinds.size()]) {
            case 0:
                batch.AddInt64(L"A", value);
                integer = value;
                break;
            case 1:
                batch.AddDouble(L"A", static_cast<double>(value) + 0.5);
                real = static_cast<double>(value) + 0.5;
                break;
            default:
                batch.AddNumber(L"A", value);
                integer = value;
                real = static_cast<double>(value);
            }
        }
        maps.Apply(batch);
        TypedVariables expected;
        if (integer) {
            expected.Int64(L"A", *integer);
        }
        if (real) {
            expected.Double(L"A", *real);
        }
        return expected;
    }

private:
    std::vector<size_t> m_kinds;
    size_t m_count;
};

// Over what another batch left; given up anywhere, it leaves what was there.
TEST(VariableMaps, HalvesOfANumberComeInEveryOrder) {
    constexpr size_t kCount = 4100; // the request to give up is looked for once in 4096 entries
    for (size_t order = 0; order < 3 * 3 * 3 * 3; ++order) {
        const HalvesOfA before({order % 3, order / 3 % 3});
        const HalvesOfA after({order / 9 % 3, order / 27}, kCount);
        VariableMaps maps;
        const TypedVariables held = before.Apply(maps);
        ASSERT_EQ(held, VariablesOf(maps));
        const CancelOnceAt never(-1);
        {
            VariableMaps others;
            after.Apply(others, &never);
        }
        for (int look = 0; look < never.Looks(); ++look) {
            const CancelOnceAt cancellation(look);
            EXPECT_THROW(after.Apply(maps, &cancellation), Cancelled);
            ASSERT_EQ(held, VariablesOf(maps)) << order << ' ' << look;
        }

        const TypedVariables expected = after.Apply(maps);
        ASSERT_EQ(expected, VariablesOf(maps)) << order;
    }
}

TEST(VariableMaps, NumbersOfABatchKeepAllTheirBits) {
    constexpr int64_t kLarge = int64_t{1} << 40U;
    VariableBatch batch;
    batch.AddInt64(L"Integer", -kLarge);
    batch.AddNumber(L"Number", kLarge);
    VariableMaps maps;
    maps.Apply(batch);
    EXPECT_EQ(TypedVariables().Int64(L"Integer", -kLarge).Number(L"Number", kLarge), VariablesOf(maps));
}

TEST(VariableMaps, BoolKeepsItsByte) {
    VariableBatch batch;
    batch.AddBool(L"A", 2);
    VariableMaps maps;

    maps.Apply(batch);

    EXPECT_EQ(2, maps.bools.Find(L"A", HashName(L"A"))->value);
}

TEST(VariableMaps, NamesMayDifferOnlyInLetterCase) {
    VariableBatch batch;
    batch.AddInt64(L"Name", 1);
    batch.AddInt64(L"name", 2);
    VariableMaps maps;

    maps.Apply(batch);

    EXPECT_EQ(TypedVariables().Int64(L"Name", 1).Int64(L"name", 2), VariablesOf(maps));
    EXPECT_FALSE(maps.Integers().Find(L"NAME", HashName(L"NAME")).has_value());
}

TEST(VariableMaps, RemoveAllLeavesNothingOfAnyType) {
    VariableBatch batch;
    batch.AddBool(L"A", 1);
    batch.AddNumber(L"A", 5);
    batch.AddString(L"A", L"text");
    VariableMaps maps;
    maps.Apply(batch);
    maps.binaries.FindOrAdd(L"A", HashName(L"A")).first->value = BinaryBlock::Make("abc", 3);

    maps.RemoveAll();

    EXPECT_EQ(TypedVariables(), VariablesOf(maps));
    EXPECT_EQ(0U, maps.binaries.Size());
    maps.Apply(batch);
    EXPECT_EQ(1U, maps.bools.Size());
}

TEST(VariableMaps, RemoveBinariesLeavesTheOthers) {
    VariableBatch batch;
    batch.AddBool(L"A", 1);
    VariableMaps maps;
    maps.Apply(batch);
    maps.binaries.FindOrAdd(L"A", HashName(L"A")).first->value = BinaryBlock::Make(nullptr, 0);

    maps.RemoveBinaries();

    EXPECT_EQ(0U, maps.binaries.Size());
    EXPECT_EQ(1U, maps.bools.Size());
}

} // namespace
} // namespace zq::test
