#include "support/many_files.h"

#include "support/temp_tree.h"

#include <gtest/gtest.h>

namespace prodsweep::test {
namespace {

TEST(ManyFilesTest, FilesAndTheFoldersOnTheirWayAreMade)
{
    const TempTree tree;
    const std::vector<std::wstring> names{L"a b.txt", L"folder\\a.txt", L"folder\\below it\\b.txt", L"\x4E2D.txt"};

    ASSERT_TRUE(MakeManyFiles(tree.Root(), names));

    for (const std::wstring& name : names)
        EXPECT_TRUE(Exists(tree.Path(name))) << testing::PrintToString(name);
}

TEST(ManyFilesTest, FileThatCannotBeMadeIsTold)
{
    const TempTree tree;
    EXPECT_FALSE(MakeManyFiles(tree.Path(L"absent"), {L"a.txt"}));
}

} // namespace
} // namespace prodsweep::test
