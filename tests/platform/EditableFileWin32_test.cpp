#include "platform/EditableFile.h"

#include "support/win32/Folders.h"
#include "support/win32/ImportFault.h"

#include <gtest/gtest.h>

#include <string>

namespace zq::test {
namespace {

const std::string kOld = R"({"Old":")" + std::string(3000, 'o') + R"("})";

class Overwriting : public testing::Test {
protected:
    std::wstring Path() const { return (m_folder.Path() / L"file.json").wstring(); }
    void Write(std::string_view bytes) const { WriteBytes(Path(), bytes); }
    std::string Content() const { return ReadBytes(Path()); }

    uint32_t Overwrite(std::string_view fresh) const {
        const EditableFile file(Path());
        EXPECT_EQ(FileAccess::Read, file.Access());
        std::vector<char> old;
        EXPECT_EQ(0U, file.Read(old));
        return file.Overwrite({old.data(), old.size()}, fresh);
    }

    // Overwrites once for each call of each function, the call failing.
    void FailAtEachCall(const std::string& fresh) const {
        const Fault faults[] = {
            FaultOf<struct EditWriteTag>("kernel32.dll", "WriteFile", WriteFile, FALSE, ERROR_DISK_FULL),
            FaultOf<struct EditSeekTag>("kernel32.dll", "SetFilePointerEx", SetFilePointerEx, FALSE),
            FaultOf<struct EditEndTag>("kernel32.dll", "SetEndOfFile", SetEndOfFile, FALSE, ERROR_DISK_FULL),
            FaultOf<struct EditFlushTag>("kernel32.dll", "FlushFileBuffers", FlushFileBuffers, FALSE,
                                         ERROR_DISK_FULL),
        };
        for (const Fault& fault : faults) {
            bool hasFailed = true;
            for (int call = 0; hasFailed; ++call) {
                SCOPED_TRACE(fault.function + " call " + std::to_string(call));
                Write(kOld);
                const EditableFile file(Path());
                uint32_t error = 0;
                {
                    const ArmedFault armed(fault, call);
                    error = file.Overwrite(kOld, fresh);
                    hasFailed = armed.HasFailed();
                }
                EXPECT_EQ(hasFailed, error != 0);
                EXPECT_EQ(error == 0 ? fresh : kOld, Content());
            }
        }
    }

    TempFolder m_folder;
};

TEST_F(Overwriting, ALongerAShorterAnEqualAndAnEmptyContentReplaceTheOldOne) {
    for (const std::string& fresh :
         {std::string(9000, 'x'), std::string(20, 'y'), std::string(20, 'z'), std::string()}) {
        Write(kOld);
        EXPECT_EQ(0U, Overwrite(fresh));
        EXPECT_EQ(fresh, Content());
    }
}

TEST_F(Overwriting, AFailureAtAnyCallLeavesTheOldContentComplete) {
    FailAtEachCall(kOld + "longer");
    FailAtEachCall(std::string(20, 'y'));
    FailAtEachCall(std::string(kOld.size(), 'z'));
}

// How much of the file may still be written, and what came of it.
int64_t g_bytesLeft = 0;
bool g_isReported = false;
std::string g_contentAtFailure;
std::wstring g_path;

BOOL WINAPI WriteUntilFull(HANDLE file, LPCVOID bytes, DWORD size, LPDWORD written, LPOVERLAPPED) {
    const auto part = static_cast<DWORD>(std::min<int64_t>(size, g_bytesLeft));
    static const auto write = reinterpret_cast<decltype(&WriteFile)>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "WriteFile")));
    write(file, bytes, part, written, nullptr);
    g_bytesLeft -= part;
    if (part == size) {
        return TRUE;
    }
    g_contentAtFailure = ReadBytes(g_path);
    g_bytesLeft = INT32_MAX;
    SetLastError(ERROR_DISK_FULL);
    return g_isReported ? FALSE : TRUE;
}

TEST_F(Overwriting, AFullDiskIsNoticedBeforeTheOldContentChanges) {
    g_path = Path();
    for (const bool isReported : {true, false}) {
        for (const int64_t room : {0, 1, 4000}) {
            Write(kOld);
            g_bytesLeft = room;
            g_isReported = isReported;
            const EditableFile file(Path());
            uint32_t error = 0;
            {
                const ImportPatch patch(nullptr, "kernel32.dll", "WriteFile", AsProc(WriteUntilFull));
                error = file.Overwrite(kOld, std::string(9000, 'x'));
            }
            EXPECT_EQ(static_cast<uint32_t>(ERROR_DISK_FULL), error);
            EXPECT_EQ(kOld, g_contentAtFailure.substr(0, kOld.size()));
            EXPECT_EQ(kOld, Content());
        }
    }
}

TEST_F(Overwriting, AWriteThatFailsHalfWayThroughTheOldContentIsUndone) {
    g_path = Path();
    Write(kOld);
    g_bytesLeft = 100;
    g_isReported = true;
    const EditableFile file(Path());
    uint32_t error = 0;
    {
        const ImportPatch patch(nullptr, "kernel32.dll", "WriteFile", AsProc(WriteUntilFull));
        error = file.Overwrite(kOld, std::string(2000, 'x'));
    }

    EXPECT_EQ(static_cast<uint32_t>(ERROR_DISK_FULL), error);
    EXPECT_TRUE(g_contentAtFailure.starts_with("xxx"));
    EXPECT_EQ(kOld, Content());
}

TEST_F(Overwriting, TheFileKeepsItsIdentityAndItsAttributes) {
    Write(kOld);
    SetFileAttributesW(Path().c_str(), FILE_ATTRIBUTE_HIDDEN);
    const auto identity = [this] {
        BY_HANDLE_FILE_INFORMATION information{};
        const UniqueHandle file = AdoptFileHandle(
            CreateFileW(Path().c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                        OPEN_EXISTING, 0, nullptr));
        EXPECT_TRUE(GetFileInformationByHandle(file.get(), &information));
        return std::pair(information.nFileIndexLow, information.dwFileAttributes);
    };
    const auto before = identity();

    Overwrite("new");

    EXPECT_EQ(before, identity());
}

TEST_F(Overwriting, OthersMayReadAndDeleteMeanwhileButNotWrite) {
    Write(kOld);
    const EditableFile file(Path());
    const DWORD all = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const auto open = [&](DWORD access) {
        return AdoptFileHandle(CreateFileW(Path().c_str(), access, all, nullptr, OPEN_EXISTING, 0, nullptr));
    };

    EXPECT_TRUE(open(GENERIC_READ));
    EXPECT_TRUE(open(DELETE));
    EXPECT_FALSE(open(GENERIC_WRITE));
}

TEST_F(Overwriting, AccessSaysWhyAFileCannotBeEdited) {
    EXPECT_EQ(FileAccess::Missing, EditableFile(Path()).Access());
    Write(kOld);
    EXPECT_EQ(FileAccess::Failed, EditableFile(m_folder.Path().wstring()).Access());
    const EditableFile first(Path());
    EXPECT_EQ(FileAccess::Read, first.Access());
    EXPECT_EQ(FileAccess::Held, EditableFile(Path()).Access());
}

} // namespace
} // namespace zq::test
