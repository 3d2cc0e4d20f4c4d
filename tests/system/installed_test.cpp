// Which products count as installed, and what is told of their versions.
#include "environment/log.h"
#include "support/descriptor_file.h"
#include "support/log_recorder.h"
#include "support/registry_sandbox.h"
#include "system/catalogue_text.h"
#include "system/library.h"
#include "system/product_array.h"
#include "system/uninstall_entry.h"

#include <gmock/gmock.h>

namespace prodsweep::test {
namespace {

using testing::ElementsAre;

const std::wstring absentId = L"prodsweep-test-none";

struct InstalledTest : testing::Test
{
    Library library;
    ProductArray products;
    UninstallEntry entry;
    LogRecorder log;
};

struct EachInstalledTest : InstalledTest, testing::WithParamInterface<Listing>
{
    bool Call(int flags) { return (library.*GetParam().call)(products.Receive(), flags); }
};
INSTANTIATE_TEST_SUITE_P(All, EachInstalledTest, testing::Values(listings[1], listings[2]),
                         [](const auto& row) { return row.param.name; });

TEST_P(EachInstalledTest, InstalledProductsAreListedInTheOrderOfTheCatalogues)
{
    const std::wstring there = VersionById(entry.Id());
    const std::wstring notThere = VersionById(absentId);
    library.WriteOwn(ProductText(L"C", there) + ProductText(L"no", notThere) + ProductText(L"A", notThere + there));
    library.WriteOther(ProductText(L"no") + ProductText(L"B", there));

    ASSERT_TRUE(Call(PRODSWEEP_LIST_ALL));

    EXPECT_THAT(products.Names(), ElementsAre(L"C", L"A", L"B"));
    EXPECT_EQ(PRODSWEEP_KIND_OWN, products[1].Kind);
    EXPECT_EQ(PRODSWEEP_KIND_OTHER, products[2].Kind);
    EXPECT_EQ(library.Path(L"extern\\B.xml"), Text(products[2].File));
}

TEST_P(EachInstalledTest, WhatIsNotFilledIsZero)
{
    library.WriteOwn(ProductText(L"a", VersionById(entry.Id())));

    ASSERT_TRUE(Call(PRODSWEEP_LIST_OWN));

    ASSERT_EQ(1u, products.Count());
    EXPECT_EQ(0, products[0].Force);
    EXPECT_EQ(0, products[0].Reserved1);
    EXPECT_EQ(0, products[0].Reserved2);
}

TEST_P(EachInstalledTest, NothingInstalledIsSuccessWithAnEmptyArray)
{
    library.WriteOwn(ProductText(L"a", VersionById(absentId)) + ProductText(L"b"));

    ASSERT_TRUE(Call(PRODSWEEP_LIST_OWN));

    ASSERT_NE(nullptr, products.Get());
    EXPECT_EQ(0u, products.Count());
}

TEST_P(EachInstalledTest, OtherRegistryViewCountsForOtherMakersProductsOnly)
{
    const UninstallEntry narrow(KEY_WOW64_32KEY);
    library.WriteOwn(ProductText(L"own", VersionById(narrow.Id())));
    library.WriteOther(ProductText(L"other", VersionById(narrow.Id())));

    ASSERT_TRUE(Call(PRODSWEEP_LIST_ALL));

    EXPECT_THAT(products.Names(), ElementsAre(L"other"));
}

TEST_P(EachInstalledTest, OwnProductIsListedWithTheVersionOfTheOtherViewToo)
{
    const UninstallEntry narrow(KEY_WOW64_32KEY);
    library.WriteOwn(ProductText(L"own", VersionById(entry.Id()) + VersionById(narrow.Id())));

    ASSERT_TRUE(Call(PRODSWEEP_LIST_OWN));

    ASSERT_EQ(1u, products.Count());
    const bool extended = GetParam().call == &Library::GetInstalledProductsEx;
    EXPECT_EQ(2u, CheckedCount(products[0].Guids, extended ? sizeof(GuidEntry) : sizeof(BSTR)));
}

TEST_P(EachInstalledTest, OtherMakersProductFoundByItsDescriptorAloneHasNoGuids)
{
    // The walk of this descriptor ends with a score that suffices, whatever is on the machine.
    library.Write(L"extern\\found.xml", OneVersion("<s op_code='kill_process'/>"));
    library.WriteOther(ProductText(L"found", VersionById(absentId)));

    ASSERT_TRUE(Call(PRODSWEEP_LIST_OTHER));

    EXPECT_THAT(products.Names(), ElementsAre(L"found"));
    EXPECT_EQ(nullptr, products[0].Guids);
}

TEST_P(EachInstalledTest, OwnProductIsNotFoundByItsDescriptor)
{
    library.Write(L"intern\\found.xml", OneVersion("<s op_code='kill_process'/>"));
    library.WriteOwn(ProductText(L"found", VersionById(absentId)));

    ASSERT_TRUE(Call(PRODSWEEP_LIST_OWN));

    EXPECT_EQ(0u, products.Count());
}

TEST_F(InstalledTest, GuidsAreTheLastPartsOfTheKeysOfDetectedVersionsInOrder)
{
    const RegistrySandbox registry;
    registry.AddText(L"UpdateLocation", L"path", L"");
    const UninstallEntry second;
    library.WriteOwn(ProductText(L"a", VersionByKey(registry.Path(), L"path") + VersionById(absentId) +
                                           VersionById(second.Id()) + VersionById(entry.Id())));

    ASSERT_TRUE(library.GetInstalledProducts(products.Receive(), PRODSWEEP_LIST_OWN));

    ASSERT_EQ(1u, products.Count());
    EXPECT_THAT(Texts(products[0].Guids), ElementsAre(L"UpdateLocation", second.Id(), entry.Id()));
    EXPECT_TRUE(registry.CanariesIntact());
}

TEST_F(InstalledTest, OneKeyStandsAsOftenAsVersionsNameIt)
{
    library.WriteOwn(ProductText(L"a", VersionById(entry.Id()) + VersionById(entry.Id())));

    ASSERT_TRUE(library.GetInstalledProducts(products.Receive(), PRODSWEEP_LIST_OWN));

    ASSERT_EQ(1u, products.Count());
    EXPECT_THAT(Texts(products[0].Guids), ElementsAre(entry.Id(), entry.Id()));
}

TEST_F(InstalledTest, ExtendedListingKeepsTheFirstVersionOfAKey)
{
    library.WriteOwn(ProductText(L"a", VersionById(entry.Id(), L"<first>1</first>") +
                                           VersionById(entry.Id(), L"<second>2</second>")));

    ASSERT_TRUE(library.GetInstalledProductsEx(products.Receive(), PRODSWEEP_LIST_OWN));

    ASSERT_EQ(1u, products.Count());
    EXPECT_THAT(Guids(products[0].Guids), ElementsAre(Guid{entry.Id(), {{L"first", {L"1"}}}}));
}

TEST_F(InstalledTest, KeysThatDifferInCaseAreTwo)
{
    std::wstring upper = entry.Id();
    upper[0] = L'P';
    library.WriteOwn(ProductText(L"a", VersionById(entry.Id()) + VersionById(upper)));

    ASSERT_TRUE(library.GetInstalledProductsEx(products.Receive(), PRODSWEEP_LIST_OWN));

    ASSERT_EQ(1u, products.Count());
    EXPECT_THAT(Guids(products[0].Guids), ElementsAre(Guid{entry.Id(), {}}, Guid{upper, {}}));
}

TEST_F(InstalledTest, ChildrenAscendByCodeUnitAndKeepTheirValuesInDocumentOrder)
{
    const std::wstring children = L"<c>3</c><B>x</B><c>1</c><!-- no --><empty/><a>y</a><c>2</c>";
    library.WriteOwn(ProductText(L"a", VersionById(entry.Id(), children)));

    ASSERT_TRUE(library.GetInstalledProductsEx(products.Receive(), PRODSWEEP_LIST_OWN));

    ASSERT_EQ(1u, products.Count());
    const Guid expected{entry.Id(),
                        {{L"#comment", {L" no "}}, {L"B", {L"x"}}, {L"a", {L"y"}}, {L"c", {L"3", L"1", L"2"}}}};
    EXPECT_THAT(Guids(products[0].Guids), ElementsAre(expected));
}

TEST_F(InstalledTest, VersionWithoutChildrenHasAnEmptyArrayOfThem)
{
    library.WriteOwn(ProductText(L"a", VersionById(entry.Id())));

    ASSERT_TRUE(library.GetInstalledProductsEx(products.Receive(), PRODSWEEP_LIST_OWN));

    ASSERT_EQ(1u, products.Count());
    ASSERT_EQ(1u, CheckedCount(products[0].Guids, sizeof(GuidEntry)));
    const auto* guid = static_cast<const GuidEntry*>(products[0].Guids->pvData);
    ASSERT_NE(nullptr, guid->Children);
    EXPECT_EQ(0u, CheckedCount(guid->Children, sizeof(ChildEntry)));
}

TEST_F(InstalledTest, VersionsAreProbedAgainForTheirGuids)
{
    library.WriteOwn(ProductText(L"a", VersionById(absentId) + VersionById(entry.Id())));

    ASSERT_TRUE(library.GetInstalledProducts(products.Receive(), PRODSWEEP_LIST_OWN));

    // The second walk of the filter, then the guids.
    EXPECT_EQ(2, log.Count(LogTrace, "CProductVersion::IsInstalled2", L"try KEY_WOW64_32KEY"));
}

} // namespace
} // namespace prodsweep::test
