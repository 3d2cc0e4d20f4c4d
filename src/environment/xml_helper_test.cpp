#include "environment/xml_helper.h"

#include "environment/log.h"
#include "support/com_scope.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/method_patch.h"
#include "support/temp_tree.h"

#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

namespace prodsweep {
namespace {

using test::DomSlot;
using test::MethodPatch;

constexpr char attributeReader[] = "CXMLHelper::GetNodeAttribute";

constexpr char sample[] = R"(<?xml version="1.0" encoding="UTF-8"?>
<root name="value &#x20ac;" empty="">first<!-- remark --><a/><b>one<c>two</c></b><a id="2"/></root>)";

// A document that is read from a real file.
class CXMLHelperTest : public testing::Test
{
protected:
    // Else the parser would be unloaded after each test, and loaded for the next.
    static void SetUpTestSuite() { kept = std::make_unique<test::ComScope>(); }
    static void TearDownTestSuite() { kept.reset(); }

    void SetUp() override
    {
        const std::wstring path = tree.AddFile(L"sample.xml", FILE_ATTRIBUTE_NORMAL, sample);
        ASSERT_EQ(S_OK, CXMLHelper::CreateDocument(document));
        bool loaded = false;
        ASSERT_EQ(S_OK, CXMLHelper::LoadDocument(document.get(), path, loaded));
        ASSERT_TRUE(loaded);
        UniqueXmlNode top;
        ASSERT_EQ(S_OK, CXMLHelper::DocumentNode(document.get(), top));
        ASSERT_EQ(S_OK, CXMLHelper::SelectNode(top.get(), L"root", root));
        ASSERT_EQ(S_OK, CXMLHelper::ChildNodes(root.get(), children));
        ASSERT_EQ(S_OK, CXMLHelper::ChildAt(children.get(), 1, comment));
    }

    test::TempTree tree;
    UniqueXmlDocument document;
    UniqueXmlNode root;
    UniqueXmlNodeList children;
    UniqueXmlNode comment;
    const test::LogRecorder log;
    std::wstring text = L"preloaded";

private:
    static inline std::unique_ptr<test::ComScope> kept;
};

// Attributes

TEST_F(CXMLHelperTest, DocumentKeepsTheSettingsThatItIsMadeWith)
{
    UniqueXmlDocument fresh;
    ASSERT_EQ(S_OK, CXMLHelper::CreateDocument(fresh));
    for (const auto get : {&IXMLDOMDocument::get_async, &IXMLDOMDocument::get_validateOnParse,
                           &IXMLDOMDocument::get_resolveExternals, &IXMLDOMDocument::get_preserveWhiteSpace})
    {
        VARIANT_BOOL used = VARIANT_FALSE;
        VARIANT_BOOL original = VARIANT_TRUE;
        EXPECT_EQ(S_OK, (document.get()->*get)(&used));
        EXPECT_EQ(S_OK, (fresh.get()->*get)(&original));
        EXPECT_EQ(original, used);
    }
}

TEST_F(CXMLHelperTest, AttributeIsRead)
{
    EXPECT_TRUE(CXMLHelper::GetNodeAttribute(root.get(), L"name", text));
    EXPECT_EQ(L"value \x20ac", text);
    EXPECT_TRUE(log.Records().empty());
}

TEST_F(CXMLHelperTest, EmptyAttributeIsFoundAndEmptiesTheText)
{
    EXPECT_TRUE(CXMLHelper::GetNodeAttribute(root.get(), L"empty", text));
    EXPECT_EQ(L"", text);
    EXPECT_TRUE(log.Records().empty());
}

TEST_F(CXMLHelperTest, MissingAttributeLeavesThePreloadedTextAndIsLogged)
{
    EXPECT_FALSE(CXMLHelper::GetNodeAttribute(root.get(), L"Name", text)) << "names differ by case";
    EXPECT_EQ(L"preloaded", text);
    EXPECT_EQ(1u, log.Records().size());
    EXPECT_TRUE(log.Has(LogError, attributeReader, L"failed load attribute \"Name\" 0x1"));
}

TEST_F(CXMLHelperTest, NodeThatCanHaveNoAttributesFails)
{
    EXPECT_FALSE(CXMLHelper::GetNodeAttribute(comment.get(), L"name", text));
    EXPECT_EQ(L"preloaded", text);
    EXPECT_EQ(1u, log.Records().size());
    EXPECT_TRUE(log.Has(LogError, attributeReader, L"failed get attributes 0x1"));
}

HRESULT STDMETHODCALLTYPE RefuseObject(void*, IUnknown** result)
{
    *result = nullptr;
    return E_ACCESSDENIED;
}
HRESULT STDMETHODCALLTYPE RefuseByName(void*, BSTR, IUnknown** result) { return RefuseObject(nullptr, result); }

TEST_F(CXMLHelperTest, RefusedAttributesFail)
{
    const MethodPatch patch(root.get(), DomSlot::Attributes, RefuseObject);
    EXPECT_FALSE(CXMLHelper::GetNodeAttribute(root.get(), L"name", text));
    EXPECT_EQ(L"preloaded", text);
    EXPECT_TRUE(log.Has(LogError, attributeReader, L"failed get attributes 0x80070005"));
}

TEST_F(CXMLHelperTest, RefusedAttributeFails)
{
    UniqueXmlAttributes attributes;
    ASSERT_EQ(S_OK, CXMLHelper::Attributes(root.get(), attributes));
    const MethodPatch patch(attributes.get(), DomSlot::MapNamedItem, RefuseByName);
    EXPECT_FALSE(CXMLHelper::GetNodeAttribute(root.get(), L"name", text));
    EXPECT_EQ(L"preloaded", text);
    EXPECT_TRUE(log.Has(LogError, attributeReader, L"failed load attribute \"name\" 0x80070005"));
}

TEST_F(CXMLHelperTest, RefusedChildIsNull)
{
    const MethodPatch patch(children.get(), DomSlot::ListNext, RefuseObject);
    UniqueXmlNode child;
    ASSERT_EQ(S_OK, CXMLHelper::ChildAt(children.get(), 0, child));
    EXPECT_EQ(E_ACCESSDENIED, CXMLHelper::NextChild(children.get(), child));
    EXPECT_EQ(nullptr, child);
}

// What the patched get_nodeValue of attributes answers.
HRESULT valueResult = S_OK;
VARTYPE valueType = VT_NULL;
HRESULT STDMETHODCALLTYPE GiveValue(void*, VARIANT* value)
{
    value->vt = valueType;
    value->bstrVal = valueType == VT_BSTR ? SysAllocStringLen(L"one\0two", 7) : nullptr;
    return valueResult;
}

class CXMLHelperValueTest : public CXMLHelperTest
{
protected:
    void SetUp() override
    {
        ASSERT_NO_FATAL_FAILURE(CXMLHelperTest::SetUp());
        UniqueXmlAttributes attributes;
        ASSERT_EQ(S_OK, CXMLHelper::Attributes(root.get(), attributes));
        ASSERT_EQ(S_OK, CXMLHelper::AttributeAt(attributes.get(), 0, attribute));
        patch = std::make_unique<MethodPatch>(attribute.get(), DomSlot::NodeValue, GiveValue);
    }

    UniqueXmlNode attribute;
    std::unique_ptr<MethodPatch> patch;
};

TEST_F(CXMLHelperValueTest, RefusedValueFails)
{
    valueResult = E_OUTOFMEMORY;
    valueType = VT_EMPTY;
    EXPECT_FALSE(CXMLHelper::GetNodeAttribute(root.get(), L"name", text));
    EXPECT_EQ(L"preloaded", text);
    EXPECT_TRUE(log.Has(LogError, attributeReader, L"failed load value for attribute \"name\" 0x8007000e"));
}

TEST_F(CXMLHelperValueTest, NullValueFails)
{
    valueResult = S_OK;
    valueType = VT_NULL;
    EXPECT_FALSE(CXMLHelper::GetNodeAttribute(root.get(), L"name", text));
    EXPECT_EQ(L"preloaded", text);
    EXPECT_TRUE(log.Has(LogError, attributeReader, L"failed load value for attribute \"name\" 0x0"));
}

TEST_F(CXMLHelperValueTest, ValueIsTakenUpToItsFirstTerminator)
{
    valueResult = S_OK;
    valueType = VT_BSTR;
    EXPECT_TRUE(CXMLHelper::GetNodeAttribute(root.get(), L"name", text));
    EXPECT_EQ(L"one", text);
}

TEST_F(CXMLHelperTest, NullNameStaysNullAndFails)
{
    EXPECT_FALSE(CXMLHelper::GetNodeAttribute(root.get(), nullptr, text));
    EXPECT_EQ(L"preloaded", text);
    EXPECT_TRUE(log.Has(LogError, attributeReader, L"failed load attribute \"(null)\" 0x80070057"));
}

BSTR WINAPI RefuseString(const OLECHAR*) { return nullptr; }

TEST_F(CXMLHelperTest, ShortageOfMemoryForANameIsTheOneFailureThatIsThrown)
{
    const test::ImportPatch patch(nullptr, "SysAllocString", RefuseString);
    UniqueXmlNode node;
    bool loaded = true;
    for (int step = 0; step < 3; ++step)
    {
        try
        {
            if (step == 0)
                (void)CXMLHelper::GetNodeAttribute(root.get(), L"name", text);
            else if (step == 1)
                (void)CXMLHelper::SelectNode(root.get(), L"a", node);
            else
                (void)CXMLHelper::LoadDocument(document.get(), L"B:\\any.xml", loaded);
            ADD_FAILURE() << "nothing is thrown at step " << step;
        }
        catch (const CComError& error)
        {
            EXPECT_EQ(E_OUTOFMEMORY, error.Result());
        }
    }
    EXPECT_EQ(L"preloaded", text);
    EXPECT_TRUE(log.Records().empty());
}

TEST_F(CXMLHelperTest, NodeWithoutAttributesIsToldBeforeMemoryIsAskedFor)
{
    const test::ImportPatch patch(nullptr, "SysAllocString", RefuseString);
    EXPECT_FALSE(CXMLHelper::GetNodeAttribute(comment.get(), L"name", text));
}

// Strings that this module makes, and whether each was given back.
std::multiset<BSTR> strings;
std::vector<std::string> steps;
BSTR(WINAPI* realAlloc)(const OLECHAR*) = nullptr;
void(WINAPI* realFree)(BSTR) = nullptr;
HRESULT(STDMETHODCALLTYPE* realNodeValue)(void*, VARIANT*) = nullptr;

BSTR WINAPI TrackAlloc(const OLECHAR* source)
{
    steps.emplace_back("alloc");
    const BSTR made = realAlloc(source);
    strings.insert(made);
    return made;
}
void WINAPI TrackFree(BSTR text)
{
    steps.emplace_back("free");
    strings.erase(text);
    realFree(text);
}
HRESULT STDMETHODCALLTYPE TrackNodeValue(void* attribute, VARIANT* value)
{
    steps.emplace_back("value");
    return realNodeValue(attribute, value);
}

TEST_F(CXMLHelperTest, StringThatIsPassedInIsFreedRightAfterTheCall)
{
    UniqueXmlAttributes attributes;
    UniqueXmlNode attribute;
    ASSERT_EQ(S_OK, CXMLHelper::Attributes(root.get(), attributes));
    ASSERT_EQ(S_OK, CXMLHelper::AttributeAt(attributes.get(), 0, attribute));
    const test::ImportPatch allocating(nullptr, "SysAllocString", TrackAlloc);
    const test::ImportPatch freeing(nullptr, "SysFreeString", TrackFree);
    const MethodPatch reading(attribute.get(), DomSlot::NodeValue, TrackNodeValue);
    realAlloc = allocating.Original<std::remove_pointer_t<decltype(realAlloc)>>();
    realFree = freeing.Original<std::remove_pointer_t<decltype(realFree)>>();
    realNodeValue = reading.Original<std::remove_pointer_t<decltype(realNodeValue)>>();
    steps.clear();

    EXPECT_TRUE(CXMLHelper::GetNodeAttribute(root.get(), L"name", text));
    EXPECT_EQ((std::vector<std::string>{"alloc", "free", "value"}), steps);
    EXPECT_FALSE(CXMLHelper::GetNodeAttribute(root.get(), L"absent", text));

    EXPECT_TRUE(strings.empty());
}

TEST_F(CXMLHelperTest, NoReferenceIsKept)
{
    const auto references = [](IUnknown* object) {
        object->AddRef();
        return object->Release();
    };
    const ULONG before = references(root.get());
    (void)CXMLHelper::GetNodeAttribute(root.get(), L"name", text);
    (void)CXMLHelper::GetNodeAttribute(root.get(), L"absent", text);
    {
        UniqueXmlAttributes attributes;
        UniqueXmlNode node;
        (void)CXMLHelper::Attributes(root.get(), attributes);
        (void)CXMLHelper::AttributeAt(attributes.get(), 0, node);
        (void)CXMLHelper::SelectNode(root.get(), L"a", node);
    }
    EXPECT_EQ(before, references(root.get()));
}

TEST_F(CXMLHelperTest, AttributesComeByIndexAndEndInNull)
{
    UniqueXmlAttributes attributes;
    UniqueXmlNode attribute;
    ASSERT_EQ(S_OK, CXMLHelper::Attributes(root.get(), attributes));
    for (const wchar_t* name : {L"name", L"empty"})
    {
        ASSERT_EQ(S_OK, CXMLHelper::AttributeAt(attributes.get(), name[0] == L'n' ? 0 : 1, attribute));
        EXPECT_TRUE(CXMLHelper::GetNodeName(attribute.get(), text));
        EXPECT_EQ(name, text);
    }
    EXPECT_EQ(S_FALSE, CXMLHelper::AttributeAt(attributes.get(), 2, attribute));
    EXPECT_EQ(nullptr, attribute);
}

// Nodes

TEST_F(CXMLHelperTest, ChildrenComeInDocumentOrderWithCommentsAndTexts)
{
    UniqueXmlNode child;
    std::vector<std::wstring> names;
    for (long i = 0; CXMLHelper::ChildAt(children.get(), i, child) == S_OK; ++i)
    {
        EXPECT_TRUE(CXMLHelper::GetNodeName(child.get(), text));
        names.push_back(text);
    }
    EXPECT_EQ((std::vector<std::wstring>{L"#text", L"#comment", L"a", L"b", L"a"}), names);
    EXPECT_EQ(nullptr, child) << "past the end";
}

TEST_F(CXMLHelperTest, WalkOfAListGivesTheSameChildrenAndEndsInNull)
{
    UniqueXmlNode child;
    std::wstring name;
    for (long i = 0; i < 5; ++i)
    {
        ASSERT_EQ(S_OK, CXMLHelper::NextChild(children.get(), child)) << i;
        ASSERT_TRUE(CXMLHelper::GetNodeName(child.get(), name));
        // A look by index in between does not move the walk.
        ASSERT_EQ(S_OK, CXMLHelper::ChildAt(children.get(), i, child));
        ASSERT_TRUE(CXMLHelper::GetNodeName(child.get(), text));
        EXPECT_EQ(text, name) << i;
    }
    for (int pastTheEnd = 0; pastTheEnd < 2; ++pastTheEnd)
    {
        EXPECT_EQ(S_FALSE, CXMLHelper::NextChild(children.get(), child));
        EXPECT_EQ(nullptr, child);
    }
}

HRESULT STDMETHODCALLTYPE RefuseText(void*, BSTR* result)
{
    *result = nullptr;
    return E_OUTOFMEMORY;
}
HRESULT STDMETHODCALLTYPE GiveNull(void*, BSTR* result)
{
    *result = nullptr;
    return S_FALSE;
}

TEST_F(CXMLHelperTest, RefusedNodeNameEmptiesTheText)
{
    const MethodPatch patch(root.get(), DomSlot::NodeName, RefuseText);
    bool read = true;
    EXPECT_FALSE(CXMLHelper::GetNodeName(root.get(), text));
    EXPECT_EQ(L"", text);
    EXPECT_EQ(E_OUTOFMEMORY, CXMLHelper::GetNodeName(root.get(), text, read));
    EXPECT_FALSE(read);
    EXPECT_TRUE(log.Records().empty());
}

TEST_F(CXMLHelperTest, FirstMatchingChildIsSelected)
{
    UniqueXmlNode node;
    ASSERT_EQ(S_OK, CXMLHelper::SelectNode(root.get(), L"a", node));
    EXPECT_FALSE(CXMLHelper::GetNodeAttribute(node.get(), L"id", text)) << "the second one has it";
}

TEST_F(CXMLHelperTest, AbsentChildGrandchildAndInvalidSelectionGiveNull)
{
    UniqueXmlNode node;
    for (const wchar_t* name : {L"absent", L"A", L"c"})
    {
        ASSERT_EQ(S_OK, CXMLHelper::SelectNode(root.get(), L"a", node));
        EXPECT_EQ(S_FALSE, CXMLHelper::SelectNode(root.get(), name, node));
        EXPECT_EQ(nullptr, node) << test::Narrow(name);
    }
    EXPECT_NE(S_OK, CXMLHelper::SelectNode(root.get(), L"#comment", node)) << "whether it is told as a failure is open";
    EXPECT_EQ(nullptr, node);
}

TEST_F(CXMLHelperTest, TextIsThatOfAllDescendants)
{
    UniqueXmlNode node;
    bool read = false;
    ASSERT_EQ(S_OK, CXMLHelper::SelectNode(root.get(), L"b", node));
    EXPECT_EQ(S_OK, CXMLHelper::GetText(node.get(), text, read));
    EXPECT_TRUE(read);
    EXPECT_EQ(L"onetwo", text);
}

TEST_F(CXMLHelperTest, ElementWithoutTextGivesAnEmptyTextAndNoNull)
{
    UniqueXmlNode node;
    bool read = false;
    ASSERT_EQ(S_OK, CXMLHelper::SelectNode(root.get(), L"a", node));
    EXPECT_EQ(S_OK, CXMLHelper::GetText(node.get(), text, read));
    EXPECT_TRUE(read);
    EXPECT_EQ(L"", text);
}

TEST_F(CXMLHelperTest, NullTextAndRefusedTextAreNotRead)
{
    bool read = true;
    {
        const MethodPatch patch(root.get(), DomSlot::Text, GiveNull);
        EXPECT_EQ(S_FALSE, CXMLHelper::GetText(root.get(), text, read));
        EXPECT_FALSE(read);
    }
    read = true;
    const MethodPatch patch(root.get(), DomSlot::Text, RefuseText);
    EXPECT_EQ(E_OUTOFMEMORY, CXMLHelper::GetText(root.get(), text, read));
    EXPECT_FALSE(read);
    EXPECT_EQ(L"preloaded", text);
}

TEST(TakeBstrTest, NullLeavesTheTextAlone)
{
    std::wstring text = L"before";
    BSTR none = nullptr;
    EXPECT_FALSE(CXMLHelper::TakeBstr(text, none));
    EXPECT_EQ(L"before", text);
}

TEST(TakeBstrTest, TextIsCopiedAndTheStringFreed)
{
    const test::ImportPatch freeing(nullptr, "SysFreeString", TrackFree);
    realFree = freeing.Original<std::remove_pointer_t<decltype(realFree)>>();
    BSTR given = SysAllocString(L"text");
    strings = {given};
    std::wstring text;

    EXPECT_TRUE(CXMLHelper::TakeBstr(text, given));

    EXPECT_EQ(L"text", text);
    EXPECT_EQ(nullptr, given);
    EXPECT_TRUE(strings.empty());
}

// Documents

TEST(XmlDocumentTest, CannotBeMadeOnAThreadWithoutCom)
{
    test::OnFreshThread(test::ComState::None, [] {
        UniqueXmlDocument document;
        EXPECT_EQ(CO_E_NOTINITIALIZED, CXMLHelper::CreateDocument(document));
        EXPECT_EQ(nullptr, document);
    });
}

TEST(XmlDocumentTest, IsReadInEitherApartmentModel)
{
    test::TempTree tree;
    const std::wstring path = tree.AddFile(L"sample.xml", FILE_ATTRIBUTE_NORMAL, sample);
    for (const test::ComState state : {test::ComState::SingleThreaded, test::ComState::MultiThreaded})
    {
        test::OnFreshThread(state, [&path] {
            UniqueXmlDocument document;
            bool loaded = false;
            ASSERT_EQ(S_OK, CXMLHelper::CreateDocument(document));
            EXPECT_EQ(S_OK, CXMLHelper::LoadDocument(document.get(), path, loaded));
            EXPECT_TRUE(loaded);
        });
    }
}

HRESULT WINAPI CheckAndRefuse(const CLSID& classId, IUnknown* outer, DWORD context, const IID& interfaceId, void** made)
{
    wchar_t classText[64] = {};
    wchar_t interfaceText[64] = {};
    StringFromGUID2(classId, classText, 64);
    StringFromGUID2(interfaceId, interfaceText, 64);
    EXPECT_STREQ(L"{F5078F32-C551-11D3-89B9-0000F81FE221}", classText);
    EXPECT_STREQ(L"{2933BF81-7B36-11D2-B20E-00C04F983E60}", interfaceText);
    EXPECT_EQ(nullptr, outer);
    EXPECT_EQ(1u, context);
    *made = nullptr;
    return REGDB_E_CLASSNOTREG;
}

TEST(XmlDocumentTest, IsOfTheThirdVersionAndInThisProcess)
{
    const test::ImportPatch patch(nullptr, "CoCreateInstance", CheckAndRefuse);
    UniqueXmlDocument document;
    EXPECT_EQ(REGDB_E_CLASSNOTREG, CXMLHelper::CreateDocument(document));
    EXPECT_EQ(nullptr, document);
}

struct BadFile
{
    const wchar_t* name;
    const char* content; // null: the file is not made
};
constexpr BadFile badFiles[] = {{L"missing.xml", nullptr},           {L"empty.xml", ""},
                                {L"truncated.xml", "<root><a>"},     {L"crossed.xml", "<root><a></root></a>"},
                                {L"tworoots.xml", "<root/><root/>"}, {L"text.xml", "no markup"}};

TEST_F(CXMLHelperTest, FileThatIsNoDocumentIsNotLoadedThoughTheCallMaySucceed)
{
    for (const BadFile& bad : badFiles)
    {
        if (bad.content != nullptr)
            (void)tree.AddFile(bad.name, FILE_ATTRIBUTE_NORMAL, bad.content);
        bool loaded = true;
        EXPECT_FALSE(FAILED(CXMLHelper::LoadDocument(document.get(), tree.Path(bad.name), loaded)));
        EXPECT_FALSE(loaded) << test::Narrow(bad.name);
    }
    EXPECT_TRUE(log.Records().empty());
}

// What the patched load answers.
HRESULT loadResult = S_OK;
VARIANT_BOOL loadAnswer = VARIANT_TRUE;
HRESULT STDMETHODCALLTYPE AnswerLoad(void*, VARIANT source, VARIANT_BOOL* successful)
{
    EXPECT_EQ(VT_BSTR, source.vt);
    EXPECT_STREQ(L"C:\\any.xml", source.bstrVal);
    *successful = loadAnswer;
    return loadResult;
}

TEST_F(CXMLHelperTest, LoadCountsOnlyWithAGoodResultAndTheAnswerTrue)
{
    struct Row
    {
        HRESULT result;
        VARIANT_BOOL answer;
        bool loaded;
    };
    constexpr Row rows[] = {{S_OK, -1, true}, {S_FALSE, -1, true}, {S_OK, 0, false},
                            {S_OK, 1, false}, {E_FAIL, -1, false}, {E_FAIL, 0, false}};
    const MethodPatch patch(document.get(), DomSlot::DocumentLoad, AnswerLoad);
    for (const Row& row : rows)
    {
        loadResult = row.result;
        loadAnswer = row.answer;
        bool loaded = !row.loaded;
        EXPECT_EQ(row.result, CXMLHelper::LoadDocument(document.get(), L"C:\\any.xml", loaded));
        EXPECT_EQ(row.loaded, loaded) << row.result << " " << row.answer;
    }
}

HRESULT STDMETHODCALLTYPE RefuseInterface(void*, const IID& wanted, void** result)
{
    wchar_t text[64] = {};
    StringFromGUID2(wanted, text, 64);
    EXPECT_STREQ(L"{2933BF80-7B36-11D2-B20E-00C04F983E60}", text);
    *result = nullptr;
    return E_NOINTERFACE;
}

TEST_F(CXMLHelperTest, DocumentThatIsNoNodeGivesNull)
{
    const MethodPatch patch(document.get(), DomSlot::QueryInterface, RefuseInterface);
    UniqueXmlNode node;
    EXPECT_EQ(E_NOINTERFACE, CXMLHelper::DocumentNode(document.get(), node));
    EXPECT_EQ(nullptr, node);
}

} // namespace
} // namespace prodsweep
