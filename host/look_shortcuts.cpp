#include "look.h"

#include <windows.h>

#include <shlwapi.h>

#include "operations/operations.h"
#include "text.h"

namespace prodsweep {

namespace {

// A product that stays is asked for the place before the place is looked for, and keeps the stage from failing.
std::string WithoutPlace(const char* what, const CachedShortcut& query, const LookContext& context)
{
    const bool fails = context.users.OfFile(query.shortcut).empty();
    return std::string(what) + (fails ? ", which counts as a failure of the stage" : "");
}

// False: it is settled what becomes of the query.
bool HasFolder(PlannedItem& item, const CachedShortcut& query, const LookContext& context)
{
    // What is no folder is taken for one file, which is deleted whatever it leads to.
    if (!PathIsDirectoryW(query.shortcut.c_str()))
    {
        LookAtFile(item, query.shortcut, context);
        item.kind = ItemKind::Shortcuts;
        if (item.state == ItemState::Absent)
            item.reason = WithoutPlace("its place is not there", query, context);
    }
    else if (const std::wstring by = context.swept.TakesPath(query.shortcut); !by.empty())
    {
        item.state = ItemState::GoesWith;
        item.by = ToUtf8(by);
    }
    else
    {
        return true;
    }
    if (item.state == ItemState::GoesWith)
        item.reason = WithoutPlace("its place is gone by then", query, context);
    return false;
}

} // namespace

void LookAtShortcuts(PlannedItem& item, const CachedShortcut& query, const LookContext& context)
{
    item.kind = ItemKind::Shortcuts;
    item.detail = ToUtf8((query.targetIsPath ? L"that lead to " : L"that lead to any ") + query.target);
    if (!HasFolder(item, query, context))
        return;
    item.state = ItemState::Absent;
    WideStringList links;
    static_cast<void>(
        COperations().ExpandShortcut(query.shortcut.c_str(), query.target.c_str(), query.targetIsPath, links));
    for (const std::wstring& link : links)
    {
        PlannedItem found;
        found.name = ToUtf8(link);
        LookAtFile(found, link, context);
        if (item.by.empty())
            item.by = found.by;
        AddPart(item, {PlannedPart::Kind::Shortcut, found.name, found.state, found.user, {}});
        item.mark += found.name + '\n' + found.mark + '\n';
        item.contents.inUse += found.state == ItemState::InUse ? 1 : 0;
        item.contents.files += found.contents.files;
        item.contents.bytes += found.contents.bytes;
        item.contents.atRestart += found.contents.atRestart;
    }
    if (item.contents.files != 0)
        item.state = item.contents.inUse != 0 ? ItemState::PartlyInUse : ItemState::Present;
    else if (item.contents.inUse != 0)
        item.state = ItemState::InUse;
    else if (links.empty())
        item.reason = "no shortcut there matches";
    else
        item.state = ItemState::GoesWith;
    if (item.state == ItemState::InUse)
        item.user = item.parts.front().user;
    if (item.state != ItemState::GoesWith)
        item.by.clear();
}

} // namespace prodsweep
