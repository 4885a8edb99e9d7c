#include "WatchReport.h"

#include "Console.h"
#include "LiveMessage.h"
#include "Text.h"
#include "TimeText.h"

namespace zq::tool {

namespace {

void PrintMessage(const std::string& message) { Print(message + '\n'); }

DataFileState StateOf(const PrivateFile& file) {
    const bool isThere = file.state != PrivateFileState::Missing;
    return {file.file,
            isThere,
            file.state == PrivateFileState::Accepted,
            file.bytes.size(),
            TimeOfWrite(file.path),
            HashOf(file.bytes)};
}

class JsonReport final : public WatchReport {
public:
    void OnMessage(const ModuleMessage& message) override {
        PrintMessage(LogMessage(message.level, message.tag, message.text));
    }

    void OnBegin(const WatchBeginning& beginning) override {
        PrintMessage(Message("state")
                         .Text("tool", ZQ_VERSION)
                         .Text("folder", Utf8FromPath(beginning.folder))
                         .Text("defaults", Utf8FromPath(beginning.defaults))
                         .Text("mode", "copy")
                         .Text("reason",
                               "the module works on a copy, so that it replaces nothing in the folder itself")
                         .With("files",
                               [&](MessageWriter& writer) {
                                   writer.StartArray();
                                   for (const PrivateFile& file : LookAtPrivateFiles(beginning.folder)) {
                                       WriteFileState(writer, StateOf(file));
                                   }
                                   writer.EndArray();
                               })
                         .With("variables",
                               [&](MessageWriter& writer) { WriteVariables(writer, beginning.variables); })
                         .Take());
    }

    void OnReload(const WatchedReload& reload) override {
        PrintMessage(ReloadMessage(reload.changes, reload.milliseconds));
    }

    void OnChange(const std::vector<VariableChange>& changes, bool isByHost) override {
        PrintMessage(ChangeMessage(changes, isByHost ? "host" : "module"));
    }

    void OnRefusal(const PrivateFile& file, const std::optional<std::filesystem::path>& keptAs,
                   bool isReplaced) override {
        if (file.state == PrivateFileState::Missing) {
            PrintMessage(MissingMessage(file.file, isReplaced ? "replaced" : "missing"));
        } else {
            PrintMessage(RefusalMessage(file.file, file.bytes, isReplaced ? "replaced" : "kept",
                                        {keptAs ? Utf8FromPath(*keptAs) : "", ""}));
        }
    }

    void OnAccept(const PrivateFile& file) override { PrintMessage(AcceptMessage(file.file)); }

    void OnEnd(const std::string& reason, const WatchTotals& totals) override {
        PrintMessage(Message("end")
                         .Text("reason", reason)
                         .Integer("reloads", static_cast<int64_t>(totals.reloads))
                         .Integer("changes", static_cast<int64_t>(totals.changes))
                         .Integer("notices", static_cast<int64_t>(totals.notices))
                         .Take());
    }
};

} // namespace

std::unique_ptr<WatchReport> MakeJsonReport() { return std::make_unique<JsonReport>(); }

} // namespace zq::tool
