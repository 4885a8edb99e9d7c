#include "PrivateFiles.h"

#include "Console.h"
#include "Failure.h"
#include "FileBytes.h"
#include "ProblemText.h"
#include "Text.h"
#include "TimeText.h"

#include "check/FileCheck.h"
#include "config/ConfigFile.h"

#include <algorithm>

namespace zq::tool {

namespace fs = std::filesystem;

namespace {

bool IsAllowed(const PrivateFile& file, const RepairOptions& options) {
    switch (file.state) {
    case PrivateFileState::Refused:
        return options.isReplaceRefused;
    case PrivateFileState::Missing:
        return options.isProvision;
    default:
        return true;
    }
}

std::string ReasonText(const PrivateFile& file) {
    return file.state == PrivateFileState::Missing ? " does not exist" : " is refused by the module";
}

// Missing files and refused ones have different ways out.
std::string WayOut(const PrivateFile& file, const RepairOptions& options) {
    if (file.state == PrivateFileState::Missing) {
        return "--provision copies the default file there";
    }
    return options.canReplaceRefused
               ? "--replace-refused keeps it under another name and goes on with the default file"
               : "correct it first, with \"zqsettings check --fix\" where that is possible";
}

fs::path DefaultOf(const PrivateFile& file, const fs::path& defaults) {
    return defaults / NameOfConfigFile(file.file);
}

} // namespace

void AddProvisionFlag(Command command, RepairOptions& options) {
    command.AddFlag("--provision", options.isProvision, "Copy the default file where a file is missing");
}

void AddReplaceFlag(Command command, RepairOptions& options) {
    options.canReplaceRefused = true;
    command.AddFlag("--replace-refused", options.isReplaceRefused,
                    "Replace a file that the module refuses by the default file;\n"
                    "the refused one is kept as NAME.refused-TIME");
}

PrivateFile LookAtPrivateFile(const fs::path& folder, ConfigFile file) {
    PrivateFile look{file, (folder / NameOfConfigFile(file)).make_preferred(), PrivateFileState::Missing, {}};
    if (fs::exists(look.path)) {
        look.bytes = ReadBytes(look.path);
        look.state = WouldLoad(file, look.bytes) ? PrivateFileState::Accepted : PrivateFileState::Refused;
    }
    return look;
}

PrivateFiles LookAtPrivateFiles(const fs::path& folder) {
    return {LookAtPrivateFile(folder, ConfigFile::Settings), LookAtPrivateFile(folder, ConfigFile::HmdList),
            LookAtPrivateFile(folder, ConfigFile::Quality)};
}

void RequireRepairable(const PrivateFiles& files, const RepairOptions& options) {
    const bool hasColour = WantsColour("auto", stderr);
    const PrivateFile* first = nullptr;
    for (const PrivateFile& file : files) {
        if (IsAllowed(file, options)) {
            continue;
        }
        first = first ? first : &file;
        if (file.state == PrivateFileState::Refused) {
            PrintText(stderr, RefusalText(file, hasColour));
        }
    }
    if (first) {
        throw Failure("nothing was changed: " + Utf8FromPath(first->path) + ReasonText(*first) + "; " +
                          WayOut(*first, options),
                      ExitCode::No);
    }
}

std::optional<fs::path> Repair(const PrivateFile& file, const fs::path& defaults) {
    if (file.state == PrivateFileState::Accepted) {
        return std::nullopt;
    }
    const std::string bytes = ReadBytes(DefaultOf(file, defaults));
    if (file.state == PrivateFileState::Missing) {
        WriteNewFile(file.path, bytes);
        return std::nullopt;
    }
    fs::path keptAs = file.path;
    keptAs += L".refused-" + WideFromUtf8(UtcFileStamp());
    ExchangeFile(file.path, bytes, keptAs);
    return keptAs;
}

void PrintRepair(const PrivateFile& file, const std::optional<fs::path>& keptAs) {
    const std::string shown = Utf8FromPath(file.path);
    if (file.state == PrivateFileState::Missing) {
        PrintNote(shown + " did not exist; it is a copy of the default file now");
    } else if (keptAs) {
        PrintNote(shown + " was refused and is a copy of the default file now; the refused file is kept as " +
                  Utf8FromPath(*keptAs));
    }
}

std::string RefusalText(const PrivateFile& file, bool hasColour) {
    const FileCheck check(file.file, file.bytes, {});
    const Problems& problems = check.All();
    const auto error = std::find_if(problems.begin(), problems.end(), [](const Problem& problem) {
        return problem.severity == Severity::Error;
    });
    return error == problems.end() ? Utf8FromPath(file.path) + ": refused\n"
                                   : ProblemText(Utf8FromPath(file.path), check.Source(), *error, hasColour);
}

} // namespace zq::tool
