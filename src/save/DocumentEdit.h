// Replaces one value of a document in place. Every document gives a result: one with an unsuitable shape is
// not changed.
//
// Portable: no file, no log. If a member occurs more than once in its object, the path through the document
// takes the last one, which is the one that the module's reader keeps; a new value is given to all of them.
#pragma once

#include "save/RapidJson.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string_view>

namespace zq {

enum class SaveResult {
    Saved,
    FileUnreadable, // missing, too short or not parseable
    NoSuchMember,   // the member is not there
    NoSuchDevice,   // no headset of that name, or none at the index in use
    NoSuchRequest,  // no response with these numbers
    TooFewValues,   // the response holds fewer values than were given
    NotWritable,    // the document is too deep
    CannotWrite     // the file could not be opened for writing, or not be written
};

// Gives a value its new type and content.
using ValueSetter = std::function<void(EditableValue&)>;

// Sets the member `name` of the root; dots are part of the name.
SaveResult EditRootMember(EditableDocument& document, std::string_view name, const ValueSetter& set);

// Sets a member of the headset in use. If the root has "CL", this is the member of the object at
// `deviceIndex` whose name is the third component of `name`, and without an index there is no device. If it
// has no "CL", same as EditRootMember.
SaveResult EditDeviceMember(EditableDocument& document, std::string_view name,
                            std::optional<int64_t> deviceIndex, const ValueSetter& set);

// Selects a response of a headset; a negative number matches any.
struct HmdRequest {
    int32_t mainRequest;
    int32_t subRequest;
    int32_t index;
};

// Overwrites the first values of the first matching response of the first headset with that "DeviceName".
SaveResult EditHmdList(EditableDocument& document, std::string_view deviceName, const HmdRequest& request,
                       std::span<const int64_t> values);

// The maximum depth of a document that is written, since the writer recurses once for each level. No settings
// file comes near it.
inline constexpr size_t kDeepestWritable = 256;

bool IsWritable(const EditableDocument& document);

} // namespace zq
