#include "plan_command.h"

#include "exit_codes.h"
#include "library.h"
#include "output.h"
#include "plan_page.h"
#include "plan_report.h"
#include "planner.h"
#include "saved_plan.h"
#include "whole_file.h"

namespace prodsweep {

namespace {

constexpr const char* footer = R"(
The exit code is 0 whatever the plan says, and 1605 for a name that is in no catalogue.

--json prints one object, in UTF-8; --save writes the same:
  format     number; 1. It is raised when a script would have to change.
  report     "plan"
  library    full path of the library that was asked
  machine, made  name of the computer; when, in UTC
  selection  names, kind, force, allInstalled, forceAll: what was chosen
  catalogues digest of the catalogues
  restart    true: a restart would be needed, as far as can be seen
  total      folders, files, bytes, links, keys, values that would go; inUse, atRestart; complete
  dangers    what uninstall refuses: product, item, leadsTo or null, place, reason
  warnings   product or null, item or null, text
  notInstalled  chosen names that would be left alone
  products   in the order of the sweep: name, kind ("own" or "other"), installed, descriptor, digest, asksRestart, restart
    restartFor  what the restart is for: names of items, and descriptions of the entries that ask for it
    why      "chosen" or "clean-up" (with the last product of its kind)
    fault    why the descriptor cannot be read, or null
    asked    products that stay and are asked what they use: name, descriptor, read
    stages   stage, items
      items  kind, name, value (of values), detail, user, by, reason, leadsTo, contents (as in total, or null), mark
        state  "present", "partly in use", "absent", "in use", "at restart", "goes with", "pruned", "skipped" or "fails"
        parts  what is noteworthy in it: kind, name, state, user, leadsTo; partsLeftOut tells how many are left out
After a failure the object holds format and error (code, message) instead.
)";

} // namespace

CPlanCommand::CPlanCommand(CCommandLine& commandLine)
    : options(commandLine.AddCommand("plan", "Show what uninstall would do, and change nothing", footer)),
      choice(options)
{
    options.AddText("--html", pagePath, "FILE", "Write the plan as a page for a browser, to pass on");
    options.AddText("--save", savePath, "FILE", "Keep the plan in a file, for uninstall --plan");
    options.AddFlag("--json", json, "One JSON object on standard output");
}

std::vector<NamedFile> CPlanCommand::Files() const
{
    std::vector<NamedFile> files;
    if (options.IsGiven("--html"))
        files.push_back({"--html", pagePath, true});
    if (options.IsGiven("--save"))
        files.push_back({"--save", savePath, true});
    return files;
}

int CPlanCommand::Run(const COutput& out)
{
    choice.Check();
    const CLibrary library(choice.LibraryPath());
    const Plan plan = MakePlan(library, choice.Selection(), OpenFiles::Tried);
    if (options.IsGiven("--html"))
        WriteWholeFile("the page", pagePath, PlanAsPage(plan));
    if (options.IsGiven("--save"))
        SavePlan(plan, savePath);
    return out.Write(json ? PlanJsonText(plan) : PlanAsText(plan)) ? exitDone : exitNotWritten;
}

} // namespace prodsweep
