#include "config/ConfigText.h"

#include "base/Text.h"
#include "config/HeadsetListFile.h"
#include "config/QualityPresetFile.h"
#include "config/SettingsFile.h"
#include "config/json/JsonReader.h"

namespace zq {

namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

// Without a byte order mark the system's ANSI code page decides.
std::wstring DecodeFile(std::string_view bytes) {
    const bool isMarked = bytes.starts_with(kUtf8Mark);
    const std::string_view text = isMarked ? bytes.substr(kUtf8Mark.size()) : bytes;
    return DecodeFileText(isMarked ? kCodePageUtf8 : kCodePageAnsi, text.data(),
                          static_cast<int32_t>(text.size()));
}

} // namespace

bool IsRootAccepted(ConfigFile file, const JsonValue& root) {
    return file != ConfigFile::HmdList || IsHeadsetListRoot(root);
}

bool FlattenConfig(ConfigFile file, const JsonValue& root, VariableBatch& batch, const HostLog& log,
                   FlattenTrace* trace) {
    switch (file) {
    case ConfigFile::Settings:
        FlattenSettingsFile(root, batch, log, trace);
        return true;
    case ConfigFile::HmdList:
        return FlattenHeadsetListFile(root, batch, log, trace);
    default:
        FlattenQualityFile(root, batch, log, trace);
        return true;
    }
}

bool ConfigText::Read(std::string_view bytes) {
    FreeJsonValue(m_root);
    m_text = DecodeFile(bytes);
    m_fileLength = static_cast<int32_t>(bytes.size());
    m_parseResult = ParseJsonValue(m_root, m_text.data(), static_cast<int32_t>(m_text.size()));
    return IsAccepted();
}

} // namespace zq
