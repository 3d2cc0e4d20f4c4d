#include "interpreter/product_config.h"

#include "environment/log.h"
#include "interpreter/descriptor.h"
#include "interpreter/op_codes.h"

#include <utility>

namespace prodsweep {
namespace {

// What an operation gets: the section's op_code goes in first, and is never replaced.
AttributeMap WithOpCode(const std::wstring& opCode, const EntryAttributes& read)
{
    AttributeMap attributes{{L"op_code", opCode}};
    attributes.insert(read.pairs.begin(), read.pairs.end());
    return attributes;
}

} // namespace

CProductConfig::CProductConfig(std::wstring descriptor, UninstallCallback progress)
    : file(std::move(descriptor)), callback(progress)
{}

void CProductConfig::Notify(std::int32_t event, std::int32_t code, const void* value) const
{
    NotifyCallback(callback, event, code, value);
}

bool CProductConfig::Process()
{
    LOG(LogTrace, L"\"%s\"", file.c_str());
    const Descriptor opened = OpenDescriptor(file);
    switch (opened.fault)
    {
    case Descriptor::Fault::None:
        break;
    case Descriptor::Fault::NoDocument:
        Notify(PRODSWEEP_EVENT_DESCRIPTOR, PRODSWEEP_LOAD_NO_PARSER);
        LOG(LogError, L"CoCreateInstance CLSID_DOMDocument30 failed 0x%x", opened.result);
        return false;
    case Descriptor::Fault::NotLoaded:
        Notify(PRODSWEEP_EVENT_DESCRIPTOR, PRODSWEEP_LOAD_NOT_READABLE);
        LOG(LogError, L"load \"%s\" failed 0x%x", file.c_str(), opened.result);
        return false;
    case Descriptor::Fault::NoDocumentNode:
        Notify(PRODSWEEP_EVENT_DESCRIPTOR, PRODSWEEP_LOAD_AT_FAULT);
        LOG(LogError, L"failed load RootElement 0x%x", opened.result);
        LOG(LogError, L"failed \"%s\"", file.c_str());
        return false;
    case Descriptor::Fault::NoRoot:
        // Told as a fault of a catalogue, which it is not. Callers know it by this number.
        Notify(PRODSWEEP_EVENT_CATALOGUE, PRODSWEEP_LOAD_AT_FAULT);
        LOG(LogError, L"failed load \"uninstall_information\" node 0x%x", opened.result);
        LOG(LogError, L"failed \"%s\"", file.c_str());
        return false;
    }
    WideStringList versions;
    if (!ReadVersions(opened.root.get(), versions))
        return false;
    for (const std::wstring& name : versions)
    {
        UniqueXmlNode version;
        if (FAILED(CXMLHelper::SelectNode(opened.root.get(), name.c_str(), version)) || version == nullptr)
        {
            LOG(LogWarning, L"the xml doesn't have <%s>", name.c_str());
            continue;
        }
        LOG(LogTrace, L"->ProcessVersion %s", name.c_str());
        const bool success = ProcessVersion(version.get());
        LOG(LogTrace, L"<-ProcessVersion %s, result = %s", name.c_str(), success ? L"true" : L"false");
    }
    // Deliberate: a walk in which every version failed, or which found none, has succeeded all the same.
    LOG(LogTrace, L"<- success");
    return true;
}

bool CProductConfig::ProcessNTVersion(IXMLDOMNode* version, const std::wstring& appPath)
{
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
    for (long i = 0; i < children.count; ++i)
    {
        UniqueXmlNode section;
        result = CXMLHelper::ChildAt(children.nodes.get(), i, section);
        if (FAILED(result) || section == nullptr)
        {
            LOG(LogError, L"failed load child %d for \"win_nt\", err = 0x%x", i, result);
            return false;
        }
        const bool success = ProcessSection(section.get(), appPath);
        if (callback != nullptr)
        {
            std::wstring text;
            const bool hasOpCode = CXMLHelper::GetNodeAttribute(section.get(), L"op_code", text);
            // A section that does nothing known is not told of.
            if (const OpCode* opCode = hasOpCode ? FindOpCode(text) : nullptr)
                Notify(opCode->event, success ? 0 : 2);
        }
        // A section that failed does not fail the version.
        if (!success)
            LOG(LogError, L"ProcessSection failed");
    }
    return true;
}

bool CProductConfig::ProcessSection(IXMLDOMNode* section, const std::wstring& appPath)
{
    std::wstring opCode;
    if (!CXMLHelper::GetNodeAttribute(section, L"op_code", opCode))
    {
        LOG(LogError, L"failed get attribute \"op_code\"");
        return false;
    }
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
    bool success = true;
    for (long i = 0; i < children.count; ++i)
    {
        UniqueXmlNode entry;
        if (const HRESULT result = CXMLHelper::ChildAt(children.nodes.get(), i, entry);
            FAILED(result) || entry == nullptr)
        {
            LOG(LogError, L"failed load child %d, err = 0x%x", i, result);
            success = false;
            break;
        }
        std::wstring name;
        // Only for the log and the next question; without a name both do.
        (void)CXMLHelper::GetNodeName(entry.get(), name);
        LOG(LogTrace, L"->node \"%s\"", name.c_str());
        if (EqualIgnoringCase(name, L"sleep"))
        {
            LOG(LogWarning, L"<sleep> not supported ! . use the 'sleep_after_exec' attribute instead");
            continue;
        }
        const EntryAttributes read = ReadAttributes(entry.get());
        if (!ProcessSection(read))
            return false;
        if (!ExecOperation(WithOpCode(opCode, read), appPath))
        {
            // The entries behind it run all the same; the section stays failed.
            LOG(LogError, L"ExecOperation failed");
            success = false;
        }
        LOG(LogTrace, L"<-node \"%s\"", name.c_str());
    }
    return success;
}

bool CProductConfig::ProcessSection(const EntryAttributes& read)
{
    switch (read.fault)
    {
    case EntryAttributes::Fault::None:
        break;
    case EntryAttributes::Fault::NoAttributes:
        // A comment ends the section here.
        LOG(LogError, L"failed get element attributes");
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

bool CProductConfig::ExecOperation(const AttributeMap& attributes, const std::wstring& appPath)
{
    LOG(LogTrace, L"-> %s", DescribeAttributes(attributes).c_str());
    const std::wstring* text = FindAttribute(attributes, L"op_code");
    if (text == nullptr)
    {
        LOG(LogError, L"no op_code");
        return false;
    }
    LOG(LogTrace, L"op_code = \"%s\"", text->c_str());
    const OpCode* opCode = FindOpCode(*text);
    if (opCode == nullptr)
    {
        LOG(LogError, L"unknown op_code \"%s\"", text->c_str());
        return false;
    }
    return (this->*opCode->operation)(attributes, appPath);
}

} // namespace prodsweep
