#include "operations/operations.h"

#include "environment/log.h"
#include "operations/redirection_bracket.h"
#include "operations/tree_walk.h"

namespace prodsweep {

int COperations::ExpandFolder(const wchar_t* path, WideStringList& folders, WideStringList& files)
{
    LOG(LogTrace, L"->\"%s\"", path);
    CRedirectionBracket bracket;
    if (!bracket.Open())
        LOG(LogWarning, L"Wow64DisableWow64FsRedirection failed 0x%x", bracket.Error());
    // Deliberate, although all else here just reads: the top folder loses its attributes, not those below.
    if (!SetFileAttributesW(path, FILE_ATTRIBUTE_NORMAL))
    {
        const DWORD error = GetLastError();
        LOG(LogWarning, L"SetFileAttributes NORMAL failed 0x%x", error);
    }
    const int result = ExpandFolderRec(path, folders, files);
    if (!bracket.Close())
        LOG(LogWarning, L"Wow64RevertWow64FsRedirection failed 0x%x", bracket.Error());
    return result;
}

int COperations::ExpandFolderRec(const wchar_t* path, WideStringList& folders, WideStringList& files)
{
    // What a removal names behind a link that leads back is in use under that name as well.
    CTreeWalk walk(path, Circles::FollowOnce);
    int result = _ERROR_SUCCESS; // for what was handled last, in the end the root
    for (WalkStep step = walk.Next(); step != WalkStep::End; step = walk.Next())
    {
        result = _ERROR_SUCCESS;
        switch (step)
        {
        case WalkStep::Met:
            LOG(LogTrace, L"->\"%s\"", walk.Path());
            // Deliberate: listed before anything is known of it, and also when it turns out to be none.
            folders.emplace_back(walk.Path());
            break;
        case WalkStep::NotFolder:
            LOG(LogWarning, L"\"%s\" path isn't a directory", walk.Path());
            result = _ERROR_NOT_FOUND;
            break;
        case WalkStep::Gone:
            LOG(LogWarning, L"FindFirstFile ERROR_FILE_NOT_FOUND \"%s\"", walk.Path());
            result = _ERROR_NOT_FOUND;
            break;
        case WalkStep::Unlisted:
            LOG(LogError, L"FindFirstFile \"%s\" failed 0x%x", walk.Path(), walk.Error());
            result = _ERROR_UNKNOWN;
            break;
        case WalkStep::Circle:
            LOG(LogWarning, L"\"%s\" leads back to a folder around it", walk.Path());
            break;
        case WalkStep::File:
            files.emplace_back(walk.Path());
            break;
        default:
            break;
        }
        if (result != _ERROR_SUCCESS && walk.Depth() > 0)
            LOG(LogWarning, L"error %s expand folder \"%s\"", ResultCodeName(result), walk.Path());
    }
    return result;
}

} // namespace prodsweep
