#include "save/DocumentEdit.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace zq {

namespace {

using rapidjson::SizeType;
using Value = EditableValue;

std::string_view TextOf(const Value& value) { return {value.GetString(), value.GetStringLength()}; }

// Returns the last member of that name, or null.
Value* Member(Value& object, std::string_view name) {
    if (!object.IsObject()) {
        return nullptr;
    }
    Value* found = nullptr;
    for (auto& member : object.GetObject()) {
        if (TextOf(member.name) == name) {
            found = &member.value;
        }
    }
    return found;
}

// Sets every member of that name, so that a reader finds the value whichever of them it
// takes.
SaveResult SetMember(Value& object, std::string_view name, const ValueSetter& set) {
    if (!Member(object, name)) {
        return SaveResult::NoSuchMember;
    }
    for (auto& member : object.GetObject()) {
        if (TextOf(member.name) == name) {
            set(member.value);
        }
    }
    return SaveResult::Saved;
}

// Returns the component between the second dot and the third; nothing if it is missing.
std::optional<std::string_view> ThirdComponent(std::string_view name) {
    for (int i = 0; i < 2; ++i) {
        const size_t point = name.find('.');
        if (point == std::string_view::npos) {
            return std::nullopt;
        }
        name.remove_prefix(point + 1);
    }
    // An empty rest after the last dot is not a component.
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
    Value* devices = Member(document, "CL");
    if (!devices) {
        return EditRootMember(document, name, set);
    }
    if (!devices->IsArray() || !deviceIndex || std::cmp_less(*deviceIndex, 0) ||
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
    SizeType offset = 0;
    for (const int64_t value : values) {
        (*held)[offset++].SetInt64(value);
    }
    return SaveResult::Saved;
}

bool IsWritable(const EditableDocument& document) {
    std::vector<std::pair<const Value*, size_t>> open = {{&document, 1}};
    while (!open.empty()) {
        const auto [value, depth] = open.back();
        open.pop_back();
        if (depth > kDeepestWritable) {
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
