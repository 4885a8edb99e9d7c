#include "config/JsonReader.h"

#include "config/JsonTreeBuilder.h"

#include <string_view>

namespace zq {

namespace {

// One pass over the text with a stack of open containers on the heap.
class Reader {
public:
    Reader(JsonRoot& root, const wchar_t* text, int32_t length)
        : m_builder(root.arena), m_arena(root.arena), m_text(text), m_length(length),
          m_lastQuote(LastOf(L'"')) {}

    // Reads the container at the front of the text. The result is as of ParseJsonObject.
    int32_t ReadContainer(JsonValue& result) {
        if (!Open()) {
            return -1;
        }
        for (;;) {
            SkipSpace();
            if (IsAtClose()) {
                ++m_place;
                if (Close(result)) {
                    return m_place;
                }
                continue;
            }
            if (m_builder.IsInObject() && !ReadKey()) {
                return Failure();
            }
            if (m_place < m_length && (m_text[m_place] == L'{' || m_text[m_place] == L'[')) {
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
        const size_t place = std::wstring_view(m_text, static_cast<size_t>(m_length)).rfind(unit);
        return place == std::wstring_view::npos ? -1 : static_cast<int32_t>(place);
    }

    // The last closing unit of each kind is looked for once, so that the test whether any follows costs
    // nothing.
    bool IsClosedSomewhere(bool isObject) {
        int32_t& last = isObject ? m_lastBrace : m_lastBracket;
        if (last == kNotSought) {
            last = LastOf(isObject ? L'}' : L']');
        }
        return last >= m_place;
    }

    bool Open() {
        const bool isObject = m_text[m_place] == L'{';
        if (!IsClosedSomewhere(isObject)) {
            return false;
        }
        if (m_builder.Depth() == 1) {
            m_elementPlace = m_place;
        }
        m_builder.Open(isObject);
        ++m_place;
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
        return m_place < m_length && m_text[m_place] == (m_builder.IsInObject() ? L'}' : L']');
    }

    bool ReadKey() {
        if (m_lastQuote < m_place) {
            return false;
        }
        std::wstring_view key;
        const int32_t count = ParseJsonString(key, m_arena, m_text + m_place, m_length - m_place);
        if (count < 1) {
            return false;
        }
        m_place += count;
        SkipSpace();
        if (m_place >= m_length || m_text[m_place] != L':') {
            return false;
        }
        ++m_place;
        SkipSpace();
        m_builder.SetKey(key);
        return true;
    }

    bool ReadScalar();

    void SkipSpace() {
        while (m_place < m_length && m_text[m_place] >= 1 && m_text[m_place] <= 32) {
            ++m_place;
        }
    }

    void SkipComma() {
        SkipSpace();
        if (m_place < m_length && m_text[m_place] == L',') {
            ++m_place;
        }
    }

    // Whatever fails inside a nested container, the outermost one stopped before the element that holds it.
    int32_t Failure() const { return -(m_builder.Depth() == 1 ? m_place : m_elementPlace); }

    static constexpr int32_t kNotSought = -2;

    JsonTreeBuilder m_builder;
    JsonArena& m_arena;
    const wchar_t* m_text;
    int32_t m_length;
    int32_t m_place = 0;
    int32_t m_elementPlace = 0; // where the outermost container's open element starts
    int32_t m_lastQuote;
    int32_t m_lastBrace = kNotSought;
    int32_t m_lastBracket = kNotSought;
};

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

int32_t ReadScalarAt(JsonValue& value, JsonArena& arena, const wchar_t* text, int32_t length) {
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

bool Reader::ReadScalar() {
    JsonValue value;
    const int32_t count = ReadScalarAt(value, m_arena, m_text + m_place, m_length - m_place);
    if (count < 1) {
        return false;
    }
    m_place += count;
    m_builder.Add(value);
    return true;
}

int32_t ParseAt(JsonRoot& root, const wchar_t* text, int32_t length) {
    JsonValue value;
    const Start start = StartOf(*text);
    if (start == Start::None) {
        return -1;
    }
    const int32_t count = start == Start::Object || start == Start::Array
                              ? Reader(root, text, length).ReadContainer(value)
                              : ReadScalarAt(value, root.arena, text, length);
    if (count < 1) {
        FreeJsonValue(root);
    } else {
        static_cast<JsonValue&>(root) = value;
    }
    return count;
}

} // namespace

int32_t ParseJsonValue(JsonRoot& root, const wchar_t* text, int32_t length) {
    if (!text || length < 1) {
        return -1;
    }
    int32_t space = 0;
    while (space < length && text[space] >= 1 && text[space] <= 32) {
        ++space;
    }
    if (space == length || StartOf(text[space]) == Start::None) {
        return -(space + 1);
    }
    const int32_t count = ParseAt(root, text + space, length - space);
    return count < 1 ? count : count + space;
}

int32_t ParseJsonObject(JsonRoot& root, const wchar_t* text, int32_t length) {
    return text && length >= 1 && *text == L'{' ? ParseAt(root, text, length) : -1;
}

int32_t ParseJsonArray(JsonRoot& root, const wchar_t* text, int32_t length) {
    return text && length >= 1 && *text == L'[' ? ParseAt(root, text, length) : -1;
}

int32_t ParseJsonLiteral(JsonValue& value, const wchar_t* text, int32_t length) {
    constexpr int32_t kShortest = 4;
    if (length < kShortest) {
        return -1;
    }
    const int32_t wanted = *text == L'f' || *text == L'F' ? 5 : kShortest;
    if (length < wanted) {
        return -1;
    }
    const std::wstring_view word(text, static_cast<size_t>(wanted));
    const auto is = [word](std::wstring_view literal) {
        for (size_t i = 0; i < literal.size(); ++i) {
            const wchar_t lower =
                word[i] >= L'A' && word[i] <= L'Z' ? static_cast<wchar_t>(word[i] + 32) : word[i];
            if (lower != literal[i]) {
                return false;
            }
        }
        return word.size() == literal.size();
    };
    if (is(L"true") || is(L"false")) {
        value.kind = JsonKind::Bool;
        value.boolean = is(L"true") ? 1 : 0;
        return wanted;
    }
    if (is(L"null")) {
        value.kind = JsonKind::Null;
        return wanted;
    }
    return -1;
}

} // namespace zq
