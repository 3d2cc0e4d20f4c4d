#include "explain_command.h"

#include <algorithm>
#include <vector>

#include "exit_codes.h"
#include "explain.h"
#include "explain_report.h"
#include "failure.h"
#include "kind_option.h"
#include "library.h"
#include "library_option.h"
#include "output.h"

namespace prodsweep {

namespace {

constexpr const char* footer = R"(
The maker's own products go by their registry marks in this process's own view alone. Those of other makers are
installed when a version of their descriptor is detected, or a mark is in either view of the registry.
The exit code is 0 whatever the answer, and 1605 for a name that is in no catalogue.

--json prints one object, in UTF-8:
  format      number; 1. It is raised when a script would have to change.
  library     full path of the library that was asked
  name, kind  the product; "own" or "other"
  installed   true or false
  rule        "descriptor", "mark in own view", "mark in other view" or "nothing"
  version     the version of the descriptor or of the catalogue by which it was found, or null
  descriptor  file (full path), detected
    state     "read", "not asked", "missing", "not well-formed", "no uninstall_information" or "no version_list"
    versions  name, detected, appPath or null, mandatorySections ("any", "all" or null)
      state     "walked", "absent" (listed only), "no win_nt" or "not looked at"
      sections  name, opCode or null, score, minimum (both null when it was not evaluated)
        state              "passed", "failed", "skipped" or "not evaluated"
        decidedBy          "score", "mandatory entry", "fault" or null
        entriesNotReached  how many stand behind the entry that ended the section
        entries            attributes (an object), score (what it adds when found), mandatory, found
          lookedFor        false: the machine was not asked; what is found then counts so unseen
          target           what was looked for, or null
          fault            why there is nothing to look for, or null
  marks       version, displayName or null, key or null, value or null,
    inOwnView, inOtherView (looked for when it is not in the own one)
After a failure the object holds format and error (code, message) instead.
)";

} // namespace

CExplainCommand::CExplainCommand(CCommandLine& commandLine)
    : options(commandLine.AddCommand("explain", "Tell why a product counts as installed, or why it does not", footer))
{
    options.AddOperand("PRODUCT", name, "A product of the catalogues, by its exact name");
    AddKindOption(options, kind);
    options.AddFlag("--json", json, "One JSON object on standard output");
    AddLibraryOption(options, libraryPath);
}

Product CExplainCommand::FindProduct(const CLibrary& library) const
{
    const std::vector<Product> products = library.Products(FlagsOfKind(kind));
    const auto isMeant = [&](const Product& product) { return product.name == name; };
    const auto first = std::find_if(products.begin(), products.end(), isMeant);
    if (first == products.end())
        throw CFailure(exitUnknownProduct,
                       "no product \"" + name + "\" is in " +
                           (kind == "all" ? "the catalogues." : "the catalogue of kind " + kind + "."));
    if (std::any_of(first, products.end(),
                    [&](const Product& product) { return isMeant(product) && product.kind != first->kind; }))
        throw CFailure(exitBadArguments,
                       '"' + name + "\" is in both catalogues; --kind own or --kind other tells which.");
    return *first;
}

int CExplainCommand::Run(const COutput& out)
{
    CheckLibraryOption(options, libraryPath);
    const CLibrary library(libraryPath);
    const Product product = FindProduct(library);
    const Explanation explanation = Explain(library.CatalogueFile(product.kind), product);
    const std::string report = json ? ExplanationAsJson(library.Path(), explanation) : ExplanationAsText(explanation);
    return out.Write(report) ? exitDone : exitNotWritten;
}

} // namespace prodsweep
