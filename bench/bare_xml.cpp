#include "bench/bare_xml.h"

namespace prodsweep::bench {

UniqueXmlNode BareRoot(const wchar_t* file)
{
    UniqueXmlDocument document;
    CXMLHelper::CreateDocument(document);
    bool loaded = false;
    CXMLHelper::LoadDocument(document.get(), file, loaded);
    UniqueXmlNode node;
    CXMLHelper::DocumentNode(document.get(), node);
    UniqueXmlNode root;
    CXMLHelper::SelectNode(node.get(), L"uninstall_information", root);
    return root;
}

void BareChildren(IXMLDOMNode* parent, const TakeNode& take, Reading reading)
{
    UniqueXmlNodeList children;
    CXMLHelper::ChildNodes(parent, children);
    long count = 0;
    children->get_length(&count);
    for (long i = 0; i < count; ++i)
    {
        UniqueXmlNode child;
        if (reading == Reading::ByIndex)
            CXMLHelper::ChildAt(children.get(), i, child);
        else
            CXMLHelper::NextChild(children.get(), child);
        take(child.get());
    }
}

void BareName(IXMLDOMNode* node)
{
    BSTR name = nullptr;
    node->get_nodeName(&name);
    SysFreeString(name);
}

void BareText(IXMLDOMNode* node)
{
    BSTR text = nullptr;
    node->get_text(&text);
    SysFreeString(text);
}

UniqueBstr BareAttribute(IXMLDOMNode* node, const wchar_t* name)
{
    UniqueXmlAttributes attributes;
    CXMLHelper::Attributes(node, attributes);
    const UniqueBstr wanted(SysAllocString(name));
    IXMLDOMNode* found = nullptr;
    attributes->getNamedItem(wanted.get(), &found);
    const UniqueXmlNode attribute(found);
    if (attribute == nullptr)
        return nullptr;
    VARIANT value;
    VariantInit(&value);
    attribute->get_nodeValue(&value);
    return UniqueBstr(value.bstrVal);
}

void BareAttributes(IXMLDOMNode* node, const TakeText& take)
{
    UniqueXmlAttributes attributes;
    CXMLHelper::Attributes(node, attributes);
    long count = 0;
    attributes->get_length(&count);
    for (long i = 0; i < count; ++i)
    {
        UniqueXmlNode attribute;
        CXMLHelper::AttributeAt(attributes.get(), i, attribute);
        BareName(attribute.get());
        BSTR text = nullptr;
        attribute->get_text(&text);
        const UniqueBstr owned(text);
        take(text);
    }
}

void BareEntries(const wchar_t* descriptor, const TakeNode& take)
{
    const UniqueXmlNode root = BareRoot(descriptor);
    UniqueXmlNode version;
    UniqueXmlNode ntNode;
    CXMLHelper::SelectNode(root.get(), L"v1", version);
    CXMLHelper::SelectNode(version.get(), L"win_nt", ntNode);
    BareChildren(ntNode.get(), [&take](IXMLDOMNode* section) { BareChildren(section, take); });
}

} // namespace prodsweep::bench
