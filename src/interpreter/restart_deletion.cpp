// What could not go while the machine runs is handed to the next restart.
#include "interpreter/product_uninstall.h"

#include "environment/log.h"
#include "operations/redirection_bracket.h"

#include <windows.h>

namespace prodsweep {

void CProductUninstall::AddRestartDel(const std::wstring& path)
{
    if (Holds(restartDeleteList, path))
        return;
    LOG(LogTrace, L"\"%s\"", path.c_str());
    restartDeleteList.push_back(path);
}

bool CProductUninstall::DeleteAtRestart()
{
    bool result = true;
    CRedirectionBracket bracket;
    if (!bracket.Open())
        LOG(LogWarning, L"Wow64DisableWow64FsRedirection failed 0x%x", bracket.Error());
    LOG(LogTrace, L"RESTART DELETE :");
    for (const std::wstring& path : restartDeleteList)
        LOG(LogTrace, L"\"%s\"", path.c_str());
    for (const std::wstring& path : restartDeleteList)
    {
        // A path that went after all is registered all the same: nothing removes an entry.
        if (!SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL))
        {
            const DWORD error = GetLastError();
            LOG(LogWarning, L"SetFileAttributes NORMAL for \"%s\" failed 0x%x", path.c_str(), error);
        }
        if (!MoveFileExW(path.c_str(), nullptr, MOVEFILE_DELAY_UNTIL_REBOOT))
        {
            const DWORD error = GetLastError();
            LOG(LogWarning, L"MoveFileEx \"%s\" failed 0x%x", path.c_str(), error);
            result = false;
        }
    }
    if (!bracket.Close())
        LOG(LogWarning, L"Wow64RevertWow64FsRedirection failed 0x%x", bracket.Error());
    return result;
}

} // namespace prodsweep
