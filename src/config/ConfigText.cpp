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

ConfigText::ConfigText(ConfigFile file, const Cancellation* cancellation)
    : m_file(file), m_cancellation(cancellation) {
    m_root.texts.StopOn(cancellation);
    m_root.keys.StopOn(cancellation);
    m_root.nodes.StopOn(cancellation);
}

bool ConfigText::ReadTree(std::string_view bytes) {
    const Decoding decoding = Decode(bytes);
    m_taken.reset();
    BeginBatch();
    m_parseResult = Parse(decoding, nullptr);
    return IsAccepted();
}

bool ConfigText::Read(std::string_view bytes) {
    // The tree of a smaller file stays in the processor's caches.
    constexpr size_t kLarge = size_t{256} * 1024;
    return m_file == ConfigFile::Settings && bytes.size() >= kLarge ? ReadInParts(bytes) : ReadTree(bytes);
}

bool ConfigText::ReadInParts(std::string_view bytes) {
    const Decoding decoding = Decode(bytes);
    BeginBatch();
    m_taken.emplace(*m_batch);
    m_parseResult = Parse(decoding, &*m_taken);
    if (IsAccepted() && !m_taken->IsInOrder(m_root)) {
        m_taken.reset();
        BeginBatch();
        m_parseResult = Parse(decoding, nullptr);
    }
    return IsAccepted();
}

bool ConfigText::Flatten(const HostLog& log) {
    JsonLastReading reading(m_root);
    if (!m_taken) {
        return FlattenConfig(m_file, reading.Root(), *m_batch, log, nullptr, &reading);
    }
    if (reading.Root().Is(JsonKind::Object)) {
        m_taken->Walk({}, reading.Root(), log, nullptr, &reading);
    }
    return true;
}

ConfigText::Decoding ConfigText::Decode(std::string_view bytes) {
    m_text.clear();
    m_fileLength = static_cast<int32_t>(bytes.size());
    // Without a byte order mark the system's ANSI code page decides.
    const bool isMarked = bytes.starts_with(kUtf8Mark);
    const wchar_t* table = isMarked ? nullptr : CharactersOf(bytes);
    if (!table) {
        const std::string_view text = isMarked ? bytes.substr(kUtf8Mark.size()) : bytes;
        m_text = DecodeFileText(isMarked ? kCodePageUtf8 : kCodePageAnsi, text.data(),
                                static_cast<int32_t>(text.size()));
    }
    return {bytes, table};
}

int32_t ConfigText::Parse(const Decoding& decoding, JsonConsumer* consumer) {
    FreeJsonValue(m_root);
    if (!decoding.table) {
        return ParseJsonValue(m_root, m_text.data(), static_cast<int32_t>(m_text.size()), RoleOf(m_file),
                              consumer);
    }
    const auto* units = reinterpret_cast<const unsigned char*>(decoding.bytes.data());
    return ParseJsonValue(m_root, JsonBytes{units, m_fileLength, decoding.table}, RoleOf(m_file), consumer);
}

void ConfigText::BeginBatch() { m_batch.emplace(VariableBatch::Names::SharePrefixes, m_cancellation); }

} // namespace zq
