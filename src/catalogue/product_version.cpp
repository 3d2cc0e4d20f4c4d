#include "catalogue/product_version.h"

#include "environment/log.h"

namespace prodsweep {

bool CProductVersion::Load(IXMLDOMNode* node)
{
    if (!CXMLHelper::GetNodeAttribute(node, L"name", name))
    {
        LOG(LogError, L"failed get attribute \"name\"");
        return false;
    }
    // Nothing is detected by the children, so no fault in them fails the version.
    UniqueXmlNodeList children;
    if (const HRESULT result = CXMLHelper::ChildNodes(node, children); FAILED(result) || children == nullptr)
        LOG(LogError, L"failed load version children nodes 0x%x", result);
    else
        Load(children.get());

    std::wstring id;
    if (CXMLHelper::GetNodeAttribute(node, L"id", id))
    {
        keyPath = L"HKEY_LOCAL_MACHINE\\";
        keyPath.append(uninstallKey).append(id);
        return true;
    }
    LOG(LogWarning, L"failed get attribute \"id\" for version product = %s", name.c_str());

    if (CXMLHelper::GetNodeAttribute(node, L"prodName", prodName) && SearchForProductCode())
        return true;

    if (!CXMLHelper::GetNodeAttribute(node, L"keypath", keyPath))
    {
        // Deliberate: the line says "id" here too. A version without a usable key is kept.
        LOG(LogWarning, L"failed get attribute \"id\" for version product = %s", name.c_str());
        return true;
    }
    // Deliberate: always one key further down than the catalogue says.
    keyPath += L"\\UpdateLocation";
    if (!CXMLHelper::GetNodeAttribute(node, L"keyvalue", keyValue))
    {
        LOG(LogError, L"failed get attribute \"keyvalue\" for version product = %s", name.c_str());
        return false;
    }
    return true;
}

void CProductVersion::Load(IXMLDOMNodeList* children)
{
    long count = 0;
    if (const HRESULT result = children->get_length(&count); FAILED(result))
    {
        LOG(LogError, L"failed load version children count 0x%x", result);
        return;
    }
    for (long i = 0; i < count; ++i)
    {
        UniqueXmlNode child;
        if (const HRESULT result = CXMLHelper::ChildAt(children, i, child); FAILED(result) || child == nullptr)
        {
            LOG(LogError, L"failed load child %d, err = 0x%x", i, result);
            return;
        }
        std::wstring childName;
        std::wstring text;
        bool hasText = false;
        // A comment has a name and a text as well, and is kept under "#comment".
        if (CXMLHelper::GetNodeName(child.get(), childName) && !childName.empty())
            CXMLHelper::GetText(child.get(), text, hasText);
        if (hasText && !text.empty())
            ChildValues[childName].push_back(text);
    }
}

} // namespace prodsweep
