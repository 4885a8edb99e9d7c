// A module that watches its folder while other programs work on the files: the fixture for tests of such
// programs.
//
// ZQ_TEST_SEED in the environment sets the seed of what is random.
#pragma once

#include "support/RecordingHost.h"
#include "support/win32/ChildProcess.h"
#include "support/win32/Folders.h"
#include "support/win32/Module.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <iosfwd>
#include <string>

namespace zq::test {

unsigned Seed();

// The result of the edits so far.
struct EditOutcome {
    int lost = 0;   // files that were replaced by their default
    int unseen = 0; // 1 when the last edit is not what the variables hold

    friend bool operator==(const EditOutcome&, const EditOutcome&) = default;
};

void PrintTo(const EditOutcome& outcome, std::ostream* out);

class WatchedFolder : public testing::Test {
protected:
    void SetUp() override;

    // The command line of a second process that edits the settings file: see tests/editor/.
    std::wstring Editor(const std::wstring& style, int count, int pause, unsigned seed = Seed()) const;
    std::wstring Saver(const std::wstring& event, const std::wstring& name, int count, int pause) const;

    int CountRepairs() const;
    // Waits until the variable "Edit" is that of the last edit.
    EditOutcome OutcomeOf(int64_t lastEdit);
    // Nothing is lost, the last edit is in force, and the file holds it.
    void ExpectEdit(int64_t lastEdit);
    // The host's messages, for a failure.
    std::string LastMessages() const;

    ModuleFolders folders;
    RecordingHost host;
    Module module;
};

// Prints a line of the table of bad moments; in the long form, whose lines scripts/bad-moments.sh collects.
void ReportMoments(const std::string& moment, const std::string& duration, int tries,
                   const EditOutcome& outcome);

// A second process that is known to be saving.
class RunningSaver {
public:
    // `commandLine` gets the name of an event.
    template <class CommandLine>
    explicit RunningSaver(const CommandLine& commandLine)
        : m_started(CreateEventW(nullptr, TRUE, FALSE, EventName().c_str())),
          m_process(commandLine(EventName())) {
        WaitForSingleObject(m_started, 60'000);
    }
    ~RunningSaver() { CloseHandle(m_started); }
    RunningSaver(const RunningSaver&) = delete;
    RunningSaver& operator=(const RunningSaver&) = delete;

    ChildProcess& Process() { return m_process; }

private:
    // An object's own: two savers may run at once.
    std::wstring EventName() const;

    HANDLE m_started;
    ChildProcess m_process;
};

} // namespace zq::test
