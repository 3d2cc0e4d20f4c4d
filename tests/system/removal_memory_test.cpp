// Memory that is short at any one moment of a removal: a false, a process that can go on, and a second
// call that finishes what the first began.
#include "support/com_scope.h"
#include "system/com_keeper.h"
#include "system/heap_accounts.h"
#include "system/ole_accounts.h"
#include "system/removal.h"
#include "system/removal_fixture.h"

namespace prodsweep::test {
namespace {

struct RemovalMemoryTest : RemovalTest, testing::WithParamInterface<Removal>
{
    RemovalMemoryTest() { log.Pause(); }

    bool Call() { return GetParam().call(library, Own, &restart, &CallbackRecorder::Record); }
    void Write() { products.Write(Own, L"A+B+"); }

    const ComKeeper com;
};
INSTANTIATE_TEST_SUITE_P(All, RemovalMemoryTest, testing::ValuesIn(removals), RemovalName);

TEST_P(RemovalMemoryTest, FailedAllocationIsAFalseThatLeavesNothingBehind)
{
    Write();
    ASSERT_TRUE(Call()); // makes what the library keeps from its first call on
    OleAccounts accounts(library.Module());
    HeapAccounts heap(library.Module());
    heap.FailAt(1);
    EXPECT_FALSE(Call()); // and what the runtime keeps from its first exception on
    const std::size_t kept = heap.LiveBlocks();

    int allocation = 2;
    for (bool reached = true; reached; ++allocation)
    {
        Write();
        heap.FailAt(allocation);
        const bool result = Call();
        reached = heap.Allocations() >= allocation;
        ASSERT_EQ(kept, heap.LiveBlocks()) << "allocation " << allocation;
        ASSERT_EQ(0u, accounts.LiveTexts()) << "allocation " << allocation;
        ASSERT_EQ(ComState::None, CurrentComState()) << "allocation " << allocation;
        // A true is a whole removal: a sort that keeps an order asks for room that it can do without.
        if (!result)
        {
            ASSERT_TRUE(reached);
            heap.FailAt(0);
            ASSERT_TRUE(Call()) << "after allocation " << allocation;
        }
        ASSERT_FALSE(products.Has(Own, L"A")) << "allocation " << allocation;
    }
    EXPECT_LT(50, allocation);
}

TEST_P(RemovalMemoryTest, FailedTextIsAFalseThatLeavesNothingBehind)
{
    Write();
    OleAccounts accounts(library.Module());

    int text = 1;
    for (bool reached = true; reached; ++text)
    {
        Write();
        accounts.FailAt(OleAccounts::AllocString, text);
        const bool result = Call();
        reached = accounts.Calls(OleAccounts::AllocString) >= text;
        ASSERT_EQ(!reached, result) << "text " << text;
        ASSERT_EQ(0u, accounts.LiveTexts()) << "text " << text;
        ASSERT_EQ(ComState::None, CurrentComState()) << "text " << text;
    }
    EXPECT_FALSE(products.Has(Own, L"A"));
}

} // namespace
} // namespace prodsweep::test
