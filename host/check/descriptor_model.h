// A descriptor as its passes walk it.
#pragma once

#include <string>
#include <vector>

#include "check/source_file.h"
#include "interpreter/attribute_map.h"
#include "interpreter/op_codes.h"

namespace prodsweep {

// An entry that a pass comes to.
struct EntryModel
{
    const XmlNode* node = nullptr;
    AttributeMap attributes; // as the passes have it: the section's op_code in it, score and mandatory not
    int score = 1;
    bool mandatory = false;
    bool removed = true;  // walked by a removal, and by what protects: not so one that is named "sleep"
    bool detected = true; // walked by detection: not so one whose text is "sleep"

    const std::wstring* Find(const wchar_t* name) const { return FindAttribute(attributes, name); }
    // Of the attribute, or of the entry when it has none of that name.
    Position At(std::wstring_view name) const;
};

struct SectionModel
{
    const XmlNode* node = nullptr;
    const OpCode* opCode = nullptr; // null when it is missing or unknown
    std::wstring opCodeText;
    int minimum = 0;
    std::vector<EntryModel> entries; // up to a node that ends the section

    bool Is(const wchar_t* text) const { return opCode != nullptr && EqualIgnoringCase(opCodeText, text); }
    // "all" and "any" pass it over: only this very spelling.
    bool IsSkippedByDetection() const { return opCodeText == L"exec_tool"; }
};

struct VersionModel
{
    const XmlNode* node = nullptr;
    bool listed = false;
    bool allSections = false;
    // Stands for the folder that only the machine knows: the one of install_folder, or one that is nowhere.
    std::wstring appPath;
    bool install = false;      // appPath is the one of install_folder
    bool hasAppPath = false;   // app_path or install_folder says where
    bool hasStrayNode = false; // among the sections: one that fails
    std::vector<SectionModel> sections;
};

struct DescriptorModel
{
    const SourceFile* file = nullptr;
    std::vector<VersionModel> versions; // the first of each name; the listed ones first, in the order of the list

    // What detection makes of it matters.
    bool IsScored() const { return file->owner != Owner::Own; }
    // An entry by which detection decides something.
    bool Counts(const EntryModel& entry) const
    {
        return IsScored() && entry.detected && (entry.score != 0 || entry.mandatory);
    }
};

// file outlives the model. Its root is an uninstall_information.
DescriptorModel ModelOf(const SourceFile& file);

} // namespace prodsweep
