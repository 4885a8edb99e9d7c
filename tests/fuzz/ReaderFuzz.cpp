// Fuzz target of the JSON reader: every pair of bytes a unit. Reading ends inside the text, takes no more
// nodes than there are units, says the same twice, and with a trace as without.
#include "Require.h"

#include "base/Text.h"
#include "check/DocumentMap.h"
#include "config/json/JsonReader.h"

#include <algorithm>
#include <string>
#include <vector>

namespace {

using zq::fuzz::Require;

size_t CountNodes(const zq::JsonValue& root) {
    std::vector<const zq::JsonValue*> open = {&root};
    size_t count = 0;
    while (!open.empty()) {
        const zq::JsonValue& value = *open.back();
        open.pop_back();
        ++count;
        for (const zq::JsonValue& element : value.Elements()) {
            open.push_back(&element);
        }
        for (const zq::JsonMember& member : value.Members()) {
            Require(value.Member(member.key) == &member.value);
            open.push_back(&member.value);
        }
    }
    return count;
}

std::wstring TextOf(const uint8_t* data, size_t size) {
    std::wstring text;
    for (size_t i = 0; i + 1 < size; i += 2) {
        text += static_cast<wchar_t>(data[i] | data[i + 1] << 8);
    }
    return text;
}

void RequireGood(const std::wstring& text) {
    const auto length = static_cast<int32_t>(text.size());
    zq::JsonRoot root;
    const int32_t result = zq::ParseJsonValue(root, text.data(), length);
    Require(result <= length && result >= -(length + 1));
    Require(result >= 1 || root.Is(zq::JsonKind::Null));
    const size_t nodes = CountNodes(root);
    Require(nodes <= text.size() + 1);

    const auto readsNothing = [](uint8_t, bool, std::wstring_view) { return zq::kJsonUnread; };
    zq::JsonRoot unread;
    Require(zq::ParseJsonValue(unread, text.data(), length, readsNothing) == result);
    const bool isBytes = std::all_of(text.begin(), text.end(), [](wchar_t unit) { return unit <= 0xFF; });
    if (isBytes) {
        const std::vector<unsigned char> bytes(text.begin(), text.end());
        const zq::JsonBytes json = {bytes.data(), length, zq::AsciiCharacters()};
        zq::JsonRoot narrow;
        Require(zq::ParseJsonValue(narrow, json) == result);
        Require(CountNodes(narrow) == nodes);
        Require(zq::ParseJsonValue(unread, json, readsNothing) == result);
    }

    zq::JsonRoot traced;
    zq::DocumentMap map;
    map.Read(traced, text);
    Require(map.Result() == result);
    Require(map.Fault().has_value() == (result < 1));
    Require(result < 1 || CountNodes(traced) == nodes);
    Require(result < 1 || map.Nodes().size() >= nodes);
    for (const zq::DocumentNode& node : map.Nodes()) {
        Require(node.begin >= 0 && node.begin < length && node.end <= length);
        Require(node.children.empty() || node.parent < node.children.front());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // The last byte chooses between units of two bytes and of one.
    if (size > 0 && data[size - 1] % 2 == 0) {
        RequireGood(TextOf(data, size));
    } else {
        RequireGood(std::wstring(data, data + size));
    }
    return 0;
}
