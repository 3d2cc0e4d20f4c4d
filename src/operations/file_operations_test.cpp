#include "operations/operations.h"

#include "environment/log.h"
#include "support/file_faults.h"
#include "support/handle_count.h"
#include "support/locked_path.h"
#include "support/log_recorder.h"
#include "support/temp_tree.h"
#include "support/used_paths.h"

#include <gtest/gtest.h>

namespace prodsweep {
namespace {

using test::Exists;

struct DelFileTest : testing::Test
{
    test::TempTree tree;
    test::UsedPaths used;
    const test::LogRecorder log;
    WideStringList restartList;
    COperations operations{&restartList};
};

TEST_F(DelFileTest, FileGoesAndItsNeighboursStay)
{
    const std::wstring file = tree.AddFile(L"a.txt");
    const std::wstring neighbour = tree.AddFile(L"a.txt.bak");

    EXPECT_EQ(_ERROR_SUCCESS, operations.DelFile(file.c_str(), nullptr, nullptr));

    EXPECT_FALSE(Exists(file));
    EXPECT_TRUE(Exists(neighbour));
    EXPECT_TRUE(tree.CanariesIntact());
    EXPECT_TRUE(restartList.empty());
    EXPECT_TRUE(log.Has(LogTrace, "COperations::DelFile", L"->\"" + file + L"\""));
    EXPECT_EQ(1u, log.Records().size());
}

struct Attribute
{
    const char* name;
    DWORD flags;
};
void PrintTo(const Attribute& attribute, std::ostream* out) { *out << attribute.name; }

struct DelFileAttributeTest : DelFileTest, testing::WithParamInterface<Attribute>
{};

TEST_P(DelFileAttributeTest, ProtectedFileIsDeleted)
{
    const std::wstring file = tree.AddFile(L"a.txt", GetParam().flags);

    EXPECT_EQ(_ERROR_SUCCESS, operations.DelFile(file.c_str(), nullptr, nullptr));

    EXPECT_FALSE(Exists(file));
    EXPECT_TRUE(log.HasNoneAt(LogWarning));
}

INSTANTIATE_TEST_SUITE_P(All, DelFileAttributeTest,
                         testing::Values(Attribute{"ReadOnly", FILE_ATTRIBUTE_READONLY},
                                         Attribute{"Hidden", FILE_ATTRIBUTE_HIDDEN},
                                         Attribute{"System", FILE_ATTRIBUTE_SYSTEM},
                                         Attribute{"ReadOnlyHiddenSystem", FILE_ATTRIBUTE_READONLY |
                                                                               FILE_ATTRIBUTE_HIDDEN |
                                                                               FILE_ATTRIBUTE_SYSTEM}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(DelFileTest, MissingFileIsNotFoundAndNotListed)
{
    const std::wstring file = tree.Path(L"missing.txt");

    EXPECT_EQ(_ERROR_NOT_FOUND, operations.DelFile(file.c_str(), nullptr, nullptr));

    EXPECT_TRUE(restartList.empty());
    EXPECT_TRUE(log.Has(LogWarning, "COperations::DelFile", L"SetFileAttributes NORMAL failed 0x2"));
    EXPECT_TRUE(log.Has(LogWarning, "COperations::DelFile", L"failed " + file + L" ERROR_FILE_NOT_FOUND"));
}

TEST_F(DelFileTest, FileInAMissingFolderIsNotFoundAndNotListed)
{
    const std::wstring file = tree.Path(L"missing\\a.txt");

    EXPECT_EQ(_ERROR_NOT_FOUND, operations.DelFile(file.c_str(), nullptr, nullptr));

    EXPECT_TRUE(restartList.empty());
    EXPECT_TRUE(log.Has(LogWarning, "COperations::DelFile", L"SetFileAttributes NORMAL failed 0x3"));
    EXPECT_TRUE(log.Has(LogWarning, "COperations::DelFile", L"failed " + file + L" ERROR_FILE_NOT_FOUND"));
}

TEST_F(DelFileTest, FileLockedByAnotherProcessFailsAndIsListedForTheRestart)
{
    const std::wstring file = tree.AddFile(L"locked.txt");
    const test::LockedPath lock(file);

    EXPECT_EQ(_ERROR_FAILED, operations.DelFile(file.c_str(), nullptr, nullptr));

    EXPECT_TRUE(Exists(file));
    EXPECT_EQ(WideStringList{file}, restartList);
    EXPECT_TRUE(log.Has(LogWarning, "COperations::DelFile", L"failed \"" + file + L"\""));
    EXPECT_EQ(0, log.Count(LogWarning, "COperations::DelFile", L"failed " + file + L" ERROR_FILE_NOT_FOUND"));
}

TEST_F(DelFileTest, LockedFileGivesTheSameResultWithoutARestartList)
{
    const std::wstring file = tree.AddFile(L"locked.txt");
    const test::LockedPath lock(file);

    EXPECT_EQ(_ERROR_FAILED, COperations().DelFile(file.c_str(), nullptr, nullptr));

    EXPECT_TRUE(log.Has(LogWarning, "COperations::DelFile", L"failed \"" + file + L"\""));
    EXPECT_EQ(0, log.Count(LogTrace, "COperations::AddRestartDel", L"\"" + file + L"\""));
}

TEST_F(DelFileTest, FolderIsNoFileAndFails)
{
    const std::wstring folder = tree.AddFolder(L"folder");

    EXPECT_EQ(_ERROR_FAILED, operations.DelFile(folder.c_str(), nullptr, nullptr));

    EXPECT_TRUE(Exists(folder));
    EXPECT_EQ(WideStringList{folder}, restartList);
}

TEST_F(DelFileTest, FileInUseStaysUntouchedAndThatIsASuccess)
{
    const std::wstring file = tree.AddFile(L"a.txt", FILE_ATTRIBUTE_READONLY);
    used.files.insert(file);
    bool inUse = false;

    EXPECT_EQ(_ERROR_SUCCESS, operations.DelFile(file.c_str(), &used, &inUse));

    EXPECT_TRUE(inUse);
    EXPECT_NE(0u, GetFileAttributesW(file.c_str()) & FILE_ATTRIBUTE_READONLY);
    EXPECT_TRUE(log.Has(LogTrace, "COperations::DelFile", L"in use"));
    EXPECT_EQ(2u, log.Records().size());
}

TEST_F(DelFileTest, FileInUseNeedsNoFlag)
{
    const std::wstring file = tree.AddFile(L"a.txt");
    used.files.insert(file);

    EXPECT_EQ(_ERROR_SUCCESS, operations.DelFile(file.c_str(), &used, nullptr));

    EXPECT_TRUE(Exists(file));
}

TEST_F(DelFileTest, FlagIsTakenBackForAFileThatIsNotInUse)
{
    const std::wstring file = tree.AddFile(L"a.txt");
    bool inUse = true;

    EXPECT_EQ(_ERROR_SUCCESS, operations.DelFile(file.c_str(), &used, &inUse));

    EXPECT_FALSE(inUse);
    EXPECT_EQ((std::vector<std::wstring>{L"file " + file}), used.asked);
}

TEST_F(DelFileTest, RefusedAttributesAreLoggedAndTheFileIsDeletedAllTheSame)
{
    const std::wstring file = tree.AddFile(L"a.txt");
    test::FileFaults faults;
    faults.Fail("SetFileAttributesW", file, ERROR_ACCESS_DENIED);

    EXPECT_EQ(_ERROR_SUCCESS, operations.DelFile(file.c_str(), nullptr, nullptr));

    EXPECT_FALSE(Exists(file));
    EXPECT_TRUE(log.Has(LogWarning, "COperations::DelFile", L"SetFileAttributes NORMAL failed 0x5"));
}

TEST_F(DelFileTest, AttributesAreClearedBeforeTheDeletion)
{
    const std::wstring file = tree.AddFile(L"a.txt");
    const test::FileFaults faults;

    operations.DelFile(file.c_str(), nullptr, nullptr);

    EXPECT_EQ((std::vector<std::string>{"SetFileAttributesW", "DeleteFileW"}), faults.Order());
}

struct OddPath
{
    const char* name;
    std::wstring path;
};
void PrintTo(const OddPath& odd, std::ostream* out) { *out << odd.name; }

struct DelFileOddPathTest : DelFileTest, testing::WithParamInterface<OddPath>
{};

TEST_P(DelFileOddPathTest, IsNotFoundAndNothingIsListed)
{
    EXPECT_EQ(_ERROR_NOT_FOUND, operations.DelFile(GetParam().path.c_str(), nullptr, nullptr));

    EXPECT_TRUE(restartList.empty());
    EXPECT_TRUE(log.Has(LogWarning, "COperations::DelFile", L"failed " + GetParam().path + L" ERROR_FILE_NOT_FOUND"));
}

INSTANTIATE_TEST_SUITE_P(All, DelFileOddPathTest,
                         testing::Values(OddPath{"Empty", L""}, OddPath{"NoSuchFolder", L"C:\\no\\such\\file"},
                                         OddPath{"LongestOfAll", L"C:\\" + std::wstring(32764, L'x')}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(DelFileTest, NoHandleIsLeftOpen)
{
    const std::wstring locked = tree.AddFile(L"locked.txt");
    const test::LockedPath lock(locked);
    operations.DelFile(locked.c_str(), nullptr, nullptr);
    const std::wstring file = tree.AddFile(L"a.txt");
    const test::HandleCount handles;

    operations.DelFile(file.c_str(), nullptr, nullptr);
    operations.DelFile(locked.c_str(), nullptr, nullptr);
    operations.DelFile(tree.Path(L"missing.txt").c_str(), nullptr, nullptr);

    EXPECT_TRUE(handles.Unchanged());
}

} // namespace
} // namespace prodsweep
