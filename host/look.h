// What every look at the machine has at hand. A look changes nothing, and opens nothing for longer than it takes.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

#include "digest.h"
#include "guard_rails.h"
#include "interpreter/cached_operations.h"
#include "plan.h"
#include "swept_places.h"
#include "users.h"

namespace prodsweep {

// So many things of one item are looked at. The same ones each time, so that a saved plan can be compared.
constexpr std::uint64_t mostThings = 1'000'000;

struct LookContext
{
    const CUsers& users;
    const CUsers& unasked; // installed products that stay and protect nothing
    const CGuardRails& forbidden;
    // With their separators. The code of the library that is linked in here takes the latter for the former.
    const std::wstring& libraryFolder;
    const std::wstring& programFolder;
    bool triesFiles;     // for being open in a program
    CSweptPlaces& swept; // the looks add what their items take
    PlannedProduct& product;
    Plan& plan; // the looks add dangers and warnings
    std::uint64_t most = mostThings;

    void Warn(const std::string& item, const std::string& sentence) const
    {
        plan.warnings.push_back({product.name, item, sentence});
    }
    void WarnOnce(const std::string& item, const std::string& sentence) const
    {
        const std::vector<PlanWarning>& given = plan.warnings;
        if (std::none_of(given.begin(), given.end(), [&](const PlanWarning& warning) {
                return warning.product == product.name && warning.item == item && warning.text == sentence;
            }))
            Warn(item, sentence);
    }
    void Endanger(const std::string& item, const std::string& leadsTo, const ForbiddenPlace& place) const
    {
        plan.dangers.push_back({product.name, item, leadsTo, place.name, place.reason});
    }
    // A forbidden place may be among what was not looked at.
    void EndangerUnjudged(const std::string& item) const
    {
        plan.dangers.push_back({product.name, item, "", item, "too large to be judged: not all in it was looked at"});
    }
};

// So many files of one item are tried for being open in a program.
constexpr std::uint64_t mostOpenTries = 100'000;
// So many parts of one item are listed.
constexpr std::size_t mostParts = 200;

void AddPart(PlannedItem& item, PlannedPart part);

// Files and folders. Each fills in all but the name of an item.
void LookAtFolder(PlannedItem& item, const std::wstring& path, const LookContext& context);
void LookAtFile(PlannedItem& item, const std::wstring& path, const LookContext& context);
void LookAtMarkedFile(PlannedItem& item, const std::wstring& path, const LookContext& context);

// What a shortcut query finds.
void LookAtShortcuts(PlannedItem& item, const CachedShortcut& query, const LookContext& context);

// The registry.
void LookAtKey(PlannedItem& item, const CachedRegItem& key, const LookContext& context);
void LookAtKeySearch(PlannedItem& item, const CachedRegKeySearch& search, const LookContext& context);
void LookAtValue(PlannedItem& item, const CachedRegItem& value, const LookContext& context);

// What runs.
void LookAtServiceToStop(PlannedItem& item, const std::wstring& name, const LookContext& context);
void LookAtServiceToDisable(PlannedItem& item, const std::wstring& name, const LookContext& context);
void LookAtProcess(PlannedItem& item, const std::wstring& name, const LookContext& context);
// commandLine: with the quoted path of the program in front.
void LookAtTool(PlannedItem& item, const std::wstring& commandLine, const LookContext& context);
void LookAtDllMethod(PlannedItem& item, const CachedDllMethod& method, const LookContext& context);

} // namespace prodsweep
