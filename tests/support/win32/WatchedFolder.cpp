#include "support/win32/WatchedFolder.h"

#include "support/LongForm.h"
#include "support/win32/Waiting.h"

#include <cstdio>
#include <cstdlib>
#include <ostream>
#include <regex>

namespace zq::test {

namespace {

std::wstring Quoted(const std::wstring& text) { return L" \"" + text + L"\""; }

} // namespace

unsigned Seed() {
    const char* const seed = std::getenv("ZQ_TEST_SEED");
    return seed ? static_cast<unsigned>(std::strtoul(seed, nullptr, 10)) : 4711;
}

void WatchedFolder::SetUp() {
    WriteBytes(folders.Private(kSettingsName), R"({"Edit":0})");
    InitAndWatch(module, host, folders);
    host.Clear();
}

std::wstring WatchedFolder::Editor(const std::wstring& style, int count, int pause, unsigned seed) const {
    return L"file_editor.exe " + style + Quoted(folders.Private(kSettingsName).wstring()) +
           Quoted(folders.Outside((L"new-" + style + L".json").c_str()).wstring()) + L" " +
           std::to_wstring(count) + L" " + std::to_wstring(pause) + L" " + std::to_wstring(seed);
}

std::wstring WatchedFolder::Saver(const std::wstring& event, const std::wstring& name, int count,
                                  int pause) const {
    return L"file_saver.exe" + Quoted(folders.HostPath()) + Quoted(folders.DefaultDir()) +
           Quoted(folders.CommonDataDir()) + Quoted(event) + Quoted(name) + L" " + std::to_wstring(count) +
           L" " + std::to_wstring(pause);
}

int WatchedFolder::CountRepairs() const {
    int count = 0;
    for (const LogLine& line : host.Lines()) {
        const bool isRepair = line.text.find(L" again OK ") != std::wstring::npos ||
                              line.text.find(L"not found copy") != std::wstring::npos;
        count += isRepair ? 1 : 0;
    }
    return count;
}

EditOutcome WatchedFolder::OutcomeOf(int64_t lastEdit) {
    const bool isSeen = WaitFor([&] { return module.Int64(L"Edit") == lastEdit; });
    return {CountRepairs(), isSeen ? 0 : 1};
}

void WatchedFolder::ExpectEdit(int64_t lastEdit) {
    EXPECT_EQ(EditOutcome{}, OutcomeOf(lastEdit))
        << "variable " << module.Int64(L"Edit").value_or(-1) << ", expected " << lastEdit << '\n'
        << LastMessages();
    const std::string file = ReadBytes(folders.Private(kSettingsName));
    // A save writes a blank after the colon.
    const std::regex edit("\"Edit\": ?" + std::to_string(lastEdit) + "[,}\\s]");
    EXPECT_TRUE(std::regex_search(file.substr(0, 60), edit)) << file.substr(0, 60);
}

std::string WatchedFolder::LastMessages() const {
    constexpr size_t kShown = 40;
    const std::vector<LogLine> lines = host.Lines();
    std::string text;
    for (size_t i = lines.size() > kShown ? lines.size() - kShown : 0; i < lines.size(); ++i) {
        text += Printable(lines[i]) + '\n';
    }
    return text;
}

void PrintTo(const EditOutcome& outcome, std::ostream* out) {
    *out << outcome.lost << " lost, " << outcome.unseen << " unseen";
}

void ReportMoments(const std::string& moment, const std::string& duration, int tries,
                   const EditOutcome& outcome) {
    if (Long(1, 0) != 0) {
        std::printf("| %s | %s | %d | %d | %d |\n", moment.c_str(), duration.c_str(), tries, outcome.lost,
                    outcome.unseen);
    }
}

std::wstring RunningSaver::EventName() const {
    return L"zq-saver-" + std::to_wstring(GetCurrentProcessId()) + L"-" +
           std::to_wstring(reinterpret_cast<uintptr_t>(this));
}

} // namespace zq::test
