#include "SavedValue.h"

#include "Failure.h"

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
        throw Failure("\"" + text + "\" is no " + type);
    }
    return SavedValue(*value);
}

SavedValue Guess(const std::string& text) {
    if (const auto boolean = BoolOf(text)) {
        return SavedValue(*boolean);
    }
    if (const auto integer = NumberOf<int64_t>(text)) {
        return SavedValue(*integer);
    }
    if (const auto real = DoubleOf(text)) {
        return SavedValue(*real);
    }
    return SavedValue(text);
}

struct Saver {
    CZQModSettings& module;
    const wchar_t* name;
    ZQBool perDevice;

    void operator()(bool value) const { module.SaveConfigBool(name, value ? 1 : 0, perDevice); }
    void operator()(int64_t value) const { module.SaveConfigInt64(name, value, perDevice); }
    void operator()(double value) const { module.SaveConfigDouble(name, value, perDevice); }
    void operator()(const std::string& value) const {
        module.SaveConfigString(name, value.c_str(), perDevice);
    }
};

} // namespace

void SavedValue::Save(CZQModSettings& module, const wchar_t* name, ZQBool perDevice) const {
    std::visit(Saver{module, name, perDevice}, m_value);
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
    return type == "string" ? SavedValue(text) : Guess(text);
}

} // namespace zq::tool
