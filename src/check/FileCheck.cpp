#include "check/FileCheck.h"

#include "check/FlattenNotes.h"
#include "check/Quote.h"
#include "base/HostLog.h"

#include <algorithm>
#include <set>
#include <tuple>

namespace zq {

namespace {

// A document without a root object or array, or with a wrong one, is read to its end and gives nothing.
bool IsRootOfKind(ConfigFile file, const JsonValue& root) {
    return root.Is(file == ConfigFile::HmdList ? JsonKind::Array : JsonKind::Object);
}

} // namespace

bool WouldLoad(ConfigFile file, std::string_view bytes) {
    ConfigText config(file);
    return config.Read(bytes) && config.IsRootAccepted();
}

FileCheck::FileCheck(ConfigFile file, std::string_view bytes, const KnownKeys& known)
    : m_file(file), m_source(bytes) {
    m_document.Read(m_root, m_source.Text());
    CheckEncoding(m_source, m_document, m_problems);
    CheckFault(m_source, m_document, m_problems);
    CheckTokens(m_source, m_document, m_problems);
    CheckStructure(m_source, m_document, m_problems);
    CheckSpelling(m_document, known, m_problems);
    if (m_document.Result() >= 1) {
        CheckRoot();
        Flatten();
    }
    Judge(bytes);
    Sort();
}

void FileCheck::Add(const Problems& problems) {
    m_problems.insert(m_problems.end(), problems.begin(), problems.end());
    Sort();
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
                   "the document is no object, so nothing of it is read", "put it into \"{\" and \"}\"");
    }
}

void FileCheck::Flatten() {
    FlattenNotes notes(m_source, m_document, m_batch, m_problems);
    FlattenConfig(m_file, m_root, m_batch, HostLog(), &notes);
    m_variables = notes.TakeVariables();
    CheckOverwritten(m_source, m_variables, m_problems);
}

// Where the module takes the file after all, what could have refused it is worth a warning: elsewhere it may.
void FileCheck::Judge(std::string_view bytes) {
    m_isAccepted = WouldLoad(m_file, bytes);
    const auto isError = [](const Problem& problem) { return problem.severity == Severity::Error; };
    if (m_isAccepted) {
        for (Problem& problem : m_problems) {
            problem.severity = Severity::Warning;
        }
    } else if (std::none_of(m_problems.begin(), m_problems.end(), isError)) {
        AddError(m_problems, "length", m_source.Length(), m_source.Length(),
                 "the module counts other characters than the file has bytes", "write ASCII characters only");
    }
}

void FileCheck::Sort() {
    std::stable_sort(m_problems.begin(), m_problems.end(), [](const Problem& a, const Problem& b) {
        return std::tie(a.begin, a.severity) < std::tie(b.begin, b.severity);
    });
    // What ends the reading also looks like a missing comma, or like a text without an end.
    std::set<int32_t> errors;
    for (const Problem& problem : m_problems) {
        if (problem.severity == Severity::Error) {
            errors.insert(problem.begin);
        }
    }
    std::erase_if(m_problems, [&errors](const Problem& problem) {
        const std::string_view code = problem.code;
        const bool mayEcho = code == "missing-comma" || code == "unclosed-text";
        return mayEcho && problem.severity == Severity::Warning && errors.contains(problem.begin);
    });
}

KnownKeys KeysOf(std::string_view bytes) {
    const SourceText source(bytes);
    JsonRoot root;
    DocumentMap document;
    document.Read(root, source.Text());
    KnownKeys keys;
    for (const DocumentNode& node : document.Nodes()) {
        if (node.HasKey() && document.Result() >= 1) {
            keys.emplace(node.key);
            // A dotted key may also be written as a nested one.
            keys.emplace(node.key.substr(node.key.rfind(L'.') + 1));
        }
    }
    return keys;
}

} // namespace zq
