#include "save/DocumentEdit.h"

#include "save/DocumentText.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

namespace zq {

namespace {

using rapidjson::SizeType;
using Value = EditableValue;

// Which the library writes with an exponent, and the module does not read.
constexpr double kFirstWithExponent = 1e21;

std::string_view TextOf(const Value& value) { return {value.GetString(), value.GetStringLength()}; }

// The only member of that name, or null.
Value* Member(Value& object, std::string_view name) {
    if (!object.IsObject()) {
        return nullptr;
    }
    Value* found = nullptr;
    for (auto& member : object.GetObject()) {
        if (TextOf(member.name) == name) {
            if (found) {
                return nullptr;
            }
            found = &member.value;
        }
    }
    return found;
}

bool HasMember(const Value& object, std::string_view name) {
    const auto isNamed = [name](const auto& member) { return TextOf(member.name) == name; };
    return object.IsObject() && std::any_of(object.MemberBegin(), object.MemberEnd(), isNamed);
}

SaveResult SetMember(Value& object, std::string_view name, const ValueSetter& set) {
    Value* member = Member(object, name);
    if (!member) {
        return SaveResult::NoSuchMember;
    }
    set(*member);
    return SaveResult::Saved;
}

// The component behind the second point, up to the third one; nothing where it is missing.
std::optional<std::string_view> ThirdComponent(std::string_view name) {
    for (int i = 0; i < 2; ++i) {
        const size_t point = name.find('.');
        if (point == std::string_view::npos) {
            return std::nullopt;
        }
        name.remove_prefix(point + 1);
    }
    // An empty rest behind the last point is no component.
    return name.empty() ? std::nullopt : std::optional(name.substr(0, name.find('.')));
}

bool Matches(Value& entry, std::string_view key, int32_t wanted) {
    if (wanted < 0) {
        return true;
    }
    const Value* number = Member(entry, key);
    return number && number->IsInt() && number->GetInt() == wanted;
}

Value* FindDevice(Value& root, std::string_view deviceName) {
    for (Value& device : root.GetArray()) {
        const Value* name = Member(device, "DeviceName");
        if (name && name->IsString() && TextOf(*name) == deviceName) {
            return &device;
        }
    }
    return nullptr;
}

Value* FindResponse(Value& device, const HmdRequest& request) {
    Value* responses = Member(device, "Response");
    if (!responses || !responses->IsArray()) {
        return nullptr;
    }
    for (Value& entry : responses->GetArray()) {
        if (Matches(entry, "MainRequest", request.mainRequest) &&
            Matches(entry, "SubRequest", request.subRequest) && Matches(entry, "index", request.index)) {
            return &entry;
        }
    }
    return nullptr;
}

} // namespace

SaveResult EditRootMember(EditableDocument& document, std::string_view name, const ValueSetter& set) {
    return SetMember(document, name, set);
}

SaveResult EditDeviceMember(EditableDocument& document, std::string_view name,
                            std::optional<int64_t> deviceIndex, const ValueSetter& set) {
    if (!HasMember(document, "CL")) {
        return EditRootMember(document, name, set);
    }
    Value* devices = Member(document, "CL");
    if (!devices || !devices->IsArray() || !deviceIndex || std::cmp_less(*deviceIndex, 0) ||
        std::cmp_greater_equal(*deviceIndex, devices->Size())) {
        return SaveResult::NoSuchDevice;
    }
    const std::optional<std::string_view> key = ThirdComponent(name);
    return key ? SetMember((*devices)[static_cast<SizeType>(*deviceIndex)], *key, set)
               : SaveResult::NoSuchMember;
}

SaveResult EditHmdList(EditableDocument& document, std::string_view deviceName, const HmdRequest& request,
                       std::span<const int64_t> values) {
    if (!document.IsArray() || document.Empty()) {
        return SaveResult::FileUnreadable;
    }
    Value* device = FindDevice(document, deviceName);
    if (!device) {
        return SaveResult::NoSuchDevice;
    }
    Value* response = FindResponse(*device, request);
    if (!response) {
        return SaveResult::NoSuchRequest;
    }
    if (values.empty()) {
        return SaveResult::Saved;
    }
    Value* held = Member(*response, "Value");
    if (!held || !held->IsArray() || held->Size() < values.size()) {
        return SaveResult::TooFewValues;
    }
    SizeType place = 0;
    for (const int64_t value : values) {
        (*held)[place++].SetInt64(value);
    }
    return SaveResult::Saved;
}

bool IsWritable(const EditableDocument& document) {
    std::vector<std::pair<const Value*, size_t>> open = {{&document, 1}};
    while (!open.empty()) {
        const auto [value, depth] = open.back();
        open.pop_back();
        if (depth > kDeepestWritable ||
            (value->IsDouble() && std::abs(value->GetDouble()) >= kFirstWithExponent)) {
            return false;
        }
        if (value->IsArray()) {
            for (const Value& element : value->GetArray()) {
                open.emplace_back(&element, depth + 1);
            }
        } else if (value->IsObject()) {
            for (const auto& member : value->GetObject()) {
                open.emplace_back(&member.value, depth + 1);
            }
        }
    }
    return true;
}

} // namespace zq
