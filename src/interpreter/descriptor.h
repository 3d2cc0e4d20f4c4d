#pragma once

#include "environment/xml_helper.h"

#include <string>
#include <utility>
#include <vector>

namespace prodsweep {

// The steps that every pass takes through a descriptor's document. They log nothing and tell nobody:
// what went wrong comes back as a value, with the call's code, and each pass has its own words for it.

// An opened descriptor. Held for as long as its nodes are used.
struct Descriptor
{
    enum class Fault
    {
        None,
        NoDocument,     // MSXML could not be created
        NotLoaded,      // missing, or not well-formed
        NoDocumentNode, // the document has no node interface
        NoRoot          // no uninstall_information
    };
    Fault fault = Fault::None;
    HRESULT result = S_OK;
    UniqueXmlDocument document;
    UniqueXmlNode documentNode;
    UniqueXmlNode root;
};
[[nodiscard]] Descriptor OpenDescriptor(const std::wstring& file);

// The child nodes of a node: in document order, of every type.
struct ChildList
{
    enum class Fault
    {
        None,
        NoNodes,
        NoCount
    };
    Fault fault = Fault::None;
    HRESULT result = S_OK;
    UniqueXmlNodeList nodes;
    long count = 0;
};
[[nodiscard]] ChildList ReadChildren(IXMLDOMNode* node);

// The attributes of a node as they stand in it, names and values.
struct EntryAttributes
{
    enum class Fault
    {
        None,
        NoAttributes, // also for node types that have none, such as comments
        NoCount,
        NoAttribute, // these three at index
        NoName,
        NoValue
    };
    Fault fault = Fault::None;
    HRESULT result = S_OK;
    long index = 0;
    std::vector<std::pair<std::wstring, std::wstring>> pairs;
};
[[nodiscard]] EntryAttributes ReadAttributes(IXMLDOMNode* node);

} // namespace prodsweep
