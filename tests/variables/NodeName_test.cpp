#include "variables/NodeName.h"

#include "variables/NameHash.h"
#include "variables/NamePrefix.h"
#include "variables/VariableMap.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace zq::test {
namespace {

// A name in memory of just its size, so that a sanitizer sees what goes beyond it.
class KeptName {
public:
    explicit KeptName(std::wstring_view name) : m_size(name.size()), m_bytes(name.size()) {
        m_isInBytes = NodeName::PutInBytes(m_bytes.data(), name);
        if (!m_isInBytes) {
            m_bytes.resize(NodeName::BytesOf(name.size(), false));
            std::memcpy(m_bytes.data(), name.data(), m_bytes.size());
        }
    }

    NodeName View() const { return {m_bytes.data(), m_size, m_isInBytes}; }
    std::wstring Copy() const {
        std::wstring copy(m_size, L'?');
        View().CopyTo(copy.data());
        return copy;
    }

private:
    size_t m_size;
    std::vector<std::byte> m_bytes;
    bool m_isInBytes;
};

constexpr size_t kLongest = 40; // two blocks and more, with every rest

TEST(NodeName, KeepsEveryUnitAtEveryPlace) {
    for (size_t length = 1; length <= kLongest; ++length) {
        for (size_t place = 0; place < length; ++place) {
            for (const wchar_t unit :
                 {L'\1', L'b', L'\x7F', L'\x80', L'\xFF', L'\x100', L'\x161', L'\xFFFF'}) {
                std::wstring name(length, L'a');
                name[place] = unit;
                const KeptName kept(name);
                ASSERT_EQ(unit < 256, kept.View().IsInBytes()) << length << ' ' << place;
                ASSERT_EQ(name, kept.Copy());
                ASSERT_TRUE(kept.View() == name);
            }
        }
    }
}

TEST(NodeName, DiffersInAnyUnitAndInItsLength) {
    for (size_t length = 1; length <= kLongest; ++length) {
        for (const wchar_t other : {L'a', L'\x4E2D'}) { // in bytes, and not
            const std::wstring name = std::wstring(length, L'a') + other;
            const KeptName kept(name);
            EXPECT_FALSE(kept.View() == name + L'a');
            EXPECT_FALSE(kept.View() == std::wstring_view(name).substr(1));
            for (size_t place = 0; place < name.size(); ++place) {
                for (const int change : {1, 0x100, 0x8000}) { // of its low byte and of its high one
                    std::wstring changed = name;
                    changed[place] = static_cast<wchar_t>(changed[place] ^ change);
                    ASSERT_FALSE(kept.View() == changed) << length << ' ' << place << ' ' << change;
                }
            }
        }
    }
}

TEST(NodeName, ThatIsEmptyIsLikeNoOther) {
    const KeptName kept(L"");
    EXPECT_EQ(L"", kept.Copy());
    EXPECT_TRUE(kept.View() == L"");
    EXPECT_FALSE(kept.View() == L"a");
    EXPECT_EQ(0U, kept.View().Bytes());
}

TEST(NodeName, IsCutIntoItsEndAndTheRest) {
    for (const std::wstring_view name : {L"section.key", L"section.\x4E2D"}) {
        const KeptName kept(name);
        for (size_t count = 0; count <= name.size(); ++count) {
            EXPECT_TRUE(kept.View().Last(count) == name.substr(name.size() - count));
            EXPECT_TRUE(kept.View().WithoutLast(count) == name.substr(0, name.size() - count));
        }
    }
}

TEST(NodeName, LeavesATextBehindItAligned) {
    for (size_t size = 0; size < 5; ++size) {
        EXPECT_EQ(0U, NodeName::BytesOf(size, true) % sizeof(wchar_t));
        EXPECT_LE(size, NodeName::BytesOf(size, true));
        EXPECT_EQ(size * sizeof(wchar_t), NodeName::BytesOf(size, false));
    }
}

TEST(NodeName, OfEveryScriptIsFoundCountedAndRemoved) {
    const std::vector<std::wstring> names = {L"Key",
                                             L"K\xE9y",
                                             L"K\x161y",
                                             L"\x952E",
                                             L"A name that is long enough for several blocks",
                                             L"A name that is long enough for several bl\x014Dcks",
                                             std::wstring(600, L'\xFF'),
                                             std::wstring(600, L'\x100')};
    VariableMap<StoredText> map;
    size_t units = 0;
    for (const std::wstring& name : names) {
        map.Add(name, HashName(name), nullptr, name + L"=");
        units += name.size();
    }
    EXPECT_EQ(units, map.NameUnits());
    size_t seen = 0;
    map.ForEach([&](std::wstring_view name, std::wstring_view text) {
        EXPECT_EQ(std::wstring(name) + L"=", text);
        ++seen;
    });
    EXPECT_EQ(names.size(), seen);
    for (const std::wstring& name : names) {
        ASSERT_NE(nullptr, map.Find(name, HashName(name)));
        EXPECT_EQ(name + L"=", map.Find(name, HashName(name))->value.View());
        EXPECT_TRUE(map.Remove(name, HashName(name)));
        EXPECT_EQ(nullptr, map.Find(name, HashName(name)));
    }
    EXPECT_EQ(0U, map.NameUnits());
}

TEST(NodeName, UnderAPrefixMeetsTheWholeNameOfAHost) {
    NamePrefixes prefixes;
    const std::wstring start(300, L'p');
    const NamePrefix* prefix = prefixes.Share(nullptr, start);
    for (const std::wstring rest : {L".key", L".k\x161y", L""}) {
        VariableMap<int64_t> map;
        const std::wstring name = start + rest;
        map.Add(rest, HashName(name), prefix, int64_t{1});
        EXPECT_NE(nullptr, map.Find(name, HashName(name)));
        EXPECT_NE(nullptr, map.Find(rest, HashName(name), prefix));
        EXPECT_EQ(nullptr, map.Find(L"q" + name.substr(1), HashName(name)));
        EXPECT_EQ(nullptr, map.Find(name + L"y", HashName(name)));
    }
}

} // namespace
} // namespace zq::test
