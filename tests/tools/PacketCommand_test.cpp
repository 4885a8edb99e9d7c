#include "tools/RunTool.h"

#include "support/win32/Folders.h"

#include <gtest/gtest.h>

namespace zq::test {
namespace {

std::wstring Quoted(const std::filesystem::path& path) { return L'"' + path.wstring() + L'"'; }

TEST(PacketCommand, PrintsThePacketThatShowSaved) {
    const TempFolder folder;
    const std::filesystem::path file = folder.Path() / L"all.packet";
    const ToolRun show = RunTool(L"show --save-packet " + Quoted(file));

    const ToolRun run = RunTool(L"packet " + Quoted(file));

    EXPECT_EQ(0u, run.exitCode);
    EXPECT_EQ("", run.errors);
    EXPECT_NE(std::string::npos, show.output.find(run.output));
    EXPECT_TRUE(RunTool(L"packet --json " + Quoted(file)).output.starts_with("["));
}

TEST(PacketCommand, NamesTheOffsetAndTheReasonWhereReadingStops) {
    const TempFolder folder;
    const std::filesystem::path file = folder.Path() / L"cut.packet";
    RunTool(L"show --save-packet " + Quoted(file));
    const std::string bytes = ReadBytes(file);
    WriteBytes(file, bytes.substr(0, 20));

    const ToolRun run = RunTool(L"packet " + Quoted(file));

    EXPECT_EQ(1u, run.exitCode);
    EXPECT_NE(
        std::string::npos,
        run.errors.find(": byte 8: the record goes beyond the end of the packet; reading stops here.\n"))
        << run.errors;
}

TEST(PacketCommand, SaysThatAFileIsNoPacket) {
    const TempFolder folder;
    WriteBytes(folder.Path() / L"text", "no packet at all");

    const ToolRun run = RunTool(L"packet " + Quoted(folder.Path() / L"text"));

    EXPECT_EQ(1u, run.exitCode);
    EXPECT_NE(std::string::npos,
              run.errors.find(": byte 0: the packet does not begin with its 8 bytes of header.\n"));
}

TEST(PacketCommand, SaysThatAFileCannotBeRead) {
    const ToolRun run = RunTool(L"packet c:\\missing.packet");

    EXPECT_EQ(2u, run.exitCode);
    EXPECT_TRUE(run.errors.starts_with("zqsettings: the file c:\\missing.packet cannot be read: "))
        << run.errors;
}

} // namespace
} // namespace zq::test
