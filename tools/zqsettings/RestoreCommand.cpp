// Puts a copy of a configuration file back: one of those that the module keeps in the data folder's
// sub-folders "kept" and "rejected", where somebody has made them.
#include "Commands.h"

#include "Console.h"
#include "DataFolder.h"
#include "Failure.h"
#include "FileArguments.h"
#include "FileBytes.h"
#include "JsonOutput.h"
#include "KeptFiles.h"
#include "PrivateFiles.h"
#include "Text.h"
#include "TimeText.h"

#include "check/FileCheck.h"

#include <memory>

namespace zq::tool {

namespace {

namespace fs = std::filesystem;

struct RestoreOptions {
    std::string data;
    std::string name;
    bool isList = false;
    bool isJson = false;
};

constexpr size_t kFolderWidth = std::string_view("rejected  ").size();

std::string TextOf(const std::vector<KeptFile>& files) {
    std::string text;
    for (const KeptFile& file : files) {
        std::string folder = Utf8FromWide(file.folder);
        folder.resize(kFolderWidth, ' ');
        text += folder + (file.isAccepted ? "accepted" : "refused ") + "  " + Utf8FromWide(file.name) + '\n';
    }
    return text + Counted(files.size(), "copy", "copies") + '\n';
}

void WriteKept(JsonWriter& writer, const KeptFile& file) {
    writer.StartObject();
    WriteMember(writer, "name", Utf8FromWide(file.name));
    WriteMember(writer, "folder", Utf8FromWide(file.folder));
    WriteMember(writer, "file", Utf8FromWide(NameOfConfigFile(file.file)));
    WriteMember(writer, "bytes", static_cast<int64_t>(file.bytes.size()));
    WriteMember(writer, "accepted", file.isAccepted);
    writer.EndObject();
}

std::string JsonTextOf(const std::vector<KeptFile>& files) {
    return JsonDocument([&](JsonWriter& writer) {
        writer.StartArray();
        for (const KeptFile& file : files) {
            WriteKept(writer, file);
        }
        writer.EndArray();
    });
}

void List(const RestoreOptions& options) {
    if (!options.name.empty() && !FileOfName(WideFromUtf8(options.name))) {
        throw Failure('"' + options.name + "\" is the name of none of the three files", ExitCode::Usage);
    }
    const std::vector<KeptFile> files = KeptFilesOf(RequireDataFolder(options.data));
    std::vector<KeptFile> shown;
    for (const KeptFile& file : files) {
        if (options.name.empty() || IsNamed(file, WideFromUtf8(options.name))) {
            shown.push_back(file);
        }
    }
    Print(options.isJson ? JsonTextOf(shown) : TextOf(shown));
}

KeptFile RequireKept(const fs::path& folder, const std::string& name) {
    for (const KeptFile& file : KeptFilesOf(folder)) {
        if (file.name == WideFromUtf8(name)) {
            return file;
        }
    }
    throw Failure("there is no copy " + name + " in " + Utf8FromPath(folder) +
                      "; --list prints those that there are",
                  ExitCode::No);
}

void RequireAccepted(const fs::path& folder, const KeptFile& kept) {
    if (kept.isAccepted) {
        return;
    }
    const fs::path path = folder / kept.folder / kept.name;
    PrintText(stderr, RefusalText({kept.file, path, PrivateFileState::Refused, kept.bytes},
                                  WantsColour("auto", stderr)));
    throw Failure("nothing was changed: the module would refuse " + Utf8FromPath(path) +
                      "; correct a copy of it, with \"zqsettings check --fix\" where that is possible",
                  ExitCode::No);
}

// Returns where the file that was there is now.
std::optional<fs::path> PutBack(const fs::path& folder, const KeptFile& kept) {
    const PrivateFile now = LookAtPrivateFile(folder, kept.file);
    if (now.state == PrivateFileState::Missing) {
        WriteNewFile(now.path, kept.bytes);
        return std::nullopt;
    }
    const fs::path keptAs =
        folder / kept.folder / (NameOfConfigFile(kept.file) + (L'.' + WideFromUtf8(UtcFileStamp())));
    ExchangeFile(now.path, kept.bytes, keptAs);
    return keptAs;
}

void Restore(const RestoreOptions& options) {
    if (options.isList) {
        List(options);
        return;
    }
    if (options.name.empty()) {
        throw Failure("NAME is missing: the copy to put back, as --list prints it", ExitCode::Usage);
    }
    const fs::path folder = RequireDataFolder(options.data);
    const KeptFile kept = RequireKept(folder, options.name);
    RequireAccepted(folder, kept);
    const std::optional<fs::path> keptAs = PutBack(folder, kept);
    const std::string file = Utf8FromPath(folder / NameOfConfigFile(kept.file));
    if (options.isJson) {
        Print(JsonDocument([&](JsonWriter& writer) {
            writer.StartObject();
            WriteMember(writer, "file", file);
            WriteMember(writer, "restored", options.name);
            if (keptAs) {
                WriteMember(writer, "kept", Utf8FromPath(*keptAs));
            }
            writer.EndObject();
        }));
        return;
    }
    Print(file + " is " + options.name + " now" +
          (keptAs ? "; what it replaced is kept as " + Utf8FromPath(*keptAs) + '\n' : "\n"));
}

} // namespace

void AddRestoreCommand(CLI::App& app) {
    const auto options = std::make_shared<RestoreOptions>();
    Command command(app, "restore",
                    "Put a copy that the module kept back in its file's place; what it\n"
                    "replaces is kept too");
    AddDataOption(command, options->data, "");
    command.AddFlag("--list", options->isList, "Print the copies that there are, the newest first");
    command.AddFlag("--json", options->isJson, "Print it as JSON");
    command.Add("NAME", options->name, "",
                "The copy, as --list prints it: FILE.20260102T030405.678Z; with\n"
                "--list, a file's name for its copies only");
    command.Run([options] { Restore(*options); });
}

} // namespace zq::tool
