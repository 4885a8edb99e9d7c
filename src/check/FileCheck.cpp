#include "check/FileCheck.h"

#include "base/HostLog.h"
#include "check/Checks.h"
#include "check/FlattenNotes.h"
#include "check/Quote.h"
#include "check/Recovery.h"

#include <algorithm>
#include <array>
#include <set>
#include <tuple>

namespace zq {

namespace {

// A document with the wrong kind of root is read to its end and gives no variables.
bool IsRootOfKind(ConfigFile file, const JsonValue& root) {
    return root.Is(file == ConfigFile::HmdList ? JsonKind::Array : JsonKind::Object);
}

bool IsError(const Problem& problem) { return problem.severity == Severity::Error; }

// Whether the text can be read, and only blanks follow the document.
bool IsReadable(std::wstring_view text) {
    JsonRoot root;
    DocumentMap document;
    document.Read(root, text);
    return document.Result() >= 1 && IsBlank(text.substr(static_cast<size_t>(document.Result())));
}

// What another problem at the same offset says better.
struct Echo {
    std::string_view code;
    std::string_view said;
};
constexpr std::array<Echo, 3> kEchoes = {
    {{"not-read", "misspelt"}, {"overwritten", "not-read"}, {"skipped-headset", "wrong-type"}}};

} // namespace

bool WouldLoad(ConfigFile file, std::string_view bytes) {
    ConfigText config(file);
    return config.Read(bytes) && config.IsRootAccepted();
}

FileCheck::FileCheck(ConfigFile file, std::string_view bytes, const DefaultFile& defaults)
    : m_file(file), m_source(bytes), m_edited(m_source.Text(), {}) {
    Read();
    CheckText();
    if (m_document.Result() >= 1 && m_hasDocument) {
        CheckMeaning(defaults);
    }
    Judge(bytes);
    Sort();
    if (m_isAccepted && !m_misreadFrom) {
        m_isSavable = CheckSaving(bytes, m_source, m_problems);
    }
}

// Edits an unreadable text to what its author most likely meant.
void FileCheck::Read() {
    TextEdits edits;
    if (m_source.Length() > 0 && !IsReadable(m_source.Text())) {
        Recovered recovered = Recover(m_source.Text());
        m_problems = std::move(recovered.problems);
        edits = std::move(recovered.edits);
        m_isEdited = true;
        m_hasDocument = recovered.hasDocument;
        m_edited = EditedText(m_source.Text(), edits);
    }
    CheckEncoding(m_source, edits, m_problems);
    m_document.Read(m_root, m_edited.Text());
}

// Works on the text that was read, and gives all problems and nodes the offsets of the original.
void FileCheck::CheckText() {
    Problems found;
    CheckTokens(m_edited.Text(), m_document, found);
    CheckCommas(m_edited.Text(), m_document, found);
    CheckEnd(m_edited.Text(), m_document, found);
    if (!m_isEdited && IsMisread(found)) {
        ExplainMisreading(found);
    }
    if (m_document.Fault() && std::none_of(m_problems.begin(), m_problems.end(), IsError)) {
        const int32_t fault = *m_document.Fault();
        const bool isEmpty = m_source.Length() == 0 || IsBlank(m_source.Text());
        AddError(found, isEmpty ? "empty" : "no-value", fault, fault,
                 isEmpty ? "the file is empty" : "the text cannot be read from here on",
                 isEmpty ? "write {} or [] at least" : "");
    }
    for (Problem& problem : found) {
        problem.begin = m_edited.OriginalOffset(problem.begin);
        problem.end = std::max(problem.begin, m_edited.OriginalOffset(problem.end));
        if (m_isEdited) {
            problem.edits.clear();
        }
        m_problems.push_back(std::move(problem));
    }
    if (m_isEdited) {
        m_document.MapOffsets(m_edited);
    }
}

// Reports what the author did instead of how the reader understood it.
void FileCheck::ExplainMisreading(Problems& found) {
    Problems faults = Recover(m_source.Text()).problems;
    if (faults.empty()) {
        return;
    }
    const int32_t first =
        std::min_element(faults.begin(), faults.end(), [](const Problem& a, const Problem& b) {
            return a.begin < b.begin;
        })->begin;
    m_misreadFrom = first;
    std::erase_if(found, [first](const Problem& problem) { return problem.begin >= first; });
    m_problems.insert(m_problems.end(), faults.begin(), faults.end());
}

void FileCheck::CheckMeaning(const DefaultFile& defaults) {
    CheckRoot();
    CheckDuplicates(m_source, m_document, m_problems);
    CheckSpelling(m_document, defaults, m_problems);
    if (IsRootOfKind(m_file, m_root)) {
        CheckMembers(m_file, m_document, m_problems);
    }
    FlattenNotes notes(m_source, m_document, m_batch, m_problems);
    FlattenConfig(m_file, m_root, m_batch, HostLog(), &notes);
    m_variables = notes.TakeVariables();
    CheckOverwritten(m_file, m_source, m_document, m_variables, m_problems);
    CheckValues(m_variables, defaults, m_problems);
    if (m_file == ConfigFile::Settings) {
        CheckReferences(m_variables, m_problems);
    }
    if (m_isEdited) {
        m_variables.clear();
    }
    const std::string_view kept = "non-ascii";
    std::erase_if(m_problems, [&](const Problem& problem) {
        return m_misreadFrom && problem.begin >= *m_misreadFrom && problem.severity == Severity::Warning &&
               problem.code != kept;
    });
}

void FileCheck::Add(const Problems& problems) {
    m_problems.insert(m_problems.end(), problems.begin(), problems.end());
    Sort();
}

void FileCheck::TreatWarningsAsErrors() {
    for (Problem& problem : m_problems) {
        problem.severity = Severity::Error;
    }
}

void FileCheck::AddAdvice(std::string_view code, const std::string& advice) {
    for (Problem& problem : m_problems) {
        if (problem.code == code) {
            problem.fix = advice;
        }
    }
}

void FileCheck::CheckRoot() {
    if (IsRootOfKind(m_file, m_root)) {
        return;
    }
    const DocumentNode& root = m_document.Nodes().front();
    if (m_file == ConfigFile::HmdList) {
        AddError(m_problems, "wrong-root", root.begin, root.begin + 1, "the headset list must be an array",
                 "put it into \"[\" and \"]\"");
    } else {
        AddWarning(m_problems, "wrong-root", root.begin, root.begin + 1,
                   m_file == ConfigFile::Settings ? "every setting is lost: the document must be an object"
                                                  : "every preset is lost: the document must be an object",
                   root.kind == JsonKind::Array ? "remove the \"[\" and \"]\" around it"
                                                : "put it into \"{\" and \"}\"");
    }
}

// If the module accepts the file all the same, what could have refused it is worth a warning: another machine
// may refuse it.
void FileCheck::Judge(std::string_view bytes) {
    m_isAccepted = WouldLoad(m_file, bytes);
    if (m_isAccepted) {
        for (Problem& problem : m_problems) {
            problem.severity = Severity::Warning;
        }
    } else if (std::none_of(m_problems.begin(), m_problems.end(), IsError)) {
        AddError(m_problems, "length", m_source.Length(), m_source.Length(),
                 "the module reads another number of characters than the file has bytes",
                 "write ASCII characters only");
    }
}

void FileCheck::Sort() {
    std::stable_sort(m_problems.begin(), m_problems.end(), [](const Problem& a, const Problem& b) {
        return std::tie(a.begin, a.severity) < std::tie(b.begin, b.severity);
    });
    std::set<std::pair<int32_t, std::string_view>> said;
    std::set<int32_t> errors;
    for (const Problem& problem : m_problems) {
        said.emplace(problem.begin, problem.code);
        if (IsError(problem)) {
            errors.insert(problem.begin);
        }
        if (IsError(problem) && std::string_view(problem.code) == "no-value") {
            errors.insert(problem.end); // where the value is missed
        }
    }
    std::erase_if(m_problems, [&](const Problem& problem) {
        const std::string_view code = problem.code;
        // The placeholder of a missing value is read as null and skipped.
        const bool mayFollow = code == "missing-comma" || code == "skipped-null" || code == "no-name" ||
                               code == "skipped-member";
        const bool isSaid = std::any_of(kEchoes.begin(), kEchoes.end(), [&](const Echo& echo) {
            return code == echo.code && said.contains({problem.begin, echo.said});
        });
        return isSaid || (mayFollow && !IsError(problem) && errors.contains(problem.begin));
    });
}

} // namespace zq
