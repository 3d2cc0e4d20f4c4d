#pragma once

#include "interpreter/product_uninstall.h"
#include "interpreter/progress.h"
#include "support/descriptor_file.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace prodsweep::test {

// The removal with its lists in the open.
class RemovalPass : public CProductUninstall
{
public:
    using CProductUninstall::CProductUninstall;

    using CProductUninstall::cachedDisableDrivers;
    using CProductUninstall::cachedDllMethods;
    using CProductUninstall::cachedDriverStops;
    using CProductUninstall::cachedFiles;
    using CProductUninstall::cachedFolders;
    using CProductUninstall::cachedKills;
    using CProductUninstall::cachedRegItems;
    using CProductUninstall::cachedRegKeySearches;
    using CProductUninstall::cachedShortcuts;
    using CProductUninstall::cachedTools;
    using CProductUninstall::restartDeleteList;
};

// What the callback was told, and the progress at that moment: "5:0 at 98%".
class StageRecorder
{
public:
    StageRecorder() { Lines().clear(); }

    [[nodiscard]] static std::vector<std::string>& Lines()
    {
        static std::vector<std::string> lines;
        return lines;
    }
    static void Record(std::int32_t event, std::int32_t code, const void*)
    {
        Lines().push_back(std::to_string(event) + ":" + std::to_string(code) + " at " +
                          std::to_string(ProgressPercent.load()) + "%");
    }
};

// What a product that stays uses: its descriptor's sections, walked now.
[[nodiscard]] inline CProductCheckUse Staying(const std::string& sections)
{
    const DescriptorFile descriptor(OneVersion(sections));
    return CProductCheckUse(descriptor.Path());
}

} // namespace prodsweep::test
