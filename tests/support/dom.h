#pragma once

#include "environment/xml_helper.h"

#include <string>

namespace prodsweep::test {

// A text parsed by MSXML. COM must be initialised. A text that is not well-formed fails the test.
class DomText
{
public:
    explicit DomText(const std::wstring& xml);

    [[nodiscard]] IXMLDOMDocument* Document() const { return document.get(); }
    // The document's element.
    [[nodiscard]] IXMLDOMNode* Root() const { return root.get(); }
    // A child node of the root, comments and texts counted.
    [[nodiscard]] UniqueXmlNode Child(long index) const;

private:
    UniqueXmlDocument document;
    UniqueXmlNode root;
};

} // namespace prodsweep::test
