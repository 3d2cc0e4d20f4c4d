#include "catalogue/products.h"

#include "environment/log.h"
#include "environment/xml_helper.h"

namespace prodsweep {
namespace {

void Notify(UninstallCallback callback, int32_t code) { NotifyCallback(callback, PRODSWEEP_EVENT_CATALOGUE, code); }

} // namespace

bool CProducts::Load(const wchar_t* path, int kind, UninstallCallback callback)
{
    LOG(LogTrace, L"->file : \"%s\"", path);
    UniqueXmlDocument document;
    if (const HRESULT result = CXMLHelper::CreateDocument(document); FAILED(result) || document == nullptr)
    {
        // Deliberate: the one failure that the callback does not hear of.
        LOG(LogError, L"CoCreateInstance CLSID_DOMDocument30 failed 0x%x", result);
        return false;
    }
    bool loaded = false;
    if (const HRESULT result = CXMLHelper::LoadDocument(document.get(), path, loaded); !loaded)
    {
        LOG(LogError, L"load \"%s\" failed 0x%x", path, result);
        Notify(callback, PRODSWEEP_LOAD_NOT_READABLE);
        return false;
    }
    if (!Load(document.get(), path, kind))
    {
        Notify(callback, PRODSWEEP_LOAD_AT_FAULT);
        return false;
    }
    Notify(callback, PRODSWEEP_LOAD_DONE);
    LOG(LogTrace, L"<-success \"%s\"", path);
    return true;
}

bool CProducts::Load(IXMLDOMDocument* document, const wchar_t* path, int kind)
{
    UniqueXmlNodeList children;
    long count = 0;
    if (!Load(document, children, count))
    {
        LOG(LogError, L"failed \"%s\"", path);
        return false;
    }
    for (long i = 0; i < count; ++i)
    {
        if (!Load(children.get(), i, kind))
        {
            LOG(LogError, L"<-failed \"%s\"", path);
            return false;
        }
    }
    return true;
}

bool CProducts::Load(IXMLDOMDocument* document, UniqueXmlNodeList& children, long& count)
{
    UniqueXmlNode root;
    if (const HRESULT result = CXMLHelper::DocumentNode(document, root); FAILED(result) || root == nullptr)
    {
        LOG(LogError, L"failed load RootElement 0x%x", result);
        return false;
    }
    UniqueXmlNode information;
    if (const HRESULT result = CXMLHelper::SelectNode(root.get(), L"uninstall_information", information);
        FAILED(result) || information == nullptr)
    {
        LOG(LogError, L"failed load \"uninstall_information\" node 0x%x", result);
        return false;
    }
    if (const HRESULT result = CXMLHelper::ChildNodes(information.get(), children);
        FAILED(result) || children == nullptr)
    {
        LOG(LogError, L"failed load Root childs nodes 0x%x", result);
        return false;
    }
    if (const HRESULT result = children->get_length(&count); FAILED(result))
    {
        LOG(LogError, L"failed load Root childs count 0x%x", result);
        return false;
    }
    return true;
}

bool CProducts::Load(IXMLDOMNodeList* children, long index, int kind)
{
    UniqueXmlNode child;
    // A catalogue may be long, and a parser may find a child by its index by counting from the first, as Wine's
    // does: a hundred thousand products then take minutes. The list's own walk gives the same.
    if (const HRESULT result = CXMLHelper::NextChild(children, child); FAILED(result) || child == nullptr)
    {
        LOG(LogError, L"failed load Root child %d, err = 0x%x", index, result);
        return false;
    }
    std::wstring name;
    bool read = false;
    if (const HRESULT result = CXMLHelper::GetNodeName(child.get(), name, read); FAILED(result))
    {
        LOG(LogError, L"failed GetNodeName 0x%x", result);
        return false;
    }
    if (name == L"exec_all")
    {
        std::wstring text;
        CXMLHelper::GetText(child.get(), text, read);
        if (read)
            exec_all = text != L"false";
        else
            LOG(LogTrace, L"failed GetNodeValue for \"exec_all\"");
    }
    else if (name == L"product")
    {
        CProduct product;
        if (!product.Load(child.get(), kind))
        {
            LOG(LogError, L"failed load product");
            return false;
        }
        products.push_back(std::move(product));
    }
    // Anything else, comments too, is passed over without a word.
    return true;
}

} // namespace prodsweep
