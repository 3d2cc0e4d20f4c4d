// What of a recorded key, value or search is handed on when it is carried out, and in which order.
#include "interpreter/product_uninstall.h"

#include "registry/split_key_path.h"
#include "support/com_scope.h"
#include "support/log_recorder.h"
#include "support/registry_faults.h"
#include "support/registry_sandbox.h"
#include "support/removal_pass.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace prodsweep {
namespace {

using test::Narrow;
using test::RemovalPass;
using testing::ElementsAre;

class CachedRegistryTest : public testing::Test
{
protected:
    CachedRegistryTest()
    {
        sandbox.AddText(L"key", L"v", L"find me");
        sandbox.AddText(L"other", L"v", L"keep me");
    }
    void TearDown() override
    {
        EXPECT_TRUE(sandbox.CanariesIntact());
        EXPECT_TRUE(sandbox.HasValue(L"other", L"v"));
    }

    // The key "key", or a value of it, in either view.
    CachedRegItem Key(bool x32view) const { return {sandbox.Path(L"key"), L"", x32view, false}; }
    CachedRegItem Value(bool x32view) const { return {sandbox.Path(L"key"), L"v", x32view, true}; }
    CachedRegKeySearch Search(const wchar_t* text, bool complete, bool x32view) const
    {
        return {sandbox.Path(L"key"), {text}, complete, x32view};
    }
    // Searches run in the company of a plain item only; this one is not there.
    CachedRegItem Company() const { return {sandbox.Path(L"other"), L"absent", false, true}; }

    // A product that stays uses that key, or that value, in a view.
    void StayingUsesKey(const std::string& x32view)
    {
        checkList.push_back(test::Staying("<s op_code='del_regkey'><e name='" + Narrow(sandbox.Path(L"key")) +
                                          "' x32view='" + x32view + "'/></s>"));
    }
    void StayingUsesValue(const std::string& x32view)
    {
        checkList.push_back(test::Staying("<s op_code='del_regvalue'><e key_path='" + Narrow(sandbox.Path(L"key")) +
                                          "' name='v' x32view='" + x32view + "'/></s>"));
    }

    test::ComScope com;
    test::LogRecorder log;
    test::RegistrySandbox sandbox;
    const CSplitKeyPath hives; // fills the tables of hive names
    CheckList checkList;
    RemovalPass pass{L"Product", L"C:\\none.xml", checkList, nullptr};
};

TEST_F(CachedRegistryTest, KeyThatASearchFoundIsLeftAloneWhenItIsInUse)
{
    StayingUsesKey("0");
    pass.cachedRegKeySearches.push_back(Search(L"find me", false, false));
    pass.cachedRegItems = {Company()};
    pass.ExecuteCachedOperations();
    EXPECT_TRUE(sandbox.HasValue(L"key", L"v"));
}

TEST_F(CachedRegistryTest, SearchForACompleteTextLeavesAPartOfItAlone)
{
    pass.cachedRegKeySearches.push_back(Search(L"find", true, false));
    pass.cachedRegItems = {Company()};
    pass.ExecuteCachedOperations();
    EXPECT_TRUE(sandbox.HasKey(L"key"));
}

TEST_F(CachedRegistryTest, SearchForACompleteTextDeletesTheKeyThatHoldsIt)
{
    pass.cachedRegKeySearches.push_back(Search(L"find me", true, false));
    pass.cachedRegItems = {Company()};
    pass.ExecuteCachedOperations();
    EXPECT_FALSE(sandbox.HasKey(L"key"));
}

TEST_F(CachedRegistryTest, UseInThe32BitViewProtectsFromARemovalThere)
{
    StayingUsesKey("1");
    StayingUsesValue("1");
    pass.cachedRegKeySearches.push_back(Search(L"find me", false, true));
    pass.cachedRegItems = {Key(true), Value(true)};
    pass.ExecuteCachedOperations();
    EXPECT_TRUE(sandbox.HasValue(L"key", L"v"));
}

// What is used in one view is no obstacle in the other: each is tried alone, against a use of all of it.
class CrossedViewsTest : public CachedRegistryTest, public testing::WithParamInterface<bool>
{
protected:
    CrossedViewsTest()
    {
        const std::string other = GetParam() ? "0" : "1";
        StayingUsesKey(other);
        StayingUsesValue(other);
    }
};

TEST_P(CrossedViewsTest, SearchDeletesWhatIsUsedInTheOtherView)
{
    pass.cachedRegKeySearches.push_back(Search(L"find me", false, GetParam()));
    pass.cachedRegItems = {Company()};
    pass.ExecuteCachedOperations();
    EXPECT_FALSE(sandbox.HasKey(L"key"));
}

TEST_P(CrossedViewsTest, KeyIsDeletedThatIsUsedInTheOtherView)
{
    pass.cachedRegItems = {Key(GetParam())};
    pass.ExecuteCachedOperations();
    EXPECT_FALSE(sandbox.HasKey(L"key"));
}

TEST_P(CrossedViewsTest, ValueIsDeletedThatIsUsedInTheOtherView)
{
    pass.cachedRegItems = {Value(GetParam())};
    pass.ExecuteCachedOperations();
    EXPECT_TRUE(sandbox.HasKey(L"key"));
    EXPECT_FALSE(sandbox.HasValue(L"key", L"v"));
}

INSTANTIATE_TEST_SUITE_P(Views, CrossedViewsTest, testing::Bool(),
                         [](const auto& row) { return row.param ? "Removal32" : "Removal64"; });

TEST_F(CachedRegistryTest, KeysThatSearchesFindGoBeforePlainOnes)
{
    sandbox.AddKey(L"plain");
    pass.cachedRegKeySearches.push_back(Search(L"find me", false, false));
    pass.cachedRegItems = {{sandbox.Path(L"plain"), L"", false, false}};
    const test::RegistryFaults registry;
    pass.ExecuteCachedOperations();
    WideStringList deleted;
    for (const std::wstring& call : registry.Calls())
    {
        if (call.starts_with(L"delete key "))
            deleted.push_back(call);
    }
    EXPECT_THAT(deleted,
                ElementsAre(L"delete key " + sandbox.Subkey(L"key"), L"delete key " + sandbox.Subkey(L"plain")));
}

} // namespace
} // namespace prodsweep
