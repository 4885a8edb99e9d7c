#include "config/ConfigLoader.h"

#include "base/HostLog.h"
#include "variables/VariableBatch.h"
#include "variables/VariableStore.h"

namespace zq {

void ParseLook(ConfigFile file, ConfigLook& look, const Cancellation* cancellation) {
    if (look.file.access == FileAccess::Read) {
        look.text = std::make_unique<ConfigText>(file, cancellation);
        look.isAccepted =
            look.text->Read({look.file.bytes.data(), look.file.bytes.size()}) && look.text->IsRootAccepted();
    }
}

bool LoadConfigFile(ConfigFile file, const std::wstring& path, const ConfigLook& look,
                    const ConfigTarget& target) {
    const ConfigFileTexts& texts = TextsOf(file);
    const HostLog& log = target.log;
    log.Log(LogProgress, texts.begin);
    if (look.file.access == FileAccess::Missing) {
        log.Log(LogProgress, texts.notFound, path.c_str());
        return false;
    }
    if (!look.text) {
        log.Log(LogProgress, texts.openFail, path.c_str());
        return false;
    }
    if (!look.text->IsAccepted()) {
        log.Log(LogNotable, kConfigParseFailed, path.c_str(), look.text->ParseResult(),
                look.text->FileLength());
        return false;
    }
    if (!look.text->Flatten(log)) {
        return false;
    }
    target.store.Apply(look.text->TakeBatch());
    return true;
}

} // namespace zq
