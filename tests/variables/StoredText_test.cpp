#include "variables/StoredText.h"

#include "variables/VariableMap.h"

#include <gtest/gtest.h>

#include <new>
#include <string>

namespace zq {
namespace {

constexpr uint32_t kHash = 7;
constexpr size_t kLongestInNode = 64;

using TextMap = VariableMap<StoredText>;

bool IsInRoom(TextMap::Node& node) { return node.value.View().data() == node.Room(); }

TEST(StoredText, OfANewNameIsKeptAfterItsNameInTheNode) {
    TextMap map;
    auto* node = map.Add(L"Name", kHash, nullptr, std::wstring_view(L"a text"));

    EXPECT_EQ(L"a text", node->value.View());
    EXPECT_TRUE(node->Rest() == L"Name");
    EXPECT_TRUE(IsInRoom(*node));
}

TEST(StoredText, ThatIsLongHasMemoryOfItsOwn) {
    for (const size_t length : {kLongestInNode, kLongestInNode + 1}) {
        TextMap map;
        const std::wstring text(length, L't');
        auto* node = map.Add(L"Name", kHash, nullptr, text);

        EXPECT_EQ(text, node->value.View());
        EXPECT_EQ(length <= kLongestInNode, IsInRoom(*node)) << length;
    }
}

TEST(StoredText, ThatIsEmptyNeedsNoMemory) {
    EXPECT_EQ(nullptr, StoredText(std::wstring_view()).View().data());
    TextMap map;
    auto* node = map.Add(L"Name", kHash, nullptr, std::wstring_view());
    EXPECT_EQ(sizeof(TextMap::Node) + 4, node->Bytes());
}

TEST(StoredText, UsesTheRoomOfItsNodeWheneverItFits) {
    TextMap map;
    auto* node = map.Add(L"Name", kHash, nullptr, std::wstring_view(L"12345"));
    const struct {
        std::wstring_view text;
        bool fits;
    } steps[] = {{L"123456", false}, {L"1234", true}, {L"", true}, {L"54321", true}, {L"654321", false}};
    for (const auto& step : steps) {
        TextMap::Assign(node, step.text);
        EXPECT_EQ(step.text, node->value.View());
        EXPECT_EQ(step.fits, IsInRoom(*node)) << step.text.size();
    }
}

TEST(StoredText, IsKeptAfterThePrefixAndTheRestOfItsName) {
    NamePrefixes prefixes;
    const NamePrefix* prefix = prefixes.Share(nullptr, std::wstring(300, L'p'));
    TextMap map;
    auto* node = map.Add(L"rest", kHash, prefix, std::wstring_view(L"a text"));

    EXPECT_TRUE(node->IsNamed(prefix, L"rest"));
    EXPECT_TRUE(IsInRoom(*node));
    EXPECT_EQ(L"a text", node->value.View());
    EXPECT_EQ(304U, map.NameUnits());
}

TEST(StoredText, MovesBetweenValuesAndIsFreedOnce) {
    StoredText held(std::wstring_view(L"first"));
    StoredText other(std::wstring_view(L"second"));
    held = std::move(other);
    EXPECT_EQ(L"second", held.View());
    StoredText last(std::move(held));
    EXPECT_EQ(L"second", last.View());
}

TEST(StoredText, NodesAreReusedForTextsThatNeedAsMuchRoom) {
    TextMap map;
    auto* first = map.Add(L"Name", kHash, nullptr, std::wstring_view(L"a text of 23 characters"));
    map.Remove(first);
    EXPECT_NE(first, map.Add(L"Name", kHash, nullptr, std::wstring_view(L"short")));
    EXPECT_EQ(first, map.Add(L"Twin", kHash + 1, nullptr, std::wstring_view(L"a twin of 23 characters")));
}

} // namespace
} // namespace zq
