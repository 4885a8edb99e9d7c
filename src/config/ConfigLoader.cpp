#include "config/ConfigLoader.h"

#include "platform/Files.h"
#include "base/HostLog.h"
#include "platform/Mutex.h"
#include "variables/VariableBatch.h"
#include "variables/VariableStore.h"

#include <array>
#include <optional>
#include <string_view>
#include <vector>

namespace zq {

namespace {

struct LoaderTexts {
    const wchar_t* begin;
    const wchar_t* notFound;
    const wchar_t* openFail;
};

// By ConfigFile.
constexpr std::array<LoaderTexts, 3> kTexts = {{
    {L"LoadSettingsFromFile begin.", L"Settings file not found : %s", L"Settings file open fail : %s"},
    {L"LoadHmdListFromFile begin.", L"Hmd list file not found : %s", L"Hmd list file open fail : %s"},
    {L"LoadQualityFromFile begin.", L"Quality Preset file not found : %s",
     L"Quality Preset file open fail : %s"},
}};

std::optional<std::vector<char>> ReadLocked(const std::wstring& path, const Mutex* mutex) {
    if (!mutex) {
        return ReadWholeFile(path);
    }
    MutexLock lock(*mutex);
    return ReadWholeFile(path);
}

} // namespace

bool LoadConfigFile(ConfigFile file, const std::wstring& path, const ConfigTarget& target) {
    const LoaderTexts& texts = kTexts[static_cast<size_t>(file)];
    const HostLog& log = target.log;
    log.Log(LogProgress, texts.begin);
    if (!FileExists(path)) {
        log.Log(LogProgress, texts.notFound, path.c_str());
        return false;
    }
    std::optional<std::vector<char>> bytes = ReadLocked(path, target.fileMutex);
    if (!bytes) {
        log.Log(LogProgress, texts.openFail, path.c_str());
        return false;
    }

    ConfigText config;
    const bool isAccepted = config.Read({bytes->data(), bytes->size()});
    bytes.reset();
    if (!isAccepted) {
        log.Log(LogNotable,
                L"LoadSettingsFromFile() JSON paser %s fail ret length: %d , file length:%d copy again.",
                path.c_str(), config.parseResult, config.fileLength);
        return false;
    }

    VariableBatch batch;
    if (!FlattenConfig(file, config.root, batch, log)) {
        return false;
    }
    target.store.Apply(batch);
    return true;
}

} // namespace zq
