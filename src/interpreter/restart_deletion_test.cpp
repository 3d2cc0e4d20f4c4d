#include "interpreter/product_uninstall.h"

#include "environment/log.h"
#include "support/com_scope.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/removal_pass.h"
#include "support/wow64_mode.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

namespace prodsweep {
namespace {

using test::RemovalPass;
using testing::ElementsAre;
using testing::IsEmpty;

// What MoveFileExW was asked, in order; a path that ends in "refused" is.
std::vector<std::wstring>& Moves()
{
    static std::vector<std::wstring> moves;
    return moves;
}

BOOL WINAPI NoteMove(const wchar_t* from, const wchar_t* to, DWORD flags)
{
    EXPECT_EQ(nullptr, to);
    EXPECT_EQ(static_cast<DWORD>(MOVEFILE_DELAY_UNTIL_REBOOT), flags);
    Moves().emplace_back(from);
    if (!Moves().back().ends_with(L"refused"))
        return TRUE;
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

// The system's own list is left alone here: it belongs to the whole prefix.
class RestartDeletionTest : public testing::Test
{
protected:
    RestartDeletionTest() { Moves().clear(); }

    test::LogRecorder log;
    test::TempTree tree;
    CheckList checkList;
    RemovalPass pass{L"Product", L"C:\\none.xml", checkList, nullptr};
    test::ImportPatch moveFile{nullptr, "MoveFileExW", NoteMove};
};

TEST_F(RestartDeletionTest, PathIsAddedOnceAndTracedOnce)
{
    pass.AddRestartDel(L"C:\\a");
    pass.AddRestartDel(L"C:\\a");
    EXPECT_THAT(pass.restartDeleteList, ElementsAre(L"C:\\a"));
    EXPECT_EQ(1, log.Count(LogTrace, "CProductUninstall::AddRestartDel", L"\"C:\\a\""));
}

TEST_F(RestartDeletionTest, PathsThatDifferInCaseAreTwo)
{
    pass.AddRestartDel(L"C:\\a");
    pass.AddRestartDel(L"C:\\A");
    EXPECT_TRUE(pass.DeleteAtRestart());
    EXPECT_THAT(Moves(), ElementsAre(L"C:\\a", L"C:\\A"));
}

TEST_F(RestartDeletionTest, EmptyListWritesOnlyTheHeading)
{
    EXPECT_TRUE(pass.DeleteAtRestart());
    EXPECT_THAT(Moves(), IsEmpty());
    ASSERT_EQ(1u, log.Records().size());
    EXPECT_TRUE(log.Has(LogTrace, "CProductUninstall::DeleteAtRestart", L"RESTART DELETE :"));
}

TEST_F(RestartDeletionTest, FilesLoseTheirAttributesAndAreRegisteredInTheOrderOfTheList)
{
    const std::wstring b = tree.AddFile(L"b.txt", FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
    const std::wstring a = tree.AddFile(L"a.txt");
    pass.AddRestartDel(b);
    pass.AddRestartDel(a);
    EXPECT_TRUE(pass.DeleteAtRestart());
    EXPECT_THAT(Moves(), ElementsAre(b, a));
    EXPECT_EQ(0u, GetFileAttributesW(b.c_str()) & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN));
    EXPECT_TRUE(test::Exists(a));
    EXPECT_TRUE(log.Has(LogTrace, "CProductUninstall::DeleteAtRestart", L"\"" + a + L"\""));
    EXPECT_THAT(pass.restartDeleteList, ElementsAre(b, a));
}

TEST_F(RestartDeletionTest, PathThatIsGoneIsRegisteredAllTheSame)
{
    const std::wstring gone = tree.Path(L"gone.txt");
    pass.AddRestartDel(gone);
    EXPECT_TRUE(pass.DeleteAtRestart());
    EXPECT_THAT(Moves(), ElementsAre(gone));
    EXPECT_TRUE(log.Has(LogWarning, "CProductUninstall::DeleteAtRestart",
                        L"SetFileAttributes NORMAL for \"" + gone + L"\" failed 0x2"));
}

TEST_F(RestartDeletionTest, RefusedRegistrationFailsTheWholeAndTheNextIsTried)
{
    pass.AddRestartDel(L"C:\\refused");
    pass.AddRestartDel(L"C:\\b");
    EXPECT_FALSE(pass.DeleteAtRestart());
    EXPECT_THAT(Moves(), ElementsAre(L"C:\\refused", L"C:\\b"));
    EXPECT_TRUE(log.Has(LogWarning, "CProductUninstall::DeleteAtRestart", L"MoveFileEx \"C:\\refused\" failed 0x5"));
}

TEST_F(RestartDeletionTest, RedirectionThatCannotBeSwitchedIsToldOfAndNoFailure)
{
    test::Wow64Mode wow64;
    wow64.FailDisable(0x10);
    wow64.FailRevert(0x11);
    EXPECT_TRUE(pass.DeleteAtRestart());
    EXPECT_THAT(wow64.Calls(), ElementsAre("disable", "revert"));
    EXPECT_TRUE(
        log.Has(LogWarning, "CProductUninstall::DeleteAtRestart", L"Wow64DisableWow64FsRedirection failed 0x10"));
    EXPECT_TRUE(
        log.Has(LogWarning, "CProductUninstall::DeleteAtRestart", L"Wow64RevertWow64FsRedirection failed 0x11"));
}

// The calls of two paths, among the calls that switch the redirection or among the lines of the log.
class RestartOrderTest : public RestartDeletionTest
{
public:
    RestartOrderTest()
    {
        pass.AddRestartDel(L"C:\\b");
        pass.AddRestartDel(L"C:\\a");
        log.Clear();
    }

protected:
    [[nodiscard]] WideStringList Lines() const
    {
        const std::vector<test::LogRecord> records = log.Records();
        WideStringList lines;
        lines.reserve(records.size());
        for (const test::LogRecord& record : records)
            lines.push_back(record.text);
        return lines;
    }
};

BOOL WINAPI NoteAttributesStep(const wchar_t*, DWORD)
{
    test::Wow64Mode::Note("attributes");
    return TRUE;
}

BOOL WINAPI NoteMoveStep(const wchar_t*, const wchar_t*, DWORD)
{
    test::Wow64Mode::Note("move");
    return TRUE;
}

TEST_F(RestartOrderTest, AttributesAndMovesLieWithoutRedirection)
{
    const test::Wow64Mode wow64;
    const test::ImportPatch attributes(nullptr, "SetFileAttributesW", NoteAttributesStep);
    const test::ImportPatch move(nullptr, "MoveFileExW", NoteMoveStep);
    EXPECT_TRUE(pass.DeleteAtRestart());
    EXPECT_THAT(wow64.Calls(), ElementsAre("disable", "attributes", "move", "attributes", "move", "revert"));
    EXPECT_TRUE(wow64.Balanced());
}

BOOL WINAPI LogAttributes(const wchar_t* path, DWORD)
{
    LOG(LogTrace, L"attributes of %s", path);
    return TRUE;
}

BOOL WINAPI LogMove(const wchar_t* path, const wchar_t*, DWORD)
{
    LOG(LogTrace, L"move of %s", path);
    return TRUE;
}

TEST_F(RestartOrderTest, HeadingAndAllPathsAreLoggedBeforeAnyIsRegistered)
{
    test::Wow64Mode wow64;
    wow64.FailDisable(0x10);
    wow64.FailRevert(0x11);
    const test::ImportPatch attributes(nullptr, "SetFileAttributesW", LogAttributes);
    const test::ImportPatch move(nullptr, "MoveFileExW", LogMove);
    EXPECT_TRUE(pass.DeleteAtRestart());
    EXPECT_THAT(Lines(), ElementsAre(L"Wow64DisableWow64FsRedirection failed 0x10", L"RESTART DELETE :", L"\"C:\\b\"",
                                     L"\"C:\\a\"", L"attributes of C:\\b", L"move of C:\\b", L"attributes of C:\\a",
                                     L"move of C:\\a", L"Wow64RevertWow64FsRedirection failed 0x11"));
}

} // namespace
} // namespace prodsweep
