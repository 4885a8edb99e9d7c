#include "config/ConfigLoader.h"

#include "base/HostLog.h"
#include "platform/Files.h"
#include "platform/Mutex.h"
#include "variables/VariableBatch.h"
#include "variables/VariableStore.h"

#include <optional>
#include <string_view>
#include <vector>

namespace zq {

namespace {

std::optional<std::vector<char>> ReadLocked(const std::wstring& path, const Mutex* mutex) {
    if (!mutex) {
        return ReadWholeFile(path);
    }
    MutexLock lock(*mutex);
    return ReadWholeFile(path);
}

} // namespace

bool LoadConfigFile(ConfigFile file, const std::wstring& path, const ConfigTarget& target) {
    const ConfigFileTexts& texts = TextsOf(file);
    const HostLog& log = target.log;
    log.Log(LogProgress, texts.begin);
    if (!FileExists(path)) {
        log.Log(LogProgress, texts.notFound, path.c_str());
        return false;
    }
    const std::optional<std::vector<char>> bytes = ReadLocked(path, target.fileMutex);
    if (!bytes) {
        log.Log(LogProgress, texts.openFail, path.c_str());
        return false;
    }

    ConfigText config(file);
    if (!config.Read({bytes->data(), bytes->size()})) {
        log.Log(LogNotable, kConfigParseFailed, path.c_str(), config.ParseResult(), config.FileLength());
        return false;
    }

    VariableBatch batch;
    if (!config.Flatten(batch, log)) {
        return false;
    }
    target.store.Apply(batch);
    return true;
}

} // namespace zq
