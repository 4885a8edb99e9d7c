// Describes a variable by its name.
//
// Portable. From the JSON schemas; any thread may ask.
#pragma once

#include "check/SchemaRule.h"

#include <optional>
#include <string>
#include <string_view>

namespace zq {

struct KeyDescription {
    std::optional<ConfigFile> file; // that sets it; none where the module does
    std::wstring pattern;           // "CL.<HD>.Bitrate" for CL.MERIN5.Bitrate
    SchemaRule rule;                // type, range, unit, default, description
};

// Of a variable's full name, as the module has it: "Settings.CurrentBitrate", "CL.MERIN5.Display.Width",
// "CL.MERIN5.Ultra.Bitrate", "CL.MERIN5.3.0.0.ArraySize", "HmdNameList.0". Nothing for a name that no schema
// describes.
std::optional<KeyDescription> DescribeKey(std::wstring_view name);

} // namespace zq
