#include "config/json/JsonDocumentReader.h"

#include <string_view>

namespace zq {

namespace {

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

} // namespace

int32_t ParseJsonValue(JsonRoot& root, const wchar_t* text, int32_t length, JsonTrace& trace) {
    if (!text || length < 1) {
        trace.OnFault(0, JsonFault::Empty);
        return -1;
    }
    const int32_t space = SkipJsonSpace(text, 0, length);
    return ReadJsonAfterSpace(root, WideJsonText{text, length}, space, OffsetTrace(trace, space), {});
}

} // namespace zq
