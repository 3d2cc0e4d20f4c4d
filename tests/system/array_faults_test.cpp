// Array steps that fail: what is undone, what is logged, and what the caller gets. Each array that was made
// is gone in the end, freed by the library or by the header's helper.
#include "environment/log.h"
#include "support/log_recorder.h"
#include "system/catalogue_text.h"
#include "system/library.h"
#include "system/ole_accounts.h"
#include "system/product_array.h"
#include "system/uninstall_entry.h"

#include <gmock/gmock.h>

namespace prodsweep::test {
namespace {

using testing::ElementsAre;

// One product with one version, which has one child with one value: so the extended listing makes one
// array of each sort, in this order.
enum Array
{
    ProductsArray = 1,
    GuidsArray = 2,
    ChildrenArray = 3,
    ValuesArray = 4
};

struct ArrayFaultTest : testing::Test
{
    ArrayFaultTest()
    {
        library.WriteOwn(ProductText(L"a", VersionById(entry.Id(), L"<child>value</child>")));
        log.Clear();
    }
    ~ArrayFaultTest() override
    {
        ProdsweepFreeProducts(products.Release());
        EXPECT_EQ(0u, accounts.LiveArrays());
        EXPECT_EQ(0u, accounts.LiveTexts());
    }
    bool Call(const Listing& listing) { return (library.*listing.call)(products.Receive(), PRODSWEEP_LIST_OWN); }
    // The entry's guids, as the extended listing gives them.
    [[nodiscard]] const GuidEntry& OnlyGuid() const
    {
        return static_cast<const GuidEntry*>(products[0].Guids->pvData)[0];
    }

    UninstallEntry entry;
    Library library;
    OleAccounts accounts{library.Module()};
    ProductArray products;
    LogRecorder log;
};

struct ProductsStep
{
    const char* label;
    OleAccounts::Step step;
    std::wstring text;
    std::vector<std::string> calls;
};
const ProductsStep productsSteps[] = {
    {"AllocDescriptor",
     OleAccounts::AllocDescriptor,
     L"SafeArrayAllocDescriptor failed 0x8007000e",
     {"AllocDescriptor!"}},
    {"AllocData",
     OleAccounts::AllocData,
     L"SafeArrayAllocData failed 0x8007000e",
     {"AllocDescriptor", "AllocData!", "DestroyDescriptor"}},
    {"AccessData",
     OleAccounts::AccessData,
     L"SafeArrayAccessData failed 0x8000ffff",
     {"AllocDescriptor", "AllocData", "AccessData!", "DestroyData", "DestroyDescriptor"}},
};

struct ProductsFaultTest : ArrayFaultTest, testing::WithParamInterface<std::tuple<Listing, ProductsStep>>
{};
INSTANTIATE_TEST_SUITE_P(All, ProductsFaultTest,
                         testing::Combine(testing::ValuesIn(listings), testing::ValuesIn(productsSteps)),
                         [](const auto& row) {
                             return std::string(std::get<0>(row.param).name) + std::get<1>(row.param).label;
                         });

TEST_P(ProductsFaultTest, FailsTheCallAndIsUndone)
{
    const auto& [listing, fault] = GetParam();
    auto* const sentinel = reinterpret_cast<SAFEARRAY*>(1);
    SAFEARRAY* array = sentinel;
    accounts.FailAt(fault.step, ProductsArray);

    EXPECT_FALSE((library.*listing.call)(&array, PRODSWEEP_LIST_OWN));

    EXPECT_EQ(sentinel, array);
    EXPECT_TRUE(log.Has(LogError, listing.logName, fault.text));
    EXPECT_EQ(fault.calls, accounts.ArrayCalls());
    EXPECT_EQ(0u, accounts.LiveArrays());
}

TEST_F(ArrayFaultTest, FailedUnlockOfTheProductsIsLoggedOnly)
{
    constexpr int lastUnlock[] = {1, 2, 4};
    for (std::size_t i = 0; i < std::size(listings); ++i)
    {
        accounts.FailAt(OleAccounts::UnaccessData, lastUnlock[i]);

        ASSERT_TRUE(Call(listings[i])) << listings[i].name;

        EXPECT_TRUE(log.Has(LogError, listings[i].logName, L"SafeArrayUnaccessData failed 0x8000ffff"));
        EXPECT_THAT(products.Names(), ElementsAre(L"a"));
        log.Clear();
    }
}

struct GuidsFaultTest : ArrayFaultTest, testing::WithParamInterface<ProductsStep>
{};
INSTANTIATE_TEST_SUITE_P(All, GuidsFaultTest, testing::ValuesIn(productsSteps),
                         [](const auto& row) { return row.param.label; });

TEST_P(GuidsFaultTest, LeavesTheProductWithoutGuidsAndIsUndone)
{
    accounts.FailAt(GetParam().step, GuidsArray);

    ASSERT_TRUE(Call(listings[1]));

    EXPECT_THAT(products.Names(), ElementsAre(L"a"));
    EXPECT_EQ(nullptr, products[0].Guids);
    EXPECT_TRUE(log.Has(LogError, "GetInstalledGuids", GetParam().text));
    // Between the three first calls, which made the products, and the last, which unlocks them.
    std::vector<std::string> calls = accounts.ArrayCalls();
    ASSERT_EQ(3 + GetParam().calls.size() + 1, calls.size());
    EXPECT_EQ(GetParam().calls, std::vector<std::string>(calls.begin() + 3, calls.end() - 1));
}

TEST_F(ArrayFaultTest, FailedUnlockOfTheGuidsIsLoggedOnly)
{
    accounts.FailAt(OleAccounts::UnaccessData, 1);

    ASSERT_TRUE(Call(listings[1]));

    EXPECT_TRUE(log.Has(LogError, "GetInstalledGuids", L"SafeArrayUnaccessData failed 0x8000ffff"));
    EXPECT_THAT(Texts(products[0].Guids), ElementsAre(entry.Id()));
}

TEST_F(ArrayFaultTest, MissingDescriptorLetsTheLaterStepsOfAllocSafeArrayFailOnNull)
{
    accounts.FailAt(OleAccounts::AllocDescriptor, GuidsArray);

    ASSERT_TRUE(Call(listings[2]));

    EXPECT_EQ(nullptr, products[0].Guids);
    EXPECT_TRUE(log.Has(LogError, "AllocSafeArray", L"SafeArrayAllocDescriptor failed 0x8007000e"));
    EXPECT_TRUE(log.Has(LogError, "AllocSafeArray", L"SafeArrayAllocData failed 0x80070057"));
    EXPECT_TRUE(log.Has(LogError, "AllocSafeArray", L"SafeArrayAccessData failed 0x80070057"));
    EXPECT_TRUE(log.Has(LogError, "GetInstalledGuidsEx", L"SafeArrayAllocDescriptor failed 0x80070057"));
}

TEST_F(ArrayFaultTest, MissingDataLeavesGuidsAsAnUnlockedArrayWithoutData)
{
    accounts.FailAt(OleAccounts::AllocData, GuidsArray);

    ASSERT_TRUE(Call(listings[2]));

    ASSERT_NE(nullptr, products[0].Guids);
    EXPECT_EQ(1u, CheckedCount(products[0].Guids, sizeof(GuidEntry)));
    EXPECT_EQ(nullptr, products[0].Guids->pvData);
    EXPECT_TRUE(log.Has(LogError, "AllocSafeArray", L"SafeArrayAllocData failed 0x8007000e"));
    const std::vector<std::string> calls = accounts.ArrayCalls();
    EXPECT_EQ(std::vector<std::string>({"AllocDescriptor", "AllocData!", "DestroyData", "AccessData"}),
              std::vector<std::string>(calls.begin() + 3, calls.begin() + 7));
}

TEST_F(ArrayFaultTest, FailedAccessDestroysTheDataOfTheGuidsTwiceAndKeepsTheDescriptor)
{
    accounts.FailAt(OleAccounts::AccessData, GuidsArray);

    ASSERT_TRUE(Call(listings[2]));

    ASSERT_NE(nullptr, products[0].Guids);
    EXPECT_EQ(nullptr, products[0].Guids->pvData);
    EXPECT_TRUE(log.Has(LogError, "AllocSafeArray", L"SafeArrayAccessData failed 0x8000ffff"));
    EXPECT_TRUE(log.Has(LogError, "GetInstalledGuidsEx", L"SafeArrayAllocDescriptor failed 0x8000ffff"));
    EXPECT_THAT(accounts.ArrayCalls(),
                ElementsAre("AllocDescriptor", "AllocData", "AccessData", "AllocDescriptor", "AllocData", "AccessData!",
                            "DestroyData", "DestroyData", "UnaccessData"));
}

// Beyond the guids nothing but AllocSafeArray itself speaks of a failure.
struct InnerStep
{
    const char* label;
    OleAccounts::Step step;
    std::wstring text;
};
const InnerStep innerSteps[] = {
    {"AllocDescriptor", OleAccounts::AllocDescriptor, L"SafeArrayAllocDescriptor failed 0x8007000e"},
    {"AllocData", OleAccounts::AllocData, L"SafeArrayAllocData failed 0x8007000e"},
    {"AccessData", OleAccounts::AccessData, L"SafeArrayAccessData failed 0x8000ffff"},
};
struct InnerFaultTest : ArrayFaultTest, testing::WithParamInterface<InnerStep>
{};
INSTANTIATE_TEST_SUITE_P(All, InnerFaultTest, testing::ValuesIn(innerSteps),
                         [](const auto& row) { return row.param.label; });

TEST_P(InnerFaultTest, LeavesTheGuidWithoutChildren)
{
    accounts.FailAt(GetParam().step, ChildrenArray);

    ASSERT_TRUE(Call(listings[2]));

    EXPECT_EQ(entry.Id(), Text(OnlyGuid().Guid));
    EXPECT_TRUE(OnlyGuid().Children == nullptr || OnlyGuid().Children->pvData == nullptr);
    EXPECT_TRUE(log.Has(LogError, "AllocSafeArray", GetParam().text));
    for (const LogRecord& record : log.Records())
        EXPECT_TRUE(record.level != LogError || record.function != "GetInstalledGuidsEx") << Narrow(record.text);
}

TEST_P(InnerFaultTest, LeavesTheChildWithoutValues)
{
    accounts.FailAt(GetParam().step, ValuesArray);

    ASSERT_TRUE(Call(listings[2]));

    ASSERT_EQ(1u, CheckedCount(OnlyGuid().Children, sizeof(ChildEntry)));
    const auto& child = static_cast<const ChildEntry*>(OnlyGuid().Children->pvData)[0];
    EXPECT_EQ(L"child", Text(child.Name));
    EXPECT_TRUE(child.Values == nullptr || child.Values->pvData == nullptr);
    EXPECT_TRUE(log.Has(LogError, "AllocSafeArray", GetParam().text));
}

TEST_F(ArrayFaultTest, FailedUnlockInsideTheGuidsIsNotLookedAt)
{
    for (int call = 1; call <= 3; ++call)
    {
        accounts.FailAt(OleAccounts::UnaccessData, call);

        ASSERT_TRUE(Call(listings[2]));

        EXPECT_THAT(Guids(products[0].Guids), ElementsAre(Guid{entry.Id(), {{L"child", {L"value"}}}}));
        EXPECT_TRUE(log.HasNoneAt(LogError));
        log.Clear();
    }
}

TEST_F(ArrayFaultTest, ArraysOfEveryShapeAreFreedByTheHelper)
{
    library.WriteOwn(ProductText(L"bare") +
                     ProductText(L"a", VersionById(entry.Id()) + VersionById(L"no") +
                                           VersionById(entry.Id(), L"<x>1</x><x>2</x><y>3</y>")));
    library.WriteOther(ProductText(L"other", VersionById(entry.Id(), L"<x>1</x><x>2</x><y>3</y>")));
    for (const Listing& listing : listings)
    {
        accounts.FailAt(OleAccounts::AllocDescriptor, 0);
        ASSERT_TRUE((library.*listing.call)(products.Receive(), PRODSWEEP_LIST_ALL)) << listing.name;
        EXPECT_EQ(static_cast<std::size_t>(accounts.Calls(OleAccounts::AllocDescriptor)), accounts.LiveArrays());
        EXPECT_LT(0u, accounts.LiveTexts());

        ProdsweepFreeProducts(products.Release());

        EXPECT_EQ(0u, accounts.LiveArrays()) << listing.name;
        EXPECT_EQ(0u, accounts.LiveTexts()) << listing.name;
    }
}

} // namespace
} // namespace prodsweep::test
