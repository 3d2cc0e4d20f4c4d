#include "plan_command.h"

#include <CLI/CLI.hpp>

#include "exit_codes.h"
#include "library.h"
#include "output.h"
#include "plan_page.h"
#include "plan_report.h"
#include "planner.h"

namespace prodsweep {

CPlanCommand::CPlanCommand(CLI::App& parser)
    : command(parser.add_subcommand("plan", "Show what uninstall would do, and change nothing"))
{
    choice.AddOptions(*command);
    command->add_option("--html", pagePath, "Write the plan as a page for a browser, to pass on")->type_name("FILE");
    command->add_flag("--json", json, "One JSON object on standard output");
}

bool CPlanCommand::IsChosen() const { return command->parsed(); }

int CPlanCommand::Run(const COutput& out)
{
    choice.Check();
    const CLibrary library(choice.LibraryPath());
    const Plan plan = MakePlan(library, choice.Selection());
    if (command->count("--html") != 0)
        WritePage(PlanAsPage(plan), pagePath);
    return out.Write(json ? ReportText(PlanAsJson(plan)) : PlanAsText(plan)) ? exitDone : exitNotWritten;
}

} // namespace prodsweep
