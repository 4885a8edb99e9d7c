// The integers and the doubles of the store: two name spaces in one table. A whole number of a file is an
// integer and a double: it has one entry for both, with one name and one look-up, until a host changes one of
// the two.
//
// Portable, no locks: the owner serialises.
#pragma once

#include "variables/VariableMap.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <type_traits>

namespace zq {

// An integer, a double, or both of the same value.
struct Number {
    enum Halves : uint32_t { kInteger = 1, kReal = 2, kWhole = kInteger | kReal };

    static Number Of(int64_t value) { return {kInteger, value}; }
    static Number Of(double value) { return {kReal, std::bit_cast<int64_t>(value)}; }
    static Number Whole(int64_t value) { return {kWhole, value}; }
    template <class Value>
    static constexpr uint32_t HalfOf() {
        static_assert(std::is_same_v<Value, int64_t> || std::is_same_v<Value, double>);
        return std::is_same_v<Value, double> ? kReal : kInteger;
    }

    // The integer or the double, where there is one.
    template <class Value>
    std::optional<Value> As() const {
        if ((halves & HalfOf<Value>()) == 0) {
            return std::nullopt;
        }
        if constexpr (std::is_same_v<Value, double>) {
            return halves == kReal ? std::bit_cast<double>(bits) : static_cast<double>(bits);
        } else {
            return bits;
        }
    }
    // This without one of its halves. REQUIRES: it has the other one.
    Number Without(uint32_t half) const { return half == kReal ? Of(*As<int64_t>()) : Of(*As<double>()); }
    // Doubles bit by bit: -0.0 is not 0.0.
    bool operator==(const Number&) const = default;

    uint32_t halves = 0;
    int64_t bits = 0; // the integer, or the double where that is alone
};

class NumberMap {
    using Table = VariableMap<int64_t>;
    struct Counts {
        size_t entries = 0;
        size_t nameUnits = 0;
    };

public:
    using Node = Table::Node; // its marks are the halves that it has

    // The integers or the doubles as a map of their own.
    template <class Value>
    class Half {
    public:
        explicit Half(const NumberMap& numbers) : m_numbers(numbers) {}

        size_t Size() const { return Counted().entries; }
        // Of all names together, in characters.
        size_t NameUnits() const { return Counted().nameUnits; }
        std::optional<Value> Find(std::wstring_view name, uint32_t hash) const {
            const Node* node = m_numbers.Find(name, hash, Number::HalfOf<Value>());
            return node ? NumberOf(*node).template As<Value>() : std::nullopt;
        }
        // Calls visit(node, value) for every entry.
        template <class Visit>
        void ForEachNode(Visit visit) const {
            m_numbers.m_table.ForEachNode([&](const Node& node, int64_t) {
                if (const std::optional<Value> value = NumberOf(node).template As<Value>()) {
                    visit(node, *value);
                }
            });
        }
        // As VariableMap::ForEach.
        template <class Visit>
        void ForEach(Visit visit) const {
            NameBuffer whole;
            ForEachNode([&](const Node& node, Value value) { visit(Table::WholeName(node, whole), value); });
        }

    private:
        const Counts& Counted() const {
            return std::is_same_v<Value, double> ? m_numbers.m_reals : m_numbers.m_integers;
        }

        const NumberMap& m_numbers;
    };

    Half<int64_t> Integers() const { return Half<int64_t>(*this); }
    Half<double> Doubles() const { return Half<double>(*this); }

    // The entry of that name that has any of `halves`; null when there is none.
    Node* Find(std::wstring_view name, uint32_t hash, uint32_t halves,
               const NamePrefix* prefix = nullptr) const {
        return m_table.Find(name, hash, prefix,
                            [halves](const Node& node) { return (node.Marks() & halves) != 0; });
    }
    // As VariableMap's.
    Node* FindForWrite(std::wstring_view name, uint32_t hash, uint32_t halves,
                       const NamePrefix* prefix = nullptr) const {
        return m_table.FindForWrite(name, hash, prefix,
                                    [halves](const Node& node) { return (node.Marks() & halves) != 0; });
    }
    static Number NumberOf(const Node& node) { return {node.Marks(), node.value}; }

    // These are as VariableMap's.
    bool MayHave(uint32_t hash) const { return m_table.MayHave(hash); }
    BucketPlaces Buckets() const { return m_table.Buckets(); }
    void Reserve(const ExpectedEntries& expected) { m_table.Reserve(expected); }
    // REQUIRES: there is none of the number's halves.
    Node* Add(std::wstring_view name, uint32_t hash, const NamePrefix* prefix, const Number& number) {
        Node* node = m_table.Add(name, hash, prefix, number.bits);
        SetHalves(node, number.halves);
        return node;
    }
    void Remove(Node* node) noexcept {
        SetHalves(node, 0);
        m_table.Remove(node);
    }
    void Clear() noexcept {
        m_table.Clear();
        m_integers = m_reals = {};
    }
    // Makes the entry what `number` is, no more and no less, and returns what it was.
    Number Exchange(Node* node, const Number& number) noexcept {
        const Number before = NumberOf(*node);
        node->value = number.bits;
        SetHalves(node, number.halves);
        return before;
    }

    // Sets the integer or the double of that name. Returns whether it is new or was another one: -0.0 equals
    // 0.0, a NaN equals nothing. Raises std::bad_alloc, and has changed nothing then.
    template <class Value>
    bool Set(std::wstring_view name, uint32_t hash, Value value) {
        Node* node = FindForWrite(name, hash, Number::HalfOf<Value>());
        if (!node) {
            Add(name, hash, nullptr, Number::Of(value));
            return true;
        }
        const Number held = NumberOf(*node);
        if (held.As<Value>() == value) {
            return false;
        }
        if (held.halves == Number::kWhole) { // the other half stays as it was, by itself
            Add(name, hash, nullptr, held.Without(Number::HalfOf<Value>()));
        }
        Exchange(node, Number::Of(value));
        return true;
    }

private:
    void SetHalves(Node* node, uint32_t halves) noexcept {
        const uint32_t before = node->Marks();
        if (before == halves) {
            return;
        }
        const size_t units = node->NameLength();
        const auto count = [&](Counts& counts, uint32_t half) {
            // Unsigned: where one is taken away, both sums come out right.
            const size_t more =
                ((halves & half) != 0 ? size_t{1} : 0) - ((before & half) != 0 ? size_t{1} : 0);
            counts.entries += more;
            counts.nameUnits += more * units;
        };
        count(m_integers, Number::kInteger);
        count(m_reals, Number::kReal);
        node->SetMarks(halves);
    }

    Table m_table;
    Counts m_integers;
    Counts m_reals;
};

} // namespace zq
