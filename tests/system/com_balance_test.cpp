// How an export leaves COM on the thread of its caller.
#include "support/com_scope.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/system_answers.h"
#include "system/catalogue_text.h"
#include "system/com_calls.h"
#include "system/com_rows.h"
#include "system/library.h"
#include "system/ole_accounts.h"
#include "system/product_array.h"

#include <gtest/gtest.h>
#include <objbase.h>

#include <optional>

namespace prodsweep::test {
namespace {

const EndRow listingEnds[] = {{"Success", End::Success},
                              {"NoCatalogue", End::NoCatalogue},
                              {"NoFolder", End::NoFolder},
                              {"NoArray", End::NoArray},
                              {"Exception", End::Exception}};

struct ComBalanceTest : testing::TestWithParam<std::tuple<Listing, ComThread, EndRow>>
{
    ComBalanceTest() { log.Pause(); }

    bool Call()
    {
        ProductArray products;
        return (library.*std::get<0>(GetParam()).call)(products.Receive(), PRODSWEEP_LIST_OWN);
    }
    void Arrange(End end)
    {
        if (end != End::NoCatalogue)
            library.WriteOwn(ProductText(L"a"));
        if (end == End::NoFolder)
            patch.emplace(library.Module(), "GetModuleFileNameW", FailToNameTheModule);
        if (end == End::NoArray)
            accounts.FailAt(OleAccounts::AllocDescriptor, 1);
        if (end == End::Exception)
            accounts.FailAt(OleAccounts::AllocString, 2); // an attribute's name; the first is the file's
    }

    Library library;
    OleAccounts accounts{library.Module()};
    std::optional<ImportPatch> patch;
    LogRecorder log;
};
INSTANTIATE_TEST_SUITE_P(All, ComBalanceTest,
                         testing::Combine(testing::ValuesIn(listings), testing::ValuesIn(comThreads),
                                          testing::ValuesIn(listingEnds)),
                         [](const auto& row) {
                             return std::string(std::get<0>(row.param).name) + std::get<1>(row.param).label +
                                    std::get<2>(row.param).label;
                         });

TEST_P(ComBalanceTest, OnlyAnSOkIsTakenBack)
{
    const auto& [listing, thread, end] = GetParam();
    Arrange(end.end);
    const ComCalls com(library.Module());
    bool succeeded = false;

    OnFreshThread(thread.before, [&] { succeeded = Call(); }); // checks the thread's state afterwards

    EXPECT_EQ(end.end == End::Success, succeeded);
    EXPECT_EQ(1, ComCalls::Initialised());
    EXPECT_EQ(thread.uninitialised, ComCalls::Uninitialised());
}

struct ComReferenceTest : testing::Test
{
    Library library;
    ProductArray products;
};

TEST_F(ComReferenceTest, ThreadThatHasComKeepsOneReferenceForEachCall)
{
    OnFreshThread(ComState::None, [&] {
        ASSERT_EQ(S_OK, CoInitialize(nullptr));
        ASSERT_TRUE(library.GetProducts(products.Receive(), 0));
        ASSERT_TRUE(library.GetProducts(products.Receive(), 0));

        CoUninitialize();
        EXPECT_EQ(ComState::SingleThreaded, CurrentComState());
        CoUninitialize();
        EXPECT_EQ(ComState::SingleThreaded, CurrentComState());
        CoUninitialize();
        EXPECT_EQ(ComState::None, CurrentComState());
    });
}

TEST_F(ComReferenceTest, ProgressDoesNotTouchCom)
{
    const ComCalls com(library.Module());

    OnFreshThread(ComState::None, [&] { EXPECT_EQ(0, library.GetProgressPercent()); });

    EXPECT_EQ(0, ComCalls::Initialised());
}

} // namespace
} // namespace prodsweep::test
