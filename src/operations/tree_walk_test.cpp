#include "operations/tree_walk.h"

#include "environment/log.h"
#include "operations/operations.h"
#include "support/host_files.h"
#include "support/log_recorder.h"
#include "support/many_files.h"
#include "support/temp_tree.h"
#include "support/used_paths.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>

// Trees of odd shape, as the operations meet them.
namespace prodsweep {
namespace {

using test::Exists;

struct OddTreeTest : testing::Test
{
    test::TempTree tree;
    test::LogRecorder log;
    WideStringList restartList;
    COperations operations{&restartList};

    const std::wstring& root = tree.Root();
    // The form of a path that is taken as it stands: no limit of length, no name that is tidied up.
    const std::wstring verbatimRoot = L"\\\\?\\" + tree.Root();

    std::wstring AddVerbatim(const std::wstring& name) const
    {
        const std::wstring path = verbatimRoot + L"\\" + name;
        const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
        EXPECT_NE(INVALID_HANDLE_VALUE, file) << GetLastError();
        CloseHandle(file);
        return path;
    }
};

bool GoTo(WalkStep wanted, CTreeWalk& walk)
{
    WalkStep step = walk.Next();
    while (step != wanted && step != WalkStep::End)
        step = walk.Next();
    return step == wanted;
}

TEST_F(OddTreeTest, StepsComeInTheOrderOfTheWalk)
{
    tree.AddFile(L"sub\\a.txt");
    CTreeWalk walk(root.c_str());
    std::vector<WalkStep> steps;
    while (steps.empty() || steps.back() != WalkStep::End)
        steps.push_back(walk.Next());

    EXPECT_EQ(
        (std::vector<WalkStep>{WalkStep::Met, WalkStep::Folder, WalkStep::Entered, WalkStep::Met, WalkStep::Folder,
                               WalkStep::Entered, WalkStep::File, WalkStep::Left, WalkStep::Left, WalkStep::End}),
        steps);
    EXPECT_EQ(WalkStep::End, walk.Next());
}

TEST_F(OddTreeTest, SkippedFolderIsNeitherEnteredNorLeft)
{
    tree.AddFile(L"a.txt");
    CTreeWalk walk(root.c_str());
    ASSERT_TRUE(GoTo(WalkStep::Folder, walk));
    walk.Skip();

    EXPECT_EQ(WalkStep::End, walk.Next());
}

TEST_F(OddTreeTest, NameIsTheLastPartOfThePath)
{
    tree.AddFile(L"sub\\a.txt");
    CTreeWalk walk(root.c_str());
    ASSERT_TRUE(GoTo(WalkStep::File, walk));

    EXPECT_STREQ(L"a.txt", walk.Name());
    EXPECT_EQ(tree.Path(L"sub\\a.txt"), walk.Path());
    EXPECT_EQ(2u, walk.Depth());
}

// Notes how deep the stack is at each question.
class StackGauge final : public IUsed
{
public:
    bool IsUsedFile(const wchar_t*) override { return Note(); }
    bool IsUsedFolder(const wchar_t*) override { return Note(); }
    bool IsUsedRegKey(const wchar_t*, bool) override { return false; }
    bool IsUsedRegValue(const wchar_t*, const wchar_t*, bool) override { return false; }
    bool IsUsedTool(const wchar_t*, const wchar_t*) override { return false; }

    [[nodiscard]] std::uintptr_t Spread() const { return highest - lowest; }
    int questions = 0;

private:
    bool Note()
    {
        const volatile char here = 0;
        const auto address = reinterpret_cast<std::uintptr_t>(&here);
        lowest = std::min(lowest, address);
        highest = std::max(highest, address);
        ++questions;
        return false;
    }

    std::uintptr_t lowest = UINTPTR_MAX;
    std::uintptr_t highest = 0;
};

TEST_F(OddTreeTest, DepthCostsNoStack)
{
    std::wstring path;
    for (int depth = 0; depth < 60; ++depth)
        path += L"d\\";
    tree.AddFile(path + L"a.txt");
    StackGauge gauge;

    EXPECT_EQ(_ERROR_SUCCESS, operations.DelFolder(root.c_str(), &gauge));

    EXPECT_FALSE(Exists(root));
    EXPECT_EQ(1 + 61 + 1, gauge.questions);
    // DelFolder itself, DelFolderRec, DelFile: the same few frames at any depth.
    EXPECT_LT(gauge.Spread(), 4096u);
}

TEST_F(OddTreeTest, TreeOf60LevelsIsExpanded)
{
    std::wstring path;
    for (int depth = 0; depth < 60; ++depth)
        path += L"d\\";
    const std::wstring file = tree.AddFile(path + L"a.txt");
    WideStringList folders;
    WideStringList files;

    EXPECT_EQ(_ERROR_SUCCESS, operations.ExpandFolder(root.c_str(), folders, files));

    EXPECT_EQ(61u, folders.size());
    EXPECT_EQ(WideStringList{file}, files);
}

TEST_F(OddTreeTest, FolderOf20000FilesIsExpandedAndGoes)
{
    log.Pause();
    constexpr int count = 20000;
    std::vector<std::wstring> names;
    names.reserve(count);
    for (int i = 0; i < count; ++i)
        names.push_back(std::to_wstring(i));
    ASSERT_TRUE(test::MakeManyFiles(root, names));
    WideStringList folders;
    WideStringList files;

    EXPECT_EQ(_ERROR_SUCCESS, operations.ExpandFolder(root.c_str(), folders, files));
    EXPECT_EQ(_ERROR_SUCCESS, operations.DelFolder(root.c_str(), nullptr));

    std::sort(files.begin(), files.end());
    EXPECT_EQ(count, std::unique(files.begin(), files.end()) - files.begin());
    EXPECT_FALSE(Exists(root));
    EXPECT_TRUE(tree.CanariesIntact());
}

TEST_F(OddTreeTest, NamesBeyondTheBasicPlaneGoLikeAnyOther)
{
    const std::wstring folder = tree.AddFolder(L"\xD83D\xDCC1 folder");
    const std::wstring file = tree.AddFile(L"\xD83D\xDCC1 folder\\\xD83D\xDE00.txt");
    tree.AddFile(L"\x4E2D\x6587.txt");
    tree.AddFile(L"..dots");
    tree.AddFile(L"%PATH% & 'quotes'");
    WideStringList folders;
    WideStringList files;

    EXPECT_EQ(_ERROR_SUCCESS, operations.ExpandFolder(folder.c_str(), folders, files));
    EXPECT_EQ(_ERROR_SUCCESS, operations.DelFolder(root.c_str(), nullptr));

    EXPECT_EQ(WideStringList{file}, files);
    EXPECT_FALSE(Exists(root));
}

TEST_F(OddTreeTest, TrailingDotsAndBlanksGoWhenTheFolderIsGivenVerbatim)
{
    AddVerbatim(L"dot.");
    AddVerbatim(L"blank ");
    AddVerbatim(L"...");

    EXPECT_EQ(_ERROR_SUCCESS, operations.DelFolder(verbatimRoot.c_str(), nullptr));

    EXPECT_FALSE(Exists(root));
    EXPECT_TRUE(restartList.empty());
}

TEST_F(OddTreeTest, TrailingDotsAndBlanksCannotBeReachedByAnOrdinaryPath)
{
    const std::wstring dot = AddVerbatim(L"dot.");
    const std::wstring blank = AddVerbatim(L"blank ");

    EXPECT_EQ(_ERROR_SUCCESS, operations.DelFolder(root.c_str(), nullptr));

    EXPECT_TRUE(Exists(dot));
    EXPECT_TRUE(Exists(blank));
    EXPECT_EQ(WideStringList{root}, restartList);
    DeleteFileW(dot.c_str());
    DeleteFileW(blank.c_str());
}

TEST_F(OddTreeTest, PathsAroundTheOldLimitGo)
{
    for (const std::size_t length : {258u, 259u, 260u, 261u, 400u})
    {
        const std::wstring folder = verbatimRoot + L"\\" + std::wstring(120, L'f');
        CreateDirectoryW(folder.c_str(), nullptr);
        // Counted without the four characters that make the path verbatim.
        std::wstring path = folder;
        while (length + 4 - path.size() > 200)
            CreateDirectoryW((path += L"\\" + std::wstring(100, L'g')).c_str(), nullptr);
        path += L"\\" + std::wstring(length + 4 - path.size() - 1, L'n');
        CloseHandle(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
        ASSERT_TRUE(Exists(path)) << length;

        EXPECT_EQ(_ERROR_SUCCESS, operations.DelFolder(folder.c_str(), nullptr));

        EXPECT_FALSE(Exists(folder)) << length;
    }
}

// Links to folders. A walk does not tell them from folders, so what lies behind them goes too: who
// names a folder in a descriptor answers for the links in it.

struct LinkedTreeTest : OddTreeTest
{
    test::TempTree elsewhere;
    const std::wstring behind = elsewhere.AddFile(L"target\\a.txt");
    const test::FolderLink folderLink{tree.Path(L"link"), elsewhere.Path(L"target")};
    const std::wstring& link = folderLink.Path();
};

TEST_F(LinkedTreeTest, LinkIsListedAsAFolder)
{
    WIN32_FIND_DATAW entry{};
    const HANDLE find = FindFirstFileW(link.c_str(), &entry);
    ASSERT_NE(INVALID_HANDLE_VALUE, find);
    FindClose(find);

    constexpr DWORD both = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
    EXPECT_EQ(both, entry.dwFileAttributes & both);
}

TEST_F(LinkedTreeTest, ExpansionGoesThroughTheLink)
{
    WideStringList folders;
    WideStringList files;

    EXPECT_EQ(_ERROR_SUCCESS, operations.ExpandFolder(root.c_str(), folders, files));

    EXPECT_EQ((WideStringList{root, link}), folders);
    EXPECT_EQ(WideStringList{link + L"\\a.txt"}, files);
    EXPECT_TRUE(Exists(behind));
}

TEST_F(LinkedTreeTest, DeletionGoesThroughTheLinkAndNoFurther)
{
    EXPECT_EQ(_ERROR_SUCCESS, operations.DelFolder(root.c_str(), nullptr));

    EXPECT_FALSE(Exists(behind));
    EXPECT_TRUE(Exists(elsewhere.Root()));
    EXPECT_TRUE(elsewhere.CanariesIntact());
}

TEST_F(LinkedTreeTest, LinkInUseKeepsWhatLiesBehindIt)
{
    test::UsedPaths used;
    used.folders.insert(link);

    EXPECT_EQ(_ERROR_SUCCESS, operations.DelFolder(root.c_str(), &used));

    EXPECT_TRUE(Exists(behind));
    EXPECT_TRUE(Exists(link));
}

// The root of a drive, always one whose whole content is the sandbox.

struct DriveRootTest : OddTreeTest
{
    test::MappedDrive drive{tree.AddFolder(L"drive")};
};

TEST_F(DriveRootTest, ContentsGoAndNothingBeyondTheRoot)
{
    tree.AddFile(L"drive\\sub\\a.txt");
    tree.AddFile(L"drive\\b.txt");
    tree.AddFile(L"beside.txt");

    EXPECT_EQ(_ERROR_SUCCESS, operations.DelFolder(drive.Root().c_str(), nullptr));

    EXPECT_FALSE(Exists(tree.Path(L"drive\\sub")));
    EXPECT_FALSE(Exists(tree.Path(L"drive\\b.txt")));
    EXPECT_TRUE(Exists(tree.Path(L"beside.txt")));
    EXPECT_TRUE(tree.CanariesIntact());
}

TEST_F(DriveRootTest, EmptyRootIsNotFoundAndStays)
{
    EXPECT_EQ(_ERROR_NOT_FOUND, operations.DelFolder(drive.Root().c_str(), nullptr));

    EXPECT_TRUE(Exists(drive.Root()));
    EXPECT_TRUE(restartList.empty());
    EXPECT_TRUE(log.Has(LogWarning, "COperations::DelFolderRec",
                        L"FindFirstFile ERROR_FILE_NOT_FOUND \"" + drive.Root() + L"\""));
}

} // namespace
} // namespace prodsweep
