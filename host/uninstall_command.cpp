#include "uninstall_command.h"

#include <algorithm>
#include <chrono>
#include <memory>

#include "exit_codes.h"
#include "failure.h"
#include "input.h"
#include "library.h"
#include "machine.h"
#include "output.h"
#include "own_output.h"
#include "plan_report.h"
#include "planner.h"
#include "progress_bar.h"
#include "removal_guard.h"
#include "removal_question.h"
#include "text.h"

namespace prodsweep {

namespace {

constexpr const char* footer = R"(
The removal is planned first, as the command plan does. It is refused (exit code 1603, nothing touched) when an item
is a place that must not go or lies above one, such as a drive, the folder of Windows or HKLM\Software. After the
answer it is planned once more, since the machine may have changed while the question waited.

When the last installed product of a kind goes, all others of its catalogue may be cleaned up with it. The question and
the report name them.

Afterwards the products are looked for again, and the exit code tells what was seen.
The machine is never restarted.

--json prints one object, in UTF-8:
  format    number; 1. It is raised when a script would have to change.
  library   full path of the library that was asked
  exitCode  0, 1603 or 3010
  restart   true: a restart of the machine is needed to finish
  seconds   how long it took
  lifted    what --allow-dangerous lifted: sentences without full stop
  products  name, kind ("own" or "other"),
    outcome  "gone", "gone after restart", "remains" or "not installed"
    reason   a sentence, or null
    events   what its stages reported: stage, done (true or false)
    stayed   what the plan left alone since it is in use: kind, name, user (a product)
  cleanedUp  those that were cleaned up with the last of a kind: name, kind, descriptorRead, events
After a failure the object holds format and error (code, message) instead.
)";

const COutput& StandardError()
{
    static const COutput err(STD_ERROR_HANDLE);
    return err;
}

// Also a removal that keeps quiet says what it does against all advice. It is no reason to stop if nobody can read it.
void Tell(const std::string& sentence)
{
    static_cast<void>(StandardError().Write("prodsweep: " + Printable(sentence) + '\n'));
}

// Throws CFailure unless the answer is yes.
void Ask(const Plan& plan, const COutput& out)
{
    if (!out.Write(QuestionText(plan)))
        throw CFailure(exitNotWritten, "the question cannot be written.");
    const std::optional<bool> answer = ReadYesOrNo();
    if (!answer)
        throw CFailure(exitBadArguments,
                       "standard input is no console to answer on; say --yes to remove without asking.");
    if (!*answer)
        throw CFailure(exitDeclined, "declined; nothing was removed.");
}

RemovalResult SweepCatalogue(const CLibrary& library, const PlanSelection& selection, IRemovalWatcher* watcher)
{
    const int kind = FlagsOf(selection);
    const auto removal = [&](bool* restart, UninstallCallback callback) {
        return selection.forceAll ? library.UninstallForceAll(kind, restart, callback)
                                  : library.UninstallAllInstalled(kind, restart, callback);
    };
    return RunRemoval(removal, watcher);
}

RemovalResult SweepProduct(const CLibrary& library, const PlanSelection& selection, const Product& product,
                           IRemovalWatcher* watcher)
{
    if (!IsDealtWith(selection, product))
        return {true, false, {}};
    const auto removal = [&](bool* restart, UninstallCallback callback) {
        return library.Uninstall(product, selection.force, restart, callback);
    };
    return RunRemoval(removal, watcher);
}

// Looks again, for what came of it. results: of the one call for a whole catalogue, or one for each product.
void Judge(const CLibrary& library, const PlanSelection& selection, const std::vector<Product>& products,
           std::vector<RemovalResult> results, RemovalReport& report)
{
    const std::vector<Product> installed = library.InstalledProducts(FlagsOf(selection));
    for (std::size_t i = 0; i < products.size(); ++i)
    {
        RemovalResult& result = IsWholeCatalogue(selection) ? results.front() : results[i];
        const ProductRun run = TakeRun(result, products[i]);
        ProductOutcome outcome = JudgeRemoval(products[i], FindProduct(installed, products[i]), result, run);
        if (!IsDealtWith(selection, products[i]))
            outcome.outcome = Outcome::NotInstalled;
        report.failed = report.failed || !result.success || outcome.outcome == Outcome::Remains;
        report.restart = report.restart || result.restart;
        report.products.push_back(std::move(outcome));
    }
    for (std::size_t i = 0; i < results.size() && i < products.size(); ++i)
        AddCleanedUp(report, results[i].runs, products[i].kind);
}

RemovalReport ReportOfNothing(const std::vector<Product>& products)
{
    RemovalReport report;
    for (const Product& product : products)
        report.products.push_back({product.name, product.kind, Outcome::NotInstalled, {}, {}, {}});
    return report;
}

// Nobody gets the report, and what was done is done: who runs removals must learn of a failure or a restart all the
// same. anything: there was something to remove.
[[noreturn]] void FailUnheard(const RemovalReport& report, bool anything)
{
    const int code = ExitCodeOf(report);
    std::string sentence = "the output cannot be written; ";
    if (!anything)
        sentence += "nothing was installed, and nothing was done";
    else
        sentence += report.failed ? "the removal failed, or something remains" : "the removal is done";
    if (report.restart)
        sentence += report.failed ? "; a restart is needed, too" : ", and a restart is needed to finish";
    throw COutputFailure(code == exitDone ? exitNotWritten : code, sentence + '.');
}

} // namespace

CUninstallCommand::CUninstallCommand(CCommandLine& commandLine)
    : options(commandLine.AddCommand("uninstall", "Remove products, and look again", footer)), choice(options)
{
    options.AddText("--plan", planPath, "FILE", "Remove what this saved plan says, if the machine is still as it says");
    options.AddNumber("--max-files", maxFiles, "N", "Refuse to delete more files than this");
    options.AddNumber("--max-keys", maxKeys, "N", "Refuse to delete more registry keys than this");
    options.AddFlag("--allow-dangerous", allowDangerous,
                    "Remove what is refused otherwise, also by --max-files and --max-keys, and say so");
    options.AddFlag("-y,--yes", yes, "Do not ask");
    options.AddFlag("-q,--quiet", quiet, "Tell nothing but failures");
    options.AddFlag("--json", json, "One JSON object on standard output");
}

std::vector<NamedFile> CUninstallCommand::Files() const
{
    if (!options.IsGiven("--plan"))
        return {};
    return {{"--plan", planPath, false}};
}

void CUninstallCommand::CheckOptions() const
{
    if (!options.IsGiven("--plan"))
        return choice.Check();
    if (choice.IsGiven())
        throw CFailure(exitBadArguments, "--plan says what is removed; it does not go with names, --kind, --force, "
                                         "--all-installed and --force-all.");
    choice.CheckLibrary();
}

PlanSelection CUninstallCommand::Selection()
{
    if (!options.IsGiven("--plan"))
        return choice.Selection();
    saved = ReadSavedPlan(planPath);
    return saved.selection;
}

Plan CUninstallCommand::Prepare(const CLibrary& library, std::vector<std::string>& lifted) const
{
    Plan plan = MakePlan(library, selection, OpenFiles::LeftAlone);
    if (saved.json != nullptr)
    {
        if (const std::string drift = FindDrift(saved, plan); !drift.empty())
            throw CFailure(exitRemovalFailed, "the machine is not as the plan \"" + planPath + "\" says: " + drift +
                                                  "; nothing was removed.");
    }
    GuardLimits limits;
    if (options.IsGiven("--max-files"))
        limits.maxFiles = maxFiles;
    if (options.IsGiven("--max-keys"))
        limits.maxKeys = maxKeys;
    lifted = FindObjections(plan, limits);
    if (!lifted.empty() && !allowDangerous)
    {
        const std::size_t more = lifted.size() - 1;
        throw CFailure(exitRemovalFailed,
                       lifted.front() + (more == 0 ? "" : " (and " + std::to_string(more) + " more of the kind)") +
                           "; nothing was removed, since only --allow-dangerous allows it.");
    }
    return plan;
}

void CUninstallCommand::TellOf(const Plan& plan, const std::vector<std::string>& lifted) const
{
    for (const std::string& objection : lifted)
        Tell("--allow-dangerous: " + objection + '.');
    for (const PlanWarning& warning : plan.warnings)
    {
        if (!quiet)
            Tell("warning: " + WarningSentence(warning));
    }
}

Plan CUninstallCommand::PrepareAgain(const CLibrary& library, const Plan& asked,
                                     const std::vector<std::string>& liftedBefore) const
{
    std::vector<std::string> lifted;
    Plan plan = Prepare(library, lifted);
    std::string change = FindUnasked(asked, plan);
    for (const std::string& objection : lifted)
    {
        if (std::find(liftedBefore.begin(), liftedBefore.end(), objection) == liftedBefore.end())
            change = objection;
    }
    if (!change.empty())
        throw CFailure(exitRemovalFailed,
                       "the machine changed while the question waited: " + change + "; nothing was removed.");
    return plan;
}

RemovalReport CUninstallCommand::Remove(const CLibrary& library, std::vector<Product> products,
                                        const COutput& out) const
{
    if (!HasAdministratorRights())
        throw CFailure(exitNeedsRights, "removing products needs an administrator's rights.");
    const CRemovalLock lock;
    if (!lock.IsOurs())
        throw CFailure(exitRemovalRunning, "another removal by this program is running.");
    RemovalReport report;
    Plan plan = Prepare(library, report.lifted);
    TellOf(plan, report.lifted);
    if (!yes)
    {
        Ask(plan, json ? StandardError() : out);
        plan = PrepareAgain(library, plan, report.lifted);
        products = ChosenProducts(selection, library, "; nothing was removed");
    }
    if (json)
        KeepOutputToOurselves();
    const auto start = std::chrono::steady_clock::now();
    Judge(library, selection, products, Sweep(library, products, out), report);
    report.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    AddStayed(report, plan);
    return report;
}

std::vector<RemovalResult> CUninstallCommand::Sweep(const CLibrary& library, const std::vector<Product>& products,
                                                    const COutput& out) const
{
    std::unique_ptr<CProgressBar> bar;
    if (out.IsConsole() && !quiet && !json)
        bar = std::make_unique<CProgressBar>(out, [&] { return library.ProgressPercent(); });
    // One call for a whole catalogue; one a product for names, since only so the restart is told.
    if (IsWholeCatalogue(selection))
        return {SweepCatalogue(library, selection, bar.get())};
    std::vector<RemovalResult> results;
    results.reserve(products.size());
    for (const Product& product : products)
        results.push_back(SweepProduct(library, selection, product, bar.get()));
    return results;
}

int CUninstallCommand::Run(const COutput& out)
{
    CheckOptions();
    selection = Selection();
    const CLibrary library(choice.LibraryPath());
    const std::vector<Product> products = ChosenProducts(selection, library, "; nothing was removed");
    const bool anything = std::any_of(products.begin(), products.end(),
                                      [&](const Product& product) { return IsDealtWith(selection, product); });
    RemovalReport report = anything ? Remove(library, products, out) : ReportOfNothing(products);
    report.library = library.Path();
    const std::string text = json ? RemovalAsJson(report) : quiet ? std::string() : RemovalAsText(report);
    if (!out.Write(text))
        FailUnheard(report, anything);
    return ExitCodeOf(report);
}

} // namespace prodsweep
