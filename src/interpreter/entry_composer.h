#pragma once

#include "common/wide_string_list.h"
#include "interpreter/attribute_map.h"

#include <string>

namespace prodsweep {

// The one place that turns an entry's attributes into a path, a shortcut query, a registry name or a
// tool. All passes compose here, since what the in-use pass protects is found again by equal spelling
// only. Nothing is logged: what went wrong is part of the answer, and each pass has its own words.

enum class EntryFault
{
    None,
    NoName,          // a required name is missing
    NoNameNoPath,    // del_folder: nothing says which folder
    NoPath,          // del_shortcut
    NoTarget,        // del_shortcut: nothing to look for, so nothing can be found
    NoKeyPath,       // del_regvalue: key_path is missing
    NoNameNoKeyPath, // del_regvalue: both are missing
    UnknownFolder,   // a keyword that can't be resolved: see keyword
    NoModule,        // a DLL method without module
    NoMethodName,    // a DLL method without method_name
    NoLibraryFolder  // a relative tool path, and the library's own folder is not known
};

struct ComposedEntry
{
    EntryFault fault = EntryFault::None;
    std::wstring keyword; // for UnknownFolder
};

// del_file
struct FileEntry : ComposedEntry
{
    std::wstring path;   // canonicalised, the marker cut off
    bool marked = false; // name begins with "#####", below a path keyword: goes at the next restart
};
[[nodiscard]] FileEntry ComposeFile(const AttributeMap& attributes, const std::wstring& appPath);

// del_folder
struct FolderEntry : ComposedEntry
{
    std::wstring path; // canonicalised
};
[[nodiscard]] FolderEntry ComposeFolder(const AttributeMap& attributes, const std::wstring& appPath);

// del_shortcut. Neither text is canonicalised.
struct ShortcutEntry : ComposedEntry
{
    std::wstring shortcut;     // file or folder in which shortcuts are looked for
    std::wstring target;       // what they must point at
    bool targetIsPath = false; // target is a whole path, and not a bare name
};
[[nodiscard]] ShortcutEntry ComposeShortcut(const AttributeMap& attributes, const std::wstring& appPath);

// How the ";" in data_str is read.
enum class DataStrReading
{
    Terminator, // each text ends at one, and what stands behind the last is dropped: "a;b" holds "a"
    Separator   // what stands behind the last one is the last text: "a;" holds "a" and an empty text
};
[[nodiscard]] WideStringList SplitDataStr(const std::wstring& dataStr, DataStrReading reading);

// del_regkey
struct RegKeyEntry : ComposedEntry
{
    std::wstring key; // as written, with its hive
    bool x32view = false;
    bool search = false;   // data_str is there: key is where the search for data begins
    WideStringList data;   // with search only
    bool complete = false; // with search only
};
[[nodiscard]] RegKeyEntry ComposeRegKey(const AttributeMap& attributes, DataStrReading reading);

// del_regvalue
struct RegValueEntry : ComposedEntry
{
    std::wstring key; // as written, with its hive
    std::wstring valueName;
    bool x32view = false;
};
[[nodiscard]] RegValueEntry ComposeRegValue(const AttributeMap& attributes, const std::wstring& appPath);

// exec_tool without module, and the DLL method of one with module.
struct ToolEntry : ComposedEntry
{
    std::wstring path;        // full path of the tool or module, as IUsed is asked for it
    std::wstring commandLine; // empty when there is none; the method's name for a DLL method
};
[[nodiscard]] ToolEntry ComposeTool(const AttributeMap& attributes, const std::wstring& appPath);

// What an empty module attribute adds to its folder.
enum class EmptyModule
{
    Joined, // a separator
    LeftOut // nothing
};
[[nodiscard]] ToolEntry ComposeDllMethod(const AttributeMap& attributes, const std::wstring& appPath,
                                         EmptyModule emptyModule);

} // namespace prodsweep
