// One configuration file, looked at before the module sees it: whether the module would take it, what is
// wrong with it, and which variables it gives from which place.
//
// Portable. The verdict and the variables are the module's own: ConfigText reads and FlattenConfig flattens.
#pragma once

#include "check/Checks.h"
#include "check/DocumentMap.h"
#include "check/Problem.h"
#include "check/SourceText.h"
#include "config/ConfigText.h"
#include "variables/VariableBatch.h"

#include <string_view>
#include <vector>

namespace zq {

// A variable with the place of the text that gave it.
struct PlacedVariable {
    const VariableBatch::Entry* entry;
    const DocumentNode* node; // null for what the module counts itself
};

class FileCheck {
public:
    // `known` are the keys of the default file; empty where it is not at hand. Raises std::bad_alloc.
    FileCheck(ConfigFile file, std::string_view bytes, const KnownKeys& known);
    FileCheck(const FileCheck&) = delete;
    FileCheck& operator=(const FileCheck&) = delete;

    ConfigFile File() const { return m_file; }
    // Whether the module on a machine with this code page would load the file.
    bool IsAccepted() const { return m_isAccepted; }
    // By place. All of them are warnings where the file is accepted.
    const Problems& All() const { return m_problems; }
    // Each behind the others of its place.
    void Add(const Problems& problems);

    const SourceText& Source() const { return m_source; }
    const DocumentMap& Document() const { return m_document; }
    // In the order in which the module writes them; none where the text cannot be read.
    const std::vector<PlacedVariable>& Variables() const { return m_variables; }

private:
    void Flatten();
    void CheckRoot();
    void Judge(std::string_view bytes);
    void Sort();

    ConfigFile m_file;
    SourceText m_source;
    JsonRoot m_root;
    DocumentMap m_document;
    VariableBatch m_batch;
    std::vector<PlacedVariable> m_variables;
    Problems m_problems;
    bool m_isAccepted = false;
};

// Whether the module, on a machine with this code page, would load a file with these bytes.
bool WouldLoad(ConfigFile file, std::string_view bytes);

// The keys of a document, at every depth, and the last parts of dotted ones; none of a text that cannot be
// read.
KnownKeys KeysOf(std::string_view bytes);

} // namespace zq
