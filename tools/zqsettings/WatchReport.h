// What "watch" reports, whichever form it is printed in. The calls come from several threads.
#pragma once

#include "ConsoleHost.h"
#include "PrivateFiles.h"
#include "VariableDifference.h"
#include "VariableListing.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zq::tool {

struct WatchBeginning {
    std::filesystem::path folder;
    std::filesystem::path defaults;
    std::vector<Variable> variables;
};

struct WatchedReload {
    std::vector<VariableChange> changes;
    std::optional<double> milliseconds; // from the newest file's write; none where that is not known
};

struct WatchTotals {
    size_t reloads = 0;
    size_t changes = 0;
    size_t notices = 0;
};

class WatchReport {
public:
    virtual ~WatchReport() = default;

    virtual void OnMessage(const ModuleMessage& message) = 0;
    virtual void OnBegin(const WatchBeginning& beginning) = 0;
    virtual void OnReload(const WatchedReload& reload) = 0;
    // Set without a file being read; never empty.
    virtual void OnChange(const std::vector<VariableChange>& changes, bool isByHost) = 0;
    // A file that is refused or missing, and where its text is kept if it was replaced.
    virtual void OnRefusal(const PrivateFile& file, const std::optional<std::filesystem::path>& keptAs,
                           bool isReplaced) = 0;
    virtual void OnAccept(const PrivateFile& file) = 0;
    // `reason` is "Ctrl+C", "time" or "closed".
    virtual void OnEnd(const std::string& reason, const WatchTotals& totals) = 0;
};

// For a person: a line each with its time. Quiet: only what changes, refusals on stderr.
std::unique_ptr<WatchReport> MakeTextReport(bool isQuiet, bool hasColour);

// For other programs: the live message protocol, a message a line (docs/dashboard.md).
std::unique_ptr<WatchReport> MakeJsonReport();

} // namespace zq::tool
