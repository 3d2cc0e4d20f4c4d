#include "named_places.h"

#include <algorithm>

#include "operations/operations.h"
#include "pending_path.h"

namespace prodsweep {

namespace {

// A keyword's folder may come from the registry in any spelling.
std::wstring Spelt(const std::wstring& path) { return WithLongNames(PathOfEntry(path)); }

bool Covers(const std::wstring& place, const std::wstring& path)
{
    return IsSamePath(place, path) || IsBelow(place, path);
}

// Asked as the removal asks: a file is meant whatever it points at; in a folder each shortcut is asked for its target,
// which it can tell, since it lies there until the restart.
bool IsShortcutOf(const ShortcutEntry& entry, const std::wstring& path)
{
    const std::wstring place = Spelt(entry.shortcut);
    if (!Covers(place, path))
        return false;
    const std::wstring from = IsSamePath(place, path) ? path : path.substr(0, path.rfind(L'\\'));
    WideStringList found;
    // Those found are all that matters.
    (void)COperations().ExpandShortcut(from.c_str(), entry.target.c_str(), entry.targetIsPath, found);
    return std::any_of(found.begin(), found.end(), [&](const auto& link) { return IsSamePath(link, path); });
}

} // namespace

CNamedPlaces::CNamedPlaces(const std::wstring& descriptorFile) : CProductConfig(descriptorFile)
{
    // A descriptor that can't be read names nothing; whether that is a fault is no matter of this list.
    (void)CProductConfig::Process();
}

bool CNamedPlaces::Names(const std::wstring& path) const
{
    const std::wstring spelt = Spelt(path);
    return std::any_of(files.begin(), files.end(), [&](const auto& named) { return IsSamePath(named, spelt); }) ||
           std::any_of(folders.begin(), folders.end(), [&](const auto& folder) { return Covers(folder, spelt); }) ||
           std::any_of(shortcuts.begin(), shortcuts.end(),
                       [&](const ShortcutEntry& entry) { return IsShortcutOf(entry, spelt); });
}

bool CNamedPlaces::ProcessDelFile(const AttributeMap& attributes, const std::wstring& appPath)
{
    if (const FileEntry entry = ComposeFile(attributes, appPath); entry.fault == EntryFault::None)
        files.push_back(Spelt(entry.path));
    return true;
}

bool CNamedPlaces::ProcessDelFolder(const AttributeMap& attributes, const std::wstring& appPath)
{
    if (const FolderEntry entry = ComposeFolder(attributes, appPath); entry.fault == EntryFault::None)
        folders.push_back(Spelt(entry.path));
    return true;
}

bool CNamedPlaces::ProcessDelShortcut(const AttributeMap& attributes, const std::wstring& appPath)
{
    if (ShortcutEntry entry = ComposeShortcut(attributes, appPath); entry.fault == EntryFault::None)
        shortcuts.push_back(std::move(entry));
    return true;
}

} // namespace prodsweep
