// What goes wrong stays in log.dll: its caller goes on, and later lines are written when they can be.
#include "log/built_log.h"

#include "support/handle_count.h"
#include "support/import_patch.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <type_traits>
#include <utility>

namespace prodsweep::test {
namespace {

using testing::ElementsAre;

class DllFaultsTest : public testing::Test
{
protected:
    DllFaultsTest()
    {
        log.Settings("enabled = yes\npath = a.log\nlevels = all\n");
        log.Load();
    }
    int Write(const wchar_t* text) const { return log.Write(LOG_LEVEL_ERROR, L"%s", text); }

    template <class Function>
    ImportPatch Patch(const char* name, Function* replacement) const
    {
        return ImportPatch(log.Module(), name, replacement);
    }

    BuiltLog log;
};

TEST_F(DllFaultsTest, MissingFolderLosesLinesUntilItIsThere)
{
    log.LogSetPath(log.Path(L"sub\\b.log").c_str());
    EXPECT_EQ(ERROR_PATH_NOT_FOUND, Write(L"lost"));

    log.AddFolder(L"sub");
    EXPECT_EQ(ERROR_SUCCESS, Write(L"written"));

    EXPECT_THAT(TextsOf(log.Path(L"sub\\b.log")), ElementsAre("written"));
}

TEST_F(DllFaultsTest, PathThatIsNoFileLosesLines)
{
    log.AddFolder(L"folder");
    const std::wstring paths[] = {log.Path(L"folder"), L"", L"\\\\.\\pipe\\none", log.Path(L"a|b<c>.log"),
                                  std::wstring(40000, L'x')};
    for (const std::wstring& path : paths)
    {
        log.LogSetPath(path.c_str());
        Write(L"lost");
    }
    log.LogSetPath(nullptr);
    Write(L"lost");
    log.LogSetPath(L"NUL");
    EXPECT_EQ(ERROR_BAD_DEVICE, Write(L"lost"));

    log.LogSetPath(log.File().c_str());
    Write(L"written");
    EXPECT_THAT(TextsOf(log.File()), ElementsAre("written"));
}

TEST_F(DllFaultsTest, FileThatSomebodyKeepsForHimselfLosesLinesUntilHeIsThrough)
{
    const HANDLE file = CreateFileW(log.File().c_str(), GENERIC_READ, 0, nullptr, CREATE_NEW, 0, nullptr);
    EXPECT_EQ(ERROR_SHARING_VIOLATION, Write(L"lost"));
    CloseHandle(file);
    EXPECT_EQ(ERROR_SUCCESS, Write(L"written"));
    EXPECT_THAT(TextsOf(log.File()), ElementsAre("written"));
}

decltype(&::GetFileInformationByHandleEx) realInformation = nullptr;
FILE_STANDARD_INFO deletedFile{};
BOOL WINAPI FileIsDeleted(HANDLE file, FILE_INFO_BY_HANDLE_CLASS which, void* information, DWORD size)
{
    const BOOL known = realInformation(file, which, information, size);
    auto* const state = static_cast<FILE_STANDARD_INFO*>(information);
    state->NumberOfLinks = deletedFile.NumberOfLinks;
    state->DeletePending = deletedFile.DeletePending;
    return known;
}

// Windows tells one of the two, by its age; Wine neither.
TEST_F(DllFaultsTest, DeletedFileIsBegunAnew)
{
    for (const auto& [links, pending] : {std::pair<DWORD, BOOLEAN>{0, FALSE}, {1, TRUE}})
    {
        Write(L"gone");
        ASSERT_TRUE(DeleteFileW(log.File().c_str()));
        {
            const ImportPatch deleted = Patch("GetFileInformationByHandleEx", FileIsDeleted);
            realInformation = deleted.Original<std::remove_pointer_t<decltype(realInformation)>>();
            deletedFile.NumberOfLinks = links;
            deletedFile.DeletePending = pending;
            Write(L"written");
        }
        EXPECT_THAT(TextsOf(log.File()), ElementsAre("written"));
        log.LogDeinit();
        DeleteFileW(log.File().c_str());
    }
}

TEST_F(DllFaultsTest, FullFileThatCannotBeMovedGrows)
{
    log.LogSetMaxSize(1);
    const HANDLE holder = CreateFileW(log.File().c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                      CREATE_NEW, 0, nullptr);
    const std::wstring large(1100, L'x');
    EXPECT_EQ(ERROR_SUCCESS, Write(large.c_str()));
    EXPECT_EQ(ERROR_SUCCESS, Write(L"second"));
    EXPECT_EQ(ERROR_SUCCESS, Write(L"third"));
    EXPECT_THAT(TextsOf(log.File()), ElementsAre(std::string(1100, 'x'), "second", "third"));
    CloseHandle(holder);

    EXPECT_EQ(ERROR_SUCCESS, Write(L"fourth"));
    EXPECT_THAT(TextsOf(log.File()), ElementsAre("fourth"));
    EXPECT_EQ(3u, LinesOf(log.Path(L"a.log.1")).size());
}

BOOL WINAPI DiskIsFull(HANDLE, const void*, DWORD, DWORD* written, OVERLAPPED*)
{
    *written = 0;
    SetLastError(ERROR_DISK_FULL);
    return FALSE;
}

TEST_F(DllFaultsTest, FullDiskLosesLinesUntilThereIsRoom)
{
    Write(L"before");
    {
        const ImportPatch full = Patch("WriteFile", DiskIsFull);
        EXPECT_EQ(ERROR_DISK_FULL, Write(L"lost"));
        EXPECT_EQ(ERROR_DISK_FULL, Write(L"lost"));
    }
    EXPECT_EQ(ERROR_SUCCESS, Write(L"after"));
    EXPECT_THAT(TextsOf(log.File()), ElementsAre("before", "after"));
}

decltype(&::WriteFile) realWrite = nullptr;
BOOL WINAPI WriteTenBytes(HANDLE file, const void* bytes, DWORD, DWORD* written, OVERLAPPED* overlapped)
{
    return realWrite(file, bytes, 10, written, overlapped);
}

TEST_F(DllFaultsTest, LineAfterOneThatWasCutOffBeginsOnALineOfItsOwn)
{
    {
        const ImportPatch full = Patch("WriteFile", WriteTenBytes);
        realWrite = full.Original<std::remove_pointer_t<decltype(realWrite)>>();
        EXPECT_EQ(ERROR_DISK_FULL, Write(L"cut off"));
    }
    EXPECT_EQ(ERROR_SUCCESS, Write(L"whole"));
    const std::vector<std::string> lines = LinesOf(log.File());
    ASSERT_EQ(2u, lines.size());
    EXPECT_EQ(10u, lines[0].size());
    EXPECT_TRUE(lines[1].ends_with(": whole"));
}

TEST_F(DllFaultsTest, LineAfterWhatAFallenMachineLeftBeginsOnALineOfItsOwn)
{
    log.AddFile(L"a.log", FILE_ATTRIBUTE_NORMAL, "x: half a li");
    Write(L"whole");
    EXPECT_THAT(TextsOf(log.File()), ElementsAre("half a li", "whole"));
}

TEST_F(DllFaultsTest, AnyPointerMayBeNull)
{
    const int level = LOG_LEVEL_ERROR;
    EXPECT_EQ(0, log.LogWrite(0, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(0, log.LogWrite(0, &level, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(0, log.LogWrite(0, &level, "narrow", nullptr, L"text", nullptr));
    log.LogSetSettingsFile(nullptr);
    EXPECT_FALSE(log.LogIsEnabled());
    const std::vector<std::string> lines = LinesOf(log.File());
    ASSERT_EQ(2u, lines.size());
    EXPECT_TRUE(lines[0].ends_with(" error (null): (null)")) << lines[0];
    EXPECT_TRUE(lines[1].ends_with(" error narrow: text")) << lines[1];
}

TEST_F(DllFaultsTest, LineStaysALineWhateverItsTextHolds)
{
    Write(L"a\r\nb\xd800z\x2028");
    EXPECT_THAT(TextsOf(log.File()), ElementsAre("a<U+000D><U+000A>b<U+D800>z<U+2028>"));
}

TEST_F(DllFaultsTest, CallersLastErrorIsKept)
{
    SetLastError(12345);
    Write(L"text");
    EXPECT_EQ(12345u, GetLastError());
}

using Malloc = void*(std::size_t);
Malloc* realMalloc = nullptr;
int mallocsUntilFault = 0;
void* FailOneMalloc(std::size_t size) { return --mallocsUntilFault == 0 ? nullptr : realMalloc(size); }

TEST_F(DllFaultsTest, ShortMemoryLosesTheLineAtMost)
{
    // Long enough that each text on the way is allocated.
    const std::wstring text(600, L'x');
    Write(L"before");
    int faults = 0;
    int result = 0;
    do
    {
        const ImportPatch memory = Patch("malloc", FailOneMalloc);
        realMalloc = memory.Original<Malloc>();
        mallocsUntilFault = ++faults;
        result = log.Write(LOG_LEVEL_ERROR, L"%s", text.c_str());
        EXPECT_EQ(mallocsUntilFault > 0 ? ERROR_SUCCESS : static_cast<int>(ERROR_OUTOFMEMORY), result);
    } while (result != ERROR_SUCCESS && faults < 1000);

    EXPECT_GT(faults, 3);
    EXPECT_THAT(TextsOf(log.File()), ElementsAre("before", std::string(600, 'x')));
}

int flushes = 0;
BOOL WINAPI CountFlush(HANDLE)
{
    ++flushes;
    return TRUE;
}

TEST_F(DllFaultsTest, ErrorLineGoesToTheDiskAndAFloodOfThemDoesNotEach)
{
    flushes = 0;
    const ImportPatch flush = Patch("FlushFileBuffers", CountFlush);
    log.Write(LOG_LEVEL_TRACE, L"trace");
    log.Write(LOG_LEVEL_TOLERATED, L"tolerated");
    EXPECT_EQ(0, flushes);
    Write(L"error");
    EXPECT_EQ(1, flushes);
    for (int i = 0; i < 10; ++i)
        Write(L"flood");
    EXPECT_LT(flushes, 10);
}

HANDLE WINAPI NoMutex(SECURITY_ATTRIBUTES*, const wchar_t*, DWORD, DWORD)
{
    SetLastError(ERROR_ACCESS_DENIED);
    return nullptr;
}

TEST_F(DllFaultsTest, WithoutAMutexLinesAreWrittenAndNothingIsMoved)
{
    const ImportPatch none = Patch("CreateMutexExW", NoMutex);
    log.LogSetMaxSize(1);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(ERROR_SUCCESS, Write(std::wstring(1100, L'x').c_str()));
    EXPECT_EQ(3u, LinesOf(log.File()).size());
}

std::vector<DWORD> waits;
DWORD WINAPI Busy(HANDLE, DWORD milliseconds)
{
    waits.push_back(milliseconds);
    return WAIT_TIMEOUT;
}

TEST_F(DllFaultsTest, MutexThatHangsIsWaitedForOnceAndNothingIsMovedWithoutIt)
{
    waits.clear();
    log.LogSetMaxSize(1);
    const std::wstring large(1100, L'x');
    {
        const ImportPatch busy = Patch("WaitForSingleObject", Busy);
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(ERROR_SUCCESS, Write(large.c_str()));
    }
    EXPECT_THAT(waits, ElementsAre(1000u, 0u, 0u));
    EXPECT_FALSE(Exists(log.Path(L"a.log.1")));
    Write(L"after");
    waits.clear();
    const ImportPatch busy = Patch("WaitForSingleObject", Busy);
    Write(L"again");
    EXPECT_THAT(waits, ElementsAre(1000u));
}

TEST_F(DllFaultsTest, LoadingAndUnloadingLeavesNoHandleBehind)
{
    Write(L"text");
    log.Unload();
    const HandleCount handles;
    for (int i = 0; i < 5; ++i)
    {
        log.Load();
        Write(L"text");
        log.Unload();
    }
    EXPECT_TRUE(handles.Unchanged());
}

} // namespace
} // namespace prodsweep::test
