#include "base/Text.h"

#include <windows.h>

namespace zq {

std::wstring WideFromBytes(uint32_t codePage, const char* bytes, int32_t length) {
    const int size = MultiByteToWideChar(codePage, 0, bytes, length, nullptr, 0);
    if (size < 1) {
        return {};
    }
    std::wstring text(static_cast<size_t>(size), L'\0');
    MultiByteToWideChar(codePage, 0, bytes, length, text.data(), size);
    return text;
}

uint32_t BytesPerCharacter(uint32_t codePage) {
    CPINFO info{};
    return GetCPInfo(codePage, &info) ? info.MaxCharSize : 0;
}

std::string BytesFromWide(uint32_t codePage, std::wstring_view text) {
    const int length = static_cast<int>(text.size());
    const int size = WideCharToMultiByte(codePage, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    if (size < 1) {
        return {};
    }
    std::string bytes(static_cast<size_t>(size), '\0');
    WideCharToMultiByte(codePage, 0, text.data(), length, bytes.data(), size, nullptr, nullptr);
    return bytes;
}

} // namespace zq
