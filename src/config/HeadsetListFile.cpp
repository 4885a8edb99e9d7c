#include "config/HeadsetListFile.h"

#include "base/Decimal.h"
#include "base/HostLog.h"
#include "config/Flattening.h"
#include "config/json/JsonReader.h"

#include <string>

namespace zq {

namespace {

constexpr uint8_t kDevices = 2 | kJsonObjectsOnly;
constexpr uint8_t kDevice = 3;
constexpr uint8_t kResponses = 4 | kJsonObjectsOnly;
constexpr uint8_t kItem = 5;
constexpr uint8_t kValues = 6;

void LogInvalid(const HostLog& log, const NameBuffer& name) {
    log.Log(LogFailure, L"Invalid hmd list item : %s", name.String().c_str());
}

const JsonValue* IntegerMember(const JsonValue& item, std::wstring_view key) {
    const JsonValue* member = item.Member(key);
    return member && member->Is(JsonKind::Integer) ? member : nullptr;
}

void FlattenArray(NameBuffer& name, const JsonValue& array, VariableBatch& batch, const HostLog& log,
                  FlattenTrace* trace) {
    const size_t length = name.Length();
    name.Append(L".ArraySize");
    batch.AddInt64(name.View(), static_cast<int32_t>(array.count));
    ReportAdded(trace, array);
    int32_t index = 0;
    for (const JsonValue& element : array.Elements()) {
        name.CutTo(length);
        name.AppendKey(Decimal(index++).View());
        if (!AddScalar(name.View(), element, batch, trace)) {
            LogInvalid(log, name);
            ReportSkipped(trace, element, Skipped::ResponseValue);
        }
    }
}

void FlattenDevice(const JsonValue& device, VariableBatch& batch, const HostLog& log, FlattenTrace* trace) {
    const JsonValue* name = device.Member(L"DeviceName");
    const JsonValue* responses = device.Member(L"Response");
    if (!name || !name->Is(JsonKind::String) || !responses || !responses->Is(JsonKind::Array)) {
        ReportSkipped(trace, device, Skipped::Device);
        return;
    }
    // Up to a zero character, as a printf would take it: hosts read no name beyond one.
    const std::wstring_view text = GetJsonString(*name);
    NameBuffer prefix(L"CL.");
    prefix.Append(text.substr(0, text.find(L'\0')));
    batch.UsePrefix(batch.PrefixFor(nullptr, prefix.View()));
    for (const JsonValue& item : responses->Elements()) {
        if (item.Is(JsonKind::Object)) {
            FlattenHmdListItem(prefix, item, batch, log, trace);
        } else {
            ReportSkipped(trace, item, Skipped::Response);
        }
    }
    batch.UsePrefix(nullptr);
}

} // namespace

uint8_t HeadsetListRoleOf(uint8_t parent, bool isObject, std::wstring_view key) {
    switch (parent) {
    case kJsonDocument:
        return isObject ? kJsonUnread : kDevices;
    case kDevices:
        return isObject ? kDevice : kJsonUnread;
    case kDevice:
        return !isObject && key == L"Response" ? kResponses : kJsonUnread;
    case kResponses:
        return isObject ? kItem : kJsonUnread;
    case kItem:
        return !isObject && key == L"Value" ? kValues : kJsonUnread;
    default:
        return kJsonUnread;
    }
}

bool IsHeadsetListRoot(const JsonValue& root) { return root.Is(JsonKind::Array); }

bool FlattenHeadsetListFile(const JsonValue& root, VariableBatch& batch, const HostLog& log,
                            FlattenTrace* trace) {
    if (!IsHeadsetListRoot(root)) {
        log.Log(LogFailure, L"Invalid hmd list format.");
        return false;
    }
    for (const JsonValue& device : root.Elements()) {
        FlattenDevice(device, batch, log, trace);
    }
    return true;
}

void FlattenHmdListItem(NameBuffer& prefix, const JsonValue& item, VariableBatch& batch, const HostLog& log,
                        FlattenTrace* trace) {
    const JsonValue* mainRequest = IntegerMember(item, L"MainRequest");
    const JsonValue* subRequest = IntegerMember(item, L"SubRequest");
    const JsonValue* index = IntegerMember(item, L"index");
    const JsonValue* value = item.Member(L"Value");
    if (!mainRequest || !subRequest || !index || !value) {
        LogInvalid(log, prefix);
        ReportSkipped(trace, item, Skipped::ResponseNumbers);
        return;
    }

    const size_t length = prefix.Length();
    for (const JsonValue* number : {mainRequest, subRequest, index}) {
        prefix.Append(L".");
        prefix.Append(Decimal(number->integer).View());
    }
    bool isTaken = true;
    if (value->Is(JsonKind::Array)) {
        FlattenArray(prefix, *value, batch, log, trace);
    } else {
        isTaken = AddScalar(prefix.View(), *value, batch, trace);
    }
    prefix.CutTo(length);
    if (!isTaken) {
        LogInvalid(log, prefix);
        ReportSkipped(trace, *value, Skipped::ResponseValue);
    }
}

} // namespace zq
