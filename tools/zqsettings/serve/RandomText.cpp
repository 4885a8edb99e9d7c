#include "serve/RandomText.h"

#include "Failure.h"

#include <array>
#include <string_view>

#include <windows.h>

#include <bcrypt.h>

namespace zq::tool {

std::string RandomHex() {
    std::array<unsigned char, 16> bytes{};
    if (BCryptGenRandom(nullptr, bytes.data(), static_cast<ULONG>(bytes.size()),
                        BCRYPT_USE_SYSTEM_PREFERRED_RNG) != 0) {
        throw Failure("the system has no random numbers to give");
    }
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : bytes) {
        text += kDigits[byte >> 4U];
        text += kDigits[byte & 0xFU];
    }
    return text;
}

} // namespace zq::tool
