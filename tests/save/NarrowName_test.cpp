// Names in code pages that no machine here has: the system's conversion is replaced.
#include "save/NarrowName.h"

#include "support/win32/ImportPatch.h"

#include <gtest/gtest.h>

#include <string>
#include <system_error>

namespace zq::test {
namespace {

// A code page in which each unit takes five bytes: itself and four dashes.
int WINAPI FiveBytesForEachUnit(UINT, DWORD, LPCWCH text, int length, LPSTR buffer, int size, LPCCH, LPBOOL) {
    const int needed = 5 * length;
    if (size != 0 && (!buffer || size < needed)) {
        SetLastError(buffer ? ERROR_INSUFFICIENT_BUFFER : ERROR_INVALID_PARAMETER);
        return 0;
    }
    for (int i = 0; i < needed && size != 0; ++i) {
        buffer[i] = i % 5 == 0 ? static_cast<char>(text[i / 5]) : '-';
    }
    return needed;
}

int WINAPI Refuse(UINT, DWORD, LPCWCH, int, LPSTR, int, LPCCH, LPBOOL) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
}

TEST(NarrowName, ANameThatTakesMoreThanFourBytesForEachUnitIsConvertedWhole) {
    const ImportPatch patch(nullptr, "kernel32.dll", "WideCharToMultiByte", AsProc(FiveBytesForEachUnit));
    std::string expected;
    for (int length = 1; length < 100; ++length) {
        expected += "x----";
        ASSERT_EQ(expected, NarrowName(std::wstring(static_cast<size_t>(length), L'x'))) << length;
    }
}

TEST(NarrowName, AConversionThatFailsRaisesItsError) {
    const ImportPatch patch(nullptr, "kernel32.dll", "WideCharToMultiByte", AsProc(Refuse));
    try {
        NarrowName(L"x");
        FAIL();
    } catch (const std::system_error& error) {
        EXPECT_EQ(ERROR_INVALID_PARAMETER, error.code().value());
    }
}

} // namespace
} // namespace zq::test
