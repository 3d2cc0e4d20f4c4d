// What the in-use pass does to a folder that a product which stays names.
#include "interpreter/product_check_use.h"

#include "support/com_scope.h"
#include "support/descriptor_file.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/temp_tree.h"
#include "support/wow64_mode.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

namespace prodsweep {
namespace {

using testing::ElementsAre;

constexpr DWORD hidden = FILE_ATTRIBUTE_HIDDEN;

class FolderLookTest : public testing::Test
{
protected:
    FolderLookTest()
    {
        tree.AddFolder(L"app", hidden);
        tree.AddFile(L"app\\a.txt", hidden);
    }

    [[nodiscard]] bool IsHidden(const wchar_t* relative) const
    {
        return (GetFileAttributesW(tree.Path(relative).c_str()) & hidden) != 0;
    }

    test::ComScope com;
    test::TempTree tree;
    const test::DescriptorFile descriptor{
        test::OneVersion("<s op_code='del_folder'><e name='" + test::Narrow(tree.Path(L"app")) + "'/></s>")};
};

TEST_F(FolderLookTest, NamedFolderLosesItsAttributesAndWhatIsInItKeepsThem)
{
    ASSERT_TRUE(IsHidden(L"app"));
    const CProductCheckUse use(descriptor.Path());
    EXPECT_TRUE(use.IsFileUsed(tree.Path(L"app\\a.txt").c_str()));
    EXPECT_FALSE(IsHidden(L"app"));
    EXPECT_TRUE(IsHidden(L"app\\a.txt"));
    EXPECT_TRUE(tree.CanariesIntact());
}

TEST_F(FolderLookTest, LookThatLeavesNoTraceSeesTheSameAndKeepsTheAttributes)
{
    const CProductCheckUse use(descriptor.Path(), FolderLook::LeavesNoTrace);
    EXPECT_TRUE(use.IsFileUsed(tree.Path(L"app\\a.txt").c_str()));
    EXPECT_TRUE(IsHidden(L"app"));
}

const test::ImportPatch* listing = nullptr;

BOOL WINAPI NoteReset(const wchar_t*, DWORD)
{
    test::Wow64Mode::Note("reset");
    return TRUE;
}

HANDLE WINAPI NoteListing(const wchar_t* pattern, WIN32_FIND_DATAW* found)
{
    test::Wow64Mode::Note("list");
    return listing->Original<decltype(NoteListing)>()(pattern, found);
}

// Walks the descriptor, and writes down what lies around the look into its folder.
std::vector<std::string> Steps(const std::wstring& descriptor, FolderLook look)
{
    const test::Wow64Mode wow64;
    const test::ImportPatch reset(nullptr, "SetFileAttributesW", NoteReset);
    const test::ImportPatch list(nullptr, "FindFirstFileW", NoteListing);
    listing = &list;
    const CProductCheckUse use(descriptor, look);
    EXPECT_TRUE(wow64.Balanced());
    return wow64.Calls();
}

TEST_F(FolderLookTest, FolderIsLookedIntoWithoutRedirection)
{
    EXPECT_THAT(Steps(descriptor.Path(), FolderLook::ResetsAttributes),
                ElementsAre("disable", "reset", "list", "revert"));
}

TEST_F(FolderLookTest, LookThatLeavesNoTraceLeavesTheRedirectionAlone)
{
    EXPECT_THAT(Steps(descriptor.Path(), FolderLook::LeavesNoTrace), ElementsAre("list"));
}

} // namespace
} // namespace prodsweep
