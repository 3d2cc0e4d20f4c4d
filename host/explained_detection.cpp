#include "explained_detection.h"

#include <algorithm>
#include <iterator>

#include "entry_fault.h"
#include "interpreter/descriptor.h"
#include "interpreter/entry_composer.h"
#include "interpreter/op_codes.h"
#include "on_disk.h"
#include "text.h"

namespace prodsweep {

namespace {

// What stands in the version, before anything of it is evaluated.
std::vector<ExplainedSection> ReadSections(IXMLDOMNode* winNt)
{
    std::vector<ExplainedSection> sections;
    const ChildList children = ReadChildren(winNt);
    for (long i = 0; i < children.count; ++i)
    {
        UniqueXmlNode child;
        if (FAILED(CXMLHelper::NextChild(children.nodes.get(), child)) || child == nullptr)
            break;
        std::wstring name;
        std::wstring opCode;
        // The pass meets these faults itself and acts on them; here they leave a text empty.
        (void)CXMLHelper::GetNodeName(child.get(), name);
        (void)CXMLHelper::GetNodeAttribute(child.get(), L"op_code", opCode);
        ExplainedSection& section = sections.emplace_back();
        section.name = ToUtf8(name);
        section.opCode = ToUtf8(opCode);
    }
    return sections;
}

} // namespace

CExplainedDetection::CExplainedDetection(const std::wstring& descriptorFile) : CProductInstalled(descriptorFile)
{
    record.file = ToUtf8(descriptorFile);
}

bool CExplainedDetection::Process()
{
    record.detected = CProductInstalled::Process();
    return record.detected;
}

void CExplainedDetection::HearDescriptor(Descriptor::Fault fault)
{
    using State = ExplainedDescriptor::State;
    if (fault == Descriptor::Fault::None)
        record.state = State::NoVersionList; // until the list is heard
    else if (fault == Descriptor::Fault::NoRoot)
        record.state = State::NoRoot;
    else
        record.state = PathExists(file) ? State::NotWellFormed : State::Missing;
}

void CExplainedDetection::HearVersions(const WideStringList& names)
{
    record.state = ExplainedDescriptor::State::Read;
    for (const std::wstring& name : names)
        record.versions.emplace_back().name = ToUtf8(name);
}

void CExplainedDetection::HearVersion(bool present)
{
    ++versionsHeard;
    sectionsHeard = 0;
    Version().state = present ? ExplainedVersion::State::Walked : ExplainedVersion::State::Absent;
}

bool CExplainedDetection::ProcessNTVersion(IXMLDOMNode* version, const std::wstring& appPath)
{
    Version().appPath = ToUtf8(appPath);
    UniqueXmlNode winNt;
    if (SUCCEEDED(CXMLHelper::SelectNode(version, L"win_nt", winNt)) && winNt != nullptr)
    {
        Version().hasSections = true;
        Version().sections = ReadSections(winNt.get());
    }
    return Version().detected = CProductInstalled::ProcessNTVersion(version, appPath);
}

void CExplainedDetection::HearMode(bool allSections) { Version().allSections = allSections; }

// The pass goes through the sections in the order in which they stand, and leaves none out unheard.
void CExplainedDetection::NextSection() { ++sectionsHeard; }

void CExplainedDetection::HearSkippedSection()
{
    NextSection();
    Section().state = ExplainedSection::State::Skipped;
}

bool CExplainedDetection::ProcessSection(IXMLDOMNode* section, const std::wstring& appPath)
{
    NextSection();
    return CProductInstalled::ProcessSection(section, appPath);
}

void CExplainedDetection::HearSection(const SectionScore& tally, bool passed)
{
    using Decided = ExplainedSection::Decided;
    ExplainedSection& section = Section();
    section.state = passed ? ExplainedSection::State::Passed : ExplainedSection::State::Failed;
    section.score = tally.score;
    section.minimum = tally.minimum;
    section.notReached = tally.entries - tally.reached;
    switch (tally.end)
    {
    case SectionScore::End::Minimum:
        section.decided = Decided::Score;
        break;
    case SectionScore::End::Mandatory:
        section.decided = Decided::Mandatory;
        break;
    case SectionScore::End::Fault:
        section.decided = Decided::Fault;
        break;
    }
}

void CExplainedDetection::HearEntry(const AttributeMap& attributes, int score, bool mandatory, bool found)
{
    for (const auto& [name, value] : attributes)
    {
        // The section's own stands with the section.
        if (name != L"op_code")
            entry.attributes.emplace_back(ToUtf8(name), ToUtf8(value));
    }
    entry.score = score;
    entry.mandatory = mandatory;
    entry.found = found;
    if (const std::wstring* opCode = FindAttribute(attributes, L"op_code");
        opCode == nullptr || FindOpCode(*opCode) == nullptr)
        entry.fault = "its section's op_code is not known";
    Section().entries.push_back(std::move(entry));
    entry = {};
}

void CExplainedDetection::LookFor(const std::wstring& target)
{
    entry.lookedFor = true;
    entry.target = ToUtf8(target);
}

void CExplainedDetection::LookFor(const ComposedEntry& composed, const std::wstring& target)
{
    entry.fault = FaultText(composed);
    if (composed.fault == EntryFault::None)
        LookFor(target);
}

bool CExplainedDetection::ProcessDelFile(const AttributeMap& attributes, const std::wstring& appPath)
{
    const FileEntry composed = ComposeFile(attributes, appPath);
    LookFor(composed, composed.path);
    return CProductInstalled::ProcessDelFile(attributes, appPath);
}

bool CExplainedDetection::ProcessDelFolder(const AttributeMap& attributes, const std::wstring& appPath)
{
    const FolderEntry composed = ComposeFolder(attributes, appPath);
    LookFor(composed, composed.path);
    return CProductInstalled::ProcessDelFolder(attributes, appPath);
}

bool CExplainedDetection::ProcessDelShortcut(const AttributeMap& attributes, const std::wstring& appPath)
{
    const ShortcutEntry composed = ComposeShortcut(attributes, appPath);
    LookFor(composed, composed.shortcut);
    return CProductInstalled::ProcessDelShortcut(attributes, appPath);
}

bool CExplainedDetection::ProcessDelRegKey(const AttributeMap& attributes, const std::wstring& appPath)
{
    const RegKeyEntry composed = ComposeRegKey(attributes, DataStrReading::Terminator);
    LookFor(composed, composed.key);
    return CProductInstalled::ProcessDelRegKey(attributes, appPath);
}

bool CExplainedDetection::ProcessDelRegVal(const AttributeMap& attributes, const std::wstring& appPath)
{
    const RegValueEntry composed = ComposeRegValue(attributes, appPath);
    LookFor(composed, composed.key + L"\\" + composed.valueName);
    return CProductInstalled::ProcessDelRegVal(attributes, appPath);
}

bool CExplainedDetection::ProcessDisableDriver(const AttributeMap& attributes, const std::wstring& appPath)
{
    if (const std::wstring* name = FindAttribute(attributes, L"name"))
        LookFor(*name);
    else
        entry.fault = "it has no name";
    return CProductInstalled::ProcessDisableDriver(attributes, appPath);
}

} // namespace prodsweep
