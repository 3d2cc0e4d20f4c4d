#include "product_choice.h"

#include <algorithm>
#include <iterator>

#include "exit_codes.h"
#include "failure.h"
#include "kind_option.h"
#include "library.h"
#include "library_option.h"

namespace prodsweep {

namespace {

std::vector<Product> NamedProducts(const PlanSelection& selection, const CLibrary& library, const char* assurance)
{
    const std::vector<Product> catalogue = library.Products(FlagsOf(selection));
    std::vector<Product> named;
    for (const std::string& name : selection.names)
    {
        const auto isNamed = [&](const Product& product) { return product.name == name; };
        const auto first = std::find_if(catalogue.begin(), catalogue.end(), isNamed);
        if (first == catalogue.end())
            throw CFailure(exitUnknownProduct, "\"" + name + "\" is in no catalogue" + assurance + '.');
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

CProductChoice::CProductChoice(const COptions& commandOptions) : options(commandOptions)
{
    options.AddOperands("NAME", selection.names, "Products of the catalogues, by their exact names");
    AddKindOption(options, selection.kind);
    options.AddFlag("--force", selection.force, "The named products whether they are found or not");
    options.AddFlag("--all-installed", selection.allInstalled, "Every installed product of a kind");
    options.AddFlag("--force-all", selection.forceAll, "Every product of a kind, found or not");
    AddLibraryOption(options, libraryPath);
}

void CProductChoice::CheckLibrary() const { CheckLibraryOption(options, libraryPath); }

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

bool CProductChoice::IsGiven() const
{
    static constexpr const char* choosing[] = {"NAME", "--kind", "--force", "--all-installed", "--force-all"};
    return std::any_of(std::begin(choosing), std::end(choosing),
                       [&](const char* option) { return options.IsGiven(option); });
}

bool IsWholeCatalogue(const PlanSelection& selection) { return selection.allInstalled || selection.forceAll; }

bool IsDealtWith(const PlanSelection& selection, const Product& product)
{
    return product.installed || selection.force || IsWholeCatalogue(selection);
}

int FlagsOf(const PlanSelection& selection) { return FlagsOfKind(selection.kind); }

std::vector<Product> ChosenProducts(const PlanSelection& selection, const CLibrary& library, const char* assurance)
{
    if (selection.forceAll)
        return library.Products(FlagsOf(selection));
    if (selection.allInstalled)
        return library.InstalledProducts(FlagsOf(selection));
    return NamedProducts(selection, library, assurance);
}

const Product* FindProduct(const std::vector<Product>& products, const Product& wanted)
{
    const auto found = std::find_if(products.begin(), products.end(), [&](const Product& product) {
        return product.name == wanted.name && product.kind == wanted.kind;
    });
    return found == products.end() ? nullptr : &*found;
}

} // namespace prodsweep
