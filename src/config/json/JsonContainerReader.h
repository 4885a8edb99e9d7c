// The structure of a document: containers, keys, commas and what is between them.
//
// Portable. A template over the text and the trace: the reading of the module itself reports nothing and
// spends nothing on it.
#pragma once

#include "config/json/JsonSinks.h"
#include "config/json/JsonText.h"
#include "config/json/JsonTokens.h"
#include "config/json/JsonTrace.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace zq {

// One pass over the text with a stack of open containers on the heap.
template <class Text, class Trace>
class JsonContainerReader {
public:
    JsonContainerReader(JsonRoot& root, JsonBuildingSink& builder, const Text& text, const Trace& trace)
        : m_source(text), m_trace(trace), m_texts(root.texts), m_builder(builder) {}

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
    bool ReadNext(JsonBuildingSink& sink, JsonValue& result) {
        const bool isObject = IsAt('{');
        if (sink.NextRole(isObject) == kJsonUnread) {
            JsonSkippingSink skipping;
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
        for (std::wstring_view key;;) { // of the element
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
                continue;
            }
            key = {};
            if (sink.IsInObject() && !ReadKey(sink, key)) {
                return false;
            }
            if (IsAt('{') || IsAt('[')) {
                if (!ReadNested(sink, key)) {
                    return false;
                }
            } else {
                if (!ReadScalar(sink, key)) {
                    return false;
                }
                SkipComma();
            }
        }
    }

    bool ReadNested(JsonSkippingSink& sink, std::wstring_view) { return Open(sink); }

    bool ReadNested(JsonBuildingSink& sink, std::wstring_view key) {
        const bool isObject = IsAt('{');
        sink.SetKey(key);
        if (sink.NextRole(isObject) != kJsonUnread) {
            return Open(sink);
        }
        JsonSkippingSink skipping;
        if (!Open(skipping) || !ReadContainer(skipping)) {
            return false;
        }
        if (sink.IsRead(isObject)) {
            sink.Add(key).kind = isObject ? JsonKind::Object : JsonKind::Array;
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
    bool ReadKey(Sink& sink, std::wstring_view& key) {
        if (m_offset >= Length()) {
            return Fail(JsonFault::Unfinished);
        }
        // Any unit is taken for the opening quote as long as a quote follows.
        if (!IsAt('"') && !Follows(m_lastQuote, '"')) {
            return Fail(JsonFault::NoKey);
        }
        if constexpr (Sink::kBuilds) {
            const int32_t count = m_source.String(key, sink.KeyMemory(), m_offset);
            m_trace.OnKey(m_offset, m_offset + count, key);
            m_offset += count;
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

    bool ReadScalar(JsonSkippingSink&, std::wstring_view) {
        return Advance(SkipJsonScalar(m_source, m_offset));
    }

    bool ReadScalar(JsonBuildingSink& sink, std::wstring_view key) {
        if (!sink.IsRead(false)) {
            return Advance(SkipJsonScalar(m_source, m_offset));
        }
        JsonValue& value = sink.Add(key);
        const int32_t offset = m_offset;
        if (!Advance(ReadJsonScalar(value, m_texts, m_source, offset))) {
            return false;
        }
        m_trace.OnScalar(offset, m_offset, value);
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
            return JsonScalarFault(Units() + m_offset, Length() - m_offset);
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
    JsonBuildingSink& m_builder;
    int32_t m_offset = 0;
    size_t m_depth = 0;               // of open containers, read or not
    int32_t m_elementOffset = 0;      // where the outermost container's open element starts
    Comma m_comma = Comma::NotNeeded; // after the last element
    int32_t m_commaOffset = 0;
    LastUnit m_lastQuote;
    LastUnit m_lastBrace;
    LastUnit m_lastBracket;
};

} // namespace zq
