#include "config/SettingsFile.h"

#include "config/SettingsWalker.h"
#include "config/json/JsonReader.h"

namespace zq {

namespace {

constexpr uint8_t kSettingsObject = 2;
constexpr uint8_t kHeaderList = 3 | kJsonObjectsOnly;

} // namespace

uint8_t SettingsRoleOf(uint8_t parent, bool isObject, std::wstring_view key) {
    if (parent == kSettingsObject) {
        const bool isRead = isObject ? !key.empty() : IsHeaderListKey(key);
        return !isRead ? kJsonUnread : isObject ? kSettingsObject : kHeaderList;
    }
    return isObject ? kSettingsObject : kJsonUnread; // the root and the elements of a header list
}

void FlattenSettingsFile(const JsonValue& root, VariableBatch& batch, const HostLog& log, FlattenTrace* trace,
                         JsonLastReading* reading) {
    if (root.Is(JsonKind::Object)) {
        FlattenSettingsObject({}, root, batch, log, trace, reading);
    }
}

void FlattenSettingsObject(std::wstring_view prefix, const JsonValue& object, VariableBatch& batch,
                           const HostLog& log, FlattenTrace* trace, JsonLastReading* reading) {
    SettingsWalker(batch).Walk(prefix, object, log, trace, reading);
}

} // namespace zq
