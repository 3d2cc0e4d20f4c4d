#include "catalogue/product.h"

#include "environment/log.h"
#include "environment/path.h"
#include "interpreter/product_installed.h"
#include "support/com_scope.h"
#include "support/descriptor_file.h"
#include "support/dom.h"
#include "support/dom_fault.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/registry_sandbox.h"
#include "support/system_answers.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace prodsweep {
namespace {

using test::DomFault;
using test::DomMethod;
using test::DomText;

constexpr const char* loadProduct = "CProduct::Load";

class ProductTest : public testing::Test
{
protected:
    bool Load(const std::wstring& element, int kind = ProductKindOwn)
    {
        const DomText text(element);
        return product.Load(text.Root(), kind);
    }

    static std::wstring Folder()
    {
        std::wstring folder;
        EXPECT_TRUE(CPath::GetCurrentPath(folder));
        return folder;
    }

    const test::ComScope com;
    const test::LogRecorder log;
    CProduct product;
};

TEST_F(ProductTest, NameFileAndVersionsAreRead)
{
    EXPECT_TRUE(Load(L"<product name='A' file='a.xml'><v name='2' id='x'/><w name='1' id='y'/></product>"));

    EXPECT_EQ(L"A", product.name);
    EXPECT_EQ(Folder() + L"intern\\a.xml", product.file);
    ASSERT_EQ(2u, product.versions.size());
    EXPECT_EQ(L"2", product.versions[0].name);
    EXPECT_EQ(L"1", product.versions[1].name) << "the element's name is not looked at";
    EXPECT_TRUE(log.HasNoneAt(LogError));
}

TEST_F(ProductTest, LoadIsTraced)
{
    EXPECT_TRUE(Load(L"<product name='A' file='a.xml'/>"));

    const std::vector<test::LogRecord> records = log.Records();
    ASSERT_EQ(4u, records.size());
    EXPECT_EQ(L"->", records[0].text);
    EXPECT_EQ(L"Load product \"A\"", records[1].text);
    EXPECT_EQ(L"file : \"a.xml\"", records[2].text);
    EXPECT_EQ(L"<- success product \"A\"", records[3].text);
    for (const test::LogRecord& record : records)
    {
        EXPECT_EQ(loadProduct, record.function);
        EXPECT_EQ(LogTrace, record.level);
    }
}

TEST_F(ProductTest, ProductWithoutVersionsLoads)
{
    EXPECT_TRUE(Load(L"<product name='A' file='a.xml'></product>"));
    EXPECT_TRUE(product.versions.empty());
}

TEST_F(ProductTest, BlanksBetweenVersionsAreNoVersions)
{
    EXPECT_TRUE(Load(L"<product name='A' file='a.xml'>\r\n\t<v name='1' id='x'/>\r\n</product>"));
    EXPECT_EQ(1u, product.versions.size());
}

TEST_F(ProductTest, VersionWithoutAKeyIsKept)
{
    EXPECT_TRUE(Load(L"<product name='A' file='a.xml'><v name='1'/></product>"));
    ASSERT_EQ(1u, product.versions.size());
    EXPECT_EQ(L"", product.versions[0].keyPath);
}

struct ProductFileRow
{
    const char* name;
    int kind;
    const wchar_t* file;
    const wchar_t* expected; // below the folder
};

class ProductFileTest : public ProductTest, public testing::WithParamInterface<ProductFileRow>
{};

TEST_P(ProductFileTest, IsAWholePathBelowTheFolderOfItsKind)
{
    EXPECT_TRUE(Load(L"<product name='A' file='" + std::wstring(GetParam().file) + L"'/>", GetParam().kind));
    EXPECT_EQ(Folder() + GetParam().expected, product.file);
}

INSTANTIATE_TEST_SUITE_P(Kinds, ProductFileTest,
                         testing::Values(ProductFileRow{"Own", 1, L"a.xml", L"intern\\a.xml"},
                                         ProductFileRow{"Other", 2, L"a.xml", L"extern\\a.xml"},
                                         ProductFileRow{"Zero", 0, L"a.xml", L"extern\\a.xml"},
                                         ProductFileRow{"Three", 3, L"a.xml", L"extern\\a.xml"},
                                         ProductFileRow{"Negative", -1, L"a.xml", L"extern\\a.xml"},
                                         ProductFileRow{"Subfolder", 1, L"s\\t/a.xml", L"intern\\s\\t/a.xml"},
                                         ProductFileRow{"LeadingSeparator", 1, L"\\a.xml", L"intern\\\\a.xml"},
                                         ProductFileRow{"Upwards", 1, L"..\\a.xml", L"intern\\..\\a.xml"},
                                         ProductFileRow{"Empty", 1, L"", L"intern\\"}),
                         [](const auto& row) { return row.param.name; });

// Failures.

TEST_F(ProductTest, UnknownFolderFailsWithoutAWordOfItsOwn)
{
    const test::ImportPatch patch(nullptr, "GetModuleFileNameW", test::FailToNameTheModule);

    EXPECT_FALSE(Load(L"<product name='A' file='a.xml'/>"));

    const std::vector<test::LogRecord> records = log.Records();
    ASSERT_EQ(2u, records.size());
    EXPECT_EQ(L"->", records[0].text);
    EXPECT_EQ("CPath::GetCurrentPath", records[1].function);
}

TEST_F(ProductTest, MissingNameFails)
{
    EXPECT_FALSE(Load(L"<product file='a.xml'/>"));
    EXPECT_TRUE(log.Has(LogError, loadProduct, L"failed load product attribute \"name\""));
}

TEST_F(ProductTest, MissingFileFails)
{
    EXPECT_FALSE(Load(L"<product name='A'/>"));
    EXPECT_TRUE(log.Has(LogError, loadProduct, L"failed load product attribute \"file\""));
}

TEST_F(ProductTest, VersionAtFaultFailsTheProduct)
{
    EXPECT_FALSE(Load(L"<product name='A' file='a.xml'><v name='1' id='x'/><v id='y'/><v name='3' id='z'/></product>"));

    EXPECT_EQ(1u, product.versions.size());
    EXPECT_TRUE(log.Has(LogError, loadProduct, L"failed load product version for product \"A\""));
    EXPECT_EQ(L"<- failed product \"A\"", log.Records().back().text);
    EXPECT_EQ(LogError, log.Records().back().level);
}

TEST_F(ProductTest, CommentCountsAsAVersionWithoutAName)
{
    EXPECT_FALSE(Load(L"<product name='A' file='a.xml'><!-- remark --></product>"));
    EXPECT_TRUE(log.Has(LogError, "CXMLHelper::GetNodeAttribute", L"failed get attributes 0x1"));
    EXPECT_TRUE(log.Has(LogError, "CProductVersion::Load", L"failed get attribute \"name\""));
    EXPECT_TRUE(log.Has(LogError, loadProduct, L"failed load product version for product \"A\""));
}

TEST_F(ProductTest, TextCountsAsAVersionWithoutAName)
{
    EXPECT_FALSE(Load(L"<product name='A' file='a.xml'>remark</product>"));
    EXPECT_TRUE(log.Has(LogError, loadProduct, L"failed load product version for product \"A\""));
}

struct ProductFaultRow
{
    const char* name;
    DomMethod method;
    HRESULT answer;
    int call;
    const wchar_t* text;
    bool closed; // by the line that names the product
};

class ProductFaultTest : public ProductTest, public testing::WithParamInterface<ProductFaultRow>
{};

TEST_P(ProductFaultTest, IsLoggedAndFails)
{
    const ProductFaultRow& row = GetParam();
    const DomText text(L"<product name='A' file='a.xml'><v name='1' id='x'/><v name='2' id='y'/></product>");
    const DomFault fault(row.method, row.answer, row.call);

    EXPECT_FALSE(product.Load(text.Root(), ProductKindOwn));

    EXPECT_TRUE(fault.Happened());
    EXPECT_TRUE(log.Has(LogError, loadProduct, row.text));
    EXPECT_EQ(row.closed, log.Count(LogError, loadProduct, L"<- failed product \"A\"") == 1);
}

INSTANTIATE_TEST_SUITE_P(
    Steps, ProductFaultTest,
    testing::Values(
        ProductFaultRow{"NoChildren", DomMethod::ElementChildren, E_FAIL, 1, L"failed load childs nodes 0x80004005",
                        false},
        ProductFaultRow{"NullChildren", DomMethod::ElementChildren, S_FALSE, 1, L"failed load childs nodes 0x1", false},
        ProductFaultRow{"NoLength", DomMethod::ListLength, E_FAIL, 1, L"failed load childs count 0x80004005", false},
        ProductFaultRow{"NoItem", DomMethod::ListItem, E_FAIL, 2, L"failed load child 1, err = 0x80004005", true},
        ProductFaultRow{"NullItem", DomMethod::ListItem, S_FALSE, 1, L"failed load child 0, err = 0x1", true},
        ProductFaultRow{"NoAttributes", DomMethod::ElementAttributes, E_FAIL, 1,
                        L"failed load product attribute \"name\"", false},
        ProductFaultRow{"NoFileAttribute", DomMethod::MapNamedItem, E_FAIL, 2,
                        L"failed load product attribute \"file\"", false}),
    [](const auto& row) { return row.param.name; });

// A product is a plain value.

TEST_F(ProductTest, CopyStandsAlone)
{
    EXPECT_TRUE(Load(L"<product name='A' file='a.xml'><v name='1' id='x'><c>t</c></v></product>"));

    CProduct copy = product;
    copy.name += L"!";
    copy.versions[0].ChildValues[L"c"].emplace_back(L"more");
    copy.versions.push_back({});

    EXPECT_EQ(L"A", product.name);
    ASSERT_EQ(1u, product.versions.size());
    EXPECT_EQ(1u, product.versions[0].ChildValues[L"c"].size());
}

// Is it installed?

class ProductInstalledTest : public ProductTest
{
protected:
    ProductInstalledTest()
    {
        own.AddKey(L"here");
        other.AddKey(L"here");
        product.name = L"A";
        product.file = L"C:\\prodsweep-tests\\missing.xml";
    }

    void AddVersion(const std::wstring& keyPath)
    {
        CProductVersion version;
        version.keyPath = keyPath;
        product.versions.push_back(version);
    }

    const test::RegistrySandbox own{HKEY_LOCAL_MACHINE, KEY_WOW64_64KEY};
    const test::RegistrySandbox other{HKEY_LOCAL_MACHINE, KEY_WOW64_32KEY};
};

struct InstalledRow
{
    const char* name;
    int kind;
    bool inOwnView;
    bool inOtherView;
    bool installed;
};

class InstalledTableTest : public ProductInstalledTest, public testing::WithParamInterface<InstalledRow>
{};

TEST_P(InstalledTableTest, GoesByTheRuleOfItsKind)
{
    const InstalledRow& row = GetParam();
    AddVersion(own.Path(L"missing"));
    if (row.inOwnView)
        AddVersion(own.Path(L"here"));
    if (row.inOtherView)
        AddVersion(other.Path(L"here"));

    EXPECT_EQ(row.installed, product.IsInstalled(row.kind));

    EXPECT_TRUE(log.Has(LogTrace, "CProduct::IsInstalled",
                        row.installed ? L"\"A\" is installed : true" : L"\"A\" is installed : false"));
    EXPECT_EQ(1, log.Count(LogTrace, "CProductVersion::IsInstalled2",
                           L"failed RegOpenKeyEx \"" + own.Path(L"missing") + L"\" error 0x2"))
        << "the second walk is made for every kind";
}

INSTANTIATE_TEST_SUITE_P(Kinds, InstalledTableTest,
                         testing::Values(InstalledRow{"OwnInOwnView", 1, true, false, true},
                                         InstalledRow{"OwnInOtherView", 1, false, true, false},
                                         InstalledRow{"OtherInOwnView", 2, true, false, true},
                                         InstalledRow{"OtherInOtherView", 2, false, true, true},
                                         InstalledRow{"NoKind", 0, true, true, false},
                                         InstalledRow{"UnknownKind", 3, true, true, false}),
                         [](const auto& row) { return row.param.name; });

// The descriptor's say.

constexpr const char* present = "<s op_code='kill_process'/>"; // scores without a look at the machine
constexpr const char* absent = "<s op_code='kill_process' minimum_score='1'/>";

struct DescriptorRow
{
    const char* name;
    int kind;
    const char* sections;
    bool marked; // by a registry key in the process's own view
    bool installed;
    int walks; // of the descriptor
};

class DescriptorTest : public ProductInstalledTest, public testing::WithParamInterface<DescriptorRow>
{};

TEST_P(DescriptorTest, IsAskedForOtherMakersProductsOnly)
{
    const DescriptorRow& row = GetParam();
    const test::DescriptorFile descriptor(test::OneVersion(row.sections));
    product.file = descriptor.Path();
    AddVersion(own.Path(row.marked ? L"here" : L"missing"));

    EXPECT_EQ(row.installed, product.IsInstalled(row.kind));

    EXPECT_EQ(row.walks, log.Count(LogTrace, "CProductInstalled::Process", L"->\"" + product.file + L"\""));
}

INSTANTIATE_TEST_SUITE_P(Kinds, DescriptorTest,
                         testing::Values(DescriptorRow{"OtherScores", 2, present, false, true, 1},
                                         DescriptorRow{"OtherScoresNot", 2, absent, false, false, 1},
                                         DescriptorRow{"OtherMarked", 2, absent, true, true, 1},
                                         DescriptorRow{"OtherMarkedAndScores", 2, present, true, true, 1},
                                         DescriptorRow{"OwnScores", 1, present, false, false, 0},
                                         DescriptorRow{"OwnMarked", 1, absent, true, true, 0},
                                         DescriptorRow{"NoKind", 0, present, true, false, 0},
                                         DescriptorRow{"UnknownKind", 3, present, true, false, 0}),
                         [](const auto& row) { return row.param.name; });

TEST_F(ProductInstalledTest, DescriptorAloneFindsAProductWithoutVersions)
{
    const test::DescriptorFile descriptor(test::OneVersion(present));
    product.file = descriptor.Path();
    EXPECT_TRUE(product.IsInstalled(ProductKindOther));
}

TEST_F(ProductInstalledTest, PassOfTheCallersIsAskedInstead)
{
    const test::DescriptorFile descriptor(test::OneVersion(present));
    CProductInstalled pass(descriptor.Path());
    EXPECT_TRUE(product.IsInstalled(ProductKindOther, pass)) << "the product's own descriptor is missing";
    EXPECT_FALSE(product.IsInstalled(ProductKindOwn, pass));
}

TEST_F(ProductInstalledTest, MissingDescriptorLeavesItToTheMarks)
{
    AddVersion(own.Path(L"here"));
    EXPECT_TRUE(product.IsInstalled(ProductKindOther));
    EXPECT_TRUE(log.Has(LogError, "CProductInstalled::Process", L"load \"" + product.file + L"\" failed 0x1"));
}

TEST_F(ProductInstalledTest, DescriptorIsWalkedAfterBothWalksOfTheMarks)
{
    AddVersion(own.Path(L"missing"));
    EXPECT_FALSE(product.IsInstalled(ProductKindOther));

    const std::vector<test::LogRecord> records = log.Records();
    const auto line = [&](const char* name) {
        return std::find_if(records.begin(), records.end(),
                            [&](const auto& record) { return record.function == name; });
    };
    EXPECT_LT(line("CProductVersion::IsInstalled"), line("CProductVersion::IsInstalled2"));
    EXPECT_LT(line("CProductVersion::IsInstalled2"), line("CProductInstalled::Process"));
    EXPECT_LT(line("CProductInstalled::Process"), line("CProduct::IsInstalled"));
}

TEST_F(ProductInstalledTest, NoVersionFoundMeansNotInstalled)
{
    AddVersion(own.Path(L"missing"));
    for (const int kind : {1, 2, 0, 3})
        EXPECT_FALSE(product.IsInstalled(kind));
}

TEST_F(ProductInstalledTest, NoVersionAtAllMeansNotInstalled)
{
    EXPECT_FALSE(product.IsInstalled(ProductKindOwn));
    EXPECT_FALSE(product.IsInstalled(ProductKindOther));
}

TEST_F(ProductInstalledTest, WalksStopAtTheFirstVersionFound)
{
    AddVersion(own.Path(L"here"));
    AddVersion(own.Path(L"missing"));
    EXPECT_TRUE(product.IsInstalled(ProductKindOwn));
    EXPECT_EQ(1u, log.Records().size()) << "the missing one was not looked at";
}

TEST_F(ProductInstalledTest, VersionWithoutAKeyIsLoggedByBothWalks)
{
    AddVersion(L"");
    EXPECT_FALSE(product.IsInstalled(ProductKindOwn));
    EXPECT_TRUE(log.Has(LogError, "CProductVersion::IsInstalled", L"failed split key \"\""));
    EXPECT_TRUE(log.Has(LogError, "CProductVersion::IsInstalled2", L"failed split key \"\""));
}

} // namespace
} // namespace prodsweep
