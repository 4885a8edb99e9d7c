#include "config/ConfigText.h"

#include "base/Text.h"
#include "config/HeadsetListFile.h"
#include "config/QualityPresetFile.h"
#include "config/SettingsFile.h"
#include "config/json/JsonReader.h"

namespace zq {

namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

JsonRoleOf RoleOf(ConfigFile file) {
    switch (file) {
    case ConfigFile::Settings:
        return SettingsRoleOf;
    case ConfigFile::HmdList:
        return HeadsetListRoleOf;
    default:
        return QualityRoleOf;
    }
}

// The characters of the bytes where each byte is one, or null.
const wchar_t* CharactersOf(std::string_view bytes) {
    const wchar_t* table = AnsiCharacters();
    return !table && IsAscii(bytes) ? AsciiCharacters() : table;
}

} // namespace

bool IsRootAccepted(ConfigFile file, const JsonValue& root) {
    return file != ConfigFile::HmdList || IsHeadsetListRoot(root);
}

bool FlattenConfig(ConfigFile file, const JsonValue& root, VariableBatch& batch, const HostLog& log,
                   FlattenTrace* trace, JsonLastReading* reading) {
    switch (file) {
    case ConfigFile::Settings:
        FlattenSettingsFile(root, batch, log, trace, reading);
        return true;
    case ConfigFile::HmdList:
        return FlattenHeadsetListFile(root, batch, log, trace);
    default:
        FlattenQualityFile(root, batch, log, trace, reading);
        return true;
    }
}

bool ConfigText::Read(std::string_view bytes) {
    FreeJsonValue(m_root);
    m_text.clear();
    m_fileLength = static_cast<int32_t>(bytes.size());
    // Without a byte order mark the system's ANSI code page decides.
    const bool isMarked = bytes.starts_with(kUtf8Mark);
    const wchar_t* table = isMarked ? nullptr : CharactersOf(bytes);
    if (table) {
        const auto* units = reinterpret_cast<const unsigned char*>(bytes.data());
        m_parseResult = ParseJsonValue(m_root, JsonBytes{units, m_fileLength, table}, RoleOf(m_file));
        return IsAccepted();
    }
    const std::string_view text = isMarked ? bytes.substr(kUtf8Mark.size()) : bytes;
    m_text = DecodeFileText(isMarked ? kCodePageUtf8 : kCodePageAnsi, text.data(),
                            static_cast<int32_t>(text.size()));
    m_parseResult =
        ParseJsonValue(m_root, m_text.data(), static_cast<int32_t>(m_text.size()), RoleOf(m_file));
    return IsAccepted();
}

} // namespace zq
