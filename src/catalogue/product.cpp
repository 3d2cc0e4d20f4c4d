#include "catalogue/product.h"

#include "common/path_join.h"
#include "environment/log.h"
#include "environment/path.h"
#include "interpreter/product_installed.h"

#include <algorithm>

namespace prodsweep {

bool CProduct::Load(IXMLDOMNode* node, int kind)
{
    LOG(LogTrace, L"->");
    std::wstring folder;
    if (!CPath::GetCurrentPath(folder))
        return false;
    PathJoin(folder, kind == ProductKindOwn ? L"intern" : L"extern");
    if (!CXMLHelper::GetNodeAttribute(node, L"name", name))
    {
        LOG(LogError, L"failed load product attribute \"name\"");
        return false;
    }
    LOG(LogTrace, L"Load product \"%s\"", name.c_str());
    if (!CXMLHelper::GetNodeAttribute(node, L"file", file))
    {
        LOG(LogError, L"failed load product attribute \"file\"");
        return false;
    }
    LOG(LogTrace, L"file : \"%s\"", file.c_str());
    file = PathJoin(folder, file);
    if (!Load(node))
        return false;
    LOG(LogTrace, L"<- success product \"%s\"", name.c_str());
    return true;
}

bool CProduct::Load(IXMLDOMNode* node)
{
    UniqueXmlNodeList children;
    if (const HRESULT result = CXMLHelper::ChildNodes(node, children); FAILED(result) || children == nullptr)
    {
        LOG(LogError, L"failed load childs nodes 0x%x", result);
        return false;
    }
    long count = 0;
    if (const HRESULT result = children->get_length(&count); FAILED(result))
    {
        LOG(LogError, L"failed load childs count 0x%x", result);
        return false;
    }
    for (long i = 0; i < count; ++i)
    {
        UniqueXmlNode child;
        if (const HRESULT result = CXMLHelper::ChildAt(children.get(), i, child); FAILED(result) || child == nullptr)
        {
            LOG(LogError, L"failed load child %d, err = 0x%x", i, result);
            LOG(LogError, L"<- failed product \"%s\"", name.c_str());
            return false;
        }
        // Deliberate: whatever stands here is a version. A comment or a text has no name, and so fails
        // the product.
        CProductVersion version;
        if (!version.Load(child.get()))
        {
            LOG(LogError, L"failed load product version for product \"%s\"", name.c_str());
            LOG(LogError, L"<- failed product \"%s\"", name.c_str());
            return false;
        }
        versions.push_back(std::move(version));
    }
    return true;
}

bool CProduct::IsInstalled(int kind) const
{
    CProductInstalled pass(file);
    return IsInstalled(kind, pass);
}

bool CProduct::IsInstalled(int kind, CProductInstalled& pass) const
{
    // Both walks are made for every kind, though the second has no say in the maker's own products: the
    // log then tells about both views.
    const bool found = std::any_of(versions.begin(), versions.end(),
                                   [](const CProductVersion& version) { return version.IsInstalled(); });
    const bool found2 = std::any_of(versions.begin(), versions.end(),
                                    [](const CProductVersion& version) { return version.IsInstalled2(); });
    bool installed = false;
    if (kind == ProductKindOwn)
        installed = found;
    else if (kind == ProductKindOther)
        // The descriptor is asked first, so that it is walked also when the marks have settled the matter.
        installed = pass.Process() || found || found2;
    LOG(LogTrace, L"\"%s\" is installed : %s", name.c_str(), installed ? L"true" : L"false");
    return installed;
}

} // namespace prodsweep
