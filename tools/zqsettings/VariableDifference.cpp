#include "VariableDifference.h"

#include "Text.h"
#include "VariableText.h"

#include <bit>
#include <tuple>

namespace zq::tool {

namespace {

auto KeyOf(const Variable& variable) {
    return std::make_tuple(std::wstring_view(variable.name), variable.Type());
}

// Bit by bit: a NaN is no change of itself.
bool IsSameValue(const VariableValue& a, const VariableValue& b) {
    const auto* x = std::get_if<double>(&a);
    const auto* y = std::get_if<double>(&b);
    return x && y ? std::bit_cast<uint64_t>(*x) == std::bit_cast<uint64_t>(*y) : a == b;
}

} // namespace

std::vector<VariableChange> Difference(const std::vector<Variable>& before,
                                       const std::vector<Variable>& after) {
    std::vector<VariableChange> changes;
    auto old = before.begin();
    auto now = after.begin();
    while (old != before.end() || now != after.end()) {
        if (now == after.end() || (old != before.end() && KeyOf(*old) < KeyOf(*now))) {
            changes.push_back({old->name, old->Type(), ValueText(old->value), {}});
            ++old;
        } else if (old == before.end() || KeyOf(*now) < KeyOf(*old)) {
            changes.push_back({now->name, now->Type(), {}, ValueText(now->value)});
            ++now;
        } else {
            if (!IsSameValue(old->value, now->value)) {
                changes.push_back({now->name, now->Type(), ValueText(old->value), ValueText(now->value)});
            }
            ++old;
            ++now;
        }
    }
    return changes;
}

std::string ChangeText(const VariableChange& change) {
    std::string text = Printable(change.name);
    text += " (";
    text += VariableTypeName(change.type);
    text += "): ";
    text += change.oldValue.empty() ? "(new)" : change.oldValue;
    text += " -> ";
    text += change.newValue.empty() ? "(gone)" : change.newValue;
    return text;
}

} // namespace zq::tool
