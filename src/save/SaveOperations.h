// The saves: one value of one private file replaced, the rest kept, by reading, changing and writing the
// whole file.
//
// Any thread may call, callbacks of the host included: the file's mutex is held around the read, the change
// and the write, never while the host is called. The variables are not touched; they follow when the watcher
// reads the file again. A save that is not possible writes nothing; the result says why, and the interface
// drops it.
#pragma once

#include "save/DocumentEdit.h"

#include <cstdint>
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

SaveResult SaveSetting(const SaveTarget& target, const SettingName& setting, const ValueSetter& set);

SaveResult SaveHmdListValues(const SaveTarget& target, const std::wstring& deviceName,
                             const HmdRequest& request, std::span<const int64_t> values);

} // namespace zq
