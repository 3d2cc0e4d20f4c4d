#include "operations/tree_walk.h"

#include "common/path_join.h"

#include <shlwapi.h>

#include <string_view>

namespace prodsweep {
namespace {

bool IsDots(std::wstring_view name) { return name == L"." || name == L".."; }

} // namespace

WalkStep CTreeWalk::Next()
{
    switch (step)
    {
    case WalkStep::Start:
        step = WalkStep::Met;
        break;
    case WalkStep::Met:
        step = PathIsDirectoryW(path.c_str()) ? WalkStep::Folder : WalkStep::NotFolder;
        break;
    case WalkStep::Folder:
        step = List();
        break;
    default:
        step = Advance();
    }
    return step;
}

const wchar_t* CTreeWalk::Name() const noexcept { return path.c_str() + (open.empty() ? 0 : open.back().prefix); }

WalkStep CTreeWalk::List()
{
    const bool leadsBack = IsLink() && LeadsBack();
    if (leadsBack && (circles == Circles::PassBy || IsInCircle()))
        return WalkStep::Circle;
    const bool inCircle = leadsBack || IsInCircle();
    const std::size_t length = path.size();
    const std::size_t prefix = AddSeparator(path).size();
    path += L"*.*";
    const HANDLE find = FindFirstFileW(path.c_str(), &entry);
    error = find == INVALID_HANDLE_VALUE ? GetLastError() : ERROR_SUCCESS;
    path.resize(length);
    if (find == INVALID_HANDLE_VALUE)
        return error == ERROR_FILE_NOT_FOUND ? WalkStep::Gone : WalkStep::Unlisted;
    std::unique_ptr<HANDLE, FindCloser> owned(find);
    open.push_back({std::move(owned), length, prefix, inCircle, std::nullopt});
    entryWaits = true;
    return WalkStep::Entered;
}

WalkStep CTreeWalk::Advance()
{
    if (open.empty())
        return WalkStep::End;
    const OpenFolder& folder = open.back();
    if (!NextEntry())
    {
        path.resize(folder.length);
        open.pop_back();
        return WalkStep::Left;
    }
    path.resize(folder.length);
    AddSeparator(path) += entry.cFileName;
    // Deliberate: a link to a folder is walked like any folder, as long as the walk ends.
    return (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? WalkStep::Met : WalkStep::File;
}

bool CTreeWalk::NextEntry()
{
    bool found = entryWaits || FindNextFileW(open.back().find.get(), &entry);
    entryWaits = false;
    while (found && IsDots(entry.cFileName))
        found = FindNextFileW(open.back().find.get(), &entry);
    return found;
}

bool CTreeWalk::IsLink() const noexcept
{
    return !open.empty() && (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

bool CTreeWalk::LeadsBack()
{
    const std::optional<FolderIdentity> target = IdentityOf(path);
    if (!target)
        return false;
    for (OpenFolder& folder : open)
    {
        if (!folder.identity)
            folder.identity = IdentityOf(path.substr(0, folder.prefix));
        if (folder.identity == target)
            return true;
    }
    return false;
}

} // namespace prodsweep
