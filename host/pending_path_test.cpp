#include "pending_path.h"

#include <gtest/gtest.h>

#include <windows.h>

#include "support/import_patch.h"
#include "support/tell_path.h"
#include "support/temp_tree.h"

namespace prodsweep {
namespace {

struct PathRow
{
    const char* name;
    const wchar_t* given;
    const wchar_t* plain;
};

class EntryPathTest : public testing::TestWithParam<PathRow>
{};

TEST_P(EntryPathTest, IsTheProgramsPath) { EXPECT_EQ(GetParam().plain, PathOfEntry(GetParam().given)); }

INSTANTIATE_TEST_SUITE_P(PendingPath, EntryPathTest,
                         testing::Values(PathRow{"Drive", L"\\??\\C:\\a\\b", L"C:\\a\\b"},
                                         PathRow{"Share", L"\\??\\UNC\\server\\share\\a", L"\\\\server\\share\\a"},
                                         PathRow{"ShareInLowerCase", L"\\??\\unc\\server\\a", L"\\\\server\\a"},
                                         PathRow{"LongForm", L"\\\\?\\C:\\a", L"C:\\a"},
                                         PathRow{"LongFormOfShare", L"\\\\?\\UNC\\s\\a", L"\\\\s\\a"},
                                         PathRow{"DosDevices", L"\\DosDevices\\C:\\a", L"C:\\a"},
                                         PathRow{"WithoutPrefix", L"C:\\a", L"C:\\a"},
                                         PathRow{"TrailingSeparators", L"\\??\\C:\\a\\\\", L"C:\\a"},
                                         PathRow{"Marked", L"*1\\??\\C:\\a", L"C:\\a"},
                                         PathRow{"MarkWithoutNumber", L"*\\??\\C:\\a", L"*\\??\\C:\\a"},
                                         PathRow{"MarkWithoutPath", L"*1", L"*1"},
                                         PathRow{"Root", L"\\??\\C:\\", L"C:\\"}, PathRow{"Empty", L"", L""},
                                         PathRow{"OtherDevice", L"\\Device\\x\\a", L"\\Device\\x\\a"}),
                         [](const auto& row) { return row.param.name; });

class TypedPathTest : public testing::TestWithParam<PathRow>
{};

TEST_P(TypedPathTest, BecomesAFullPath) { EXPECT_EQ(GetParam().plain, FullPathOf(GetParam().given)); }

INSTANTIATE_TEST_SUITE_P(PendingPath, TypedPathTest,
                         testing::Values(PathRow{"Full", L"C:\\a\\b", L"C:\\a\\b"},
                                         PathRow{"Slashes", L"C:/a/b/", L"C:\\a\\b"},
                                         PathRow{"Dots", L"C:\\a\\.\\x\\..\\b", L"C:\\a\\b"},
                                         PathRow{"DotAtTheEnd", L"C:\\a\\b.", L"C:\\a\\b"},
                                         PathRow{"Native", L"\\??\\C:\\a\\", L"C:\\a"},
                                         PathRow{"NativeAsItStands", L"\\\\?\\C:\\a.", L"C:\\a."},
                                         PathRow{"Root", L"C:\\", L"C:\\"}, PathRow{"Empty", L"", L""}),
                         [](const auto& row) { return row.param.name; });

class CurrentFolderTest : public testing::Test
{
protected:
    CurrentFolderTest() { GetCurrentDirectoryW(MAX_PATH, before); }
    void TearDown() override { SetCurrentDirectoryW(before); }

private:
    wchar_t before[MAX_PATH]{};
};

TEST_F(CurrentFolderTest, CompletesARelativePath)
{
    const test::TempTree tree;
    ASSERT_TRUE(SetCurrentDirectoryW(tree.Root().c_str()));
    EXPECT_EQ(tree.Path(L"x"), FullPathOf(L"x"));
    // It would keep the tree from being removed.
    ASSERT_TRUE(SetCurrentDirectoryW(L"C:\\"));
}

TEST_F(CurrentFolderTest, MayBeTheRootOfADrive)
{
    ASSERT_TRUE(SetCurrentDirectoryW(L"C:\\"));
    EXPECT_EQ(L"C:\\x", FullPathOf(L"x"));
}

class LongNameTest : public testing::Test
{
protected:
    static std::wstring Short(const std::wstring& path)
    {
        wchar_t name[MAX_PATH];
        return {name, GetShortPathNameW(path.c_str(), name, MAX_PATH)};
    }

    test::TempTree tree;
};

TEST_F(LongNameTest, ShortNamesBecomeLongOnes)
{
    const std::wstring file = tree.AddFile(L"a long folder name\\a long file name.txt");
    ASSERT_NE(file, Short(file));

    EXPECT_EQ(WithLongNames(file), WithLongNames(Short(file)));
    EXPECT_EQ(L"a long file name.txt", WithLongNames(Short(file)).substr(WithLongNames(file).rfind(L'\\') + 1));
}

TEST_F(LongNameTest, FileThatIsYetToBeWrittenLiesInAFolderWithALongName)
{
    const std::wstring folder = tree.AddFolder(L"a long folder name");
    ASSERT_NE(folder, Short(folder));

    EXPECT_EQ(WithLongNames(folder) + L"\\new~1.txt", WithLongNames(Short(folder) + L"\\new~1.txt"));
}

const std::wstring veryLongName = L"C:\\Programs\\" + std::wstring(300, L'x');

DWORD WINAPI TellVeryLongName(LPCWSTR, LPWSTR buffer, DWORD size) { return test::TellPath(veryLongName, buffer, size); }

TEST_F(LongNameTest, LongNameMayBeMuchLonger)
{
    const test::ImportPatch patch(nullptr, "GetLongPathNameW", TellVeryLongName);

    EXPECT_EQ(veryLongName, WithLongNames(L"C:\\PROGRA~1\\LONGNA~1"));
}

TEST_F(LongNameTest, WhatIsNotThereStaysAsItIs)
{
    for (const wchar_t* path : {L"Q:\\A~1\\b", L"\\\\server\\A~1", L"~", L"C:\\NOSUCH~1"})
        EXPECT_EQ(path, WithLongNames(path));
}

TEST(PendingPathTest, PathsAreComparedInAnyCaseAndByWholeNames)
{
    EXPECT_TRUE(IsSamePath(L"C:\\\x00C4", L"c:\\\x00E4"));
    EXPECT_FALSE(IsSamePath(L"C:\\a", L"C:\\ab"));
    EXPECT_TRUE(IsBelow(L"C:\\A", L"c:\\a\\b"));
    EXPECT_TRUE(IsBelow(L"C:\\", L"c:\\a"));
    EXPECT_FALSE(IsBelow(L"C:\\a", L"C:\\ab\\c"));
    EXPECT_FALSE(IsBelow(L"C:\\a", L"C:\\a"));
    EXPECT_FALSE(IsBelow(L"", L"\\a"));
}

} // namespace
} // namespace prodsweep
