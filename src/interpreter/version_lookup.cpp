// Which versions a descriptor has, and where each of them is installed.
#include "common/path_join.h"
#include "environment/log.h"
#include "environment/special_folder.h"
#include "interpreter/descriptor.h"
#include "interpreter/product_config.h"
#include "registry/reg_key_helper.h"
#include "registry/split_key_path.h"

namespace prodsweep {

bool CProductConfig::ReadVersions(IXMLDOMNode* root, WideStringList& versions)
{
    UniqueXmlNode list;
    HRESULT result = CXMLHelper::SelectNode(root, L"version_list", list);
    if (FAILED(result) || list == nullptr)
    {
        LOG(LogError, L"failed load version_list 0x%x", result);
        return false;
    }
    const ChildList children = ReadChildren(list.get());
    if (children.fault == ChildList::Fault::NoNodes)
    {
        LOG(LogError, L"failed load children nodes for version_list 0x%x", children.result);
        return false;
    }
    if (children.fault == ChildList::Fault::NoCount)
    {
        LOG(LogError, L"failed get children nodes count for version_list 0x%x", children.result);
        return false;
    }
    for (long i = 0; i < children.count; ++i)
    {
        UniqueXmlNode child;
        result = CXMLHelper::ChildAt(children.nodes.get(), i, child);
        if (FAILED(result) || child == nullptr)
        {
            LOG(LogError, L"failed get child %d for version_list 0x%x", i, result);
            return false;
        }
        std::wstring name;
        bool read = false;
        result = CXMLHelper::GetNodeName(child.get(), name, read);
        if (!read)
        {
            LOG(LogError, L"failed get value for child %d for version_list 0x%x", i, result);
            return false;
        }
        versions.push_back(name);
    }
    return true;
}

bool CProductConfig::ProcessVersion(IXMLDOMNode* version)
{
    std::wstring appPath;
    if (!GetAppPath(version, appPath))
    {
        LOG(LogWarning, L"can't load app_path");
        if (!GetInstallFolder(version, appPath))
            LOG(LogError, L"can't load \"install_folder\" node");
    }
    // Without an install folder the version is walked all the same: only "app_path" fails to resolve then.
    LOG(LogTrace, L"app_path = \"%s\"", appPath.c_str());
    return ProcessNTVersion(version, appPath);
}

bool CProductConfig::GetAppPath(IXMLDOMNode* version, std::wstring& appPath)
{
    UniqueXmlNode node;
    if (const HRESULT result = CXMLHelper::SelectNode(version, L"app_path", node); FAILED(result) || node == nullptr)
    {
        LOG(LogError, L"can't load \"app_path\" node 0x%x", result);
        return false;
    }
    std::wstring key;
    if (!CXMLHelper::GetNodeAttribute(node.get(), L"key", key))
    {
        LOG(LogError, L"can't load \"key\" attribute");
        return false;
    }
    std::wstring name;
    if (!CXMLHelper::GetNodeAttribute(node.get(), L"name", name))
    {
        LOG(LogError, L"can't load \"name\" attribute");
        return false;
    }
    wchar_t folder[MAX_PATH] = {};
    HKEY hive = nullptr;
    std::wstring subkey;
    const int code = CSplitKeyPath().Split(key.c_str(), hive, subkey)
                         ? CRegKeyHelper::GetValue(hive, subkey.c_str(), name.c_str(), folder, false)
                         : _ERROR_NOT_FOUND;
    if (code != _ERROR_SUCCESS)
    {
        LOG(LogError, L"error read \"%s\" \"%s\", error = %s", key.c_str(), name.c_str(), ResultCodeName(code));
        return false;
    }
    // As it stands: nothing is expanded, and no separator is added.
    appPath = folder;
    return true;
}

bool CProductConfig::GetInstallFolder(IXMLDOMNode* version, std::wstring& appPath)
{
    UniqueXmlNode node;
    if (FAILED(CXMLHelper::SelectNode(version, L"install_folder", node)) || node == nullptr)
    {
        LOG(LogError, L"can't load \"install_folder\" node");
        return false;
    }
    std::wstring name;
    if (!CXMLHelper::GetNodeAttribute(node.get(), L"name", name))
    {
        LOG(LogError, L"can't load \"name\" attribute");
        return false;
    }
    std::wstring folder;
    if (CSpecialFolder(L"").Get(L"program_files", folder))
        appPath = PathJoin(folder, name);
    else
        appPath = L"c:\\program files\\" + name;
    return true;
}

} // namespace prodsweep
