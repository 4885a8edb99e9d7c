// The saves: one value of one private file replaced, the rest kept, by reading, changing and writing the
// whole file.
//
// Any thread may call, callbacks of the host included. The file stays open without write sharing, and its
// mutex is held, from the read to the end of the write: two saves, of this process or of others, cannot lose
// each other's change. Where another program holds the file, a save tries again for half a second; the mutex
// is free during the pauses. The host is called with no lock held. The variables are not touched: they follow
// when the watcher reads the file again. A save that is not possible writes nothing; the result says why, and
// the interface drops it.
#pragma once

#include "save/DocumentEdit.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace zq {

class HostLog;
class Mutex;

// The file that a save works on.
struct SaveTarget {
    const std::wstring& path;
    const Mutex& fileMutex;
    const HostLog& log;
};

struct SettingName {
    std::wstring_view name;
    bool isPerDevice;
    std::optional<int64_t> deviceIndex; // "DHI", for isPerDevice
};

// Reads a file as a document, as a save would find it. Returns 0 and hands out the document; 1 when the file
// cannot be read or has fewer than 4 bytes; else the library's parse error code.
int32_t LoadJsonDoc(const std::wstring& path, std::unique_ptr<EditableDocument>& document);

// What is saved is on the disk when these return. A file that is a link out of its folder is not written.
SaveResult SaveSetting(const SaveTarget& target, const SettingName& setting, const ValueSetter& set);

SaveResult SaveHmdListValues(const SaveTarget& target, const std::wstring& deviceName,
                             const HmdRequest& request, std::span<const int64_t> values);

} // namespace zq
