#include "SettingCheck.h"

#include "Failure.h"
#include "Overloads.h"
#include "Text.h"

#include "check/KeyDescription.h"
#include "check/NearestName.h"

#include <algorithm>
#include <utility>

namespace zq::tool {

namespace {

constexpr const char* kNothingSaved = "nothing was saved: ";
constexpr const char* kInsist = "; --force saves it all the same";

[[noreturn]] void Refuse(const std::string& reason) { throw Failure(kNothingSaved + reason, ExitCode::No); }

std::string DidYouMean(const std::string& name, const std::vector<std::wstring>& known) {
    const std::vector<std::wstring> nearest = NearestNames(WideFromUtf8(name), known, 1);
    return nearest.empty() ? "" : "; did you mean " + Utf8FromWide(nearest.front()) + "?";
}

// The second and third part of "CL.MERIN5.Bitrate".
std::pair<std::wstring, std::wstring> HeadsetAndMember(const std::string& name) {
    const std::wstring wide = WideFromUtf8(name);
    const size_t first = wide.find(L'.');
    const size_t second = first == std::wstring::npos ? first : wide.find(L'.', first + 1);
    if (second == std::wstring::npos || second + 1 == wide.size()) {
        Refuse(name + " does not name a headset's member, as CL.<headset>.<member> does");
    }
    const std::wstring rest = wide.substr(second + 1);
    return {wide.substr(first + 1, second - first - 1), rest.substr(0, rest.find(L'.'))};
}

SettingMember RequireRootMember(const SettingsDocument& document, const SettingRequest& request) {
    const std::wstring name = WideFromUtf8(request.name);
    if (const auto member = document.RootMember(name)) {
        return *member;
    }
    if (name.starts_with(L"CL.") && document.Headsets() > 0) {
        Refuse(request.name + " is a headset's; add --device to save it for the headset in use");
    }
    if (const auto around = document.ObjectAround(name)) {
        Refuse(request.name + " is inside \"" + around->key + "\" (line " + std::to_string(around->line) +
               "); a save reaches only members of the root");
    }
    Refuse("the settings file has no member " + request.name + ", and a save makes none" +
           DidYouMean(request.name, document.RootNames()));
}

SettingMember RequireHeadsetMember(const SettingsDocument& document, const SettingRequest& request) {
    const size_t count = document.Headsets();
    const auto [headset, key] = HeadsetAndMember(request.name);
    if (!request.headset || std::cmp_less(*request.headset, 0) ||
        std::cmp_greater_equal(*request.headset, count)) {
        Refuse("\"DHI\", the headset in use, is no entry of \"CL\", which has " +
               Counted(count, "entry", "entries"));
    }
    const auto index = static_cast<size_t>(*request.headset);
    if (headset != document.HeadsetName(index) && !request.isForced) {
        Refuse("the headset in use is " + Utf8FromWide(document.HeadsetName(index)) + " (\"DHI\" is " +
               std::to_string(index) + "), and --device saves for that one" + kInsist);
    }
    const auto member = document.HeadsetMember(index, key);
    if (!member) {
        Refuse("the headset in use has no member " + Utf8FromWide(key) + ", and a save makes none" +
               DidYouMean(request.name, document.HeadsetNames(index)));
    }
    return *member;
}

void RequireAscii(const SettingRequest& request, const SavedValue& value) {
    const auto* const text = std::get_if<std::string>(&value);
    const auto isBeyond = [](char byte) { return static_cast<unsigned char>(byte) >= 0x80; };
    if (text && std::any_of(text->begin(), text->end(), isBeyond)) {
        Refuse("\"" + request.text +
               "\" is not ASCII, and a machine with another code page refuses the whole file then" + kInsist);
    }
}

void RequireHeadset(const SettingsDocument& document, const SettingRequest& request,
                    const SavedValue& value) {
    const auto* const index = std::get_if<int64_t>(&value);
    if (request.isPerDevice || request.name != "DHI" || !index) {
        return;
    }
    const size_t count = document.Headsets();
    if (std::cmp_less(*index, 0) || std::cmp_greater_equal(*index, count)) {
        Refuse("DHI is the index of an entry of \"CL\", which has " + Counted(count, "entry", "entries") +
               ", counted from 0" + kInsist);
    }
}

JsonValue JsonValueOf(const SavedValue& value, const std::wstring& text) {
    JsonValue json;
    std::visit(Overloads{
                   [&](bool truth) {
                       json.kind = JsonKind::Bool;
                       json.boolean = truth ? 1 : 0;
                   },
                   [&](int64_t number) {
                       json.kind = JsonKind::Integer;
                       json.integer = number;
                   },
                   [&](double number) {
                       json.kind = JsonKind::Double;
                       json.real = number;
                   },
                   [&](const std::string&) {
                       json.kind = JsonKind::String;
                       json.text = text.data();
                       json.count = static_cast<uint32_t>(text.size());
                   },
               },
               value);
    return json;
}

// By the rule that the schemas have for the name. A type that was asked for is not questioned.
void RequireInRange(const SettingRequest& request, const std::optional<KeyDescription>& description,
                    const SavedValue& value) {
    const std::wstring text = WideFromUtf8(request.text);
    const JsonValue json = JsonValueOf(value, text);
    if (!description || !description->rule.Allows(json.kind)) {
        return;
    }
    if (const auto misfit = MisfitOf(description->rule, json)) {
        Refuse(request.name + ": " + request.text + ' ' + misfit->text +
               (misfit->fix.empty() ? "" : "; " + misfit->fix) + kInsist);
    }
}

} // namespace

SavedValue RequireSensible(const SettingsDocument& document, const SettingRequest& request) {
    const bool hasHeadsets = document.RootMember(L"CL").has_value();
    const SettingMember member = request.isPerDevice && hasHeadsets ? RequireHeadsetMember(document, request)
                                                                    : RequireRootMember(document, request);
    const bool isScalar = member.kind != JsonKind::Object && member.kind != JsonKind::Array;
    const std::optional<KeyDescription> description = DescribeKey(WideFromUtf8(request.name));
    const bool isFraction = description && description->rule.Allows(JsonKind::Double);
    SavedValue value = request.type.empty() || (!isScalar && !request.isForced)
                           ? ParseSavedValueFor(request.name, member, request.text, isFraction)
                           : ParseSavedValue(request.text, request.type);
    if (!request.isForced) {
        RequireAscii(request, value);
        RequireHeadset(document, request, value);
        RequireInRange(request, description, value);
    }
    return value;
}

std::optional<int64_t> HeadsetIndex(const std::vector<Variable>& variables) {
    for (const Variable& variable : variables) {
        const auto* const index = std::get_if<int64_t>(&variable.value);
        if (variable.name == L"DHI" && index) {
            return *index;
        }
    }
    return std::nullopt;
}

} // namespace zq::tool
