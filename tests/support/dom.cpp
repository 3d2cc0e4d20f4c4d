#include "support/dom.h"

#include <gtest/gtest.h>

namespace prodsweep::test {

DomText::DomText(const std::wstring& xml)
{
    EXPECT_EQ(S_OK, CXMLHelper::CreateDocument(document));
    const UniqueBstr text(SysAllocString(xml.c_str()));
    VARIANT_BOOL parsed = VARIANT_FALSE;
    IXMLDOMElement* element = nullptr;
    if (document != nullptr && SUCCEEDED(document->loadXML(text.get(), &parsed)) && parsed == VARIANT_TRUE)
        document->get_documentElement(&element);
    root.reset(element);
    EXPECT_NE(nullptr, root) << "not well-formed";
}

UniqueXmlNode DomText::Child(long index) const
{
    UniqueXmlNodeList children;
    UniqueXmlNode child;
    CXMLHelper::ChildNodes(root.get(), children);
    CXMLHelper::ChildAt(children.get(), index, child);
    EXPECT_NE(nullptr, child) << "no child " << index;
    return child;
}

} // namespace prodsweep::test
