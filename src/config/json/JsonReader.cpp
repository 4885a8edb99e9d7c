#include "config/json/JsonReader.h"

#include "config/json/JsonDocumentReader.h"

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

} // namespace

int32_t ParseJsonValue(JsonRoot& root, const wchar_t* text, int32_t length, JsonRoleOf roleOf,
                       JsonConsumer* consumer) {
    return text && length >= 1
               ? ReadJsonAfterSpace(root, WideJsonText{text, length}, SkipJsonSpace(text, 0, length),
                                    NoTrace(), {roleOf, consumer})
               : -1;
}

int32_t ParseJsonValue(JsonRoot& root, const JsonBytes& bytes, JsonRoleOf roleOf, JsonConsumer* consumer) {
    return bytes.text && bytes.length >= 1
               ? ReadJsonAfterSpace(root, ByteJsonText{bytes}, SkipJsonSpace(bytes.text, 0, bytes.length),
                                    NoTrace(), {roleOf, consumer})
               : -1;
}

int32_t ParseJsonObject(JsonRoot& root, const wchar_t* text, int32_t length) {
    return text && length >= 1 && *text == L'{'
               ? ReadJsonValue(root, WideJsonText{text, length}, NoTrace(), {})
               : -1;
}

int32_t ParseJsonArray(JsonRoot& root, const wchar_t* text, int32_t length) {
    return text && length >= 1 && *text == L'['
               ? ReadJsonValue(root, WideJsonText{text, length}, NoTrace(), {})
               : -1;
}

} // namespace zq
