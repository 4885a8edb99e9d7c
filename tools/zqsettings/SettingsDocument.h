// The settings file as a save finds it: which members it can reach, of which type they are, and where they
// are.
#pragma once

#include "config/json/JsonValue.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zq {
class FileCheck;
struct DocumentNode;
} // namespace zq

namespace zq::tool {

struct SettingMember {
    JsonKind kind;
    int32_t line;
    std::string text; // its value as the file has it
};

// An object that holds a member.
struct EnclosingObject {
    std::string key;
    int32_t line;
};

class SettingsDocument {
public:
    // `bytes` are those of an accepted file.
    explicit SettingsDocument(std::string_view bytes);
    ~SettingsDocument();
    SettingsDocument(const SettingsDocument&) = delete;
    SettingsDocument& operator=(const SettingsDocument&) = delete;

    std::optional<SettingMember> RootMember(std::wstring_view name) const;
    // The object in which a dotted name is, for a name that no member of the root has.
    std::optional<EnclosingObject> ObjectAround(std::wstring_view name) const;
    std::vector<std::wstring> RootNames() const;

    // The entries of "CL", the list of headsets.
    size_t Headsets() const;
    // "HD" of the entry; empty where it has none.
    std::wstring HeadsetName(size_t index) const;
    std::optional<SettingMember> HeadsetMember(size_t index, std::wstring_view key) const;
    // The names of the entry's members as variables, "CL.MERIN5.Bitrate".
    std::vector<std::wstring> HeadsetNames(size_t index) const;

private:
    const DocumentNode* Root() const;
    const DocumentNode* Child(const DocumentNode* object, std::wstring_view key) const;
    const DocumentNode* Headset(size_t index) const;
    std::optional<SettingMember> MemberOf(const DocumentNode* node) const;
    std::wstring TextOf(const DocumentNode& node) const;

    std::unique_ptr<FileCheck> m_check;
};

} // namespace zq::tool
