// One value of a document replaced in place. Whatever the document holds, the answer is a result: a shape
// that cannot be used changes nothing.
//
// Portable: no file, no log. Where a member occurs more than once in its object, the way through the document
// takes the last one, which is the one that the module's reader keeps; a value is given to all of them.
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

// Sets the member `name` of the root, points included.
SaveResult EditRootMember(EditableDocument& document, std::string_view name, const ValueSetter& set);

// Sets a member of the headset in use: with "CL" at the root, the member that the third component of `name`
// names, of the object at `deviceIndex`; without "CL", as EditRootMember. No index is no device.
SaveResult EditDeviceMember(EditableDocument& document, std::string_view name,
                            std::optional<int64_t> deviceIndex, const ValueSetter& set);

// Which response of a headset: a negative number is not looked at.
struct HmdRequest {
    int32_t mainRequest;
    int32_t subRequest;
    int32_t index;
};

// Overwrites the first values of the first response that matches, of the first headset with that
// "DeviceName".
SaveResult EditHmdList(EditableDocument& document, std::string_view deviceName, const HmdRequest& request,
                       std::span<const int64_t> values);

// How deep a document may be that is written: the writer recurses once a level. No file of settings comes
// near it.
inline constexpr size_t kDeepestWritable = 256;

bool IsWritable(const EditableDocument& document);

} // namespace zq
