#include "config/FlattenScalar.h"
#include "config/FlattenTrace.h"
#include "config/Flatteners.h"
#include "base/HostLog.h"

#include <string>

namespace zq {

namespace {

void LogInvalid(const HostLog& log, const std::wstring& name) {
    log.Log(LogFailure, L"Invalid hmd list item : %s", name.c_str());
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
    TellAdded(trace, array);
    int32_t index = 0;
    for (const JsonValue& element : array.Elements()) {
        name.CutTo(length);
        name.AppendKey(std::to_wstring(index++));
        if (!AddScalar(name.View(), element, batch, trace)) {
            LogInvalid(log, name.String());
            TellSkipped(trace, element, Skipped::ResponseValue);
        }
    }
}

} // namespace

void FlattenHmdListItem(std::wstring_view prefix, const JsonValue& item, VariableBatch& batch,
                        const HostLog& log, FlattenTrace* trace) {
    const JsonValue* mainRequest = IntegerMember(item, L"MainRequest");
    const JsonValue* subRequest = IntegerMember(item, L"SubRequest");
    const JsonValue* index = IntegerMember(item, L"index");
    const JsonValue* value = item.Member(L"Value");
    if (!mainRequest || !subRequest || !index || !value) {
        LogInvalid(log, std::wstring(prefix));
        TellSkipped(trace, item, Skipped::ResponseNumbers);
        return;
    }

    NameBuffer name(prefix);
    for (const JsonValue* number : {mainRequest, subRequest, index}) {
        name.Append(L".");
        name.Append(std::to_wstring(number->integer));
    }
    if (value->Is(JsonKind::Array)) {
        FlattenArray(name, *value, batch, log, trace);
    } else if (!AddScalar(name.View(), *value, batch, trace)) {
        LogInvalid(log, std::wstring(prefix));
        TellSkipped(trace, *value, Skipped::ResponseValue);
    }
}

} // namespace zq
