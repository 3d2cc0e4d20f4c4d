#include "operations/operations.h"

#include "environment/log.h"
#include "operations/redirection_bracket.h"

#include <sys/stat.h>
#include <sys/types.h>

#include <cerrno>

namespace prodsweep {
namespace {

struct PathStatus
{
    int reason = 0; // errno, when the path could not be looked at
    DWORD lastError = ERROR_SUCCESS;
    unsigned mode = 0;
};

// The form with the wide size, so that a file of many gigabytes is a file like any other.
PathStatus QueryStatus(const wchar_t* path)
{
    struct _stat64 answer = {};
    PathStatus status;
    if (_wstat64(path, &answer) != 0)
    {
        status.lastError = GetLastError();
        status.reason = errno;
    }
    status.mode = answer.st_mode;
    return status;
}

} // namespace

int COperations::CheckFile(const wchar_t* path)
{
    CRedirectionBracket bracket;
    if (!bracket.Open())
        LOG(LogWarning, L"Wow64DisableWow64FsRedirection failed 0x%x", bracket.Error());
    const PathStatus status = QueryStatus(path);
    if (!bracket.Close())
        LOG(LogWarning, L"Wow64RevertWow64FsRedirection failed 0x%x", bracket.Error());
    if (status.reason == ENOENT)
    {
        LOG(LogError, L"\"%s\" 0x%x, ERROR_NOT_FOUND", path, status.lastError);
        return _ERROR_NOT_FOUND;
    }
    if (status.reason != 0)
    {
        LOG(LogError, L"_tstat for \"%s\" failed 0x%x, errno=0x%x", path, status.lastError, status.reason);
        return _ERROR_FAILED;
    }
    // Deliberate: anything at that path will do, a folder too. CheckFolder is the strict one.
    return (status.mode & _S_IFMT) != 0 ? _ERROR_SUCCESS : _ERROR_NOT_FOUND;
}

int COperations::CheckFolder(const wchar_t* path)
{
    CRedirectionBracket bracket;
    if (!bracket.Open())
        LOG(LogWarning, L"Wow64DisableWow64FsRedirection failed 0x%x", bracket.Error());
    const PathStatus status = QueryStatus(path);
    if (!bracket.Close())
        LOG(LogWarning, L"Wow64RevertWow64FsRedirection failed 0x%x", bracket.Error());
    if (status.reason == ENOENT)
    {
        LOG(LogError, L"\"%s\" 0x%x, ERROR_NOT_FOUND", path, status.lastError);
        return _ERROR_NOT_FOUND;
    }
    if (status.reason != 0)
    {
        LOG(LogError, L"_tstat for \"%s\" failed 0x%x, errno=0x%x", path, status.lastError, status.reason);
        return _ERROR_FAILED;
    }
    // Deliberate: a file in the folder's place counts as absent, not as a failure.
    return (status.mode & _S_IFDIR) != 0 ? _ERROR_SUCCESS : _ERROR_NOT_FOUND;
}

} // namespace prodsweep
