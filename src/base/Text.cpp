#include "base/Text.h"

#include "base/Widen.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <optional>

namespace zq {

namespace {

using CharacterTable = std::array<wchar_t, 256>;

constexpr CharacterTable MakeIdentity() {
    CharacterTable table{};
    for (size_t i = 0; i < table.size(); ++i) {
        table[i] = static_cast<wchar_t>(i);
    }
    return table;
}

constexpr CharacterTable kIdentity = MakeIdentity();

// The table of a code page in which every byte is one character.
std::optional<CharacterTable> AskForTable(uint32_t codePage) {
    if (BytesPerCharacter(codePage) != 1) {
        return std::nullopt;
    }
    std::array<char, 256> bytes{};
    for (size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<char>(i);
    }
    const std::wstring text = WideFromBytes(codePage, bytes.data(), static_cast<int32_t>(bytes.size()));
    CharacterTable table{}; // the zeros after a text that is too short are refused with it
    std::copy_n(text.begin(), std::min(text.size(), table.size()), table.begin());
    const bool isAsciiKept = std::equal(table.begin(), table.begin() + 0x80, kIdentity.begin());
    const bool isRestBeyond =
        std::all_of(table.begin() + 0x80, table.end(), [](wchar_t c) { return c >= 0x80; });
    return isAsciiKept && isRestBeyond ? std::optional(table) : std::nullopt;
}

std::wstring DecodeByTable(std::string_view bytes, const wchar_t* table) {
    std::wstring text(bytes.size(), L'\0');
    WidenBytes(text.data(), reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), table);
    return text;
}

// Returns the number of leading ASCII bytes.
size_t AsciiPrefix(std::string_view bytes) {
    const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
    size_t count = 0;
    for (; bytes.size() - count >= sizeof(__m128i); count += sizeof(__m128i)) {
        if (_mm_movemask_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(data + count))) != 0) {
            break;
        }
    }
    while (count < bytes.size() && data[count] < 0x80) {
        ++count;
    }
    return count;
}

// Returns the length of the well-formed UTF-8 sequence of several bytes at the front, or 0.
size_t Utf8Sequence(std::string_view bytes) {
    const auto at = [&bytes](size_t i) { return static_cast<unsigned char>(bytes[i]); };
    const unsigned lead = at(0);
    const size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (lead < 0xC2 || lead > 0xF4 || length > bytes.size()) {
        return 0;
    }
    // Over-long forms, surrogates and values beyond U+10FFFF.
    const unsigned least = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const unsigned most = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    if (at(1) < least || at(1) > most) {
        return 0;
    }
    for (size_t i = 2; i < length; ++i) {
        if ((at(i) & 0xC0U) != 0x80U) {
            return 0;
        }
    }
    return length;
}

// Returns the number of leading bytes that are well-formed non-ASCII sequences.
size_t Utf8Run(std::string_view bytes) {
    size_t count = 0;
    while (count < bytes.size()) {
        const size_t sequence = Utf8Sequence(bytes.substr(count));
        if (sequence == 0) {
            break;
        }
        count += sequence;
    }
    return count;
}

std::wstring DecodeUtf8(std::string_view bytes) {
    std::wstring text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        const size_t ascii = AsciiPrefix(bytes);
        const size_t length = text.size();
        text.resize(length + ascii);
        WidenBytes(text.data() + length, reinterpret_cast<const unsigned char*>(bytes.data()), ascii,
                   kIdentity.data());
        bytes.remove_prefix(ascii);
        if (!bytes.empty()) {
            // Only the system knows where a broken sequence ends, so it gets all that follows.
            const size_t wellFormed = Utf8Run(bytes);
            const size_t run = wellFormed == 0 ? bytes.size() : wellFormed;
            text += WideFromBytes(kCodePageUtf8, bytes.data(), static_cast<int32_t>(run));
            bytes.remove_prefix(run);
        }
    }
    return text;
}

bool IsAsciiKept(uint32_t codePage) {
    std::array<char, 0x80> ascii{};
    for (size_t i = 0; i < ascii.size(); ++i) {
        ascii[i] = static_cast<char>(i);
    }
    const std::wstring text = WideFromBytes(codePage, ascii.data(), static_cast<int32_t>(ascii.size()));
    return std::equal(text.begin(), text.end(), kIdentity.begin(), kIdentity.begin() + ascii.size());
}

// Returns the number of leading bytes that only the system can convert: up to and including the first of two
// ASCII bytes in a row, since that one may be the second byte of a character.
size_t DoubleByteRun(std::string_view bytes) {
    const auto isAscii = [&bytes](size_t i) { return static_cast<unsigned char>(bytes[i]) < 0x80; };
    size_t count = 0;
    while (count < bytes.size() && !(count != 0 && isAscii(count - 1) && isAscii(count))) {
        ++count;
    }
    return count;
}

// No byte below 0x80 begins a character of two bytes, so what follows one always begins a character.
std::wstring DecodeDoubleByte(uint32_t codePage, std::string_view bytes) {
    std::wstring text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        const size_t ascii = AsciiPrefix(bytes);
        text.append(DecodeByTable(bytes.substr(0, ascii), kIdentity.data()));
        bytes.remove_prefix(ascii);
        if (!bytes.empty()) {
            const size_t run = DoubleByteRun(bytes);
            text += WideFromBytes(codePage, bytes.data(), static_cast<int32_t>(run));
            bytes.remove_prefix(run);
        }
    }
    return text;
}

} // namespace

// A static local object would leave handles of the run-time library open each time that the DLL is unloaded.
// A thread that comes while another fills the table does without it.
const wchar_t* AnsiCharacters() {
    enum State { Unknown, Filling, Known, None };
    static constinit CharacterTable table{};
    static constinit std::atomic<State> state{Unknown};
    State expected = Unknown;
    if (state.load(std::memory_order_acquire) == Unknown &&
        state.compare_exchange_strong(expected, Filling)) {
        const std::optional<CharacterTable> asked = AskForTable(kCodePageAnsi);
        if (asked) {
            table = *asked;
        }
        state.store(asked ? Known : None, std::memory_order_release);
    }
    return state.load(std::memory_order_acquire) == Known ? table.data() : nullptr;
}

const wchar_t* AsciiCharacters() { return kIdentity.data(); }

bool IsAscii(std::string_view bytes) { return AsciiPrefix(bytes) == bytes.size(); }

bool IsUtf8(std::string_view bytes) {
    bytes.remove_prefix(AsciiPrefix(bytes));
    while (const size_t run = Utf8Run(bytes)) {
        bytes.remove_prefix(run);
        bytes.remove_prefix(AsciiPrefix(bytes));
    }
    return bytes.empty();
}

std::wstring DecodeFileText(uint32_t codePage, const char* bytes, int32_t length) {
    if (!bytes || length < 1) {
        return WideFromBytes(codePage, bytes, length);
    }
    const std::string_view all(bytes, static_cast<size_t>(length));
    if (codePage == kCodePageUtf8) {
        return DecodeUtf8(all);
    }
    if (codePage == kCodePageAnsi) {
        if (const wchar_t* table = AnsiCharacters()) {
            return DecodeByTable(all, table);
        }
        // ASCII is the same in every ANSI code page.
        if (IsAscii(all)) {
            return DecodeByTable(all, AsciiCharacters());
        }
    }
    return BytesPerCharacter(codePage) == 2 && IsAsciiKept(codePage) ? DecodeDoubleByte(codePage, all)
                                                                     : WideFromBytes(codePage, bytes, length);
}

} // namespace zq
