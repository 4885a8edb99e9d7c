// The saves: each replaces one value in one private file and keeps the rest, by reading, changing and writing
// the whole file.
//
// Any thread may call, callbacks of the host included. From the read to the end of the write the file stays
// open without write sharing and its mutex is held, so two saves, even of different processes, cannot lose
// each other's change. If another program holds the file, a save retries for half a second; the mutex is free
// during the pauses. The host is called with no lock held. The variables are not touched: they follow when
// the watcher reads the file again. A save that is not possible writes nothing; the result says why, and the
// interface drops it.
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

// Reads a file as a document, in the way that a save does. Returns 0 and the document; 1 if the file cannot
// be read or has fewer than 4 bytes; else the library's parse error code.
int32_t LoadJsonDoc(const std::wstring& path, std::unique_ptr<EditableDocument>& document);

// A save is on the disk when the call returns. A file that is a link out of its folder is not written.
SaveResult SaveSetting(const SaveTarget& target, const SettingName& setting, const ValueSetter& set);

SaveResult SaveHmdListValues(const SaveTarget& target, const std::wstring& deviceName,
                             const HmdRequest& request, std::span<const int64_t> values);

} // namespace zq
