#pragma once

#include "common/result_codes.h"
#include "common/used.h"
#include "common/wide_string_list.h"

#include <windows.h>

#include <string>
#include <vector>

namespace prodsweep {

class CKeyInUse;
class CSubkeyEnumerator;
class CValuePattern;
struct KeyMaxima;

// One value of a key. data holds the bytes of any type as text, up to the first zero character.
struct RegValueRecord
{
    std::wstring name;
    std::wstring data;
    DWORD type = REG_NONE;
};

// A key or value as the expansions list it: the full path with the long hive name, values as key
// path, "\" and value name.
struct UsedRegItem
{
    std::wstring path;
    bool x32view = false;
};
using UsedRegItemList = std::vector<UsedRegItem>;

// All work on the registry. Each operation comes as an outer form, which takes a whole key path with
// its hive, and an inner one, which takes hive and subkey and recurses. Results are the _ERROR_ codes
// of common/result_codes.h. used may be null: then nothing is in use. inUse may be null.
//
// x32view names the 32-bit view of the registry. It reaches the access mask only in a 32-bit process
// on a 64-bit system; in a 64-bit process it just distinguishes items towards IUsed.
class CRegKeyHelper
{
public:
    // Deletion. What is in use stays, with every key above it, and that is a success.
    static int DeleteKey(const wchar_t* key, bool x32view, IUsed* used);
    static int DeleteKey(HKEY hive, const std::wstring& subkey, bool x32view, IUsed* used, bool* inUse);
    // The platform's error code.
    static LSTATUS DeleteKeyEx(HKEY hive, const wchar_t* subkey, REGSAM access);
    // value may be a pattern: "abc*", "*abc" or "*abc*".
    static int DeleteValue(const wchar_t* key, const wchar_t* value, bool x32view, IUsed* used);
    static int DeleteValue(HKEY hive, const std::wstring& subkey, const std::wstring& value, bool x32view, IUsed* used,
                           bool* inUse);
    // Deletes each key of the tree that has a text value holding (complete: equal to) a search text.
    static int DelKeySearch(const wchar_t* key, const WideStringList& search, bool complete, bool x32view, IUsed* used);
    static int DelKeySearch(HKEY hive, const std::wstring& subkey, const WideStringList& search, bool complete,
                            bool x32view, IUsed* used, bool* inUse);

    // Presence.
    static int CheckKey(const wchar_t* key, bool x32view);
    static int CheckKey(HKEY hive, const std::wstring& subkey, bool x32view);
    static int CheckValue(const wchar_t* key, const wchar_t* value, bool x32view);
    static int CheckValue(HKEY hive, const std::wstring& subkey, const std::wstring& value, bool x32view);
    static int CheckKeySearch(const wchar_t* key, const WideStringList& search, bool complete, bool x32view);
    static int CheckKeySearch(HKEY hive, const std::wstring& subkey, const WideStringList& search, bool complete,
                              bool x32view);

    // Collection of all that the deletion of the same thing would touch; the lists are appended to.
    static int ExpandKey(const wchar_t* key, bool x32view, UsedRegItemList& keys, UsedRegItemList& values);
    static int ExpandKey(HKEY hive, const std::wstring& subkey, bool x32view, UsedRegItemList& keys,
                         UsedRegItemList& values);
    static int ExpandKeySearch(const wchar_t* key, const WideStringList& search, bool complete, bool x32view,
                               UsedRegItemList& keys, UsedRegItemList& values);
    static int ExpandKeySearch(HKEY hive, const std::wstring& subkey, const WideStringList& search, bool complete,
                               bool x32view, UsedRegItemList& keys, UsedRegItemList& values);
    static int ExpandValue(const wchar_t* key, const wchar_t* value, bool x32view, UsedRegItemList& values);
    static int ExpandValue(HKEY hive, const std::wstring& subkey, const std::wstring& value, bool x32view,
                           UsedRegItemList& values);

    // Reads a REG_SZ of at most 129 characters. text has room for 260 characters; it holds a
    // terminated text on _ERROR_SUCCESS. unused is passed as false and has no effect.
    static int GetValue(HKEY hive, const wchar_t* subkey, const wchar_t* value, wchar_t* text, bool unused);

    // Enumeration, in the order of the registry; the lists are appended to. On _ERROR_UNKNOWN the
    // list holds what was read until then.
    static int GetValues(HKEY key, std::vector<RegValueRecord>& values);
    static int GetValues(HKEY key, WideStringList& names);
    static int GetSubKeys(HKEY key, WideStringList& names);

private:
    // Steps of the operations of the same names; a log record carries the name of the function it stands in.
    // What is in a key, and of that the values. True when something stays, as it is in use.
    static bool DeleteKey(HKEY key, const CKeyInUse& needed, HKEY hive, const std::wstring& subkey, bool x32view,
                          IUsed* used);
    static bool DeleteKey(HKEY key, const WideStringList& names, const CKeyInUse& needed);
    // Tells also what it learnt about the key.
    static int GetValues(HKEY key, WideStringList& names, KeyMaxima& maxima);
    // The values that match.
    static int DeleteValue(HKEY key, const CValuePattern& pattern, const CKeyInUse& needed, bool& stays);
    // Looks through the values: ERROR_SUCCESS for a hit, ERROR_NO_MORE_ITEMS for none.
    static LSTATUS ExpandKeySearch(HKEY key, const KeyMaxima& maxima, const WideStringList& search, bool complete);
    // Goes on to the next subkey.
    static LSTATUS ExpandKeySearch(CSubkeyEnumerator& child);
};

} // namespace prodsweep
