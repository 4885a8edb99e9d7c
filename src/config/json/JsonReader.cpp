#include "config/json/JsonReader.h"

#include "config/json/JsonContainerReader.h"
#include "config/json/JsonText.h"
#include "config/json/JsonTrace.h"

#include <string_view>

namespace zq {

namespace {

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

template <class Text, class Trace>
int32_t ReadRootScalar(JsonRoot& root, JsonValue& value, const Text& text, const Trace& trace) {
    const int32_t count = ReadJsonScalar(value, root.texts, text, 0);
    if (count >= 1) {
        trace.OnScalar(0, count, value);
    } else if constexpr (Trace::kReports) {
        trace.OnFault(0, JsonScalarFault(text.text, text.length));
    }
    return count;
}

// Reads the value at the front of the text.
template <class Text, class Trace>
int32_t ReadValue(JsonRoot& root, const Text& text, const Trace& trace, JsonRoleOf roleOf) {
    JsonValue value;
    const int32_t count = IsContainer(JsonStartOf(text.text[0]))
                              ? JsonContainerReader<Text, Trace>(root, text, trace, roleOf).ReadRoot(value)
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
    if (space == text.length || JsonStartOf(text.text[space]) == JsonStart::None) {
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
    return text && length >= 1 ? ReadAfterSpace(root, WideJsonText{text, length},
                                                SkipJsonSpace(text, 0, length), NoTrace(), roleOf)
                               : -1;
}

int32_t ParseJsonValue(JsonRoot& root, const JsonBytes& bytes, JsonRoleOf roleOf) {
    return bytes.text && bytes.length >= 1
               ? ReadAfterSpace(root, ByteJsonText{bytes}, SkipJsonSpace(bytes.text, 0, bytes.length),
                                NoTrace(), roleOf)
               : -1;
}

int32_t ParseJsonValue(JsonRoot& root, const wchar_t* text, int32_t length, JsonTrace& trace) {
    if (!text || length < 1) {
        trace.OnFault(0, JsonFault::Empty);
        return -1;
    }
    const int32_t space = SkipJsonSpace(text, 0, length);
    return ReadAfterSpace(root, WideJsonText{text, length}, space, OffsetTrace(trace, space), nullptr);
}

int32_t ParseJsonObject(JsonRoot& root, const wchar_t* text, int32_t length) {
    return text && length >= 1 && *text == L'{'
               ? ReadValue(root, WideJsonText{text, length}, NoTrace(), nullptr)
               : -1;
}

int32_t ParseJsonArray(JsonRoot& root, const wchar_t* text, int32_t length) {
    return text && length >= 1 && *text == L'['
               ? ReadValue(root, WideJsonText{text, length}, NoTrace(), nullptr)
               : -1;
}

} // namespace zq
