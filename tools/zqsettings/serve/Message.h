// One message of the live protocol (docs/dashboard.md): a JSON object on one line, UTF-8.
#pragma once

#include "VariableListing.h"

#include "check/Problem.h"
#include "check/SourceText.h"
#include "save/RapidJson.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zq::tool {

using MessageWriter = rapidjson::Writer<rapidjson::StringBuffer>;

class Message {
public:
    // Begins with the version, the kind and the present time.
    explicit Message(const char* kind);

    Message& Text(const char* name, std::string_view text);
    Message& Integer(const char* name, int64_t number);
    Message& Double(const char* name, double number);
    Message& Truth(const char* name, bool truth);
    // The value of `name` is what `write(Writer())` writes.
    template <class Write>
    Message& With(const char* name, Write write) {
        m_writer.Key(name);
        write(m_writer);
        return *this;
    }

    // The whole message. The object is used up then.
    std::string Take();

private:
    rapidjson::StringBuffer m_buffer;
    MessageWriter m_writer{m_buffer};
};

// "2026-11-21T19:40:01.123Z" of the present, or of a file's time in units of 100 ns since 1601.
std::string TimeText();
std::string TimeText(uint64_t fileTime);

void WriteText(MessageWriter& writer, std::string_view text);
void WriteTextMember(MessageWriter& writer, const char* name, std::string_view text);

// The types of a variable that hold one value: an integer and a double of the same number are one.
struct MergedVariable {
    std::wstring name;
    VariableValue value;
    bool isTwin; // the integer is the double too
};

// What changed of one variable. Twins are one change.
struct MergedChange {
    std::wstring name;
    std::vector<VariableType> types;
    std::optional<VariableValue> oldValue;
    std::optional<VariableValue> newValue;
};

// `variables` and the arguments of ChangesBetween are sorted as ListVariables sorts.
std::vector<MergedVariable> MergeTwins(const std::vector<Variable>& variables);
std::vector<MergedChange> ChangesBetween(const std::vector<Variable>& before,
                                         const std::vector<Variable>& after);

void WriteVariables(MessageWriter& writer, const std::vector<Variable>& variables);
void WriteChanges(MessageWriter& writer, const std::vector<MergedChange>& changes);
// The first `most` of them.
void WriteProblems(MessageWriter& writer, const SourceText& source, const Problems& problems, size_t most);

} // namespace zq::tool
