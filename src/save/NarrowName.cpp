#include "save/NarrowName.h"

#include <array>
#include <system_error>

#include <windows.h>

namespace zq {

namespace {

constexpr size_t kInlineBytes = 128;
constexpr size_t kBytesPerUnit = 4;

[[noreturn]] void RaiseLastError() {
    throw std::system_error(static_cast<int>(GetLastError()), std::system_category(),
                            "cannot convert a name");
}

int Convert(std::wstring_view name, char* buffer, size_t size) {
    return WideCharToMultiByte(CP_THREAD_ACP, 0, name.data(), static_cast<int>(name.size()), buffer,
                               static_cast<int>(size), nullptr, nullptr);
}

std::string ToThreadCodePage(std::wstring_view name) {
    std::array<char, kInlineBytes> inlineBuffer;
    std::string heapBuffer;
    char* buffer = inlineBuffer.data();
    size_t size = name.size() * kBytesPerUnit;
    if (size > kInlineBytes) {
        heapBuffer.resize(size);
        buffer = heapBuffer.data();
    }
    int length = Convert(name, buffer, size);
    if (length == 0 && GetLastError() == ERROR_INSUFFICIENT_BUFFER) {
        size = static_cast<size_t>(Convert(name, nullptr, 0));
        heapBuffer.resize(size);
        buffer = heapBuffer.data();
        length = Convert(name, buffer, size);
    }
    if (length == 0) {
        RaiseLastError();
    }
    return {buffer, static_cast<size_t>(length)};
}

} // namespace

std::string NarrowName(std::wstring_view name) {
    return name.empty() ? std::string() : ToThreadCodePage(name);
}

} // namespace zq
