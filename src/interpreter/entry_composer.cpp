#include "interpreter/entry_composer.h"

#include "common/path_join.h"
#include "environment/path.h"
#include "environment/special_folder.h"

#include <windows.h>

#include <shlwapi.h>

#include <string_view>

namespace prodsweep {
namespace {

constexpr std::wstring_view restartMarker = L"#####";

// Puts the folder of a keyword into folder. On failure the entry says which keyword it was.
bool Resolve(const std::wstring& keyword, const std::wstring& appPath, std::wstring& folder, ComposedEntry& entry)
{
    if (CSpecialFolder(appPath).Get(keyword, folder))
        return true;
    entry.fault = EntryFault::UnknownFolder;
    entry.keyword = keyword;
    return false;
}

bool WantsX32View(const AttributeMap& attributes)
{
    const std::wstring* value = FindAttribute(attributes, L"x32view");
    return value != nullptr && (*value == L"1" || EqualIgnoringCase(*value, L"true"));
}

void ExpandEnvironment(std::wstring& path)
{
    wchar_t expanded[MAX_PATH] = {};
    const DWORD length = ExpandEnvironmentStringsW(path.c_str(), expanded, MAX_PATH);
    // The length counts the terminator. A longer text stays as written, and the tool is not found then.
    if (length >= 1 && length <= MAX_PATH)
        path = expanded;
}

// What a tool's and a module's path have in common once their folder and name are joined.
void CompleteToolPath(ToolEntry& entry)
{
    ExpandEnvironment(entry.path);
    if (!PathIsRelativeW(entry.path.c_str()))
        return;
    std::wstring folder;
    if (!CPath::GetCurrentPath(folder))
    {
        entry.fault = EntryFault::NoLibraryFolder;
        return;
    }
    entry.path = PathJoin(folder, entry.path);
}

} // namespace

FileEntry ComposeFile(const AttributeMap& attributes, const std::wstring& appPath)
{
    FileEntry entry;
    const std::wstring* name = FindAttribute(attributes, L"name");
    const std::wstring* keyword = FindFilledAttribute(attributes, L"path");
    // Deliberate: an empty name is a name. Without a keyword it is canonicalised to the root of the current drive,
    // which is found, and which no deletion of a file takes.
    if (name == nullptr)
    {
        entry.fault = EntryFault::NoName;
        return entry;
    }
    std::wstring_view rest = *name;
    // Deliberate: the marker works below a keyword only. In a complete path it is part of the name.
    if (keyword != nullptr)
    {
        if (!Resolve(*keyword, appPath, entry.path, entry))
            return entry;
        entry.marked = rest.starts_with(restartMarker);
        if (entry.marked)
            rest.remove_prefix(restartMarker.size());
    }
    PathJoin(entry.path, rest);
    CPath::Canonicalise(entry.path);
    return entry;
}

FolderEntry ComposeFolder(const AttributeMap& attributes, const std::wstring& appPath)
{
    FolderEntry entry;
    const std::wstring* name = FindAttribute(attributes, L"name");
    const std::wstring* keyword = FindFilledAttribute(attributes, L"path");
    // An empty path beside no name says no more than both missing. Nor does an empty name: it would be
    // canonicalised to the root of the current drive, and that would be deleted.
    if (keyword == nullptr && (name == nullptr || name->empty()))
    {
        entry.fault = EntryFault::NoNameNoPath;
        return entry;
    }
    if (keyword != nullptr && !Resolve(*keyword, appPath, entry.path, entry))
        return entry;
    if (name != nullptr)
        PathJoin(entry.path, *name);
    CPath::Canonicalise(entry.path);
    return entry;
}

ShortcutEntry ComposeShortcut(const AttributeMap& attributes, const std::wstring& appPath)
{
    ShortcutEntry entry;
    const std::wstring* path = FindAttribute(attributes, L"path");
    if (path == nullptr)
    {
        entry.fault = EntryFault::NoPath;
        return entry;
    }
    if (const std::wstring* keyword = FindFilledAttribute(attributes, L"rel_shortcut"))
    {
        if (!Resolve(*keyword, appPath, entry.shortcut, entry))
            return entry;
    }
    PathJoin(entry.shortcut, *path);
    // Deliberate: an empty rel_target counts as present (and is no known folder), unlike an empty rel_shortcut.
    if (const std::wstring* keyword = FindAttribute(attributes, L"rel_target"))
    {
        if (!Resolve(*keyword, appPath, entry.target, entry))
            return entry;
        entry.targetIsPath = true;
    }
    const std::wstring* target = FindAttribute(attributes, L"target_name");
    if (target == nullptr)
    {
        entry.fault = EntryFault::NoTarget;
        return entry;
    }
    PathJoin(entry.target, *target);
    return entry;
}

WideStringList SplitDataStr(const std::wstring& dataStr, DataStrReading reading)
{
    WideStringList texts;
    std::size_t begin = 0;
    for (std::size_t end; (end = dataStr.find(L';', begin)) != std::wstring::npos; begin = end + 1)
        texts.push_back(dataStr.substr(begin, end - begin));
    if (reading == DataStrReading::Separator)
        texts.push_back(dataStr.substr(begin));
    return texts;
}

RegKeyEntry ComposeRegKey(const AttributeMap& attributes, DataStrReading reading)
{
    RegKeyEntry entry;
    const std::wstring* name = FindAttribute(attributes, L"name");
    if (name == nullptr)
    {
        entry.fault = EntryFault::NoName;
        return entry;
    }
    entry.key = *name;
    entry.x32view = WantsX32View(attributes);
    if (const std::wstring* dataStr = FindAttribute(attributes, L"data_str"))
    {
        entry.search = true;
        entry.data = SplitDataStr(*dataStr, reading);
        const std::wstring* complete = FindAttribute(attributes, L"complete_str");
        // Deliberate: exactly "yes" here, where every other yes may be written in any case.
        entry.complete = complete != nullptr && *complete == L"yes";
    }
    return entry;
}

RegValueEntry ComposeRegValue(const AttributeMap& attributes, const std::wstring& appPath)
{
    RegValueEntry entry;
    const std::wstring* name = FindAttribute(attributes, L"name");
    const std::wstring* key = FindAttribute(attributes, L"key_path");
    if (name == nullptr || key == nullptr)
    {
        entry.fault = name != nullptr  ? EntryFault::NoKeyPath
                      : key != nullptr ? EntryFault::NoName
                                       : EntryFault::NoNameNoKeyPath;
        return entry;
    }
    entry.key = *key;
    entry.x32view = WantsX32View(attributes);
    const std::wstring* keyword = FindFilledAttribute(attributes, L"rel_name");
    if (keyword == nullptr)
    {
        entry.valueName = *name;
        return entry;
    }
    // The value's name is itself a path, as in lists of shared files.
    if (!Resolve(*keyword, appPath, entry.valueName, entry))
        return entry;
    PathJoin(entry.valueName, *name);
    CPath::Canonicalise(entry.valueName);
    return entry;
}

ToolEntry ComposeTool(const AttributeMap& attributes, const std::wstring& appPath)
{
    ToolEntry entry;
    if (const std::wstring* keyword = FindFilledAttribute(attributes, L"path"))
    {
        if (!Resolve(*keyword, appPath, entry.path, entry))
            return entry;
    }
    if (const std::wstring* tool = FindFilledAttribute(attributes, L"tool_name"))
        PathJoin(entry.path, *tool);
    if (const std::wstring* commandLine = FindAttribute(attributes, L"cmd_line"))
        entry.commandLine = *commandLine;
    CompleteToolPath(entry);
    return entry;
}

ToolEntry ComposeDllMethod(const AttributeMap& attributes, const std::wstring& appPath, EmptyModule emptyModule)
{
    ToolEntry entry;
    const std::wstring* module = FindAttribute(attributes, L"module");
    const std::wstring* method = FindAttribute(attributes, L"method_name");
    if (module == nullptr || method == nullptr)
    {
        entry.fault = module == nullptr ? EntryFault::NoModule : EntryFault::NoMethodName;
        return entry;
    }
    entry.commandLine = *method;
    if (const std::wstring* keyword = FindFilledAttribute(attributes, L"path"))
    {
        if (!Resolve(*keyword, appPath, entry.path, entry))
            return entry;
    }
    if (!module->empty() || emptyModule == EmptyModule::Joined)
        PathJoin(entry.path, *module);
    CompleteToolPath(entry);
    return entry;
}

} // namespace prodsweep
