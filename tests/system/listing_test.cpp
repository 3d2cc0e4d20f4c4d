// What the listing exports give out when all goes well, and which catalogue they read.
#include "environment/log.h"
#include "support/log_recorder.h"
#include "support/registry_sandbox.h"
#include "system/catalogue_text.h"
#include "system/library.h"
#include "system/product_array.h"

#include <gmock/gmock.h>

namespace prodsweep::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct ListingTest : testing::Test
{
    Library library;
    ProductArray products;
    LogRecorder log;
};

struct EachListingTest : ListingTest, testing::WithParamInterface<Listing>
{
    bool Call(int flags) { return (library.*GetParam().call)(products.Receive(), flags); }
};
INSTANTIATE_TEST_SUITE_P(All, EachListingTest, testing::ValuesIn(listings),
                         [](const auto& row) { return row.param.name; });

int ReadCatalogues(const LogRecorder& log)
{
    int count = 0;
    for (const LogRecord& record : log.Records())
        count += record.function == "CProducts::Load" && record.text.starts_with(L"->file") ? 1 : 0;
    return count;
}

TEST_P(EachListingTest, WithoutAFlagTheArrayIsValidAndEmptyAndNoFileIsRead)
{
    for (const int flags : {0, 4, ~PRODSWEEP_LIST_ALL})
    {
        ASSERT_TRUE(Call(flags)) << flags;

        ASSERT_NE(nullptr, products.Get());
        EXPECT_EQ(0u, products.Count());
        EXPECT_EQ(0, ReadCatalogues(log));
        EXPECT_TRUE(log.HasNoneAt(LogError));
    }
}

TEST_P(EachListingTest, OtherBitsChangeNothing)
{
    library.WriteOwn(L"");
    library.WriteOther(L"");

    EXPECT_TRUE(Call(~0));

    EXPECT_EQ(2, ReadCatalogues(log));
}

TEST_P(EachListingTest, EmptyCataloguesGiveAnEmptyArray)
{
    library.WriteOwn(L"");
    library.WriteOther(L"");

    ASSERT_TRUE(Call(PRODSWEEP_LIST_ALL));

    ASSERT_NE(nullptr, products.Get());
    EXPECT_EQ(0u, products.Count());
}

TEST_P(EachListingTest, OneFlagReadsOneCatalogue)
{
    // The other catalogue would fail the call.
    library.WriteOwn(L"");
    EXPECT_TRUE(Call(PRODSWEEP_LIST_OWN));
    EXPECT_TRUE(log.Has(LogTrace, "CProducts::Load", L"->file : \"" + library.Path(L"products.xml") + L"\""));
    EXPECT_EQ(1, ReadCatalogues(log));
}

TEST_P(EachListingTest, TheOtherFlagReadsTheOtherCatalogue)
{
    library.WriteOther(L"");
    EXPECT_TRUE(Call(PRODSWEEP_LIST_OTHER));
    EXPECT_TRUE(log.Has(LogTrace, "CProducts::Load", L"->file : \"" + library.Path(L"detection.xml") + L"\""));
    EXPECT_EQ(1, ReadCatalogues(log));
}

TEST_P(EachListingTest, EachCallReadsTheCataloguesAgain)
{
    library.WriteOwn(L"");
    ASSERT_TRUE(Call(PRODSWEEP_LIST_OWN));
    library.Write(L"products.xml", "<uninstall_information>");

    EXPECT_FALSE(Call(PRODSWEEP_LIST_OWN));
}

TEST_P(EachListingTest, EntryIsTracedAndSuccessIsNot)
{
    ASSERT_TRUE(Call(0));

    EXPECT_TRUE(log.Has(LogTrace, GetParam().name, L"->"));
    EXPECT_TRUE(log.Has(LogTrace, GetParam().logName, L"->"));
    EXPECT_EQ(GetParam().name == std::string("GetProducts") ? 1u : 2u, log.Records().size());
}

TEST_F(ListingTest, ProductsComeOwnKindFirstThenInTheOrderOfTheFiles)
{
    library.WriteOther(ProductText(L"A") + ProductText(L"Z"));
    library.WriteOwn(ProductText(L"Y") + ProductText(L"B") + ProductText(L"Y"));

    ASSERT_TRUE(library.GetProducts(products.Receive(), PRODSWEEP_LIST_ALL));

    EXPECT_THAT(products.Names(), ElementsAre(L"Y", L"B", L"Y", L"A", L"Z"));
    EXPECT_EQ(PRODSWEEP_KIND_OWN, products[2].Kind);
    EXPECT_EQ(PRODSWEEP_KIND_OTHER, products[3].Kind);
}

TEST_F(ListingTest, EntryNamesItsDescriptorByFullPath)
{
    library.WriteOwn(L"<product name='a' file='sub\\a.xml'/>");
    library.WriteOther(L"<product name='b' file='b.xml'/>");

    ASSERT_TRUE(library.GetProducts(products.Receive(), PRODSWEEP_LIST_ALL));

    ASSERT_EQ(2u, products.Count());
    EXPECT_EQ(library.Path(L"intern\\sub\\a.xml"), Text(products[0].File));
    EXPECT_EQ(library.Path(L"extern\\b.xml"), Text(products[1].File));
}

TEST_F(ListingTest, WhatIsNotFilledIsZero)
{
    library.WriteOwn(ProductText(L"a") + ProductText(L"b"));

    ASSERT_TRUE(library.GetProducts(products.Receive(), PRODSWEEP_LIST_OWN));

    ASSERT_EQ(2u, products.Count());
    for (ULONG i = 0; i < 2; ++i)
    {
        EXPECT_EQ(nullptr, products[i].Guids);
        EXPECT_EQ(0, products[i].Force);
        EXPECT_EQ(0, products[i].Reserved1);
        EXPECT_EQ(0, products[i].Reserved2);
    }
}

TEST_F(ListingTest, GetProductsAsksNothingOfTheMachine)
{
    library.WriteOwn(ProductText(L"a", VersionById(L"prodsweep-test-none")));

    ASSERT_TRUE(library.GetProducts(products.Receive(), PRODSWEEP_LIST_OWN));

    EXPECT_EQ(1u, products.Count());
    for (const LogRecord& record : log.Records())
        EXPECT_EQ(std::string::npos, record.function.find("IsInstalled")) << record.function;
}

struct NameRow
{
    const char* label;
    std::wstring xml;
    std::wstring name;
};
struct NameTest : ListingTest, testing::WithParamInterface<NameRow>
{};
INSTANTIATE_TEST_SUITE_P(All, NameTest,
                         testing::Values(NameRow{"Empty", L"", L""},
                                         NameRow{"Quotes", L"&quot;a&quot; 'b'", L"\"a\" 'b'"},
                                         NameRow{"Percent", L"%s %n 100%", L"%s %n 100%"},
                                         NameRow{"BeyondTheBasicPlane", L"\U0001F9F9 \u00fc", L"\U0001F9F9 \u00fc"},
                                         NameRow{"Blanks", L"  a  ", L"  a  "},
                                         NameRow{"Long", std::wstring(32000, L'n'), std::wstring(32000, L'n')}),
                         [](const auto& row) { return row.param.label; });

TEST_P(NameTest, CrossesTheBoundaryAsItIs)
{
    library.WriteOwn(L"<product name=\"" + GetParam().xml + L"\" file=\"f.xml\"/>");

    ASSERT_TRUE(library.GetProducts(products.Receive(), PRODSWEEP_LIST_OWN));

    EXPECT_THAT(products.Names(), ElementsAre(GetParam().name));
}

struct ManyProductsTest : ListingTest
{
    static constexpr int many = 100'000;

    // Each is numbered; versions(i) are those of one.
    template <class Versions>
    void WriteMany(Versions versions)
    {
        std::wstring elements;
        for (int i = 0; i < many; ++i)
            elements += ProductText(std::to_wstring(i), versions(i));
        library.WriteOwn(elements);
        log.Pause();
    }
};

TEST_F(ManyProductsTest, HundredThousandKeepTheirOrder)
{
    WriteMany([](int) { return std::wstring(); });

    ASSERT_TRUE(library.GetProducts(products.Receive(), PRODSWEEP_LIST_OWN));

    const std::vector<std::wstring> names = products.Names();
    ASSERT_EQ(many, static_cast<int>(names.size()));
    for (int i = 0; i < many; ++i)
        ASSERT_EQ(std::to_wstring(i), names[static_cast<std::size_t>(i)]);
}

TEST_F(ManyProductsTest, FewInstalledAmongHundredThousandAreFound)
{
    const RegistrySandbox registry;
    registry.AddText(L"UpdateLocation", L"path", L"");
    const std::wstring there = VersionByKey(registry.Path(), L"path");
    const std::wstring absent = VersionByKey(registry.Path(L"none"), L"path");
    WriteMany([&](int i) { return i % 25'000 == 0 ? there : i % 100 == 0 ? absent : std::wstring(); });

    ASSERT_TRUE(library.GetInstalledProductsEx(products.Receive(), PRODSWEEP_LIST_OWN));

    EXPECT_THAT(products.Names(), ElementsAre(L"0", L"25000", L"50000", L"75000"));
}

TEST_F(ListingTest, ProgressIsZeroBeforeAnyRemovalAndCostsNeitherLogNorCom)
{
    EXPECT_EQ(0, library.GetProgressPercent());
    EXPECT_THAT(log.Records(), IsEmpty());
}

} // namespace
} // namespace prodsweep::test
