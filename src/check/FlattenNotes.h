// What flattening a document reveals: the location of each variable, which nodes gave none and why, and which
// variables were overwritten.
//
// Portable.
#pragma once

#include "check/DocumentMap.h"
#include "check/Problem.h"
#include "check/SourceText.h"
#include "config/ConfigText.h"
#include "config/FlattenTrace.h"
#include "variables/VariableBatch.h"

#include <vector>

namespace zq {

struct PlacedVariable;

class FlattenNotes final : public FlattenTrace {
public:
    FlattenNotes(const SourceText& source, const DocumentMap& document, const VariableBatch& batch,
                 Problems& problems)
        : m_source(source), m_document(document), m_batch(batch), m_problems(problems) {}

    // After the flattening. They point into the batch and the document.
    std::vector<PlacedVariable> TakeVariables();

private:
    void OnAdded(const JsonValue& value) override;
    void OnSkipped(const JsonValue& value, Skipped reason) override;
    bool ReportWrongNumber(const DocumentNode& response);

    const SourceText& m_source;
    const DocumentMap& m_document;
    const VariableBatch& m_batch;
    Problems& m_problems;
    std::vector<const DocumentNode*> m_origins; // by entry of the batch
};

// Variables that a later part of the same file overwrites. If one element of a list replaces another, that is
// one problem.
void CheckOverwritten(ConfigFile file, const SourceText& source, const DocumentMap& document,
                      const std::vector<PlacedVariable>& variables, Problems& problems);

} // namespace zq
