#include "config/json/JsonValue.h"

#include "base/SameText.h"

#include <algorithm>

namespace zq {

std::span<const JsonValue> JsonValue::Elements() const {
    return Is(JsonKind::Array) ? std::span(elements, count) : std::span<const JsonValue>();
}

std::span<const JsonMember> JsonValue::Members() const {
    return Is(JsonKind::Object) ? std::span(members, count) : std::span<const JsonMember>();
}

const JsonValue* JsonValue::Member(std::wstring_view key) const {
    const std::span<const JsonMember> all = Members();
    constexpr size_t kFew = 8;
    if (all.size() <= kFew) {
        const auto few = std::find_if(
            all.begin(), all.end(), [key](const JsonMember& member) { return IsSameText(member.key, key); });
        return few != all.end() ? &few->value : nullptr;
    }
    const auto found =
        std::lower_bound(all.begin(), all.end(), key, [](const JsonMember& member, std::wstring_view k) {
            return IsKeyBefore(member.key, k);
        });
    return found != all.end() && found->key == key ? &found->value : nullptr;
}

void FreeJsonValue(JsonRoot& root) {
    static_cast<JsonValue&>(root) = JsonValue();
    root.nodes.Clear();
    root.keys.Clear();
    root.texts.Clear();
}

std::wstring_view GetJsonString(const JsonValue& value) {
    return value.Is(JsonKind::String) ? std::wstring_view(value.text, value.count) : std::wstring_view();
}

} // namespace zq
