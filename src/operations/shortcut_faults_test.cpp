#include "operations/operations.h"

#include "environment/log.h"
#include "support/com_scope.h"
#include "support/file_faults.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/shortcut_maker.h"
#include "support/temp_tree.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>

// What the three walks make of failures.
namespace prodsweep {
namespace {

using test::Exists;

WideStringList found; // by the last expansion

struct Walk
{
    const char* name;
    int (*run)(COperations& operations, const wchar_t* path, const wchar_t* target);
};
void PrintTo(const Walk& walk, std::ostream* out) { *out << walk.name; }

const Walk walks[] = {
    {"DelShortcutRec",
     [](COperations& o, const wchar_t* path, const wchar_t* t) { return o.DelShortcutRec(path, t, true, nullptr); }},
    {"CheckShortcutRec",
     [](COperations& o, const wchar_t* path, const wchar_t* t) { return o.CheckShortcutRec(path, t, true); }},
    {"ExpandShortcutRec",
     [](COperations& o, const wchar_t* path, const wchar_t* t) { return o.ExpandShortcutRec(path, t, true, found); }},
};

struct ShortcutFaultTest : testing::Test
{
    ShortcutFaultTest() { found.clear(); }

    const test::ComScope com;
    test::TempTree tree;
    const test::LogRecorder log;
    test::FileFaults faults;
    WideStringList restartList;
    COperations operations{&restartList};
    const std::wstring folder = tree.AddFolder(L"links");
    const std::wstring target = tree.AddFile(L"app.exe");

    std::wstring AddLink(const std::wstring& name)
    {
        const std::wstring link = folder + L"\\" + name;
        tree.AddFolder(L"links\\" + name.substr(0, name.rfind(L'\\') + 1));
        test::MakeShortcut(link, target);
        return link;
    }
};

struct ShortcutWalkTest : ShortcutFaultTest, testing::WithParamInterface<Walk>
{
    const std::string function = std::string("COperations::") + GetParam().name;
    int Run() { return GetParam().run(operations, folder.c_str(), target.c_str()); }
};

TEST_P(ShortcutWalkTest, FolderInWhichNothingIsFoundIsNotFound)
{
    faults.Fail("FindFirstFileW", folder + L"\\*.*", ERROR_FILE_NOT_FOUND);

    EXPECT_EQ(_ERROR_NOT_FOUND, Run());

    EXPECT_TRUE(log.Has(LogWarning, function, L"FindFirstFile ERROR_FILE_NOT_FOUND \"" + folder + L"\""));
}

TEST_P(ShortcutWalkTest, FolderThatCannotBeListedIsUnknown)
{
    faults.Fail("FindFirstFileW", folder + L"\\*.*", ERROR_ACCESS_DENIED);

    EXPECT_EQ(_ERROR_UNKNOWN, Run());

    EXPECT_TRUE(log.Has(LogError, function, L"FindFirstFile \"" + folder + L"\" failed 0x5"));
    EXPECT_TRUE(found.empty());
}

TEST_P(ShortcutWalkTest, SubfolderHandledLastGivesTheResult)
{
    const std::wstring sub = tree.AddFolder(L"links\\sub");
    faults.Fail("FindFirstFileW", sub + L"\\*.*", ERROR_ACCESS_DENIED);

    EXPECT_EQ(_ERROR_UNKNOWN, Run());
}

TEST_P(ShortcutWalkTest, FailureIsHiddenByALaterFolder)
{
    // Listed by name; the failing one is whichever comes first.
    tree.AddFolder(L"links\\a");
    tree.AddFolder(L"links\\b");
    WIN32_FIND_DATAW entry{};
    const HANDLE find = FindFirstFileW((folder + L"\\?").c_str(), &entry);
    ASSERT_NE(INVALID_HANDLE_VALUE, find);
    while (entry.cFileName[0] == L'.' && FindNextFileW(find, &entry))
        ;
    FindClose(find);
    faults.Fail("FindFirstFileW", folder + L"\\" + entry.cFileName + L"\\*.*", ERROR_ACCESS_DENIED);

    EXPECT_EQ(_ERROR_SUCCESS, Run());

    EXPECT_TRUE(log.Has(LogError, function, L"FindFirstFile \"" + folder + L"\\" + entry.cFileName + L"\" failed 0x5"));
}

TEST_P(ShortcutWalkTest, UnreadableLinkIsLoggedAndChangesNothing)
{
    const std::wstring broken = tree.AddFile(L"links\\broken.lnk");

    EXPECT_EQ(_ERROR_SUCCESS, Run());

    EXPECT_TRUE(log.Has(LogError, function, L"GetLinkInfo \"" + broken + L"\" failed 0x80004005"));
    EXPECT_TRUE(Exists(broken));
}

INSTANTIATE_TEST_SUITE_P(All, ShortcutWalkTest, testing::ValuesIn(walks),
                         [](const auto& row) { return std::string(row.param.name); });

// The last result wins: the links of one folder come in the order of the enumeration, so the result
// of each order is known from the list of links.

TEST_F(ShortcutFaultTest, LinkHandledLastGivesTheResultOfADeletion)
{
    AddLink(L"a.lnk");
    AddLink(L"b.lnk");
    operations.ExpandShortcutRec(folder.c_str(), target.c_str(), true, found);
    ASSERT_EQ(2u, found.size());
    faults.Fail("DeleteFileW", found.back(), ERROR_SHARING_VIOLATION);

    EXPECT_EQ(_ERROR_FAILED, operations.DelShortcutRec(folder.c_str(), target.c_str(), true, nullptr));

    EXPECT_FALSE(Exists(found.front()));
    EXPECT_EQ(WideStringList{found.back()}, restartList);
}

TEST_F(ShortcutFaultTest, FailureIsHiddenByALaterDeletion)
{
    AddLink(L"a.lnk");
    AddLink(L"b.lnk");
    operations.ExpandShortcutRec(folder.c_str(), target.c_str(), true, found);
    ASSERT_EQ(2u, found.size());
    faults.Fail("DeleteFileW", found.front(), ERROR_SHARING_VIOLATION);

    EXPECT_EQ(_ERROR_SUCCESS, operations.DelShortcutRec(folder.c_str(), target.c_str(), true, nullptr));

    EXPECT_EQ(WideStringList{found.front()}, restartList);
}

// The link that the next check can't look at.
std::wstring refusedLink;
const test::ImportPatch* statusPatch = nullptr;

int RefuseOneStatus(const wchar_t* path, struct _stat64* status)
{
    if (path != refusedLink)
        return statusPatch->Original<decltype(RefuseOneStatus)>()(path, status);
    errno = EACCES;
    SetLastError(ERROR_ACCESS_DENIED);
    return -1;
}

TEST_F(ShortcutFaultTest, LinkHandledLastGivesTheResultOfACheck)
{
    AddLink(L"a.lnk");
    AddLink(L"b.lnk");
    operations.ExpandShortcutRec(folder.c_str(), target.c_str(), true, found);
    ASSERT_EQ(2u, found.size());
    const test::ImportPatch patch(nullptr, "_wstat64", RefuseOneStatus);
    statusPatch = &patch;

    refusedLink = found.back();
    EXPECT_EQ(_ERROR_FAILED, operations.CheckShortcutRec(folder.c_str(), target.c_str(), true));
    refusedLink = found.front();
    EXPECT_EQ(_ERROR_SUCCESS, operations.CheckShortcutRec(folder.c_str(), target.c_str(), true));

    for (const std::wstring& link : found)
        EXPECT_TRUE(log.Has(LogError, "COperations::CheckFile", L"_tstat for \"" + link + L"\" failed 0x5, errno=0xd"));
}

TEST_F(ShortcutFaultTest, LinkThatVanishedMeanwhileIsNotFoundAndNotListed)
{
    const std::wstring link = AddLink(L"a.lnk");
    faults.Fail("DeleteFileW", link, ERROR_FILE_NOT_FOUND);

    EXPECT_EQ(_ERROR_NOT_FOUND, operations.DelShortcutRec(folder.c_str(), target.c_str(), true, nullptr));

    EXPECT_TRUE(restartList.empty());
}

TEST_F(ShortcutFaultTest, ExpandedLinkDoesNotChangeTheResultOfTheSubfolderBeforeIt)
{
    const std::wstring sub = tree.AddFolder(L"links\\sub");
    AddLink(L"a.lnk");
    faults.Fail("FindFirstFileW", sub + L"\\*.*", ERROR_ACCESS_DENIED);

    // Whichever comes first: the link leaves the result alone, so the subfolder's stands.
    EXPECT_EQ(_ERROR_UNKNOWN, operations.ExpandShortcutRec(folder.c_str(), target.c_str(), true, found));

    EXPECT_EQ(1u, found.size());
}

} // namespace
} // namespace prodsweep
