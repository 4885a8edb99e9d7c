#include "config/json/JsonTreeBuilder.h"

#include <algorithm>
#include <memory>

namespace zq {

namespace {

bool IsBefore(const JsonMember& a, const JsonMember& b) { return a.key < b.key; }
bool IsNotBefore(const JsonMember& a, const JsonMember& b) { return !IsBefore(a, b); }

using MemberIterator = std::vector<JsonMember>::iterator;

// The library's stable sort allocates for each call; most objects are too small to be worth that.
void StableSort(MemberIterator first, MemberIterator last) {
    constexpr std::ptrdiff_t kSmall = 32;
    if (last - first > kSmall) {
        std::stable_sort(first, last, IsBefore);
        return;
    }
    for (MemberIterator member = first; member != last; ++member) {
        std::rotate(std::upper_bound(first, member, *member, IsBefore), member, member + 1);
    }
}

// Sorts by key and keeps the last of equal keys. Returns the new end.
MemberIterator SortMembers(MemberIterator first, MemberIterator last) {
    if (std::adjacent_find(first, last, IsNotBefore) == last) {
        return last;
    }
    StableSort(first, last);
    auto out = first;
    for (auto member = first; member != last; ++member) {
        if (member + 1 == last || IsBefore(*member, *(member + 1))) {
            *out++ = *member;
        }
    }
    return out;
}

} // namespace

void JsonTreeBuilder::Open(bool isObject, uint8_t role) {
    m_open.push_back({m_key, m_members.size(), isObject, role});
    if (!isObject) {
        m_key = {}; // of its elements
    }
}

JsonValue JsonTreeBuilder::Close() {
    const OpenContainer container = m_open.back();
    m_open.pop_back();
    const JsonValue value = container.isObject ? MakeObject(container.first) : MakeArray(container.first);
    m_members.resize(container.first);
    m_key = container.key;
    return value;
}

JsonValue JsonTreeBuilder::MakeArray(size_t first) {
    const size_t count = m_members.size() - first;
    auto* elements = m_arena.Allocate<JsonValue>(count);
    std::transform(m_members.begin() + static_cast<std::ptrdiff_t>(first), m_members.end(), elements,
                   [](const JsonMember& member) { return member.value; });
    JsonValue value;
    value.kind = JsonKind::Array;
    value.count = static_cast<uint32_t>(count);
    value.elements = elements;
    return value;
}

JsonValue JsonTreeBuilder::MakeObject(size_t first) {
    const auto begin = m_members.begin() + static_cast<std::ptrdiff_t>(first);
    const auto end = SortMembers(begin, m_members.end());
    const auto count = static_cast<size_t>(end - begin);
    auto* members = m_arena.Allocate<JsonMember>(count);
    std::uninitialized_copy(begin, end, members);
    JsonValue value;
    value.kind = JsonKind::Object;
    value.count = static_cast<uint32_t>(count);
    value.members = members;
    return value;
}

} // namespace zq
