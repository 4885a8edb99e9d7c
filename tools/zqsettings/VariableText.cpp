#include "VariableText.h"

#include "JsonOutput.h"
#include "Overloads.h"
#include "Text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace zq::tool {

namespace {

// Bytes of a binary value that the table shows.
constexpr size_t kShownBytes = 16;
// A longer name pushes its own line's columns out, not those of all lines.
constexpr size_t kWidestName = 60;

std::string DoubleText(double value) {
    std::array<char, 32> buffer;
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value).ptr;
    std::string text(buffer.data(), end);
    // A whole number keeps its point, so that it is not taken for an integer.
    if (std::isfinite(value) && text.find_first_of(".e") == std::string::npos) {
        text += ".0";
    }
    return text;
}

std::string BinaryText(const std::vector<uint8_t>& bytes) {
    std::string text = std::to_string(bytes.size()) + (bytes.size() == 1 ? " byte" : " bytes");
    if (!bytes.empty()) {
        text += ": " + HexText(std::span(bytes).first(std::min(bytes.size(), kShownBytes)), " ");
    }
    return bytes.size() > kShownBytes ? text + " ..." : text;
}

std::string BoolText(ZQBool value) {
    if (value > 1) {
        return "true (" + std::to_string(value) + ")";
    }
    return value != 0 ? "true" : "false";
}

size_t Columns(const std::string& utf8) {
    return static_cast<size_t>(
        std::count_if(utf8.begin(), utf8.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

std::string Padded(std::string text, size_t width) {
    const size_t columns = Columns(text);
    return columns < width ? text.append(width - columns, ' ') : text;
}

} // namespace

std::string HexText(std::span<const uint8_t> bytes, const char* separator) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string text;
    for (const uint8_t byte : bytes) {
        if (!text.empty()) {
            text += separator;
        }
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0xF];
    }
    return text;
}

const std::map<std::string, VariableType>& VariableTypeNames() {
    static const std::map<std::string, VariableType> names = {{"bool", VariableTypeBool},
                                                              {"integer", VariableTypeInt64},
                                                              {"double", VariableTypeDouble},
                                                              {"string", VariableTypeString},
                                                              {"binary", VariableTypeBinary}};
    return names;
}

std::string VariableTypeName(VariableType type) {
    for (const auto& [name, code] : VariableTypeNames()) {
        if (code == type) {
            return name;
        }
    }
    return "type " + std::to_string(type);
}

std::string ValueText(const VariableValue& value) {
    return std::visit(Overloads{
                          [](ZQBool truth) { return BoolText(truth); },
                          [](int64_t number) { return std::to_string(number); },
                          [](double number) { return DoubleText(number); },
                          [](const std::wstring& text) { return '"' + Printable(text) + '"'; },
                          [](const std::vector<uint8_t>& bytes) { return BinaryText(bytes); },
                      },
                      value);
}

std::string TableText(const std::vector<Variable>& variables) {
    size_t width = 4;
    for (const Variable& variable : variables) {
        width = std::max(width, std::min(Columns(Printable(variable.name)), kWidestName));
    }
    const auto line = [width](const std::string& name, const std::string& type, const std::string& value) {
        return Padded(name, width) + "  " + Padded(type, 7) + "  " + value + "\n";
    };
    std::string text = line("NAME", "TYPE", "VALUE");
    for (const Variable& variable : variables) {
        text += line(Printable(variable.name), VariableTypeName(variable.Type()), ValueText(variable.value));
    }
    return text + std::to_string(variables.size()) + (variables.size() == 1 ? " variable\n" : " variables\n");
}

std::string PlainText(const VariableValue& value) {
    return std::visit(Overloads{
                          [](ZQBool truth) { return std::string(truth != 0 ? "true" : "false"); },
                          [](int64_t number) { return std::to_string(number); },
                          [](double number) { return DoubleText(number); },
                          [](const std::wstring& text) { return Utf8FromWide(text); },
                          [](const std::vector<uint8_t>& bytes) { return HexText(bytes, ""); },
                      },
                      value);
}

std::string JsonText(const std::vector<Variable>& variables) {
    return JsonDocument([&](JsonWriter& writer) {
        writer.StartArray();
        for (const Variable& variable : variables) {
            writer.StartObject();
            WriteMember(writer, "name", Utf8FromWide(variable.name));
            WriteMember(writer, "type", VariableTypeName(variable.Type()));
            writer.Key("value");
            WriteValue(writer, variable.value);
            writer.EndObject();
        }
        writer.EndArray();
    });
}

} // namespace zq::tool
