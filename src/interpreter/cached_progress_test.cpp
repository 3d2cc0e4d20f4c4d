// When the progress moves while the lists are carried out.
#include "interpreter/product_uninstall.h"

#include "interpreter/progress.h"
#include "registry/split_key_path.h"
#include "support/import_patch.h"
#include "support/registry_sandbox.h"
#include "support/removal_pass.h"
#include "support/temp_tree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <string_view>
#include <vector>

namespace prodsweep {
namespace {

using test::ImportPatch;

// The progress as each operation begins.
std::vector<int>& Samples()
{
    static std::vector<int> samples;
    return samples;
}

bool SampleProgress()
{
    Samples().push_back(ProgressPercent.load());
    return true;
}

// Everything is in use, so that each operation begins with that question and ends with the answer.
class SampledRemoval final : public test::RemovalPass
{
public:
    explicit SampledRemoval(const CheckList& products) : RemovalPass(L"Product", L"C:\\none.xml", products, nullptr) {}

    bool IsUsedFile(const wchar_t*) override { return SampleProgress(); }
    bool IsUsedFolder(const wchar_t*) override { return SampleProgress(); }
    bool IsUsedRegKey(const wchar_t*, bool) override { return SampleProgress(); }
    bool IsUsedRegValue(const wchar_t*, const wchar_t*, bool) override { return SampleProgress(); }
    bool IsUsedTool(const wchar_t*, const wchar_t*) override { return SampleProgress(); }
};

// Those that ask nobody are met at their first call to the system, which fails.

SC_HANDLE WINAPI NoServiceManager(const wchar_t*, const wchar_t*, DWORD)
{
    SampleProgress();
    SetLastError(ERROR_ACCESS_DENIED);
    return nullptr;
}

const ImportPatch* openKey = nullptr;

LSTATUS WINAPI NoServiceKey(HKEY key, const wchar_t* subkey, DWORD options, REGSAM access, HKEY* opened)
{
    if (std::wstring_view(subkey).find(L"\\Services\\") == std::wstring_view::npos)
        return openKey->Original<decltype(NoServiceKey)>()(key, subkey, options, access, opened);
    SampleProgress();
    return ERROR_FILE_NOT_FOUND;
}

// Has the parameters of CreateProcessW. NOLINTNEXTLINE(readability-function-size)
BOOL WINAPI NoProcess(const wchar_t*, wchar_t*, SECURITY_ATTRIBUTES*, SECURITY_ATTRIBUTES*, BOOL, DWORD, void*,
                      const wchar_t*, STARTUPINFOW*, PROCESS_INFORMATION*)
{
    SampleProgress();
    SetLastError(ERROR_FILE_NOT_FOUND);
    return FALSE;
}

HANDLE WINAPI NoProcessList(DWORD, DWORD)
{
    SampleProgress();
    SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_HANDLE_VALUE;
}

// Two operations of one kind, which weigh alike: behind the first of them half of the way is done.
class CachedProgressTest : public testing::Test
{
protected:
    CachedProgressTest() { Samples().clear(); }

    std::vector<int> Carried()
    {
        removal.ExecuteCachedOperations();
        return Samples();
    }

    const std::vector<int> halfWay{0, 35};
    test::TempTree tree;
    test::RegistrySandbox sandbox;
    const CSplitKeyPath hives; // fills the tables of hive names
    const CheckList checkList;
    SampledRemoval removal{checkList};
};

TEST_F(CachedProgressTest, MovesBehindEachServiceThatIsStoppedAndBehindEachThatIsDisabled)
{
    const ImportPatch manager(nullptr, "OpenSCManagerW", NoServiceManager);
    const ImportPatch key(nullptr, "RegOpenKeyExW", NoServiceKey);
    openKey = &key;
    removal.cachedDriverStops = {{{{L"name", L"a"}}, L"a"}, {{{L"name", L"b"}}, L"b"}};
    EXPECT_EQ((std::vector{0, 35, 70, 105}), Carried());
}

TEST_F(CachedProgressTest, MovesBehindEachMethod)
{
    removal.cachedDllMethods = {{{{L"module", L"C:\\a.dll"}, {L"method_name", L"m"}}, L""},
                                {{{L"module", L"C:\\b.dll"}, {L"method_name", L"m"}}, L""}};
    EXPECT_EQ(halfWay, Carried());
}

TEST_F(CachedProgressTest, MovesBehindEachTool)
{
    const ImportPatch create(nullptr, "CreateProcessW", NoProcess);
    removal.cachedTools = {{L"a", false, false, false}, {L"b", false, false, false}};
    EXPECT_EQ(halfWay, Carried());
}

TEST_F(CachedProgressTest, MovesBehindEachProcess)
{
    const ImportPatch snapshot(nullptr, "CreateToolhelp32Snapshot", NoProcessList);
    removal.cachedKills = {L"a.exe", L"b.exe"};
    EXPECT_EQ(halfWay, Carried());
}

TEST_F(CachedProgressTest, MovesBehindEachFolder)
{
    removal.cachedFolders = {tree.AddFolder(L"a"), tree.AddFolder(L"b")};
    EXPECT_EQ(halfWay, Carried());
}

TEST_F(CachedProgressTest, MovesBehindEachFile)
{
    removal.cachedFiles = {tree.AddFile(L"a"), tree.AddFile(L"b")};
    EXPECT_EQ(halfWay, Carried());
}

TEST_F(CachedProgressTest, MovesBehindEachShortcut)
{
    removal.cachedShortcuts = {{tree.AddFile(L"a.lnk"), L"x.exe", false}, {tree.AddFile(L"b.lnk"), L"x.exe", false}};
    EXPECT_EQ(halfWay, Carried());
}

TEST_F(CachedProgressTest, MovesBehindEachKeySearch)
{
    sandbox.AddText(L"a", L"v", L"data");
    sandbox.AddText(L"b", L"v", L"data");
    removal.cachedRegKeySearches = {{sandbox.Path(L"a"), {L"data"}, false, false},
                                    {sandbox.Path(L"b"), {L"data"}, false, false}};
    // The plain value without which no search runs is all that was counted.
    removal.cachedRegItems = {{sandbox.Path(L"a"), L"v", false, true}};
    EXPECT_EQ((std::vector{0, 70, 140}), Carried());
}

TEST_F(CachedProgressTest, MovesBehindEachKey)
{
    removal.cachedRegItems = {{sandbox.Path(L"a"), L"", false, false}, {sandbox.Path(L"b"), L"", false, false}};
    EXPECT_EQ(halfWay, Carried());
}

TEST_F(CachedProgressTest, MovesBehindEachValue)
{
    sandbox.AddText(L"a", L"v", L"data");
    sandbox.AddText(L"b", L"v", L"data");
    removal.cachedRegItems = {{sandbox.Path(L"a"), L"v", false, true}, {sandbox.Path(L"b"), L"v", false, true}};
    EXPECT_EQ(halfWay, Carried());
}

} // namespace
} // namespace prodsweep
