#include "FileBytes.h"

#include "Failure.h"
#include "support/win32/Folders.h"
#include "support/win32/HeldFile.h"

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <thread>

#include <windows.h>

namespace zq::test {
namespace {

class WrittenFile : public testing::Test {
protected:
    void SetUp() override { WriteBytes(m_path, "old"); }

    // While `write` begins, somebody holds the file, and lets go of it a moment later.
    void HoldDuring(const std::function<void()>& write) {
        std::optional<HeldFile> held(std::in_place, m_path, FILE_SHARE_READ);
        std::thread holder([&] {
            Sleep(100);
            held.reset();
        });
        EXPECT_NO_THROW(write());
        holder.join();
    }

    std::string FailureOf(const std::function<void()>& write) {
        try {
            write();
        } catch (const tool::Failure& failure) {
            return failure.what();
        }
        return "";
    }

    TempFolder m_folder;
    const std::filesystem::path m_path = m_folder.Path() / L"file";
    const std::filesystem::path m_keptAs = m_folder.Path() / L"kept";
};

TEST_F(WrittenFile, IsReplacedOnceWhoeverHoldsItLetsGo) {
    HoldDuring([&] { tool::TemporaryFile(m_path, "new").Replace(); });

    EXPECT_EQ("new", ReadBytes(m_path));
}

TEST_F(WrittenFile, IsExchangedOnceWhoeverHoldsItLetsGo) {
    HoldDuring([&] { tool::ExchangeFile(m_path, "new", m_keptAs); });

    EXPECT_EQ("new", ReadBytes(m_path));
    EXPECT_EQ("old", ReadBytes(m_keptAs));
}

TEST_F(WrittenFile, StaysAsItIsWhereItIsHeldForLong) {
    const HeldFile held(m_path, FILE_SHARE_READ);
    const std::string failed = "the file " + m_path.string() + " cannot be replaced: ";

    EXPECT_TRUE(FailureOf([&] { tool::TemporaryFile(m_path, "new").Replace(); }).starts_with(failed));
    EXPECT_TRUE(FailureOf([&] { tool::ExchangeFile(m_path, "new", m_keptAs); }).starts_with(failed));

    EXPECT_EQ("old", ReadBytes(m_path));
    EXPECT_EQ(1, std::distance(std::filesystem::directory_iterator(m_folder.Path()), {}));
}

} // namespace
} // namespace zq::test
