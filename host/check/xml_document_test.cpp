#include "check/xml_document.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>

#include "environment/xml_helper.h"
#include "host/check_behaviour.h"
#include "interpreter/descriptor.h"
#include "support/com_scope.h"
#include "text.h"

namespace prodsweep {
namespace {

// As the library's parser gives the text of one node.
std::string TrimmedText(const std::wstring& text)
{
    const std::size_t first = text.find_first_not_of(L" \t\r\n");
    return first == std::wstring::npos ? "" : ToUtf8(text.substr(first, text.find_last_not_of(L" \t\r\n") + 1 - first));
}

// One line for a node: its name, its attributes, and its text or what is in it.
std::string Shown(const XmlNode& node)
{
    std::string shown = ToUtf8(node.name);
    for (const XmlAttribute& attribute : node.attributes)
        shown += ' ' + ToUtf8(attribute.name) + "=\"" + ToUtf8(attribute.value) + '"';
    if (node.kind == XmlNode::Kind::Text)
        return shown + " \"" + TrimmedText(node.text) + '"';
    if (node.kind == XmlNode::Kind::CData)
        return shown + " \"" + ToUtf8(node.text) + '"';
    for (const XmlNode& child : node.children)
        shown += " (" + Shown(child) + ')';
    return shown;
}

// The same for a node of the library's own parser.
std::string Shown(IXMLDOMNode* node)
{
    std::wstring name;
    EXPECT_TRUE(CXMLHelper::GetNodeName(node, name));
    std::string shown = ToUtf8(name);
    if (name == L"#text" || name == L"#cdata-section")
    {
        std::wstring text;
        bool read = false;
        CXMLHelper::GetText(node, text, read);
        return shown + " \"" + ToUtf8(text) + '"';
    }
    for (const auto& [attribute, value] : ReadAttributes(node).pairs)
        shown += ' ' + ToUtf8(attribute) + "=\"" + ToUtf8(value) + '"';
    const ChildList children = ReadChildren(node);
    for (long i = 0; i < children.count; ++i)
    {
        UniqueXmlNode child;
        CXMLHelper::NextChild(children.nodes.get(), child);
        shown += " (" + (child != nullptr ? Shown(child.get()) : "nothing") + ')';
    }
    return shown;
}

struct SafeArrayFree
{
    void operator()(SAFEARRAY* array) const noexcept { SafeArrayDestroy(array); }
};

constexpr const char* refused = "refused";

std::string SeenByTheLibrary(const std::string& bytes)
{
    UniqueXmlDocument document;
    EXPECT_EQ(S_OK, CXMLHelper::CreateDocument(document));
    const std::unique_ptr<SAFEARRAY, SafeArrayFree> array(
        SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(bytes.size())));
    std::copy(bytes.begin(), bytes.end(), static_cast<char*>(array->pvData));
    VARIANT source{};
    source.vt = VT_ARRAY | VT_UI1;
    source.parray = array.get();
    VARIANT_BOOL loaded = VARIANT_FALSE;
    IXMLDOMElement* element = nullptr;
    if (FAILED(document->load(source, &loaded)) || loaded != VARIANT_TRUE ||
        document->get_documentElement(&element) != S_OK)
        return refused;
    const UniqueXmlNode root(element);
    return Shown(root.get());
}

std::string SeenHere(const std::string& bytes)
{
    try
    {
        return Shown(ParseXml(bytes).root);
    }
    catch (const CXmlFault&)
    {
        return refused;
    }
}

std::string Utf16(const std::string& utf8, bool littleEndian = true)
{
    std::string bytes;
    for (const wchar_t unit : ToWide(utf8))
    {
        const char low = static_cast<char>(unit & 0xFF);
        const char high = static_cast<char>(unit >> 8);
        bytes += littleEndian ? low : high;
        bytes += littleEndian ? high : low;
    }
    return bytes;
}

const std::string littleMark = "\xFF\xFE";
const std::string bigMark = "\xFE\xFF";
const std::string utf8Mark = "\xEF\xBB\xBF";

class XmlAgreementTest : public testing::TestWithParam<std::string>
{
protected:
    static void ExpectAgreement(const std::string& bytes)
    {
        EXPECT_EQ(SeenByTheLibrary(bytes), SeenHere(bytes)) << testing::PrintToString(bytes);
    }

private:
    const test::ComScope com;
};

TEST_P(XmlAgreementTest, SameTreeOrRefusedByBoth) { ExpectAgreement(GetParam()); }

std::string Declared(const std::string& encoding, const std::string& rest = "<a/>")
{
    return "<?xml version='1.0' encoding='" + encoding + "'?>" + rest;
}

const std::string shapes[] = {
    "",
    " ",
    "<a/>",
    "<a></a>",
    "<a b='1'/>",
    "<a b = '1' />",
    "<a\nb='1'></a\n>",
    "<a b='>'/>",
    "<a b=\"'\"/>",
    "<a.b-c_d/>",
    "<\xC3\xA4/>",
    "<a \xC3\xA4='1'/>",
    "<a>></a>",
    "<a>x<b/>y</a>",
    "<a>x <b/> y</a>",
    "<a> x </a>",
    "<a>\n  <b/>\n</a>",
    "<a>x\r\ny</a>",
    "<a b='x\ny'/>",
    "<a b='x\ty'/>",
    "<a b='x\r\ny'/>",
    "<a b='x&#10;y'/>",
    // Not one element.
    "<a/><b/>",
    "<a/>text",
    "text<a/>",
    "<a>",
    "</a>",
    "<a></b>",
    "<A></a>",
    "<1a/>",
    "<-a/>",
    "< a/>",
    "<a / >",
    "<a></ a>",
    // Attributes.
    "<a b='1' b='2'/>",
    "<a b=1/>",
    "<a b/>",
    "<a b='<'/>",
    "<a b='1'c='2'/>",
    "<a b='1/>",
    "<a b='1\"/>",
};
const std::string contentShapes[] = {
    "<!-- c --><a/><!-- c -->",  "<a><!-- c --></a>",
    "<a><!-- -- --></a>",        "<a><!----></a>",
    "<a><!-- c ---></a>",        "<!-->--><a/>",
    "<a>x<!-- c -->y</a>",       "<?pi?><a/>",
    "<a><?pi x?></a>",           "<a><?xml version='1.0'?></a>",
    "<?XML version='1.0'?><a/>", "<a><![CDATA[x]]></a>",
    "<a>t<![CDATA[x]]>u</a>",    "<a><![CDATA[<]]></a>",
    "<a><![CDATA[ ]]></a>",      "<a>]]></a>",
    "<a> <![CDATA[x]]> </a>",    "<a><![CDATA[x]]></a",
    "<a><![CDATA[x]></a>",
};
const std::string references[] = {
    "<a>&lt;&amp;&#65;&#x41;</a>",
    "<a b='&quot;&apos;&gt;'/>",
    "<a>&unknown;</a>",
    "<a b='&unknown;'/>",
    "<a>&;</a>",
    "<a>&amp</a>",
    "<a>& </a>",
    "<a>&#0;</a>",
    "<a>&#1;</a>",
    "<a>&#xD800;</a>",
    "<a>&#xFFFF;</a>",
    "<a>&#x110000;</a>",
    "<a>&#x1D11E;</a>",
    "<a>&#32;</a>",
    "<a>&#32;<b/></a>",
    "<a>x&amp;y</a>",
    "<a>\x01</a>",
    "<a>\x7F</a>",
    "<a>\x1B[31m</a>",
    std::string("<a>\0</a>", 8),
};
const std::string encodings[] = {
    utf8Mark + "<a/>",
    utf8Mark,
    littleMark,
    "\xEF\xBB<a/>",
    "<a b='\xE4'/>",
    "<a b='\xC3\xA4'/>",
    "<a b='\xF0\x9D\x84\x9E'/>",
    "<a b='\xED\xA0\x80'/>",
    "<a b='\xC0\x80'/>",
    "<a b='\xEF\xBF\xBF'/>",
    Declared("UTF-8"),
    Declared("utf-8", "<a b='\xE4'/>"),
    Declared("nonsense"),
    Declared("utf-16"),
    Declared(""),
    Declared("us-ascii"),
    Declared("us-ascii", "<a b='\xE4'/>"),
    Declared("iso-8859-1", "<a b='\xE4'/>"),
    Declared("ISO-8859-1", "<a b='\xE4'/>"),
    Declared("iso-8859-15", "<a b='\xA4'/>"),
    Declared("windows-1252", "<a b='\x80\xE4'/>"),
    Declared("windows-1251", "<a b='\xE4'/>"),
    Declared("windows-1252x"),
    Declared("windows-65001"),
    Declared("windows-932"),
    Declared("windows-"),
    Declared("iso-8859-1x"),
    Declared("iso-8859-"),
    Declared("gbk", "<a b='\xD5\xCA'/>"),
    utf8Mark + Declared("utf-8"),
    utf8Mark + Declared("utf-16"),
    utf8Mark + Declared("iso-8859-1", "<a b='\xC3\xA4'/>"),
    littleMark + Utf16("<a b='\xC3\xA4'/>"),
    bigMark + Utf16("<a b='\xC3\xA4'/>", false),
    bigMark + Utf16("<a/>"),
    littleMark + Utf16(Declared("utf-16")),
    littleMark + Utf16(Declared("utf-8")),
    littleMark + Utf16(Declared("iso-8859-1")),
    Utf16("<a/>"),
    Utf16("<a/>", false),
    Utf16(Declared("utf-16")),
    Utf16(Declared("utf-16"), false),
    littleMark + Utf16("<a/>") + "x",
    littleMark + Utf16("<a b='") + std::string("\x00\xD8", 2) + Utf16("'/>"),
    littleMark + Utf16("<a b='\xF0\x9D\x84\x9E'/>"),
};
const std::string declarations[] = {
    "<?xml version='1.0'?><a/>",
    " <?xml version='1.0'?><a/>",
    "<?xml version='2.0'?><a/>",
    "<?xml?><a/>",
    "<?xml encoding='utf-8'?><a/>",
    "<?xml version='1.0' standalone='yes'?><a/>",
    "<?xml version='1.0' standalone='maybe'?><a/>",
    "<!DOCTYPE a><a/>",
    "<!DOCTYPE b><a/>",
    "<!DOCTYPE a [<!ELEMENT a EMPTY>]><a><b/></a>",
    "<!DOCTYPE a [ <a/>",
    "<!DOCTYPE a [<!ENTITY e 'x'>]><a b='&e;'/>",
    "<!DOCTYPE a SYSTEM 'nowhere.dtd'><a/>",
    "<a/><!DOCTYPE a>",
    "<!DOCTYPE a [<!ENTITY a '&b;'><!ENTITY b '&a;'>]><a>&a;</a>",
    "<p:a xmlns:p='urn:x'/>",
    "<a xmlns:p='u' xmlns:q='u' p:b='1' q:b='2'/>",
    "<a p:b='1' q:b='2' xmlns:p='u' xmlns:q='v'/>",
    "<a p:b='1' b='2' xmlns:p='u'/>",
    "<a xml:lang='en'/>",
    "<a xml:space='preserve'><b/> <c/></a>",
    "<a xml:space='preserve'> <b xml:space='default'> </b></a>",
};
const auto shown = [](const testing::TestParamInfo<std::string>& row) { return std::to_string(row.index); };
INSTANTIATE_TEST_SUITE_P(Shapes, XmlAgreementTest, testing::ValuesIn(shapes), shown);
INSTANTIATE_TEST_SUITE_P(Contents, XmlAgreementTest, testing::ValuesIn(contentShapes), shown);
INSTANTIATE_TEST_SUITE_P(References, XmlAgreementTest, testing::ValuesIn(references), shown);
INSTANTIATE_TEST_SUITE_P(Encodings, XmlAgreementTest, testing::ValuesIn(encodings), shown);
INSTANTIATE_TEST_SUITE_P(Declarations, XmlAgreementTest, testing::ValuesIn(declarations), shown);

const std::string catalogueXml = R"(<?xml version="1.0" encoding="utf-8"?>
<!-- Known by the name that it shows. -->
<uninstall_information>
  <exec_all>false</exec_all>
  <product name="H&#228;rbor &amp; S&ouml;hne" file='harbor.xml'>
    <version name="7" prodName="Harbor 7"><![CDATA[x]]><?y z?></version>
  </product>
</uninstall_information>
<!-- The end. -->
)";

TEST_F(XmlAgreementTest, EverySampleOfTheRules)
{
    std::size_t samples = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(test::SamplePath("", L"")))
    {
        // What a document type and prefixes make of a file is told below.
        const std::filesystem::path rule = entry.path().parent_path().filename();
        if (!entry.is_regular_file() || rule == "document-type" || rule == "undeclared-prefix")
            continue;
        std::ifstream file(entry.path(), std::ios::binary);
        ExpectAgreement(std::string(std::istreambuf_iterator<char>(file), {}));
        ++samples;
    }
    EXPECT_LT(150U, samples);
}

TEST_F(XmlAgreementTest, EveryBeginningOfACatalogue)
{
    std::string whole = catalogueXml;
    whole.replace(whole.find("&ouml;"), 6, "\xC3\xB6");
    for (std::size_t length = 0; length <= whole.size(); ++length)
        ExpectAgreement(whole.substr(0, length));
}

TEST_F(XmlAgreementTest, EveryBeginningOfACatalogueInUtf16)
{
    std::string whole = catalogueXml;
    whole.replace(whole.find("&ouml;"), 6, "\xC3\xB6").replace(whole.find("utf-8"), 5, "utf-16");
    const std::string bytes = littleMark + Utf16(whole);
    for (std::size_t length = 4; length <= bytes.size(); length += 7)
        ExpectAgreement(bytes.substr(0, length));
}

// Each character in turn is replaced by others that mean something.
TEST_F(XmlAgreementTest, EveryBrokenCharacterOfACatalogue)
{
    const std::string tail =
        catalogueXml.substr(catalogueXml.find("  <exec_all"), 120) + "/></product></uninstall_information>";
    const std::string whole =
        "<uninstall_information>" + tail.substr(0, tail.find("&ouml;")) + tail.substr(tail.find("&ouml;") + 6);
    for (const char wrong : {'<', '>', '&', '"', '\'', '/', '=', ' ', '!', '\x02', '\xE4'})
    {
        for (std::size_t i = 0; i < whole.size(); ++i)
        {
            std::string broken = whole;
            broken[i] = wrong;
            ExpectAgreement(broken);
        }
    }
}

TEST_F(XmlAgreementTest, SameDepth)
{
    const auto nested = [](std::size_t depth) {
        std::string text;
        for (std::size_t i = 0; i < depth; ++i)
            text += "<a>";
        for (std::size_t i = 0; i < depth; ++i)
            text += "</a>";
        return text;
    };
    for (const std::size_t depth : {1U, 256U, 257U, 258U, 100000U})
        EXPECT_EQ(SeenByTheLibrary(nested(depth)) == refused, SeenHere(nested(depth)) == refused) << depth;
}

// Where the two differ, and what becomes of it: a document type has a rule of its own, and the rest is refused here.
TEST_F(XmlAgreementTest, KnownDifferences)
{
    EXPECT_EQ("a (e (nothing))", SeenByTheLibrary("<!DOCTYPE a [<!ENTITY e 'x'>]><a>&e;</a>"));
    EXPECT_EQ("a (#text \"x\")", SeenHere("<!DOCTYPE a [<!ENTITY e 'x'>]><a>&e;</a>"));
    EXPECT_TRUE(ParseXml("<!DOCTYPE a [<!ENTITY e 'x'>]><a>&e;</a>").documentType.has_value());
    EXPECT_EQ(refused, SeenHere("<?xml version='1.1'?><a/>"));
    EXPECT_EQ("a", SeenByTheLibrary(std::string("<a/>\0", 5)));
    EXPECT_EQ(refused, SeenHere(std::string("<a/>\0", 5)));
}

bool IsWine() { return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr; }

// Nothing in the formats has a prefix, but files have some for editors. Windows refuses one that is not declared, and
// Wine reads the name without it; a rule tells of it. Of declared ones only the order of attributes differs, which
// nothing looks at.
TEST_F(XmlAgreementTest, KnownDifferencesOfPrefixes)
{
    EXPECT_EQ(IsWine() ? "a b=\"1\" (c xmlns:q=\"\")" : refused, SeenByTheLibrary("<a p:b='1'><q:c/></a>"));
    EXPECT_EQ("a p:b=\"1\" (q:c)", SeenHere("<a p:b='1'><q:c/></a>"));
    EXPECT_EQ(2U, ParseXml("<a p:b='1'><q:c/></a>").undeclaredPrefixes.size());
    EXPECT_EQ(IsWine() ? "a p:b=\"1\" xmlns:p=\"u\"" : "a xmlns:p=\"u\" p:b=\"1\"",
              SeenByTheLibrary("<a xmlns:p='u' p:b='1'/>"));
    EXPECT_EQ("a xmlns:p=\"u\" p:b=\"1\"", SeenHere("<a xmlns:p='u' p:b='1'/>"));
}

struct PrefixRow
{
    const char* name;
    const char* text;
    std::vector<std::wstring> undeclared; // the names
};

class XmlPrefixTest : public testing::TestWithParam<PrefixRow>
{};

TEST_P(XmlPrefixTest, FirstUseOfEachUndeclaredPrefixIsNoted)
{
    std::vector<std::wstring> found;
    for (const UndeclaredPrefix& use : ParseXml(GetParam().text).undeclaredPrefixes)
        found.push_back(use.name);
    EXPECT_EQ(GetParam().undeclared, found);
}

INSTANTIATE_TEST_SUITE_P(
    Prefixes, XmlPrefixTest,
    testing::Values(PrefixRow{"None", "<a b='1'/>", {}}, PrefixRow{"OfAnAttribute", "<a p:b='1'/>", {L"p:b"}},
                    PrefixRow{"OfAnElement", "<a><p:b/></a>", {L"p:b"}}, PrefixRow{"OfTheRoot", "<p:a/>", {L"p:a"}},
                    PrefixRow{"EachOnce", "<a p:b='1' p:c='2' q:d='3'><p:e/></a>", {L"p:b", L"q:d"}},
                    PrefixRow{"DeclaredHere", "<p:a p:b='1' xmlns:p='u'/>", {}},
                    PrefixRow{"DeclaredAround", "<a xmlns:p='u'><b><p:c p:d='1'/></b></a>", {}},
                    PrefixRow{"DeclaredBeside", "<a><b xmlns:p='u'/><p:c/></a>", {L"p:c"}},
                    PrefixRow{"DeclaredInside", "<p:a><b xmlns:p='u'/></p:a>", {L"p:a"}},
                    PrefixRow{"DeclaredAsNothing", "<a xmlns:p='' p:b='1'/>", {L"p:b"}},
                    PrefixRow{"DefaultNamespaceDeclaresNone", "<a xmlns='u' p:b='1'/>", {L"p:b"}},
                    PrefixRow{"OfEveryDocument", "<a xml:lang='en'/>", {}}),
    [](const testing::TestParamInfo<PrefixRow>& row) { return row.param.name; });

struct PlaceRow
{
    const char* name;
    std::string bytes;
    Position element;
    Position attribute;
};

class XmlPositionTest : public testing::TestWithParam<PlaceRow>
{};

// The first child of the root and its second attribute.
TEST_P(XmlPositionTest, LineAndColumnAreThoseOfAnEditor)
{
    const XmlDocument document = ParseXml(GetParam().bytes);
    const XmlNode& child = document.root.children.at(0);

    EXPECT_EQ(GetParam().element, child.at);
    EXPECT_EQ(GetParam().attribute, child.attributes.at(1).at);
}

INSTANTIATE_TEST_SUITE_P(
    Places, XmlPositionTest,
    testing::Values(PlaceRow{"OneLine", "<a><b c='1' d='2'/></a>", {1, 4}, {1, 13}},
                    PlaceRow{"Lines", "<a>\n  <b c='1'\n\n     d='2'/></a>", {2, 3}, {4, 6}},
                    PlaceRow{"WindowsLines", "<a>\r\n  <b c='1'\r\n d='2'/></a>", {2, 3}, {3, 2}},
                    PlaceRow{"OldMacLines", "<a>\r  <b c='1'\r d='2'/></a>", {2, 3}, {3, 2}},
                    PlaceRow{"TabsCountOne", "<a>\n\t\t<b\tc='1'\td='2'/></a>", {2, 3}, {2, 12}},
                    PlaceRow{"CharactersNotBytes",
                             "<\xC3\xA4><b \xC3\xA4='\xE2\x82\xAC\xF0\x9D\x84\x9E' d='2'/></\xC3\xA4>",
                             {1, 4},
                             {1, 14}},
                    PlaceRow{"Utf8WithMark", utf8Mark + "<a><b c='1' d='2'/></a>", {1, 4}, {1, 13}},
                    PlaceRow{"Utf16", littleMark + Utf16("<a>\n<b c='\xF0\x9D\x84\x9E' d='2'/></a>"), {2, 1}, {2, 10}},
                    PlaceRow{"Latin1", Declared("iso-8859-1", "\n<a>\n<b c='\xE4\xE4' d='2'/></a>"), {3, 1}, {3, 11}},
                    PlaceRow{"QuotesAndMarksInValues", "<a><b c=\"> ' d='\" d='2'/></a>", {1, 4}, {1, 19}}),
    [](const testing::TestParamInfo<PlaceRow>& row) { return row.param.name; });

struct FaultRow
{
    const char* name;
    std::string bytes;
    Position place;
    const char* what;
};

class XmlFaultTest : public testing::TestWithParam<FaultRow>
{};

TEST_P(XmlFaultTest, FaultIsToldWithItsPlace)
{
    try
    {
        ParseXml(GetParam().bytes);
        FAIL() << "not refused";
    }
    catch (const CXmlFault& fault)
    {
        EXPECT_EQ(GetParam().place, fault.Where());
        EXPECT_STREQ(GetParam().what, fault.what());
    }
}

constexpr const char* noUtf8 =
    "what stands here is no UTF-8; save the file in UTF-8, or declare the encoding that it is in";

INSTANTIATE_TEST_SUITE_P(
    Faults, XmlFaultTest,
    testing::Values(
        FaultRow{"Tag", "<a>\n  <b></c>\n</a>", {2, 8}, "mismatched tag"},
        FaultRow{"Latin1ThatSaysUtf8", Declared("utf-8", "\n<a b='M\xFCller'/>"), {2, 8}, noUtf8},
        FaultRow{"Latin1InText", "<a>\xC4ste</a>", {1, 4}, noUtf8},
        FaultRow{"Latin1InAComment", "<!-- \xE4 --><a/>", {1, 6}, noUtf8},
        FaultRow{"Latin1AtTheEnd", "<a/>\n\xE4", {2, 1}, noUtf8},
        FaultRow{"CharacterOfUtf8ThatXmlLacks", "<a b='\xEF\xBF\xBF'/>", {1, 7}, "not well-formed (invalid token)"},
        FaultRow{"TokenBehindUtf8", "<a b='\xC3\xA4'<", {1, 9}, "not well-formed (invalid token)"},
        FaultRow{"Utf8ThatSaysUtf16", Declared("UTF-16"), {1, 1}, "it says that it is utf-16, and is not"},
        FaultRow{"MarkOfUtf8AndSaysUtf16",
                 utf8Mark + Declared("utf-16le"),
                 {1, 1},
                 "it says that it is utf-16le, and is not"},
        FaultRow{"Utf16ThatSaysLatin1",
                 littleMark + Utf16(Declared("iso-8859-1")),
                 {1, 1},
                 "it is UTF-16 and says that it is iso-8859-1"},
        FaultRow{"UnknownEncoding",
                 Declared("nonsense"),
                 {1, 1},
                 "its encoding \"nonsense\" is not one that every system reads"}),
    [](const testing::TestParamInfo<FaultRow>& row) { return row.param.name; });

} // namespace
} // namespace prodsweep
