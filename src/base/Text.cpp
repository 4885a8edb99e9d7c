#include "base/Text.h"

namespace zq {

namespace {

bool IsAscii(std::string_view bytes) {
    unsigned char all = 0;
    for (const char byte : bytes) {
        all |= static_cast<unsigned char>(byte);
    }
    return all < 0x80;
}

} // namespace

std::wstring DecodeFileText(uint32_t codePage, const char* bytes, int32_t length) {
    // ASCII is the same in UTF-8 and in every ANSI code page.
    if (bytes && length > 0) {
        const std::string_view all(bytes, static_cast<size_t>(length));
        if (IsAscii(all)) {
            return {all.begin(), all.end()};
        }
    }
    return WideFromBytes(codePage, bytes, length);
}

} // namespace zq
