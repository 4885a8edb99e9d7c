#include "VariableDifference.h"

#include "Text.h"
#include "VariableText.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <iterator>
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

bool IsSameNumber(const std::optional<VariableValue>& integer, const std::optional<VariableValue>& real) {
    if (!integer || !real) {
        return !integer && !real;
    }
    const auto* const whole = std::get_if<int64_t>(&*integer);
    const auto* const number = std::get_if<double>(&*real);
    return whole && number && static_cast<double>(*whole) == *number;
}

bool IsTwin(const VariableChange& integer, const VariableChange& real) {
    return integer.name == real.name && integer.types.front() == VariableTypeInt64 &&
           real.types.front() == VariableTypeDouble && IsSameNumber(integer.oldValue, real.oldValue) &&
           IsSameNumber(integer.newValue, real.newValue);
}

void Add(std::vector<VariableChange>& changes, VariableChange change) {
    if (!changes.empty() && IsTwin(changes.back(), change)) {
        changes.back().types.push_back(VariableTypeDouble);
    } else {
        changes.push_back(std::move(change));
    }
}

} // namespace

std::vector<VariableChange> Difference(const std::vector<Variable>& before,
                                       const std::vector<Variable>& after) {
    std::vector<VariableChange> changes;
    auto old = before.begin();
    auto now = after.begin();
    while (old != before.end() || now != after.end()) {
        if (now == after.end() || (old != before.end() && KeyOf(*old) < KeyOf(*now))) {
            Add(changes, {old->name, {old->Type()}, old->value, std::nullopt});
            ++old;
        } else if (old == before.end() || KeyOf(*now) < KeyOf(*old)) {
            Add(changes, {now->name, {now->Type()}, std::nullopt, now->value});
            ++now;
        } else {
            if (!IsSameValue(old->value, now->value)) {
                Add(changes, {now->name, {now->Type()}, old->value, now->value});
            }
            ++old;
            ++now;
        }
    }
    return changes;
}

std::vector<Variable> WithNames(const std::vector<Variable>& before, const std::vector<Variable>& after,
                                const std::set<std::wstring>& names) {
    const auto isNamed = [&](const Variable& variable) { return names.contains(variable.name); };
    std::vector<Variable> result;
    std::copy_if(before.begin(), before.end(), std::back_inserter(result), std::not_fn(isNamed));
    const auto kept = static_cast<std::ptrdiff_t>(result.size());
    std::copy_if(after.begin(), after.end(), std::back_inserter(result), isNamed);
    std::inplace_merge(result.begin(), result.begin() + kept, result.end(),
                       [](const Variable& a, const Variable& b) { return KeyOf(a) < KeyOf(b); });
    return result;
}

std::string ChangeText(const VariableChange& change) {
    std::string text = Printable(change.name) + " (";
    for (const VariableType type : change.types) {
        text += (type == change.types.front() ? "" : ", ") + VariableTypeName(type);
    }
    text += "): ";
    text += change.oldValue ? ValueText(*change.oldValue) : "(new)";
    text += " -> ";
    text += change.newValue ? ValueText(*change.newValue) : "(gone)";
    return text;
}

} // namespace zq::tool
