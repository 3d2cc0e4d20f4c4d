#include "interpreter/product_installed.h"

#include "environment/log.h"
#include "interpreter/descriptor.h"

#include <utility>

namespace prodsweep {
namespace {

// What an entry's attributes say, taken apart: the handlers do not get to see score and mandatory.
struct ScoredEntry
{
    AttributeMap attributes;
    int score = 1;
    bool mandatory = false;
};

ScoredEntry TakeScore(const EntryAttributes& read, const std::wstring& opCode)
{
    ScoredEntry entry;
    entry.attributes.emplace(L"op_code", opCode);
    for (const auto& [name, value] : read.pairs)
    {
        if (EqualIgnoringCase(name, L"score"))
            entry.score = DecimalPrefix(value);
        else if (EqualIgnoringCase(name, L"mandatory"))
            entry.mandatory = EqualIgnoringCase(value, L"yes");
        else
            entry.attributes.emplace(name, value);
    }
    return entry;
}

// 32-bit arithmetic that wraps around.
int AddScore(int score, int more)
{
    return static_cast<int>(static_cast<unsigned>(score) + static_cast<unsigned>(more));
}

} // namespace

CProductInstalled::CProductInstalled(std::wstring descriptor) : CProductConfig(std::move(descriptor)) {}

bool CProductInstalled::Process()
{
    LOG(LogTrace, L"->\"%s\"", file.c_str());
    const Descriptor opened = OpenDescriptor(file);
    HearDescriptor(opened.fault);
    switch (opened.fault)
    {
    case Descriptor::Fault::None:
        break;
    case Descriptor::Fault::NoDocument:
        LOG(LogError, L"CoCreateInstance CLSID_DOMDocument30 failed 0x%x", opened.result);
        return false;
    case Descriptor::Fault::NotLoaded:
        LOG(LogError, L"load \"%s\" failed 0x%x", file.c_str(), opened.result);
        return false;
    case Descriptor::Fault::NoDocumentNode:
        LOG(LogError, L"failed load RootElement 0x%x", opened.result);
        LOG(LogError, L"failed \"%s\"", file.c_str());
        return false;
    case Descriptor::Fault::NoRoot:
        LOG(LogError, L"failed load \"uninstall_information\" node 0x%x", opened.result);
        LOG(LogError, L"failed \"%s\"", file.c_str());
        return false;
    }
    WideStringList versions;
    if (!ReadVersions(opened.root.get(), versions))
        return false;
    HearVersions(versions);
    for (const std::wstring& name : versions)
    {
        UniqueXmlNode version;
        if (FAILED(CXMLHelper::SelectNode(opened.root.get(), name.c_str(), version)) || version == nullptr)
        {
            LOG(LogWarning, L"the xml doesn't have <%s>", name.c_str());
            HearVersion(false);
            continue;
        }
        HearVersion(true);
        LOG(LogTrace, L"->ProcessVersion %s", name.c_str());
        const bool detected = ProcessVersion(version.get());
        LOG(LogTrace, L"<-ProcessVersion %s, result = %s", name.c_str(), detected ? L"true" : L"false");
        if (detected)
        {
            LOG(LogTrace, L"<- success");
            return true;
        }
    }
    LOG(LogTrace, L"<- failed");
    return false;
}

bool CProductInstalled::ProcessNTVersion(IXMLDOMNode* version, const std::wstring& appPath)
{
    const bool allSections = ProcessNTVersion(version);
    HearMode(allSections);
    UniqueXmlNode sections;
    HRESULT result = CXMLHelper::SelectNode(version, L"win_nt", sections);
    if (FAILED(result) || sections == nullptr)
    {
        LOG(LogError, L"can't load \"win_nt\" node 0x%x", result);
        return false;
    }
    const ChildList children = ReadChildren(sections.get());
    if (children.fault == ChildList::Fault::NoNodes)
    {
        LOG(LogError, L"failed load \"win_nt\" childs nodes 0x%x", children.result);
        return false;
    }
    if (children.fault == ChildList::Fault::NoCount)
    {
        LOG(LogError, L"failed load \"win_nt\" childs count 0x%x", children.result);
        return false;
    }
    bool detected = false;
    for (long i = 0; i < children.count; ++i)
    {
        UniqueXmlNode section;
        result = CXMLHelper::ChildAt(children.nodes.get(), i, section);
        if (FAILED(result) || section == nullptr)
        {
            // Deliberate: this takes back what earlier sections have found.
            LOG(LogError, L"failed load child %d for \"win_nt\", err = 0x%x", i, result);
            return false;
        }
        std::wstring opCode;
        if (!CXMLHelper::GetNodeAttribute(section.get(), L"op_code", opCode))
            LOG(LogError, L"failed get attribute \"op_code\"");
        // Deliberate: in this very spelling only, unlike the dispatch. A tool leaves nothing to look for;
        // in another spelling its entries count as found.
        if (opCode == L"exec_tool")
        {
            HearSkippedSection();
            continue;
        }
        const bool passed = ProcessSection(section.get(), appPath);
        // Where one suffices there is no early end: the sections behind it are evaluated too.
        detected = passed || (detected && !allSections);
        if (allSections && !passed)
            break;
    }
    return detected;
}

bool CProductInstalled::ProcessNTVersion(IXMLDOMNode* version)
{
    std::wstring mode;
    if (!CXMLHelper::GetNodeAttribute(version, L"mandatory_sections", mode))
        LOG(LogWarning, L"failed to get attribute \"mandatory_sections\"");
    if (mode != L"all" && mode != L"any")
        LOG(LogWarning, L"Invalid value for attribute \"mandatory_sections\". Default value is \"any\". ");
    return mode == L"all";
}

bool CProductInstalled::ProcessSection(IXMLDOMNode* section, const std::wstring& appPath)
{
    SectionScore tally;
    const bool passed = ProcessSection(section, appPath, tally);
    HearSection(tally, passed);
    return passed;
}

bool CProductInstalled::ProcessSection(IXMLDOMNode* section, const std::wstring& appPath, SectionScore& tally)
{
    std::wstring opCode;
    if (!CXMLHelper::GetNodeAttribute(section, L"op_code", opCode))
    {
        LOG(LogError, L"failed get attribute \"op_code\"");
        return false;
    }
    std::wstring minimumText;
    // Absent is the normal case: the minimum is 0 then.
    const bool hasMinimum = CXMLHelper::GetNodeAttribute(section, L"minimum_score", minimumText);
    tally.minimum = hasMinimum ? DecimalPrefix(minimumText) : 0;
    LOG(LogTrace, L"Minimum Score \"%s\" = %d", opCode.c_str(), tally.minimum);
    const ChildList children = ReadChildren(section);
    if (children.fault == ChildList::Fault::NoNodes)
    {
        LOG(LogError, L"failed load child nodes 0x%x", children.result);
        return false;
    }
    if (children.fault == ChildList::Fault::NoCount)
    {
        LOG(LogError, L"failed load \"win_nt\" children count 0x%x", children.result);
        return false;
    }
    tally.entries = children.count;
    AfterEntry after = AfterEntry::NextOne;
    for (long i = 0; after == AfterEntry::NextOne && i < children.count; ++i)
    {
        tally.reached = i + 1;
        UniqueXmlNode entry;
        const HRESULT result = CXMLHelper::ChildAt(children.nodes.get(), i, entry);
        if (FAILED(result) || entry == nullptr)
        {
            LOG(LogError, L"failed load child %d, err = 0x%x", i, result);
            after = AfterEntry::Minimum;
        }
        else
        {
            after = ProcessSection(entry.get(), opCode, appPath, tally);
        }
    }
    if (after == AfterEntry::Failed)
        return false;
    LOG(LogTrace, L"Score \"%s\" = %d", opCode.c_str(), tally.score);
    tally.end = SectionScore::End::Minimum;
    return tally.score >= tally.minimum;
}

CProductInstalled::AfterEntry CProductInstalled::ProcessSection(IXMLDOMNode* node, const std::wstring& opCode,
                                                                const std::wstring& appPath, SectionScore& tally)
{
    std::wstring name;
    // Only for the log.
    (void)CXMLHelper::GetNodeName(node, name);
    LOG(LogTrace, L"->node \"%s\"", name.c_str());
    std::wstring text;
    bool hasText = false;
    CXMLHelper::GetText(node, text, hasText);
    if (!hasText)
    {
        LOG(LogError, L"failed get element value");
        return AfterEntry::Minimum;
    }
    // Deliberate: here the text decides, and not the name, and there is a pause (of no length) only
    // when the attribute that once gave its length is missing.
    if (EqualIgnoringCase(text, L"sleep"))
    {
        std::wstring unused;
        if (!CXMLHelper::GetNodeAttribute(node, L"value", unused))
            ProcessSleep(0);
        return AfterEntry::NextOne;
    }
    const EntryAttributes read = ReadAttributes(node);
    if (!ProcessSection(read))
        return AfterEntry::Failed;
    const ScoredEntry entry = TakeScore(read, opCode);
    const bool found = ExecOperation(entry.attributes, appPath);
    HearEntry(entry.attributes, entry.score, entry.mandatory, found);
    if (found)
    {
        tally.score = AddScore(tally.score, entry.score);
    }
    else if (entry.mandatory)
    {
        LOG(LogError, L"The mandatory failed");
        for (const auto& [key, value] : entry.attributes)
            LOG(LogError, L"\t\"%s\" = \"%s\"", key.c_str(), value.c_str());
        tally.end = SectionScore::End::Mandatory;
        return AfterEntry::Failed;
    }
    LOG(LogTrace, L"<-node \"%s\"", name.c_str());
    return AfterEntry::NextOne;
}

bool CProductInstalled::ProcessSection(const EntryAttributes& read)
{
    switch (read.fault)
    {
    case EntryAttributes::Fault::None:
        break;
    case EntryAttributes::Fault::NoAttributes:
        // A comment ends the section here, whatever the score.
        LOG(LogError, L"failed get element attributes 0x%x", read.result);
        return false;
    case EntryAttributes::Fault::NoCount:
        LOG(LogError, L"failed get attributes length 0x%x", read.result);
        return false;
    case EntryAttributes::Fault::NoAttribute:
        LOG(LogError, L"failed get attribute %d, 0x%x", read.index, read.result);
        return false;
    case EntryAttributes::Fault::NoName:
        LOG(LogError, L"failed get attribute %d name", read.index);
        return false;
    case EntryAttributes::Fault::NoValue:
        LOG(LogError, L"failed get attribute %d value", read.index);
        return false;
    }
    return true;
}

} // namespace prodsweep
