#include "operations/operations.h"

#include "environment/log.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/temp_tree.h"

#include <gtest/gtest.h>

namespace prodsweep {
namespace {

using test::Exists;

struct DelFolderTest : testing::Test
{
    test::TempTree tree;
    const test::LogRecorder log;
    WideStringList restartList;
    COperations operations{&restartList};
};

TEST_F(DelFolderTest, FolderGoesWithAllThatIsInIt)
{
    tree.AddFile(L"a.txt");
    tree.AddFile(L"sub\\b.txt");
    tree.AddFile(L"sub\\deeper\\c.txt");
    tree.AddFolder(L"empty");

    EXPECT_EQ(_ERROR_SUCCESS, operations.DelFolder(tree.Root().c_str(), nullptr));

    EXPECT_FALSE(Exists(tree.Root()));
    EXPECT_TRUE(restartList.empty());
    EXPECT_TRUE(tree.CanariesIntact());
}

} // namespace
} // namespace prodsweep
