// The commands of zqsettings, each in a file of its own. An Add function describes its command to the parser
// and leaves a callback that runs it; a command that fails raises Failure, and one that has printed a "no"
// raises Ended.
#pragma once

namespace CLI {
class App;
}

namespace zq::tool {

void AddCheckCommand(CLI::App& app);
void AddCompletionCommand(CLI::App& app);
void AddDescribeCommand(CLI::App& app);
void AddDiffCommand(CLI::App& app);
void AddExplainCommand(CLI::App& app);
void AddGetCommand(CLI::App& app);
void AddListCommand(CLI::App& app);
void AddManualCommand(CLI::App& app);
void AddPacketCommand(CLI::App& app);
void AddRestoreCommand(CLI::App& app);
void AddServeCommand(CLI::App& app);
void AddSetCommand(CLI::App& app);
void AddSetHmdCommand(CLI::App& app);
void AddShowCommand(CLI::App& app);
void AddSurveyCommand(CLI::App& app);
void AddWatchCommand(CLI::App& app);

// All of them, in the order in which the help lists them.
void AddCommands(CLI::App& app);

} // namespace zq::tool
