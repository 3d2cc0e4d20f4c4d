// Memory that is short at any one moment of a call: a false or a null text, never a crash, a leak or a
// thread that has COM afterwards.
#include "environment/log.h"
#include "support/com_scope.h"
#include "support/log_recorder.h"
#include "support/registry_sandbox.h"
#include "system/catalogue_text.h"
#include "system/com_calls.h"
#include "system/heap_accounts.h"
#include "system/library.h"
#include "system/ole_accounts.h"
#include "system/product_array.h"
#include "system/uninstall_entry.h"

#include <gmock/gmock.h>

namespace prodsweep::test {
namespace {

struct MemoryFaultTest : testing::TestWithParam<Listing>
{
    MemoryFaultTest()
    {
        const std::wstring versions =
            VersionById(entry.Id(), L"<x>1</x><y>2</y>") + VersionById(L"prodsweep-test-none");
        library.WriteOwn(ProductText(L"a", versions) + ProductText(L"b", versions));
        library.WriteOther(ProductText(L"c", versions));
        log.Pause();
    }
    bool Call() { return (library.*GetParam().call)(&array, PRODSWEEP_LIST_ALL); }
    void Free() { ProdsweepFreeProducts(std::exchange(array, nullptr)); }

    UninstallEntry entry;
    Library library;
    SAFEARRAY* array = nullptr;
    LogRecorder log;
};
INSTANTIATE_TEST_SUITE_P(All, MemoryFaultTest, testing::ValuesIn(listings),
                         [](const auto& row) { return row.param.name; });

TEST_P(MemoryFaultTest, NullTextsAreNoFailureOnceTheCataloguesAreRead)
{
    OleAccounts accounts(library.Module());
    accounts.FailAt(OleAccounts::AllocString, 0);
    ASSERT_TRUE(Call());
    const int texts = accounts.Calls(OleAccounts::AllocString);
    const int handedOut = static_cast<int>(accounts.LiveTexts());
    Free();

    for (int call = 1; call <= texts; ++call)
    {
        const ComCalls com(library.Module());
        accounts.FailAt(OleAccounts::AllocString, call);
        EXPECT_EQ(call > texts - handedOut, Call()) << "text " << call << " of " << texts;
        EXPECT_EQ(call > texts - handedOut ? handedOut - 1 : 0, static_cast<int>(accounts.LiveTexts()));
        Free();
        EXPECT_EQ(0u, accounts.LiveArrays());
        EXPECT_EQ(0u, accounts.LiveTexts());
        EXPECT_EQ(ComCalls::AnsweredOk(), ComCalls::Uninitialised());
        EXPECT_EQ(ComState::None, CurrentComState());
    }
}

TEST_P(MemoryFaultTest, FailedAllocationIsAFalseThatLeavesNothingBehind)
{
    ASSERT_TRUE(Call()); // makes what the library keeps from its first call on
    Free();
    OleAccounts accounts(library.Module());
    HeapAccounts heap(library.Module());
    heap.FailAt(1);
    EXPECT_FALSE(Call()); // and what the runtime keeps from its first exception on
    const std::size_t kept = heap.LiveBlocks();

    int allocation = 2;
    for (heap.FailAt(allocation); !Call(); heap.FailAt(++allocation))
    {
        ASSERT_EQ(kept, heap.LiveBlocks()) << "allocation " << allocation;
        ASSERT_EQ(0u, accounts.LiveArrays()) << "allocation " << allocation;
        ASSERT_EQ(0u, accounts.LiveTexts()) << "allocation " << allocation;
        ASSERT_EQ(ComState::None, CurrentComState()) << "allocation " << allocation;
        ASSERT_EQ(nullptr, array);
    }
    EXPECT_LT(heap.Allocations(), allocation) << "an allocation failed and the call did not notice";
    Free();
    EXPECT_EQ(kept, heap.LiveBlocks());
}

TEST(FirstCallTest, FailedAllocationInTheFirstCallIsForgottenByTheSecond)
{
    // Tables that are made on first use must not stay half made. The short names of hives come last.
    const RegistrySandbox registry;
    registry.AddText(L"UpdateLocation", L"path", L"");
    const std::wstring version = VersionByKey(L"HKCU\\" + registry.Subkey(), L"path");
    LogRecorder log;
    log.Pause();
    bool reached = true;
    for (int allocation = 1; reached; ++allocation)
    {
        Library library;
        library.WriteOwn(ProductText(L"a", version));
        HeapAccounts heap(library.Module());
        ProductArray products;
        heap.FailAt(allocation);
        const bool succeeded = library.GetInstalledProducts(products.Receive(), PRODSWEEP_LIST_OWN);
        reached = heap.Allocations() >= allocation;
        ASSERT_EQ(!reached, succeeded) << allocation;
        heap.FailAt(0);

        ASSERT_TRUE(library.GetInstalledProducts(products.Receive(), PRODSWEEP_LIST_OWN)) << allocation;

        ASSERT_EQ(1u, products.Count()) << allocation;
        ASSERT_NE(nullptr, products[0].Guids) << allocation;
    }
}

} // namespace
} // namespace prodsweep::test
