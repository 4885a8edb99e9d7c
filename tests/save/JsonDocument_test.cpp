#include "save/JsonDocument.h"

#include "config/ConfigText.h"
#include "base/HostLog.h"
#include "platform/Mutex.h"
#include "save/DocumentEdit.h"
#include "support/RecordingHost.h"
#include "support/win32/Folders.h"

#include <gtest/gtest.h>

namespace zq {
namespace {

class JsonDocument : public testing::Test {
protected:
    JsonDocument() { log.SetHost(&host); }

    int32_t Load(std::string_view bytes) {
        test::WriteBytes(path, bytes);
        document.reset();
        return LoadJsonDoc(path, document);
    }

    // The bytes that a save of this text leaves.
    std::string Rewritten(std::string_view bytes) {
        EXPECT_EQ(0, Load(bytes));
        MutexLock lock(mutex);
        EXPECT_EQ(0, SaveJsonDoc(path, *document, log, lock));
        return test::ReadBytes(path);
    }

    test::TempFolder folder;
    std::wstring path = (folder.Path() / L"file.json").wstring();
    test::RecordingHost host;
    HostLog log;
    Mutex mutex;
    std::unique_ptr<EditableDocument> document;
};

TEST_F(JsonDocument, WritesAtMostFourDecimalPlacesAndCutsTheRest) {
    EXPECT_EQ("[\n    1.2345\n]", Rewritten("[1.23456]"));
}

TEST_F(JsonDocument, WritesAVerySmallDoubleAsZero) { EXPECT_EQ("[\n    0.0\n]", Rewritten("[0.00001]")); }

TEST_F(JsonDocument, AFileOfThreeBytesOrNoneIsUnreadable) {
    EXPECT_EQ(1, Load("[1]"));
    EXPECT_FALSE(document);
    EXPECT_EQ(1, Load(""));
    EXPECT_FALSE(document);
}

TEST_F(JsonDocument, AMissingFileIsUnreadable) {
    EXPECT_EQ(1, LoadJsonDoc(path, document));
    EXPECT_FALSE(document);
}

TEST_F(JsonDocument, AByteOrderMarkDoesNotParse) {
    EXPECT_NE(0, Load("\xEF\xBB\xBF[1]"));
    EXPECT_FALSE(document);
}

TEST_F(JsonDocument, SavingIntoAMissingFolderGivesOneAndTheMessage) {
    ASSERT_EQ(0, Load("[1,2]"));
    const std::wstring elsewhere = (folder.Path() / L"missing" / L"file.json").wstring();
    MutexLock lock(mutex);

    EXPECT_EQ(1, SaveJsonDoc(elsewhere, *document, log, lock));

    const std::vector<test::LogLine> expected = {
        {2, L"[ModSetting] SaveJsonDoc() done, ret code :1,file:" + elsewhere}};
    EXPECT_EQ(expected, host.Lines());
}

TEST_F(JsonDocument, WhatIsWrittenHasNoMarkAndNothingBehindItsEndAndLoads) {
    const std::string bytes = Rewritten("{\"A\":[1,{\"B\":true}],\"C\":null}\r\n");

    EXPECT_EQ("{\n    \"A\": [\n        1,\n        {\n            \"B\": true\n        }\n    ],\n    "
              "\"C\": null\n}",
              bytes);
    EXPECT_TRUE(ConfigText(ConfigFile::Settings).Read(bytes));
}

TEST_F(JsonDocument, NonAsciiTextIsWrittenAsItIsAndRefusedByTheLoader) {
    const std::string bytes = Rewritten("[\"caf\xC3\xA9\"]");

    EXPECT_EQ("[\n    \"caf\xC3\xA9\"\n]", bytes);
}

TEST_F(JsonDocument, EscapesOfStrings) {
    EXPECT_EQ(R"([
    "\"\\/\b\f\n\r\t\u0001\u001F"
])",
              Rewritten(R"(["\"\\\/\b\f\n\r\t\u0001\u001f"])"));
}

TEST_F(JsonDocument, FormsOfNumbers) {
    EXPECT_EQ("[\n    -9223372036854775808,\n    18446744073709551615,\n    0,\n    -1.5,\n    100.0,\n    "
              "100000000000000000000.0\n]",
              Rewritten("[-9223372036854775808,18446744073709551615,0,-1.5,1e2,1e20]"));
}

TEST_F(JsonDocument, WhatTheLibraryRefusesIsNoDocument) {
    for (const char* text :
         {"{\"A\":1,}", "[1 2]", "[1] 2", "[NaN]", "[1e999]", "    ", "[1]//x", "{\"A\":1}\xFF"}) {
        EXPECT_NE(0, Load(text)) << text;
        EXPECT_FALSE(document) << text;
    }
    EXPECT_EQ(rapidjson::kParseErrorDocumentRootNotSingular, Load("[1] 2"));
    EXPECT_EQ(rapidjson::kParseErrorDocumentEmpty, Load("    "));
}

TEST_F(JsonDocument, ContentBehindAZeroByteIsNotThrownAway) {
    EXPECT_EQ(rapidjson::kParseErrorDocumentRootNotSingular, Load(std::string_view("[1,2]\0[3]", 9)));
    EXPECT_FALSE(document);
}

TEST_F(JsonDocument, AVeryDeepFileIsAnAnswerAndNotWritable) {
    constexpr size_t kDepth = 100'000;

    ASSERT_EQ(0, Load(std::string(kDepth, '[') + std::string(kDepth, ']')));

    EXPECT_FALSE(IsWritable(*document));
    EXPECT_EQ(0, Load(std::string(256, '[') + std::string(256, ']')));
    EXPECT_TRUE(IsWritable(*document));
    EXPECT_EQ(0, Load(std::string(257, '[') + std::string(257, ']')));
    EXPECT_FALSE(IsWritable(*document));
}

TEST_F(JsonDocument, TheMessageComesWithTheMutexFree) {
    bool isFree = false;
    host.onLog = [&](const test::LogLine&) {
        const HANDLE thread = CreateThread(
            nullptr, 0,
            [](void* other) -> DWORD {
                MutexLock lock(*static_cast<Mutex*>(other));
                return 0;
            },
            &mutex, 0, nullptr);
        isFree = WaitForSingleObject(thread, 2000) == WAIT_OBJECT_0;
        CloseHandle(thread);
    };

    Rewritten("[1,2]");

    EXPECT_TRUE(isFree);
}

TEST_F(JsonDocument, AFullDiskIsNoCrashAndNotSeen) {
    ASSERT_EQ(0, Load("[1,2]"));
    const std::wstring full = L"\\\\?\\unix\\dev\\full";
    MutexLock lock(mutex);

    EXPECT_EQ(0, SaveJsonDoc(full, *document, log, lock));

    EXPECT_TRUE(host.Has(L"[ModSetting] SaveJsonDoc() done, ret code :0,file:" + full));
}

} // namespace
} // namespace zq
