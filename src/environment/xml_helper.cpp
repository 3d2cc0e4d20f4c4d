#include "environment/xml_helper.h"

#include "environment/log.h"

namespace prodsweep {
namespace {

constexpr CLSID documentClass = {0xF5078F32, 0xC551, 0x11D3, {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}};
constexpr IID documentInterface = {0x2933BF81, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
constexpr IID nodeInterface = {0x2933BF80, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

struct Variant : VARIANT
{
    Variant() noexcept : VARIANT{} {}
    ~Variant() { VariantClear(this); }
    Variant(const Variant&) = delete;
    Variant& operator=(const Variant&) = delete;
};

UniqueBstr AllocString(const wchar_t* text)
{
    UniqueBstr bstr(SysAllocString(text));
    if (bstr == nullptr && text != nullptr)
        throw CComError(E_OUTOFMEMORY);
    return bstr;
}

} // namespace

bool CXMLHelper::GetNodeAttribute(IXMLDOMNode* node, const wchar_t* name, std::wstring& value)
{
    UniqueXmlAttributes attributes;
    if (const HRESULT result = Attributes(node, attributes); FAILED(result) || attributes == nullptr)
    {
        LOG(LogError, L"failed get attributes 0x%x", result);
        return false;
    }
    IXMLDOMNode* found = nullptr;
    const HRESULT result = attributes->getNamedItem(AllocString(name).get(), &found);
    const UniqueXmlNode attribute(found);
    if (FAILED(result) || attribute == nullptr)
    {
        // The normal way in which a default comes into play; the line is written all the same.
        LOG(LogError, L"failed load attribute \"%s\" 0x%x", name, result);
        return false;
    }
    Variant read;
    if (const HRESULT valueResult = attribute->get_nodeValue(&read); FAILED(valueResult) || read.vt == VT_NULL)
    {
        LOG(LogError, L"failed load value for attribute \"%s\" 0x%x", name, valueResult);
        return false;
    }
    // Attribute nodes of this DOM give a BSTR; null is its way to say that the text is empty.
    value = read.bstrVal != nullptr ? read.bstrVal : L"";
    return true;
}

bool CXMLHelper::GetNodeName(IXMLDOMNode* node, std::wstring& name)
{
    bool read = false;
    GetNodeName(node, name, read);
    return read;
}

HRESULT CXMLHelper::GetNodeName(IXMLDOMNode* node, std::wstring& name, bool& read)
{
    name.clear();
    BSTR text = nullptr;
    const HRESULT result = node->get_nodeName(&text);
    read = SUCCEEDED(result) && TakeBstr(name, text);
    return result;
}

bool CXMLHelper::TakeBstr(std::wstring& text, BSTR& bstr)
{
    if (bstr == nullptr)
        return false;
    const UniqueBstr owned(bstr);
    bstr = nullptr;
    text = owned.get();
    return true;
}

HRESULT CXMLHelper::CreateDocument(UniqueXmlDocument& document)
{
    void* created = nullptr;
    const HRESULT result = CoCreateInstance(documentClass, nullptr, CLSCTX_INPROC_SERVER, documentInterface, &created);
    document.reset(SUCCEEDED(result) ? static_cast<IXMLDOMDocument*>(created) : nullptr);
    return result;
}

HRESULT CXMLHelper::LoadDocument(IXMLDOMDocument* document, const std::wstring& path, bool& loaded)
{
    Variant source;
    source.bstrVal = AllocString(path.c_str()).release();
    source.vt = VT_BSTR;
    VARIANT_BOOL successful = VARIANT_FALSE;
    const HRESULT result = document->load(source, &successful);
    loaded = SUCCEEDED(result) && successful == VARIANT_TRUE;
    return result;
}

HRESULT CXMLHelper::DocumentNode(IXMLDOMDocument* document, UniqueXmlNode& node)
{
    void* queried = nullptr;
    const HRESULT result = document->QueryInterface(nodeInterface, &queried);
    node.reset(SUCCEEDED(result) ? static_cast<IXMLDOMNode*>(queried) : nullptr);
    return result;
}

HRESULT CXMLHelper::SelectNode(IXMLDOMNode* parent, const wchar_t* name, UniqueXmlNode& node)
{
    IXMLDOMNode* found = nullptr;
    const HRESULT result = parent->selectSingleNode(AllocString(name).get(), &found);
    node.reset(found);
    return result;
}

HRESULT CXMLHelper::ChildNodes(IXMLDOMNode* parent, UniqueXmlNodeList& children)
{
    IXMLDOMNodeList* list = nullptr;
    const HRESULT result = parent->get_childNodes(&list);
    children.reset(list);
    return result;
}

HRESULT CXMLHelper::ChildAt(IXMLDOMNodeList* children, long index, UniqueXmlNode& child)
{
    IXMLDOMNode* item = nullptr;
    const HRESULT result = children->get_item(index, &item);
    child.reset(item);
    return result;
}

HRESULT CXMLHelper::NextChild(IXMLDOMNodeList* children, UniqueXmlNode& child)
{
    IXMLDOMNode* item = nullptr;
    const HRESULT result = children->nextNode(&item);
    child.reset(item);
    return result;
}

HRESULT CXMLHelper::GetText(IXMLDOMNode* node, std::wstring& text, bool& read)
{
    BSTR content = nullptr;
    const HRESULT result = node->get_text(&content);
    read = SUCCEEDED(result) && TakeBstr(text, content);
    return result;
}

HRESULT CXMLHelper::Attributes(IXMLDOMNode* node, UniqueXmlAttributes& attributes)
{
    IXMLDOMNamedNodeMap* map = nullptr;
    const HRESULT result = node->get_attributes(&map);
    attributes.reset(map);
    return result;
}

HRESULT CXMLHelper::AttributeAt(IXMLDOMNamedNodeMap* attributes, long index, UniqueXmlNode& attribute)
{
    IXMLDOMNode* item = nullptr;
    const HRESULT result = attributes->get_item(index, &item);
    attribute.reset(item);
    return result;
}

} // namespace prodsweep
