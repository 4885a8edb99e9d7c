#include "Commands.h"

#include "Command.h"
#include "Console.h"
#include "Manual.h"

#include <memory>
#include <string>

namespace zq::tool {

void AddManualCommand(CLI::App& app) {
    Command command(app, "manual", "Print the man page: zqsettings manual | man -l -");
    command.Run([&app] { Print(ManPage(app)); });
}

void AddCompletionCommand(CLI::App& app) {
    const auto shell = std::make_shared<std::string>();
    Command command(app, "completion", "Print a shell's completion of commands and options");
    command.Add("SHELL", *shell, "", "bash or powershell").OneOf({"bash", "powershell"}).Required();
    command.Run([&app, shell] { Print(*shell == "bash" ? BashCompletion(app) : PowerShellCompletion(app)); });
}

} // namespace zq::tool
