// One message of the live protocol (docs/dashboard.md): a JSON object on one line, UTF-8. "watch --json"
// prints them, "serve" sends them to pages.
#pragma once

#include "JsonOutput.h"
#include "VariableDifference.h"
#include "VariableListing.h"

#include "check/Problem.h"
#include "check/SourceText.h"
#include "config/ConfigFile.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zq::tool {

using MessageWriter = LineWriter;

// Without the folder.
std::string NameOf(ConfigFile file);

// To tell one content of a file from another; nobody is kept out by it.
uint64_t HashOf(std::string_view bytes);
std::string HashText(uint64_t hash);

// What the messages say of one of the files.
struct DataFileState {
    ConfigFile file = ConfigFile::Settings;
    bool exists = false;
    bool isAccepted = false;
    uint64_t size = 0;
    uint64_t modified = 0; // in units of 100 ns since 1601
    uint64_t hash = 0;     // of the content

    friend bool operator==(const DataFileState&, const DataFileState&) = default;
};

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

    // The whole message, without a line end. The object is used up then.
    std::string Take();

private:
    rapidjson::StringBuffer m_buffer;
    MessageWriter m_writer{m_buffer};
};

// Messages that both senders have.
std::string LogMessage(int32_t level, std::string_view tag, std::string_view text);
std::string ReloadMessage(const std::vector<VariableChange>& changes, std::optional<double> milliseconds);
// `source` is "host" or "module".
std::string ChangeMessage(const std::vector<VariableChange>& changes, const char* source);
std::string AcceptMessage(ConfigFile file);
std::string MissingMessage(ConfigFile file, const char* outcome);

// Where the refused text is now, if it is anywhere.
struct RefusedTextAt {
    std::string path;
    std::string copy; // an id for a question of a page
};
std::string RefusalMessage(ConfigFile file, std::string_view bytes, const char* outcome,
                           const RefusedTextAt& kept = {});

// Parts of messages. `variables` is sorted as ListVariables sorts.
void WriteVariables(MessageWriter& writer, const std::vector<Variable>& variables);
void WriteChanges(MessageWriter& writer, const std::vector<VariableChange>& changes);
void WriteFileState(MessageWriter& writer, const DataFileState& file);
// The first `most` of them.
void WriteProblems(MessageWriter& writer, const SourceText& source, const Problems& problems, size_t most);

} // namespace zq::tool
