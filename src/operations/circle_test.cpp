#include "environment/log.h"
#include "operations/operations.h"
#include "support/com_scope.h"
#include "support/file_faults.h"
#include "support/handle_count.h"
#include "support/host_files.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/shortcut_maker.h"
#include "support/temp_tree.h"
#include "support/used_paths.h"

#include <gmock/gmock.h>

// Links that lead back to a folder around them.
namespace prodsweep {
namespace {

using test::Exists;
using testing::Contains;
using testing::UnorderedElementsAre;

// A walk that goes round two links does not end of itself: it is made to after some hundred folders.
struct CircleTest : testing::Test
{
    CircleTest() { faults.AllowListings(300); }

    test::TempTree tree;
    const test::LogRecorder log;
    test::FileFaults faults;
    WideStringList restartList;
    COperations operations{&restartList};
    WideStringList folders;
    WideStringList files;

    const std::wstring& root = tree.Root();
    int Expand(const std::wstring& path) { return operations.ExpandFolder(path.c_str(), folders, files); }
};

struct TwoCirclesTest : CircleTest
{
    const std::wstring file = tree.AddFile(L"a.txt");
    const test::FolderLink one{tree.Path(L"one"), tree.Root()};
    const test::FolderLink two{tree.Path(L"two"), tree.Root()};
};

TEST_F(TwoCirclesTest, ExpansionFollowsEachLinkOnceAndEnds)
{
    EXPECT_EQ(_ERROR_SUCCESS, Expand(root));

    EXPECT_THAT(folders, UnorderedElementsAre(root, one.Path(), one.Path() + L"\\one", one.Path() + L"\\two",
                                              two.Path(), two.Path() + L"\\one", two.Path() + L"\\two"));
    EXPECT_THAT(files, UnorderedElementsAre(file, one.Path() + L"\\a.txt", two.Path() + L"\\a.txt"));
    EXPECT_EQ(3, faults.Count("FindFirstFileW"));
}

TEST_F(TwoCirclesTest, DeletionFollowsNoneAndTakesWhatIsThere)
{
    EXPECT_EQ(_ERROR_SUCCESS, operations.DelFolder(root.c_str(), nullptr));

    EXPECT_FALSE(Exists(file));
    EXPECT_EQ(1, faults.Count("FindFirstFileW"));
    EXPECT_TRUE(tree.CanariesIntact());
}

// Whether a link can be deleted is up to the system: one that takes it for its target refuses.
TEST_F(TwoCirclesTest, LinkThatCannotBeDeletedIsLeftToTheRestartWithItsFolder)
{
    faults.Fail("RemoveDirectoryW", one.Path(), ERROR_DIR_NOT_EMPTY);
    faults.Fail("RemoveDirectoryW", two.Path(), ERROR_DIR_NOT_EMPTY);

    EXPECT_EQ(_ERROR_SUCCESS, operations.DelFolder(root.c_str(), nullptr));

    EXPECT_THAT(restartList, UnorderedElementsAre(one.Path(), two.Path(), root));
    EXPECT_EQ(root, restartList.back());
}

TEST_F(TwoCirclesTest, EachLinkThatIsNotFollowedIsTold)
{
    Expand(root);
    operations.DelFolder(root.c_str(), nullptr);

    const std::wstring told = L"\" leads back to a folder around it";
    EXPECT_TRUE(log.Has(LogWarning, "COperations::ExpandFolderRec", L"\"" + one.Path() + L"\\two" + told));
    EXPECT_TRUE(log.Has(LogWarning, "COperations::DelFolderRec", L"\"" + two.Path() + told));
}

TEST_F(TwoCirclesTest, NoHandleIsLeftOpen)
{
    Expand(root);
    const test::HandleCount handles;

    Expand(root);

    EXPECT_TRUE(handles.Unchanged());
}

TEST_F(CircleTest, FileInUseIsNotDeletedThroughTheLink)
{
    const test::FolderLink link(tree.Path(L"link"), root);
    test::UsedPaths used;
    used.files.insert(tree.AddFile(L"used.txt"));

    EXPECT_EQ(_ERROR_SUCCESS, operations.DelFolder(root.c_str(), &used));

    EXPECT_TRUE(Exists(tree.Path(L"used.txt")));
}

TEST_F(CircleTest, LinkInUseStaysWithTheFoldersAroundIt)
{
    const test::FolderLink link(tree.AddFolder(L"sub") + L"\\link", root);
    test::UsedPaths used;
    used.folders.insert(link.Path());
    bool inUse = false;

    EXPECT_EQ(_ERROR_SUCCESS, operations.DelFolderRec(root.c_str(), &used, &inUse));

    EXPECT_TRUE(inUse);
    EXPECT_EQ(0, faults.Count("RemoveDirectoryW"));
}

TEST_F(CircleTest, LinkToAFolderThatTheWalkDidNotComeThroughIsWalked)
{
    const std::wstring above = tree.AddFile(L"a.txt");
    const test::FolderLink link(tree.AddFolder(L"sub") + L"\\link", root);

    EXPECT_EQ(_ERROR_SUCCESS, operations.DelFolder(tree.Path(L"sub").c_str(), nullptr));

    EXPECT_FALSE(Exists(above));
    EXPECT_EQ(3, faults.Count("FindFirstFileW")); // sub, the root by the link, and sub in it
}

TEST_F(CircleTest, LinksThatLeadToEachOtherEnd)
{
    const test::FolderLink there(tree.AddFolder(L"a") + L"\\to", tree.AddFolder(L"b"));
    const test::FolderLink back(tree.Path(L"b\\to"), tree.Path(L"a"));

    EXPECT_EQ(_ERROR_SUCCESS, Expand(tree.Path(L"a")));

    EXPECT_EQ((WideStringList{tree.Path(L"a"), tree.Path(L"a\\to"), tree.Path(L"a\\to\\to"), //
                              tree.Path(L"a\\to\\to\\to")}),
              folders);
}

TEST_F(CircleTest, TwoLinksToOneFolderAreNoCircle)
{
    const test::TempTree elsewhere;
    const test::FolderLink one(tree.Path(L"one"), elsewhere.Root());
    const test::FolderLink two(tree.Path(L"two"), elsewhere.Root());
    const std::wstring behind = elsewhere.Root() + L"\\a.txt";
    ASSERT_TRUE(CopyFileW(tree.AddFile(L"a.txt").c_str(), behind.c_str(), TRUE));

    Expand(root);

    EXPECT_THAT(files, UnorderedElementsAre(tree.Path(L"a.txt"), one.Path() + L"\\a.txt", two.Path() + L"\\a.txt"));
    EXPECT_TRUE(log.HasNoneAt(LogWarning));
}

// What a walk costs, and what it does when it can't tell one folder from another.

WideStringList opened;
const test::ImportPatch* openPatch = nullptr;

HANDLE WINAPI NoteOpen(const wchar_t* path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security, DWORD creation,
                       DWORD flags, HANDLE pattern)
{
    opened.emplace_back(path);
    return openPatch->Original<decltype(NoteOpen)>()(path, access, share, security, creation, flags, pattern);
}

TEST_F(CircleTest, NothingIsOpenedToTellFoldersWhereNoLinkIs)
{
    tree.AddFile(L"sub\\deeper\\a.txt");
    const test::ImportPatch patch(nullptr, "CreateFileW", NoteOpen);
    openPatch = &patch;
    opened.clear();

    Expand(root);
    operations.DelFolder(root.c_str(), nullptr);

    EXPECT_EQ(WideStringList{}, opened);
}

TEST_F(CircleTest, LinkCostsOneOpenForItselfAndForEachFolderAroundIt)
{
    const test::TempTree elsewhere;
    const test::FolderLink one(tree.AddFolder(L"sub") + L"\\one", elsewhere.Root());
    const test::FolderLink two(tree.Path(L"sub\\two"), elsewhere.Root());
    const test::ImportPatch patch(nullptr, "CreateFileW", NoteOpen);
    openPatch = &patch;
    opened.clear();

    Expand(root);

    EXPECT_THAT(opened, UnorderedElementsAre(one.Path(), root + L"\\", tree.Path(L"sub\\"), two.Path()));
}

// A drive without a separator means its root, and not the current folder on it.
TEST_F(CircleTest, LinkToTheRootOfADriveIsSeen)
{
    const test::MappedDrive drive(root);
    const test::FolderLink link(tree.Path(L"link"), root);
    const std::wstring letter = drive.Root().substr(0, 2);

    const test::ImportPatch patch(nullptr, "CreateFileW", NoteOpen);
    openPatch = &patch;
    opened.clear();

    EXPECT_EQ(_ERROR_SUCCESS, Expand(letter));

    EXPECT_EQ((WideStringList{letter, letter + L"\\link", letter + L"\\link\\link"}), folders);
    EXPECT_THAT(opened, Contains(drive.Root()));
}

struct Unknown
{
    const char* name;
    BOOL succeeds;
    DWORD index;
};
void PrintTo(const Unknown& unknown, std::ostream* out) { *out << unknown.name; }

Unknown unknownAnswer;

BOOL WINAPI AnswerAlike(HANDLE, BY_HANDLE_FILE_INFORMATION* information)
{
    *information = {};
    information->nFileIndexHigh = information->nFileIndexLow = unknownAnswer.index;
    return unknownAnswer.succeeds;
}

struct UnknownFolderTest : CircleTest, testing::WithParamInterface<Unknown>
{};

TEST_P(UnknownFolderTest, LinkIsWalkedAsAnyFolder)
{
    const test::TempTree elsewhere;
    const test::FolderLink link(tree.Path(L"link"), elsewhere.Root());
    const test::ImportPatch patch(nullptr, "GetFileInformationByHandle", AnswerAlike);
    unknownAnswer = GetParam();

    operations.DelFolder(root.c_str(), nullptr);

    EXPECT_EQ(1, faults.Count("FindFirstFileW", link.Path() + L"\\*.*"));
}

INSTANTIATE_TEST_SUITE_P(All, UnknownFolderTest,
                         testing::Values(Unknown{"Refused", FALSE, 1}, Unknown{"WithoutNumbers", TRUE, 0},
                                         Unknown{"WithNumbersBeyondTheField", TRUE, 0xFFFFFFFF}),
                         [](const auto& row) { return std::string(row.param.name); });

// Shortcuts.

struct ShortcutCircleTest : CircleTest
{
    ShortcutCircleTest() { test::MakeShortcut(shortcut, target); }

    const test::ComScope com;
    const std::wstring target = tree.AddFile(L"app.exe");
    const std::wstring folder = tree.AddFolder(L"links");
    const std::wstring shortcut = folder + L"\\app.lnk";
    const test::FolderLink one{folder + L"\\one", folder};
    const test::FolderLink two{folder + L"\\two", folder};
};

TEST_F(ShortcutCircleTest, DeletionEnds)
{
    EXPECT_EQ(_ERROR_SUCCESS, operations.DelShortcut(folder.c_str(), target.c_str(), true, nullptr));

    EXPECT_FALSE(Exists(shortcut));
    EXPECT_EQ(1, faults.Count("FindFirstFileW"));
}

TEST_F(ShortcutCircleTest, CheckEnds)
{
    EXPECT_EQ(_ERROR_SUCCESS, operations.CheckShortcut(folder.c_str(), target.c_str(), true));

    EXPECT_EQ(1, faults.Count("FindFirstFileW"));
}

TEST_F(ShortcutCircleTest, ExpansionFollowsEachLinkOnceAndEnds)
{
    WideStringList found;

    EXPECT_EQ(_ERROR_SUCCESS, operations.ExpandShortcut(folder.c_str(), target.c_str(), true, found));

    EXPECT_THAT(found, UnorderedElementsAre(shortcut, one.Path() + L"\\app.lnk", two.Path() + L"\\app.lnk"));
    EXPECT_EQ(3, faults.Count("FindFirstFileW"));
}

TEST_F(ShortcutCircleTest, EachLinkThatIsNotFollowedIsTold)
{
    WideStringList found;
    operations.ExpandShortcut(folder.c_str(), target.c_str(), true, found);
    operations.CheckShortcut(folder.c_str(), target.c_str(), true);
    operations.DelShortcut(folder.c_str(), target.c_str(), true, nullptr);

    const std::wstring told = L"\" leads back to a folder around it";
    EXPECT_TRUE(log.Has(LogWarning, "COperations::ExpandShortcutRec", L"\"" + one.Path() + L"\\two" + told));
    EXPECT_TRUE(log.Has(LogWarning, "COperations::CheckShortcutRec", L"\"" + one.Path() + told));
    EXPECT_TRUE(log.Has(LogWarning, "COperations::DelShortcutRec", L"\"" + two.Path() + told));
}

// The links stand on both sides of what fails, in whatever order they are listed.
TEST_F(ShortcutCircleTest, LinkThatLeadsBackHidesNoFailure)
{
    faults.Fail("DeleteFileW", shortcut, ERROR_SHARING_VIOLATION);

    EXPECT_EQ(_ERROR_FAILED, operations.DelShortcut(folder.c_str(), target.c_str(), true, nullptr));

    EXPECT_EQ(WideStringList{shortcut}, restartList);
}

} // namespace
} // namespace prodsweep
