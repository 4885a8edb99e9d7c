#include "LiveMessage.h"

#include "Text.h"
#include "TimeText.h"

#include "check/FileCheck.h"

#include <algorithm>
#include <cstdio>

namespace zq::tool {

namespace {

constexpr int64_t kProtocolVersion = 1;
constexpr size_t kMostProblems = 50;

void WriteAll(MessageWriter& writer, const std::vector<VariableChange>& changes, const char* newName) {
    writer.StartArray();
    for (const VariableChange& change : changes) {
        WriteChange(writer, change, "old", newName);
    }
    writer.EndArray();
}

void AddFindings(Message& message, const FileCheck& check) {
    const auto error = std::find_if(check.All().begin(), check.All().end(), [](const Problem& problem) {
        return problem.severity == Severity::Error;
    });
    if (error == check.All().end()) {
        message.Text("reason", "the module refuses it");
    } else {
        const TextPosition position = check.Source().PositionOf(error->begin);
        message.Integer("line", position.line)
            .Integer("column", position.column)
            .Text("reason", error->text)
            .Text("fix", error->fix);
    }
    message.With("problems", [&](MessageWriter& writer) {
        WriteProblems(writer, check.Source(), check.All(), kMostProblems);
    });
}

} // namespace

std::string NameOf(ConfigFile file) { return Utf8FromWide(NameOfConfigFile(file)); }

// FNV-1a.
uint64_t HashOf(std::string_view bytes) {
    uint64_t hash = 0xCBF29CE484222325;
    for (const char byte : bytes) {
        hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001B3;
    }
    return hash;
}

std::string HashText(uint64_t hash) {
    char text[17];
    std::snprintf(text, sizeof(text), "%016llx", static_cast<unsigned long long>(hash));
    return text;
}

Message::Message(const char* kind) {
    m_writer.StartObject();
    Integer("version", kProtocolVersion);
    Text("kind", kind);
    Text("time", UtcText());
}

Message& Message::Text(const char* name, std::string_view text) {
    WriteMember(m_writer, name, text);
    return *this;
}

Message& Message::Integer(const char* name, int64_t number) {
    WriteMember(m_writer, name, number);
    return *this;
}

Message& Message::Double(const char* name, double number) {
    m_writer.Key(name);
    m_writer.Double(number);
    return *this;
}

Message& Message::Truth(const char* name, bool truth) {
    WriteMember(m_writer, name, truth);
    return *this;
}

std::string Message::Take() {
    m_writer.EndObject();
    return {m_buffer.GetString(), m_buffer.GetSize()};
}

std::string LogMessage(int32_t level, std::string_view tag, std::string_view text) {
    return Message("log").Integer("level", level).Text("tag", tag).Text("text", text).Take();
}

std::string ReloadMessage(const std::vector<VariableChange>& changes, std::optional<double> milliseconds) {
    Message message("reload");
    message.With("changes", [&](MessageWriter& writer) { WriteChanges(writer, changes); });
    if (milliseconds) {
        message.Double("milliseconds", *milliseconds);
    }
    return message.Take();
}

std::string ChangeMessage(const std::vector<VariableChange>& changes, const char* source) {
    return Message("change")
        .With("changes", [&](MessageWriter& writer) { WriteChanges(writer, changes); })
        .Text("source", source)
        .Take();
}

std::string AcceptMessage(ConfigFile file) { return Message("accept").Text("file", NameOf(file)).Take(); }

std::string MissingMessage(ConfigFile file, const char* outcome) {
    return Message("refusal")
        .Text("file", NameOf(file))
        .Text("outcome", outcome)
        .Text("reason", "the file does not exist")
        .Take();
}

std::string RefusalMessage(ConfigFile file, std::string_view bytes, const char* outcome,
                           const RefusedTextAt& kept) {
    Message message("refusal");
    message.Text("file", NameOf(file)).Text("outcome", outcome);
    if (!kept.path.empty()) {
        message.Text("kept", kept.path);
    }
    if (!kept.copy.empty()) {
        message.Text("copy", kept.copy);
    }
    AddFindings(message, FileCheck(file, bytes, {}));
    return message.Take();
}

void WriteVariables(MessageWriter& writer, const std::vector<Variable>& variables) {
    // As changes from nothing: an integer and a double of one number are one record.
    WriteAll(writer, Difference({}, variables), "value");
}

void WriteChanges(MessageWriter& writer, const std::vector<VariableChange>& changes) {
    WriteAll(writer, changes, "new");
}

void WriteFileState(MessageWriter& writer, const DataFileState& file) {
    writer.StartObject();
    WriteMember(writer, "file", NameOf(file.file));
    WriteMember(writer, "exists", file.exists);
    if (file.exists) {
        WriteMember(writer, "accepted", file.isAccepted);
        WriteMember(writer, "bytes", static_cast<int64_t>(file.size));
        WriteMember(writer, "modified", UtcText(file.modified));
        WriteMember(writer, "hash", HashText(file.hash));
    }
    writer.EndObject();
}

void WriteProblems(MessageWriter& writer, const SourceText& source, const Problems& problems, size_t most) {
    writer.StartArray();
    for (size_t i = 0; i < std::min(most, problems.size()); ++i) {
        WriteProblem(writer, source, problems[i]);
    }
    writer.EndArray();
}

} // namespace zq::tool
