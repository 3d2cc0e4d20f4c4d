#include "operations/operations.h"

#include "environment/log.h"
#include "support/com_scope.h"
#include "support/file_faults.h"
#include "support/handle_count.h"
#include "support/locked_path.h"
#include "support/log_recorder.h"
#include "support/shortcut_maker.h"
#include "support/temp_tree.h"
#include "support/used_paths.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace prodsweep {
namespace {

using test::Exists;

// A folder of links, and targets beside it.
struct ShortcutTest : testing::Test
{
    const test::ComScope com;
    test::TempTree tree;
    test::UsedPaths used;
    const test::LogRecorder log;
    WideStringList restartList;
    COperations operations{&restartList};
    const std::wstring folder = tree.AddFolder(L"links");
    const std::wstring target = tree.AddFile(L"targets\\app.exe");
    const std::wstring other = tree.AddFile(L"targets\\other.exe");

    std::wstring AddLink(const std::wstring& name, const std::wstring& to) const
    {
        const std::wstring link = folder + L"\\" + name;
        test::MakeShortcut(link, to);
        EXPECT_TRUE(Exists(link));
        return link;
    }
    std::wstring AddBrokenLink(const std::wstring& name) { return tree.AddFile(L"links\\" + name); }

    int Del(const std::wstring& wanted, bool isPath = true)
    {
        return operations.DelShortcut(folder.c_str(), wanted.c_str(), isPath, &used);
    }
    int Check(const std::wstring& wanted, bool isPath = true)
    {
        return operations.CheckShortcut(folder.c_str(), wanted.c_str(), isPath);
    }
    WideStringList Expand(const std::wstring& wanted, bool isPath = true)
    {
        WideStringList links;
        EXPECT_EQ(_ERROR_SUCCESS, operations.ExpandShortcut(folder.c_str(), wanted.c_str(), isPath, links));
        std::sort(links.begin(), links.end());
        return links;
    }
};

TEST_F(ShortcutTest, LinkToTheTargetGoesAndAllOthersStay)
{
    const std::wstring link = AddLink(L"app.lnk", target);
    const std::wstring stranger = AddLink(L"other.lnk", other);
    const std::wstring noLink = tree.AddFile(L"links\\app.exe");

    EXPECT_EQ(_ERROR_SUCCESS, Del(target));

    EXPECT_FALSE(Exists(link));
    EXPECT_TRUE(Exists(stranger));
    EXPECT_TRUE(Exists(noLink));
    EXPECT_TRUE(Exists(target));
    EXPECT_TRUE(tree.CanariesIntact());
    EXPECT_TRUE(log.HasNoneAt(LogError));
}

TEST_F(ShortcutTest, LinksBelowSubfoldersAreMeantToo)
{
    tree.AddFolder(L"links\\sub\\deeper");
    const std::wstring first = AddLink(L"app.lnk", target);
    const std::wstring second = AddLink(L"sub\\deeper\\app.lnk", target);

    EXPECT_EQ((WideStringList{first, second}), Expand(target));
    EXPECT_EQ(_ERROR_SUCCESS, Del(target));

    EXPECT_FALSE(Exists(first));
    EXPECT_FALSE(Exists(second));
    EXPECT_TRUE(Exists(tree.Path(L"links\\sub\\deeper")));
}

TEST_F(ShortcutTest, CheckAndExpandChangeNothing)
{
    const std::wstring link = AddLink(L"app.lnk", target);
    SetFileAttributesW(link.c_str(), FILE_ATTRIBUTE_READONLY);

    EXPECT_EQ(_ERROR_SUCCESS, Check(target));
    EXPECT_EQ(WideStringList{link}, Expand(target));

    EXPECT_NE(0u, GetFileAttributesW(link.c_str()) & FILE_ATTRIBUTE_READONLY);
}

TEST_F(ShortcutTest, ExpansionAppendsToItsList)
{
    const std::wstring link = AddLink(L"app.lnk", target);
    WideStringList links = {L"before"};

    operations.ExpandShortcut(folder.c_str(), target.c_str(), true, links);

    EXPECT_EQ((WideStringList{L"before", link}), links);
}

// Which links match.

TEST_F(ShortcutTest, TargetThatIsGoneMatchesAllTheSame)
{
    const std::wstring link = AddLink(L"app.lnk", target);
    DeleteFileW(target.c_str());

    EXPECT_EQ(WideStringList{link}, Expand(target));
    EXPECT_EQ(WideStringList{link}, Expand(L"app.exe", false));
}

TEST_F(ShortcutTest, WholePathIsComparedWithoutCase)
{
    const std::wstring link = AddLink(L"app.lnk", target);
    std::wstring loud = target;
    std::transform(loud.begin(), loud.end(), loud.begin(), ::towupper);

    EXPECT_EQ(WideStringList{link}, Expand(loud));
    EXPECT_EQ(WideStringList{}, Expand(L"app.exe"));
    EXPECT_EQ(WideStringList{}, Expand(target + L"x"));
}

TEST_F(ShortcutTest, NameIsComparedWithoutFolderAndCase)
{
    const std::wstring link = AddLink(L"app.lnk", target);
    const std::wstring elsewhere = AddLink(L"elsewhere.lnk", L"C:\\no\\such\\folder\\APP.EXE");

    EXPECT_EQ((WideStringList{link, elsewhere}), Expand(L"App.Exe", false));
    EXPECT_EQ(WideStringList{}, Expand(L"app", false));
    EXPECT_EQ(WideStringList{}, Expand(target, false));
}

TEST_F(ShortcutTest, NameWithoutExtensionIsAWholeName)
{
    const std::wstring link = AddLink(L"folder.lnk", tree.AddFolder(L"targets\\app"));

    EXPECT_EQ(WideStringList{link}, Expand(L"APP", false));
}

TEST_F(ShortcutTest, ExtensionLongerThanItMayBeMatchesNoName)
{
    const std::wstring longest = tree.AddFile(L"targets\\a." + std::wstring(14, L'e'));
    const std::wstring tooLong = tree.AddFile(L"targets\\a." + std::wstring(15, L'e'));
    const std::wstring link = AddLink(L"longest.lnk", longest);
    const std::wstring passedOver = AddLink(L"too long.lnk", tooLong);

    EXPECT_EQ(WideStringList{link}, Expand(L"a." + std::wstring(14, L'e'), false));
    EXPECT_EQ(WideStringList{}, Expand(L"a." + std::wstring(15, L'e'), false));
    EXPECT_EQ(WideStringList{}, Expand(L"", false));
    EXPECT_EQ(WideStringList{passedOver}, Expand(tooLong));
}

TEST_F(ShortcutTest, EmptyTargetMatchesTheLinkThatPointsAtNothing)
{
    const std::wstring nothing = AddLink(L"nothing.lnk", L"");
    AddLink(L"app.lnk", target);

    EXPECT_EQ(WideStringList{nothing}, Expand(L""));
    EXPECT_EQ(WideStringList{nothing}, Expand(L"", false));
}

TEST_F(ShortcutTest, NoTargetMatchesNoLink)
{
    const std::wstring nothing = AddLink(L"nothing.lnk", L"");
    const std::wstring link = AddLink(L"app.lnk", target);

    EXPECT_EQ(_ERROR_SUCCESS, operations.DelShortcut(folder.c_str(), nullptr, true, nullptr));
    EXPECT_EQ(_ERROR_SUCCESS, operations.DelShortcut(folder.c_str(), nullptr, false, nullptr));

    EXPECT_TRUE(Exists(nothing));
    EXPECT_TRUE(Exists(link));
}

TEST_F(ShortcutTest, ExtensionOfALinkCountsInAnyCaseAndOnlyAsAWhole)
{
    const std::wstring loud = AddLink(L"a.LNK", target);
    const std::wstring mixed = AddLink(L"b.Lnk", target);
    AddLink(L"c.lnk.bak", target);
    AddLink(L"d.lnkx", target);
    AddLink(L"lnk", target);

    EXPECT_EQ((WideStringList{loud, mixed}), Expand(target));
}

TEST_F(ShortcutTest, FolderNamedLikeALinkIsWalkedAsAFolder)
{
    tree.AddFolder(L"links\\x.lnk");
    const std::wstring link = AddLink(L"x.lnk\\app.lnk", target);

    EXPECT_EQ(WideStringList{link}, Expand(target));
    EXPECT_EQ(_ERROR_SUCCESS, Del(target));

    EXPECT_FALSE(Exists(link));
    EXPECT_TRUE(Exists(tree.Path(L"links\\x.lnk")));
}

// A path that is no folder stands for itself.

TEST_F(ShortcutTest, SingleFileIsTakenWhateverItIs)
{
    const std::wstring file = tree.AddFile(L"readme.txt");
    WideStringList links;

    EXPECT_EQ(_ERROR_SUCCESS, operations.CheckShortcut(file.c_str(), target.c_str(), true));
    EXPECT_EQ(_ERROR_SUCCESS, operations.ExpandShortcut(file.c_str(), target.c_str(), true, links));
    EXPECT_EQ(_ERROR_SUCCESS, operations.DelShortcut(file.c_str(), target.c_str(), true, nullptr));

    EXPECT_EQ(WideStringList{file}, links);
    EXPECT_FALSE(Exists(file));
}

TEST_F(ShortcutTest, MissingPathIsNotFoundButCollected)
{
    for (const std::wstring& path : {tree.Path(L"missing.lnk"), std::wstring(), L"C:\\" + std::wstring(32764, L'x')})
    {
        WideStringList links;
        EXPECT_EQ(_ERROR_NOT_FOUND, operations.DelShortcut(path.c_str(), L"", true, nullptr));
        EXPECT_EQ(_ERROR_NOT_FOUND, operations.CheckShortcut(path.c_str(), L"", true));
        EXPECT_EQ(_ERROR_SUCCESS, operations.ExpandShortcut(path.c_str(), L"", true, links));
        EXPECT_EQ(WideStringList{path}, links);
    }
    EXPECT_TRUE(restartList.empty());
}

TEST_F(ShortcutTest, FolderWithoutLinksIsASuccess)
{
    EXPECT_EQ(_ERROR_SUCCESS, Del(target));
    EXPECT_EQ(_ERROR_SUCCESS, Check(target));
    EXPECT_EQ(WideStringList{}, Expand(target));
    EXPECT_TRUE(log.Records().empty());
}

TEST_F(ShortcutTest, FolderWithoutAMatchingLinkIsASuccess)
{
    AddLink(L"other.lnk", other);

    EXPECT_EQ(_ERROR_SUCCESS, Check(target));
    EXPECT_EQ(_ERROR_SUCCESS, Del(target));
}

// In use, locked.

TEST_F(ShortcutTest, LinkInUseStaysAndThatIsASuccess)
{
    const std::wstring link = AddLink(L"app.lnk", target);
    used.files.insert(link);

    EXPECT_EQ(_ERROR_SUCCESS, Del(target));

    EXPECT_TRUE(Exists(link));
    EXPECT_EQ((std::vector<std::wstring>{L"file " + link}), used.asked);
}

TEST_F(ShortcutTest, LinkInUseThatIsNamedByItselfStaysAndThatIsASuccess)
{
    const std::wstring link = AddLink(L"app.lnk", target);
    used.files.insert(link);

    EXPECT_EQ(_ERROR_SUCCESS, operations.DelShortcut(link.c_str(), target.c_str(), true, &used));

    EXPECT_TRUE(Exists(link));
    EXPECT_EQ((std::vector<std::wstring>{L"file " + link}), used.asked);
}

TEST_F(ShortcutTest, LockedLinkFailsAndIsListedOnce)
{
    const std::wstring link = AddLink(L"app.lnk", target);
    const test::LockedPath lock(link, FILE_SHARE_READ | FILE_SHARE_WRITE);

    EXPECT_EQ(_ERROR_FAILED, Del(target));

    EXPECT_TRUE(Exists(link));
    EXPECT_EQ(WideStringList{link}, restartList);
    EXPECT_EQ(1, log.Count(LogTrace, "COperations::AddRestartDel", L"\"" + link + L"\""));
}

TEST_F(ShortcutTest, LockedLinkGivesTheSameResultWithoutARestartList)
{
    const std::wstring link = AddLink(L"app.lnk", target);
    const test::LockedPath lock(link, FILE_SHARE_READ | FILE_SHARE_WRITE);

    EXPECT_EQ(_ERROR_FAILED, COperations().DelShortcut(folder.c_str(), target.c_str(), true, nullptr));
}

TEST_F(ShortcutTest, UnreadableLinkIsPassedOver)
{
    const std::wstring broken = AddBrokenLink(L"broken.lnk");
    const std::wstring empty = tree.AddFile(L"links\\empty.lnk", FILE_ATTRIBUTE_NORMAL, "");
    const std::wstring link = AddLink(L"working.lnk", target);

    EXPECT_EQ(_ERROR_SUCCESS, Check(target));
    EXPECT_EQ(WideStringList{link}, Expand(target));
    EXPECT_EQ(_ERROR_SUCCESS, Del(target));

    EXPECT_TRUE(Exists(broken));
    EXPECT_TRUE(Exists(empty));
    EXPECT_FALSE(Exists(link));
    EXPECT_TRUE(restartList.empty());
}

TEST_F(ShortcutTest, NoHandleIsLeftOpen)
{
    tree.AddFolder(L"links\\sub");
    AddLink(L"sub\\app.lnk", target);
    AddBrokenLink(L"broken.lnk");
    Check(target);
    Check(target);
    const test::HandleCount handles;

    Check(target);
    Expand(L"other.exe", false);
    Del(target);

    EXPECT_TRUE(handles.Unchanged());
}

} // namespace
} // namespace prodsweep
