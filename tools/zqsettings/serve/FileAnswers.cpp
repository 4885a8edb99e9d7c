#include "serve/FileAnswers.h"

#include "Failure.h"
#include "Text.h"
#include "TimeText.h"

#include "check/DefaultFile.h"
#include "check/FileCheck.h"
#include "check/Fix.h"

#include <algorithm>

namespace zq::tool {

namespace {

constexpr size_t kMostProblems = 200;

const char* EncodingName(Encoding encoding) {
    switch (encoding) {
    case Encoding::Ascii:
        return "ASCII";
    case Encoding::Utf8:
        return "UTF-8";
    case Encoding::MarkedUtf8:
        return "UTF-8 with byte order mark";
    case Encoding::Utf16Little:
    case Encoding::Utf16Big:
        return "UTF-16";
    default:
        return "code page";
    }
}

DefaultFile KnownOf(const Dashboard& dashboard, ConfigFile file) {
    const std::optional<std::string> bytes = dashboard.Defaults().Read(file);
    return bytes ? DefaultFile(file, *bytes) : DefaultFile();
}

void WriteFindings(MessageWriter& writer, const FileCheck& check) {
    writer.Key("accepted");
    writer.Bool(check.IsAccepted());
    writer.Key("problems");
    WriteProblems(writer, check.Source(), check.All(), kMostProblems);
}

void WriteTextOf(MessageWriter& writer, ConfigFile file, const std::string& bytes, const DefaultFile& known) {
    const FileCheck check(file, bytes, known);
    WriteMember(writer, "text", Utf8FromWide(check.Source().Text()));
    WriteMember(writer, "encoding", EncodingName(check.Source().GetEncoding()));
    WriteMember(writer, "hash", HashText(HashOf(bytes)));
    WriteFindings(writer, check);
}

void AddEntry(const VariableBatch::Entry& entry, std::vector<Variable>& variables) {
    using Kind = VariableBatch::Kind;
    const std::wstring name(VariableBatch::NameOf(entry));
    switch (entry.kind) {
    case Kind::Bool:
        variables.push_back({name, static_cast<ZQBool>(entry.boolean)});
        break;
    case Kind::Double:
        variables.push_back({name, entry.real});
        break;
    case Kind::String:
        variables.push_back({name, std::wstring(VariableBatch::TextOf(entry))});
        break;
    case Kind::Number:
        variables.push_back({name, static_cast<double>(entry.integer)});
        [[fallthrough]];
    default:
        variables.push_back({name, entry.integer});
        break;
    }
}

// What a file gives, as the module would list it: of one name and type the last one counts.
std::vector<Variable> VariablesOf(const FileCheck& check) {
    std::vector<Variable> variables;
    for (const auto& placed : check.Variables()) {
        AddEntry(placed.entry, variables);
    }
    std::reverse(variables.begin(), variables.end());
    std::stable_sort(variables.begin(), variables.end(), [](const Variable& a, const Variable& b) {
        const int order = a.name.compare(b.name);
        return order != 0 ? order < 0 : a.Type() < b.Type();
    });
    const auto isSame = [](const Variable& a, const Variable& b) {
        return a.name == b.name && a.Type() == b.Type();
    };
    variables.erase(std::unique(variables.begin(), variables.end(), isSame), variables.end());
    return variables;
}

// What the module has of this file now: its own content, or the default's where that is refused or missing.
std::vector<Variable> PresentVariables(const Dashboard& dashboard, ConfigFile file) {
    for (const DataFiles* folder : {&dashboard.Files(), &dashboard.Defaults()}) {
        const std::optional<std::string> bytes = folder->Read(file);
        if (bytes) {
            const FileCheck check(file, *bytes, {});
            if (check.IsAccepted()) {
                return VariablesOf(check);
            }
        }
    }
    return {};
}

void RequireWritable(Dashboard& dashboard, ConfigFile file, const std::string& hash) {
    if (!dashboard.State().Mode().isWritable) {
        throw Failure("this page only looks; start zqsettings serve without --look to write");
    }
    const std::optional<std::string> now = dashboard.Files().Read(file);
    if ((now ? HashText(HashOf(*now)) : "") != hash) {
        throw Failure(NameOf(file) + " has been changed by somebody else since this page read it");
    }
}

void RequireAccepted(ConfigFile file, std::string_view bytes, bool isInsisted) {
    if (isInsisted) {
        return;
    }
    const FileCheck check(file, bytes, {});
    if (check.IsAccepted()) {
        return;
    }
    for (const Problem& problem : check.All()) {
        if (problem.severity == Severity::Error) {
            throw Failure("the module would refuse it: line " +
                          std::to_string(check.Source().PositionOf(problem.begin).line) + ": " +
                          problem.text);
        }
    }
    throw Failure("the module would refuse it");
}

void WriteAndReport(Dashboard& dashboard, ConfigFile file, const std::string& bytes, MessageWriter& writer) {
    dashboard.Files().Write(file, bytes);
    dashboard.State().Add(Message("save").Text("file", NameOf(file)).Text("outcome", "saved").Take());
    WriteMember(writer, "hash", HashText(HashOf(bytes)));
}

void WriteCopy(MessageWriter& writer, const std::string& id, ConfigFile file, uint64_t size,
               const std::string& time, bool isAccepted) {
    writer.StartObject();
    WriteMember(writer, "id", id);
    WriteMember(writer, "file", NameOf(file));
    writer.Key("bytes");
    writer.Uint64(size);
    WriteMember(writer, "modified", time);
    writer.Key("accepted");
    writer.Bool(isAccepted);
    writer.EndObject();
}

struct CopyContent {
    ConfigFile file;
    std::string bytes;
};

CopyContent ContentOfCopy(const Dashboard& dashboard, const std::string& id) {
    for (const RefusedTexts::Refused& refused : dashboard.KeptTexts()) {
        if (refused.id == id) {
            return {refused.file, refused.bytes};
        }
    }
    for (const FileCopy& copy : dashboard.Files().Copies()) {
        if (copy.id == id) {
            if (std::optional<std::string> bytes = dashboard.Files().ReadCopy(id)) {
                return {copy.file, std::move(*bytes)};
            }
        }
    }
    throw Failure("there is no such copy any more");
}

} // namespace

void AnswerFile(Dashboard& dashboard, const Arguments& arguments, MessageWriter& writer) {
    const ConfigFile file = arguments.File();
    const std::optional<std::string> bytes = dashboard.Files().Read(file);
    WriteMember(writer, "file", NameOf(file));
    writer.Key("exists");
    writer.Bool(bytes.has_value());
    if (bytes) {
        WriteTextOf(writer, file, *bytes, KnownOf(dashboard, file));
    } else {
        WriteMember(writer, "text", dashboard.Defaults().Read(file).value_or(""));
        WriteMember(writer, "hash", "");
    }
}

void AnswerCheck(Dashboard& dashboard, const Arguments& arguments, MessageWriter& writer) {
    const ConfigFile file = arguments.File();
    const std::string text = arguments.Text("text");
    const FileCheck check(file, text, KnownOf(dashboard, file));
    WriteFindings(writer, check);
    const std::optional<FixedFile> fixed = FixFile(file, text);
    writer.Key("fixable");
    writer.Bool(fixed && fixed->isChanged);
}

void AnswerPreview(Dashboard& dashboard, const Arguments& arguments, MessageWriter& writer) {
    const ConfigFile file = arguments.File();
    const FileCheck check(file, arguments.Text("text"), {});
    writer.Key("accepted");
    writer.Bool(check.IsAccepted());
    writer.Key("changes");
    WriteChanges(writer, check.IsAccepted()
                             ? Difference(PresentVariables(dashboard, file), VariablesOf(check))
                             : std::vector<VariableChange>());
}

void AnswerFix(Dashboard&, const Arguments& arguments, MessageWriter& writer) {
    const std::optional<FixedFile> fixed = FixFile(arguments.File(), arguments.Text("text"));
    if (!fixed) {
        throw Failure("what is wrong here only its author can put right");
    }
    WriteMember(writer, "text", fixed->bytes);
    writer.Key("changed");
    writer.Bool(fixed->isChanged);
}

void AnswerWrite(Dashboard& dashboard, const Arguments& arguments, MessageWriter& writer) {
    const ConfigFile file = arguments.File();
    const std::string text = arguments.Text("text");
    RequireWritable(dashboard, file, arguments.Text("hash"));
    RequireAccepted(file, text, arguments.IsSet("insist"));
    WriteAndReport(dashboard, file, text, writer);
}

void AnswerCopies(Dashboard& dashboard, const Arguments&, MessageWriter& writer) {
    writer.Key("copies");
    writer.StartArray();
    for (const RefusedTexts::Refused& refused : dashboard.KeptTexts()) {
        WriteCopy(writer, refused.id, refused.file, refused.bytes.size(), refused.time, false);
    }
    for (const FileCopy& copy : dashboard.Files().Copies()) {
        WriteCopy(writer, copy.id, copy.file, copy.size, UtcText(copy.modified), copy.isAccepted);
    }
    writer.EndArray();
}

void AnswerCopy(Dashboard& dashboard, const Arguments& arguments, MessageWriter& writer) {
    const CopyContent copy = ContentOfCopy(dashboard, arguments.Text("copy"));
    WriteMember(writer, "file", NameOf(copy.file));
    WriteTextOf(writer, copy.file, copy.bytes, {});
}

void AnswerRestore(Dashboard& dashboard, const Arguments& arguments, MessageWriter& writer) {
    const CopyContent copy = ContentOfCopy(dashboard, arguments.Text("copy"));
    RequireWritable(dashboard, copy.file, arguments.Text("hash"));
    RequireAccepted(copy.file, copy.bytes, arguments.IsSet("insist"));
    WriteAndReport(dashboard, copy.file, copy.bytes, writer);
}

} // namespace zq::tool
