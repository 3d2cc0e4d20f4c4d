#pragma once

#include "support/import_patch.h"

#include <windows.h>

#include <cstddef>
#include <deque>
#include <limits>
#include <map>
#include <string>
#include <vector>

namespace prodsweep::test {

// Stands between this program and the registry for as long as it lives: records the calls, and lets
// those fail that were named. All others reach the real registry. For programs that link the registry
// floor, which makes all of these calls. One object at a time.
class RegistryFaults
{
public:
    RegistryFaults();
    ~RegistryFaults();
    RegistryFaults(const RegistryFaults&) = delete;
    RegistryFaults& operator=(const RegistryFaults&) = delete;

    // These answer the error instead of doing their work.
    void RefuseOpen(const std::wstring& subkey, LSTATUS error) { opens[subkey] = error; }
    // After so many all fail: what would go on without end ends.
    void AllowOpens(int most) { opensLeft = most; }
    void RefuseQuery(LSTATUS error) { query = error; }
    void RefuseValueAt(DWORD index, LSTATUS error) { values[index] = error; }
    void RefuseSubkeyAt(DWORD index, LSTATUS error) { subkeys[index] = error; }
    void RefuseValueDeletion(const std::wstring& name, LSTATUS error) { valueDeletions[name] = error; }
    void RefuseKeyDeletion(const std::wstring& subkey, LSTATUS error) { keyDeletions[subkey] = error; }

    // Keys tell of longest names and data of length 0, as if all that they hold had come afterwards.
    // What follows is the real system's answer to buffers that are too small.
    void HideMaxima() { hideMaxima = true; }

    // The next reading of the entry answers ERROR_MORE_DATA with these lengths; several for one entry
    // are answered one after the other.
    static constexpr DWORD Unchanged = MAXDWORD;
    void MoreForValueAt(DWORD index, DWORD nameLength, DWORD dataLength);
    void MoreForSubkeyAt(DWORD index, DWORD nameLength) { subkeyGrowth[index].push_back(nameLength); }
    // Every reading of an entry answers ERROR_MORE_DATA, and changes no length.
    void MoreForever() { moreForever = true; }

    // The calls as they came:
    //   "open SUBKEY 0xACCESS"  "query"  "value INDEX name=SIZE"  "value INDEX name=SIZE data=SIZE"
    //   "subkey INDEX name=SIZE"  "delete value NAME"  "delete key SUBKEY"
    [[nodiscard]] const std::vector<std::wstring>& Calls() const { return calls; }
    [[nodiscard]] int Count(const std::wstring& call) const;
    [[nodiscard]] std::ptrdiff_t Opens() const;
    // Keys that were deleted, or opened once more, while a handle of them was open.
    [[nodiscard]] const std::vector<std::wstring>& DeletedWhileOpen() const { return deletedWhileOpen; }
    [[nodiscard]] const std::vector<std::wstring>& OpenedWhileOpen() const { return openedWhileOpen; }

private:
    struct Lengths
    {
        DWORD name;
        DWORD data;
    };

    static LSTATUS WINAPI Open(HKEY key, const wchar_t* subkey, DWORD options, REGSAM access, HKEY* opened);
    static LSTATUS WINAPI Close(HKEY key);
    static LSTATUS WINAPI Query(HKEY key, wchar_t* className, DWORD* classLength, DWORD* reserved, DWORD* subkeyCount,
                                DWORD* longestSubkey, DWORD* longestClass, DWORD* valueCount, DWORD* longestValue,
                                DWORD* longestData, DWORD* security, FILETIME* written);
    static LSTATUS WINAPI EnumValue(HKEY key, DWORD index, wchar_t* name, DWORD* nameLength, DWORD* reserved,
                                    DWORD* type, BYTE* data, DWORD* dataLength);
    static LSTATUS WINAPI EnumKey(HKEY key, DWORD index, wchar_t* name, DWORD* nameLength, DWORD* reserved,
                                  wchar_t* className, DWORD* classLength, FILETIME* written);
    static LSTATUS WINAPI DeleteValue(HKEY key, const wchar_t* name);
    static LSTATUS WINAPI DeleteKey(HKEY key, const wchar_t* subkey);

    [[nodiscard]] bool IsOpen(const wchar_t* subkey) const;

    static RegistryFaults* current;

    std::map<std::wstring, LSTATUS> opens;
    int opensLeft = std::numeric_limits<int>::max();
    LSTATUS query = ERROR_SUCCESS;
    std::map<DWORD, LSTATUS> values;
    std::map<DWORD, LSTATUS> subkeys;
    std::map<std::wstring, LSTATUS> valueDeletions;
    std::map<std::wstring, LSTATUS> keyDeletions;
    bool hideMaxima = false;
    bool moreForever = false;
    std::map<DWORD, std::deque<Lengths>> valueGrowth;
    std::map<DWORD, std::deque<DWORD>> subkeyGrowth;
    std::vector<std::wstring> calls;
    std::map<HKEY, std::wstring> openKeys;
    std::vector<std::wstring> deletedWhileOpen;
    std::vector<std::wstring> openedWhileOpen;

    ImportPatch openPatch;
    ImportPatch closePatch;
    ImportPatch queryPatch;
    ImportPatch enumValuePatch;
    ImportPatch enumKeyPatch;
    ImportPatch deleteValuePatch;
    ImportPatch deleteKeyPatch;
};

} // namespace prodsweep::test
