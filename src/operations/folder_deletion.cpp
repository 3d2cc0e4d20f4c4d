#include "operations/operations.h"

#include "environment/log.h"
#include "operations/redirection_bracket.h"
#include "operations/tree_walk.h"

namespace prodsweep {
namespace {

bool IsUsed(IUsed* used, const wchar_t* folder) { return used != nullptr && used->IsUsedFolder(folder); }

// What is not there need not be tried again.
bool IsFailure(int result) { return result != _ERROR_SUCCESS && result != _ERROR_NOT_FOUND; }

} // namespace

int COperations::DelFolder(const wchar_t* path, IUsed* used)
{
    LOG(LogTrace, L"->\"%s\"", path);
    if (IsUsed(used, path))
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
    bool inUse = false;
    const int result = DelFolderRec(path, used, &inUse);
    if (!bracket.Close())
        LOG(LogWarning, L"Wow64RevertWow64FsRedirection failed 0x%x", bracket.Error());
    return result;
}

int COperations::DelFolderRec(const wchar_t* path, IUsed* used, bool* inUse)
{
    CTreeWalk walk(path);
    bool unasked = false;
    bool& rootInUse = inUse != nullptr ? *inUse : unasked;
    // What is in use keeps all folders around it: so many of the entered ones, from the root, stay.
    std::size_t staying = 0;
    int result = _ERROR_SUCCESS; // for what was handled last, in the end the root
    for (WalkStep step = walk.Next(); step != WalkStep::End; step = walk.Next())
    {
        bool stays = false;
        result = DelFolderRec(step, walk);
        switch (step)
        {
        case WalkStep::Met:
            continue;
        case WalkStep::Folder:
            if (!IsUsed(used, walk.Path()))
                continue;
            LOG(LogTrace, L"in use");
            stays = true;
            walk.Skip();
            break;
        case WalkStep::Entered:
            if (walk.Depth() == 1)
                rootInUse = false;
            continue;
        case WalkStep::File:
            result = DelFile(walk.Path(), used, &stays);
            break;
        case WalkStep::Circle:
            // The link itself can go. What lies behind it goes, or stays, by the names it has on this side.
            DelFolderRec(walk.Path());
            break;
        case WalkStep::Left:
            // Only a caller who asks for the flag keeps the root of the walk for what is in use below.
            stays = staying > walk.Depth() && (walk.Depth() > 0 || inUse != nullptr);
            if (!stays)
                DelFolderRec(walk.Path());
            break;
        default:
            break;
        }
        if (walk.Depth() == 0)
            rootInUse = rootInUse || stays;
        else if (stays)
            staying = walk.Depth();
        else if (IsFailure(result))
            AddRestartDel(walk.Path());
    }
    return result;
}

int COperations::DelFolderRec(WalkStep step, const CTreeWalk& walk)
{
    switch (step)
    {
    case WalkStep::Met:
        LOG(LogTrace, L"->\"%s\"", walk.Path());
        return _ERROR_SUCCESS;
    case WalkStep::NotFolder:
        LOG(LogWarning, L"\"%s\" path isn't a directory", walk.Path());
        return _ERROR_NOT_FOUND;
    case WalkStep::Gone:
        LOG(LogWarning, L"FindFirstFile ERROR_FILE_NOT_FOUND \"%s\"", walk.Path());
        return _ERROR_NOT_FOUND;
    case WalkStep::Unlisted:
        LOG(LogError, L"FindFirstFile \"%s\" failed 0x%x", walk.Path(), walk.Error());
        return _ERROR_UNKNOWN;
    case WalkStep::Circle:
        LOG(LogWarning, L"\"%s\" leads back to a folder around it", walk.Path());
        return _ERROR_SUCCESS;
    default:
        return _ERROR_SUCCESS;
    }
}

void COperations::DelFolderRec(const wchar_t* emptied)
{
    if (!SetFileAttributesW(emptied, FILE_ATTRIBUTE_NORMAL))
    {
        const DWORD error = GetLastError();
        LOG(LogWarning, L"SetFileAttributes NORMAL failed 0x%x", error);
    }
    if (RemoveDirectoryW(emptied))
        return;
    const DWORD error = GetLastError();
    LOG(LogError, L"failed \"%s\". last error 0x%x", emptied, error);
    if (error != ERROR_FILE_NOT_FOUND && error != ERROR_PATH_NOT_FOUND && error != ERROR_INVALID_NAME)
        AddRestartDel(emptied);
}

} // namespace prodsweep
