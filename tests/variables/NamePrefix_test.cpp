#include "variables/NamePrefix.h"

#include "support/ConfigRun.h"
#include "variables/BatchWrite.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace zq::test {
namespace {

std::wstring TextOf(const NamePrefix& prefix) {
    std::wstring text(prefix.length, L'\0');
    prefix.CopyTo(text.data());
    return text;
}

TEST(NamePrefix, SamePiecesAreHeldOnce) {
    NamePrefixes prefixes;
    const NamePrefix* outer = prefixes.Share(nullptr, L"outer.");
    const NamePrefix* inner = prefixes.Share(outer, L"inner.");

    EXPECT_EQ(outer, prefixes.Share(nullptr, L"outer."));
    EXPECT_EQ(inner, prefixes.Share(outer, L"inner."));
    EXPECT_NE(inner, prefixes.Share(nullptr, L"inner."));
    EXPECT_EQ(L"outer.inner.", TextOf(*inner));
}

// Whether the name of a node is that of another prefix and rest.
bool IsSame(const NamePrefix* a, std::wstring_view aRest, const NamePrefix* b, std::wstring_view bRest) {
    return IsSameName(a, {aRest.data(), aRest.size(), false}, b, bRest);
}

TEST(NamePrefix, NamesAreComparedOverAllTheirPieces) {
    NamePrefixes prefixes;
    const NamePrefix* inner = prefixes.Share(prefixes.Share(nullptr, L"ab"), L"cd");
    const NamePrefix* other = prefixes.Share(prefixes.Share(nullptr, L"a"), L"bc");

    EXPECT_TRUE(IsSame(inner, L"e", nullptr, L"abcde"));
    EXPECT_TRUE(IsSame(inner, L"", other, L"d"));
    EXPECT_TRUE(IsSame(nullptr, L"", nullptr, L""));
    EXPECT_FALSE(IsSame(inner, L"e", nullptr, L"abxde"));
    EXPECT_FALSE(IsSame(inner, L"e", nullptr, L"abcdf"));
    EXPECT_FALSE(IsSame(inner, L"e", nullptr, L"xabcde"));
    EXPECT_FALSE(IsSame(inner, L"", other, L""));
    EXPECT_FALSE(IsSame(other, L"", inner, L""));
}

TEST(VariableBatch, NamesShareOnlyLongBeginnings) {
    VariableBatch batch(VariableBatch::Names::SharePrefixes);
    const std::wstring longName(VariableBatch::kPrefixUnits, L'n');

    EXPECT_EQ(nullptr, batch.PrefixFor(nullptr, longName.substr(1)));
    const BatchPrefix* prefix = batch.PrefixFor(nullptr, longName);
    ASSERT_NE(nullptr, prefix);
    EXPECT_EQ(nullptr, prefix->shared);
    EXPECT_EQ(prefix, batch.PrefixFor(prefix, longName + L".a"));
    EXPECT_EQ(nullptr, VariableBatch().PrefixFor(nullptr, longName));
}

TEST(VariableBatch, OnlyVeryLongBeginningsAreForTheMaps) {
    VariableBatch batch(VariableBatch::Names::SharePrefixes);
    const std::wstring name(2 * kSharedPrefixUnits, L'n');
    const BatchPrefix* outer = batch.PrefixFor(nullptr, name.substr(0, kSharedPrefixUnits - 1));
    const BatchPrefix* shared =
        batch.PrefixFor(outer, name.substr(0, kSharedPrefixUnits + VariableBatch::kPrefixUnits));
    const BatchPrefix* inner = batch.PrefixFor(shared, name);

    EXPECT_EQ(nullptr, outer->shared);
    EXPECT_EQ(shared, shared->shared);
    EXPECT_EQ(shared, inner->shared);
}

// Beginnings of every length around the steps of the hash, in pieces.
TEST(BatchWrite, NamesInPiecesAreFoundWhole) {
    for (size_t outerUnits = 1; outerUnits < 70; ++outerUnits) {
        for (const size_t innerUnits : {size_t{1}, size_t{33}, outerUnits, kSharedPrefixUnits + outerUnits}) {
            const std::wstring outer = std::wstring(outerUnits, L'o') + L'.';
            const std::wstring inner = outer + std::wstring(innerUnits, L'i') + L'.';
            VariableBatch batch(VariableBatch::Names::SharePrefixes);
            const BatchPrefix* first = batch.PrefixFor(nullptr, outer);
            const BatchPrefix* second = batch.PrefixFor(first, inner);
            batch.UsePrefix(second);
            batch.AddInt64(inner + L"a", 1);
            batch.AddInt64(inner + L"a longer name", 2);
            batch.UsePrefix(first);
            batch.AddInt64(outer + L"b", 3);
            VariableMaps maps;

            maps.Apply(batch);

            EXPECT_EQ(TypedVariables()
                          .Int64(inner + L"a", 1)
                          .Int64(inner + L"a longer name", 2)
                          .Int64(outer + L"b", 3),
                      VariablesOf(maps));
            for (const std::wstring& name : {inner + L"a", inner + L"a longer name", outer + L"b"}) {
                EXPECT_TRUE(maps.Integers().Find(name, HashName(name)).has_value());
            }
        }
    }
}

// A name is found however it came into the maps: from a file under a prefix, or whole.
TEST(VariableMaps, NamesUnderAPrefixAreFoundWhole) {
    const std::wstring outer(300, L'o');
    const std::wstring inner = outer + L'.' + std::wstring(400, L'i');
    VariableBatch batch(VariableBatch::Names::SharePrefixes);
    const BatchPrefix* first = batch.PrefixFor(nullptr, outer);
    const BatchPrefix* second = batch.PrefixFor(first, inner);
    batch.UsePrefix(first);
    batch.AddNumber(outer + L".a", 1);
    batch.UsePrefix(second);
    batch.AddNumber(inner + L".a", 2);
    batch.AddString(inner, L"the prefix itself");
    batch.UsePrefix(nullptr);
    batch.AddBool(L"short", 1);
    VariableMaps maps;

    maps.Apply(batch);

    const TypedVariables expected = TypedVariables()
                                        .Number(outer + L".a", 1)
                                        .Number(inner + L".a", 2)
                                        .String(inner, L"the prefix itself")
                                        .Bool(L"short", 1);
    EXPECT_EQ(expected, VariablesOf(maps));
    const auto* node = maps.numbers.Find(inner + L".a", HashName(inner + L".a"), Number::kWhole);
    ASSERT_NE(nullptr, node);
    EXPECT_EQ(2, *NumberMap::NumberOf(*node).As<int64_t>());
    EXPECT_NE(nullptr, node->Prefix());
    EXPECT_FALSE(maps.Integers().Find(inner + L".b", HashName(inner + L".b")).has_value());
    EXPECT_EQ(outer.size() + inner.size() + 4, maps.Integers().NameUnits());

    maps.Apply(batch);
    EXPECT_EQ(expected, VariablesOf(maps));
    NumberMap::Node* outerNode = maps.numbers.Find(outer + L".a", HashName(outer + L".a"), Number::kWhole);
    ASSERT_NE(nullptr, outerNode);
    maps.numbers.Remove(outerNode);
    EXPECT_EQ(inner.size() + 2, maps.Doubles().NameUnits());
    maps.RemoveAll();
    EXPECT_EQ(TypedVariables(), VariablesOf(maps));
}

TEST(VariableMaps, WholeNameOfAHostMeetsThePrefixOfAFile) {
    const std::wstring prefix(300, L'p');
    VariableMaps maps;
    VariableBatch whole;
    whole.AddInt64(prefix + L".a", 1);
    maps.Apply(whole);
    VariableBatch shared(VariableBatch::Names::SharePrefixes);
    shared.UsePrefix(shared.PrefixFor(nullptr, prefix));
    shared.AddInt64(prefix + L".a", 2);

    maps.Apply(shared);

    EXPECT_EQ(TypedVariables().Int64(prefix + L".a", 2), VariablesOf(maps));
}

TEST(BatchWrite, ValueThatIsHeldKeepsItsMemory) {
    const std::wstring text(100, L't');
    VariableBatch batch;
    batch.AddString(L"S", text);
    VariableMaps maps;
    maps.Apply(batch);
    const wchar_t* held = maps.strings.Find(L"S", HashName(L"S"))->value.View().data();

    maps.Apply(batch);

    EXPECT_EQ(held, maps.strings.Find(L"S", HashName(L"S"))->value.View().data());
}

TEST(BatchWrite, NegativeZeroTakesThePlaceOfZero) {
    VariableMaps maps;
    for (const double value : {0.0, -0.0}) {
        VariableBatch batch;
        batch.AddDouble(L"D", value);
        maps.Apply(batch);
    }
    EXPECT_TRUE(std::signbit(*maps.Doubles().Find(L"D", HashName(L"D"))));
}

} // namespace
} // namespace zq::test
