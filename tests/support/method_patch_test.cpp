#include "support/method_patch.h"

#include "environment/xml_helper.h"
#include "support/com_scope.h"

#include <gtest/gtest.h>

namespace prodsweep::test {
namespace {

// Each method is called once through the real interface while it is replaced: a wrong place in the
// table would call another one.
int calls = 0;
HRESULT STDMETHODCALLTYPE Count()
{
    ++calls;
    return E_NOTIMPL;
}

class MethodPatchTest : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(S_OK, CXMLHelper::CreateDocument(document));
        VARIANT_BOOL successful = VARIANT_FALSE;
        const UniqueBstr source(SysAllocString(L"<root a='1'/>"));
        ASSERT_EQ(S_OK, document->loadXML(source.get(), &successful));
        ASSERT_EQ(S_OK, CXMLHelper::SelectNode(document.get(), L"root", root));
        ASSERT_EQ(S_OK, CXMLHelper::ChildNodes(document.get(), list));
        ASSERT_EQ(S_OK, CXMLHelper::Attributes(root.get(), map));
        calls = 0;
    }

    const ComScope com;
    UniqueXmlDocument document;
    UniqueXmlNode root;
    UniqueXmlNodeList list;
    UniqueXmlAttributes map;
    BSTR text = nullptr;
    VARIANT value{};
    IXMLDOMNode* node = nullptr;
    long length = 0;
};

TEST_F(MethodPatchTest, MethodsOfANodeAreInTheirPlaces)
{
    IXMLDOMNodeList* children = nullptr;
    IXMLDOMNamedNodeMap* attributes = nullptr;
    const MethodPatch name(root.get(), DomSlot::NodeName, Count);
    EXPECT_EQ(E_NOTIMPL, root->get_nodeName(&text));
    const MethodPatch nodeValue(root.get(), DomSlot::NodeValue, Count);
    EXPECT_EQ(E_NOTIMPL, root->get_nodeValue(&value));
    const MethodPatch childNodes(root.get(), DomSlot::ChildNodes, Count);
    EXPECT_EQ(E_NOTIMPL, root->get_childNodes(&children));
    const MethodPatch attributeMap(root.get(), DomSlot::Attributes, Count);
    EXPECT_EQ(E_NOTIMPL, root->get_attributes(&attributes));
    const MethodPatch content(root.get(), DomSlot::Text, Count);
    EXPECT_EQ(E_NOTIMPL, root->get_text(&text));
    const MethodPatch select(root.get(), DomSlot::SelectSingleNode, Count);
    EXPECT_EQ(E_NOTIMPL, root->selectSingleNode(nullptr, &node));
    EXPECT_EQ(6, calls);
}

TEST_F(MethodPatchTest, MethodsOfDocumentListAndMapAreInTheirPlaces)
{
    VARIANT_BOOL successful = VARIANT_FALSE;
    const MethodPatch load(document.get(), DomSlot::DocumentLoad, Count);
    EXPECT_EQ(E_NOTIMPL, document->load(value, &successful));
    const MethodPatch listItem(list.get(), DomSlot::ListItem, Count);
    EXPECT_EQ(E_NOTIMPL, list->get_item(0, &node));
    const MethodPatch listLength(list.get(), DomSlot::ListLength, Count);
    EXPECT_EQ(E_NOTIMPL, list->get_length(&length));
    const MethodPatch named(map.get(), DomSlot::MapNamedItem, Count);
    EXPECT_EQ(E_NOTIMPL, map->getNamedItem(nullptr, &node));
    const MethodPatch mapItem(map.get(), DomSlot::MapItem, Count);
    EXPECT_EQ(E_NOTIMPL, map->get_item(0, &node));
    const MethodPatch mapLength(map.get(), DomSlot::MapLength, Count);
    EXPECT_EQ(E_NOTIMPL, map->get_length(&length));
    EXPECT_EQ(6, calls);
}

TEST_F(MethodPatchTest, MethodIsItselfAgainAfterwards)
{
    {
        const MethodPatch patch(list.get(), DomSlot::ListLength, Count);
        EXPECT_EQ(E_NOTIMPL, list->get_length(&length));
    }
    EXPECT_EQ(S_OK, list->get_length(&length));
    EXPECT_EQ(1, length);
}

} // namespace
} // namespace prodsweep::test
