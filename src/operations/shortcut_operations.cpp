#include "operations/operations.h"

#include "common/com_releaser.h"
#include "environment/log.h"
#include "operations/redirection_bracket.h"
#include "operations/tree_walk.h"

#include <shlobj.h>
#include <shlwapi.h>

#include <cwchar>
#include <memory>

namespace prodsweep {
namespace {

constexpr std::size_t linkTargetSize = 260;
constexpr std::size_t extensionSize = 16;

bool IsLink(const wchar_t* name)
{
    const wchar_t* extension = PathFindExtensionW(name);
    return extension != nullptr && _wcsicmp(extension, L".lnk") == 0;
}

// The last part of a link's target, with extension. False when a part is longer than it may be.
bool TargetName(const wchar_t* linkTarget, wchar_t* name)
{
    wchar_t extension[extensionSize] = {};
    return _wsplitpath_s(linkTarget, nullptr, 0, nullptr, 0, name, linkTargetSize, extension, extensionSize) == 0 &&
           wcscat_s(name, linkTargetSize, extension) == 0;
}

enum class LinkStep
{
    SingleFile, // the path is no folder, and is taken as one file, whatever it links to
    Gone,
    Unlisted,   // DWORD Error()
    Circle,     // a link that leads back to a folder around it; it is passed by
    Entered,    // a folder; its links follow
    Unreadable, // HRESULT Failure()
    Match,      // a link to the target
    End
};

// The links below a folder, one after the other. What is done about them differs by operation.
class CShortcutWalk
{
public:
    CShortcutWalk(const wchar_t* path, const wchar_t* wanted, bool wantedIsPath, Circles circles = Circles::PassBy)
        : walk(path, circles), target(wanted), targetIsPath(wantedIsPath)
    {}

    LinkStep Next();

    [[nodiscard]] const wchar_t* Path() const noexcept { return walk.Path(); }
    [[nodiscard]] DWORD Error() const noexcept { return walk.Error(); }
    [[nodiscard]] HRESULT Failure() const noexcept { return failure; }

private:
    bool Matches(const wchar_t* linkTarget) const;

    CTreeWalk walk;
    const wchar_t* target;
    bool targetIsPath;
    HRESULT failure = S_OK;
};

LinkStep CShortcutWalk::Next()
{
    for (;;)
    {
        switch (walk.Next())
        {
        case WalkStep::NotFolder:
            return LinkStep::SingleFile;
        case WalkStep::Gone:
            return LinkStep::Gone;
        case WalkStep::Unlisted:
            return LinkStep::Unlisted;
        case WalkStep::Entered:
            return LinkStep::Entered;
        case WalkStep::End:
            return LinkStep::End;
        case WalkStep::Circle:
            return LinkStep::Circle;
        case WalkStep::File:
            if (!IsLink(walk.Name()))
                break;
            wchar_t linkTarget[linkTargetSize];
            failure = COperations::GetLinkInfo(walk.Path(), linkTarget);
            if (FAILED(failure))
                return LinkStep::Unreadable;
            if (Matches(linkTarget))
                return LinkStep::Match;
            break;
        default:
            break;
        }
    }
}

bool CShortcutWalk::Matches(const wchar_t* linkTarget) const
{
    if (target == nullptr)
        return false;
    if (targetIsPath)
        return _wcsicmp(linkTarget, target) == 0;
    wchar_t name[linkTargetSize] = {};
    return TargetName(linkTarget, name) && _wcsicmp(target, name) == 0;
}

} // namespace

int COperations::DelShortcut(const wchar_t* path, const wchar_t* target, bool targetIsPath, IUsed* used)
{
    CRedirectionBracket bracket;
    if (!bracket.Open())
        LOG(LogWarning, L"Wow64DisableWow64FsRedirection failed 0x%x", bracket.Error());
    const int result = DelShortcutRec(path, target, targetIsPath, used);
    if (!bracket.Close())
        LOG(LogWarning, L"Wow64RevertWow64FsRedirection failed 0x%x", bracket.Error());
    return result;
}

int COperations::CheckShortcut(const wchar_t* path, const wchar_t* target, bool targetIsPath)
{
    CRedirectionBracket bracket;
    if (!bracket.Open())
        LOG(LogWarning, L"Wow64DisableWow64FsRedirection failed 0x%x", bracket.Error());
    const int result = CheckShortcutRec(path, target, targetIsPath);
    if (!bracket.Close())
        LOG(LogWarning, L"Wow64RevertWow64FsRedirection failed 0x%x", bracket.Error());
    return result;
}

int COperations::ExpandShortcut(const wchar_t* path, const wchar_t* target, bool targetIsPath, WideStringList& links)
{
    CRedirectionBracket bracket;
    if (!bracket.Open())
        LOG(LogWarning, L"Wow64DisableWow64FsRedirection failed 0x%x", bracket.Error());
    const int result = ExpandShortcutRec(path, target, targetIsPath, links);
    if (!bracket.Close())
        LOG(LogWarning, L"Wow64RevertWow64FsRedirection failed 0x%x", bracket.Error());
    return result;
}

// Deliberate, in all three: the last result wins. Each folder starts anew with success, its result
// replaces that of the folder around it, and links that don't match change nothing. So a failure is
// hidden by a later success, and a folder without a matching link is a success, which is what
// detection counts as found. A link that leads back to a folder around it changes nothing: that folder
// has a result of its own.

int COperations::DelShortcutRec(const wchar_t* path, const wchar_t* target, bool targetIsPath, IUsed* used)
{
    CShortcutWalk walk(path, target, targetIsPath);
    int result = _ERROR_SUCCESS;
    for (LinkStep step = walk.Next(); step != LinkStep::End; step = walk.Next())
    {
        switch (step)
        {
        case LinkStep::SingleFile:
            result = DelFile(walk.Path(), used, nullptr);
            break;
        case LinkStep::Gone:
            LOG(LogWarning, L"FindFirstFile ERROR_FILE_NOT_FOUND \"%s\"", walk.Path());
            result = _ERROR_NOT_FOUND;
            break;
        case LinkStep::Unlisted:
            LOG(LogError, L"FindFirstFile \"%s\" failed 0x%x", walk.Path(), walk.Error());
            result = _ERROR_UNKNOWN;
            break;
        case LinkStep::Circle:
            LOG(LogWarning, L"\"%s\" leads back to a folder around it", walk.Path());
            break;
        case LinkStep::Unreadable:
            LOG(LogError, L"GetLinkInfo \"%s\" failed 0x%x", walk.Path(), walk.Failure());
            break;
        case LinkStep::Match:
            result = DelFile(walk.Path(), used, nullptr);
            if (result != _ERROR_SUCCESS && result != _ERROR_NOT_FOUND)
                AddRestartDel(walk.Path());
            break;
        default: // Entered
            result = _ERROR_SUCCESS;
        }
    }
    return result;
}

int COperations::CheckShortcutRec(const wchar_t* path, const wchar_t* target, bool targetIsPath)
{
    CShortcutWalk walk(path, target, targetIsPath);
    int result = _ERROR_SUCCESS;
    for (LinkStep step = walk.Next(); step != LinkStep::End; step = walk.Next())
    {
        switch (step)
        {
        case LinkStep::SingleFile:
        case LinkStep::Match:
            result = CheckFile(walk.Path());
            break;
        case LinkStep::Gone:
            LOG(LogWarning, L"FindFirstFile ERROR_FILE_NOT_FOUND \"%s\"", walk.Path());
            result = _ERROR_NOT_FOUND;
            break;
        case LinkStep::Unlisted:
            LOG(LogError, L"FindFirstFile \"%s\" failed 0x%x", walk.Path(), walk.Error());
            result = _ERROR_UNKNOWN;
            break;
        case LinkStep::Circle:
            LOG(LogWarning, L"\"%s\" leads back to a folder around it", walk.Path());
            break;
        case LinkStep::Unreadable:
            LOG(LogError, L"GetLinkInfo \"%s\" failed 0x%x", walk.Path(), walk.Failure());
            break;
        default: // Entered
            result = _ERROR_SUCCESS;
        }
    }
    return result;
}

int COperations::ExpandShortcutRec(const wchar_t* path, const wchar_t* target, bool targetIsPath, WideStringList& links)
{
    // What a removal names behind a link that leads back is in use under that name as well.
    CShortcutWalk walk(path, target, targetIsPath, Circles::FollowOnce);
    int result = _ERROR_SUCCESS;
    for (LinkStep step = walk.Next(); step != LinkStep::End; step = walk.Next())
    {
        switch (step)
        {
        case LinkStep::SingleFile:
            // Deliberate: listed without a look whether it exists.
            links.emplace_back(walk.Path());
            result = _ERROR_SUCCESS;
            break;
        case LinkStep::Gone:
            LOG(LogWarning, L"FindFirstFile ERROR_FILE_NOT_FOUND \"%s\"", walk.Path());
            result = _ERROR_NOT_FOUND;
            break;
        case LinkStep::Unlisted:
            LOG(LogError, L"FindFirstFile \"%s\" failed 0x%x", walk.Path(), walk.Error());
            result = _ERROR_UNKNOWN;
            break;
        case LinkStep::Circle:
            LOG(LogWarning, L"\"%s\" leads back to a folder around it", walk.Path());
            break;
        case LinkStep::Unreadable:
            LOG(LogError, L"GetLinkInfo \"%s\" failed 0x%x", walk.Path(), walk.Failure());
            break;
        case LinkStep::Match:
            // Collecting can't fail, so what came before stays as it is.
            links.emplace_back(walk.Path());
            break;
        default: // Entered
            result = _ERROR_SUCCESS;
        }
    }
    return result;
}

HRESULT COperations::GetLinkInfo(const wchar_t* link, wchar_t* target)
{
    target[0] = L'\0';
    // Deliberate: once more for each link, never undone. The apartment has to outlive the call.
    static_cast<void>(CoInitialize(nullptr));
    void* created = nullptr;
    HRESULT result = CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW, &created);
    if (FAILED(result))
        return result;
    const std::unique_ptr<IShellLinkW, ComReleaser> shellLink(static_cast<IShellLinkW*>(created));
    void* queried = nullptr;
    result = shellLink->QueryInterface(IID_IPersistFile, &queried);
    if (FAILED(result))
        return result;
    const std::unique_ptr<IPersistFile, ComReleaser> file(static_cast<IPersistFile*>(queried));
    result = file->Load(link, STGM_READ);
    if (FAILED(result))
        return result;
    WIN32_FIND_DATAW found;
    result = shellLink->GetPath(target, static_cast<int>(linkTargetSize), &found, 0);
    if (FAILED(result))
        LOG(LogError, L"Retrieve link for \"%s\" error 0x%x", link, result);
    return result;
}

} // namespace prodsweep
