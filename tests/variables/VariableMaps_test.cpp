#include "variables/VariableMaps.h"

#include "base/Cancellation.h"
#include "support/ConfigRun.h"
#include "variables/VariableBatch.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zq::test {
namespace {

TEST(VariableMaps, EachTypeHasItsOwnNames) {
    VariableBatch batch;
    batch.AddBool(L"A", 1);
    batch.AddInt64(L"A", 5);
    batch.AddDouble(L"A", 2.5);
    batch.AddString(L"A", L"text");
    VariableMaps maps(1);

    maps.Apply(batch);

    EXPECT_EQ(TypedVariables().Bool(L"A", 1).Int64(L"A", 5).Double(L"A", 2.5).String(L"A", L"text"),
              VariablesOf(maps));
}

TEST(VariableMaps, NumberIsAnIntegerAndADouble) {
    VariableBatch batch;
    batch.AddNumber(L"A", -7);
    batch.AddNumber(L"B", INT64_MAX);
    VariableMaps maps(1);

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
    VariableMaps maps(1);

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
    VariableMaps maps(1);

    maps.Apply(batch);

    EXPECT_EQ(static_cast<size_t>(kNames), maps.integers.Size());
    for (int64_t name = 0; name < kNames; ++name) {
        const std::wstring text = L"Name" + std::to_wstring(name);
        const int64_t last = (kEntries - 1 - name) / kNames * kNames + name;
        EXPECT_EQ(-last, maps.integers.Find(text, maps.Hash(text))->value);
        EXPECT_EQ(static_cast<double>(-last), maps.doubles.Find(text, maps.Hash(text))->value);
        EXPECT_EQ(texts[static_cast<size_t>(last)], maps.strings.Find(text, maps.Hash(text))->value);
    }
}

TEST(VariableMaps, SecondBatchOverwritesAndRemovesNothing) {
    VariableMaps maps(1);
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

// New names and old ones, each several times, in both maps of a number, and under a prefix.
void ApplyManyKinds(VariableMaps& maps, const Cancellation& cancellation) {
    const std::wstring prefix(300, L'p');
    VariableBatch batch(VariableBatch::Names::SharePrefixes, &cancellation);
    for (int i = 0; i < 2000; ++i) {
        const std::wstring name = L"New" + std::to_wstring(i % 700);
        batch.UsePrefix(nullptr);
        batch.AddNumber(name, i);
        batch.AddBool(name, 1);
        batch.AddDouble(name, 0.5);
        batch.AddString(name, L"d");
        batch.AddString(L"Text", i % 2 == 0 ? L"b" : L"c");
        batch.AddNumber(L"Old", 2 + i);
        batch.AddNumber(L"Number", i);
        batch.UsePrefix(batch.PrefixFor(nullptr, prefix));
        batch.AddNumber(prefix + name, i);
    }
    maps.Apply(batch);
}

TEST(VariableMaps, BatchThatFailsHalfWayLeavesNoTrace) {
    VariableMaps maps(1);
    VariableBatch first;
    first.AddNumber(L"Old", 1);
    first.AddInt64(L"Number", 1);
    first.AddString(L"Text", L"a text that stands on the heap");
    maps.Apply(first);
    const TypedVariables before = VariablesOf(maps);
    const CancelOnceAt never(-1);
    {
        VariableMaps others(1);
        ApplyManyKinds(others, never);
    }

    for (int look = 0; look < never.Looks(); ++look) {
        const CancelOnceAt cancellation(look);
        EXPECT_THROW(ApplyManyKinds(maps, cancellation), Cancelled);
        EXPECT_EQ(before, VariablesOf(maps)) << look;
    }
    EXPECT_LT(8, never.Looks());
}

TEST(VariableMaps, BoolKeepsItsByte) {
    VariableBatch batch;
    batch.AddBool(L"A", 2);
    VariableMaps maps(1);

    maps.Apply(batch);

    EXPECT_EQ(2, maps.bools.Find(L"A", maps.Hash(L"A"))->value);
}

TEST(VariableMaps, NamesMayDifferOnlyInLetterCase) {
    VariableBatch batch;
    batch.AddInt64(L"Name", 1);
    batch.AddInt64(L"name", 2);
    VariableMaps maps(1);

    maps.Apply(batch);

    EXPECT_EQ(TypedVariables().Int64(L"Name", 1).Int64(L"name", 2), VariablesOf(maps));
    EXPECT_EQ(nullptr, maps.integers.Find(L"NAME", maps.Hash(L"NAME")));
}

TEST(VariableMaps, RemoveAllLeavesNothingOfAnyType) {
    VariableBatch batch;
    batch.AddBool(L"A", 1);
    batch.AddNumber(L"A", 5);
    batch.AddString(L"A", L"text");
    VariableMaps maps(1);
    maps.Apply(batch);
    maps.binaries.FindOrAdd(L"A", maps.Hash(L"A")).first->value = BinaryBlock::Make("abc", 3);

    maps.RemoveAll();

    EXPECT_EQ(TypedVariables(), VariablesOf(maps));
    EXPECT_EQ(0U, maps.binaries.Size());
    maps.Apply(batch);
    EXPECT_EQ(1U, maps.bools.Size());
}

TEST(VariableMaps, RemoveBinariesLeavesTheOthers) {
    VariableBatch batch;
    batch.AddBool(L"A", 1);
    VariableMaps maps(1);
    maps.Apply(batch);
    maps.binaries.FindOrAdd(L"A", maps.Hash(L"A")).first->value = BinaryBlock::Make(nullptr, 0);

    maps.RemoveBinaries();

    EXPECT_EQ(0U, maps.binaries.Size());
    EXPECT_EQ(1U, maps.bools.Size());
}

} // namespace
} // namespace zq::test
