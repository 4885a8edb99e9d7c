// Saving one variable by the module's own save slots, and why that is not possible.
#pragma once

#include "serve/Answers.h"

#include <string>

namespace zq::tool {

// Writes an object: "possible", and "reason" where it is not.
void WriteSavability(MessageWriter& writer, Dashboard& dashboard, const std::wstring& name);

void AnswerSave(Dashboard& dashboard, const Arguments& arguments, MessageWriter& writer);

} // namespace zq::tool
