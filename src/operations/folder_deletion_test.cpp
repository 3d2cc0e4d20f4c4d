#include "operations/operations.h"

#include "environment/log.h"
#include "support/file_faults.h"
#include "support/folder_turned_file.h"
#include "support/handle_count.h"
#include "support/locked_path.h"
#include "support/log_recorder.h"
#include "support/temp_tree.h"
#include "support/used_paths.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace prodsweep {
namespace {

using test::Exists;

struct DelFolderTest : testing::Test
{
    test::TempTree tree;
    test::UsedPaths used;
    const test::LogRecorder log;
    WideStringList restartList;
    COperations operations{&restartList};

    const std::wstring& root = tree.Root();
};

TEST_F(DelFolderTest, FolderGoesWithAllThatIsInIt)
{
    tree.AddFile(L"a.txt");
    tree.AddFile(L"sub\\b.txt", FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
    tree.AddFile(L"sub\\deeper\\c");
    tree.AddFolder(L"empty", FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_SYSTEM);

    EXPECT_EQ(_ERROR_SUCCESS, operations.DelFolder(root.c_str(), nullptr));

    EXPECT_FALSE(Exists(root));
    EXPECT_TRUE(restartList.empty());
    EXPECT_TRUE(tree.CanariesIntact());
    EXPECT_TRUE(log.HasNoneAt(LogError));
    EXPECT_TRUE(log.HasNoneAt(LogWarning));
}

TEST_F(DelFolderTest, EachFolderAndFileIsTracedUnderTheOperationThatTakesIt)
{
    const std::wstring file = tree.AddFile(L"sub\\a.txt");

    operations.DelFolder(root.c_str(), nullptr);

    EXPECT_TRUE(log.Has(LogTrace, "COperations::DelFolder", L"->\"" + root + L"\""));
    EXPECT_TRUE(log.Has(LogTrace, "COperations::DelFolderRec", L"->\"" + root + L"\""));
    EXPECT_TRUE(log.Has(LogTrace, "COperations::DelFolderRec", L"->\"" + tree.Path(L"sub") + L"\""));
    EXPECT_TRUE(log.Has(LogTrace, "COperations::DelFile", L"->\"" + file + L"\""));
    EXPECT_EQ(4u, log.Records().size());
}

TEST_F(DelFolderTest, ContentsGoBeforeTheirFolder)
{
    tree.AddFile(L"sub\\a.txt");
    const test::FileFaults faults;

    operations.DelFolder(root.c_str(), nullptr);

    EXPECT_EQ((std::vector<std::string>{"SetFileAttributesW",                       // the root, by DelFolder
                                        "FindFirstFileW", "FindFirstFileW",         // the root, the folder in it
                                        "SetFileAttributesW", "DeleteFileW",        // the file
                                        "SetFileAttributesW", "RemoveDirectoryW",   // the folder
                                        "SetFileAttributesW", "RemoveDirectoryW"}), // the root
              faults.Order());
}

TEST_F(DelFolderTest, TrailingSeparatorOfEitherKindIsNotDoubled)
{
    for (const wchar_t separator : {L'\\', L'/'})
    {
        const std::wstring folder = tree.AddFolder(L"folder") + separator;
        tree.AddFile(L"folder\\a.txt");
        const test::FileFaults faults;

        EXPECT_EQ(_ERROR_SUCCESS, operations.DelFolder(folder.c_str(), nullptr));

        EXPECT_FALSE(Exists(folder));
        EXPECT_EQ(1, faults.Count("FindFirstFileW", folder + L"*.*"));
        EXPECT_EQ(1, faults.Count("DeleteFileW", folder + L"a.txt"));
    }
}

TEST_F(DelFolderTest, MissingFolderIsNotFound)
{
    const std::wstring folder = tree.Path(L"missing");

    EXPECT_EQ(_ERROR_NOT_FOUND, operations.DelFolder(folder.c_str(), nullptr));

    EXPECT_TRUE(restartList.empty());
    EXPECT_TRUE(log.Has(LogWarning, "COperations::DelFolder", L"SetFileAttributes NORMAL failed 0x2"));
    EXPECT_TRUE(log.Has(LogWarning, "COperations::DelFolderRec", L"\"" + folder + L"\" path isn't a directory"));
}

TEST_F(DelFolderTest, PlainFileIsNotFoundAndStays)
{
    const std::wstring file = tree.AddFile(L"a.txt");

    EXPECT_EQ(_ERROR_NOT_FOUND, operations.DelFolderRec(file.c_str(), nullptr, nullptr));

    EXPECT_TRUE(Exists(file));
    EXPECT_TRUE(log.Has(LogWarning, "COperations::DelFolderRec", L"\"" + file + L"\" path isn't a directory"));
}

TEST_F(DelFolderTest, OddPathsAreNotFound)
{
    for (const std::wstring& path : {std::wstring(), L"C:\\" + std::wstring(32764, L'x')})
        EXPECT_EQ(_ERROR_NOT_FOUND, operations.DelFolder(path.c_str(), nullptr)) << path.size();
    EXPECT_TRUE(restartList.empty());
}

TEST_F(DelFolderTest, LockedFileIsListedOnceAndItsFolderToo)
{
    const std::wstring file = tree.AddFile(L"sub\\locked.txt");
    tree.AddFile(L"sub\\other.txt");
    const test::LockedPath lock(file);

    EXPECT_EQ(_ERROR_SUCCESS, operations.DelFolder(root.c_str(), nullptr));

    EXPECT_TRUE(Exists(file));
    EXPECT_FALSE(Exists(tree.Path(L"sub\\other.txt")));
    EXPECT_EQ((WideStringList{file, tree.Path(L"sub"), root}), restartList);
    EXPECT_EQ(1, log.Count(LogTrace, "COperations::AddRestartDel", L"\"" + file + L"\""));
    EXPECT_TRUE(log.Has(LogError, "COperations::DelFolderRec", L"failed \"" + root + L"\". last error 0x91"));
}

TEST_F(DelFolderTest, LockedFileGivesTheSameResultWithoutARestartList)
{
    const std::wstring file = tree.AddFile(L"locked.txt");
    const test::LockedPath lock(file);

    EXPECT_EQ(_ERROR_SUCCESS, COperations().DelFolder(root.c_str(), nullptr));

    EXPECT_TRUE(Exists(file));
    EXPECT_TRUE(log.Has(LogError, "COperations::DelFolderRec", L"failed \"" + root + L"\". last error 0x91"));
}

TEST_F(DelFolderTest, FolderOpenInAnotherProcessIsListedAndThatIsASuccess)
{
    const std::wstring folder = tree.AddFolder(L"open");
    const test::LockedPath lock(folder, FILE_SHARE_READ | FILE_SHARE_WRITE);

    EXPECT_EQ(_ERROR_SUCCESS, operations.DelFolder(folder.c_str(), nullptr));

    EXPECT_TRUE(Exists(folder));
    EXPECT_EQ(WideStringList{folder}, restartList);
    EXPECT_TRUE(log.Has(LogError, "COperations::DelFolderRec", L"failed \"" + folder + L"\". last error 0x20"));
}

TEST_F(DelFolderTest, FolderLockedByAnotherProcessIsUnknownAndStays)
{
    const std::wstring file = tree.AddFile(L"locked\\a.txt");
    const test::LockedPath lock(tree.Path(L"locked"));

    EXPECT_EQ(_ERROR_UNKNOWN, operations.DelFolder(tree.Path(L"locked").c_str(), nullptr));

    EXPECT_TRUE(Exists(file));
    EXPECT_TRUE(
        log.Has(LogError, "COperations::DelFolderRec", L"FindFirstFile \"" + tree.Path(L"locked") + L"\" failed 0x20"));
}

// In use.

TEST_F(DelFolderTest, FolderInUseStaysUntouchedAndThatIsASuccess)
{
    tree.AddFile(L"a.txt");
    SetFileAttributesW(root.c_str(), FILE_ATTRIBUTE_HIDDEN);
    used.folders.insert(root);

    EXPECT_EQ(_ERROR_SUCCESS, operations.DelFolder(root.c_str(), &used));

    EXPECT_TRUE(Exists(tree.Path(L"a.txt")));
    EXPECT_NE(0u, GetFileAttributesW(root.c_str()) & FILE_ATTRIBUTE_HIDDEN);
    EXPECT_TRUE(log.Has(LogTrace, "COperations::DelFolder", L"in use"));
}

TEST_F(DelFolderTest, FileInUseKeepsEveryFolderAboveItAndNothingElse)
{
    const std::wstring file = tree.AddFile(L"sub\\deeper\\used.txt");
    tree.AddFile(L"sub\\deeper\\other.txt");
    tree.AddFile(L"sub\\other\\a.txt");
    used.files.insert(file);
    bool inUse = false;

    EXPECT_EQ(_ERROR_SUCCESS, operations.DelFolderRec(root.c_str(), &used, &inUse));

    EXPECT_TRUE(inUse);
    EXPECT_TRUE(Exists(file));
    EXPECT_FALSE(Exists(tree.Path(L"sub\\deeper\\other.txt")));
    EXPECT_FALSE(Exists(tree.Path(L"sub\\other")));
    EXPECT_TRUE(restartList.empty());
    EXPECT_TRUE(log.HasNoneAt(LogError));
}

TEST_F(DelFolderTest, FolderInUseBelowKeepsTheFoldersAboveAndItsOwnContents)
{
    const std::wstring folder = tree.AddFolder(L"sub\\used");
    tree.AddFile(L"sub\\used\\a.txt");
    used.folders.insert(folder);
    bool inUse = false;

    EXPECT_EQ(_ERROR_SUCCESS, operations.DelFolderRec(root.c_str(), &used, &inUse));

    EXPECT_TRUE(inUse);
    EXPECT_TRUE(Exists(tree.Path(L"sub\\used\\a.txt")));
    EXPECT_TRUE(log.Has(LogTrace, "COperations::DelFolderRec", L"in use"));
    EXPECT_EQ(0, std::count(used.asked.begin(), used.asked.end(), L"file " + tree.Path(L"sub\\used\\a.txt")));
}

TEST_F(DelFolderTest, FolderBehindOneInUseIsRemoved)
{
    used.files.insert(tree.AddFile(L"first\\used.txt"));
    tree.AddFile(L"second\\deeper\\a.txt");
    tree.AddFile(L"third\\a.txt");

    EXPECT_EQ(_ERROR_SUCCESS, operations.DelFolder(root.c_str(), &used));

    EXPECT_TRUE(Exists(tree.Path(L"first")));
    EXPECT_FALSE(Exists(tree.Path(L"second")));
    EXPECT_FALSE(Exists(tree.Path(L"third")));
    EXPECT_TRUE(restartList.empty());
}

TEST_F(DelFolderTest, FolderInUseSetsTheFlagWhenItIsTheRoot)
{
    used.folders.insert(root);
    bool inUse = false;

    EXPECT_EQ(_ERROR_SUCCESS, operations.DelFolderRec(root.c_str(), &used, &inUse));

    EXPECT_TRUE(inUse);
    EXPECT_TRUE(Exists(root));
}

TEST_F(DelFolderTest, RootInUseStaysAlsoWithoutAFlag)
{
    const std::wstring file = tree.AddFile(L"a.txt");
    used.folders.insert(root);

    EXPECT_EQ(_ERROR_SUCCESS, operations.DelFolderRec(root.c_str(), &used, nullptr));

    EXPECT_TRUE(Exists(file));
    EXPECT_TRUE(restartList.empty());
    EXPECT_TRUE(log.Has(LogTrace, "COperations::DelFolderRec", L"in use"));
}

TEST_F(DelFolderTest, FlagIsTakenBackOnceTheFolderIsListed)
{
    bool inUse = true;
    operations.DelFolderRec(tree.Path(L"missing").c_str(), &used, &inUse);
    EXPECT_TRUE(inUse);

    operations.DelFolderRec(root.c_str(), &used, &inUse);

    EXPECT_FALSE(inUse);
    EXPECT_FALSE(Exists(root));
}

TEST_F(DelFolderTest, WithoutAFlagTheRootIsTriedInSpiteOfAFileInUse)
{
    const std::wstring file = tree.AddFile(L"sub\\used.txt");
    used.files.insert(file);

    EXPECT_EQ(_ERROR_SUCCESS, operations.DelFolderRec(root.c_str(), &used, nullptr));

    EXPECT_TRUE(Exists(file));
    EXPECT_EQ(WideStringList{root}, restartList);
}

TEST_F(DelFolderTest, EachPathIsAskedForInTheOrderOfTheWalk)
{
    const std::wstring file = tree.AddFile(L"sub\\a.txt");

    operations.DelFolder(root.c_str(), &used);

    EXPECT_EQ((std::vector<std::wstring>{L"folder " + root, // by DelFolder
                                         L"folder " + root, L"folder " + tree.Path(L"sub"), L"file " + file}),
              used.asked);
}

// Faults.

TEST_F(DelFolderTest, FolderThatCannotBeListedStaysAndIsUnknown)
{
    tree.AddFile(L"a.txt");
    test::FileFaults faults;
    faults.Fail("FindFirstFileW", root + L"\\*.*", ERROR_ACCESS_DENIED);

    EXPECT_EQ(_ERROR_UNKNOWN, operations.DelFolder(root.c_str(), nullptr));

    EXPECT_TRUE(Exists(tree.Path(L"a.txt")));
    EXPECT_TRUE(restartList.empty());
    EXPECT_TRUE(log.Has(LogError, "COperations::DelFolderRec", L"FindFirstFile \"" + root + L"\" failed 0x5"));
}

TEST_F(DelFolderTest, FolderInWhichNothingIsFoundStaysAndIsNotFound)
{
    test::FileFaults faults;
    faults.Fail("FindFirstFileW", root + L"\\*.*", ERROR_FILE_NOT_FOUND);

    EXPECT_EQ(_ERROR_NOT_FOUND, operations.DelFolder(root.c_str(), nullptr));

    EXPECT_TRUE(Exists(root));
    EXPECT_TRUE(
        log.Has(LogWarning, "COperations::DelFolderRec", L"FindFirstFile ERROR_FILE_NOT_FOUND \"" + root + L"\""));
}

TEST_F(DelFolderTest, SubfolderThatCannotBeListedIsListedForTheRestart)
{
    const std::wstring sub = tree.AddFolder(L"sub");
    test::FileFaults faults;
    faults.Fail("FindFirstFileW", sub + L"\\*.*", ERROR_ACCESS_DENIED);

    EXPECT_EQ(_ERROR_SUCCESS, operations.DelFolder(root.c_str(), nullptr));

    EXPECT_EQ((WideStringList{sub, root}), restartList);
}

TEST_F(DelFolderTest, SubfolderInWhichNothingIsFoundIsNotListedForTheRestart)
{
    const std::wstring sub = tree.AddFolder(L"sub");
    test::FileFaults faults;
    faults.Fail("FindFirstFileW", sub + L"\\*.*", ERROR_FILE_NOT_FOUND);

    EXPECT_EQ(_ERROR_SUCCESS, operations.DelFolder(root.c_str(), nullptr));

    EXPECT_EQ(WideStringList{root}, restartList);
}

TEST_F(DelFolderTest, SubfolderThatIsNoneAnyMoreIsPassedByAndNotListedForTheRestart)
{
    const std::wstring turned = tree.AddFolder(L"a");
    tree.AddFile(L"b\\a.txt");
    const test::FolderTurnedFile meanwhile(turned);

    EXPECT_EQ(_ERROR_SUCCESS, operations.DelFolder(root.c_str(), nullptr));

    EXPECT_FALSE(Exists(tree.Path(L"b")));
    EXPECT_TRUE(Exists(turned));
    EXPECT_EQ(WideStringList{root}, restartList); // it isn't empty, what keeps it is not listed
    EXPECT_TRUE(log.Has(LogWarning, "COperations::DelFolderRec", L"\"" + turned + L"\" path isn't a directory"));
}

TEST_F(DelFolderTest, RefusedAttributesAreLoggedAtBothPlacesAndTheFolderGoes)
{
    test::FileFaults faults;
    faults.Fail("SetFileAttributesW", root, ERROR_ACCESS_DENIED);

    EXPECT_EQ(_ERROR_SUCCESS, operations.DelFolder(root.c_str(), nullptr));

    EXPECT_FALSE(Exists(root));
    EXPECT_EQ(1, log.Count(LogWarning, "COperations::DelFolder", L"SetFileAttributes NORMAL failed 0x5"));
    EXPECT_EQ(1, log.Count(LogWarning, "COperations::DelFolderRec", L"SetFileAttributes NORMAL failed 0x5"));
}

struct DelFolderRefusal
{
    const char* name;
    DWORD error;
    bool listed;
};
void PrintTo(const DelFolderRefusal& refusal, std::ostream* out) { *out << refusal.name; }

struct DelFolderRefusalTest : DelFolderTest, testing::WithParamInterface<DelFolderRefusal>
{};

TEST_P(DelFolderRefusalTest, RefusedRemovalIsASuccessAndListedUnlessTheFolderIsGone)
{
    test::FileFaults faults;
    faults.Fail("RemoveDirectoryW", root, GetParam().error);
    wchar_t code[16] = {};
    swprintf(code, 16, L"0x%x", static_cast<unsigned>(GetParam().error));

    EXPECT_EQ(_ERROR_SUCCESS, operations.DelFolder(root.c_str(), nullptr));

    EXPECT_EQ(GetParam().listed ? WideStringList{root} : WideStringList{}, restartList);
    EXPECT_TRUE(log.Has(LogError, "COperations::DelFolderRec", L"failed \"" + root + L"\". last error " + code));
}

INSTANTIATE_TEST_SUITE_P(All, DelFolderRefusalTest,
                         testing::Values(DelFolderRefusal{"FileNotFound", ERROR_FILE_NOT_FOUND, false},
                                         DelFolderRefusal{"PathNotFound", ERROR_PATH_NOT_FOUND, false},
                                         DelFolderRefusal{"InvalidName", ERROR_INVALID_NAME, false},
                                         DelFolderRefusal{"AccessDenied", ERROR_ACCESS_DENIED, true},
                                         DelFolderRefusal{"NotEmpty", ERROR_DIR_NOT_EMPTY, true},
                                         DelFolderRefusal{"SharingViolation", ERROR_SHARING_VIOLATION, true}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(DelFolderTest, NoHandleIsLeftOpen)
{
    tree.AddFile(L"first\\a.txt");
    tree.AddFile(L"second\\deeper\\used.txt");
    used.files.insert(tree.Path(L"second\\deeper\\used.txt"));
    const std::wstring locked = tree.AddFile(L"third\\locked.txt");
    const test::LockedPath lock(locked);
    operations.DelFolder(tree.Path(L"first").c_str(), &used);
    const test::HandleCount handles;

    operations.DelFolder(root.c_str(), &used);
    operations.DelFolder(tree.Path(L"missing").c_str(), &used);

    EXPECT_TRUE(handles.Unchanged());
}

} // namespace
} // namespace prodsweep
