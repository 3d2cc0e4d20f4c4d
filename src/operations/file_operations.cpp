#include "operations/operations.h"

#include "environment/log.h"
#include "operations/force_del_file.h"
#include "operations/redirection_bracket.h"

namespace prodsweep {

int COperations::DelFile(const wchar_t* path, IUsed* used, bool* inUse)
{
    LOG(LogTrace, L"->\"%s\"", path);
    const bool stays = used != nullptr && used->IsUsedFile(path);
    if (inUse != nullptr)
        *inUse = stays;
    if (stays)
    {
        LOG(LogTrace, L"in use");
        return _ERROR_SUCCESS;
    }
    CRedirectionBracket bracket;
    if (!bracket.Open())
        LOG(LogWarning, L"Wow64DisableWow64FsRedirection failed 0x%x", bracket.Error());
    if (!SetFileAttributesW(path, FILE_ATTRIBUTE_NORMAL))
    {
        const DWORD error = GetLastError();
        LOG(LogWarning, L"SetFileAttributes NORMAL failed 0x%x", error);
    }
    const bool deleted = DeleteFileW(path);
    const DWORD error = GetLastError();
    if (!bracket.Close())
        LOG(LogWarning, L"Wow64RevertWow64FsRedirection failed 0x%x", bracket.Error());
    if (deleted)
        return _ERROR_SUCCESS;
    if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND)
    {
        LOG(LogWarning, L"failed %s ERROR_FILE_NOT_FOUND", path);
        return _ERROR_NOT_FOUND;
    }
    // Deliberate: the native way is gone only when Init fails, so on a sound system the file is left
    // for the restart. Its outcome changes nothing: a path once refused is always listed.
    if (CForceDelFile& native = CForceDelFile::Instance(); native.Init() != _ERROR_SUCCESS)
        static_cast<void>(native.Delete(path));
    LOG(LogWarning, L"failed \"%s\"", path);
    AddRestartDel(path);
    return _ERROR_FAILED;
}

} // namespace prodsweep
