// How the recorded tools are started: what goes before them, around them and with them. None is.
#include "interpreter/product_uninstall.h"

#include "support/com_scope.h"
#include "support/import_patch.h"
#include "support/process.h"
#include "support/removal_pass.h"
#include "support/wow64_mode.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

namespace prodsweep {
namespace {

using test::ImportPatch;
using test::RemovalPass;
using testing::ElementsAre;

// Stands for the system that starts tools and waits for them.
class ToolStarts
{
public:
    ToolStarts() { current = this; }
    ~ToolStarts() { current = nullptr; }
    ToolStarts(const ToolStarts&) = delete;
    ToolStarts& operator=(const ToolStarts&) = delete;

    std::vector<int> shows;
    // Whether the tools' ends were waited for.
    std::vector<bool> waits;

private:
    // Has the parameters of CreateProcessW. NOLINTNEXTLINE(readability-function-size)
    static BOOL WINAPI Create(const wchar_t*, wchar_t*, SECURITY_ATTRIBUTES*, SECURITY_ATTRIBUTES*, BOOL, DWORD, void*,
                              const wchar_t*, STARTUPINFOW* how, PROCESS_INFORMATION* out)
    {
        wchar_t trace[256] = {};
        GetEnvironmentVariableW(L"PRODSWEEP_METHOD_TRACE", trace, 256);
        SetEnvironmentVariableW(L"PRODSWEEP_METHOD_TRACE", (std::wstring(trace) + L"tool;").c_str());
        current->shows.push_back(how->wShowWindow);
        current->waits.push_back(false);
        test::Wow64Mode::Note("start");
        *out = {};
        out->hProcess = current;
        return TRUE;
    }

    static DWORD WINAPI Wait(HANDLE handle, DWORD milliseconds)
    {
        if (handle != current)
            return current->wait.Original<decltype(Wait)>()(handle, milliseconds);
        current->waits.back() = true;
        test::Wow64Mode::Note("wait");
        // The tool goes on, and its handle, which is none, stays untouched.
        return WAIT_TIMEOUT;
    }

    static ToolStarts* current;

    const ImportPatch create{nullptr, "CreateProcessW", Create};
    const ImportPatch wait{nullptr, "WaitForSingleObject", Wait};
};

ToolStarts* ToolStarts::current = nullptr;

class CachedToolsTest : public testing::Test
{
protected:
    test::ComScope com;
    CheckList checkList;
    RemovalPass pass{L"Product", L"C:\\none.xml", checkList, nullptr};
    ToolStarts starts;
};

TEST_F(CachedToolsTest, MethodsRunBeforeTools)
{
    SetEnvironmentVariableW(L"PRODSWEEP_METHOD_TRACE", nullptr);
    pass.cachedTools.push_back({L"tool", false, false, false});
    pass.cachedDllMethods.push_back(
        {{{L"module", test::ThisProgramsFolder() + L"method_dll.dll"}, {L"method_name", L"Succeed"}}, L""});
    pass.ExecuteCachedOperations();
    wchar_t trace[256] = {};
    GetEnvironmentVariableW(L"PRODSWEEP_METHOD_TRACE", trace, 256);
    EXPECT_STREQ(L"attach;Succeed;detach;tool;", trace);
}

TEST_F(CachedToolsTest, EachToolIsWaitedForAsItAsks)
{
    pass.cachedTools = {{L"a", true, false, false}, {L"b", false, false, false}, {L"c", true, false, false}};
    pass.ExecuteCachedOperations();
    EXPECT_THAT(starts.waits, ElementsAre(true, false, true));
}

TEST_F(CachedToolsTest, EachToolHasItsWindowShownAsItAsks)
{
    pass.cachedTools = {{L"a", false, true, false}, {L"b", false, false, false}, {L"c", false, true, false}};
    pass.ExecuteCachedOperations();
    EXPECT_THAT(starts.shows, ElementsAre(SW_SHOW, SW_HIDE, SW_SHOW));
}

TEST_F(CachedToolsTest, StartAndWaitOfTheToolThatAsksForItLieWithoutRedirection)
{
    const test::Wow64Mode wow64;
    pass.cachedTools = {{L"a", true, false, true}, {L"b", true, false, false}};
    pass.ExecuteCachedOperations();
    EXPECT_THAT(wow64.Calls(), ElementsAre("disable", "start", "wait", "revert", "start", "wait"));
    EXPECT_TRUE(wow64.Balanced());
}

} // namespace
} // namespace prodsweep
