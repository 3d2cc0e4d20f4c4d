#include "environment/log.h"

#include <gmock/gmock.h>
#include <windows.h>

#include <cstdio>

namespace {

// Under Wine the prefix is the project's own. A real Windows is somebody's machine.
bool MayDelete()
{
    if (GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr)
        return true;
    wchar_t answer[4] = {};
    return GetEnvironmentVariableW(L"PRODSWEEP_TESTS_MAY_DELETE", answer, 4) == 1 && answer[0] == L'1';
}

} // namespace

int main(int argc, char** argv)
{
    if (!MayDelete())
    {
        std::fputs("These tests delete files and registry keys. Set PRODSWEEP_TESTS_MAY_DELETE=1 to let them.\n",
                   stderr);
        return 2;
    }
    testing::InitGoogleMock(&argc, argv);
    // What the DLL does when it is attached: one reference keeps the log bound.
    prodsweep::LogAcquire();
    const int result = RUN_ALL_TESTS();
    prodsweep::LogRelease();
    return result;
}
