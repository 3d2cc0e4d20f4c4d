#include "check/checks.h"

#include <algorithm>
#include <map>

#include "check/known_names.h"

namespace prodsweep {

namespace {

const char* KindOf(const XmlNode& node)
{
    switch (node.kind)
    {
    case XmlNode::Kind::Comment:
        return "A comment";
    case XmlNode::Kind::Instruction:
        return "A processing instruction";
    default:
        return "Text";
    }
}

void ReportStrayNodes(const XmlNode& parent, std::string_view rule, const std::string& what, const CFileReport& report)
{
    for (const XmlNode& child : parent.children)
    {
        if (!child.IsElement())
            report.Add(rule, child.at, KindOf(child) + what);
    }
}

// Elements below parent that are not in known.
void ReportUnknownElements(const XmlNode& parent, std::span<const std::wstring_view> known, const CFileReport& report)
{
    for (const XmlNode& child : parent.children)
    {
        if (child.IsElement() && std::find(known.begin(), known.end(), child.name) == known.end())
            report.Add("unknown-element", child.at,
                       "Nothing reads an element " + Quoted(child.name) + " here." + Suggestion(child.name, known));
    }
}

void ReportMissingAttributes(const XmlNode& node, std::span<const std::wstring_view> required,
                             const CFileReport& report)
{
    for (const std::wstring_view name : required)
    {
        if (node.Find(name) == nullptr)
            report.Add("missing-attribute", node.at, Quoted(node.name) + " has no attribute " + Quoted(name) + '.');
    }
}

void ReportRepeated(const XmlNode& parent, const CFileReport& report)
{
    std::map<std::wstring_view, const XmlNode*> first;
    for (const XmlNode& child : parent.children)
    {
        if (!child.IsElement())
            continue;
        if (const auto [known, isFirst] = first.emplace(child.name, &child); !isFirst)
            report.Add("repeated-element", child.at,
                       Quoted(child.name) + " stands here again; the first is in line " +
                           std::to_string(known->second->at.line) + '.');
    }
}

// The places of the format, with the attributes that are read there. All of them are required there.
constexpr std::wstring_view versionElements[] = {L"app_path", L"install_folder", L"win_nt"};
constexpr std::wstring_view versionAttributes[] = {L"mandatory_sections"};
constexpr std::wstring_view appPathAttributes[] = {L"key", L"name"};
constexpr std::wstring_view installFolderAttributes[] = {L"name"};
constexpr std::wstring_view sectionAttributes[] = {L"op_code", L"minimum_score"};

void CheckWinNt(const XmlNode& winNt, const CFileReport& report)
{
    ReportUnknownAttributes(winNt, {}, report);
    ReportStrayNodes(winNt, "comment-between-sections", " stands between the sections.", report);
    for (const XmlNode& section : winNt.children)
    {
        if (!section.IsElement())
            continue;
        ReportUnknownAttributes(section, sectionAttributes, report);
        ReportStrayNodes(section, "comment-in-section", " stands among the entries.", report);
        for (const XmlNode& entry : section.children)
            ReportUnknownElements(entry, {}, report);
    }
}

void CheckVersionElement(const XmlNode& version, const CFileReport& report)
{
    ReportUnknownElements(version, versionElements, report);
    ReportUnknownAttributes(version, versionAttributes, report);
    ReportRepeated(version, report);
    if (const XmlNode* appPath = version.Child(L"app_path"))
    {
        ReportUnknownAttributes(*appPath, appPathAttributes, report);
        ReportMissingAttributes(*appPath, appPathAttributes, report);
    }
    if (const XmlNode* installFolder = version.Child(L"install_folder"))
    {
        ReportUnknownAttributes(*installFolder, installFolderAttributes, report);
        ReportMissingAttributes(*installFolder, installFolderAttributes, report);
    }
    if (const XmlNode* winNt = version.Child(L"win_nt"))
        CheckWinNt(*winNt, report);
}

} // namespace

void ReportUnknownAttributes(const XmlNode& node, std::span<const std::wstring_view> known, const CFileReport& report)
{
    for (const XmlAttribute& attribute : node.attributes)
    {
        // Those of namespaces are for editors: they say where a schema is.
        const bool forEditors = attribute.name == L"xmlns" || attribute.name.find(L':') != std::wstring::npos;
        if (!forEditors && std::find(known.begin(), known.end(), attribute.name) == known.end())
            report.Add("unknown-attribute", attribute.at,
                       "Nothing reads an attribute " + Quoted(attribute.name) + " of " + Quoted(node.name) + '.' +
                           Suggestion(attribute.name, known));
    }
}

void CheckStructure(const SourceFile& descriptor, const CFileReport& report)
{
    ReportUnknownAttributes(descriptor.root, {}, report);
    ReportRepeated(descriptor.root, report);
    if (const XmlNode* list = descriptor.root.Child(L"version_list"))
        ReportStrayNodes(*list, "comment-in-version-list", " stands in the list of versions.", report);
    for (const XmlNode& child : descriptor.root.children)
    {
        if (child.IsElement() && child.name != L"version_list")
            CheckVersionElement(child, report);
    }
}

} // namespace prodsweep
