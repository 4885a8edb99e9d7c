#include "module/files/FolderNotice.h"

#include "base/AsciiCase.h"
#include "config/ConfigFile.h"
#include "platform/TemporaryName.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include <windows.h>

namespace zq {

namespace {

struct Record {
    DWORD action;
    std::wstring_view name;
};

std::vector<Record> ReadRecords(std::span<const std::byte> bytes) {
    constexpr size_t kNameOffset = offsetof(FILE_NOTIFY_INFORMATION, FileName);
    std::vector<Record> records;
    while (bytes.size() >= kNameOffset) {
        FILE_NOTIFY_INFORMATION header;
        std::memcpy(&header, bytes.data(), kNameOffset);
        const size_t nameBytes = std::min<size_t>(header.FileNameLength, bytes.size() - kNameOffset);
        records.push_back(
            {header.Action,
             {reinterpret_cast<const wchar_t*>(bytes.data() + kNameOffset), nameBytes / sizeof(wchar_t)}});
        if (header.NextEntryOffset == 0 || header.NextEntryOffset > bytes.size() ||
            header.NextEntryOffset % alignof(wchar_t) != 0) {
            break;
        }
        bytes = bytes.subspan(header.NextEntryOffset);
    }
    return records;
}

bool IsPassedOver(const Record& record) {
    return IsTemporaryName(record.name) || EqualsIgnoringAsciiCase(record.name, L"rejected") ||
           EqualsIgnoringAsciiCase(record.name, L"kept");
}

// Returns the name that the file of the first record has after the renames that follow.
std::wstring_view LastNameOf(std::span<const Record> records) {
    std::wstring_view name = records.front().name;
    bool isRenamed = false;
    for (const Record& record : records) {
        if (record.action == FILE_ACTION_RENAMED_OLD_NAME) {
            isRenamed = EqualsIgnoringAsciiCase(record.name, name);
        } else if (record.action == FILE_ACTION_RENAMED_NEW_NAME && isRenamed) {
            name = record.name;
            isRenamed = false;
        }
    }
    return name;
}

} // namespace

bool IsConfigFileName(std::wstring_view name) {
    return std::any_of(kConfigFiles.begin(), kConfigFiles.end(), [name](ConfigFile file) {
        return EqualsIgnoringAsciiCase(name, NameOfConfigFile(file));
    });
}

NamedFiles FilesNamedIn(std::span<const std::byte> bytes) {
    NamedFiles named{};
    for (const Record& record : ReadRecords(bytes)) {
        for (const ConfigFile file : kConfigFiles) {
            const bool isNamed = EqualsIgnoringAsciiCase(record.name, NameOfConfigFile(file));
            named[static_cast<size_t>(file)] = named[static_cast<size_t>(file)] || isNamed;
        }
    }
    return named;
}

bool IsAboutConfigFile(std::span<const std::byte> bytes) {
    const std::vector<Record> records = ReadRecords(bytes);
    const auto first = std::find_if_not(records.begin(), records.end(), IsPassedOver);
    if (first == records.end()) {
        return false;
    }
    return IsConfigFileName(first->name) || IsConfigFileName(LastNameOf({first, records.end()}));
}

} // namespace zq
