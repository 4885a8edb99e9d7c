#include "check/KeyDescription.h"

#include "base/AsciiCase.h"

#include <algorithm>
#include <array>

namespace zq {

namespace {

using Found = std::optional<KeyDescription>;

// Follows a name down the members that the schema names; each of them may itself hold points.
std::optional<SchemaRule> Below(const SchemaRule& rule, std::wstring_view name) {
    if (rule.Names(name) && !rule.Forbids(name)) {
        return rule.Member(name);
    }
    for (size_t point = name.find(L'.'); point != std::wstring_view::npos;
         point = name.find(L'.', point + 1)) {
        const std::wstring_view key = name.substr(0, point);
        if (!rule.Names(key) || rule.Forbids(key)) {
            continue;
        }
        if (const auto below = Below(*rule.Member(key), name.substr(point + 1))) {
            return below;
        }
    }
    return {};
}

// A group is no variable.
Found DescribeBelow(ConfigFile file, const SchemaRule& rule, std::wstring_view name, std::wstring prefix) {
    const auto below = Below(rule, name);
    if (!below || below->Allows(JsonKind::Object) || below->Allows(JsonKind::Array)) {
        return {};
    }
    return KeyDescription{file, prefix.append(name), *below};
}

Found DescribeHeadset(std::wstring_view member) {
    const SchemaRule headset = *SchemaRule::Of(ConfigFile::Settings).Member(L"CL")->Element();
    return DescribeBelow(ConfigFile::Settings, headset, member, L"CL.<HD>.");
}

Found DescribePreset(std::wstring_view member) {
    constexpr std::array<std::wstring_view, 4> kPresets = {L"Quality.", L"Balance.", L"Performance.",
                                                           L"Ultra."};
    const auto preset = std::find_if(kPresets.begin(), kPresets.end(),
                                     [member](std::wstring_view name) { return member.starts_with(name); });
    if (preset == kPresets.end()) {
        return {};
    }
    const auto presets = SchemaRule::Of(ConfigFile::Quality).Member(L"<headset>");
    const auto rule = presets ? presets->Element() : std::nullopt;
    return rule ? DescribeBelow(ConfigFile::Quality, *rule, member.substr(preset->size()),
                                L"CL.<headset>." + std::wstring(*preset))
                : Found();
}

// Three numbers, and perhaps "ArraySize" or the index of an element.
Found DescribeResponse(std::wstring_view member) {
    size_t parts = 0;
    bool isSize = false;
    for (std::wstring_view rest = member; !rest.empty(); ++parts) {
        const size_t point = std::min(rest.find(L'.'), rest.size());
        const std::wstring_view part = rest.substr(0, point);
        isSize = parts == 3 && part == L"ArraySize";
        const bool isNumber = IsAsciiNumber(part.substr(part.starts_with(L'-') ? 1 : 0));
        if (!isNumber && !isSize) {
            return {};
        }
        rest.remove_prefix(std::min(point + 1, rest.size()));
    }
    if (parts != 3 && parts != 4) {
        return {};
    }
    const SchemaRule list = SchemaRule::Of(ConfigFile::HmdList);
    const SchemaRule response = *list.Element()->Member(L"Response")->Element();
    std::wstring pattern = L"CL.<DeviceName>.<MainRequest>.<SubRequest>.<index>";
    pattern += parts == 3 ? L"" : isSize ? L".ArraySize" : L".<n>";
    const auto value = response.Member(L"Value");
    const auto rule = parts == 3 ? value
                      : isSize   ? SchemaRule::OfModule().Member(L"ArraySize")
                                 : value->Element();
    return KeyDescription{ConfigFile::HmdList, std::move(pattern), *rule};
}

// The name of a headset may itself hold points.
Found DescribeOfHeadset(std::wstring_view name) {
    for (size_t point = name.find(L'.'); point != std::wstring_view::npos;
         point = name.find(L'.', point + 1)) {
        const std::wstring_view member = name.substr(point + 1);
        for (const auto describe : {DescribeHeadset, DescribePreset, DescribeResponse}) {
            if (Found found = describe(member)) {
                return found;
            }
        }
    }
    return {};
}

Found DescribeOfModule(std::wstring_view name) {
    constexpr std::wstring_view kList = L"HmdNameList.";
    const bool isListed = name.starts_with(kList) && IsAsciiNumber(name.substr(kList.size()));
    const std::wstring pattern = isListed ? L"HmdNameList.<n>" : std::wstring(name);
    const SchemaRule module = SchemaRule::OfModule();
    return module.Names(pattern) ? Found(KeyDescription{{}, pattern, *module.Member(pattern)}) : Found();
}

} // namespace

std::optional<KeyDescription> DescribeKey(std::wstring_view name) {
    if (Found found = DescribeOfModule(name)) {
        return found;
    }
    constexpr std::wstring_view kHeadsets = L"CL.";
    if (name.starts_with(kHeadsets)) {
        return DescribeOfHeadset(name.substr(kHeadsets.size()));
    }
    for (const ConfigFile file : {ConfigFile::Settings, ConfigFile::Quality}) {
        if (Found found = DescribeBelow(file, SchemaRule::Of(file), name, {})) {
            return found;
        }
    }
    return {};
}

} // namespace zq
