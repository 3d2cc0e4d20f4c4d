#include "check/checks.h"

#include <map>

#include "check/known_names.h"

namespace prodsweep {

namespace {

std::vector<std::wstring_view> OpCodeNames()
{
    std::vector<std::wstring_view> names;
    for (const OpCode& opCode : OpCodes())
        names.emplace_back(opCode.text);
    return names;
}

void CheckOpCode(const DescriptorModel& model, const SectionModel& section, const CFileReport& report)
{
    const XmlAttribute* opCode = section.node->Find(L"op_code");
    if (opCode == nullptr)
        report.Add("section-without-op-code", section.node->at, Quoted(section.node->name) + " has no op_code.");
    else if (section.opCode == nullptr)
        report.Add("unknown-op-code", opCode->at,
                   Quoted(opCode->value) + " is no op_code." + Suggestion(opCode->value, OpCodeNames()));
    else if (model.IsScored() && section.Is(L"exec_tool") && !section.IsSkippedByDetection())
        report.Add("tool-section-scores", opCode->at,
                   Quoted(opCode->value) + R"( is not spelled "exec_tool", which detection skips.)");
}

void CheckEntryElements(const DescriptorModel& model, const SectionModel& section, const CFileReport& report)
{
    for (const XmlNode& entry : section.node->children)
    {
        if (!entry.IsElement())
            continue;
        if (EqualIgnoringCase(entry.name, L"sleep"))
            report.Add("sleep-element", entry.at, "A sleep stands among the entries.");
        else if (model.IsScored() && EqualIgnoringCase(entry.TextContent(), L"sleep"))
            report.Add("sleep-text", entry.at, "The text of " + Quoted(entry.name) + R"( is "sleep".)");
        if (const XmlAttribute* opCode = entry.Find(L"op_code"))
            report.Add("op-code-on-entry", opCode->at,
                       "An entry of the section " + Quoted(section.node->name) + " has an op_code of its own.");
    }
}

// Twice the same does no harm where nothing is counted.
void CheckDuplicates(const DescriptorModel& model, const SectionModel& section, const CFileReport& report)
{
    std::map<AttributeMap, const EntryModel*> first;
    for (const EntryModel& entry : section.entries)
    {
        if (!model.Counts(entry) || section.IsSkippedByDetection())
            continue;
        const auto [known, isFirst] = first.emplace(entry.attributes, &entry);
        if (!isFirst)
            report.Add("duplicate-entry", entry.node->at,
                       "The entry in line " + std::to_string(known->second->node->at.line) + " means the same.");
    }
}

} // namespace

void CheckSections(const DescriptorModel& model, const CFileReport& report)
{
    for (const VersionModel& version : model.versions)
    {
        for (const SectionModel& section : version.sections)
        {
            CheckOpCode(model, section, report);
            CheckEntryElements(model, section, report);
            CheckDuplicates(model, section, report);
            const bool hasChildren = !section.node->children.empty();
            if (!hasChildren)
                report.Add("section-empty", section.node->at, Quoted(section.node->name) + " has no entry.");
        }
    }
}

} // namespace prodsweep
