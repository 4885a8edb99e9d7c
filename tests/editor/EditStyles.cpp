#include "EditStyles.h"

#include "FileSteps.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>

namespace zq::test {

namespace {

constexpr size_t kPiece = 1500;

std::string_view Half(std::string_view bytes) { return bytes.substr(0, bytes.size() / 2); }

void WritePieces(const EditTarget& target, std::string_view bytes, DWORD disposition) {
    const HANDLE file = Open(target.file, disposition);
    for (size_t offset = 0; offset < bytes.size(); offset += kPiece) {
        Put(file, bytes.substr(offset, kPiece));
        target.WaitRandomly();
    }
    SetEndOfFile(file);
    CloseHandle(file);
}

std::wstring Beside(const std::wstring& file, const wchar_t* name) {
    return file.substr(0, file.rfind(L'\\') + 1) + name;
}

void Rewrite(const EditTarget& target, int edit) { Write(target.file, Content(edit)); }

void Rename(const EditTarget& target, int edit) {
    Write(target.outside, Content(edit));
    Move(target.outside, target.file);
}

void RenameInTheFolder(const EditTarget& target, int edit) {
    const std::wstring fresh = target.file + L".new";
    Write(fresh, Content(edit));
    target.WaitRandomly();
    Move(fresh, target.file);
}

void TruncateAndWait(const EditTarget& target, int edit) {
    const HANDLE file = Open(target.file, CREATE_ALWAYS);
    target.WaitRandomly();
    Put(file, Content(edit));
    CloseHandle(file);
}

void InPieces(const EditTarget& target, int edit) { WritePieces(target, Content(edit), CREATE_ALWAYS); }

void OverwriteByLonger(const EditTarget& target, int edit) {
    WritePieces(target, Content(edit, 4000 + static_cast<size_t>(edit)), OPEN_EXISTING);
}

void OverwriteByShorter(const EditTarget& target, int edit) {
    WritePieces(target, Content(edit, 4000 - static_cast<size_t>(edit)), OPEN_EXISTING);
}

void OpenForEachPiece(const EditTarget& target, int edit) {
    const std::string content = Content(edit);
    Write(target.file, "");
    for (size_t offset = 0; offset < content.size(); offset += kPiece) {
        target.WaitRandomly();
        Append(target.file, std::string_view(content).substr(offset, kPiece));
    }
}

void ByteByByte(const EditTarget& target, int edit) {
    const std::string content = Content(edit, 40);
    const HANDLE file = Open(target.file, CREATE_ALWAYS);
    for (const char& byte : content) {
        Put(file, {&byte, 1});
        if (&byte == &content[content.size() / 2]) {
            target.WaitWhole();
        }
    }
    CloseHandle(file);
}

void WriteTwice(const EditTarget& target, int edit) {
    Write(target.file, Content(-edit));
    target.WaitWhole();
    Write(target.file, Content(edit));
}

void DeleteAndCreate(const EditTarget& target, int edit) {
    Delete(target.file);
    target.WaitRandomly();
    Write(target.file, Content(edit));
}

void MoveAwayAndRename(const EditTarget& target, int edit) {
    Write(target.outside, Content(edit));
    Move(target.file, target.file + L".bak");
    target.WaitRandomly();
    MoveNew(target.outside, target.file);
}

void Mapped(const EditTarget& target, int edit) {
    const std::string content = Content(edit);
    const HANDLE file = Open(target.file, CREATE_ALWAYS);
    const HANDLE mapping =
        CreateFileMappingW(file, nullptr, PAGE_READWRITE, 0, static_cast<DWORD>(content.size()), nullptr);
    void* const view = MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, 0);
    target.WaitRandomly();
    std::memcpy(view, content.data(), content.size());
    FlushViewOfFile(view, 0);
    UnmapViewOfFile(view);
    CloseHandle(mapping);
    CloseHandle(file);
}

void RefusedAndThenWhole(const EditTarget& target, int edit) {
    Write(target.file, Content(edit) + "\n\n");
    target.WaitRandomly();
    Write(target.file, Content(edit));
}

void ZerosAndThenWhole(const EditTarget& target, int edit) {
    Write(target.file, std::string(4000, '\0'));
    target.WaitRandomly();
    Write(target.file, Content(edit));
}

// As a program that crashes half-way and is started again.
void HalfAndThenAgain(const EditTarget& target, int edit) {
    Write(target.file, Half(Content(edit)));
    target.WaitRandomly();
    Write(target.file, Content(edit));
}

void KeptOpenUnfinished(const EditTarget& target, int edit) {
    const std::string content = Content(edit);
    const HANDLE file = Open(target.file, CREATE_ALWAYS);
    Put(file, Half(content));
    target.WaitWhole();
    Put(file, std::string_view(content).substr(Half(content).size()));
    CloseHandle(file);
}

void KeptOpenComplete(const EditTarget& target, int edit) {
    const HANDLE file = Open(target.file, CREATE_ALWAYS);
    Put(file, Content(edit));
    target.WaitWhole();
    CloseHandle(file);
}

// A scanner has the new file before the watcher: opened with `share`, then renamed in.
void RenameHeld(const EditTarget& target, int edit, DWORD share) {
    Write(target.outside, Content(edit));
    const HANDLE scanner =
        CreateFileW(target.outside.c_str(), GENERIC_READ, share, nullptr, OPEN_EXISTING, 0, nullptr);
    Move(target.outside, target.file);
    target.WaitWhole();
    CloseHandle(scanner);
}

void HeldUnshared(const EditTarget& target, int edit) { RenameHeld(target, edit, FILE_SHARE_DELETE); }

void HeldForReading(const EditTarget& target, int edit) {
    RenameHeld(target, edit, FILE_SHARE_READ | FILE_SHARE_DELETE);
}

void Locked(const EditTarget& target, int edit) {
    Write(target.outside, Content(edit));
    const HANDLE file =
        Open(target.outside, OPEN_EXISTING, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE);
    OVERLAPPED start{};
    LockFileEx(file, LOCKFILE_EXCLUSIVE_LOCK, 0, MAXDWORD, 0, &start);
    Move(target.outside, target.file);
    target.WaitWhole();
    CloseHandle(file);
}

void ReadOnlyForAWhile(const EditTarget& target, int edit) {
    Write(target.file, Content(edit));
    SetFileAttributesW(target.file.c_str(), FILE_ATTRIBUTE_READONLY);
    target.WaitWhole();
    SetFileAttributesW(target.file.c_str(), FILE_ATTRIBUTE_NORMAL);
}

void FolderForAWhile(const EditTarget& target, int edit) {
    Delete(target.file);
    CreateDirectoryW(target.file.c_str(), nullptr);
    target.WaitRandomly();
    RemoveDirectoryW(target.file.c_str());
    Write(target.file, Content(edit));
}

void AllThreeDeleted(const EditTarget& target, int edit) {
    const std::wstring headsets = Beside(target.file, L"ZQ2_HmdList.json");
    const std::wstring presets = Beside(target.file, L"ZQ2_QualityPreset.json");
    const std::string oldHeadsets = Read(headsets);
    const std::string oldPresets = Read(presets);
    for (const std::wstring& file : {target.file, headsets, presets}) {
        Delete(file);
    }
    target.WaitRandomly();
    Write(presets, oldPresets);
    Write(headsets, oldHeadsets);
    Write(target.file, Content(edit));
}

void TwoFilesAtOnce(const EditTarget& target, int edit) {
    const std::string settings = Content(edit);
    const std::string presets = R"({"Quality":)" + std::to_string(edit) + "}";
    const HANDLE first = Open(target.file, CREATE_ALWAYS);
    const HANDLE second = Open(Beside(target.file, L"ZQ2_QualityPreset.json"), CREATE_ALWAYS);
    Put(first, Half(settings));
    Put(second, Half(presets));
    target.WaitRandomly();
    Put(first, std::string_view(settings).substr(Half(settings).size()));
    Put(second, std::string_view(presets).substr(Half(presets).size()));
    CloseHandle(first);
    CloseHandle(second);
}

// Others write into the folder all the time.
void AmongOtherFiles(const EditTarget& target, int edit) {
    for (int i = 0; i < 20; ++i) {
        const std::wstring other = Beside(target.file, (L"other-" + std::to_wstring(i) + L".tmp").c_str());
        Write(other, "x");
        Delete(other);
    }
    target.WaitRandomly();
    Write(target.file, Content(edit));
}

void Scan(const EditTarget& target, int /*edit*/) {
    const HANDLE held = CreateFileW(target.file.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    target.WaitRandomly();
    if (held != INVALID_HANDLE_VALUE) {
        CloseHandle(held);
    }
}

// Ends the process with 3 half-way.
void Die(const EditTarget& target, int edit) {
    const HANDLE file = Open(target.file, CREATE_ALWAYS);
    Put(file, Half(Content(edit)));
    TerminateProcess(GetCurrentProcess(), 3);
}

struct NamedStyle {
    std::wstring_view name;
    EditStyle style;
};

constexpr NamedStyle kStyles[] = {
    {L"rewrite", Rewrite},
    {L"rename", Rename},
    {L"rename-inside", RenameInTheFolder},
    {L"slow", TruncateAndWait},
    {L"pieces", InPieces},
    {L"overlong", OverwriteByLonger},
    {L"overshort", OverwriteByShorter},
    {L"opens", OpenForEachPiece},
    {L"bytes", ByteByByte},
    {L"twice", WriteTwice},
    {L"recreate", DeleteAndCreate},
    {L"backup", MoveAwayAndRename},
    {L"mapped", Mapped},
    {L"refused", RefusedAndThenWhole},
    {L"zeros", ZerosAndThenWhole},
    {L"half", HalfAndThenAgain},
    {L"unfinished", KeptOpenUnfinished},
    {L"complete", KeptOpenComplete},
    {L"held", HeldUnshared},
    {L"read", HeldForReading},
    {L"locked", Locked},
    {L"read-only", ReadOnlyForAWhile},
    {L"folder", FolderForAWhile},
    {L"three", AllThreeDeleted},
    {L"two", TwoFilesAtOnce},
    {L"others", AmongOtherFiles},
    {L"scan", Scan},
    {L"die", Die},
};

} // namespace

EditStyle FindEditStyle(std::wstring_view name) {
    const auto* const found = std::find_if(std::begin(kStyles), std::end(kStyles),
                                           [name](const NamedStyle& style) { return style.name == name; });
    return found == std::end(kStyles) ? nullptr : found->style;
}

} // namespace zq::test
