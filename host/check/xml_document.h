// An XML file as the library sees it, with the place of everything in it.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "check/xml_text.h"

namespace prodsweep {

struct XmlAttribute
{
    std::wstring name;
    std::wstring value;
    Position at; // of the name
};

// White space between elements is no node, as it is none for the library, unless xml:space="preserve" asks for it.
struct XmlNode
{
    enum class Kind
    {
        Element,
        Comment,
        Text,
        CData,
        Instruction
    };
    Kind kind = Kind::Element;
    Position at; // of the "<", or of a text's first character
    std::wstring name;
    std::wstring text; // of a text only; blanks at its ends do not count
    std::vector<XmlAttribute> attributes;
    std::vector<XmlNode> children;

    bool IsElement() const noexcept { return kind == Kind::Element; }
    // Null when it has none.
    const XmlAttribute* Find(std::wstring_view attribute) const;
    // The first child element of that name, or null.
    const XmlNode* Child(std::wstring_view element) const;
    // All text in it.
    std::wstring TextContent() const;
};

// A name whose prefix no xmlns declares.
struct UndeclaredPrefix
{
    std::wstring prefix;
    std::wstring name;
    Position at; // of the element or the attribute
};

struct XmlDocument
{
    XmlNode root;
    std::optional<Position> documentType; // of the <!DOCTYPE
    std::vector<UndeclaredPrefix> undeclaredPrefixes;
};

// Throws CXmlFault when it is not well-formed, or nested deeper than the library's own
// parser goes. A prefix that is not declared is no such fault for all parsers, and is noted.
XmlDocument ParseXml(std::string_view bytes);

} // namespace prodsweep
