#include "environment/path.h"

#include "environment/log.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/system_answers.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>

namespace prodsweep {
namespace {

// As systems do that leave no room for a terminator.
DWORD WINAPI NameThatFillsTheBuffer(HMODULE, wchar_t* name, DWORD size)
{
    EXPECT_EQ(DWORD{MAX_PATH}, size);
    std::fill_n(name, size, L'a');
    std::copy_n(L"C:\\", 3, name);
    name[size - 1] = L'\\';
    return size;
}

TEST(CPathTest, CurrentPathIsTheModulesFolderWithItsTrailingBackslash)
{
    std::wstring folder;
    ASSERT_TRUE(CPath::GetCurrentPath(folder));
    EXPECT_EQ(L'\\', folder.back());
    EXPECT_NE(INVALID_FILE_ATTRIBUTES, GetFileAttributesW((folder + L"environment_tests.exe").c_str()));
}

TEST(CPathTest, ModuleWithoutANameIsLoggedAndLeavesTheTextAlone)
{
    const test::LogRecorder log;
    const test::ImportPatch patch(nullptr, "GetModuleFileNameW", test::FailToNameTheModule);
    std::wstring folder = L"before";

    EXPECT_FALSE(CPath::GetCurrentPath(folder));

    EXPECT_EQ(L"before", folder);
    EXPECT_TRUE(log.Has(LogError, "CPath::GetCurrentPath", L"GetModuleFileName failed 0x1f"));
}

TEST(CPathTest, ModuleNameWithoutABackslashIsLoggedAndFails)
{
    const test::LogRecorder log;
    const test::ImportPatch patch(nullptr, "GetModuleFileNameW", test::NameWithoutBackslash);
    std::wstring folder = L"before";

    EXPECT_FALSE(CPath::GetCurrentPath(folder));

    EXPECT_EQ(L"before", folder);
    EXPECT_TRUE(log.Has(LogError, "CPath::GetCurrentPath", L"path \"prodsweep.dll\" ???"));
}

TEST(CPathTest, ModuleNameThatFillsTheBufferLosesItsLastCharacter)
{
    const test::ImportPatch patch(nullptr, "GetModuleFileNameW", NameThatFillsTheBuffer);
    std::wstring folder;

    ASSERT_TRUE(CPath::GetCurrentPath(folder));

    EXPECT_EQ(L"C:\\", folder);
}

TEST(CPathTest, CanonicaliseFoldsDots)
{
    std::wstring path = L"C:\\App\\.\\bin\\..\\file.txt";
    EXPECT_EQ(L"C:\\App\\file.txt", CPath::Canonicalise(path));
}

TEST(CPathTest, TextThatCannotBeCanonicalisedStaysAsItIs)
{
    std::wstring path(MAX_PATH + 10, L'x');
    const std::wstring before = path;
    EXPECT_EQ(before, CPath::Canonicalise(path));
}

TEST(CPathTest, CanonicalTextThatWouldBeTooLongIsNotTaken)
{
    const std::wstring folded = L"C:\\x\\..\\";
    std::wstring longest = folded + std::wstring(MAX_PATH - folded.size() - 1, L'a');
    const std::wstring name = longest.substr(folded.size());
    EXPECT_EQ(L"C:\\" + name, CPath::Canonicalise(longest));
    std::wstring longer = folded + std::wstring(MAX_PATH, L'a');
    EXPECT_EQ(folded + std::wstring(MAX_PATH, L'a'), CPath::Canonicalise(longer));
}

TEST(CPathTest, TextOfAnyLengthIsTakenWithoutHarm)
{
    std::wstring path = L"C:\\x\\..\\" + std::wstring(65536, L'a');
    const std::wstring before = path;
    EXPECT_EQ(before, CPath::Canonicalise(path));
}

} // namespace
} // namespace prodsweep
