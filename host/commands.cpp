#include "command.h"

#include "check_command.h"
#include "explain_command.h"
#include "list_command.h"
#include "pending_command.h"
#include "plan_command.h"
#include "uninstall_command.h"

namespace prodsweep {

std::vector<std::unique_ptr<ICommand>> MakeCommands(CLI::App& parser)
{
    std::vector<std::unique_ptr<ICommand>> commands;
    commands.push_back(std::make_unique<CListCommand>(parser));
    commands.push_back(std::make_unique<CExplainCommand>(parser));
    commands.push_back(std::make_unique<CPlanCommand>(parser));
    commands.push_back(std::make_unique<CUninstallCommand>(parser));
    commands.push_back(std::make_unique<CPendingCommand>(parser));
    commands.push_back(std::make_unique<CCheckCommand>(parser));
    return commands;
}

} // namespace prodsweep
