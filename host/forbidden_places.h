// What no removal may take as a whole: the table, with a reason for each place.
#pragma once

#include <span>
#include <string>

#include <windows.h>

namespace prodsweep {

// A folder of the file system that the system tells by a number of the shell, or one below such a folder.
struct ForbiddenFolder
{
    int shellFolder;      // CSIDL_...; noShellFolder: below is a whole path, environment variables in it
    const wchar_t* below; // "" for the folder itself
    const char* reason;
};
constexpr int noShellFolder = -1;
std::span<const ForbiddenFolder> ForbiddenFolders();

// A folder or file that each user has, below the root of the profile.
struct ForbiddenProfilePlace
{
    const wchar_t* below; // "" for the root of the profile
    const char* reason;
};
std::span<const ForbiddenProfilePlace> ForbiddenProfilePlaces();

// A key, by its plainest name. It stands for all others that lead to it: in either view of the registry, in
// HKEY_CLASSES_ROOT, in any user's settings, in any control set.
struct ForbiddenKey
{
    HKEY hive;
    const wchar_t* subkey; // "" for the hive
    const char* reason;
};
std::span<const ForbiddenKey> ForbiddenKeys();

// A value, named as keys are.
struct ForbiddenValue
{
    HKEY hive;
    const wchar_t* subkey;
    const wchar_t* name;
    const char* reason;
};
std::span<const ForbiddenValue> ForbiddenValues();

// In the system folder, and in the one for 32-bit programs.
std::span<const wchar_t* const> ForbiddenSystemFiles();

// Beside the library: its own files and folders.
struct ForbiddenFile
{
    const wchar_t* name; // "" for the folder
    const char* reason;
};
std::span<const ForbiddenFile> ForbiddenFilesOfLibrary();

// Programs and services without which the machine, or the user's session, ends.
struct CriticalName
{
    enum class Judgement
    {
        Refused,
        WarnedOf
    };
    const wchar_t* name;
    const char* reason; // a clause: "Windows ends with it"
    Judgement judgement = Judgement::Refused;
};
// Their keys are forbidden ones.
std::span<const CriticalName> CriticalServices();
// Null: it is not critical. The name is compared in any case.
const CriticalName* FindCriticalProcess(const std::wstring& name);

} // namespace prodsweep
