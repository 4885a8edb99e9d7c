#include "config/json/JsonTreeBuilder.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <type_traits>

#include <emmintrin.h>

namespace zq {

namespace {

bool IsBefore(const JsonMember& a, const JsonMember& b) { return IsKeyBefore(a.key, b.key); }
bool IsNotBefore(const JsonMember& a, const JsonMember& b) { return !IsBefore(a, b); }

// The objects of a file are mostly small. Their members are sorted by what decides nearly every comparison.
constexpr size_t kSmallObject = 32;

struct MemberOrder {
    uint64_t head; // the first units of the key, as a number that sorts as they do
    const JsonMember* member;

    bool IsBefore(const MemberOrder& other) const {
        return head != other.head ? head < other.head : IsKeyBefore(member->key, other.member->key);
    }
    bool IsSameKey(const MemberOrder& other) const {
        return head == other.head && IsSameText(member->key, other.member->key);
    }
};

uint64_t HeadOf(std::wstring_view key) {
    constexpr size_t kUnits = sizeof(uint64_t) / sizeof(wchar_t);
    if constexpr (kUnits == 4) {
        if (key.size() >= kUnits) {
            const __m128i units = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(key.data()));
            return static_cast<uint64_t>(
                _mm_cvtsi128_si64(_mm_shufflelo_epi16(units, _MM_SHUFFLE(0, 1, 2, 3))));
        }
    }
    constexpr unsigned kBits = 8 * sizeof(wchar_t);
    uint64_t head = 0;
    for (size_t i = 0; i < kUnits; ++i) {
        head = head << kBits | static_cast<std::make_unsigned_t<wchar_t>>(i < key.size() ? key[i] : 0);
    }
    return head;
}

// Writes the members that were collected last to `out`, sorted by key, of equal keys the last one. Returns
// how many there are.
template <class Members>
size_t SortSmallObject(const Members& all, size_t first, JsonMember* out) {
    std::array<MemberOrder, kSmallObject> order; // NOLINT(*-member-init): filled as far as it is read
    size_t count = 0;
    all.ForEachRun(first, [&](const JsonMember* run, size_t length) {
        for (const JsonMember* member = run; member != run + length; ++member) {
            const MemberOrder next{HeadOf(member->key), member};
            size_t place = count++;
            for (; place != 0 && next.IsBefore(order[place - 1]); --place) {
                order[place] = order[place - 1];
            }
            order[place] = next;
        }
    });
    JsonMember* end = out;
    for (size_t i = 0; i < count; ++i) {
        if (i + 1 == count || !order[i].IsSameKey(order[i + 1])) {
            *end++ = *order[i].member;
        }
    }
    return static_cast<size_t>(end - out);
}

// Sorts by key and keeps the last of equal keys. Returns the new end.
JsonMember* SortMembers(JsonMember* first, JsonMember* last) {
    if (std::adjacent_find(first, last, IsNotBefore) == last) {
        return last;
    }
    std::stable_sort(first, last, IsBefore);
    JsonMember* out = first;
    for (JsonMember* member = first; member != last; ++member) {
        if (member + 1 == last || IsBefore(*member, *(member + 1))) {
            *out++ = *member;
        }
    }
    return out;
}

} // namespace

void JsonTreeBuilder::Open(bool isObject, uint8_t role) {
    m_open.Push({m_key, m_members.Size(), isObject, role});
}

JsonValue JsonTreeBuilder::Close() {
    const OpenContainer container = m_open.Top();
    m_open.CutTo(m_open.Size() - 1);
    const JsonValue value = container.isObject ? MakeObject(container.first) : MakeArray(container.first);
    m_key = container.key;
    return value;
}

JsonValue JsonTreeBuilder::MakeArray(size_t first) {
    const size_t count = m_members.Size() - first;
    auto* elements = m_arena.Allocate<JsonValue>(count);
    JsonValue* out = elements;
    m_members.ForEachRun(first, [&out](const JsonMember* members, size_t run) {
        out = std::transform(members, members + run, out,
                             [](const JsonMember& member) { return member.value; });
    });
    m_members.CutTo(first);
    JsonValue value;
    value.kind = JsonKind::Array;
    value.count = static_cast<uint32_t>(count);
    value.elements = elements;
    return value;
}

JsonValue JsonTreeBuilder::MakeObject(size_t first) {
    const size_t all = m_members.Size() - first;
    auto* members = static_cast<JsonMember*>(m_arena.Room(all * sizeof(JsonMember)));
    size_t count = 0;
    if (all <= kSmallObject) {
        count = SortSmallObject(m_members, first, members);
        m_members.CutTo(first);
    } else {
        JsonMember* end = members;
        m_members.ForEachRun(first, [&end](const JsonMember* run, size_t length) {
            end = std::uninitialized_copy_n(run, length, end);
        });
        m_members.CutTo(first); // before the sort, which may need memory
        count = static_cast<size_t>(SortMembers(members, end) - members);
    }
    m_arena.Take(count * sizeof(JsonMember));
    JsonValue value;
    value.kind = JsonKind::Object;
    value.count = static_cast<uint32_t>(count);
    value.members = members;
    return value;
}

} // namespace zq
