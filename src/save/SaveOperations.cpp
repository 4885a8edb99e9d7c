#include "save/SaveOperations.h"

#include "base/HostLog.h"
#include "platform/EditableFile.h"
#include "platform/Files.h"
#include "platform/Mutex.h"
#include "save/JsonDocument.h"
#include "save/NarrowName.h"

#include <vector>

#include <windows.h>

namespace zq {

namespace {

constexpr ULONGLONG kSaveHeldMilliseconds = 500;
constexpr DWORD kSavePauseMilliseconds = 10;

using Bytes = std::vector<char>;
using Edit = std::function<SaveResult(EditableDocument&)>;

std::string_view ViewOf(const Bytes& bytes) { return {bytes.data(), bytes.size()}; }

// Parses, edits, and returns the new text.
SaveResult EditText(const Bytes& bytes, const Edit& edit, DocumentBuffer& text) {
    std::unique_ptr<EditableDocument> document;
    ParseJsonDoc(ViewOf(bytes), document);
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
    WriteJsonDoc(*document, text);
    return SaveResult::Saved;
}

// All memory is allocated before the first byte is written, so running out leaves the file as it is.
SaveResult RewriteOpenFile(const EditableFile& file, const Edit& edit) {
    Bytes bytes;
    if (file.Read(bytes) != 0) {
        return SaveResult::FileUnreadable;
    }
    DocumentBuffer text;
    const SaveResult result = EditText(bytes, edit, text);
    if (result != SaveResult::Saved) {
        return result;
    }
    return file.Overwrite(ViewOf(bytes), {text.GetString(), text.GetSize()}) == 0 ? SaveResult::Saved
                                                                                  : SaveResult::CannotWrite;
}

// For a file that must not or cannot be written: reports a save that would otherwise succeed as not written.
SaveResult TryOnReadOnlyFile(const std::wstring& path, const Edit& edit) {
    DocumentBuffer text;
    const SaveResult result = EditText(ReadSnapshot(path).bytes, edit, text);
    return result == SaveResult::Saved ? SaveResult::CannotWrite : result;
}

// Returns nothing if another program holds the file and there is time to wait for it.
std::optional<SaveResult> TryRewrite(const SaveTarget& target, const Edit& edit, bool isLastTry) {
    MutexLock lock(target.fileMutex);
    const EditableFile file(target.path);
    if (file.Access() == FileAccess::Read) {
        return RewriteOpenFile(file, edit);
    }
    if (file.Access() == FileAccess::Held && !isLastTry) {
        return std::nullopt;
    }
    return TryOnReadOnlyFile(target.path, edit);
}

SaveResult Rewrite(const SaveTarget& target, const Edit& edit) {
    const ULONGLONG start = GetTickCount64();
    std::optional<SaveResult> result;
    while (!(result = TryRewrite(target, edit, GetTickCount64() - start >= kSaveHeldMilliseconds))) {
        Sleep(kSavePauseMilliseconds);
    }
    if (*result == SaveResult::Saved || *result == SaveResult::CannotWrite) {
        target.log.Log(LogProgress, L"[ModSetting] SaveJsonDoc() done, ret code :%d,file:%s",
                       *result == SaveResult::Saved ? 0 : 1, target.path.c_str());
    }
    return *result;
}

} // namespace

int32_t LoadJsonDoc(const std::wstring& path, std::unique_ptr<EditableDocument>& document) {
    return ParseJsonDoc(ViewOf(ReadSnapshot(path).bytes), document);
}

SaveResult SaveSetting(const SaveTarget& target, const SettingName& setting, const ValueSetter& set) {
    return Rewrite(target, [&](EditableDocument& document) {
        const std::string name = NarrowName(setting.name);
        return setting.isPerDevice ? EditDeviceMember(document, name, setting.deviceIndex, set)
                                   : EditRootMember(document, name, set);
    });
}

SaveResult SaveHmdListValues(const SaveTarget& target, const std::wstring& deviceName,
                             const HmdRequest& request, std::span<const int64_t> values) {
    const SaveResult result = Rewrite(target, [&](EditableDocument& document) {
        return EditHmdList(document, NarrowName(deviceName), request, values);
    });
    if (result == SaveResult::NoSuchDevice) {
        target.log.Log(LogProgress, L"SaveConfigHmdListIntArray() No HmdList condfig for HMD %s",
                       deviceName.c_str());
    }
    return result;
}

} // namespace zq
