#include "product_choice.h"

#include <algorithm>

#include <CLI/CLI.hpp>

#include "exit_codes.h"
#include "failure.h"
#include "kind_option.h"
#include "library.h"

namespace prodsweep {

namespace {

std::vector<Product> NamedProducts(const PlanSelection& selection, const CLibrary& library)
{
    const std::vector<Product> catalogue = library.Products(FlagsOf(selection));
    std::vector<Product> named;
    for (const std::string& name : selection.names)
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
        if (FindProduct(named, *first) == nullptr)
            named.push_back(*first);
    }
    const std::vector<Product> installed = library.InstalledProducts(FlagsOf(selection));
    for (Product& product : named)
        product.installed = FindProduct(installed, product) != nullptr;
    return named;
}

} // namespace

void CProductChoice::AddOptions(CLI::App& command)
{
    parser = &command;
    command.add_option("NAME", selection.names, "Products of the catalogues, by their exact names");
    AddKindOption(command, selection.kind);
    command.add_flag("--force", selection.force, "Remove the named products whether they are found or not");
    command.add_flag("--all-installed", selection.allInstalled, "Every installed product of a kind");
    command.add_flag("--force-all", selection.forceAll, "Every product of a kind, found or not");
    command.add_option("--library", libraryPath, "The prodsweep.dll to use (default: the one beside this program)")
        ->type_name("PATH");
}

void CProductChoice::CheckLibrary() const
{
    if (parser->count("--library") != 0 && libraryPath.empty())
        throw CFailure(exitBadArguments, "--library needs a path.");
}

void CProductChoice::Check() const
{
    CheckLibrary();
    if (selection.allInstalled && selection.forceAll)
        throw CFailure(exitBadArguments, "--all-installed and --force-all do not go together.");
    const bool whole = IsWholeCatalogue(selection);
    if (whole == !selection.names.empty())
        throw CFailure(exitBadArguments, whole ? "--all-installed and --force-all take no names."
                                               : "say which products, by name or by --all-installed.");
    if (whole && selection.force)
        throw CFailure(exitBadArguments, "--force goes with names; --force-all is for whole catalogues.");
    // A whole catalogue goes only when it was named: there is no safe guess.
    if (whole && selection.kind == "all")
        throw CFailure(exitBadArguments, "a whole catalogue needs --kind own or --kind other.");
}

bool IsWholeCatalogue(const PlanSelection& selection) { return selection.allInstalled || selection.forceAll; }

int FlagsOf(const PlanSelection& selection) { return FlagsOfKind(selection.kind); }

std::vector<Product> ChosenProducts(const PlanSelection& selection, const CLibrary& library)
{
    if (selection.forceAll)
        return library.Products(FlagsOf(selection));
    if (selection.allInstalled)
        return library.InstalledProducts(FlagsOf(selection));
    return NamedProducts(selection, library);
}

const Product* FindProduct(const std::vector<Product>& products, const Product& wanted)
{
    const auto found = std::find_if(products.begin(), products.end(), [&](const Product& product) {
        return product.name == wanted.name && product.kind == wanted.kind;
    });
    return found == products.end() ? nullptr : &*found;
}

} // namespace prodsweep
