#include "serve/Answers.h"

#include "Failure.h"
#include "FolderLook.h"
#include "PacketContent.h"
#include "Survey.h"
#include "Text.h"
#include "VariableOrigin.h"
#include "VariableText.h"
#include "serve/FileAnswers.h"
#include "serve/SaveAnswer.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace zq::tool {

namespace {

void WriteOrigins(MessageWriter& writer, const char* name, const std::vector<VariableOrigin>& origins) {
    writer.Key(name);
    writer.StartArray();
    for (const VariableOrigin& origin : origins) {
        writer.StartObject();
        WriteMember(writer, "file", Utf8FromPath(origin.file.filename()));
        writer.Key("line");
        writer.Int(origin.line);
        writer.Key("column");
        writer.Int(origin.column);
        // The text of a duplicate is its value as it is in the file.
        WriteMember(writer, "text",
                    origin.fate == OriginFate::KeyTwice ? Printable(std::get<std::wstring>(origin.value))
                                                        : ValueText(origin.value));
        WriteMember(writer, "type", VariableTypeName(static_cast<VariableType>(origin.value.index() + 1)));
        WriteMember(writer, "fate",
                    origin.fate == OriginFate::Counts        ? "counts"
                    : origin.fate == OriginFate::WrittenOver ? "written over"
                                                             : "the key comes again");
        writer.EndObject();
    }
    writer.EndArray();
}

void AnswerExplain(Dashboard& dashboard, const Arguments& arguments, MessageWriter& writer) {
    const std::wstring name = WideFromUtf8(arguments.Text("name"));
    const std::filesystem::path& defaults = dashboard.Defaults().Folder();
    const std::vector<VariableOrigin> places = OriginsOf(name, dashboard.Files().Folder(), defaults);
    WriteMember(writer, "name", arguments.Text("name"));
    WriteOrigins(writer, "places", places);
    WriteOrigins(writer, "defaults", OriginsOf(name, {}, defaults));
    writer.Key("save");
    WriteSavability(writer, dashboard, name);
}

void AnswerHistory(Dashboard& dashboard, const Arguments&, MessageWriter& writer) {
    const std::string messages = '[' + dashboard.State().History() + ']';
    writer.Key("messages");
    writer.RawValue(messages.data(), messages.size(), rapidjson::kArrayType);
}

void AnswerDefaults(Dashboard& dashboard, const Arguments&, MessageWriter& writer) {
    writer.Key("variables");
    WriteVariables(writer, LookAt(dashboard.Module(), {}));
}

void AnswerSurvey(Dashboard&, const Arguments&, MessageWriter& writer) {
    const SurveyResult result = RunSurvey();
    writer.Key("facts");
    writer.StartArray();
    const auto fact = [&](const std::string& name, const std::string& value) {
        writer.StartObject();
        WriteMember(writer, "name", name);
        WriteMember(writer, "value", value);
        writer.EndObject();
    };
    fact("Machine type", result.machineType);
    fact("Network speed", result.networkSpeed);
    fact("Network driver", result.networkDriver);
    for (const auto& [name, value] : result.variables) {
        fact(Utf8FromWide(name), Utf8FromWide(value));
    }
    writer.EndArray();
    writer.Key("queries");
    writer.StartArray();
    for (const WmiQueryReport& report : result.queries) {
        writer.StartObject();
        WriteMember(writer, "query", Utf8FromWide(report.query));
        writer.Key("result");
        writer.Int(report.result);
        writer.Key("objects");
        writer.Uint64(report.objects);
        writer.Key("milliseconds");
        writer.Double(MillisecondsOf(report));
        writer.EndObject();
    }
    writer.EndArray();
}

constexpr std::array kRows = {
    AnswerRow{"explain", false, AnswerExplain},  AnswerRow{"history", false, AnswerHistory},
    AnswerRow{"defaults", true, AnswerDefaults}, AnswerRow{"survey", true, AnswerSurvey},
    AnswerRow{"file", false, AnswerFile},        AnswerRow{"check", false, AnswerCheck},
    AnswerRow{"preview", false, AnswerPreview},  AnswerRow{"fix", false, AnswerFix},
    AnswerRow{"write", true, AnswerWrite},       AnswerRow{"copies", false, AnswerCopies},
    AnswerRow{"copy", false, AnswerCopy},        AnswerRow{"restore", true, AnswerRestore},
    AnswerRow{"save", true, AnswerSave},
};

} // namespace

std::string Arguments::Text(const char* name) const {
    const auto member = m_object.FindMember(name);
    if (member == m_object.MemberEnd() || !member->value.IsString()) {
        throw Failure(std::string("the question lacks its text \"") + name + '"');
    }
    return {member->value.GetString(), member->value.GetStringLength()};
}

std::string Arguments::TextOr(const char* name, std::string_view otherwise) const {
    const auto member = m_object.FindMember(name);
    return member == m_object.MemberEnd() || !member->value.IsString()
               ? std::string(otherwise)
               : std::string(member->value.GetString(), member->value.GetStringLength());
}

bool Arguments::IsSet(const char* name) const {
    const auto member = m_object.FindMember(name);
    return member != m_object.MemberEnd() && member->value.IsTrue();
}

ConfigFile Arguments::File() const {
    const std::string name = Text("file");
    if (const std::optional<ConfigFile> file = ConfigFileOf(name)) {
        return *file;
    }
    throw Failure("\"" + name + "\" is none of the three configuration files");
}

const AnswerRow* AnswerOf(std::string_view what) {
    const auto row =
        std::find_if(kRows.begin(), kRows.end(), [&](const AnswerRow& each) { return what == each.what; });
    return row == kRows.end() ? nullptr : &*row;
}

void AnswerPacket(MessageWriter& writer, std::string_view packet) {
    PacketContent content = ReadPacket({reinterpret_cast<const uint8_t*>(packet.data()), packet.size()});
    SortVariables(content.variables);
    writer.Key("bytes");
    writer.Uint64(packet.size());
    writer.Key("variables");
    WriteVariables(writer, content.variables);
    writer.Key("problems");
    writer.StartArray();
    for (const PacketProblem& problem : content.problems) {
        writer.StartObject();
        writer.Key("offset");
        writer.Uint64(problem.offset);
        WriteMember(writer, "text", problem.text);
        writer.EndObject();
    }
    writer.EndArray();
}

} // namespace zq::tool
