// A text as the reader sees it, of wide units or of bytes, and the scalars in it: what a value starts with,
// and reading one or checking it.
//
// Portable.
#pragma once

#include "base/Widen.h"
#include "config/json/JsonScalar.h"
#include "config/json/JsonTokens.h"
#include "config/json/JsonTrace.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace zq {

// What the first unit of a value makes of it.
enum class JsonStart : uint8_t { None, Object, Array, String, Number, Literal };

namespace detail {

constexpr std::array<JsonStart, 128> MakeJsonStarts() {
    std::array<JsonStart, 128> starts{};
    starts['{'] = JsonStart::Object;
    starts['['] = JsonStart::Array;
    starts['"'] = JsonStart::String;
    for (const char unit : std::string_view("tTfFnN")) {
        starts[static_cast<unsigned char>(unit)] = JsonStart::Literal;
    }
    for (const char unit : std::string_view("+-0123456789")) {
        starts[static_cast<unsigned char>(unit)] = JsonStart::Number;
    }
    return starts;
}

inline constexpr std::array<JsonStart, 128> kJsonStarts = MakeJsonStarts();

} // namespace detail

template <class Unit>
JsonStart JsonStartOf(Unit unit) {
    const auto index = static_cast<size_t>(unit);
    return index < detail::kJsonStarts.size() ? detail::kJsonStarts[index] : JsonStart::None;
}

inline bool IsContainer(JsonStart start) { return start == JsonStart::Object || start == JsonStart::Array; }

// A text of wide units.
struct WideJsonText {
    using Unit = wchar_t;
    const wchar_t* text;
    int32_t length;

    int32_t String(std::wstring_view& result, Arena& arena, int32_t offset) const {
        return ParseJsonString(result, arena, text + offset, length - offset);
    }
    int32_t Number(JsonValue& value, int32_t offset) const {
        return ParseJsonNumber(value, text + offset, length - offset);
    }
    int32_t Literal(JsonValue& value, int32_t offset) const {
        return ParseJsonLiteral(value, text + offset, length - offset);
    }
};

// A text of bytes that are one character each.
struct ByteJsonText : JsonBytes {
    using Unit = JsonByte;

    JsonBytes From(int32_t offset) const { return {text + offset, length - offset, table}; }
    int32_t String(std::wstring_view& result, Arena& arena, int32_t offset) const {
        const int32_t count = ShortString(result, arena, offset + 1);
        return count != 0 ? count : LongString(result, arena, offset);
    }
    int32_t Number(JsonValue& value, int32_t offset) const { return ParseJsonNumber(value, From(offset)); }
    int32_t Literal(JsonValue& value, int32_t offset) const { return ParseJsonLiteral(value, From(offset)); }

private:
    // Without the address of the result, which then is in registers.
    int32_t LongString(std::wstring_view& result, Arena& arena, int32_t offset) const {
        std::wstring_view string;
        const int32_t count = ParseJsonString(string, arena, From(offset));
        result = string;
        return count;
    }

    // Most strings: those that end within a block of ASCII and have no escape. 0 for any other.
    int32_t ShortString(std::wstring_view& result, Arena& arena, int32_t inside) const {
        using Block = detail::UnitBlock<Unit>;
        if (length - inside < Block::kUnits) {
            return 0;
        }
        const uint32_t found = Block(text + inside).EitherOf('"', '\\');
        const int32_t count = std::countr_zero(found | 1U << static_cast<unsigned>(Block::kUnits));
        auto* out = static_cast<wchar_t*>(arena.Room(detail::kWidenStep * sizeof(wchar_t)));
        if (found == 0 || text[inside + count] != '"' || !detail::WidenAsciiBlock(out, text + inside)) {
            return 0;
        }
        arena.Take(static_cast<size_t>(count) * sizeof(wchar_t));
        result = {out, static_cast<size_t>(count)};
        return count + 2;
    }
};

// Reads the scalar at the offset. Returns how many units it has, below 1 where there is none.
template <class Text>
int32_t ReadJsonScalar(JsonValue& value, Arena& arena, const Text& text, int32_t offset) {
    switch (offset < text.length ? JsonStartOf(text.text[offset]) : JsonStart::None) {
    case JsonStart::String: {
        std::wstring_view string;
        const int32_t count = text.String(string, arena, offset);
        value.kind = JsonKind::String;
        value.count = static_cast<uint32_t>(string.size());
        value.text = string.data();
        return count;
    }
    case JsonStart::Number:
        return text.Number(value, offset);
    case JsonStart::Literal:
        return text.Literal(value, offset);
    default:
        return -1;
    }
}

// The same of a scalar that nobody reads: to the same result, but without its value.
template <class Text>
int32_t SkipJsonScalar(const Text& text, int32_t offset) {
    // First what long arrays consist of.
    if (offset < text.length && (IsJsonDigit(text.text[offset]) || text.text[offset] == '-')) {
        return JsonNumberUnits(text.text, offset, text.length);
    }
    switch (offset < text.length ? JsonStartOf(text.text[offset]) : JsonStart::None) {
    case JsonStart::String:
        return SkipJsonString(text.text, offset, text.length) - offset;
    case JsonStart::Number:
        return JsonNumberUnits(text.text, offset, text.length);
    case JsonStart::Literal:
        return JsonLiteralUnits(text.text, offset, text.length);
    default:
        return -1;
    }
}

// Why a scalar at the front of the text could not be read.
inline JsonFault JsonScalarFault(const wchar_t* text, int32_t length) {
    switch (length < 1 ? JsonStart::None : JsonStartOf(*text)) {
    case JsonStart::Number: {
        const std::wstring_view rest(text, static_cast<size_t>(length));
        return rest.find_first_not_of(L"0123456789.", 1) == std::wstring_view::npos &&
                       rest.find(L'.') == rest.rfind(L'.')
                   ? JsonFault::NumberAtEnd
                   : JsonFault::SecondPoint;
    }
    case JsonStart::Literal:
        return JsonFault::WrongLiteral;
    default:
        return JsonFault::NoValue;
    }
}

} // namespace zq
