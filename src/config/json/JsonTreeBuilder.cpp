#include "config/json/JsonTreeBuilder.h"

#include <algorithm>
#include <memory>

namespace zq {

namespace {

bool IsBefore(const JsonMember& a, const JsonMember& b) { return IsKeyBefore(a.key, b.key); }
bool IsNotBefore(const JsonMember& a, const JsonMember& b) { return !IsBefore(a, b); }

// The library's stable sort allocates for each call; most objects are too small to be worth that.
void StableSort(JsonMember* first, JsonMember* last) {
    constexpr std::ptrdiff_t kSmall = 32;
    if (last - first > kSmall) {
        std::stable_sort(first, last, IsBefore);
        return;
    }
    for (JsonMember* next = first; next != last; ++next) {
        const JsonMember member = *next;
        JsonMember* place = std::upper_bound(first, next, member, IsBefore);
        std::copy_backward(place, next, next + 1);
        *place = member;
    }
}

// Sorts by key and keeps the last of equal keys. Returns the new end.
JsonMember* SortMembers(JsonMember* first, JsonMember* last) {
    if (std::adjacent_find(first, last, IsNotBefore) == last) {
        return last;
    }
    StableSort(first, last);
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
    if (!isObject) {
        m_key = {}; // of its elements
    }
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
    JsonMember* end = members;
    m_members.ForEachRun(first, [&end](const JsonMember* run, size_t count) {
        end = std::uninitialized_copy_n(run, count, end);
    });
    m_members.CutTo(first); // before the sort, which may need memory
    const auto count = static_cast<size_t>(SortMembers(members, end) - members);
    m_arena.Take(count * sizeof(JsonMember));
    JsonValue value;
    value.kind = JsonKind::Object;
    value.count = static_cast<uint32_t>(count);
    value.members = members;
    return value;
}

} // namespace zq
