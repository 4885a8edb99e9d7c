// The five variables that exist even if no file has them.
#pragma once

namespace zq {

class VariableStore;

// Runs inside DoInit before the files are loaded, so values from a file replace these.
void LoadDefaultSettings(VariableStore& store);

} // namespace zq
