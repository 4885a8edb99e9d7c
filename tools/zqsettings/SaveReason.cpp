#include "SaveReason.h"

#include "Text.h"

#include "check/NearestName.h"
#include "check/SourceText.h"
#include "save/JsonDocument.h"

#include <rapidjson/error/en.h>

#include <vector>

namespace zq::tool {

namespace {

// The module's own reader is more lenient than the library that saves.
std::string UnreadableText(const PrivateFile& file) {
    EditableDocument document;
    ParseDocument(document, file.bytes);
    const std::string shown = Utf8FromPath(file.path);
    if (!document.HasParseError()) {
        return shown + " has a root of the wrong kind";
    }
    const SourceText source(file.bytes);
    const TextPosition position = source.PositionOf(static_cast<int32_t>(document.GetErrorOffset()));
    std::string reason = rapidjson::GetParseError_En(document.GetParseError());
    reason.erase(reason.find_last_not_of('.') + 1);
    return shown + ':' + std::to_string(position.line) + ':' + std::to_string(position.column) +
           ": the module reads this, but a save needs strict JSON (" + reason + ")";
}

std::string NearestDevice(const PrivateFile& file, const std::string& name) {
    EditableDocument document;
    ParseDocument(document, file.bytes);
    std::vector<std::wstring> devices;
    if (document.IsArray()) {
        for (const EditableValue& device : document.GetArray()) {
            if (device.IsObject() && device.HasMember("DeviceName") && device["DeviceName"].IsString()) {
                devices.push_back(WideFromUtf8(device["DeviceName"].GetString()));
            }
        }
    }
    const std::vector<std::wstring> nearest = NearestNames(WideFromUtf8(name), devices, 1);
    return nearest.empty() ? "" : "; did you mean " + Utf8FromWide(nearest.front()) + "?";
}

} // namespace

std::string ReasonText(SaveResult result, const PrivateFile& file, const std::string& what) {
    switch (result) {
    case SaveResult::FileUnreadable:
        return UnreadableText(file);
    case SaveResult::NoSuchMember:
        return Utf8FromPath(file.path) + " has no member " + what + ", and a save makes none";
    case SaveResult::NoSuchDevice:
        return Utf8FromPath(file.path) + " has no device " + what + NearestDevice(file, what);
    case SaveResult::NoSuchRequest:
        return "the device " + what + " has no response with these numbers";
    case SaveResult::TooFewValues:
        return "the response's \"Value\" has fewer values than were given";
    case SaveResult::NotWritable:
        return Utf8FromPath(file.path) + " would have a form that the module does not read";
    default:
        return Utf8FromPath(file.path) + " cannot be written; it is read-only, or another program holds it";
    }
}

ExitCode ExitCodeOf(SaveResult result) {
    const bool isAnswer = result == SaveResult::NoSuchMember || result == SaveResult::NoSuchDevice ||
                          result == SaveResult::NoSuchRequest || result == SaveResult::TooFewValues ||
                          result == SaveResult::FileUnreadable || result == SaveResult::NotWritable;
    return isAnswer ? ExitCode::No : ExitCode::Cannot;
}

} // namespace zq::tool
