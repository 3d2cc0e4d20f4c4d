#include "interpreter/descriptor.h"

namespace prodsweep {
namespace {

EntryAttributes::Fault ReadAttribute(IXMLDOMNamedNodeMap* map, EntryAttributes& read)
{
    UniqueXmlNode attribute;
    read.result = CXMLHelper::AttributeAt(map, read.index, attribute);
    if (FAILED(read.result) || attribute == nullptr)
        return EntryAttributes::Fault::NoAttribute;
    std::wstring name;
    if (!CXMLHelper::GetNodeName(attribute.get(), name))
        return EntryAttributes::Fault::NoName;
    std::wstring value;
    bool hasValue = false;
    read.result = CXMLHelper::GetText(attribute.get(), value, hasValue);
    if (!hasValue)
        return EntryAttributes::Fault::NoValue;
    read.pairs.emplace_back(std::move(name), std::move(value));
    return EntryAttributes::Fault::None;
}

} // namespace

Descriptor OpenDescriptor(const std::wstring& file)
{
    Descriptor opened;
    const auto fail = [&opened](Descriptor::Fault fault) {
        opened.fault = fault;
        return std::move(opened);
    };
    opened.result = CXMLHelper::CreateDocument(opened.document);
    if (FAILED(opened.result) || opened.document == nullptr)
        return fail(Descriptor::Fault::NoDocument);
    bool loaded = false;
    opened.result = CXMLHelper::LoadDocument(opened.document.get(), file, loaded);
    if (!loaded)
        return fail(Descriptor::Fault::NotLoaded);
    opened.result = CXMLHelper::DocumentNode(opened.document.get(), opened.documentNode);
    if (FAILED(opened.result) || opened.documentNode == nullptr)
        return fail(Descriptor::Fault::NoDocumentNode);
    opened.result = CXMLHelper::SelectNode(opened.documentNode.get(), L"uninstall_information", opened.root);
    if (FAILED(opened.result) || opened.root == nullptr)
        return fail(Descriptor::Fault::NoRoot);
    return opened;
}

ChildList ReadChildren(IXMLDOMNode* node)
{
    ChildList children;
    children.result = CXMLHelper::ChildNodes(node, children.nodes);
    if (FAILED(children.result) || children.nodes == nullptr)
    {
        children.fault = ChildList::Fault::NoNodes;
        return children;
    }
    children.result = children.nodes->get_length(&children.count);
    if (FAILED(children.result))
        children.fault = ChildList::Fault::NoCount;
    return children;
}

EntryAttributes ReadAttributes(IXMLDOMNode* node)
{
    EntryAttributes read;
    UniqueXmlAttributes map;
    read.result = CXMLHelper::Attributes(node, map);
    if (FAILED(read.result) || map == nullptr)
    {
        read.fault = EntryAttributes::Fault::NoAttributes;
        return read;
    }
    long count = 0;
    read.result = map->get_length(&count);
    if (FAILED(read.result))
    {
        read.fault = EntryAttributes::Fault::NoCount;
        return read;
    }
    for (; read.index < count; ++read.index)
    {
        read.fault = ReadAttribute(map.get(), read);
        if (read.fault != EntryAttributes::Fault::None)
            return read;
    }
    return read;
}

} // namespace prodsweep
