#include "Commands.h"

#include "Failure.h"
#include "FileArguments.h"
#include "JsonOutput.h"
#include "MendFiles.h"
#include "ModuleSession.h"
#include "ProblemText.h"
#include "Text.h"

#include "check/FolderCheck.h"
#include "config/ConfigFile.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <optional>

#include <io.h>
#include <windows.h>

namespace zq::tool {

namespace fs = std::filesystem;

namespace {

constexpr int kExitRefused = 1;
constexpr int kExitNotLooked = 2;
constexpr size_t kShownProblems = 50;

struct CheckOptions {
    std::vector<std::string> files;
    std::string as;
    std::string defaults;
    std::string colour = "auto";
    bool isFix = false;
    bool isInPlace = false;
    bool isJson = false;
    bool isAll = false;
    bool isStrict = false;
};

struct CheckedFile {
    FileArgument argument;
    std::string bytes;
    std::unique_ptr<FileCheck> check;
    std::optional<MendReport> mend;
};

// The keys of the default file; none where it is not at hand and was not asked for.
KnownKeys KnownKeysOf(ConfigFile file, const std::string& defaults) {
    const fs::path path = DefaultsFolderOf(defaults) / NameOfConfigFile(file);
    return fs::exists(path) ? KeysOf(ReadBytes(path)) : KnownKeys();
}

KnownKeys KnownKeysFor(ConfigFile file, const std::string& defaults) {
    if (!defaults.empty()) {
        return KnownKeysOf(file, defaults);
    }
    try {
        return KnownKeysOf(file, defaults);
    } catch (const Failure&) {
        return {};
    }
}

std::vector<CheckedFile> LookAtFiles(const CheckOptions& options) {
    std::vector<CheckedFile> files;
    for (FileArgument& argument : FilesOf(options.files, options.as)) {
        CheckedFile& file = files.emplace_back();
        file.argument = std::move(argument);
        file.bytes = ReadBytes(file.argument.path);
        file.check = std::make_unique<FileCheck>(file.argument.file, file.bytes,
                                                 KnownKeysFor(file.argument.file, options.defaults));
    }
    return files;
}

// Files of one folder meet in the module; a file that is named twice does not meet itself.
void CheckFolders(std::vector<CheckedFile>& files) {
    std::map<fs::path, std::map<ConfigFile, FileCheck*>> folders;
    for (CheckedFile& file : files) {
        folders[fs::absolute(file.argument.path).parent_path()].try_emplace(file.argument.file,
                                                                            file.check.get());
    }
    for (const auto& [folder, checks] : folders) {
        std::vector<FileCheck*> inOrder;
        for (const auto& [file, check] : checks) {
            inOrder.push_back(check);
        }
        CheckAcrossFiles(inOrder);
    }
}

bool HasColour(const std::string& choice) {
    if (choice != "auto") {
        return choice == "always";
    }
    const HANDLE console = GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    return _isatty(_fileno(stdout)) != 0 && !std::getenv("NO_COLOR") && GetConsoleMode(console, &mode) != 0 &&
           SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

std::string TextOf(const CheckedFile& file, const CheckOptions& options, bool hasColour) {
    std::string text;
    const Problems& problems = file.check->All();
    const size_t shown = options.isAll ? problems.size() : std::min(problems.size(), kShownProblems);
    for (size_t i = 0; i < shown; ++i) {
        text += ProblemText(file.argument.shown, file.check->Source(), problems[i], hasColour);
    }
    if (shown < problems.size()) {
        text += file.argument.shown + ": " + std::to_string(problems.size() - shown) +
                " more problems; --all prints them\n";
    }
    text += VerdictText(file.argument.shown, *file.check);
    return text + (file.mend ? file.mend->text : "");
}

void WriteProblem(JsonWriter& writer, const SourceText& source, const Problem& problem) {
    const TextPosition begin = source.PositionOf(problem.begin);
    const TextPosition end = source.PositionOf(std::max(problem.begin, problem.end));
    writer.StartObject();
    WriteMember(writer, "severity", problem.severity == Severity::Error ? "error" : "warning");
    WriteMember(writer, "code", problem.code);
    WriteMember(writer, "line", int64_t{begin.line});
    WriteMember(writer, "column", int64_t{begin.column});
    WriteMember(writer, "endLine", int64_t{end.line});
    WriteMember(writer, "endColumn", int64_t{end.column});
    WriteMember(writer, "text", problem.text);
    WriteMember(writer, "mend", problem.mend);
    writer.EndObject();
}

void WriteFile(JsonWriter& writer, const CheckedFile& file) {
    writer.StartObject();
    WriteMember(writer, "file", file.argument.shown);
    WriteMember(writer, "accepted", file.check->IsAccepted());
    writer.Key("problems");
    writer.StartArray();
    for (const Problem& problem : file.check->All()) {
        WriteProblem(writer, file.check->Source(), problem);
    }
    writer.EndArray();
    if (file.mend) {
        WriteMember(writer, "mended", file.mend->isMended);
        WriteMember(writer, "written", file.mend->written);
    }
    writer.EndObject();
}

void Print(const std::vector<CheckedFile>& files, const CheckOptions& options) {
    std::string text;
    if (options.isJson) {
        text = JsonDocument([&](JsonWriter& writer) {
            writer.StartArray();
            for (const CheckedFile& file : files) {
                WriteFile(writer, file);
            }
            writer.EndArray();
        });
    } else {
        const bool hasColour = HasColour(options.colour);
        for (const CheckedFile& file : files) {
            text += TextOf(file, options, hasColour);
        }
    }
    std::fwrite(text.data(), 1, text.size(), stdout);
}

bool IsGood(const CheckedFile& file, const CheckOptions& options) {
    if (file.mend && file.mend->isMended) {
        return true;
    }
    return file.check->IsAccepted() && (!options.isStrict || file.check->All().empty());
}

bool Check(const CheckOptions& options) {
    std::vector<CheckedFile> files = LookAtFiles(options);
    CheckFolders(files);
    if (options.isFix || options.isInPlace) {
        const MendTarget target = options.isInPlace ? MendTarget::InPlace : MendTarget::Beside;
        for (CheckedFile& file : files) {
            file.mend = MendOne(file.argument, file.bytes, target);
        }
    }
    Print(files, options);
    return std::all_of(files.begin(), files.end(),
                       [&](const CheckedFile& file) { return IsGood(file, options); });
}

void Run(const CheckOptions& options) {
    bool isGood = false;
    try {
        isGood = Check(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "zqsettings: %s.\n", error.what());
        throw CLI::RuntimeError(kExitNotLooked);
    }
    if (!isGood) {
        throw CLI::RuntimeError(kExitRefused);
    }
}

} // namespace

void AddCheckCommand(CLI::App& app) {
    const auto options = std::make_shared<CheckOptions>();
    CLI::App* const command =
        app.add_subcommand("check", "Tell whether the module would take a file, and what is wrong with it.\n"
                                    "Exit code 0: accepted, or mended; 1: refused; 2: could not look");
    command->add_option("FILE", options->files, "The files, or the folder that holds them")->required();
    command->add_flag("--fix", options->isFix,
                      "Write a mended copy beside each file, NAME.fixed.EXTENSION:\n"
                      "without byte order mark and blanks behind the end, other\n"
                      "characters than ASCII as escapes");
    command->add_flag("--in-place", options->isInPlace,
                      "Mend each file itself; the old one is kept as FILE.bak");
    command->add_flag("--strict", options->isStrict, "Exit code 1 for warnings too");
    command->add_flag("--all", options->isAll, "Print all problems, not the first 50 of a file");
    command->add_flag("--json", options->isJson, "Print the result as JSON");
    command->add_option("--as", options->as,
                        "What the files stand for: settings, hmd-list or quality.\n"
                        "Default: by their names");
    command
        ->add_option("--defaults", options->defaults,
                     "Folder with the default files, for the names that are known.\n"
                     "Default: \"defaults\" beside this program")
        ->type_name("DIR");
    command->add_option("--color", options->colour, "auto, always or never")
        ->check(CLI::IsMember({"auto", "always", "never"}));
    command->callback([options] { Run(*options); });
}

} // namespace zq::tool
