#include "operations/operations.h"

#include "environment/log.h"
#include "support/handle_count.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/temp_tree.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>

namespace prodsweep {
namespace {

struct CheckTest : testing::Test
{
    test::TempTree tree;
    const test::LogRecorder log;
    COperations operations;
};

// Faults that the runtime tells apart by errno, with a last error of their own.
int DenyStatus(const wchar_t*, struct _stat64*)
{
    errno = EACCES;
    SetLastError(ERROR_ACCESS_DENIED);
    return -1;
}

int GiveStatusWithoutAnyType(const wchar_t*, struct _stat64* status)
{
    *status = {};
    status->st_mode = 0x0FFF;
    return 0;
}

int GiveStatusOfADevice(const wchar_t*, struct _stat64* status)
{
    *status = {};
    status->st_mode = _S_IFCHR;
    return 0;
}

TEST_F(CheckTest, FileIsAFileAndNoFolder)
{
    const std::wstring file = tree.AddFile(L"a.txt", FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);

    EXPECT_EQ(_ERROR_SUCCESS, operations.CheckFile(file.c_str()));
    EXPECT_EQ(_ERROR_NOT_FOUND, operations.CheckFolder(file.c_str()));

    EXPECT_TRUE(log.Records().empty());
}

TEST_F(CheckTest, FolderIsAFolderAndPassesForAFileToo)
{
    const std::wstring folder = tree.AddFolder(L"folder");

    EXPECT_EQ(_ERROR_SUCCESS, operations.CheckFile(folder.c_str()));
    EXPECT_EQ(_ERROR_SUCCESS, operations.CheckFolder(folder.c_str()));

    EXPECT_TRUE(log.Records().empty());
}

TEST_F(CheckTest, CheckChangesNothing)
{
    const std::wstring file = tree.AddFile(L"a.txt", FILE_ATTRIBUTE_READONLY);

    operations.CheckFile(file.c_str());
    operations.CheckFolder(file.c_str());

    EXPECT_NE(0u, GetFileAttributesW(file.c_str()) & FILE_ATTRIBUTE_READONLY);
    EXPECT_TRUE(tree.CanariesIntact());
}

TEST_F(CheckTest, MissingPathIsNotFound)
{
    const std::wstring path = tree.Path(L"missing");

    EXPECT_EQ(_ERROR_NOT_FOUND, operations.CheckFile(path.c_str()));
    EXPECT_EQ(_ERROR_NOT_FOUND, operations.CheckFolder(path.c_str()));

    EXPECT_TRUE(log.Has(LogError, "COperations::CheckFile", L"\"" + path + L"\" 0x2, ERROR_NOT_FOUND"));
    EXPECT_TRUE(log.Has(LogError, "COperations::CheckFolder", L"\"" + path + L"\" 0x2, ERROR_NOT_FOUND"));
}

TEST_F(CheckTest, OtherFailureIsToldWithBothErrorNumbers)
{
    const test::ImportPatch patch(nullptr, "_wstat64", DenyStatus);

    EXPECT_EQ(_ERROR_FAILED, operations.CheckFile(L"C:\\a"));
    EXPECT_EQ(_ERROR_FAILED, operations.CheckFolder(L"C:\\a"));

    EXPECT_TRUE(log.Has(LogError, "COperations::CheckFile", L"_tstat for \"C:\\a\" failed 0x5, errno=0xd"));
    EXPECT_TRUE(log.Has(LogError, "COperations::CheckFolder", L"_tstat for \"C:\\a\" failed 0x5, errno=0xd"));
}

TEST_F(CheckTest, WhatHasNoTypeIsNotFound)
{
    const test::ImportPatch patch(nullptr, "_wstat64", GiveStatusWithoutAnyType);

    EXPECT_EQ(_ERROR_NOT_FOUND, operations.CheckFile(L"C:\\a"));
    EXPECT_EQ(_ERROR_NOT_FOUND, operations.CheckFolder(L"C:\\a"));
}

TEST_F(CheckTest, AnyTypePassesForAFile)
{
    const test::ImportPatch patch(nullptr, "_wstat64", GiveStatusOfADevice);

    EXPECT_EQ(_ERROR_SUCCESS, operations.CheckFile(L"C:\\a"));
    EXPECT_EQ(_ERROR_NOT_FOUND, operations.CheckFolder(L"C:\\a"));
}

TEST_F(CheckTest, FileBeyondFourGigabytesIsAFile)
{
    const std::wstring path = tree.AddFile(L"big.bin");
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    LARGE_INTEGER size{};
    size.QuadPart = 5LL << 30;
    EXPECT_TRUE(SetFilePointerEx(file, size, nullptr, FILE_BEGIN) && SetEndOfFile(file));
    CloseHandle(file);

    EXPECT_EQ(_ERROR_SUCCESS, operations.CheckFile(path.c_str()));
}

TEST_F(CheckTest, OddPathsAreNotFound)
{
    for (const std::wstring& path : {std::wstring(), L"C:\\" + std::wstring(32764, L'x'), tree.Path(L"*.txt")})
    {
        EXPECT_EQ(_ERROR_NOT_FOUND, operations.CheckFile(path.c_str())) << test::Narrow(path);
        EXPECT_EQ(_ERROR_NOT_FOUND, operations.CheckFolder(path.c_str())) << test::Narrow(path);
    }
}

TEST_F(CheckTest, DriveRootIsAFolder)
{
    EXPECT_EQ(_ERROR_SUCCESS, operations.CheckFile(L"C:\\"));
    EXPECT_EQ(_ERROR_SUCCESS, operations.CheckFolder(L"C:\\"));
}

TEST_F(CheckTest, NoHandleIsLeftOpen)
{
    const std::wstring file = tree.AddFile(L"a.txt");
    operations.CheckFile(file.c_str());
    const test::HandleCount handles;

    operations.CheckFile(file.c_str());
    operations.CheckFolder(tree.Root().c_str());
    operations.CheckFolder(tree.Path(L"missing").c_str());

    EXPECT_TRUE(handles.Unchanged());
}

} // namespace
} // namespace prodsweep
