#include "catalogue/products.h"

#include "environment/log.h"
#include "support/callback_recorder.h"
#include "support/com_scope.h"
#include "support/dom.h"
#include "support/dom_fault.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/temp_tree.h"

#include <gtest/gtest.h>

namespace prodsweep {
namespace {

using test::CallbackRecorder;
using test::CatalogueEvent;
using test::DomFault;
using test::DomMethod;
using test::RecordedCalls;

constexpr const char* loadProducts = "CProducts::Load";

class ProductsLoadTest : public testing::Test
{
protected:
    // Writes the file and loads it.
    bool Load(const std::string& content, int kind = ProductKindOwn)
    {
        path = tree.AddFile(L"catalogue.xml", FILE_ATTRIBUTE_NORMAL, content);
        return products.Load(path.c_str(), kind, &CallbackRecorder::Record);
    }

    std::wstring Names() const
    {
        std::wstring names;
        for (const CProduct& product : products.products)
            names += product.name + L";";
        return names;
    }

    const test::ComScope com;
    test::TempTree tree;
    test::LogRecorder log;
    const CallbackRecorder callback;
    std::wstring path;
    CProducts products;
};

TEST_F(ProductsLoadTest, ProductsAreListedInDocumentOrder)
{
    EXPECT_TRUE(Load("<uninstall_information><product name='B' file='b.xml'/><product name='A' file='a.xml'/>"
                     "<product name='C' file='c.xml'/></uninstall_information>"));

    EXPECT_EQ(L"B;A;C;", Names());
    EXPECT_EQ(RecordedCalls{CatalogueEvent(0)}, callback.Calls());
    EXPECT_TRUE(log.Has(LogTrace, loadProducts, L"->file : \"" + path + L"\""));
    EXPECT_TRUE(log.Has(LogTrace, loadProducts, L"<-success \"" + path + L"\""));
    EXPECT_TRUE(log.HasNoneAt(LogError));
}

const test::LogRecorder* logOfThisTest = nullptr;
std::size_t linesAtTheCall = 0;

void CountLines(std::int32_t, std::int32_t, const void*) { linesAtTheCall = logOfThisTest->Records().size(); }

TEST_F(ProductsLoadTest, CallbackHearsOfASuccessBeforeTheLogDoes)
{
    ASSERT_TRUE(Load("<uninstall_information/>"));
    log.Clear();
    logOfThisTest = &log;

    EXPECT_TRUE(products.Load(path.c_str(), ProductKindOwn, &CountLines));

    EXPECT_EQ(linesAtTheCall, log.PlaceOf(L"<-success \"" + path + L"\""));
}

TEST_F(ProductsLoadTest, EmptyCatalogueIsASuccessWithoutProducts)
{
    EXPECT_TRUE(Load("<uninstall_information/>"));

    EXPECT_TRUE(products.products.empty());
    EXPECT_TRUE(products.exec_all);
    EXPECT_EQ(RecordedCalls{CatalogueEvent(0)}, callback.Calls());
}

TEST_F(ProductsLoadTest, DuplicateNamesAreBothListed)
{
    EXPECT_TRUE(Load("<uninstall_information><product name='A' file='1.xml'/><product name='A' file='2.xml'/>"
                     "</uninstall_information>"));
    EXPECT_EQ(L"A;A;", Names());
    EXPECT_NE(products.products[0].file, products.products[1].file);
}

TEST_F(ProductsLoadTest, OtherNodesBetweenProductsAreSkippedWithoutAWord)
{
    EXPECT_TRUE(Load("<uninstall_information>text<!-- comment --><product name='A' file='a.xml'/><?pi data?>"
                     "<Product name='B' file='b.xml'/><PRODUCT/><![CDATA[<product/>]]>"
                     "<group><product/></group>&amp;</uninstall_information>"));

    EXPECT_EQ(L"A;", Names());
    EXPECT_TRUE(log.HasNoneAt(LogError));
    EXPECT_TRUE(log.HasNoneAt(LogWarning));
}

TEST_F(ProductsLoadTest, KindChoosesTheDescriptorFolder)
{
    const std::string catalogue = "<uninstall_information><product name='A' file='a.xml'/></uninstall_information>";
    EXPECT_TRUE(Load(catalogue, ProductKindOwn));
    EXPECT_TRUE(Load(catalogue, ProductKindOther));
    EXPECT_TRUE(products.products[0].file.ends_with(L"\\intern\\a.xml"));
    EXPECT_TRUE(products.products[1].file.ends_with(L"\\extern\\a.xml"));
}

TEST_F(ProductsLoadTest, SecondLoadAddsToTheFirst)
{
    EXPECT_TRUE(Load("<uninstall_information><exec_all>false</exec_all><product name='A' file='a.xml'/>"
                     "</uninstall_information>"));
    EXPECT_TRUE(Load("<uninstall_information><product name='B' file='b.xml'/></uninstall_information>"));

    EXPECT_EQ(L"A;B;", Names());
    EXPECT_FALSE(products.exec_all) << "a file without exec_all leaves the value as it was";
    EXPECT_EQ((RecordedCalls{CatalogueEvent(0), CatalogueEvent(0)}), callback.Calls());
}

TEST_F(ProductsLoadTest, CallbackMayBeNull)
{
    const std::wstring good = tree.AddFile(L"good.xml", FILE_ATTRIBUTE_NORMAL, "<uninstall_information/>");
    const std::wstring wrong = tree.AddFile(L"wrong.xml", FILE_ATTRIBUTE_NORMAL, "<other/>");
    EXPECT_TRUE(products.Load(good.c_str(), ProductKindOwn, nullptr));
    EXPECT_FALSE(products.Load(wrong.c_str(), ProductKindOwn, nullptr));
    EXPECT_FALSE(products.Load(tree.Path(L"missing.xml").c_str(), ProductKindOwn, nullptr));
}

struct ExecAllRow
{
    const char* name;
    const char* elements;
    bool expected;
};

class ExecAllTest : public ProductsLoadTest, public testing::WithParamInterface<ExecAllRow>
{};

TEST_P(ExecAllTest, OnlyTheExactTextFalseMakesItFalse)
{
    EXPECT_TRUE(Load("<uninstall_information>" + std::string(GetParam().elements) + "</uninstall_information>"));
    EXPECT_EQ(GetParam().expected, products.exec_all);
    EXPECT_EQ(RecordedCalls{CatalogueEvent(0)}, callback.Calls());
}

INSTANTIATE_TEST_SUITE_P(
    Texts, ExecAllTest,
    testing::Values(ExecAllRow{"Absent", "", true}, ExecAllRow{"False", "<exec_all>false</exec_all>", false},
                    ExecAllRow{"True", "<exec_all>true</exec_all>", true},
                    ExecAllRow{"OtherCase", "<exec_all>False</exec_all>", true},
                    ExecAllRow{"Empty", "<exec_all/>", true}, ExecAllRow{"Zero", "<exec_all>0</exec_all>", true},
                    ExecAllRow{"Longer", "<exec_all>falsely</exec_all>", true},
                    // MSXML strips the blanks around a text, unless it is told to keep them.
                    ExecAllRow{"BlanksStripped", "<exec_all> false </exec_all>", false},
                    ExecAllRow{"BlanksKept", "<exec_all xml:space='preserve'> false </exec_all>", true},
                    ExecAllRow{"InParts", "<exec_all>fa<b>ls</b><![CDATA[e]]></exec_all>", false},
                    ExecAllRow{"LastWinsTrue", "<exec_all>false</exec_all><exec_all>true</exec_all>", true},
                    ExecAllRow{"LastWinsFalse", "<exec_all>true</exec_all><exec_all>false</exec_all>", false},
                    ExecAllRow{"ElementOfOtherCase", "<Exec_All>false</Exec_All>", true}),
    [](const auto& row) { return row.param.name; });

TEST_F(ProductsLoadTest, ExecAllAfterTheProductsCountsAsWell)
{
    EXPECT_TRUE(Load("<uninstall_information><product name='A' file='a.xml'/><exec_all>false</exec_all>"
                     "</uninstall_information>"));
    EXPECT_FALSE(products.exec_all);
}

TEST_F(ProductsLoadTest, ExecAllOfTheSecondFileOverwritesTheFirst)
{
    EXPECT_TRUE(Load("<uninstall_information><exec_all>false</exec_all></uninstall_information>"));
    EXPECT_TRUE(Load("<uninstall_information><exec_all>yes</exec_all></uninstall_information>"));
    EXPECT_TRUE(products.exec_all);
}

TEST_F(ProductsLoadTest, UnreadableExecAllIsTracedAndTheLoadGoesOn)
{
    // A negative result, and a result that is not negative but gives no text.
    for (const HRESULT answer : {E_FAIL, S_FALSE})
    {
        const test::LogRecorder own;
        const DomFault fault(DomMethod::ElementText, answer);
        products = {};
        EXPECT_TRUE(Load("<uninstall_information><exec_all>false</exec_all><product name='A' file='a.xml'/>"
                         "</uninstall_information>"));
        EXPECT_TRUE(fault.Happened());
        EXPECT_TRUE(products.exec_all);
        EXPECT_EQ(L"A;", Names());
        EXPECT_TRUE(own.Has(LogTrace, loadProducts, L"failed GetNodeValue for \"exec_all\""));
    }
    EXPECT_EQ((RecordedCalls{CatalogueEvent(0), CatalogueEvent(0)}), callback.Calls());
}

// The MSXML object could not be made.

HRESULT WINAPI CreateNothing(REFCLSID, IUnknown*, DWORD, REFIID, void** object)
{
    *object = nullptr;
    return REGDB_E_CLASSNOTREG;
}

TEST_F(ProductsLoadTest, MissingMsxmlIsLoggedAndTheCallbackDoesNotHearOfIt)
{
    const test::ImportPatch patch(nullptr, "CoCreateInstance", CreateNothing);

    EXPECT_FALSE(Load("<uninstall_information/>"));

    EXPECT_TRUE(callback.Calls().empty());
    EXPECT_TRUE(log.Has(LogError, loadProducts, L"CoCreateInstance CLSID_DOMDocument30 failed 0x80040154"));
}

// The file could not be read as XML.

struct UnreadableRow
{
    const char* name;
    std::string content;
};

class UnreadableTest : public ProductsLoadTest, public testing::WithParamInterface<UnreadableRow>
{};

TEST_P(UnreadableTest, IsLoggedAndTheCallbackHearsCode1)
{
    EXPECT_FALSE(Load(GetParam().content));

    EXPECT_EQ(RecordedCalls{CatalogueEvent(1)}, callback.Calls());
    EXPECT_TRUE(log.Has(LogError, loadProducts, L"load \"" + path + L"\" failed 0x1"));
    EXPECT_TRUE(products.products.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Contents, UnreadableTest,
    testing::Values(UnreadableRow{"Empty", ""}, UnreadableRow{"Blank", "  \r\n"}, UnreadableRow{"Text", "products"},
                    UnreadableRow{"OpenElement", "<uninstall_information>"},
                    UnreadableRow{"TwoRoots", "<uninstall_information/><uninstall_information/>"},
                    UnreadableRow{"DuplicateAttribute", "<uninstall_information a='1' a='2'/>"},
                    UnreadableRow{"BareAmpersand", "<uninstall_information>a & b</uninstall_information>"},
                    UnreadableRow{"BadUtf8", "<uninstall_information>\xFF\xFE\xC0</uninstall_information>"},
                    UnreadableRow{"Zeros", std::string(64, '\0')},
                    UnreadableRow{"UnknownEntity", "<uninstall_information>&nothing;</uninstall_information>"}),
    [](const auto& row) { return row.param.name; });

TEST_F(ProductsLoadTest, MissingFileIsLoggedAndTheCallbackHearsCode1)
{
    const std::wstring missing = tree.Path(L"missing.xml");

    EXPECT_FALSE(products.Load(missing.c_str(), ProductKindOwn, &CallbackRecorder::Record));

    EXPECT_EQ(RecordedCalls{CatalogueEvent(1)}, callback.Calls());
    EXPECT_TRUE(log.Has(LogError, loadProducts, L"load \"" + missing + L"\" failed 0x1"));
}

TEST_F(ProductsLoadTest, FolderInPlaceOfTheFileCountsAsUnreadable)
{
    EXPECT_FALSE(products.Load(tree.Root().c_str(), ProductKindOwn, &CallbackRecorder::Record));
    EXPECT_EQ(RecordedCalls{CatalogueEvent(1)}, callback.Calls());
}

TEST_F(ProductsLoadTest, EmptyPathCountsAsUnreadable)
{
    EXPECT_FALSE(products.Load(L"", ProductKindOwn, &CallbackRecorder::Record));
    EXPECT_EQ(RecordedCalls{CatalogueEvent(1)}, callback.Calls());
}

// The file is XML, and at fault.

TEST_F(ProductsLoadTest, WrongRootGivesTwoLinesCode2AndFalse)
{
    EXPECT_FALSE(Load("<products><product name='A' file='a.xml'/></products>"));

    EXPECT_EQ(RecordedCalls{CatalogueEvent(2)}, callback.Calls());
    EXPECT_TRUE(log.Has(LogError, loadProducts, L"failed load \"uninstall_information\" node 0x1"));
    EXPECT_TRUE(log.Has(LogError, loadProducts, L"failed \"" + path + L"\""));
    // What it would go on with is not there, so no further line follows.
    EXPECT_EQ(3u, log.Records().size());
}

TEST_F(ProductsLoadTest, RootOfOtherCaseIsAWrongRoot)
{
    EXPECT_FALSE(Load("<Uninstall_Information/>"));
    EXPECT_EQ(RecordedCalls{CatalogueEvent(2)}, callback.Calls());
}

TEST_F(ProductsLoadTest, BadProductFailsTheFileAndKeepsWhatStandsBeforeIt)
{
    EXPECT_FALSE(Load("<uninstall_information><product name='A' file='a.xml'/><product name='B'/>"
                      "<product name='C' file='c.xml'/></uninstall_information>"));

    EXPECT_EQ(L"A;", Names());
    EXPECT_EQ(RecordedCalls{CatalogueEvent(2)}, callback.Calls());
    EXPECT_TRUE(log.Has(LogError, loadProducts, L"failed load product"));
    EXPECT_TRUE(log.Has(LogError, loadProducts, L"<-failed \"" + path + L"\""));
    EXPECT_EQ(0, log.Count(LogTrace, "CProduct::Load", L"Load product \"C\"")) << "what stands behind is not read";
}

struct BadProductRow
{
    const char* name;
    const char* element;
};

class BadProductTest : public ProductsLoadTest, public testing::WithParamInterface<BadProductRow>
{};

TEST_P(BadProductTest, FailsTheWholeFile)
{
    EXPECT_FALSE(Load("<uninstall_information>" + std::string(GetParam().element) + "</uninstall_information>"));

    EXPECT_TRUE(products.products.empty());
    EXPECT_EQ(RecordedCalls{CatalogueEvent(2)}, callback.Calls());
    EXPECT_TRUE(log.Has(LogError, loadProducts, L"failed load product"));
    EXPECT_TRUE(log.Has(LogError, loadProducts, L"<-failed \"" + path + L"\""));
}

INSTANTIATE_TEST_SUITE_P(
    Elements, BadProductTest,
    testing::Values(BadProductRow{"NoAttributes", "<product/>"}, BadProductRow{"NoName", "<product file='a.xml'/>"},
                    BadProductRow{"NoFile", "<product name='A'/>"},
                    BadProductRow{"NameOfOtherCase", "<product Name='A' file='a.xml'/>"},
                    BadProductRow{"CommentInside", "<product name='A' file='a.xml'><!-- remark --></product>"},
                    BadProductRow{"TextInside", "<product name='A' file='a.xml'>remark</product>"},
                    BadProductRow{"VersionWithoutName", "<product name='A' file='a.xml'><v id='x'/></product>"},
                    BadProductRow{"KeyPathWithoutValue",
                                  "<product name='A' file='a.xml'><v name='1' keypath='HKLM\\X'/></product>"}),
    [](const auto& row) { return row.param.name; });

struct CatalogueFaultRow
{
    const char* name;
    DomMethod method;
    HRESULT answer;
    int call;
    const wchar_t* text;
    const wchar_t* second; // the line that follows, up to the path
};

class DomFaultTest : public ProductsLoadTest, public testing::WithParamInterface<CatalogueFaultRow>
{};

TEST_P(DomFaultTest, IsLoggedAndTheCallbackHearsCode2)
{
    const CatalogueFaultRow& row = GetParam();
    const DomFault fault(row.method, row.answer, row.call);

    EXPECT_FALSE(Load("<uninstall_information><product name='A' file='a.xml'/><product name='B' file='b.xml'/>"
                      "</uninstall_information>"));

    EXPECT_TRUE(fault.Happened());
    EXPECT_EQ(RecordedCalls{CatalogueEvent(2)}, callback.Calls());
    ASSERT_TRUE(log.Has(LogError, loadProducts, row.text));
    const std::vector<test::LogRecord> records = log.Records();
    EXPECT_EQ(row.text, records[records.size() - 2].text);
    EXPECT_EQ(row.second + (L"\"" + path + L"\""), records.back().text);
    EXPECT_EQ(row.call == 2 ? L"A;" : L"", Names()) << "what came before the fault stays";
}

INSTANTIATE_TEST_SUITE_P(
    Steps, DomFaultTest,
    testing::Values(CatalogueFaultRow{"NoDocumentNode", DomMethod::DocumentQueryNode, E_NOINTERFACE, 1,
                                      L"failed load RootElement 0x80004002", L"failed "},
                    CatalogueFaultRow{"NullDocumentNode", DomMethod::DocumentQueryNode, S_OK, 1,
                                      L"failed load RootElement 0x0", L"failed "},
                    CatalogueFaultRow{"NoSelection", DomMethod::DocumentSelect, E_FAIL, 1,
                                      L"failed load \"uninstall_information\" node 0x80004005", L"failed "},
                    CatalogueFaultRow{"NoChildren", DomMethod::ElementChildren, E_FAIL, 1,
                                      L"failed load Root childs nodes 0x80004005", L"failed "},
                    CatalogueFaultRow{"NullChildren", DomMethod::ElementChildren, S_FALSE, 1,
                                      L"failed load Root childs nodes 0x1", L"failed "},
                    CatalogueFaultRow{"NoLength", DomMethod::ListLength, E_FAIL, 1,
                                      L"failed load Root childs count 0x80004005", L"failed "},
                    CatalogueFaultRow{"NoItem", DomMethod::ListNext, E_FAIL, 2,
                                      L"failed load Root child 1, err = 0x80004005", L"<-failed "},
                    CatalogueFaultRow{"NullItem", DomMethod::ListNext, S_FALSE, 2,
                                      L"failed load Root child 1, err = 0x1", L"<-failed "},
                    CatalogueFaultRow{"NoNodeName", DomMethod::ElementName, E_OUTOFMEMORY, 2,
                                      L"failed GetNodeName 0x8007000e", L"<-failed "}),
    [](const auto& row) { return row.param.name; });

// The document is let go on every road out.

test::ImportPatch* createPatch = nullptr;
IUnknown* lastDocument = nullptr;

HRESULT WINAPI CreateAndKeep(REFCLSID id, IUnknown* outer, DWORD context, REFIID wanted, void** object)
{
    const HRESULT result = createPatch->Original<decltype(CoCreateInstance)>()(id, outer, context, wanted, object);
    lastDocument = static_cast<IUnknown*>(*object);
    lastDocument->AddRef();
    return result;
}

TEST_F(ProductsLoadTest, DocumentIsReleasedAfterSuccessAndFailure)
{
    test::ImportPatch patch(nullptr, "CoCreateInstance", CreateAndKeep);
    createPatch = &patch;
    for (const char* content : {"<uninstall_information><product name='A' file='a.xml'/></uninstall_information>",
                                "<uninstall_information><product/></uninstall_information>", "<other/>", "<open>"})
    {
        Load(content);
        EXPECT_EQ(0u, lastDocument->Release()) << content;
    }
}

} // namespace
} // namespace prodsweep
