// What flattening a document leaves to say: the place of each variable, what gave none and why, and which
// variables were written over.
//
// Portable.
#pragma once

#include "check/DocumentMap.h"
#include "check/Problem.h"
#include "check/SourceText.h"
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

    // Behind the flattening. They point into the batch and the document.
    std::vector<PlacedVariable> TakeVariables();

private:
    void OnAdded(const JsonValue& value) override;
    void OnSkipped(const JsonValue& value, Skipped reason) override;

    const SourceText& m_source;
    const DocumentMap& m_document;
    const VariableBatch& m_batch;
    Problems& m_problems;
    std::vector<const DocumentNode*> m_origins; // by entry of the batch
};

// Variables that a later place of the same file writes over.
void CheckOverwritten(const SourceText& source, const std::vector<PlacedVariable>& variables,
                      Problems& problems);

} // namespace zq
