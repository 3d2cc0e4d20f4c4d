#pragma once

#include "common/wide_string_list.h"
#include "interpreter/attribute_map.h"

#include <string>
#include <vector>

namespace prodsweep {

// What the removal has recorded and not yet done. Keys are as the descriptor writes them, with hive.

struct CachedRegItem
{
    std::wstring key;
    std::wstring valueName; // empty for a key
    bool x32view = false;
    bool isValue = false; // a value of the key is deleted, and not the key

    bool operator==(const CachedRegItem&) const = default;
};

struct CachedRegKeySearch
{
    std::wstring key;
    WideStringList data;
    bool complete = false;
    bool x32view = false;

    bool operator==(const CachedRegKeySearch&) const = default;
};

struct CachedTool
{
    std::wstring commandLine; // complete, with the quoted path
    bool wait = false;
    bool showWindow = false;
    bool disableWow64Redir = false;

    bool operator==(const CachedTool&) const = default;
};

struct CachedDllMethod
{
    AttributeMap attributes;
    std::wstring appPath;

    bool operator==(const CachedDllMethod&) const = default;
};

struct CachedDriverStop
{
    AttributeMap attributes;
    std::wstring driverName;

    bool operator==(const CachedDriverStop&) const = default;
};

struct CachedShortcut
{
    std::wstring shortcut;
    std::wstring target;
    bool targetIsPath = false; // target is a whole path, and not a bare name
};

} // namespace prodsweep
