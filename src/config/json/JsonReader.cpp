#include "config/json/JsonReader.h"

#include "config/json/JsonTrace.h"
#include "config/json/JsonTreeBuilder.h"

#include <string_view>

namespace zq {

namespace {

enum class Start { None, Object, Array, String, Number, Literal };

Start StartOf(wchar_t unit) {
    switch (unit) {
    case L'{':
        return Start::Object;
    case L'[':
        return Start::Array;
    case L'"':
        return Start::String;
    case L't':
    case L'T':
    case L'f':
    case L'F':
    case L'n':
    case L'N':
        return Start::Literal;
    default:
        return unit == L'+' || unit == L'-' || (unit >= L'0' && unit <= L'9') ? Start::Number : Start::None;
    }
}

int32_t ReadScalarAt(JsonValue& value, Arena& arena, const wchar_t* text, int32_t length) {
    switch (length < 1 ? Start::None : StartOf(*text)) {
    case Start::String: {
        std::wstring_view string;
        const int32_t count = ParseJsonString(string, arena, text, length);
        value.kind = JsonKind::String;
        value.count = static_cast<uint32_t>(string.size());
        value.text = string.data();
        return count;
    }
    case Start::Number:
        return ParseJsonNumber(value, text, length);
    case Start::Literal:
        return ParseJsonLiteral(value, text, length);
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

// The reader for the module itself: nothing is told, nothing is spent.
struct NoTrace {
    static constexpr bool kTells = false;

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
    static constexpr bool kTells = true;

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

// One pass over the text with a stack of open containers on the heap.
template <class Trace>
class Reader {
public:
    Reader(JsonRoot& root, const wchar_t* text, int32_t length, const Trace& trace)
        : m_trace(trace), m_builder(root.arena), m_arena(root.arena), m_text(text), m_length(length),
          m_lastQuote(LastOf(L'"')) {}

    // Reads the container at the front of the text. The result is as of ParseJsonObject.
    int32_t ReadContainer(JsonValue& result) {
        if (!Open()) {
            return -1;
        }
        for (;;) {
            SkipSpace();
            const bool isAtClose = IsAtClose();
            TellComma(isAtClose);
            if (isAtClose) {
                ++m_offset;
                m_trace.OnClose(m_offset);
                if (Close(result)) {
                    return m_offset;
                }
                continue;
            }
            if (m_builder.IsInObject() && !ReadKey()) {
                return Failure();
            }
            if (m_offset < m_length && (m_text[m_offset] == L'{' || m_text[m_offset] == L'[')) {
                if (!Open()) {
                    return Failure();
                }
                continue;
            }
            if (!ReadScalar()) {
                return Failure();
            }
            SkipComma();
        }
    }

private:
    int32_t LastOf(wchar_t unit) const {
        const size_t offset = std::wstring_view(m_text, static_cast<size_t>(m_length)).rfind(unit);
        return offset == std::wstring_view::npos ? -1 : static_cast<int32_t>(offset);
    }

    // The last closing unit of each kind is looked for once, so that the test whether any follows costs
    // nothing.
    bool IsClosedSomewhere(bool isObject) {
        int32_t& last = isObject ? m_lastBrace : m_lastBracket;
        if (last == kNotSought) {
            last = LastOf(isObject ? L'}' : L']');
        }
        return last >= m_offset;
    }

    bool Open() {
        const bool isObject = m_text[m_offset] == L'{';
        if (!IsClosedSomewhere(isObject)) {
            return Fail(JsonFault::NeverClosed);
        }
        if (m_builder.Depth() == 1) {
            m_elementOffset = m_offset;
        }
        m_builder.Open(isObject);
        m_trace.OnOpen(m_offset, isObject);
        ++m_offset;
        m_comma = kNoneNeeded;
        return true;
    }

    // Returns whether that was the outermost container.
    bool Close(JsonValue& result) {
        result = m_builder.Close();
        if (m_builder.Depth() == 0) {
            return true;
        }
        m_builder.Add(result);
        SkipComma();
        return false;
    }

    bool IsAtClose() const {
        return m_offset < m_length && m_text[m_offset] == (m_builder.IsInObject() ? L'}' : L']');
    }

    bool ReadKey() {
        if (m_lastQuote < m_offset) {
            return Fail(m_offset < m_length ? JsonFault::NoKey : JsonFault::Unfinished);
        }
        std::wstring_view key;
        const int32_t count = ParseJsonString(key, m_arena, m_text + m_offset, m_length - m_offset);
        if (count < 1) {
            return Fail(JsonFault::NoKey);
        }
        m_trace.OnKey(m_offset, m_offset + count, key);
        m_offset += count;
        SkipSpace();
        if (m_offset >= m_length || m_text[m_offset] != L':') {
            return Fail(m_offset < m_length ? JsonFault::NoColon : JsonFault::Unfinished);
        }
        ++m_offset;
        SkipSpace();
        m_builder.SetKey(key);
        return true;
    }

    bool ReadScalar() {
        JsonValue value;
        const wchar_t* const token = m_text + m_offset;
        const int32_t left = m_length - m_offset;
        const int32_t count = ReadScalarAt(value, m_arena, token, left);
        if (count < 1) {
            return Fail(left < 1 ? JsonFault::Unfinished : ScalarFault(token, left));
        }
        m_trace.OnScalar(m_offset, m_offset + count, value);
        m_offset += count;
        m_builder.Add(value);
        return true;
    }

    void SkipSpace() {
        while (m_offset < m_length && m_text[m_offset] >= 1 && m_text[m_offset] <= 32) {
            ++m_offset;
        }
    }

    void SkipComma() {
        SkipSpace();
        const bool isComma = m_offset < m_length && m_text[m_offset] == L',';
        m_comma = isComma ? m_offset : kMissing;
        m_offset += isComma ? 1 : 0;
    }

    // At the next element or at the end: was there a comma where one belongs, and only there?
    void TellComma(bool isAtClose) const {
        if constexpr (Trace::kTells) {
            if (isAtClose && m_comma >= 0) {
                m_trace.OnTrailingComma(m_comma);
            } else if (!isAtClose && m_comma == kMissing && m_offset < m_length) {
                m_trace.OnMissingComma(m_offset);
            }
        }
    }

    bool Fail(JsonFault fault) const {
        m_trace.OnFault(m_offset, fault);
        return false;
    }

    // Whatever fails inside a nested container, the outermost one stopped before the element that holds it.
    int32_t Failure() const { return -(m_builder.Depth() == 1 ? m_offset : m_elementOffset); }

    static constexpr int32_t kNotSought = -2;
    static constexpr int32_t kMissing = -1;
    static constexpr int32_t kNoneNeeded = -2;

    Trace m_trace;
    JsonTreeBuilder m_builder;
    Arena& m_arena;
    const wchar_t* m_text;
    int32_t m_length;
    int32_t m_offset = 0;
    int32_t m_comma = kNoneNeeded; // the offset of the one after the last element
    int32_t m_elementOffset = 0;   // where the outermost container's open element starts
    int32_t m_lastQuote;
    int32_t m_lastBrace = kNotSought;
    int32_t m_lastBracket = kNotSought;
};

template <class Trace>
int32_t ReadRootScalar(JsonRoot& root, JsonValue& value, const wchar_t* text, int32_t length,
                       const Trace& trace) {
    const int32_t count = ReadScalarAt(value, root.arena, text, length);
    if (count < 1) {
        trace.OnFault(0, ScalarFault(text, length));
    } else {
        trace.OnScalar(0, count, value);
    }
    return count;
}

template <class Trace>
int32_t ParseAt(JsonRoot& root, const wchar_t* text, int32_t length, const Trace& trace) {
    JsonValue value;
    const Start start = StartOf(*text);
    const int32_t count = start == Start::Object || start == Start::Array
                              ? Reader<Trace>(root, text, length, trace).ReadContainer(value)
                              : ReadRootScalar(root, value, text, length, trace);
    if (count < 1) {
        FreeJsonValue(root);
    } else {
        static_cast<JsonValue&>(root) = value;
    }
    return count;
}

int32_t LeadingSpace(const wchar_t* text, int32_t length) {
    int32_t space = 0;
    while (space < length && text[space] >= 1 && text[space] <= 32) {
        ++space;
    }
    return space;
}

template <class Trace>
int32_t ParseBehindSpace(JsonRoot& root, const wchar_t* text, int32_t length, int32_t space,
                         const Trace& trace) {
    if (space == length || StartOf(text[space]) == Start::None) {
        trace.OnFault(0, space == length ? JsonFault::Empty : JsonFault::NoValue);
        return -(space + 1);
    }
    const int32_t count = ParseAt(root, text + space, length - space, trace);
    return count < 1 ? count : count + space;
}

} // namespace

int32_t ParseJsonValue(JsonRoot& root, const wchar_t* text, int32_t length) {
    return text && length >= 1 ? ParseBehindSpace(root, text, length, LeadingSpace(text, length), NoTrace())
                               : -1;
}

int32_t ParseJsonValue(JsonRoot& root, const wchar_t* text, int32_t length, JsonTrace& trace) {
    if (!text || length < 1) {
        trace.OnFault(0, JsonFault::Empty);
        return -1;
    }
    const int32_t space = LeadingSpace(text, length);
    return ParseBehindSpace(root, text, length, space, OffsetTrace(trace, space));
}

int32_t ParseJsonObject(JsonRoot& root, const wchar_t* text, int32_t length) {
    return text && length >= 1 && *text == L'{' ? ParseAt(root, text, length, NoTrace()) : -1;
}

int32_t ParseJsonArray(JsonRoot& root, const wchar_t* text, int32_t length) {
    return text && length >= 1 && *text == L'[' ? ParseAt(root, text, length, NoTrace()) : -1;
}

} // namespace zq
