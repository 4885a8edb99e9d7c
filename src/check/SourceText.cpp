#include "check/SourceText.h"

#include "base/Text.h"

#include <algorithm>
#include <array>

namespace zq {

namespace {

using namespace std::string_view_literals;

struct Mark {
    std::string_view bytes;
    Encoding encoding;
};

// A mark of UTF-32 begins like one of UTF-16.
constexpr std::array<Mark, 5> kMarks = {{
    {"\xFF\xFE\0\0"sv, Encoding::Utf32Little},
    {"\0\0\xFE\xFF"sv, Encoding::Utf32Big},
    {"\xEF\xBB\xBF"sv, Encoding::MarkedUtf8},
    {"\xFF\xFE"sv, Encoding::Utf16Little},
    {"\xFE\xFF"sv, Encoding::Utf16Big},
}};

uint8_t ByteAt(std::string_view bytes, size_t offset) { return static_cast<uint8_t>(bytes[offset]); }

// Every document begins with ASCII characters, so zero bytes next to the first two show UTF-16 without a
// mark.
bool LooksLikeUtf16(std::string_view bytes, size_t zeroOffset) {
    const size_t seen = std::min<size_t>(bytes.size(), 4);
    for (size_t offset = 0; offset < seen; ++offset) {
        if ((bytes[offset] == '\0') != (offset % 2 == zeroOffset)) {
            return false;
        }
    }
    return seen >= 2;
}

Encoding UnmarkedEncoding(std::string_view bytes) {
    if (LooksLikeUtf16(bytes, 1)) {
        return Encoding::Utf16Little;
    }
    if (LooksLikeUtf16(bytes, 0)) {
        return Encoding::Utf16Big;
    }
    if (IsAscii(bytes)) {
        return Encoding::Ascii;
    }
    return IsUtf8(bytes) ? Encoding::Utf8 : Encoding::CodePage;
}

std::wstring DecodeUtf16(std::string_view bytes, bool isBig) {
    std::wstring text;
    text.reserve(bytes.size() / 2);
    for (size_t offset = 0; offset + 1 < bytes.size(); offset += 2) {
        const unsigned first = ByteAt(bytes, offset);
        const unsigned second = ByteAt(bytes, offset + 1);
        text += static_cast<wchar_t>(isBig ? first << 8U | second : second << 8U | first);
    }
    return text;
}

std::wstring DecodeUtf32(std::string_view bytes, bool isBig) {
    constexpr uint32_t kReplacement = 0xFFFD;
    std::wstring text;
    for (size_t offset = 0; offset + 3 < bytes.size(); offset += 4) {
        uint32_t point = 0;
        for (size_t i = 0; i < 4; ++i) {
            point = point << 8U | ByteAt(bytes, offset + (isBig ? i : 3 - i));
        }
        if (point > 0x10FFFF) {
            point = kReplacement;
        }
        if (point > 0xFFFF) {
            text += static_cast<wchar_t>(0xD7C0 + (point >> 10U));
            point = 0xDC00 + (point & 0x3FFU);
        }
        text += static_cast<wchar_t>(point);
    }
    return text;
}

bool IsLowSurrogate(wchar_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

} // namespace

SourceText::SourceText(std::string_view bytes) {
    const auto mark = std::find_if(kMarks.begin(), kMarks.end(),
                                   [bytes](const Mark& m) { return bytes.starts_with(m.bytes); });
    std::string_view content = bytes;
    if (mark != kMarks.end()) {
        content.remove_prefix(mark->bytes.size());
        m_encoding = mark->encoding;
    } else {
        m_encoding = UnmarkedEncoding(bytes);
    }
    if (m_encoding == Encoding::Utf16Little || m_encoding == Encoding::Utf16Big) {
        m_text = DecodeUtf16(content, m_encoding == Encoding::Utf16Big);
    } else if (m_encoding == Encoding::Utf32Little || m_encoding == Encoding::Utf32Big) {
        m_text = DecodeUtf32(content, m_encoding == Encoding::Utf32Big);
    } else {
        const uint32_t codePage = m_encoding == Encoding::CodePage ? kCodePageAnsi : kCodePageUtf8;
        m_text = WideFromBytes(codePage, content.data(), static_cast<int32_t>(content.size()));
    }
    const size_t end = m_text.find_last_not_of(L'\0') + 1;
    m_zeroBytes = m_text.size() - end;
    m_text.resize(end);
    m_hasPairs = std::any_of(m_text.begin(), m_text.end(), IsLowSurrogate);
    FindLines();
}

// A line ends with a line feed, a carriage return, or both in this order.
void SourceText::FindLines() {
    m_lineStarts.push_back(0);
    for (size_t i = 0; i < m_text.size(); ++i) {
        const bool isPair = m_text[i] == L'\r' && m_text[i + 1] == L'\n'; // a zero follows the last unit
        if (m_text[i] == L'\n' || (m_text[i] == L'\r' && !isPair)) {
            m_lineStarts.push_back(static_cast<int32_t>(i) + 1);
        }
    }
}

int32_t SourceText::LineStart(int32_t offset) const {
    return *(std::upper_bound(m_lineStarts.begin(), m_lineStarts.end(), offset) - 1);
}

TextPosition SourceText::PositionOf(int32_t offset) const {
    const auto line =
        std::upper_bound(m_lineStarts.begin(), m_lineStarts.end(), offset) - m_lineStarts.begin();
    const int32_t start = LineStart(offset);
    const auto pairs =
        m_hasPairs ? std::count_if(m_text.begin() + start, m_text.begin() + offset, IsLowSurrogate) : 0;
    return {static_cast<int32_t>(line), offset - start - static_cast<int32_t>(pairs) + 1};
}

std::wstring_view SourceText::LineAt(int32_t offset) const {
    const auto start = static_cast<size_t>(LineStart(offset));
    const size_t end = std::min(m_text.find_first_of(L"\r\n", start), m_text.size());
    return std::wstring_view(m_text).substr(start, end - start);
}

} // namespace zq
