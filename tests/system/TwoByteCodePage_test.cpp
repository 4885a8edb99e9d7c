// The module on a machine whose ANSI code page has characters of two bytes.
#include "support/win32/FreshDll.h"
#include "support/win32/ImportPatch.h"

#include <gtest/gtest.h>

namespace zq::test {
namespace {

constexpr UINT kShiftJis = 932;

UINT Replaced(UINT codePage) { return codePage == CP_ACP ? kShiftJis : codePage; }

int WINAPI ToWide(UINT codePage, DWORD flags, LPCCH bytes, int length, LPWSTR wide, int size) {
    return MultiByteToWideChar(Replaced(codePage), flags, bytes, length, wide, size);
}

int WINAPI ToBytes(UINT codePage, DWORD flags, LPCWCH wide, int length, LPSTR bytes, int size,
                   LPCCH replacement, LPBOOL isReplaced) {
    return WideCharToMultiByte(Replaced(codePage), flags, wide, length, bytes, size, replacement, isReplaced);
}

BOOL WINAPI PageInfo(UINT codePage, LPCPINFO info) { return GetCPInfo(Replaced(codePage), info); }

// A copy of the DLL: it asks the system about the code page once.
class TwoByteCodePage : public testing::Test {
protected:
    void Init(std::string_view settings) {
        WriteBytes(m_folders.Private(kSettingsName), settings);
        m_module.Init(host, m_folders);
    }
    std::wstring RefusalOf(int result, int length) const {
        return L"LoadSettingsFromFile() JSON paser " + m_folders.CommonDataDir() + L"\\ZQserver\\" +
               kSettingsName + L" fail ret length: " + std::to_wstring(result) + L" , file length:" +
               std::to_wstring(length) + L" copy again.";
    }

    FreshDll m_dll;
    ImportPatch m_toWide{m_dll.Handle(), "kernel32.dll", "MultiByteToWideChar", AsProc(ToWide)};
    ImportPatch m_toBytes{m_dll.Handle(), "kernel32.dll", "WideCharToMultiByte", AsProc(ToBytes)};
    ImportPatch m_pageInfo{m_dll.Handle(), "kernel32.dll", "GetCPInfo", AsProc(PageInfo)};
    ModuleFolders m_folders;
    RecordingHost host;
    Module m_module{m_dll.Create()};
};

TEST_F(TwoByteCodePage, AFileOfAsciiLoads) {
    Init(R"({"A":"text","B":1})");

    EXPECT_EQ(L"text", m_module.String(L"A"));
    EXPECT_EQ(1, m_module.Int64(L"B"));
}

TEST_F(TwoByteCodePage, AFileWithACharacterOfTwoBytesIsRefused) {
    Init("{\"A\":\"\x82\xA0\"}");

    EXPECT_TRUE(host.Has(RefusalOf(9, 10)));
    EXPECT_EQ(L"default", m_module.String(L"Source"));
}

// Its second byte is that of a backslash, which would escape the closing quote.
TEST_F(TwoByteCodePage, ASecondByteIsNotACharacter) {
    Init("{\"A\":\"\x83\x5C\"}");

    EXPECT_TRUE(host.Has(RefusalOf(9, 10)));
}

TEST_F(TwoByteCodePage, AOneByteCharacterIsOneCharacter) {
    Init("{\"A\":\"\xB1\"}"); // a katakana of half width

    EXPECT_EQ(L"\xFF71", m_module.String(L"A"));
    EXPECT_FALSE(host.Has(RefusalOf(9, 9)));
}

} // namespace
} // namespace zq::test
