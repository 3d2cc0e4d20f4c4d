// Puts the recorded lists in order. All sorts are stable and compare by character value, so upper and
// lower case differ.
#include "interpreter/product_uninstall.h"

#include <algorithm>
#include <tuple>

namespace prodsweep {
namespace {

void SortUnique(WideStringList& list)
{
    std::stable_sort(list.begin(), list.end());
    list.erase(std::unique(list.begin(), list.end()), list.end());
}

// Drops each element that the one before it takes along. prunes says whether it does; an element that
// is not dropped is the next to be asked.
template <class List, class Prunes>
void Prune(List& list, const Prunes& prunes)
{
    if (list.empty())
        return;
    auto reference = list.begin();
    for (auto element = std::next(reference); element != list.end(); ++element)
    {
        if (prunes(*reference, *element))
            continue;
        ++reference;
        if (reference != element)
            *reference = std::move(*element);
    }
    list.erase(std::next(reference), list.end());
}

// Deliberate: a plain text prefix, no separator asked. C:\A takes C:\A\B along, and C:\AB too.
// Descriptors rely on the order that comes of it.
void PruneFolders(WideStringList& folders)
{
    Prune(folders,
          [](const std::wstring& reference, const std::wstring& element) { return element.starts_with(reference); });
}

// As with folders, and deliberately without a look at the view: the last key of one view can take the
// first entry of the other.
void PruneRegItems(std::vector<CachedRegItem>& items)
{
    Prune(items, [](const CachedRegItem& reference, const CachedRegItem& element) {
        return !reference.isValue && element.key.starts_with(reference.key);
    });
}

void PrepareRegItems(std::vector<CachedRegItem>& items)
{
    // The values' names take no part in the order, so equal values with another between them stay.
    std::stable_sort(items.begin(), items.end(), [](const CachedRegItem& left, const CachedRegItem& right) {
        return std::tie(left.x32view, left.key, left.isValue) < std::tie(right.x32view, right.key, right.isValue);
    });
    items.erase(std::unique(items.begin(), items.end()), items.end());
    PruneRegItems(items);
}

void PrepareKeySearches(std::vector<CachedRegKeySearch>& searches)
{
    std::stable_sort(
        searches.begin(), searches.end(), [](const CachedRegKeySearch& left, const CachedRegKeySearch& right) {
            return std::tie(left.x32view, left.complete, left.key) < std::tie(right.x32view, right.complete, right.key);
        });
    searches.erase(std::unique(searches.begin(), searches.end()), searches.end());
}

// The order of tools is the descriptor's; only repetitions go.
void PrepareTools(std::vector<CachedTool>& tools)
{
    for (std::size_t i = 0; i < tools.size(); ++i)
    {
        const auto next = tools.begin() + static_cast<std::ptrdiff_t>(i) + 1;
        tools.erase(std::remove(next, tools.end(), tools[i]), tools.end());
    }
}

} // namespace

bool CProductUninstall::PrepareCachedOperations()
{
    PrepareRegItems(cachedRegItems);
    SortUnique(cachedFiles);
    SortUnique(cachedFolders);
    PruneFolders(cachedFolders);
    SortUnique(restartDeleteList);
    PrepareKeySearches(cachedRegKeySearches);
    SortUnique(cachedKills);
    PrepareTools(cachedTools);
    std::stable_sort(
        cachedDllMethods.begin(), cachedDllMethods.end(),
        [](const CachedDllMethod& left, const CachedDllMethod& right) { return left.appPath < right.appPath; });
    cachedDllMethods.erase(std::unique(cachedDllMethods.begin(), cachedDllMethods.end()), cachedDllMethods.end());
    SortUnique(cachedDisableDrivers);
    std::stable_sort(
        cachedDriverStops.begin(), cachedDriverStops.end(),
        [](const CachedDriverStop& left, const CachedDriverStop& right) { return left.driverName < right.driverName; });
    cachedDriverStops.erase(std::unique(cachedDriverStops.begin(), cachedDriverStops.end()), cachedDriverStops.end());
    return true;
}

} // namespace prodsweep
