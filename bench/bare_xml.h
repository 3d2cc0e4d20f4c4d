#pragma once

#include "environment/xml_helper.h"

#include <functional>

// The very MSXML calls by which catalogues and descriptors are read, and nothing else: the floor under
// all that reads them. What is read is dropped, unless the caller takes it.
namespace prodsweep::bench {

using TakeNode = std::function<void(IXMLDOMNode* node)>;
using TakeText = std::function<void(const wchar_t* text)>;

// The element "uninstall_information" of a file.
[[nodiscard]] UniqueXmlNode BareRoot(const wchar_t* file);

// How the children of a node come: versions, sections and entries are read by index, the products of a
// catalogue by the list's own walk.
enum class Reading
{
    ByIndex,
    InTurn
};
void BareChildren(IXMLDOMNode* parent, const TakeNode& take, Reading reading = Reading::ByIndex);

void BareName(IXMLDOMNode* node);
void BareText(IXMLDOMNode* node);
// One attribute, looked up on its node as each reader of an attribute does.
[[nodiscard]] UniqueBstr BareAttribute(IXMLDOMNode* node, const wchar_t* name);
// All attributes of a node, by index; takes the text of each.
void BareAttributes(IXMLDOMNode* node, const TakeText& take);

// The entries of the version "v1" of a descriptor, section by section.
void BareEntries(const wchar_t* descriptor, const TakeNode& take);

} // namespace prodsweep::bench
