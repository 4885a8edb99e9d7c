#include "Commands.h"

#include "Command.h"
#include "Console.h"
#include "Failure.h"
#include "FileArguments.h"
#include "FixFiles.h"
#include "JsonOutput.h"
#include "ModuleSession.h"
#include "ProblemText.h"
#include "Text.h"

#include "check/FolderCheck.h"
#include "config/ConfigFile.h"

#include <algorithm>
#include <map>
#include <memory>
#include <optional>

namespace zq::tool {

namespace fs = std::filesystem;

namespace {

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
    std::optional<FixReport> fix;
    std::string failure; // why the fix could not be written, as a sentence without its full stop
};

// Nothing is known where the default file is not at hand.
DefaultFile DefaultFileIn(ConfigFile file, const std::string& defaults) {
    const fs::path path = DefaultsFolderOf(defaults) / NameOfConfigFile(file);
    return fs::exists(path) ? DefaultFile(file, ReadBytes(path)) : DefaultFile();
}

// A folder that was not asked for need not be there.
DefaultFile DefaultFileFor(ConfigFile file, const std::string& defaults) {
    if (!defaults.empty()) {
        return DefaultFileIn(file, defaults);
    }
    try {
        return DefaultFileIn(file, defaults);
    } catch (const Failure&) {
        return {};
    }
}

// The newest copy that the module kept of a file: "kept\<name>.<UTC time>". The times sort as texts.
std::optional<fs::path> NewestKeptCopy(const fs::path& path) {
    std::error_code error;
    const std::wstring prefix = path.filename().native() + L".";
    std::optional<fs::path> newest;
    for (const auto& entry : fs::directory_iterator(fs::absolute(path).parent_path() / L"kept", error)) {
        const std::wstring name = entry.path().filename().native();
        if (name.starts_with(prefix) && (!newest || name > newest->filename().native())) {
            newest = entry.path();
        }
    }
    return newest;
}

void AdviseKeptCopy(CheckedFile& file) {
    if (const auto kept = NewestKeptCopy(file.argument.path)) {
        for (const char* code : {"zero-file", "zero-bytes", "empty"}) {
            file.check->AddAdvice(code, "the newest copy that was kept is " + Utf8FromPath(*kept));
        }
    }
}

// A file that cannot be read does not keep the others from being looked at.
std::vector<CheckedFile> ReadFiles(const CheckOptions& options, std::vector<FailedFile>& failures) {
    FileArguments arguments = LookUpFiles(options.files, options.as);
    failures = std::move(arguments.failures);
    std::vector<CheckedFile> files;
    std::map<ConfigFile, DefaultFile> defaults;
    for (FileArgument& argument : arguments.files) {
        std::string bytes;
        try {
            bytes = BytesOf(argument);
        } catch (const Failure& failure) {
            failures.push_back({argument.shown, failure.what()});
            continue;
        }
        CheckedFile& file = files.emplace_back();
        file.argument = std::move(argument);
        file.bytes = std::move(bytes);
        auto known = defaults.find(file.argument.file);
        if (known == defaults.end()) {
            known = defaults.emplace(file.argument.file, DefaultFileFor(file.argument.file, options.defaults))
                        .first;
        }
        file.check = std::make_unique<FileCheck>(file.argument.file, file.bytes, known->second);
        AdviseKeptCopy(file);
    }
    return files;
}

// Files of one folder meet in the module; a file that is named twice is compared with the others only once.
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
    return text + (file.fix ? file.fix->text : "");
}

void WriteCheckedFile(JsonWriter& writer, const CheckedFile& file) {
    writer.StartObject();
    WriteMember(writer, "file", file.argument.shown);
    WriteMember(writer, "accepted", file.check->IsAccepted());
    WriteMember(writer, "savable", file.check->IsSavable());
    writer.Key("problems");
    writer.StartArray();
    for (const Problem& problem : file.check->All()) {
        WriteProblem(writer, file.check->Source(), problem);
    }
    writer.EndArray();
    if (file.fix) {
        WriteMember(writer, "fixable", file.fix->isFixable);
        WriteMember(writer, "written", file.fix->written);
    }
    if (!file.failure.empty()) {
        WriteMember(writer, "failure", file.failure);
    }
    writer.EndObject();
}

void WriteFailure(JsonWriter& writer, const FailedFile& failure) {
    writer.StartObject();
    WriteMember(writer, "file", failure.shown);
    WriteMember(writer, "accepted", false);
    WriteMember(writer, "savable", false);
    writer.Key("problems");
    writer.StartArray();
    writer.EndArray();
    WriteMember(writer, "failure", failure.text);
    writer.EndObject();
}

void PrintFiles(const std::vector<CheckedFile>& files, const std::vector<FailedFile>& failures,
                const CheckOptions& options) {
    std::string text;
    if (options.isJson) {
        text = JsonDocument([&](JsonWriter& writer) {
            writer.StartArray();
            for (const CheckedFile& file : files) {
                WriteCheckedFile(writer, file);
            }
            for (const FailedFile& failure : failures) {
                WriteFailure(writer, failure);
            }
            writer.EndArray();
        });
    } else {
        const bool hasColour = WantsColour(options.colour, stdout);
        for (const CheckedFile& file : files) {
            text += TextOf(file, options, hasColour);
        }
    }
    Print(text);
}

// What the file is now, after a fix in place.
bool IsGood(const CheckedFile& file, const CheckOptions& options) {
    if (!file.fix || !file.fix->isInPlace || file.fix->written.empty()) {
        return file.check->IsAccepted() && (!options.isStrict || file.check->All().empty());
    }
    const FileCheck now(file.argument.file, ReadBytes(file.argument.path),
                        DefaultFileFor(file.argument.file, options.defaults));
    return now.IsAccepted() && (!options.isStrict || now.All().empty());
}

// One that cannot be written does not keep the others from being fixed.
void Fix(std::vector<CheckedFile>& files, FixTarget target) {
    for (CheckedFile& file : files) {
        try {
            file.fix = FixOne(file.argument, file.bytes, !file.check->All().empty(), target);
        } catch (const Failure& failure) {
            file.failure = failure.what();
        }
    }
}

// Returns whether there was any.
bool PrintFailures(const std::vector<CheckedFile>& files, const std::vector<FailedFile>& failures) {
    bool hasFailed = !failures.empty();
    for (const FailedFile& failure : failures) {
        PrintFailure(failure.text);
    }
    for (const CheckedFile& file : files) {
        if (!file.failure.empty()) {
            PrintFailure(file.failure);
            hasFailed = true;
        }
    }
    return hasFailed;
}

bool Check(const CheckOptions& options) {
    const bool isFixing = options.isFix || options.isInPlace;
    if (isFixing && std::find(options.files.begin(), options.files.end(), "-") != options.files.end()) {
        throw Failure("standard input cannot be fixed; give a file", ExitCode::Usage);
    }
    std::vector<FailedFile> failures;
    std::vector<CheckedFile> files = ReadFiles(options, failures);
    CheckFolders(files);
    if (options.isStrict) {
        for (CheckedFile& file : files) {
            file.check->TreatWarningsAsErrors();
        }
    }
    if (isFixing) {
        Fix(files, options.isInPlace ? FixTarget::InPlace : FixTarget::Beside);
    }
    PrintFiles(files, failures, options);
    if (PrintFailures(files, failures)) {
        throw Ended{ExitCode::Cannot};
    }
    return std::all_of(files.begin(), files.end(),
                       [&](const CheckedFile& file) { return IsGood(file, options); });
}

void Run(const CheckOptions& options) {
    if (!Check(options)) {
        throw Ended{ExitCode::No};
    }
}

} // namespace

void AddCheckCommand(CLI::App& app) {
    const auto options = std::make_shared<CheckOptions>();
    Command command(app, "check",
                    "Check whether the module would accept a file, and what is wrong with it.\n"
                    "Exit code 0: accepted, or fixed in place; 1: refused; 2: cannot check");
    command
        .Add("FILE", options->files, "",
             "The files, patterns of names, the folder that holds them, or\n\"-\" for standard input "
             "(with --as)")
        .Required()
        .NotEmpty();
    command.AddFlag("--fix", options->isFix,
                    "Write a fixed copy beside each file, NAME.fixed.EXTENSION, as far\n"
                    "as that needs no guess: quotes, commas, brackets, comments,\n"
                    "numbers, encoding and line breaks at the end. The exit code\n"
                    "is still about the file itself");
    command.AddFlag("--in-place", options->isInPlace,
                    "Fix each file itself; the old one is kept as FILE.bak");
    command.AddFlag("--strict", options->isStrict, "Treat warnings as errors");
    command.AddFlag("--all", options->isAll, "Print all problems, not the first 50 of a file");
    command.AddFlag("--json", options->isJson, "Print the result as JSON");
    command
        .Add("--as", options->as, "ROLE",
             "What the files are: settings, hmd-list or quality.\n"
             "Default: by their names")
        .OneOf(FileRoles());
    command
        .Add("--defaults", options->defaults, "DIR",
             "Folder with the default files, for known names and types.\n"
             "Default: \"defaults\" beside this program")
        .NotEmpty();
    command.AddColour(options->colour);
    command.Run([options] { Run(*options); });
}

} // namespace zq::tool
