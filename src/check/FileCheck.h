// Checks one configuration file before the module sees it: whether the module would accept it, what is wrong
// with it, and which variables it gives from which offset.
//
// Portable. The verdict and the variables are the module's own: ConfigText reads and FlattenConfig flattens.
#pragma once

#include "check/Checks.h"
#include "check/DefaultFile.h"
#include "check/DocumentMap.h"
#include "check/Problem.h"
#include "check/SourceText.h"
#include "config/ConfigText.h"
#include "variables/VariableBatch.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zq {

// A variable with the node of the text that gave it.
struct PlacedVariable {
    VariableBatch::Entry entry;
    const DocumentNode* node; // null for what the module counts itself
};

class FileCheck {
public:
    // `defaults` describes the default file; empty if that is not available. Raises std::bad_alloc.
    FileCheck(ConfigFile file, std::string_view bytes, const DefaultFile& defaults);
    FileCheck(const FileCheck&) = delete;
    FileCheck& operator=(const FileCheck&) = delete;

    ConfigFile File() const { return m_file; }
    // Whether the module on a machine with this code page would load the file.
    bool IsAccepted() const { return m_isAccepted; }
    // Whether a setting can be saved to it: a save reads JSON only, not all that the module reads.
    bool IsSavable() const { return m_isSavable; }
    // Ordered by offset. There is an error if and only if the file is refused, until TreatWarningsAsErrors.
    const Problems& All() const { return m_problems; }
    // Each after the others of its offset.
    void Add(const Problems& problems);
    void TreatWarningsAsErrors();
    // Adds advice to the problems with this code.
    void AddAdvice(std::string_view code, const std::string& advice);

    const SourceText& Source() const { return m_source; }
    // The document that the author of an unreadable text most likely meant, with the offsets of the original.
    const DocumentMap& Document() const { return m_document; }
    // In the order in which the module writes them; none where the text cannot be read as it is.
    const std::vector<PlacedVariable>& Variables() const { return m_variables; }

private:
    void Read();
    void CheckText();
    void ExplainMisreading(Problems& found);
    void CheckMeaning(const DefaultFile& defaults);
    void CheckRoot();
    void Judge(std::string_view bytes);
    void Sort();

    ConfigFile m_file;
    SourceText m_source;
    EditedText m_edited; // the text that was read
    bool m_isEdited = false;
    bool m_hasDocument = true;
    std::optional<int32_t>
        m_misreadFrom; // from where on the reader takes something else for texts than the author
    JsonRoot m_root;
    DocumentMap m_document;
    VariableBatch m_batch;
    std::vector<PlacedVariable> m_variables;
    Problems m_problems;
    bool m_isAccepted = false;
    bool m_isSavable = false;
};

// Whether the module, on a machine with this code page, would load a file with these bytes.
bool WouldLoad(ConfigFile file, std::string_view bytes);

} // namespace zq
