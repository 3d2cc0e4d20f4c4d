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

--check is for installers: a file that is written where a deletion waits would be gone after the restart. It answers
for the path itself and for the folders above it; the exit code is 1 when one of them is queued for deletion, and 0
when none is. --cancel takes just what --check would tell out of the list and leaves everything else in it as it
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
  queued or cancelled  the deletions that concern it: members as above, without products
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
    options.AddText("--check", checkedPath, "PATH", "Is what is written there queued for deletion? 0 no, 1 yes");
    options.AddText("--cancel", cancelledPath, "PATH", "Take the deletion of a path out of the list");
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
    const std::vector<PendingOperation> queued = DeletionsOf(path, CPendingStore());
    if (!out.Write(json ? DeletionsAsJson(path, "queued", queued) : CheckAsText(path, queued)))
        return exitNotWritten;
    return queued.empty() ? exitDone : exitQueued;
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
    const std::vector<PendingOperation> cancelled = CancelDeletionsOf(path, CPendingStore());
    const std::string text = json ? DeletionsAsJson(path, "cancelled", cancelled) : CancelAsText(path, cancelled);
    return out.Write(text) ? exitDone : exitNotWritten;
}

} // namespace prodsweep
