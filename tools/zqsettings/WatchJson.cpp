#include "WatchReport.h"

#include "Console.h"
#include "JsonOutput.h"
#include "Text.h"
#include "TimeText.h"
#include "VariableText.h"

#include "check/FileCheck.h"
#include "config/ConfigFile.h"

#include <algorithm>

namespace zq::tool {

namespace {

constexpr int64_t kProtocolVersion = 1;
constexpr size_t kMostProblems = 50;

// One message: the members that all have, then those that `write(writer)` writes.
template <class Write>
void PrintMessage(const char* kind, Write write) {
    rapidjson::StringBuffer buffer;
    LineWriter writer(buffer);
    writer.StartObject();
    WriteMember(writer, "version", kProtocolVersion);
    WriteMember(writer, "kind", kind);
    WriteMember(writer, "time", UtcText());
    write(writer);
    writer.EndObject();
    Print(std::string(buffer.GetString(), buffer.GetSize()) + '\n');
}

std::string NameOf(const PrivateFile& file) { return Utf8FromWide(NameOfConfigFile(file.file)); }

template <class Item, class Write>
void WriteArray(LineWriter& writer, const char* name, const std::vector<Item>& items, Write write) {
    writer.Key(name);
    writer.StartArray();
    for (const Item& item : items) {
        write(item);
    }
    writer.EndArray();
}

void WriteChanges(LineWriter& writer, const std::vector<VariableChange>& changes) {
    WriteArray(writer, "changes", changes,
               [&](const VariableChange& change) { WriteChange(writer, change, "old", "new"); });
}

// The listing as changes from nothing: integers and doubles of one number are one record.
void WriteVariables(LineWriter& writer, const std::vector<Variable>& variables) {
    WriteArray(writer, "variables", Difference({}, variables),
               [&](const VariableChange& change) { WriteChange(writer, change, "old", "value"); });
}

void WriteFileState(LineWriter& writer, const PrivateFile& file) {
    const bool isThere = file.state != PrivateFileState::Missing;
    writer.StartObject();
    WriteMember(writer, "file", NameOf(file));
    WriteMember(writer, "exists", isThere);
    if (isThere) {
        WriteMember(writer, "accepted", file.state == PrivateFileState::Accepted);
        WriteMember(writer, "bytes", static_cast<int64_t>(file.bytes.size()));
        WriteMember(writer, "modified", UtcTextOfWrite(file.path));
    }
    writer.EndObject();
}

void WriteProblem(LineWriter& writer, const SourceText& source, const Problem& problem) {
    const TextPosition begin = source.PositionOf(problem.begin);
    const TextPosition end = source.PositionOf(std::max(problem.begin, problem.end));
    writer.StartObject();
    WriteMember(writer, "severity", problem.severity == Severity::Error ? "error" : "warning");
    WriteMember(writer, "code", problem.code);
    WriteMember(writer, "line", int64_t{begin.line});
    WriteMember(writer, "column", int64_t{begin.column});
    WriteMember(writer, "endLine", int64_t{end.line});
    WriteMember(writer, "endColumn", int64_t{end.column});
    WriteMember(writer, "text", problem.text);
    WriteMember(writer, "fix", problem.fix);
    writer.EndObject();
}

// Position, reason and fix of the first error, then all findings.
void WriteFindings(LineWriter& writer, const PrivateFile& file) {
    const FileCheck check(file.file, file.bytes, {});
    const auto error = std::find_if(check.All().begin(), check.All().end(), [](const Problem& problem) {
        return problem.severity == Severity::Error;
    });
    if (error != check.All().end()) {
        const TextPosition position = check.Source().PositionOf(error->begin);
        WriteMember(writer, "line", int64_t{position.line});
        WriteMember(writer, "column", int64_t{position.column});
        WriteMember(writer, "reason", error->text);
        WriteMember(writer, "fix", error->fix);
    } else {
        WriteMember(writer, "reason", "the module refuses the file");
    }
    Problems shown = check.All();
    shown.resize(std::min(shown.size(), kMostProblems));
    WriteArray(writer, "problems", shown,
               [&](const Problem& problem) { WriteProblem(writer, check.Source(), problem); });
}

class JsonReport final : public WatchReport {
public:
    void OnMessage(const ModuleMessage& message) override {
        PrintMessage("log", [&](LineWriter& writer) {
            WriteMember(writer, "level", int64_t{message.level});
            WriteMember(writer, "tag", message.tag);
            WriteMember(writer, "text", message.text);
        });
    }

    void OnBegin(const WatchBeginning& beginning) override {
        PrintMessage("state", [&](LineWriter& writer) {
            WriteMember(writer, "tool", ZQ_VERSION);
            WriteMember(writer, "folder", Utf8FromPath(beginning.folder));
            WriteMember(writer, "defaults", Utf8FromPath(beginning.defaults));
            WriteMember(writer, "mode", "copy");
            WriteMember(writer, "reason",
                        "the module works on a copy, so that it replaces nothing in the folder itself");
            const PrivateFiles files = LookAtPrivateFiles(beginning.folder);
            WriteArray(writer, "files", std::vector<PrivateFile>(files.begin(), files.end()),
                       [&](const PrivateFile& file) { WriteFileState(writer, file); });
            WriteVariables(writer, beginning.variables);
        });
    }

    void OnReload(const WatchedReload& reload) override {
        PrintMessage("reload", [&](LineWriter& writer) {
            WriteChanges(writer, reload.changes);
            if (reload.milliseconds) {
                writer.Key("milliseconds");
                writer.Double(*reload.milliseconds);
            }
        });
    }

    void OnChange(const std::vector<VariableChange>& changes, bool isByHost) override {
        PrintMessage("change", [&](LineWriter& writer) {
            WriteChanges(writer, changes);
            WriteMember(writer, "source", isByHost ? "host" : "module");
        });
    }

    void OnRefusal(const PrivateFile& file, const std::optional<std::filesystem::path>& keptAs,
                   bool isReplaced) override {
        const bool isMissing = file.state == PrivateFileState::Missing;
        PrintMessage("refusal", [&](LineWriter& writer) {
            WriteMember(writer, "file", NameOf(file));
            WriteMember(writer, "outcome", isReplaced ? "replaced" : isMissing ? "missing" : "kept");
            if (keptAs) {
                WriteMember(writer, "kept", Utf8FromPath(*keptAs));
            }
            if (isMissing) {
                WriteMember(writer, "reason", "the file does not exist");
            } else {
                WriteFindings(writer, file);
            }
        });
    }

    void OnAccept(const PrivateFile& file) override {
        PrintMessage("accept", [&](LineWriter& writer) { WriteMember(writer, "file", NameOf(file)); });
    }

    void OnEnd(const std::string& reason, const WatchTotals& totals) override {
        PrintMessage("end", [&](LineWriter& writer) {
            WriteMember(writer, "reason", reason);
            WriteMember(writer, "reloads", static_cast<int64_t>(totals.reloads));
            WriteMember(writer, "changes", static_cast<int64_t>(totals.changes));
            WriteMember(writer, "notices", static_cast<int64_t>(totals.notices));
        });
    }
};

} // namespace

std::unique_ptr<WatchReport> MakeJsonReport() { return std::make_unique<JsonReport>(); }

} // namespace zq::tool
