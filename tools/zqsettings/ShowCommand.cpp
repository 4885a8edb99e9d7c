#include "Commands.h"

#include "Console.h"
#include "ConsoleHost.h"
#include "Failure.h"
#include "FileBytes.h"
#include "FolderLook.h"
#include "FolderMirror.h"
#include "ModuleSession.h"
#include "PacketContent.h"
#include "PrivateFiles.h"
#include "Text.h"
#include "VariableFilter.h"
#include "VariableText.h"

#include <filesystem>
#include <fstream>
#include <memory>

namespace zq::tool {

namespace {

struct ShowOptions {
    ModuleOptions module;
    RepairOptions repair;
    VariableFilter filter;
    bool isJson = false;
    std::string packetFile;
};

// Written over an older packet, but over no other file.
void SavePacket(const std::string& file, const std::vector<uint8_t>& packet) {
    const std::filesystem::path path = WideFromUtf8(file);
    if (std::filesystem::exists(path)) {
        const std::string bytes = ReadBytes(path);
        const auto* const first = reinterpret_cast<const uint8_t*>(bytes.data());
        if (!IsPacket({first, bytes.size()})) {
            throw Failure("the file " + file + " exists and is no packet, so that it is not written over");
        }
    }
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(packet.data()), static_cast<std::streamsize>(packet.size()));
    out.close();
    if (!out) {
        throw Failure("the file " + file + " cannot be written");
    }
}

// The module repairs the copy, with its messages; the folder itself is repaired by this program, which loses
// nothing.
void RepairAll(const ShowOptions& options, const PrivateFiles& files) {
    const std::filesystem::path defaults = DefaultsFolderOf(options.module.defaults);
    for (const PrivateFile& file : files) {
        PrintRepair(file, Repair(file, defaults));
    }
}

void Show(const ShowOptions& options) {
    std::optional<FolderMirror> mirror;
    ModuleOptions module = options.module;
    if (const auto folder = FindDataFolderOrDefaults(options.module.data)) {
        const PrivateFiles files = LookAtPrivateFiles(*folder);
        RequireRepairable(files, options.repair);
        module.data = Utf8FromPath(mirror.emplace(*folder).Copy());
        RepairAll(options, files);
    }
    std::FILE* const messages = options.isJson ? stderr : stdout;
    ConsoleHost host(
        [messages](const ModuleMessage& message) { PrintText(messages, MessageText(message) + '\n'); },
        mirror ? mirror->Copy().native() : std::wstring(),
        mirror ? mirror->Original().native() : std::wstring());
    std::vector<Variable> variables;
    {
        const ModuleSession session(module, host);
        if (!options.packetFile.empty()) {
            SavePacket(options.packetFile, PackVariables(session.Variables()));
        }
        variables = options.filter.Apply(ListVariables(session.Variables()));
    }
    Print(options.isJson ? JsonText(variables) : "\n" + TableText(variables));
}

} // namespace

void AddShowCommand(CLI::App& app) {
    const auto options = std::make_shared<ShowOptions>();
    Command command(
        app, "show",
        "Load the three files as a server does and print the module's\nmessages as they come, then "
        "all variables, sorted by name");
    AddModuleOptions(command, options->module);
    AddProvisionFlag(command, options->repair);
    AddReplaceFlag(command, options->repair);
    AddFilterOptions(command, options->filter);
    command.AddFlag("--json", options->isJson, "Print the variables as JSON; the messages go to stderr");
    command
        .Add("--save-packet", options->packetFile, "FILE",
             "Write all variables to a file, as the packet that other\nprocesses are sent")
        .NotEmpty();
    command.Run([options] { Show(*options); });
}

} // namespace zq::tool
