#include "operations/operations.h"

#include "environment/log.h"
#include "operations/tree_walk.h"
#include "support/file_faults.h"
#include "support/folder_turned_file.h"
#include "support/handle_count.h"
#include "support/locked_path.h"
#include "support/log_recorder.h"
#include "support/temp_tree.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace prodsweep {
namespace {

using test::Exists;
using testing::UnorderedElementsAre;

struct ExpandFolderTest : testing::Test
{
    test::TempTree tree;
    const test::LogRecorder log;
    COperations operations;
    WideStringList folders;
    WideStringList files;

    const std::wstring& root = tree.Root();
    int Expand(const std::wstring& path) { return operations.ExpandFolder(path.c_str(), folders, files); }
};

TEST_F(ExpandFolderTest, AllFoldersAndFilesOfTheTreeAreCollectedAndStay)
{
    const std::wstring a = tree.AddFile(L"a.txt", FILE_ATTRIBUTE_HIDDEN);
    const std::wstring b = tree.AddFile(L"sub\\b.txt");
    const std::wstring c = tree.AddFile(L"sub\\deeper\\c");

    EXPECT_EQ(_ERROR_SUCCESS, Expand(root));

    EXPECT_THAT(folders, UnorderedElementsAre(root, tree.Path(L"sub"), tree.Path(L"sub\\deeper")));
    EXPECT_THAT(files, UnorderedElementsAre(a, b, c));
    EXPECT_TRUE(std::all_of(files.begin(), files.end(), Exists));
    EXPECT_TRUE(log.HasNoneAt(LogWarning));
}

TEST_F(ExpandFolderTest, FolderStandsAheadOfAllFoldersBelowIt)
{
    tree.AddFolder(L"a\\b\\c");

    Expand(root);

    EXPECT_EQ((WideStringList{root, tree.Path(L"a"), tree.Path(L"a\\b"), tree.Path(L"a\\b\\c")}), folders);
}

// Neither by name nor level by level: by name "a.txt" stands ahead of "a\1.txt".
TEST_F(ExpandFolderTest, FilesStandInTheOrderOfTheWalk)
{
    for (const wchar_t* const name : {L"a\\1.txt", L"a\\b\\2.txt", L"a\\z.txt", L"a.txt", L"c.txt"})
        tree.AddFile(name);
    WideStringList walked;
    walked.reserve(5);
    CTreeWalk walk(root.c_str());
    for (WalkStep step = walk.Next(); step != WalkStep::End; step = walk.Next())
    {
        if (step == WalkStep::File)
            walked.emplace_back(walk.Path());
    }

    Expand(root);

    EXPECT_EQ(5u, walked.size());
    EXPECT_EQ(walked, files);
}

TEST_F(ExpandFolderTest, ListsAreAppendedTo)
{
    const std::wstring file = tree.AddFile(L"a.txt");
    folders = {L"before"};
    files = {L"before"};

    Expand(root);

    EXPECT_EQ((WideStringList{L"before", root}), folders);
    EXPECT_EQ((WideStringList{L"before", file}), files);
}

TEST_F(ExpandFolderTest, EachFolderIsTraced)
{
    const std::wstring sub = tree.AddFolder(L"sub");

    Expand(root);

    EXPECT_TRUE(log.Has(LogTrace, "COperations::ExpandFolder", L"->\"" + root + L"\""));
    EXPECT_TRUE(log.Has(LogTrace, "COperations::ExpandFolderRec", L"->\"" + root + L"\""));
    EXPECT_TRUE(log.Has(LogTrace, "COperations::ExpandFolderRec", L"->\"" + sub + L"\""));
    EXPECT_EQ(3u, log.Records().size());
}

TEST_F(ExpandFolderTest, TopFolderLosesItsAttributesAndNothingBelowDoes)
{
    constexpr DWORD guarded = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
    const std::wstring top = tree.AddFolder(L"top", guarded);
    const std::wstring file = tree.AddFile(L"top\\a.txt", guarded);
    const std::wstring sub = tree.AddFolder(L"top\\sub", guarded);

    ASSERT_NE(0u, GetFileAttributesW(top.c_str()) & guarded);
    Expand(top);

    EXPECT_EQ(0u, GetFileAttributesW(top.c_str()) & guarded);
    EXPECT_EQ(guarded, GetFileAttributesW(file.c_str()) & guarded);
    // Not every file system keeps the read-only flag of a folder.
    EXPECT_NE(0u, GetFileAttributesW(sub.c_str()) & FILE_ATTRIBUTE_HIDDEN);
}

TEST_F(ExpandFolderTest, RefusedAttributesAreLoggedAndTheFolderIsExpanded)
{
    test::FileFaults faults;
    faults.Fail("SetFileAttributesW", root, ERROR_ACCESS_DENIED);

    EXPECT_EQ(_ERROR_SUCCESS, Expand(root));

    EXPECT_EQ(WideStringList{root}, folders);
    EXPECT_TRUE(log.Has(LogWarning, "COperations::ExpandFolder", L"SetFileAttributes NORMAL failed 0x5"));
}

TEST_F(ExpandFolderTest, PathThatIsNoFolderIsListedAmongTheFoldersAllTheSame)
{
    const std::wstring file = tree.AddFile(L"a.txt");

    EXPECT_EQ(_ERROR_NOT_FOUND, Expand(file));

    EXPECT_EQ(WideStringList{file}, folders);
    EXPECT_TRUE(files.empty());
    EXPECT_TRUE(log.Has(LogWarning, "COperations::ExpandFolderRec", L"\"" + file + L"\" path isn't a directory"));
}

TEST_F(ExpandFolderTest, OddPathsAreNotFoundAndListed)
{
    const WideStringList odd = {L"", L"C:\\" + std::wstring(32764, L'x'), tree.Path(L"missing")};
    for (const std::wstring& path : odd)
        EXPECT_EQ(_ERROR_NOT_FOUND, Expand(path)) << path.size();

    EXPECT_EQ(odd, folders);
    EXPECT_TRUE(files.empty());
}

TEST_F(ExpandFolderTest, FolderInWhichNothingIsFoundIsNotFound)
{
    test::FileFaults faults;
    faults.Fail("FindFirstFileW", root + L"\\*.*", ERROR_FILE_NOT_FOUND);

    EXPECT_EQ(_ERROR_NOT_FOUND, Expand(root));

    EXPECT_EQ(WideStringList{root}, folders);
    EXPECT_TRUE(
        log.Has(LogWarning, "COperations::ExpandFolderRec", L"FindFirstFile ERROR_FILE_NOT_FOUND \"" + root + L"\""));
}

TEST_F(ExpandFolderTest, FolderThatCannotBeListedIsUnknown)
{
    test::FileFaults faults;
    faults.Fail("FindFirstFileW", root + L"\\*.*", ERROR_PATH_NOT_FOUND);

    EXPECT_EQ(_ERROR_UNKNOWN, Expand(root));

    EXPECT_TRUE(log.Has(LogError, "COperations::ExpandFolderRec", L"FindFirstFile \"" + root + L"\" failed 0x3"));
    EXPECT_TRUE(log.HasNoneAt(LogWarning)); // the line about a subfolder is not written for the root
}

TEST_F(ExpandFolderTest, SubfolderThatCannotBeExpandedIsToldAndTheRestIsCollected)
{
    const std::wstring denied = tree.AddFolder(L"denied");
    const std::wstring gone = tree.AddFolder(L"gone");
    const std::wstring file = tree.AddFile(L"sub\\a.txt");
    test::FileFaults faults;
    faults.Fail("FindFirstFileW", denied + L"\\*.*", ERROR_ACCESS_DENIED);
    faults.Fail("FindFirstFileW", gone + L"\\*.*", ERROR_FILE_NOT_FOUND);

    EXPECT_EQ(_ERROR_SUCCESS, Expand(root));

    EXPECT_THAT(folders, UnorderedElementsAre(root, denied, gone, tree.Path(L"sub")));
    EXPECT_EQ(WideStringList{file}, files);
    EXPECT_TRUE(
        log.Has(LogWarning, "COperations::ExpandFolderRec", L"error _ERROR_UNKNOWN expand folder \"" + denied + L"\""));
    EXPECT_TRUE(
        log.Has(LogWarning, "COperations::ExpandFolderRec", L"error _ERROR_NOT_FOUND expand folder \"" + gone + L"\""));
}

TEST_F(ExpandFolderTest, SubfolderThatIsNoneAnyMoreIsToldAndTheRestIsCollected)
{
    const std::wstring turned = tree.AddFolder(L"a");
    const std::wstring file = tree.AddFile(L"b\\a.txt");
    const test::FolderTurnedFile meanwhile(turned);

    EXPECT_EQ(_ERROR_SUCCESS, Expand(root));

    EXPECT_THAT(folders, UnorderedElementsAre(root, turned, tree.Path(L"b")));
    EXPECT_EQ(WideStringList{file}, files);
    EXPECT_TRUE(log.Has(LogWarning, "COperations::ExpandFolderRec",
                        L"error _ERROR_NOT_FOUND expand folder \"" + turned + L"\""));
}

TEST_F(ExpandFolderTest, FileLockedByAnotherProcessIsCollected)
{
    const std::wstring file = tree.AddFile(L"sub\\locked.txt");
    const test::LockedPath lock(file);

    EXPECT_EQ(_ERROR_SUCCESS, Expand(root));

    EXPECT_EQ(WideStringList{file}, files);
}

TEST_F(ExpandFolderTest, NoHandleIsLeftOpen)
{
    tree.AddFile(L"sub\\deeper\\a.txt");
    Expand(root);
    const test::HandleCount handles;

    Expand(root);
    Expand(tree.Path(L"missing"));

    EXPECT_TRUE(handles.Unchanged());
}

} // namespace
} // namespace prodsweep
