// The checks, by theme. Each family of rules is one file.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "check/descriptor_model.h"
#include "check/findings.h"

namespace prodsweep {

// Elements and attributes that nothing reads, and nodes that end what they stand in.
void CheckStructure(const SourceFile& descriptor, const CFileReport& report);
void CheckVersions(const DescriptorModel& model, const CFileReport& report);
void CheckSections(const DescriptorModel& model, const CFileReport& report);
void CheckScores(const DescriptorModel& model, const CFileReport& report);
void CheckAttributes(const DescriptorModel& model, const CFileReport& report);
void CheckValues(const DescriptorModel& model, const CFileReport& report);
void CheckPaths(const DescriptorModel& model, const CFileReport& report);
void CheckRegistry(const DescriptorModel& model, const CFileReport& report);
void CheckTools(const DescriptorModel& model, const CFileReport& report);
// What goes from the lists of a removal, although it does not lie below what stays there.
void CheckPruning(const DescriptorModel& model, const CFileReport& report);

// For both kinds of file: attributes that are not in known.
void ReportUnknownAttributes(const XmlNode& node, std::span<const std::wstring_view> known, const CFileReport& report);

void CheckCatalogue(const SourceFile& catalogue, const CFileReport& report);

// A catalogue's folder: what its files say of each other.
struct CatalogueFolder
{
    std::wstring path;
    std::vector<const SourceFile*> catalogues;
};
// Where a product's descriptor lies.
std::wstring DescriptorPath(const CatalogueFolder& folder, const SourceFile& catalogue, const std::wstring& name);
void CheckFolder(const CatalogueFolder& folder, CFindings& findings);
// A product of the family, and its descriptor: the view of the registry that its marks lie in.
void CheckViews(const XmlNode& product, const DescriptorModel& model, const CFileReport& report);
// Things that several products name.
void CheckShared(std::span<const DescriptorModel> models, CFindings& findings);

// One entry, and what it stands in.
struct EntryPlace
{
    const DescriptorModel& model;
    const VersionModel& version;
    const SectionModel& section;
    const EntryModel& entry;
};
// All entries of the model, which outlives them, but those that a removal skips.
std::vector<EntryPlace> EntriesOf(const DescriptorModel& model);
// Those that the library comes to.
std::vector<EntryPlace> ListedEntriesOf(const DescriptorModel& model);

using EntryCheck = void (*)(const EntryPlace& place, const CFileReport& report);

void RunEntryChecks(std::span<const EntryCheck> checks, const DescriptorModel& model, const CFileReport& report);

} // namespace prodsweep
