#include "pending_command.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "com_use.h"
#include "exit_codes.h"
#include "failure.h"
#include "library.h"
#include "library_option.h"
#include "machine.h"
#include "named_places.h"
#include "output.h"
#include "pending.h"
#include "pending_path.h"
#include "pending_report.h"
#include "pending_store.h"
#include "prodsweep/prodsweep.h"
#include "text.h"

namespace prodsweep {

namespace {

constexpr const char* footer = R"(
Without --check and --cancel it lists everything that the system deletes or renames at the next restart, in the
system's order, whoever asked for it, and the products of the catalogues whose descriptors name the path or a folder
above it.

--check is for installers: would a file that is written to the path be lost at the restart? The exit code is 1 when
the path is queued to be deleted, to be moved, alone or with a folder above it, or to be replaced by another file; and
0 when it is not. The deletion of a folder above it is told, too, but does no harm: the system deletes a folder only if
it is empty by then. --cancel takes just what --check tells out of the list and leaves everything else in it as it
stands. It needs an administrator's rights, and no removal by this program may be running.
Neither needs the library.

Another program may add to the list in the same moment. --cancel looks again right before it writes, and starts anew
when the list has changed; what others add after that look, while the one call that writes runs, would be lost.
Windows has no call that closes this gap, and its own way of adding to the list has the same one.

--json prints one object, in UTF-8:
  format      number; 1. It is raised when a script would have to change.
  library     full path of the library that was asked
  operations  in their order:
    list      the registry value that it stands in
    action    "delete", "rename" or "unclear" (damaged; it may be a deletion)
    path, target (or null), replaces (true: what is at target makes room)
    products  name, kind ("own" or "other")
  faults      sentences: what is odd about the list
with --check and --cancel instead of the last three:
  path                 the full path that was looked for
  queued or cancelled  what concerns it: members as above, without products, and
    loses   true: a file at the path would be lost by it; false: it is the deletion of a folder above
After a failure the object holds format and error (code, message) instead.
)";

std::wstring GivenPath(const char* option, const std::string& path)
{
    const std::wstring full = FullPathOf(ToWide(path));
    if (full.empty())
        throw CFailure(exitBadArguments, std::string(option) + " needs a path.");
    return full;
}

struct ProductPlaces
{
    Product product;
    CNamedPlaces places;
};

std::vector<Product> OwnersOf(const PendingOperation& operation, const std::vector<ProductPlaces>& all)
{
    std::vector<Product> owners;
    for (const ProductPlaces& candidate : all)
    {
        if (candidate.places.Names(operation.path))
            owners.push_back(candidate.product);
    }
    return owners;
}

std::vector<PendingLine> WithOwners(const std::vector<PendingOperation>& operations,
                                    const std::vector<Product>& products)
{
    std::vector<PendingLine> lines;
    if (operations.empty())
        return lines;
    const CComUse com;
    std::vector<ProductPlaces> places;
    places.reserve(products.size());
    for (const Product& product : products)
        places.push_back({product, CNamedPlaces(ToWide(product.descriptor))});
    std::transform(operations.begin(), operations.end(), std::back_inserter(lines), [&](const auto& operation) {
        return PendingLine{operation, OwnersOf(operation, places)};
    });
    return lines;
}

} // namespace

CPendingCommand::CPendingCommand(CCommandLine& commandLine)
    : options(commandLine.AddCommand("pending", "List what waits for the next restart; ask for a path, or cancel it",
                                     footer))
{
    options.AddText("--check", checkedPath, "PATH",
                    "Would a file that is written there be lost at the restart? 0 no, 1 yes");
    options.AddText("--cancel", cancelledPath, "PATH", "Take what --check tells of a path out of the list");
    options.Exclude("--cancel", "--check");
    options.AddFlag("--json", json, "One JSON object on standard output");
    AddLibraryOption(options, libraryPath);
}

int CPendingCommand::Run(const COutput& out)
{
    CheckLibraryOption(options, libraryPath);
    if (options.IsGiven("--check"))
        return Check(out);
    return options.IsGiven("--cancel") ? Cancel(out) : List(out);
}

int CPendingCommand::List(const COutput& out) const
{
    const CLibrary library(libraryPath);
    const std::vector<Product> products = library.Products(PRODSWEEP_LIST_ALL);
    PendingOperations pending = ReadPending(CPendingStore());
    const PendingReport report{library.Path(), WithOwners(pending.operations, products), std::move(pending.faults)};
    return out.Write(json ? PendingAsJson(report) : PendingAsText(report)) ? exitDone : exitNotWritten;
}

int CPendingCommand::Check(const COutput& out) const
{
    const std::wstring path = GivenPath("--check", checkedPath);
    const std::vector<PendingOperation> queued = OperationsOn(path, CPendingStore());
    if (!out.Write(json ? OperationsOnAsJson(path, "queued", queued) : CheckAsText(path, queued)))
        return exitNotWritten;
    return std::any_of(queued.begin(), queued.end(), [](const auto& operation) { return operation.loses; }) ? exitQueued
                                                                                                            : exitDone;
}

int CPendingCommand::Cancel(const COutput& out) const
{
    const std::wstring path = GivenPath("--cancel", cancelledPath);
    if (!HasAdministratorRights())
        throw CFailure(exitNeedsRights, "changing the list needs an administrator's rights.");
    // A removal adds to the list.
    const CRemovalLock lock;
    if (!lock.IsOurs())
        throw CFailure(exitRemovalRunning, "a removal by this program is running.");
    const std::vector<PendingOperation> cancelled = CancelOperationsOn(path, CPendingStore());
    const std::string text = json ? OperationsOnAsJson(path, "cancelled", cancelled) : CancelAsText(path, cancelled);
    return out.Write(text) ? exitDone : exitNotWritten;
}

} // namespace prodsweep
