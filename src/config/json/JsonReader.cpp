#include "config/json/JsonReader.h"

#include "config/json/JsonTokens.h"
#include "config/json/JsonTrace.h"
#include "config/json/JsonTreeBuilder.h"

#include <string_view>
#include <vector>

namespace zq {

namespace {

enum class Start { None, Object, Array, String, Number, Literal };

template <class Unit>
Start StartOf(Unit unit) {
    switch (unit) {
    case '{':
        return Start::Object;
    case '[':
        return Start::Array;
    case '"':
        return Start::String;
    case 't':
    case 'T':
    case 'f':
    case 'F':
    case 'n':
    case 'N':
        return Start::Literal;
    default:
        return unit == '+' || unit == '-' || IsJsonDigit(unit) ? Start::Number : Start::None;
    }
}

bool IsContainer(Start start) { return start == Start::Object || start == Start::Array; }

// A text of wide units.
struct WideText {
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
struct ByteText : JsonBytes {
    using Unit = JsonByte;

    JsonBytes From(int32_t offset) const { return {text + offset, length - offset, table}; }
    int32_t String(std::wstring_view& result, Arena& arena, int32_t offset) const {
        return ParseJsonString(result, arena, From(offset));
    }
    int32_t Number(JsonValue& value, int32_t offset) const { return ParseJsonNumber(value, From(offset)); }
    int32_t Literal(JsonValue& value, int32_t offset) const { return ParseJsonLiteral(value, From(offset)); }
};

template <class Text>
int32_t ReadScalarAt(JsonValue& value, Arena& arena, const Text& text, int32_t offset) {
    switch (offset < text.length ? StartOf(text.text[offset]) : Start::None) {
    case Start::String: {
        std::wstring_view string;
        const int32_t count = text.String(string, arena, offset);
        value.kind = JsonKind::String;
        value.count = static_cast<uint32_t>(string.size());
        value.text = string.data();
        return count;
    }
    case Start::Number:
        return text.Number(value, offset);
    case Start::Literal:
        return text.Literal(value, offset);
    default:
        return -1;
    }
}

// How many units a scalar has that nobody reads; to the same verdict as ReadScalarAt.
template <class Text>
int32_t SkipScalarAt(const Text& text, int32_t offset) {
    switch (offset < text.length ? StartOf(text.text[offset]) : Start::None) {
    case Start::String:
        return SkipJsonString(text.text, offset, text.length) - offset;
    case Start::Number:
        return JsonNumberUnits(text.text, offset, text.length);
    case Start::Literal:
        return JsonLiteralUnits(text.text, offset, text.length);
    default:
        return -1;
    }
}

// Why a scalar at the front of the text could not be read.
JsonFault ScalarFault(const wchar_t* text, int32_t length) {
    switch (length < 1 ? Start::None : StartOf(*text)) {
    case Start::Number: {
        const std::wstring_view rest(text, static_cast<size_t>(length));
        return rest.find_first_not_of(L"0123456789.", 1) == std::wstring_view::npos &&
                       rest.find(L'.') == rest.rfind(L'.')
                   ? JsonFault::NumberAtEnd
                   : JsonFault::SecondPoint;
    }
    case Start::Literal:
        return JsonFault::WrongLiteral;
    default:
        return JsonFault::NoValue;
    }
}

// The reader for the module itself: nothing is reported, nothing is spent.
struct NoTrace {
    static constexpr bool kReports = false;

    void OnOpen(int32_t, bool) const {}
    void OnClose(int32_t) const {}
    void OnKey(int32_t, int32_t, std::wstring_view) const {}
    void OnScalar(int32_t, int32_t, const JsonValue&) const {}
    void OnMissingComma(int32_t) const {}
    void OnTrailingComma(int32_t) const {}
    void OnFault(int32_t, JsonFault) const {}
};

// Reports to a trace, with offsets counted from the start of the text instead of the value's.
class OffsetTrace {
public:
    static constexpr bool kReports = true;

    OffsetTrace(JsonTrace& trace, int32_t start) : m_trace(trace), m_start(start) {}

    void OnOpen(int32_t offset, bool isObject) const { m_trace.OnOpen(m_start + offset, isObject); }
    void OnClose(int32_t end) const { m_trace.OnClose(m_start + end); }
    void OnKey(int32_t offset, int32_t end, std::wstring_view key) const {
        m_trace.OnKey(m_start + offset, m_start + end, key);
    }
    void OnScalar(int32_t offset, int32_t end, const JsonValue& value) const {
        m_trace.OnScalar(m_start + offset, m_start + end, value);
    }
    void OnMissingComma(int32_t offset) const { m_trace.OnMissingComma(m_start + offset); }
    void OnTrailingComma(int32_t offset) const { m_trace.OnTrailingComma(m_start + offset); }
    void OnFault(int32_t offset, JsonFault fault) const { m_trace.OnFault(m_start + offset, fault); }

private:
    JsonTrace& m_trace;
    int32_t m_start;
};

// Builds what the file's flattener reads.
class BuildingSink {
public:
    static constexpr bool kBuilds = true;

    BuildingSink(Arena& arena, JsonRoleOf roleOf) : m_builder(arena), m_roleOf(roleOf) {}

    bool IsInObject() const { return m_builder.IsInObject(); }
    void SetKey(std::wstring_view key) { m_builder.SetKey(key); }
    // Whether an element of the innermost container is read.
    bool IsRead(bool isObject) const { return isObject || (m_builder.Role() & kJsonObjectsOnly) == 0; }
    void Add(const JsonValue& value) { m_builder.Add(value); }

    // The role of a container that would be opened now.
    uint8_t NextRole(bool isObject) const {
        if (!m_roleOf) {
            return kJsonDocument;
        }
        return m_builder.Depth() == 0 ? m_roleOf(kJsonDocument, isObject, {})
                                      : m_roleOf(m_builder.Role(), isObject, m_builder.Key());
    }
    void Open(bool isObject) { m_builder.Open(isObject, NextRole(isObject)); }
    // Returns whether that was the outermost container, which is then the result.
    bool Close() {
        m_result = m_builder.Close();
        if (m_builder.Depth() == 0) {
            return true;
        }
        m_builder.Add(m_result);
        return false;
    }
    const JsonValue& Result() const { return m_result; }

private:
    JsonTreeBuilder m_builder;
    JsonRoleOf m_roleOf;
    JsonValue m_result;
};

// Checks a container that nobody reads, with a bit for each open one.
class SkippingSink {
public:
    static constexpr bool kBuilds = false;

    bool IsInObject() const { return m_isObject; }
    void Open(bool isObject) {
        if (m_depth++ != 0) {
            m_outer.push_back(m_isObject);
        }
        m_isObject = isObject;
    }
    bool Close() {
        if (--m_depth == 0) {
            return true;
        }
        m_isObject = m_outer.back();
        m_outer.pop_back();
        return false;
    }

private:
    bool m_isObject = false;
    size_t m_depth = 0;
    std::vector<bool> m_outer;
};

// One pass over the text with a stack of open containers on the heap.
template <class Text, class Trace>
class Reader {
public:
    Reader(JsonRoot& root, const Text& text, const Trace& trace, JsonRoleOf roleOf)
        : m_source(text), m_trace(trace), m_texts(root.texts), m_builder(root.nodes, roleOf) {}

    // Reads the container at the front of the text. The result is as of ParseJsonObject.
    int32_t ReadRoot(JsonValue& result) {
        const bool isRead = ReadNext(m_builder, result);
        return isRead ? m_offset : m_depth == 0 ? -1 : Failure();
    }

private:
    using Unit = typename Text::Unit;

    const Unit* Units() const { return m_source.text; }
    int32_t Length() const { return m_source.length; }
    bool IsAt(char unit) const { return m_offset < Length() && Units()[m_offset] == static_cast<Unit>(unit); }
    void SkipSpace() { m_offset = SkipJsonSpace(Units(), m_offset, Length()); }

    // Reads the container at the offset, or checks it where nobody reads it.
    bool ReadNext(BuildingSink& sink, JsonValue& result) {
        const bool isObject = IsAt('{');
        if (sink.NextRole(isObject) == kJsonUnread) {
            SkippingSink skipping;
            result.kind = isObject ? JsonKind::Object : JsonKind::Array;
            return Open(skipping) && ReadContainer(skipping);
        }
        if (!Open(sink) || !ReadContainer(sink)) {
            return false;
        }
        result = sink.Result();
        return true;
    }

    // Reads up to the end of the outermost container that the sink has open.
    template <class Sink>
    bool ReadContainer(Sink& sink) {
        for (;;) {
            SkipSpace();
            const bool isAtClose = IsAt(sink.IsInObject() ? '}' : ']');
            ReportComma(isAtClose);
            if (isAtClose) {
                ++m_offset;
                --m_depth;
                m_trace.OnClose(m_offset);
                if (sink.Close()) {
                    return true;
                }
                SkipComma();
            } else if (sink.IsInObject() && !ReadKey(sink)) {
                return false;
            } else if (IsAt('{') || IsAt('[')) {
                if (!ReadNested(sink)) {
                    return false;
                }
            } else {
                if (!ReadScalar(sink)) {
                    return false;
                }
                SkipComma();
            }
        }
    }

    bool ReadNested(SkippingSink& sink) { return Open(sink); }

    bool ReadNested(BuildingSink& sink) {
        const bool isObject = IsAt('{');
        if (sink.NextRole(isObject) != kJsonUnread) {
            return Open(sink);
        }
        SkippingSink skipping;
        if (!Open(skipping) || !ReadContainer(skipping)) {
            return false;
        }
        if (sink.IsRead(isObject)) {
            JsonValue unread;
            unread.kind = isObject ? JsonKind::Object : JsonKind::Array;
            sink.Add(unread);
        }
        SkipComma();
        return true;
    }

    // The last unit of each kind is looked for once, so that the test whether any follows costs nothing.
    struct LastUnit {
        bool isSought = false;
        int32_t offset = -1;
    };

    bool Follows(LastUnit& last, char unit) {
        if (!last.isSought) {
            last = {true, FindLastUnit(Units(), Length(), static_cast<Unit>(unit))};
        }
        return last.offset >= m_offset;
    }

    template <class Sink>
    bool Open(Sink& sink) {
        const bool isObject = IsAt('{');
        if (!(isObject ? Follows(m_lastBrace, '}') : Follows(m_lastBracket, ']'))) {
            return Fail(JsonFault::NeverClosed);
        }
        if (m_depth == 1) {
            m_elementOffset = m_offset;
        }
        ++m_depth;
        sink.Open(isObject);
        m_trace.OnOpen(m_offset, isObject);
        ++m_offset;
        m_comma = Comma::NotNeeded;
        return true;
    }

    template <class Sink>
    bool ReadKey(Sink& sink) {
        if (m_offset >= Length()) {
            return Fail(JsonFault::Unfinished);
        }
        // Any unit is taken for the opening quote as long as a quote follows.
        if (!IsAt('"') && !Follows(m_lastQuote, '"')) {
            return Fail(JsonFault::NoKey);
        }
        if constexpr (Sink::kBuilds) {
            std::wstring_view key;
            const int32_t count = m_source.String(key, m_texts, m_offset);
            m_trace.OnKey(m_offset, m_offset + count, key);
            m_offset += count;
            sink.SetKey(key);
        } else {
            m_offset = SkipJsonString(Units(), m_offset, Length());
        }
        SkipSpace();
        if (!IsAt(':')) {
            return Fail(m_offset < Length() ? JsonFault::NoColon : JsonFault::Unfinished);
        }
        ++m_offset;
        SkipSpace();
        return true;
    }

    bool ReadScalar(SkippingSink&) { return Advance(SkipScalarAt(m_source, m_offset)); }

    bool ReadScalar(BuildingSink& sink) {
        if (!sink.IsRead(false)) {
            return Advance(SkipScalarAt(m_source, m_offset));
        }
        JsonValue value;
        const int32_t offset = m_offset;
        if (!Advance(ReadScalarAt(value, m_texts, m_source, offset))) {
            return false;
        }
        m_trace.OnScalar(offset, m_offset, value);
        sink.Add(value);
        return true;
    }

    // Moves over a scalar of `count` units, which is below 1 for one that could not be read.
    bool Advance(int32_t count) {
        if (count < 1) {
            return Fail(m_offset < Length() ? FaultAt() : JsonFault::Unfinished);
        }
        m_offset += count;
        return true;
    }

    JsonFault FaultAt() const {
        if constexpr (Trace::kReports) {
            return ScalarFault(Units() + m_offset, Length() - m_offset);
        } else {
            return JsonFault::NoValue;
        }
    }

    void SkipComma() {
        SkipSpace();
        const bool isComma = IsAt(',');
        if constexpr (Trace::kReports) {
            m_comma = isComma ? Comma::Found : Comma::Missing;
            m_commaOffset = m_offset;
        }
        m_offset += isComma ? 1 : 0;
    }

    // At the next element or at the end: was there a comma where one belongs, and only there?
    void ReportComma(bool isAtClose) const {
        if constexpr (Trace::kReports) {
            if (isAtClose && m_comma == Comma::Found) {
                m_trace.OnTrailingComma(m_commaOffset);
            } else if (!isAtClose && m_comma == Comma::Missing && m_offset < Length()) {
                m_trace.OnMissingComma(m_offset);
            }
        }
    }

    bool Fail(JsonFault fault) const {
        m_trace.OnFault(m_offset, fault);
        return false;
    }

    // Whatever fails inside a nested container, the outermost one stopped before the element that holds it.
    int32_t Failure() const { return -(m_depth == 1 ? m_offset : m_elementOffset); }

    enum class Comma { NotNeeded, Found, Missing };

    Text m_source;
    Trace m_trace;
    Arena& m_texts;
    BuildingSink m_builder;
    int32_t m_offset = 0;
    size_t m_depth = 0;               // of open containers, read or not
    int32_t m_elementOffset = 0;      // where the outermost container's open element starts
    Comma m_comma = Comma::NotNeeded; // after the last element
    int32_t m_commaOffset = 0;
    LastUnit m_lastQuote;
    LastUnit m_lastBrace;
    LastUnit m_lastBracket;
};

template <class Text, class Trace>
int32_t ReadRootScalar(JsonRoot& root, JsonValue& value, const Text& text, const Trace& trace) {
    const int32_t count = ReadScalarAt(value, root.texts, text, 0);
    if (count >= 1) {
        trace.OnScalar(0, count, value);
    } else if constexpr (Trace::kReports) {
        trace.OnFault(0, ScalarFault(text.text, text.length));
    }
    return count;
}

// Reads the value at the front of the text.
template <class Text, class Trace>
int32_t ReadValue(JsonRoot& root, const Text& text, const Trace& trace, JsonRoleOf roleOf) {
    JsonValue value;
    const int32_t count = IsContainer(StartOf(text.text[0]))
                              ? Reader<Text, Trace>(root, text, trace, roleOf).ReadRoot(value)
                              : ReadRootScalar(root, value, text, trace);
    if (count < 1) {
        FreeJsonValue(root);
    } else {
        static_cast<JsonValue&>(root) = value;
    }
    return count;
}

// Reads the value after `space` units of white space.
template <class Text, class Trace>
int32_t ReadAfterSpace(JsonRoot& root, Text text, int32_t space, const Trace& trace, JsonRoleOf roleOf) {
    if (space == text.length || StartOf(text.text[space]) == Start::None) {
        trace.OnFault(0, space == text.length ? JsonFault::Empty : JsonFault::NoValue);
        return -(space + 1);
    }
    text.text += space;
    text.length -= space;
    const int32_t count = ReadValue(root, text, trace, roleOf);
    return count < 1 ? count : count + space;
}

} // namespace

int32_t ParseJsonValue(JsonRoot& root, const wchar_t* text, int32_t length, JsonRoleOf roleOf) {
    return text && length >= 1 ? ReadAfterSpace(root, WideText{text, length}, SkipJsonSpace(text, 0, length),
                                                NoTrace(), roleOf)
                               : -1;
}

int32_t ParseJsonValue(JsonRoot& root, const JsonBytes& bytes, JsonRoleOf roleOf) {
    return bytes.text && bytes.length >= 1
               ? ReadAfterSpace(root, ByteText{bytes}, SkipJsonSpace(bytes.text, 0, bytes.length), NoTrace(),
                                roleOf)
               : -1;
}

int32_t ParseJsonValue(JsonRoot& root, const wchar_t* text, int32_t length, JsonTrace& trace) {
    if (!text || length < 1) {
        trace.OnFault(0, JsonFault::Empty);
        return -1;
    }
    const int32_t space = SkipJsonSpace(text, 0, length);
    return ReadAfterSpace(root, WideText{text, length}, space, OffsetTrace(trace, space), nullptr);
}

int32_t ParseJsonObject(JsonRoot& root, const wchar_t* text, int32_t length) {
    return text && length >= 1 && *text == L'{' ? ReadValue(root, WideText{text, length}, NoTrace(), nullptr)
                                                : -1;
}

int32_t ParseJsonArray(JsonRoot& root, const wchar_t* text, int32_t length) {
    return text && length >= 1 && *text == L'[' ? ReadValue(root, WideText{text, length}, NoTrace(), nullptr)
                                                : -1;
}

} // namespace zq
