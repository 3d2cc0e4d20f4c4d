#include "list_command.h"

#include "exit_codes.h"
#include "failure.h"
#include "kind_option.h"
#include "library.h"
#include "library_option.h"
#include "list_report.h"
#include "output.h"
#include "product_array.h"

namespace prodsweep {

namespace {

constexpr const char* jsonHelp = R"(
--json prints one object, in UTF-8:
  format    number; 1. It is raised when a script would have to change.
  library   full path of the library that was asked
  products  kind "own" before kind "other", each in its catalogue's order:
    name, descriptor (full path), kind ("own" or "other"), installed (true or false)
    versions  those found on this machine:
      guid      last part of the version's registry key, or null
      children  what the catalogue says below the version: each name with its texts
After a failure the object holds format and error (code, message) instead.
)";

} // namespace

CListCommand::CListCommand(CCommandLine& commandLine)
    : options(
          commandLine.AddCommand("list", "List the products of the catalogues and the versions found here", jsonHelp))
{
    options.AddFlag("--installed", installedOnly, "Only products that are installed");
    AddKindOption(options, kind);
    options.AddFlag("--json", json, "One JSON object on standard output");
    AddLibraryOption(options, libraryPath);
}

int CListCommand::Run(const COutput& out)
{
    const int flags = FlagsOfKind(kind);
    CheckLibraryOption(options, libraryPath);
    const CLibrary library(libraryPath);

    std::vector<Product> products = library.InstalledProducts(flags);
    if (!installedOnly)
    {
        std::vector<Product> catalogue = library.Products(flags);
        MergeInstalled(catalogue, std::move(products));
        products = std::move(catalogue);
    }
    const std::string report = json ? ListAsJson(library.Path(), products) : ListAsTable(products, installedOnly);
    return out.Write(report) ? exitDone : exitNotWritten;
}

} // namespace prodsweep
