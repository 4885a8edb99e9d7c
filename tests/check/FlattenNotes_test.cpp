// What the check says of the parts of a document that give no variable, or one that is written over.
#include "check/Checking.h"

#include <gtest/gtest.h>

#include <array>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace zq::test {
namespace {

// The piece of the document that the problem with this code shows, its text and its fix.
struct Note {
    std::string shown;
    std::string text;
    std::string fix;

    friend bool operator==(const Note&, const Note&) = default;
    friend std::ostream& operator<<(std::ostream& out, const Note& note) {
        return out << note.shown << " | " << note.text << " | " << note.fix;
    }
};

std::vector<Note> NotesOf(std::string_view document, std::string_view code, ConfigFile file) {
    const FileCheck check(file, document, {});
    std::vector<Note> notes;
    for (const Problem& problem : check.All()) {
        if (problem.code == code) {
            EXPECT_EQ(Severity::Warning, problem.severity);
            notes.push_back({std::string(document.substr(static_cast<size_t>(problem.begin),
                                                         static_cast<size_t>(problem.end - problem.begin))),
                             problem.text, problem.fix});
        }
    }
    return notes;
}

struct Case {
    const char* document;
    const char* code;
    Note note;
};

void ExpectNotes(ConfigFile file, const std::vector<Case>& cases) {
    for (const Case& single : cases) {
        EXPECT_EQ(std::vector<Note>{single.note}, NotesOf(single.document, single.code, file))
            << single.document;
    }
}

TEST(FlattenNotes, SayWhySettingsAreSkipped) {
    ExpectNotes(
        ConfigFile::Settings,
        {{R"({"":1})", "no-name", {R"("")", "a value without a name is skipped", "give it a name"}},
         {R"({"A":null})", "skipped-null", {"null", "null is skipped", "write a value or remove the member"}},
         {R"({"A":[1]})",
          "ignored-array",
          {"[", "this array is skipped: of all arrays, only \"CL\", the list of headsets, is read",
           "write its values as members with names"}},
         {R"({"CL":[{"A":1}]})",
          "skipped-headset",
          {"{", "this headset is skipped: it has no text \"HD\" with its name",
           R"(write {"HD": "NAME", ...})"}}});
}

TEST(FlattenNotes, SayWhyDevicesAndResponsesAreSkipped) {
    const Note object = {"5", "this is skipped: only objects are responses",
                         R"(write {"MainRequest": 1, "SubRequest": 1, "index": 0, "Value": ...})"};
    const Note numbers = {
        "{",
        R"(this response is skipped: it needs the whole numbers "MainRequest", "SubRequest" and "index", and a "Value")",
        R"(write {"MainRequest": 1, "SubRequest": 1, "index": 0, "Value": ...})"};
    ExpectNotes(
        ConfigFile::HmdList,
        {{R"([{"DeviceName":"A"}])",
          "skipped-device",
          {"{", R"(this device is skipped: it needs a text "DeviceName" and an array "Response")",
           R"(write {"DeviceName": "NAME", "Response": [...]})"}},
         {R"([{"DeviceName":"A","Response":[5]}])", "skipped-response", object},
         {R"([{"DeviceName":"A","Response":[{"MainRequest":1}]}])", "skipped-response", numbers},
         {R"([{"DeviceName":"A","Response":[{"MainRequest":1,"SubRequest":1,"index":1,"Value":null}]}])",
          "skipped-value",
          {"null", "this value is skipped: it is not a bool, number or text",
           "write true, false, a number or a text"}}});
}

TEST(FlattenNotes, NameTheNumberOfAResponseThatIsNone) {
    for (const std::string name : {"MainRequest", "SubRequest", "index"}) {
        for (const auto& [value, shown, fix] :
             std::vector<std::array<std::string, 3>>{{"\"1\"", "\"1\"", "write it without quotes"},
                                                     {"1.5", "1.5", "write a number without a point"},
                                                     {"true", "true", "write a number without a point"},
                                                     {"[1]", "[", "write a number without a point"}}) {
            std::string document =
                R"([{"DeviceName":"A","Response":[{"MainRequest":1,"SubRequest":1,"index":1,"Value":1}]}])";
            document.replace(document.find(name) + name.size() + 2, 1, value);
            EXPECT_EQ((std::vector<Note>{
                          {shown, "this response is skipped: \"" + name + "\" must be a whole number", fix}}),
                      NotesOf(document, "skipped-response", ConfigFile::HmdList))
                << document;
        }
    }
}

TEST(FlattenNotes, SayWhyPresetsAreSkipped) {
    ExpectNotes(
        ConfigFile::Quality,
        {{R"({"A":[5]})",
          "skipped-preset",
          {"5", "this is skipped, and counts as a preset: only objects are presets",
           "write the presets Quality, Balance, Performance and Ultra in this order, each in braces"}},
         {R"({"A":{"x":1}})",
          "skipped-member",
          {"\"A\"", "an object or null is skipped among presets",
           "write an array of presets, or a bool, number or text"}}});
}

TEST(FlattenNotes, NameWhatAVariableIsWrittenOverBy) {
    ExpectNotes(ConfigFile::Settings,
                {{"{\"A\":{\"B\":1},\n\"A.B\":2}",
                  "overwritten",
                  {"\"B\"", "the variable \"A.B\" is written over in line 2", "remove one of them"}},
                 {"{\"CL\":[{\"HD\":\"X\",\"A\":1},\n{\"HD\":\"X\",\"A\":2}]}",
                  "overwritten",
                  {"{", "the headset \"X\" is there again in line 2, which writes over variables of this one",
                   "remove one of them"}}});
    ExpectNotes(ConfigFile::HmdList,
                {{"[{\"DeviceName\":\"A\",\"Response\":[{\"MainRequest\":1,\"SubRequest\":1,\"index\":0,"
                  "\"Value\":1}]},\n"
                  "{\"DeviceName\":\"A\",\"Response\":[{\"MainRequest\":1,\"SubRequest\":1,\"index\":0,"
                  "\"Value\":1}]}]",
                  "overwritten",
                  {"{", "the headset \"A\" is there again in line 2, which writes over variables of this one",
                   "remove one of them"}}});
    ExpectNotes(ConfigFile::Quality,
                {{"{\"A\":[{},{},{},\n{\"x\":1},{\"x\":2}]}",
                  "overwritten",
                  {"{", "a headset has four presets; this one takes the place of the last of them, in line 2",
                   "remove one of them"}}});
}

} // namespace
} // namespace zq::test
