// The five variables that a host finds even when no file holds them.
#pragma once

namespace zq {

class VariableStore;

// Runs inside DoInit, before the files are loaded: what a file holds replaces these.
void LoadDefaultSettings(VariableStore& store);

} // namespace zq
