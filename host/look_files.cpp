#include "look.h"

#include <windows.h>

#include <shlwapi.h>

#include "open_file.h"
#include "operations/tree_walk.h"
#include "real_path.h"
#include "text.h"

namespace prodsweep {

namespace {

std::uint64_t Join(DWORD high, DWORD low) { return (std::uint64_t{high} << 32) | low; }

// What must not change between the plan and the removal: not the time of the last reading.
void AddEntry(CDigest& digest, const std::wstring& path, const WIN32_FIND_DATAW& entry)
{
    digest.Add(path);
    digest.Add(std::uint64_t{entry.dwFileAttributes});
    if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        return;
    digest.Add(Join(entry.nFileSizeHigh, entry.nFileSizeLow));
    digest.Add(Join(entry.ftLastWriteTime.dwHighDateTime, entry.ftLastWriteTime.dwLowDateTime));
}

// An installed product that is not asked can't keep what it uses.
void WarnOfUser(const PlannedItem& item, const std::wstring& path, bool isFolder, const LookContext& context)
{
    const std::string user = isFolder ? context.unasked.OfFolder(path) : context.unasked.OfFile(path);
    if (!user.empty())
        context.WarnOnce(item.name, "The installed product \"" + user +
                                        "\" uses this as well, or something in it, and is not asked.");
}

// As KeepsFromDeleting, at the moment when files are dealt with.
std::string WillKeepFromDeleting(const std::wstring& path, const LookContext& context)
{
    return context.swept.EndsProgram(path) ? std::string() : KeepsFromDeleting(path);
}

// Goes through a folder as the deletion will, and counts instead.
class CFolderLook
{
public:
    CFolderLook(PlannedItem& lookedAt, const std::wstring& root, const LookContext& lookContext)
        : item(lookedAt), context(lookContext), walk(root.c_str())
    {}

    void Run();
    // After Run.
    const CSweptPlaces::Rest& Rest() const { return rest; }

private:
    void OnMet();
    void OnLink();
    void OnCircle();
    // True: it stays.
    bool OnFolder();
    bool OnFile();
    void OnLeft(bool stays);
    // True: an item before this one takes it, and it is counted there.
    bool IsTaken() const { return !context.swept.TakesPath(walk.Path()).empty(); }

    PlannedItem& item;
    const LookContext& context;
    CTreeWalk walk;
    CDigest digest;
    CSweptPlaces::Rest rest;
    std::uint64_t things = 0;
    std::uint64_t tries = 0;
    bool passBy = false; // the folder that was just met
};

void CFolderLook::OnMet()
{
    passBy = false;
    if (walk.Depth() == 0)
        return;
    AddEntry(digest, walk.Path(), walk.Entry());
    if ((walk.Entry().dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0)
        return;
    OnLink();
}

// The deletion walks through links to folders, so what lies behind one goes too.
void CFolderLook::OnLink()
{
    const std::wstring link = walk.Path();
    const std::wstring real = RealPath(link);
    const std::string path = ToUtf8(link);
    digest.Add(real);
    ++item.contents.links;
    AddPart(item, {PlannedPart::Kind::Link, path, ItemState::Present, {}, ToUtf8(real)});
    if (const ForbiddenPlace* const place = context.forbidden.OfPath(link))
    {
        context.Endanger(path, ToUtf8(real), *place);
        item.contents.complete = false;
        passBy = true;
    }
}

// What lies behind it is dealt with by the names it has on this side. Not every system deletes the link alone; else the
// folder around it can't go either.
void CFolderLook::OnCircle()
{
    item.restart = true;
    context.Warn(item.name, "The link \"" + ToUtf8(walk.Path()) +
                                "\" in it leads round in a circle, so it is left to the restart.");
}

bool CFolderLook::OnFolder()
{
    const std::string user = context.users.OfFolder(walk.Path());
    if (!user.empty())
    {
        ++item.contents.inUse;
        AddPart(item, {PlannedPart::Kind::Folder, ToUtf8(walk.Path()), ItemState::InUse, user, {}});
        rest.whole.emplace_back(walk.Path());
        digest.Add(std::wstring_view(L"in use"));
    }
    else
    {
        WarnOfUser(item, walk.Path(), true, context);
    }
    if (!user.empty() || passBy)
        walk.Skip();
    return !user.empty();
}

bool CFolderLook::OnFile()
{
    const std::wstring path = walk.Path();
    AddEntry(digest, path, walk.Entry());
    if (const std::string user = context.users.OfFile(path); !user.empty())
    {
        ++item.contents.inUse;
        AddPart(item, {PlannedPart::Kind::File, ToUtf8(path), ItemState::InUse, user, {}});
        rest.whole.push_back(path);
        digest.Add(std::wstring_view(L"in use"));
        return true;
    }
    WarnOfUser(item, path, false, context);
    if (IsTaken())
        return false;
    ++item.contents.files;
    item.contents.bytes += Join(walk.Entry().nFileSizeHigh, walk.Entry().nFileSizeLow);
    if (context.triesFiles && tries++ < mostOpenTries && !WillKeepFromDeleting(path, context).empty())
    {
        ++item.contents.atRestart;
        AddPart(item, {PlannedPart::Kind::File, ToUtf8(path), ItemState::AtRestart, {}, {}});
    }
    return false;
}

void CFolderLook::OnLeft(bool stays)
{
    if (stays)
        rest.around.emplace_back(walk.Path());
    else if (!IsTaken())
        ++item.contents.folders;
    if (stays && walk.Depth() == 0)
        item.state = ItemState::PartlyInUse;
}

void CFolderLook::Run()
{
    // What is in use keeps all folders around it: so many of the entered ones, from the root, stay.
    std::size_t staying = 0;
    for (WalkStep step = walk.Next(); step != WalkStep::End; step = walk.Next())
    {
        // Each thing gives rise to one of these.
        const bool isThing = step == WalkStep::Met || step == WalkStep::File;
        if (isThing && ++things > context.most)
        {
            item.contents.complete = false;
            context.EndangerUnjudged(item.name);
            break;
        }
        bool stays = false;
        switch (step)
        {
        case WalkStep::Met:
            OnMet();
            continue;
        case WalkStep::Folder:
            stays = OnFolder();
            break;
        case WalkStep::Circle:
            OnCircle();
            continue;
        case WalkStep::File:
            stays = OnFile();
            break;
        case WalkStep::Left:
            stays = staying > walk.Depth();
            OnLeft(stays);
            break;
        case WalkStep::NotFolder: // too deep for a path
        case WalkStep::Unlisted:
            // The folder around it can't go, and is left to the restart.
            item.restart = item.restart || walk.Depth() != 0;
            item.contents.complete = false;
            continue;
        case WalkStep::Gone:
            item.contents.complete = false;
            continue;
        default:
            continue;
        }
        if (stays)
            staying = walk.Depth();
    }
    item.mark += digest.Text();
}

// False: it is settled what becomes of the item.
bool IsLeftToLookAt(PlannedItem& item, const std::wstring& path, DWORD attributes, const LookContext& context)
{
    if (PathIsRelativeW(path.c_str()))
        context.Warn(item.name,
                     "It is no full path: what it means depends on the folder that uninstall is started in.");
    const std::wstring elsewhere = LeadsElsewhere(path);
    item.leadsTo = ToUtf8(elsewhere);
    if (const ForbiddenPlace* const place = context.forbidden.OfPath(path))
    {
        context.Endanger(item.name, item.leadsTo, *place);
        item.contents.complete = false;
        item.reason = "it must not go, so it was not looked into";
        return false;
    }
    if (attributes == INVALID_FILE_ATTRIBUTES)
        item.state = ItemState::Absent;
    else if (const std::wstring by = context.swept.TakesPath(path); !by.empty())
    {
        item.state = ItemState::GoesWith;
        item.by = ToUtf8(by);
    }
    return item.state == ItemState::Present;
}

// Only what Windows calls missing counts as that in a deletion. All else is put off to the restart, such as a name that
// no file can have.
void JudgeAbsence(PlannedItem& item, const std::wstring& path, DWORD error, const LookContext& context)
{
    if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND || !context.swept.TakesPath(path).empty())
        return;
    item.state = ItemState::Fails;
    item.restart = true;
    item.reason = error == ERROR_INVALID_NAME ? "no file can have such a name, and a wildcard means nothing here"
                                              : "it cannot be reached (Windows error " + std::to_string(error) + ')';
    context.Warn(item.name, "It cannot be deleted: " + item.reason + ". The removal asks for a restart, in vain.");
}

} // namespace

void AddPart(PlannedItem& item, PlannedPart part)
{
    if (item.parts.size() < mostParts)
        item.parts.push_back(std::move(part));
    else
        ++item.partsLeftOut;
}

void LookAtFolder(PlannedItem& item, const std::wstring& path, const LookContext& context)
{
    item.kind = ItemKind::Folder;
    // The root is asked for before it is looked for, and as it is spelt.
    item.user = context.users.OfFolder(path);
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (!item.user.empty() && attributes != INVALID_FILE_ATTRIBUTES)
    {
        item.state = ItemState::InUse;
        return;
    }
    if (!IsLeftToLookAt(item, path, attributes, context))
        return;
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
    {
        item.state = ItemState::Skipped;
        item.reason = "it is a file, and a folder is meant";
        return;
    }
    CFolderLook look(item, path, context);
    look.Run();
    if (!item.contents.complete)
        context.Warn(item.name, "There is more in this folder than could be looked at.");
    context.swept.AddPath(path, look.Rest());
}

void LookAtFile(PlannedItem& item, const std::wstring& path, const LookContext& context)
{
    item.kind = ItemKind::File;
    item.user = context.users.OfFile(path);
    WIN32_FILE_ATTRIBUTE_DATA data{};
    const bool exists = GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data);
    const DWORD error = exists ? ERROR_SUCCESS : GetLastError();
    if (!item.user.empty() && exists)
    {
        item.state = ItemState::InUse;
        return;
    }
    if (!IsLeftToLookAt(item, path, exists ? data.dwFileAttributes : INVALID_FILE_ATTRIBUTES, context))
    {
        if (item.state == ItemState::Absent && item.user.empty())
            JudgeAbsence(item, path, error, context);
        return;
    }
    item.contents.files = 1;
    item.contents.bytes = Join(data.nFileSizeHigh, data.nFileSizeLow);
    item.mark = std::to_string(item.contents.bytes) + ' ' +
                std::to_string(Join(data.ftLastWriteTime.dwHighDateTime, data.ftLastWriteTime.dwLowDateTime)) + ' ' +
                std::to_string(data.dwFileAttributes);
    const bool isFolder = (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    if (isFolder)
        context.Warn(item.name,
                     "It is a folder where a file is meant; it is left to the restart, which deletes it only "
                     "if it is empty.");
    WarnOfUser(item, path, false, context);
    if (isFolder)
        item.reason = "it is a folder, and a file is meant";
    else if (context.triesFiles)
        item.reason = WillKeepFromDeleting(path, context);
    if (!item.reason.empty())
    {
        item.state = ItemState::AtRestart;
        item.contents.atRestart = 1;
    }
    context.swept.AddPath(path);
}

void LookAtMarkedFile(PlannedItem& item, const std::wstring& path, const LookContext& context)
{
    LookAtFile(item, path, context);
    // Once it is put down for the restart, nothing strikes it off again, not even that it is gone by then.
    item.restart = true;
    if (item.state != ItemState::Present && item.state != ItemState::AtRestart)
        return;
    item.state = ItemState::AtRestart;
    item.reason = "the descriptor marks it for the restart";
    item.contents.atRestart = 1;
}

} // namespace prodsweep
