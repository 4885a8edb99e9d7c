// Whether a value that somebody wants to save is one: of the type that the member has, inside its range,
// ASCII, and for a member that a save reaches.
#pragma once

#include "SavedValue.h"
#include "SettingsDocument.h"
#include "VariableListing.h"

#include <optional>
#include <string>
#include <vector>

namespace zq::tool {

struct SettingRequest {
    std::string name;
    std::string text;
    std::string type; // empty for the member's own
    bool isPerDevice;
    bool isForced;
    std::optional<int64_t> headset; // "DHI"
};

// The value to save. Raises Failure with one sentence, and with the way to insist where there is one.
SavedValue RequireSensible(const SettingsDocument& document, const SettingRequest& request);

// The variable "DHI".
std::optional<int64_t> HeadsetIndex(const std::vector<Variable>& variables);

} // namespace zq::tool
