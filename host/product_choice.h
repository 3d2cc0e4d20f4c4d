// Which products a command is about, as uninstall and plan take it from the command line.
#pragma once

#include <string>
#include <vector>

#include "command_line.h"
#include "plan.h"
#include "product.h"

namespace prodsweep {

class CLibrary;

class CProductChoice
{
public:
    // Declares NAME, --kind, --force, --all-installed, --force-all and --library. Read into this object, which must
    // stay where it is.
    explicit CProductChoice(const COptions& commandOptions);

    // What is wrong with the options as a whole. Throws CFailure.
    void Check() const;
    // That part of it that does not depend on what is chosen.
    void CheckLibrary() const;

    // Whether anything but the library was given.
    bool IsGiven() const;

    const PlanSelection& Selection() const { return selection; }
    const std::string& LibraryPath() const { return libraryPath; }

private:
    COptions options;
    PlanSelection selection;
    std::string libraryPath;
};

// A whole catalogue, and not products by name.
bool IsWholeCatalogue(const PlanSelection& selection);

// False: it is passed over, since it is not installed.
bool IsDealtWith(const PlanSelection& selection, const Product& product);

// PRODSWEEP_LIST_...; for a single kind also its PRODSWEEP_KIND_... number.
int FlagsOf(const PlanSelection& selection);

// The chosen products of the catalogues: by name in the order of the names, else in the catalogue's. Throws CFailure;
// assurance: what the sentence about an unknown name adds, such as "; nothing was removed".
std::vector<Product> ChosenProducts(const PlanSelection& selection, const CLibrary& library,
                                    const char* assurance = "");

// The product of that name and kind; null when there is none.
const Product* FindProduct(const std::vector<Product>& products, const Product& wanted);

} // namespace prodsweep
