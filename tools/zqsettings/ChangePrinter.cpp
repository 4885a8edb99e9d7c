#include "ChangePrinter.h"

#include "ModuleSession.h"
#include "Text.h"
#include "VariableDifference.h"
#include "VariableText.h"

#include "config/ConfigFile.h"

#include <algorithm>
#include <cstdio>

#include <windows.h>

namespace zq::tool {

namespace {

constexpr double kLongestReloadMilliseconds = 1000;

using Microseconds = std::chrono::duration<double, std::micro>;

// The time since the newest file of the folder was written, in milliseconds.
double MillisecondsSinceLastWrite(const std::filesystem::path& folder) {
    uint64_t newest = 0;
    for (const ConfigFile file : kConfigFiles) {
        WIN32_FILE_ATTRIBUTE_DATA data{};
        if (GetFileAttributesExW((folder / NameOfConfigFile(file)).c_str(), GetFileExInfoStandard, &data)) {
            const FILETIME time = data.ftLastWriteTime;
            newest = std::max(newest, uint64_t{time.dwHighDateTime} << 32U | time.dwLowDateTime);
        }
    }
    FILETIME now{};
    GetSystemTimePreciseAsFileTime(&now);
    constexpr double kTicksPerMillisecond = 10'000;
    return static_cast<double>((uint64_t{now.dwHighDateTime} << 32U | now.dwLowDateTime) - newest) /
           kTicksPerMillisecond;
}

std::string Count(size_t count, const char* thing) {
    std::string text = std::to_string(count);
    text += ' ';
    text += thing;
    return count == 1 ? text : text + 's';
}

void PrintLine(const std::string& line) {
    std::fwrite((line + "\n").data(), 1, line.size() + 1, stdout);
    std::fflush(stdout);
}

} // namespace

ChangePrinter::ChangePrinter(const ModuleSession& session)
    : m_session(session), m_known(ListVariables(session.Variables())),
      m_lastChange(std::chrono::steady_clock::now()) {}

void ChangePrinter::OnVariableChanged(const wchar_t* name, uint32_t type, CZQVariableHost* source) {
    const double microseconds = Microseconds(std::chrono::steady_clock::now() - m_lastChange).count();
    std::vector<Variable> now = ListVariables(m_session.Variables());
    ++m_notices;
    char text[96];
    std::snprintf(text, sizeof(text), ", set by %s, told after %.0f microseconds",
                  source ? "a host" : "the module", microseconds);
    PrintLine("notice: " + Printable(name) + " (" + VariableTypeName(static_cast<VariableType>(type)) + ")" +
              text);
    for (const VariableChange& change : Difference(m_known, now)) {
        PrintLine("  " + ChangeText(change));
    }
    m_known = std::move(now);
}

void ChangePrinter::OnVariablesReloaded() {
    const double milliseconds = MillisecondsSinceLastWrite(m_session.DataFolder());
    std::vector<Variable> now = ListVariables(m_session.Variables());
    const std::vector<VariableChange> changes = Difference(m_known, now);
    m_known = std::move(now);
    ++m_reloads;
    m_changes += changes.size();
    char text[64] = " changed";
    // A default copy carries the old time of its file, which tells nothing.
    if (milliseconds < kLongestReloadMilliseconds) {
        std::snprintf(text, sizeof(text), " changed, %.1f ms after the file was written", milliseconds);
    }
    PrintLine("reload: " + Count(changes.size(), "variable") + text);
    for (const VariableChange& change : changes) {
        PrintLine("  " + ChangeText(change));
    }
    // As a server does: the headset in use may be another one now.
    m_lastChange = std::chrono::steady_clock::now();
    m_session.Settings().UpdateDefaultDeviceName();
}

std::string ChangePrinter::Summary() const {
    const auto notices = static_cast<size_t>(m_notices);
    return Count(static_cast<size_t>(m_reloads), "reload") + ", " + Count(m_changes, "variable") +
           " changed, " + Count(notices, notices == 1 ? "notice of a change" : "notice") +
           (notices == 1 ? "." : " of changes.");
}

} // namespace zq::tool
