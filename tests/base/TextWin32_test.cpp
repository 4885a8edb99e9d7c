// Decoding against the system's own conversion of the whole.
#include "base/Text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <windows.h>

namespace zq {
namespace {

std::vector<uint32_t> g_codePages;

BOOL CALLBACK AddCodePage(LPWSTR name) {
    g_codePages.push_back(static_cast<uint32_t>(std::stoul(name)));
    return TRUE;
}

std::vector<uint32_t> InstalledCodePages() {
    g_codePages = {kCodePageAnsi, kCodePageUtf8};
    EnumSystemCodePagesW(AddCodePage, CP_INSTALLED);
    return g_codePages;
}

void ExpectAsSystem(uint32_t codePage, const std::string& bytes) {
    const auto length = static_cast<int32_t>(bytes.size());
    ASSERT_EQ(WideFromBytes(codePage, bytes.data(), length), DecodeFileText(codePage, bytes.data(), length))
        << "code page " << codePage;
}

TEST(TextWin32, EveryByteAndPairDecodesAsTheSystemDoes) {
    for (const uint32_t codePage : InstalledCodePages()) {
        for (int first = 0; first < 0x100; ++first) {
            std::string pairs;
            for (int second = 0; second < 0x100; ++second) {
                const std::string pair = {static_cast<char>(first), static_cast<char>(second)};
                pairs += "ordinary text, " + pair + "and more of it\n";
                if (codePage == kCodePageAnsi || codePage == kCodePageUtf8) {
                    ExpectAsSystem(codePage, pair);
                }
            }
            ExpectAsSystem(codePage, std::string(1, static_cast<char>(first)));
            ExpectAsSystem(codePage, pairs);
        }
    }
}

TEST(TextWin32, BrokenUtf8DecodesAsTheSystemDoesWhateverItsNeighbours) {
    for (const std::string broken :
         {"\xE2\x82", "\xF0\x9F\x98", "\xC3", "\xE2\x82\xE2\x82\xAC", "\xED\xA0\x80", "\xF8\x88\x80\x80\x80",
          "\x80\x80", "\xC0\xAF", "\xF4\x90\x80\x80"}) {
        for (const std::string after : {"", "A", "\xC3\xA9", "ABCDEFGHIJKLMNOPQRSTUVWXYZ", "\n\xE2"}) {
            ExpectAsSystem(kCodePageUtf8, broken + after);
            ExpectAsSystem(kCodePageUtf8, "some ASCII before it " + broken + after);
        }
    }
}

// Characters of two bytes beside each other, cut short, and with second bytes that are ASCII or none at all.
TEST(TextWin32, RunsOfDoubleByteCharactersDecodeAsTheSystemDoes) {
    uint64_t state = 1;
    const auto random = [&state] {
        return static_cast<size_t>((state = state * 6364136223846793005U + 1442695040888963407U) >> 33U);
    };
    for (const uint32_t codePage : InstalledCodePages()) {
        if (BytesPerCharacter(codePage) != 2) {
            continue;
        }
        for (int round = 0; round < 2000; ++round) {
            std::string bytes;
            for (size_t i = random() % 40; i > 0; --i) {
                bytes += static_cast<char>(random() % 3 == 0 ? random() % 0x80 : 0x80 + random() % 0x80);
            }
            ExpectAsSystem(codePage, bytes);
        }
    }
}

TEST(TextWin32, TableOfTheAnsiPageIsTheSystems) {
    const wchar_t* table = AnsiCharacters();
    ASSERT_EQ(BytesPerCharacter(kCodePageAnsi) == 1, table != nullptr);
    for (int byte = 0; table && byte < 0x100; ++byte) {
        const char character = static_cast<char>(byte);
        EXPECT_EQ(WideFromBytes(kCodePageAnsi, &character, 1), std::wstring(1, table[byte]));
    }
}

} // namespace
} // namespace zq
