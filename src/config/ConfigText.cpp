#include "config/ConfigText.h"

#include "config/FileText.h"
#include "config/FlattenTrace.h"
#include "config/Flatteners.h"
#include "config/json/JsonReader.h"
#include "base/HostLog.h"

namespace zq {

namespace {

void FlattenDevice(const JsonValue& device, VariableBatch& batch, const HostLog& log, FlattenTrace* trace) {
    const JsonValue* name = device.Member(L"DeviceName");
    const JsonValue* responses = device.Member(L"Response");
    if (!name || !name->Is(JsonKind::String) || !responses || !responses->Is(JsonKind::Array)) {
        TellSkipped(trace, device, Skipped::Device);
        return;
    }
    const std::wstring prefix = std::wstring(L"CL.").append(GetJsonString(*name));
    for (const JsonValue& item : responses->Elements()) {
        if (item.Is(JsonKind::Object)) {
            FlattenHmdListItem(prefix, item, batch, log, trace);
        } else {
            TellSkipped(trace, item, Skipped::Response);
        }
    }
}

bool FlattenHmdList(const JsonValue& root, VariableBatch& batch, const HostLog& log, FlattenTrace* trace) {
    if (!root.Is(JsonKind::Array)) {
        log.Log(LogFailure, L"Invalid hmd list format.");
        return false;
    }
    for (const JsonValue& device : root.Elements()) {
        FlattenDevice(device, batch, log, trace);
    }
    return true;
}

} // namespace

bool ConfigText::Read(std::string_view bytes) {
    FreeJsonValue(root);
    text = DecodeFile(bytes);
    fileLength = static_cast<int32_t>(bytes.size());
    parseResult = ParseJsonValue(root, text.data(), static_cast<int32_t>(text.size()));
    return parseResult >= 1 && parseResult == fileLength;
}

bool FlattenConfig(ConfigFile file, const JsonValue& root, VariableBatch& batch, const HostLog& log,
                   FlattenTrace* trace) {
    if (file == ConfigFile::HmdList) {
        return FlattenHmdList(root, batch, log, trace);
    }
    if (root.Is(JsonKind::Object)) {
        const auto flatten = file == ConfigFile::Settings ? FlattenSettingsObject : FlattenQualityObject;
        flatten({}, root, batch, log, trace);
    }
    return true;
}

} // namespace zq
