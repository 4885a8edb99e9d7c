#include "config/FileText.h"

#include "base/Text.h"

#include <algorithm>

namespace zq {

namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

bool IsAscii(std::string_view bytes) {
    unsigned char all = 0;
    for (const char byte : bytes) {
        all |= static_cast<unsigned char>(byte);
    }
    return all < 0x80;
}

} // namespace

std::wstring DecodeFileText(uint32_t codePage, const char* bytes, int32_t length) {
    // ASCII stands for itself in UTF-8 and in every ANSI code page.
    if (bytes && length > 0) {
        const std::string_view all(bytes, static_cast<size_t>(length));
        if (IsAscii(all)) {
            return {all.begin(), all.end()};
        }
    }
    return WideFromBytes(codePage, bytes, length);
}

std::wstring DecodeFile(std::string_view bytes) {
    const bool isMarked = bytes.starts_with(kUtf8Mark);
    const std::string_view text = isMarked ? bytes.substr(kUtf8Mark.size()) : bytes;
    return DecodeFileText(isMarked ? kCodePageUtf8 : kCodePageAnsi, text.data(),
                          static_cast<int32_t>(text.size()));
}

} // namespace zq
