#include "interpreter/product_uninstall.h"

#include "environment/log.h"
#include "interpreter/descriptor.h"
#include "interpreter/progress.h"

namespace prodsweep {

namespace {

// Points earned by the walk alone; the rest is earned by carrying out what it recorded.
constexpr std::uint32_t walkPoints = 30;
constexpr std::uint32_t executionPoints = 70;

} // namespace

CProductUninstall::CProductUninstall(const wchar_t* name, std::wstring descriptor, const CheckList& products,
                                     UninstallCallback progress)
    : CProductConfig(std::move(descriptor), progress),
      checkList(&products),
      productName(name),
      operations(&restartDeleteList)
{
    ProgressPercent.exchange(0);
}

bool CProductUninstall::Uninstall()
{
    restartRequired = false;
    LOG(LogTrace, L"\"%s\"", file.c_str());
    Notify(PRODSWEEP_EVENT_PRODUCT, 0, productName);
    Notify(PRODSWEEP_EVENT_START, 0);
    const bool walked = Process();
    if (walked)
    {
        PrepareCachedOperations();
        ExecuteCachedOperations();
    }
    else
    {
        LOG(LogError, L"CProductConfig Process failed");
    }
    if (!restartDeleteList.empty())
        restartRequired = true;
    // Also after a failed walk: the list then holds the marked files that it came across.
    const bool registered = DeleteAtRestart();
    return walked && registered;
}

bool CProductUninstall::Process()
{
    LOG(LogTrace, L"\"%s\"", file.c_str());
    const Descriptor descriptor = OpenDescriptor(file);
    if (!Process(descriptor))
        return false;
    WideStringList versions;
    if (!ReadVersions(descriptor.root.get(), versions))
        return false;
    // The walk's points are shared out evenly, whether a version is there or not; the last step takes
    // what the division left over. Without versions it takes them all.
    const auto count = static_cast<std::uint32_t>(versions.size());
    const std::uint32_t share = count == 0 ? 0 : walkPoints / count;
    for (const std::wstring& name : versions)
    {
        UniqueXmlNode version;
        CXMLHelper::SelectNode(descriptor.root.get(), name.c_str(), version);
        if (version == nullptr)
        {
            LOG(LogWarning, L"the xml doesn't have <%s>", name.c_str());
        }
        else
        {
            LOG(LogTrace, L"->ProcessVersion %s", name.c_str());
            const bool result = ProcessVersion(version.get());
            LOG(LogTrace, L"<-ProcessVersion %s, result = %s", name.c_str(), result ? L"true" : L"false");
        }
        walkShare += share;
        PublishProgress();
    }
    walkShare += walkPoints - share * count;
    PublishProgress();
    // Deliberate: a version that failed does not fail the walk. What it recorded is carried out.
    Notify(PRODSWEEP_EVENT_DESCRIPTOR, PRODSWEEP_LOAD_DONE);
    LOG(LogTrace, L"<- success");
    return true;
}

bool CProductUninstall::Process(const Descriptor& descriptor) const
{
    switch (descriptor.fault)
    {
    case Descriptor::Fault::None:
        break;
    case Descriptor::Fault::NoDocument:
        Notify(PRODSWEEP_EVENT_DESCRIPTOR, PRODSWEEP_LOAD_NO_PARSER);
        LOG(LogError, L"CoCreateInstance CLSID_DOMDocument30 failed 0x%x", descriptor.result);
        return false;
    case Descriptor::Fault::NotLoaded:
        Notify(PRODSWEEP_EVENT_DESCRIPTOR, PRODSWEEP_LOAD_NOT_READABLE);
        LOG(LogError, L"load \"%s\" failed 0x%x", file.c_str(), descriptor.result);
        return false;
    case Descriptor::Fault::NoDocumentNode:
        Notify(PRODSWEEP_EVENT_DESCRIPTOR, PRODSWEEP_LOAD_AT_FAULT);
        LOG(LogError, L"failed load RootElement 0x%x", descriptor.result);
        LOG(LogError, L"failed \"%s\"", file.c_str());
        return false;
    case Descriptor::Fault::NoRoot:
        // Deliberate: the event of catalogues.
        Notify(PRODSWEEP_EVENT_CATALOGUE, PRODSWEEP_LOAD_AT_FAULT);
        LOG(LogError, L"failed load \"uninstall_information\" node 0x%x", descriptor.result);
        LOG(LogError, L"failed \"%s\"", file.c_str());
        return false;
    }
    return true;
}

bool CProductUninstall::ProcessNTVersion(IXMLDOMNode* version, const std::wstring& appPath)
{
    UniqueXmlNode ntNode;
    if (const HRESULT result = CXMLHelper::SelectNode(version, L"win_nt", ntNode); FAILED(result) || ntNode == nullptr)
    {
        LOG(LogError, L"can't load \"win_nt\" node 0x%x", result);
        return false;
    }
    const ChildList sections = ReadChildren(ntNode.get());
    if (sections.fault == ChildList::Fault::NoNodes)
    {
        LOG(LogError, L"failed load \"win_nt\" childs nodes 0x%x", sections.result);
        return false;
    }
    if (sections.fault == ChildList::Fault::NoCount)
    {
        LOG(LogError, L"failed load \"win_nt\" childs count 0x%x", sections.result);
        return false;
    }
    for (long i = 0; i < sections.count; ++i)
    {
        UniqueXmlNode section;
        const HRESULT result = CXMLHelper::ChildAt(sections.nodes.get(), i, section);
        if (FAILED(result) || section == nullptr)
        {
            LOG(LogError, L"failed load child %d for \"win_nt\", err = 0x%x", i, result);
            return false;
        }
        // No event for the section: nothing has been done yet. Each list reports when it is carried out.
        if (!ProcessSection(section.get(), appPath))
            LOG(LogError, L"ProcessSection failed");
    }
    return true;
}

bool CProductUninstall::ExecOperation(const AttributeMap& attributes, const std::wstring& appPath)
{
    // On every entry that comes here, whether or not its handler records anything.
    if (!restartRequired && IsYes(attributes, L"restart_required"))
    {
        LOG(LogTrace, L"RESTART REQUIRED");
        restartRequired = true;
    }
    return CProductConfig::ExecOperation(attributes, appPath);
}

void CProductUninstall::PublishProgress() const
{
    const std::uint32_t percent = (progressDone * executionPoints) / progressTotal + walkShare;
    ProgressPercent.exchange(static_cast<std::int32_t>(percent));
}

void CProductUninstall::Advance(std::uint32_t weight)
{
    progressDone += weight;
    PublishProgress();
}

} // namespace prodsweep
