#include "registry/key_access.h"

#include "common/path_join.h"
#include "environment/wow64.h"

#include <cstdint>

namespace prodsweep {

REGSAM ViewMask(bool x32view)
{
    if (!CWow64::Instance().IsWow64Process())
        return KEY_ALL_ACCESS;
    return KEY_ALL_ACCESS | static_cast<REGSAM>(x32view ? KEY_WOW64_32KEY : KEY_WOW64_64KEY);
}

LSTATUS OpenKey(HKEY hive, const std::wstring& subkey, REGSAM access, UniqueRegKey& key)
{
    HKEY opened = nullptr;
    const LSTATUS status = RegOpenKeyExW(hive, subkey.c_str(), 0, access, &opened);
    if (status == ERROR_SUCCESS)
        key.reset(opened);
    return status;
}

bool IsAbsent(LSTATUS status)
{
    return status == ERROR_FILE_NOT_FOUND || status == ERROR_PATH_NOT_FOUND || status == ERROR_INVALID_NAME;
}

std::wstring FullPath(const wchar_t* hiveName, const std::wstring& subkey)
{
    std::wstring path = hiveName;
    return PathJoin(path, subkey);
}

unsigned KeyNumber(HKEY key) { return static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(key)); }

} // namespace prodsweep
