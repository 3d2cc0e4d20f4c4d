#include "catalogue/product_version.h"

#include "environment/log.h"
#include "support/com_scope.h"
#include "support/dom.h"
#include "support/dom_fault.h"
#include "support/log_recorder.h"
#include "support/method_patch.h"
#include "support/uninstall_entries.h"

#include <gtest/gtest.h>

namespace prodsweep {
namespace {

using test::DomFault;
using test::DomMethod;
using test::DomText;
using ChildMap = std::map<std::wstring, std::vector<std::wstring>>;

constexpr const char* loadVersion = "CProductVersion::Load";
// A display name that no machine has.
constexpr const wchar_t* nobody = L"prodsweep tests: installed by nobody";

class ProductVersionTest : public testing::Test
{
protected:
    bool Load(const std::wstring& element)
    {
        const DomText text(element);
        return version.Load(text.Root());
    }

    const test::ComScope com;
    const test::LogRecorder log;
    CProductVersion version;
};

TEST_F(ProductVersionTest, IdNamesAnUninstallEntry)
{
    EXPECT_TRUE(Load(L"<v name='1.0' id='{A-B}'/>"));

    EXPECT_EQ(L"1.0", version.name);
    EXPECT_EQ(L"HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\{A-B}", version.keyPath);
    EXPECT_EQ(L"", version.keyValue);
    EXPECT_TRUE(log.HasNoneAt(LogError));
    EXPECT_TRUE(log.HasNoneAt(LogWarning));
}

TEST_F(ProductVersionTest, IdGoesBeforeAllOtherAttributes)
{
    EXPECT_TRUE(Load(L"<v name='1.0' keypath='HKLM\\X' keyvalue='V' prodName='P' id='E'/>"));

    EXPECT_EQ(test::UninstallEntries::Path(L"E"), version.keyPath);
    EXPECT_EQ(L"", version.keyValue);
    EXPECT_EQ(L"", version.prodName);
    EXPECT_TRUE(log.HasNoneAt(LogWarning));
}

TEST_F(ProductVersionTest, EmptyIdIsAnId)
{
    EXPECT_TRUE(Load(L"<v name='1.0' id='' keypath='HKLM\\X' keyvalue='V'/>"));
    EXPECT_EQ(test::UninstallEntries::Path(L""), version.keyPath);
}

TEST_F(ProductVersionTest, KeyPathGetsItsSubkeyAndItsValue)
{
    EXPECT_TRUE(Load(L"<v name='1.0' keypath='HKLM\\Software\\X' keyvalue='Path'/>"));

    EXPECT_EQ(L"HKLM\\Software\\X\\UpdateLocation", version.keyPath);
    EXPECT_EQ(L"Path", version.keyValue);
    EXPECT_TRUE(log.Has(LogWarning, loadVersion, L"failed get attribute \"id\" for version product = 1.0"));
    EXPECT_EQ(1, log.Count(LogWarning, loadVersion, L"failed get attribute \"id\" for version product = 1.0"));
}

TEST_F(ProductVersionTest, SubkeyIsAddedWhateverTheKeyPathEndsIn)
{
    EXPECT_TRUE(Load(L"<v name='1.0' keypath='HKLM\\X\\UpdateLocation\\' keyvalue='Path'/>"));
    EXPECT_EQ(L"HKLM\\X\\UpdateLocation\\\\UpdateLocation", version.keyPath);
}

TEST_F(ProductVersionTest, EmptyKeyPathIsAKeyPath)
{
    EXPECT_TRUE(Load(L"<v name='1.0' keypath='' keyvalue='Path'/>"));
    EXPECT_EQ(L"\\UpdateLocation", version.keyPath);
}

TEST_F(ProductVersionTest, EmptyKeyValueIsThereAndAsksForNoValue)
{
    EXPECT_TRUE(Load(L"<v name='1.0' keypath='HKLM\\X' keyvalue=''/>"));
    EXPECT_EQ(L"", version.keyValue);
}

TEST_F(ProductVersionTest, KeyPathWithoutKeyValueFails)
{
    EXPECT_FALSE(Load(L"<v name='1.0' keypath='HKLM\\X'/>"));
    EXPECT_TRUE(log.Has(LogError, loadVersion, L"failed get attribute \"keyvalue\" for version product = 1.0"));
}

TEST_F(ProductVersionTest, UnmatchedProductNameFallsBackToTheKeyPath)
{
    EXPECT_TRUE(Load(std::wstring(L"<v name='1.0' prodName='") + nobody + L"' keypath='HKLM\\X' keyvalue='V'/>"));

    EXPECT_EQ(nobody, version.prodName);
    EXPECT_EQ(L"HKLM\\X\\UpdateLocation", version.keyPath);
    EXPECT_EQ(L"V", version.keyValue);
}

TEST_F(ProductVersionTest, MatchedProductNameLeavesKeyPathAndValueUnread)
{
    test::UninstallEntries entries;
    const std::wstring entry = entries.Unique(L"prodsweep-entry");
    entries.Add(entry, entry);

    EXPECT_TRUE(Load(L"<v name='1.0' prodName='" + entry + L"' keypath='HKLM\\X' keyvalue='V'/>"));

    EXPECT_EQ(entries.Path(entry), version.keyPath);
    EXPECT_EQ(L"", version.keyValue);
}

TEST_F(ProductVersionTest, VersionWithoutAnyKeyIsKept)
{
    EXPECT_TRUE(Load(std::wstring(L"<v name='1.0' keyvalue='V' prodName='") + nobody + L"'/>"));

    EXPECT_EQ(L"", version.keyPath);
    EXPECT_EQ(L"", version.keyValue);
    // The second time it is the key path that is missing.
    EXPECT_EQ(2, log.Count(LogWarning, loadVersion, L"failed get attribute \"id\" for version product = 1.0"));
}

TEST_F(ProductVersionTest, NothingButANameIsEnough)
{
    EXPECT_TRUE(Load(L"<v name=''/>"));
    EXPECT_EQ(2, log.Count(LogWarning, loadVersion, L"failed get attribute \"id\" for version product = "));
}

TEST_F(ProductVersionTest, MissingNameFails)
{
    EXPECT_FALSE(Load(L"<v id='E'/>"));
    EXPECT_TRUE(log.Has(LogError, loadVersion, L"failed get attribute \"name\""));
    EXPECT_EQ(L"", version.keyPath);
}

TEST_F(ProductVersionTest, AttributeNamesAreMatchedExactly)
{
    EXPECT_TRUE(Load(L"<v name='1.0' ID='E' Keypath='HKLM\\X' KeyValue='V' prodname='P'/>"));
    EXPECT_EQ(L"", version.keyPath);
    EXPECT_EQ(L"", version.prodName);
}

// Children.

TEST_F(ProductVersionTest, ChildrenAreKeptByNameInDocumentOrder)
{
    EXPECT_TRUE(Load(L"<v name='1' id='E'><code>2</code><b>x</b><code>1</code><Code>3</Code></v>"));
    EXPECT_EQ((ChildMap{{L"Code", {L"3"}}, {L"b", {L"x"}}, {L"code", {L"2", L"1"}}}), version.ChildValues);
}

TEST_F(ProductVersionTest, ChildrenWithoutTextAreLeftOut)
{
    EXPECT_TRUE(Load(L"<v name='1' id='E'><a/><b></b><c d='e'/><f>g</f></v>"));
    EXPECT_EQ((ChildMap{{L"f", {L"g"}}}), version.ChildValues);
}

TEST_F(ProductVersionTest, CommentsAndTextsCountAsChildren)
{
    EXPECT_TRUE(Load(L"<v name='1' id='E'>t<!--c--><![CDATA[d]]></v>"));
    EXPECT_EQ((ChildMap{{L"#cdata-section", {L"d"}}, {L"#comment", {L"c"}}, {L"#text", {L"t"}}}), version.ChildValues);
}

TEST_F(ProductVersionTest, NestedTextIsTakenTogether)
{
    EXPECT_TRUE(Load(L"<v name='1' id='E'><a>x<b>y</b>z</a></v>"));
    EXPECT_EQ((ChildMap{{L"a", {L"xyz"}}}), version.ChildValues);
}

TEST_F(ProductVersionTest, ChildrenAreReadForEveryForm)
{
    EXPECT_TRUE(Load(L"<v name='1'><a>x</a></v>"));
    EXPECT_EQ((ChildMap{{L"a", {L"x"}}}), version.ChildValues);
    EXPECT_FALSE(Load(L"<v name='1' keypath='HKLM\\X'><a>y</a></v>"));
    EXPECT_EQ((ChildMap{{L"a", {L"x", L"y"}}}), version.ChildValues);
}

struct ChildFaultRow
{
    const char* name;
    DomMethod method;
    HRESULT answer;
    int call;
    const wchar_t* text; // null: nothing is logged
    ChildMap children;
};

class ChildFaultTest : public ProductVersionTest, public testing::WithParamInterface<ChildFaultRow>
{};

TEST_P(ChildFaultTest, DoesNotFailTheVersion)
{
    const ChildFaultRow& row = GetParam();
    const DomText text(L"<v name='1' id='E'><a>1</a><b>2</b><c>3</c></v>");
    {
        const DomFault fault(row.method, row.answer, row.call);
        EXPECT_TRUE(version.Load(text.Root()));
        EXPECT_TRUE(fault.Happened());
    }
    EXPECT_EQ(row.children, version.ChildValues);
    EXPECT_EQ(test::UninstallEntries::Path(L"E"), version.keyPath);
    if (row.text != nullptr)
        EXPECT_TRUE(log.Has(LogError, loadVersion, row.text));
    else
        EXPECT_TRUE(log.HasNoneAt(LogError));
}

const ChildMap withoutSecond = {{L"a", {L"1"}}, {L"c", {L"3"}}};
const ChildMap onlyFirst = {{L"a", {L"1"}}};

INSTANTIATE_TEST_SUITE_P(
    Steps, ChildFaultTest,
    testing::Values(
        ChildFaultRow{
            "NoChildren", DomMethod::ElementChildren, E_FAIL, 1, L"failed load version children nodes 0x80004005", {}},
        ChildFaultRow{
            "NullChildren", DomMethod::ElementChildren, S_FALSE, 1, L"failed load version children nodes 0x1", {}},
        ChildFaultRow{
            "NoLength", DomMethod::ListLength, E_FAIL, 1, L"failed load version children count 0x80004005", {}},
        ChildFaultRow{"NoItem", DomMethod::ListItem, E_FAIL, 2, L"failed load child 1, err = 0x80004005", onlyFirst},
        ChildFaultRow{"NullItem", DomMethod::ListItem, S_FALSE, 2, L"failed load child 1, err = 0x1", onlyFirst},
        ChildFaultRow{"NoName", DomMethod::ElementName, E_FAIL, 2, nullptr, withoutSecond},
        ChildFaultRow{"NullName", DomMethod::ElementName, S_OK, 2, nullptr, withoutSecond},
        ChildFaultRow{"NoText", DomMethod::ElementText, E_FAIL, 2, nullptr, withoutSecond},
        ChildFaultRow{"NullText", DomMethod::ElementText, S_OK, 2, nullptr, withoutSecond}),
    [](const auto& row) { return row.param.name; });

HRESULT WINAPI GiveEmptyName(IXMLDOMNode*, BSTR* name)
{
    *name = SysAllocString(L"");
    return S_OK;
}

TEST_F(ProductVersionTest, ChildWithAnEmptyNameIsLeftOut)
{
    const DomText text(L"<v name='1' id='E'><a>1</a></v>");
    const test::MethodPatch patch(text.Root(), test::DomSlot::NodeName, GiveEmptyName);
    EXPECT_TRUE(version.Load(text.Root()));
    EXPECT_TRUE(version.ChildValues.empty());
}

} // namespace
} // namespace prodsweep
