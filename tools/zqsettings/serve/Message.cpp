#include "serve/Message.h"

#include "Overloads.h"
#include "Text.h"
#include "VariableText.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>

#include <windows.h>

namespace zq::tool {

namespace {

constexpr int64_t kProtocolVersion = 1;
// Readers that keep numbers as doubles round beyond.
constexpr int64_t kLargestExact = (int64_t{1} << 53) - 1;

void WriteValueOf(MessageWriter& writer, const VariableValue& value) {
    std::visit(
        Overloads{
            [&](ZQBool truth) { writer.Bool(truth != 0); },
            [&](int64_t number) { writer.Int64(number); },
            [&](double number) {
                if (std::isfinite(number)) {
                    writer.Double(number);
                } else {
                    WriteText(writer, std::isnan(number) ? "NaN" : number > 0 ? "Infinity" : "-Infinity");
                }
            },
            [&](const std::wstring& text) { WriteText(writer, Utf8FromWide(text)); },
            [&](const std::vector<uint8_t>& bytes) { WriteText(writer, HexText(bytes, "")); },
        },
        value);
}

void WriteValueMember(MessageWriter& writer, const char* name, const char* textName,
                      const VariableValue& value) {
    writer.Key(name);
    WriteValueOf(writer, value);
    const auto* integer = std::get_if<int64_t>(&value);
    if (integer && (*integer > kLargestExact || *integer < -kLargestExact)) {
        WriteTextMember(writer, textName, std::to_string(*integer));
    }
}

void WriteTypes(MessageWriter& writer, const std::vector<VariableType>& types) {
    writer.Key("types");
    writer.StartArray();
    for (const VariableType type : types) {
        WriteText(writer, VariableTypeName(type));
    }
    writer.EndArray();
}

bool AreTwins(const VariableValue& integer, const VariableValue& real) {
    const auto* whole = std::get_if<int64_t>(&integer);
    const auto* number = std::get_if<double>(&real);
    return whole && number && static_cast<double>(*whole) == *number;
}

// Bit by bit: a NaN is no change of itself.
bool IsSameValue(const VariableValue& a, const VariableValue& b) {
    const auto* x = std::get_if<double>(&a);
    const auto* y = std::get_if<double>(&b);
    return x && y ? std::bit_cast<uint64_t>(*x) == std::bit_cast<uint64_t>(*y) : a == b;
}

// Whether the change of a double says nothing that the change of the integer before it does not.
bool IsSameChange(const MergedChange& integer, const Variable* oldReal, const Variable* newReal) {
    const auto agree = [](const std::optional<VariableValue>& value, const Variable* real) {
        return value ? real && AreTwins(*value, real->value) : real == nullptr;
    };
    return integer.types == std::vector{VariableTypeInt64} && agree(integer.oldValue, oldReal) &&
           agree(integer.newValue, newReal);
}

void AddChange(std::vector<MergedChange>& changes, const Variable* before, const Variable* after) {
    const Variable& any = before ? *before : *after;
    if (any.Type() == VariableTypeDouble && !changes.empty() && changes.back().name == any.name &&
        IsSameChange(changes.back(), before, after)) {
        changes.back().types.push_back(VariableTypeDouble);
        return;
    }
    MergedChange& change = changes.emplace_back();
    change.name = any.name;
    change.types = {any.Type()};
    if (before) {
        change.oldValue = before->value;
    }
    if (after) {
        change.newValue = after->value;
    }
}

int Compare(const Variable& a, const Variable& b) {
    const int order = a.name.compare(b.name);
    return order != 0 ? order : static_cast<int>(a.Type()) - static_cast<int>(b.Type());
}

std::string TimeText(const SYSTEMTIME& time) {
    char text[32];
    std::snprintf(text, sizeof(text), "%04u-%02u-%02uT%02u:%02u:%02u.%03uZ", unsigned{time.wYear},
                  unsigned{time.wMonth}, unsigned{time.wDay}, unsigned{time.wHour}, unsigned{time.wMinute},
                  unsigned{time.wSecond}, unsigned{time.wMilliseconds});
    return text;
}

} // namespace

std::string TimeText() {
    SYSTEMTIME now{};
    GetSystemTime(&now);
    return TimeText(now);
}

std::string TimeText(uint64_t fileTime) {
    const FILETIME parts = {static_cast<DWORD>(fileTime), static_cast<DWORD>(fileTime >> 32U)};
    SYSTEMTIME time{};
    FileTimeToSystemTime(&parts, &time);
    return TimeText(time);
}

Message::Message(const char* kind) {
    m_writer.StartObject();
    Integer("version", kProtocolVersion);
    Text("kind", kind);
    Text("time", TimeText());
}

Message& Message::Text(const char* name, std::string_view text) {
    WriteTextMember(m_writer, name, text);
    return *this;
}

Message& Message::Integer(const char* name, int64_t number) {
    m_writer.Key(name);
    m_writer.Int64(number);
    return *this;
}

Message& Message::Double(const char* name, double number) {
    m_writer.Key(name);
    m_writer.Double(number);
    return *this;
}

Message& Message::Truth(const char* name, bool truth) {
    m_writer.Key(name);
    m_writer.Bool(truth);
    return *this;
}

std::string Message::Take() {
    m_writer.EndObject();
    return {m_buffer.GetString(), m_buffer.GetSize()};
}

void WriteText(MessageWriter& writer, std::string_view text) {
    writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

void WriteTextMember(MessageWriter& writer, const char* name, std::string_view text) {
    writer.Key(name);
    WriteText(writer, text);
}

std::vector<MergedVariable> MergeTwins(const std::vector<Variable>& variables) {
    std::vector<MergedVariable> merged;
    merged.reserve(variables.size());
    for (const Variable& variable : variables) {
        if (!merged.empty() && merged.back().name == variable.name &&
            AreTwins(merged.back().value, variable.value)) {
            merged.back().isTwin = true;
        } else {
            merged.push_back({variable.name, variable.value, false});
        }
    }
    return merged;
}

std::vector<MergedChange> ChangesBetween(const std::vector<Variable>& before,
                                         const std::vector<Variable>& after) {
    std::vector<MergedChange> changes;
    auto old = before.begin();
    auto now = after.begin();
    while (old != before.end() || now != after.end()) {
        const int order = old == before.end() ? 1 : now == after.end() ? -1 : Compare(*old, *now);
        if (order < 0) {
            AddChange(changes, &*old, nullptr);
        } else if (order > 0) {
            AddChange(changes, nullptr, &*now);
        } else if (!IsSameValue(old->value, now->value)) {
            AddChange(changes, &*old, &*now);
        }
        old += order <= 0 ? 1 : 0;
        now += order >= 0 ? 1 : 0;
    }
    return changes;
}

void WriteVariables(MessageWriter& writer, const std::vector<Variable>& variables) {
    writer.StartArray();
    for (const MergedVariable& variable : MergeTwins(variables)) {
        writer.StartObject();
        WriteTextMember(writer, "name", Utf8FromWide(variable.name));
        std::vector<VariableType> types = {static_cast<VariableType>(variable.value.index() + 1)};
        if (variable.isTwin) {
            types.push_back(VariableTypeDouble);
        }
        WriteTypes(writer, types);
        WriteValueMember(writer, "value", "text", variable.value);
        writer.EndObject();
    }
    writer.EndArray();
}

void WriteChanges(MessageWriter& writer, const std::vector<MergedChange>& changes) {
    writer.StartArray();
    for (const MergedChange& change : changes) {
        writer.StartObject();
        WriteTextMember(writer, "name", Utf8FromWide(change.name));
        WriteTypes(writer, change.types);
        if (change.oldValue) {
            WriteValueMember(writer, "old", "oldText", *change.oldValue);
        }
        if (change.newValue) {
            WriteValueMember(writer, "new", "newText", *change.newValue);
        }
        writer.EndObject();
    }
    writer.EndArray();
}

void WriteProblems(MessageWriter& writer, const SourceText& source, const Problems& problems, size_t most) {
    writer.StartArray();
    for (size_t i = 0; i < std::min(most, problems.size()); ++i) {
        const Problem& problem = problems[i];
        const TextPosition begin = source.PositionOf(problem.begin);
        const TextPosition end = source.PositionOf(std::max(problem.begin, problem.end));
        writer.StartObject();
        WriteTextMember(writer, "severity", problem.severity == Severity::Error ? "error" : "warning");
        WriteTextMember(writer, "code", problem.code);
        const std::pair<const char*, int32_t> numbers[] = {
            {"line", begin.line}, {"column", begin.column}, {"endLine", end.line}, {"endColumn", end.column}};
        for (const auto& [name, number] : numbers) {
            writer.Key(name);
            writer.Int(number);
        }
        WriteTextMember(writer, "text", problem.text);
        WriteTextMember(writer, "fix", problem.fix);
        writer.EndObject();
    }
    writer.EndArray();
}

} // namespace zq::tool
