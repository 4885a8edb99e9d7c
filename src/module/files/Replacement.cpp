#include "module/files/Replacement.h"

#include "module/files/KeptCopies.h"
#include "platform/Files.h"

namespace zq {

namespace {

ReplacementResult ResultOf(uint32_t error) {
    if (error == 0) {
        return {};
    }
    return {IsHeldError(error) ? Replacement::Held : Replacement::Failed, error};
}

// A file that could not be read must fail for the same reason; a file that was read must have the same bytes.
bool IsStill(const FileSnapshot& expected, const FileSnapshot& now) {
    return expected.access == now.access && expected.bytes == now.bytes &&
           (expected.access == FileAccess::Missing || expected.error == now.error);
}

// Moves the refused file to "rejected", or, without that folder, replaces it.
uint32_t Exchange(const std::wstring& path, const std::wstring& copy) {
    if (!IsLinkElsewhere(path)) {
        const std::wstring kept = MoveToRejected(path);
        if (!kept.empty()) {
            const uint32_t error = RenameFile(copy, path, Replacing::No);
            if (error != 0) {
                RenameFile(kept, path, Replacing::No);
            }
            return error;
        }
    }
    return RenameFile(copy, path, Replacing::Yes);
}

// The path does not exist or is a dangling link.
uint32_t FillGap(const std::wstring& path, const std::wstring& copy) {
    const uint32_t error = RenameFile(copy, path, Replacing::No);
    return error != 0 && !FileExists(path) ? RenameFile(copy, path, Replacing::Yes) : error;
}

} // namespace

ReplacementResult ReplaceByDefault(const PrivateFile& file, const FileLook& expected) {
    const std::wstring& path = file.Path();
    const bool isMissing = expected.verdict == FileVerdict::Missing;
    MutexLock lock(file.GetMutex());
    const FileSnapshot now = ReadSnapshot(path);
    if (now.access == FileAccess::Held || (!isMissing && IsOpenForWriting(path))) {
        return {Replacement::Held, now.error};
    }
    if (!IsStill(expected.config.file, now)) {
        return {Replacement::Overtaken, 0};
    }
    const std::wstring copy = TemporaryPath(path);
    if (const uint32_t error = CopyToNewFile(file.DefaultPath(), copy)) {
        return ResultOf(error);
    }
    const uint32_t error = isMissing ? FillGap(path, copy) : Exchange(path, copy);
    if (error != 0) {
        DeletePath(copy);
    }
    return isMissing && error != 0 && FileExists(path) ? ReplacementResult{Replacement::Overtaken, 0}
                                                       : ResultOf(error);
}

void RaiseReplacementError(const PrivateFile& file, uint32_t error) {
    RaiseFileError("cannot replace a private configuration file by its default", file.DefaultPath(),
                   file.Path(), error);
}

} // namespace zq
