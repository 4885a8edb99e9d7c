#include "variables/VariableBatch.h"

#include "variables/VariableMaps.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zq {
namespace {

using RecordKind = VariableBatch::Kind;
using Names = VariableBatch::Names;

std::vector<VariableBatch::Entry> EntriesOf(const VariableBatch& batch) {
    return {batch.Entries().begin(), batch.Entries().end()};
}

TEST(BatchRecords, EachKindIsReadBackInItsOrder) {
    VariableBatch batch;
    batch.AddBool(L"b", 1);
    batch.AddInt64(L"", INT64_MIN);
    batch.AddNumber(L"number", -7);
    batch.AddDouble(L"double", 0.1);
    batch.AddString(L"string", L"text");

    const std::vector<VariableBatch::Entry> entries = EntriesOf(batch);

    ASSERT_EQ(5U, entries.size());
    EXPECT_EQ(5U, batch.Entries().size());
    EXPECT_EQ(RecordKind::Bool, entries[0].kind);
    EXPECT_EQ(1, entries[0].boolean);
    EXPECT_EQ(L"b", VariableBatch::NameOf(entries[0]));
    EXPECT_EQ(RecordKind::Int64, entries[1].kind);
    EXPECT_EQ(INT64_MIN, entries[1].integer);
    EXPECT_EQ(L"", VariableBatch::NameOf(entries[1]));
    EXPECT_EQ(RecordKind::Number, entries[2].kind);
    EXPECT_EQ(-7, entries[2].integer);
    EXPECT_EQ(RecordKind::Double, entries[3].kind);
    EXPECT_EQ(0.1, entries[3].real);
    EXPECT_EQ(RecordKind::String, entries[4].kind);
    EXPECT_EQ(L"text", VariableBatch::TextOf(entries[4]));
    EXPECT_EQ(L"string", VariableBatch::NameOf(entries[4]));
}

TEST(BatchRecords, AreEmptyUntilTheFirstEntry) {
    VariableBatch batch;
    EXPECT_TRUE(batch.Entries().empty());

    batch.AddBool(L"b", 1);

    EXPECT_FALSE(batch.Entries().empty());
}

// Records of every length around the edges of a page, one longer than a page among them.
TEST(BatchRecords, AreReadBackOnEveryPage) {
    constexpr int kCount = 3000;
    const auto nameOf = [](int i) {
        const size_t length = i == 1500 ? 10'000 : static_cast<size_t>(i) % 97;
        return std::to_wstring(i) + std::wstring(length, L'n');
    };
    VariableBatch batch;
    for (int i = 0; i < kCount; ++i) {
        batch.AddInt64(nameOf(i), i);
    }

    int i = 0;
    for (auto entry = batch.Entries().begin(); entry != batch.Entries().end(); ++entry, ++i) {
        ASSERT_EQ(i, (*entry).integer);
        ASSERT_EQ(nameOf(i), VariableBatch::NameOf(*entry));
        ASSERT_EQ(RecordKind::Int64, entry->kind);
    }
    EXPECT_EQ(kCount, i);
}

// What is no text has no length, though one is written: of records without names the next one is written over
// it, and after the last one of a page it meets nothing.
TEST(BatchRecords, WithoutNamesFillPagesToTheirEnds) {
    for (const int textEach : {2, 7, 100'000}) {
        VariableBatch batch;
        for (int i = 0; i < 2000; ++i) {
            if (i % textEach == textEach - 1) {
                batch.AddString(L"", L"text");
            } else {
                batch.AddNumber(L"", i);
            }
        }
        int i = 0;
        for (const VariableBatch::Entry& entry : batch.Entries()) {
            const bool isText = i % textEach == textEach - 1;
            ASSERT_EQ(isText ? RecordKind::String : RecordKind::Number, entry.kind);
            ASSERT_EQ(0U, entry.nameLength);
            if (isText) {
                ASSERT_EQ(L"text", VariableBatch::TextOf(entry));
            } else {
                ASSERT_EQ(i, entry.integer);
            }
            ++i;
        }
        EXPECT_EQ(2000, i);
    }
}

TEST(BatchRecords, LongNameThatLastsIsNotCopied) {
    const std::wstring shortKey = L"k";
    const std::wstring longKey = L"a key of the root";
    VariableBatch sharing(Names::SharePrefixes);
    sharing.AddInt64(BatchName::Lasting(longKey), 1);
    sharing.AddInt64(BatchName::Lasting(shortKey), 2);
    VariableBatch whole(Names::Whole);
    whole.AddInt64(BatchName::Lasting(longKey), 1);

    EXPECT_EQ(longKey.data(), EntriesOf(sharing)[0].name);
    EXPECT_NE(shortKey.data(), EntriesOf(sharing)[1].name);
    EXPECT_EQ(shortKey, VariableBatch::NameOf(EntriesOf(sharing)[1]));
    EXPECT_NE(longKey.data(), EntriesOf(whole)[0].name);
    EXPECT_EQ(longKey, VariableBatch::NameOf(EntriesOf(whole)[0]));
}

TEST(BatchRecords, NumberedNameIsKeptAsItsNumberAfterAPrefix) {
    for (const Names names : {Names::Whole, Names::SharePrefixes}) {
        VariableBatch batch(names);
        batch.UsePrefix(batch.MakePrefix(L"List."));
        for (const uint32_t number : {0U, 9U, 10U, 4294967295U}) {
            const std::wstring name = L"List." + std::to_wstring(number);
            batch.AddString(BatchName::Numbered(name, number), L"text");
        }
        VariableMaps maps;
        maps.Apply(batch);

        EXPECT_EQ(names == Names::SharePrefixes, EntriesOf(batch)[0].name == nullptr);
        EXPECT_EQ(4U, maps.strings.Size());
        EXPECT_NE(nullptr, maps.strings.Find(L"List.0", HashName(L"List.0")));
        EXPECT_NE(nullptr, maps.strings.Find(L"List.4294967295", HashName(L"List.4294967295")));
    }
}

TEST(BatchRecords, NumberedNameWithoutAPrefixIsKeptWhole) {
    VariableBatch batch(Names::SharePrefixes);
    batch.AddInt64(BatchName::Numbered(L"List.7", 7), 1);

    EXPECT_EQ(L"List.7", VariableBatch::NameOf(EntriesOf(batch)[0]));
}

} // namespace
} // namespace zq
