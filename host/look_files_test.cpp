#include "look.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/temp_tree.h"
#include "text.h"

namespace prodsweep {
namespace {

class LookAtFolderTest : public testing::Test
{
protected:
    PlannedItem LookAtMost(std::uint64_t most)
    {
        const CheckList nobody;
        const std::vector<std::string> noNames;
        const CUsers users(nobody, noNames);
        const CGuardRails rails(L"C:\\prodsweep test\\");
        const std::wstring noFolder;
        CSweptPlaces swept;
        PlannedProduct product;
        plan = {};
        PlannedItem item;
        item.name = ToUtf8(tree.Root());
        LookAtFolder(item, tree.Root(), {users, users, rails, noFolder, noFolder, false, swept, product, plan, most});
        return item;
    }

    test::TempTree tree;
    Plan plan;
};

TEST_F(LookAtFolderTest, FolderWithMoreInItThanIsLookedAtIsADanger)
{
    for (const wchar_t* const file : {L"a\\one.txt", L"a\\two.txt", L"b\\one.txt"})
        tree.AddFile(file);
    // The folder itself, two in it, and three files.
    EXPECT_TRUE(LookAtMost(6).contents.complete);
    EXPECT_TRUE(plan.dangers.empty());
    EXPECT_FALSE(LookAtMost(5).contents.complete);
    ASSERT_EQ(1u, plan.dangers.size());
    EXPECT_EQ(ToUtf8(tree.Root()), plan.dangers[0].item);
    EXPECT_EQ("too large to be judged: not all in it was looked at", plan.dangers[0].reason);
}

} // namespace
} // namespace prodsweep
