#include "SavedValue.h"

#include "Failure.h"
#include "Overloads.h"

#include <charconv>
#include <cmath>
#include <optional>

namespace zq::tool {

namespace {

template <class Number>
std::optional<Number> NumberOf(const std::string& text) {
    Number number{};
    const char* end = text.data() + text.size();
    const auto [last, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && last == end ? std::optional(number) : std::nullopt;
}

std::optional<bool> BoolOf(const std::string& text) {
    if (text == "true" || text == "false") {
        return text == "true";
    }
    return std::nullopt;
}

// JSON has no infinity and no NaN.
std::optional<double> DoubleOf(const std::string& text) {
    const std::optional<double> number = NumberOf<double>(text);
    return number && std::isfinite(*number) ? number : std::nullopt;
}

template <class Value>
SavedValue Require(const std::optional<Value>& value, const std::string& text, const std::string& type) {
    if (!value) {
        throw Failure("nothing was saved: \"" + text + "\" is no " + type, ExitCode::No);
    }
    return *value;
}

const char* JsonTypeOf(JsonKind kind) {
    switch (kind) {
    case JsonKind::Bool:
        return "bool";
    case JsonKind::Integer:
        return "integer";
    case JsonKind::Double:
        return "double";
    default:
        return "string";
    }
}

bool IsBeyond64Bits(const std::string& text) {
    int64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [last, error] = std::from_chars(text.data(), end, number);
    return error == std::errc::result_out_of_range && last == end;
}

const char* WhatIsWrong(JsonKind kind, const std::string& text) {
    switch (kind) {
    case JsonKind::Bool:
        return " is not true or false";
    case JsonKind::Integer:
        return IsBeyond64Bits(text) ? " is beyond 64 bits" : " is not a whole number";
    default:
        return " is not a number";
    }
}

} // namespace

ValueSetter SetterOf(const SavedValue& value) {
    return [&value](EditableValue& member) {
        std::visit(Overloads{
                       [&](bool truth) { member.SetBool(truth); },
                       [&](int64_t number) { member.SetInt64(number); },
                       [&](double number) { member.SetDouble(number); },
                       [&](const std::string& text) {
                           member.SetString(rapidjson::StringRef(text.data(), text.size()));
                       },
                   },
                   value);
    };
}

SavedValue ParseSavedValue(const std::string& text, const std::string& type) {
    if (type == "bool") {
        return Require(BoolOf(text), text, type);
    }
    if (type == "integer") {
        return Require(NumberOf<int64_t>(text), text, type);
    }
    if (type == "double") {
        return Require(DoubleOf(text), text, type);
    }
    return text;
}

SavedValue ParseSavedValueFor(const std::string& name, const SettingMember& member, const std::string& text,
                              bool isFraction) {
    const std::string line = " (line " + std::to_string(member.line) + ")";
    if (member.kind == JsonKind::Object || member.kind == JsonKind::Array || member.kind == JsonKind::Null) {
        throw Failure("nothing was saved: " + name + " is " +
                          (member.kind == JsonKind::Object  ? "an object"
                           : member.kind == JsonKind::Array ? "a list"
                                                            : "null") +
                          line + ", which a value would replace whole; --type and --force do that",
                      ExitCode::No);
    }
    if (isFraction && member.kind == JsonKind::Integer && !NumberOf<int64_t>(text) && DoubleOf(text)) {
        return *DoubleOf(text);
    }
    try {
        return ParseSavedValue(text, JsonTypeOf(member.kind));
    } catch (const Failure&) {
        throw Failure("nothing was saved: \"" + text + '"' + WhatIsWrong(member.kind, text) + ", and " +
                          name + " is " + member.text + line + "; --type saves another type",
                      ExitCode::No);
    }
}

} // namespace zq::tool
