// Checks files and folders, and keeps what it found.
#pragma once

#include <cstddef>
#include <list>
#include <string>
#include <vector>

#include "check/checks.h"

namespace prodsweep {

class CChecker
{
public:
    // path: a file, or a folder with catalogues, which are checked with all descriptors that they name. Throws CFailure
    // for one that cannot be read.
    void Check(const std::string& path);

    CFindings& Findings() noexcept { return findings; }
    std::size_t FileCount() const noexcept { return fileCount; }

private:
    void CheckFolderOfCatalogues(const std::string& path);
    // Null when the file holds no tree that could be looked at any further.
    const SourceFile* CheckFile(const std::string& shown, Owner owner);
    void CheckDescriptors(const CatalogueFolder& folder, const std::string& shownFolder);

    CFindings findings;
    std::size_t fileCount = 0;
    std::list<SourceFile> files; // where they are they stay: models point into them
};

} // namespace prodsweep
