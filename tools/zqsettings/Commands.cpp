#include "Commands.h"

namespace zq::tool {

void AddCommands(CLI::App& app) {
    AddCheckCommand(app);
    AddListCommand(app);
    AddGetCommand(app);
    AddDescribeCommand(app);
    AddDiffCommand(app);
    AddExplainCommand(app);
    AddSurveyCommand(app);
    AddShowCommand(app);
    AddWatchCommand(app);
    AddServeCommand(app);
    AddSetCommand(app);
    AddSetHmdCommand(app);
    AddRestoreCommand(app);
    AddPacketCommand(app);
    AddManualCommand(app);
    AddCompletionCommand(app);
}

} // namespace zq::tool
