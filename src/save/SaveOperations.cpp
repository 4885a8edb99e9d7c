#include "save/SaveOperations.h"

#include "base/HostLog.h"
#include "platform/Mutex.h"
#include "save/JsonDocument.h"
#include "save/NarrowName.h"

#include <memory>

namespace zq {

namespace {

// Runs `edit` on the file's document and writes it back if the edit succeeded.
template <class Edit>
SaveResult Rewrite(const SaveTarget& target, Edit edit) {
    MutexLock lock(target.fileMutex);
    std::unique_ptr<EditableDocument> document;
    LoadJsonDoc(target.path, document);
    if (!document) {
        return SaveResult::FileUnreadable;
    }
    const SaveResult result = edit(*document);
    if (result != SaveResult::Saved) {
        return result;
    }
    if (!IsWritable(*document)) {
        return SaveResult::NotWritable;
    }
    return SaveJsonDoc(target.path, *document, target.log, lock) == 0 ? SaveResult::Saved
                                                                      : SaveResult::CannotOpen;
}

} // namespace

SaveResult SaveSetting(const SaveTarget& target, const SettingName& setting, const ValueSetter& set) {
    return Rewrite(target, [&](EditableDocument& document) {
        const std::optional<std::string> name = NarrowName(setting.name);
        if (!name) {
            return SaveResult::NoSuchMember;
        }
        return setting.isPerDevice ? EditDeviceMember(document, *name, setting.deviceIndex, set)
                                   : EditRootMember(document, *name, set);
    });
}

SaveResult SaveHmdListValues(const SaveTarget& target, const std::wstring& deviceName,
                             const HmdRequest& request, std::span<const int64_t> values) {
    const SaveResult result = Rewrite(target, [&](EditableDocument& document) {
        const std::optional<std::string> name = NarrowName(deviceName);
        return name ? EditHmdList(document, *name, request, values) : SaveResult::NoSuchDevice;
    });
    if (result == SaveResult::NoSuchDevice) {
        target.log.Log(LogProgress, L"SaveConfigHmdListIntArray() No HmdList condfig for HMD %s",
                       deviceName.c_str());
    }
    return result;
}

} // namespace zq
