// Variables as text: the names of their types, their values for a person and for another program.
#pragma once

#include "VariableListing.h"

#include <map>
#include <span>
#include <string>
#include <vector>

namespace zq::tool {

// "bool", "integer", "double", "string", "binary": as --type takes them and the table shows them.
const std::map<std::string, VariableType>& VariableTypeNames();
std::string VariableTypeName(VariableType type);

// For one line: true, 70, 1.5, "text", 3 bytes: 01 02 03.
std::string ValueText(const VariableValue& value);

// For scripts: the value alone, a string as it is, binary as hexadecimal digits.
std::string PlainText(const VariableValue& value);

std::string HexText(std::span<const uint8_t> bytes, const char* separator);

// Columns for name, type and value under a heading, with the number of variables below.
std::string TableText(const std::vector<Variable>& variables);

// An array with an object {"name", "type", "value"} for each variable. Binary values are hexadecimal digits;
// a double that JSON cannot hold is the string "NaN", "Infinity" or "-Infinity".
std::string JsonText(const std::vector<Variable>& variables);

} // namespace zq::tool
