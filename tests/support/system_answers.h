#pragma once

#include <objbase.h>
#include <windows.h>

#include <cwchar>

namespace prodsweep::test {

// What the system will not answer on demand: replacements for ImportPatch.

// GetModuleFileNameW
inline DWORD WINAPI FailToNameTheModule(HMODULE, wchar_t*, DWORD)
{
    SetLastError(ERROR_GEN_FAILURE);
    return 0;
}
inline DWORD WINAPI NameWithoutBackslash(HMODULE, wchar_t* name, DWORD size)
{
    return static_cast<DWORD>(wcslen(wcsncpy(name, L"prodsweep.dll", size)));
}

// CreateToolhelp32Snapshot
inline HANDLE WINAPI NoSnapshot(DWORD, DWORD)
{
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return INVALID_HANDLE_VALUE;
}

// CoCreateInstance
inline HRESULT WINAPI RefuseToCreate(REFCLSID, IUnknown*, DWORD, REFIID, void**) { return REGDB_E_CLASSNOTREG; }

// GetSystemInfo
inline void WINAPI SayItIs32Bit(SYSTEM_INFO* info)
{
    *info = {};
    info->wProcessorArchitecture = PROCESSOR_ARCHITECTURE_INTEL;
}

// CheckTokenMembership
inline BOOL WINAPI SayNoMember(HANDLE, PSID, PBOOL member)
{
    *member = FALSE;
    return TRUE;
}

} // namespace prodsweep::test
