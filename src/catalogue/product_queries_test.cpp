#include "catalogue/products.h"

#include "environment/log.h"
#include "support/com_scope.h"
#include "support/log_recorder.h"
#include "support/registry_sandbox.h"

#include <gtest/gtest.h>

namespace prodsweep {
namespace {

class ProductQueriesTest : public testing::Test
{
protected:
    // A product whose one version has this key path.
    static CProduct Product(const std::wstring& name, const std::wstring& file, const std::wstring& keyPath = L"")
    {
        CProduct product;
        product.name = name;
        product.file = file;
        product.versions.resize(1);
        product.versions[0].keyPath = keyPath;
        return product;
    }

    static std::wstring Names(const ProductList& list)
    {
        std::wstring names;
        for (const CProduct& product : list)
            names += product.name + L";";
        return names;
    }

    const test::ComScope com;
    const test::LogRecorder log;
    CProducts products;
};

class InstalledProductsTest : public ProductQueriesTest
{
protected:
    InstalledProductsTest()
    {
        own.AddKey(L"here");
        other.AddKey(L"here");
        products.products = {Product(L"C", L"", own.Path(L"here")), Product(L"B", L"", own.Path(L"missing")),
                             Product(L"A", L"", own.Path(L"here")), Product(L"D", L"", other.Path(L"here"))};
    }

    const test::RegistrySandbox own{HKEY_LOCAL_MACHINE, KEY_WOW64_64KEY};
    const test::RegistrySandbox other{HKEY_LOCAL_MACHINE, KEY_WOW64_32KEY};
};

TEST_F(InstalledProductsTest, InstalledOnesAreGivenInCatalogueOrder)
{
    ProductList installed;
    EXPECT_TRUE(products.GetInstalledProducts(installed, ProductKindOwn));
    EXPECT_EQ(L"C;A;", Names(installed));
    EXPECT_EQ(L"C;B;A;D;", Names(products.products)) << "the catalogue stays as it is";
}

TEST_F(InstalledProductsTest, KindDecidesWhatCounts)
{
    ProductList installed;
    EXPECT_TRUE(products.GetInstalledProducts(installed, ProductKindOther));
    EXPECT_EQ(L"C;A;D;", Names(installed));
    installed.clear();
    EXPECT_TRUE(products.GetInstalledProducts(installed, 3));
    EXPECT_EQ(L"", Names(installed));
}

TEST_F(InstalledProductsTest, ListIsAppendedTo)
{
    ProductList installed = {Product(L"X", L"")};
    EXPECT_TRUE(products.GetInstalledProducts(installed, ProductKindOwn));
    EXPECT_EQ(L"X;C;A;", Names(installed));
}

TEST_F(ProductQueriesTest, EmptyCatalogueHasNothingInstalled)
{
    ProductList installed;
    EXPECT_TRUE(products.GetInstalledProducts(installed, ProductKindOwn));
    EXPECT_TRUE(installed.empty());
    EXPECT_TRUE(log.Records().empty());
}

TEST_F(ProductQueriesTest, InfoIsThatOfTheFirstProductOfTheName)
{
    products.products = {Product(L"A", L"1.xml"), Product(L"B", L"2.xml", L"HKLM\\B"), Product(L"B", L"3.xml")};
    CProduct info;
    EXPECT_TRUE(products.GetProductInfo(L"B", info));
    EXPECT_EQ(L"B", info.name);
    EXPECT_EQ(L"2.xml", info.file);
    ASSERT_EQ(1u, info.versions.size());
    EXPECT_EQ(L"HKLM\\B", info.versions[0].keyPath);
}

TEST_F(ProductQueriesTest, InfoReplacesWhatTheProductHeld)
{
    products.products = {Product(L"A", L"1.xml")};
    CProduct info = Product(L"B", L"2.xml");
    info.versions.resize(3);
    EXPECT_TRUE(products.GetProductInfo(L"A", info));
    EXPECT_EQ(L"1.xml", info.file);
    EXPECT_EQ(1u, info.versions.size());
}

TEST_F(ProductQueriesTest, UnknownNameLeavesTheInfoAlone)
{
    products.products = {Product(L"A", L"1.xml")};
    CProduct info = Product(L"B", L"2.xml");
    EXPECT_FALSE(products.GetProductInfo(L"C", info));
    EXPECT_EQ(L"B", info.name);
}

struct SoughtNameRow
{
    const char* name;
    std::wstring text;
    bool found;
};

class NameTest : public ProductQueriesTest, public testing::WithParamInterface<SoughtNameRow>
{};

TEST_P(NameTest, IsComparedByLengthAndCodeUnits)
{
    products.products = {Product(L"My Product", L"1.xml"), Product(L"", L"2.xml"),
                         Product(L"\x00DC\xD83E\xDDF9", L"3.xml")};
    CProduct info;
    EXPECT_EQ(GetParam().found, products.GetProductInfo(GetParam().text, info));
    EXPECT_EQ(GetParam().found, CProducts::IsProductInList(products.products, GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(
    Names, NameTest,
    testing::Values(SoughtNameRow{"Same", L"My Product", true}, SoughtNameRow{"OtherCase", L"my product", false},
                    SoughtNameRow{"Shorter", L"My Produc", false}, SoughtNameRow{"Longer", L"My Product ", false},
                    SoughtNameRow{"ZeroBehind", std::wstring(L"My Product\0", 11), false},
                    SoughtNameRow{"Empty", L"", true}, SoughtNameRow{"NonBasicPlane", L"\x00DC\xD83E\xDDF9", true},
                    SoughtNameRow{"HalfOfAPair", L"\x00DC\xD83E", false},
                    SoughtNameRow{"Decomposed", L"U\x0308\xD83E\xDDF9", false}),
    [](const auto& row) { return row.param.name; });

TEST_F(ProductQueriesTest, NothingIsInAnEmptyList)
{
    EXPECT_FALSE(CProducts::IsProductInList({}, L"A"));
    EXPECT_FALSE(CProducts::IsProductInList({}, L""));
}

} // namespace
} // namespace prodsweep
