#include "check/DefaultFile.h"

#include "base/HostLog.h"
#include "check/DocumentMap.h"
#include "check/SourceText.h"

namespace zq {

DefaultFile::DefaultFile(ConfigFile file, std::string_view bytes) {
    const SourceText source(bytes);
    JsonRoot root;
    DocumentMap document;
    document.Read(root, source.Text());
    if (document.Result() < 1) {
        return;
    }
    for (const DocumentNode& node : document.Nodes()) {
        if (node.HasKey()) {
            keys.emplace(node.key);
            // A dotted key may also be written as a nested one.
            keys.emplace(node.key.substr(node.key.rfind(L'.') + 1));
        }
    }
    VariableBatch batch;
    FlattenConfig(file, root, batch, HostLog());
    for (const VariableBatch::Entry& entry : batch.Entries()) {
        types.insert_or_assign(std::wstring(VariableBatch::NameOf(entry)), entry.kind);
    }
}

} // namespace zq
