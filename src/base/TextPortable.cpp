#include "base/Text.h"

#include <cstring>

namespace zq {

namespace {

constexpr uint32_t kReplacement = 0xFFFD;

size_t SequenceLength(unsigned char lead) {
    if (lead < 0x80) {
        return 1;
    }
    if (lead >= 0xC2 && lead < 0xE0) {
        return 2;
    }
    if (lead >= 0xE0 && lead < 0xF0) {
        return 3;
    }
    return lead >= 0xF0 && lead < 0xF5 ? 4 : 0;
}

// Decodes the sequence at the front of `bytes` and removes it.
uint32_t TakeUtf8(std::string_view& bytes) {
    const auto lead = static_cast<unsigned char>(bytes.front());
    const size_t length = SequenceLength(lead);
    if (length == 0 || length > bytes.size()) {
        bytes.remove_prefix(1);
        return kReplacement;
    }
    uint32_t point = length == 1 ? lead : lead & (0xFFU >> (length + 1));
    for (size_t i = 1; i < length; ++i) {
        const auto next = static_cast<unsigned char>(bytes[i]);
        if ((next & 0xC0U) != 0x80U) {
            bytes.remove_prefix(1);
            return kReplacement;
        }
        point = point << 6U | (next & 0x3FU);
    }
    bytes.remove_prefix(length);
    return point;
}

// As the system does it, wide text is UTF-16 here too.
void AppendUtf16(std::wstring& text, uint32_t point) {
    if (point > 0xFFFF) {
        text += static_cast<wchar_t>(0xD7C0 + (point >> 10U));
        point = 0xDC00 + (point & 0x3FFU);
    }
    text += static_cast<wchar_t>(point);
}

bool IsPair(wchar_t first, wchar_t second) {
    return first >= 0xD800 && first <= 0xDBFF && second >= 0xDC00 && second <= 0xDFFF;
}

// Removes the character at the front of wide text; a lone surrogate becomes the replacement character.
uint32_t TakeUtf16(std::wstring_view& text) {
    const wchar_t first = text.front();
    text.remove_prefix(1);
    if (!text.empty() && IsPair(first, text.front())) {
        const auto low = static_cast<uint32_t>(text.front());
        text.remove_prefix(1);
        return ((static_cast<uint32_t>(first) - 0xD7C0) << 10U) + (low - 0xDC00);
    }
    return first >= 0xD800 && first <= 0xDFFF ? kReplacement : static_cast<uint32_t>(first);
}

void AppendUtf8(std::string& out, uint32_t point) {
    if (point < 0x80) {
        out += static_cast<char>(point);
        return;
    }
    const int tail = point < 0x800 ? 1 : point < 0x10000 ? 2 : 3;
    constexpr uint32_t leads[] = {0, 0xC0, 0xE0, 0xF0};
    out += static_cast<char>(leads[tail] | (point >> (6 * tail)));
    for (int i = tail - 1; i >= 0; --i) {
        out += static_cast<char>(0x80U | ((point >> (6 * i)) & 0x3FU));
    }
}

} // namespace

std::wstring WideFromBytes(uint32_t codePage, const char* bytes, int32_t length) {
    if (!bytes) {
        return {};
    }
    std::string_view rest(bytes, length < 0 ? std::strlen(bytes) + 1 : static_cast<size_t>(length));
    std::wstring text;
    while (!rest.empty()) {
        if (codePage == kCodePageUtf8) {
            AppendUtf16(text, TakeUtf8(rest));
        } else {
            text += static_cast<wchar_t>(static_cast<unsigned char>(rest.front()));
            rest.remove_prefix(1);
        }
    }
    return text;
}

uint32_t BytesPerCharacter(uint32_t codePage) { return codePage == kCodePageUtf8 ? 4 : 1; }

std::string BytesFromWide(uint32_t codePage, std::wstring_view text) {
    std::string bytes;
    while (!text.empty()) {
        if (codePage == kCodePageUtf8) {
            AppendUtf8(bytes, TakeUtf16(text));
        } else {
            const auto unit = static_cast<uint32_t>(text.front());
            bytes += unit < 0x100 ? static_cast<char>(unit) : '?';
            text.remove_prefix(1);
        }
    }
    return bytes;
}

} // namespace zq
