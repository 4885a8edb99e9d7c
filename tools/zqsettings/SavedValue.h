// A value as it is given on the command line, of the type that the member to be saved has.
#pragma once

#include "SettingsDocument.h"

#include "save/DocumentEdit.h"

#include <string>
#include <variant>

namespace zq::tool {

using SavedValue = std::variant<bool, int64_t, double, std::string>;

// `type` is "bool", "integer", "double" or "string". Raises Failure for a text that is no value of its type.
SavedValue ParseSavedValue(const std::string& text, const std::string& type);

// Takes the type of the member; a fraction in place of a whole number where `isFraction`. Raises Failure for
// a text that is no value of that type, and for a member that is no scalar.
SavedValue ParseSavedValueFor(const std::string& name, const SettingMember& member, const std::string& text,
                              bool isFraction);

// What puts the value into a member. `value` must outlive it.
ValueSetter SetterOf(const SavedValue& value);

} // namespace zq::tool
