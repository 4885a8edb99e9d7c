// The answers about the three files: their text, what the module would make of another one, writing, and
// copies.
#pragma once

#include "serve/Answers.h"

namespace zq::tool {

void AnswerFile(Dashboard& dashboard, const Arguments& arguments, MessageWriter& writer);
void AnswerCheck(Dashboard& dashboard, const Arguments& arguments, MessageWriter& writer);
void AnswerPreview(Dashboard& dashboard, const Arguments& arguments, MessageWriter& writer);
void AnswerFix(Dashboard& dashboard, const Arguments& arguments, MessageWriter& writer);
void AnswerWrite(Dashboard& dashboard, const Arguments& arguments, MessageWriter& writer);
void AnswerCopies(Dashboard& dashboard, const Arguments& arguments, MessageWriter& writer);
void AnswerCopy(Dashboard& dashboard, const Arguments& arguments, MessageWriter& writer);
void AnswerRestore(Dashboard& dashboard, const Arguments& arguments, MessageWriter& writer);

} // namespace zq::tool
