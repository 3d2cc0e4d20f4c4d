#include "uninstall_command.h"

#include <algorithm>
#include <chrono>
#include <memory>

#include <CLI/CLI.hpp>

#include "exit_codes.h"
#include "failure.h"
#include "input.h"
#include "kind_option.h"
#include "library.h"
#include "machine.h"
#include "output.h"
#include "progress_bar.h"
#include "text.h"

namespace prodsweep {

namespace {

constexpr const char* footer = R"(
Afterwards the products are looked for again, and the exit code tells what was seen.
The machine is never restarted.

--json prints one object, in UTF-8:
  format    number; 1. It is raised when a script would have to change.
  library   full path of the library that was asked
  exitCode  0, 1603 or 3010
  restart   true: a restart of the machine is needed to finish
  seconds   how long it took
  products  name, kind ("own" or "other"),
    outcome  "gone", "gone after restart", "remains" or "not installed"
    reason   a sentence, or null
    events   what the stages of the removal reported: stage, done (true or false)
After a failure the object holds format and error (code, message) instead.
)";

const Product* Find(const std::vector<Product>& products, const Product& wanted)
{
    const auto found = std::find_if(products.begin(), products.end(), [&](const Product& product) {
        return product.name == wanted.name && product.kind == wanted.kind;
    });
    return found == products.end() ? nullptr : &*found;
}

} // namespace

CUninstallCommand::CUninstallCommand(CLI::App& parser)
    : command(parser.add_subcommand("uninstall", "Remove products, and look again"))
{
    command->add_option("NAME", names, "Products of the catalogues, by their exact names");
    AddKindOption(*command, kind);
    command->add_flag("--force", force, "Remove the named products whether they are found or not");
    command->add_flag("--all-installed", allInstalled, "Every installed product of a kind");
    command->add_flag("--force-all", forceAll, "Every product of a kind, found or not");
    command->add_flag("-y,--yes", yes, "Do not ask");
    command->add_flag("-q,--quiet", quiet, "Tell nothing but failures");
    command->add_flag("--json", json, "One JSON object on standard output");
    command->add_option("--library", libraryPath, "The prodsweep.dll to use (default: the one beside this program)")
        ->type_name("PATH");
    command->footer(footer);
}

bool CUninstallCommand::IsChosen() const { return command->parsed(); }

void CUninstallCommand::CheckOptions() const
{
    if (command->count("--library") != 0 && libraryPath.empty())
        throw CFailure(exitBadArguments, "--library needs a path.");
    if (allInstalled && forceAll)
        throw CFailure(exitBadArguments, "--all-installed and --force-all do not go together.");
    const bool whole = allInstalled || forceAll;
    if (whole == !names.empty())
        throw CFailure(exitBadArguments, whole ? "--all-installed and --force-all take no names."
                                               : "say which products, by name or by --all-installed.");
    if (whole && force)
        throw CFailure(exitBadArguments, "--force goes with names; --force-all is for whole catalogues.");
    // A whole catalogue goes only when it was named: there is no safe guess.
    if (whole && kind == "all")
        throw CFailure(exitBadArguments, "a whole catalogue needs --kind own or --kind other.");
}

int CUninstallCommand::Flags() const { return FlagsOfKind(kind); }

std::vector<Product> CUninstallCommand::Named(const CLibrary& library) const
{
    const std::vector<Product> catalogue = library.Products(Flags());
    std::vector<Product> named;
    for (const std::string& name : names)
    {
        const auto isNamed = [&](const Product& product) { return product.name == name; };
        const auto first = std::find_if(catalogue.begin(), catalogue.end(), isNamed);
        if (first == catalogue.end())
            throw CFailure(exitUnknownProduct, "\"" + name + "\" is in no catalogue; nothing was removed.");
        const bool ofBothKinds = std::any_of(first, catalogue.end(), [&](const Product& product) {
            return isNamed(product) && product.kind != first->kind;
        });
        if (ofBothKinds)
            throw CFailure(exitBadArguments, "\"" + name + "\" is in both catalogues; say --kind own or --kind other.");
        if (Find(named, *first) == nullptr)
            named.push_back(*first);
    }
    const std::vector<Product> installed = library.InstalledProducts(Flags());
    for (Product& product : named)
        product.installed = Find(installed, product) != nullptr;
    return named;
}

std::vector<Product> CUninstallCommand::Chosen(const CLibrary& library) const
{
    if (forceAll)
        return library.Products(Flags());
    if (allInstalled)
        return library.InstalledProducts(Flags());
    return Named(library);
}

void CUninstallCommand::Ask(const std::vector<Product>& products, const COutput& out) const
{
    std::string question = "These products will be removed:\n";
    for (const Product& product : products)
        question += "  " + Printable(product.name) + "\n";
    if (!out.Write(question + "Remove them? [y/N] "))
        throw CFailure(exitNotWritten, "the question cannot be written.");
    const std::optional<bool> answer = ReadYesOrNo();
    if (!answer)
        throw CFailure(exitBadArguments,
                       "standard input is no console to answer on; say --yes to remove without asking.");
    if (!*answer)
        throw CFailure(exitDeclined, "declined; nothing was removed.");
}

void CUninstallCommand::Remove(const CLibrary& library, const std::vector<Product>& products, const COutput& out,
                               RemovalReport& report) const
{
    std::unique_ptr<CProgressBar> bar;
    if (out.IsConsole() && !quiet && !json)
        bar = std::make_unique<CProgressBar>(out, [&] { return library.ProgressPercent(); });
    // One call for a whole catalogue; one a product for names, since only so the restart is told.
    std::vector<RemovalResult> results;
    if (allInstalled || forceAll)
    {
        const int number = Flags();
        results.assign(products.size(), RunRemoval(
                                            [&](bool* restart, UninstallCallback callback) {
                                                return forceAll
                                                           ? library.UninstallForceAll(number, restart, callback)
                                                           : library.UninstallAllInstalled(number, restart, callback);
                                            },
                                            bar.get()));
    }
    else
    {
        for (const Product& product : products)
        {
            const bool skip = !product.installed && !force;
            results.push_back(skip ? RemovalResult{true, false, {}, true}
                                   : RunRemoval(
                                         [&](bool* restart, UninstallCallback callback) {
                                             return library.Uninstall(product, force, restart, callback);
                                         },
                                         bar.get()));
        }
    }
    bar.reset();
    const std::vector<Product> installed = library.InstalledProducts(Flags());
    for (std::size_t i = 0; i < products.size(); ++i)
    {
        ProductOutcome outcome = JudgeRemoval(products[i], Find(installed, products[i]), results[i]);
        const bool untouched = !products[i].installed && !force && !forceAll && !allInstalled;
        if (untouched)
            outcome.outcome = Outcome::NotInstalled;
        report.failed = report.failed || !results[i].success || outcome.outcome == Outcome::Remains;
        report.restart = report.restart || results[i].restart;
        report.products.push_back(std::move(outcome));
    }
}

int CUninstallCommand::Run(const COutput& out)
{
    CheckOptions();
    const CLibrary library(libraryPath);
    const std::vector<Product> products = Chosen(library);
    RemovalReport report;
    report.library = library.Path();
    const bool anything = std::any_of(products.begin(), products.end(),
                                      [&](const Product& product) { return product.installed || force || forceAll; });
    if (anything)
    {
        if (!HasAdministratorRights())
            throw CFailure(exitNeedsRights, "removing products needs an administrator's rights.");
        const CRemovalLock lock;
        if (!lock.IsOurs())
            throw CFailure(exitRemovalRunning, "another removal by this program is running.");
        if (!yes)
            Ask(products, json ? COutput(STD_ERROR_HANDLE) : out);
        const auto start = std::chrono::steady_clock::now();
        Remove(library, products, out, report);
        report.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }
    else
    {
        for (const Product& product : products)
            report.products.push_back({product.name, product.kind, Outcome::NotInstalled, {}, {}});
    }
    const std::string text = json ? RemovalAsJson(report) : quiet ? std::string() : RemovalAsText(report);
    return out.Write(text) ? ExitCodeOf(report) : exitNotWritten;
}

} // namespace prodsweep
