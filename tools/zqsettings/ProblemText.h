// Problems of a file as text: for a person as compilers print them, for another program as JSON.
#pragma once

#include "check/FileCheck.h"

#include <string>

namespace zq::tool {

// "file:line:column: error: text; fix", the line of the file, and a mark below the problem.
std::string ProblemText(const std::string& file, const SourceText& source, const Problem& problem,
                        bool hasColour);

// What would happen to the file, with the number of errors and warnings.
std::string VerdictText(const std::string& file, const FileCheck& check);

} // namespace zq::tool
