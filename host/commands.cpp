#include "command.h"

#include "check_command.h"
#include "explain_command.h"
#include "list_command.h"
#include "pending_command.h"
#include "plan_command.h"
#include "uninstall_command.h"

namespace prodsweep {

std::vector<std::unique_ptr<ICommand>> MakeCommands(CCommandLine& commandLine)
{
    std::vector<std::unique_ptr<ICommand>> commands;
    commands.push_back(std::make_unique<CListCommand>(commandLine));
    commands.push_back(std::make_unique<CExplainCommand>(commandLine));
    commands.push_back(std::make_unique<CPlanCommand>(commandLine));
    commands.push_back(std::make_unique<CUninstallCommand>(commandLine));
    commands.push_back(std::make_unique<CPendingCommand>(commandLine));
    commands.push_back(std::make_unique<CCheckCommand>(commandLine));
    return commands;
}

} // namespace prodsweep
