// One configuration file from bytes to assignments: decode, parse, test that the parse used up the whole
// file, flatten.
//
// Portable: the file itself is read by ConfigLoader.
#pragma once

#include "config/json/JsonValue.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace zq {

class FlattenTrace;
class HostLog;
class VariableBatch;

// A file's text and tree. The tree's texts point into `text`, so the object stays where it is.
struct ConfigText {
    ConfigText() = default;
    ConfigText(const ConfigText&) = delete;
    ConfigText& operator=(const ConfigText&) = delete;

    // Decodes and parses. Returns whether the file is accepted: the parse must have taken as many UTF-16
    // units as the file has bytes, so a mark, a character of several bytes or anything behind the end refuses
    // it.
    bool Read(std::string_view bytes);

    std::wstring text;
    JsonRoot root;
    int32_t parseResult = 0; // of ParseJsonValue
    int32_t fileLength = 0;  // in bytes
};

enum class ConfigFile { Settings, HmdList, Quality };

// Collects the variables of an accepted file. Returns false, with a message, when the root's kind makes the
// file unusable: only the headset list has such a rule.
bool FlattenConfig(ConfigFile file, const JsonValue& root, VariableBatch& batch, const HostLog& log,
                   FlattenTrace* trace = nullptr);

} // namespace zq
