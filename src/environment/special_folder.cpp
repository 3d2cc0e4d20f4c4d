#include "environment/special_folder.h"

#include "common/path_join.h"
#include "common/srw_guard.h"
#include "common/unique_reg_key.h"
#include "environment/log.h"
#include "environment/wow64.h"

#include <windows.h>

#include <shlobj.h>

#include <algorithm>
#include <cwctype>

namespace prodsweep {
namespace {

struct FolderRow
{
    const wchar_t* keyword;
    int code;      // CSIDL
    int wow64Code; // the same, in a 32-bit process on a 64-bit system
};

constexpr FolderRow folderRows[] = {
    {L"desktop_folder", CSIDL_DESKTOPDIRECTORY, CSIDL_DESKTOPDIRECTORY},
    {L"app_data", CSIDL_APPDATA, CSIDL_APPDATA},
    {L"common_app_data", CSIDL_COMMON_APPDATA, CSIDL_COMMON_APPDATA},
    {L"local_app_data", CSIDL_LOCAL_APPDATA, CSIDL_LOCAL_APPDATA},
    {L"common_desktop_folder", CSIDL_COMMON_DESKTOPDIRECTORY, CSIDL_COMMON_DESKTOPDIRECTORY},
    {L"common_start_menu", CSIDL_COMMON_STARTMENU, CSIDL_COMMON_STARTMENU},
    {L"common_start_menu_programs", CSIDL_COMMON_PROGRAMS, CSIDL_COMMON_PROGRAMS},
    {L"start_menu", CSIDL_STARTMENU, CSIDL_STARTMENU},
    {L"start_menu_programs", CSIDL_PROGRAMS, CSIDL_PROGRAMS},
    {L"windows_folder", CSIDL_WINDOWS, CSIDL_WINDOWS},
    {L"windows_system", CSIDL_SYSTEM, CSIDL_SYSTEM},
    {L"program_files", CSIDL_PROGRAM_FILES, CSIDL_PROGRAM_FILES},
    {L"common_files", CSIDL_PROGRAM_FILES_COMMON, CSIDL_PROGRAM_FILES_COMMON},
    {L"windows_system_drivers", CSIDL_SYSTEM, CSIDL_SYSTEM},
    // A 64-bit process resolves these to the same folders as the plain keywords.
    {L"windows_system_x86", CSIDL_SYSTEM, CSIDL_SYSTEMX86},
    {L"program_files_x86", CSIDL_PROGRAM_FILES, CSIDL_PROGRAM_FILESX86},
    {L"common_files_x86", CSIDL_PROGRAM_FILES_COMMON, CSIDL_PROGRAM_FILES_COMMONX86},
    {L"windows_system_drivers_x86", CSIDL_SYSTEM, CSIDL_SYSTEMX86},
};

} // namespace

std::map<std::wstring, int> CSpecialFolder::folders;

CSpecialFolder::CSpecialFolder(std::wstring installFolder) : appPath(std::move(installFolder))
{
    // Callers may list on several threads, and one that finds the table half filled would not know a folder.
    static constinit SRWLOCK filling = SRWLOCK_INIT;
    const SrwGuard guard(filling);
    if (folders.empty())
        FillTable();
}

void CSpecialFolder::FillTable()
{
    const bool wow64 = CWow64::Instance().IsWow64Process();
    std::map<std::wstring, int> table;
    for (const FolderRow& row : folderRows)
        table.emplace(row.keyword, wow64 ? row.wow64Code : row.code);
    // All at once: memory that was short on the way leaves no half.
    folders.swap(table);
}

bool CSpecialFolder::Get(const std::wstring& keyword, std::wstring& folder) const
{
    LOG(LogTrace, L"->\"%s\"", keyword.c_str());
    if (keyword == L"app_path")
    {
        if (appPath.empty())
        {
            LOG(LogError, L"<-\"%s\" is empty! ", keyword.c_str());
            return false;
        }
        folder = appPath;
        LOG(LogTrace, L"<-\"%s\" = \"%s\"", keyword.c_str(), folder.c_str());
        return true;
    }
    // Deliberate: the table is asked in any case, while "app_path" and the exact comparisons below
    // take the keyword as it was written. "WINDOWS_SYSTEM_DRIVERS" is thus the system folder itself.
    std::wstring lowered = keyword;
    std::transform(lowered.begin(), lowered.end(), lowered.begin(),
                   [](wchar_t character) { return static_cast<wchar_t>(std::towlower(character)); });
    const auto row = folders.find(lowered);
    if (row == folders.end())
    {
        LOG(LogError, L"SHGetFolderPath \"%s\" failed, unknown special folder", keyword.c_str());
        return false;
    }
    // The shell would tell a 32-bit process the 32-bit folder.
    const bool programFiles = keyword == L"program_files";
    if (CWow64::Instance().IsWow64Process() && (programFiles || keyword == L"common_files"))
        return ReadFromRegistry(programFiles ? L"ProgramFilesDir" : L"CommonFilesDir", folder);

    wchar_t buffer[MAX_PATH] = {};
    if (const HRESULT result = SHGetFolderPathW(nullptr, row->second, nullptr, 0, buffer); result != S_OK)
    {
        LOG(LogError, L"SHGetFolderPath \"%s\" failed 0x%x", keyword.c_str(), result);
        return false;
    }
    folder = buffer;
    if (keyword == L"windows_system_drivers" || keyword == L"windows_system_drivers_x86")
        PathJoin(folder, L"drivers");
    LOG(LogTrace, L"<- path is : \"%s\"", folder.c_str());
    return true;
}

bool CSpecialFolder::ReadFromRegistry(const wchar_t* valueName, std::wstring& folder)
{
    const REGSAM access = KEY_ALL_ACCESS | (CWow64::Instance().IsWow64Process() ? KEY_WOW64_64KEY : 0u);
    HKEY opened = nullptr;
    LSTATUS status =
        RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion", 0, access, &opened);
    if (status != ERROR_SUCCESS)
    {
        LOG(LogError, L"RegOpenKeyEx HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion failed 0x%x",
            status);
        return false;
    }
    const UniqueRegKey key(opened);
    // One character more than the call may fill: the data need not end in a zero.
    wchar_t buffer[MAX_PATH + 1] = {};
    DWORD size = MAX_PATH * sizeof(wchar_t);
    status = RegQueryValueExW(key.get(), valueName, nullptr, nullptr, reinterpret_cast<BYTE*>(buffer), &size);
    if (status != ERROR_SUCCESS)
    {
        LOG(LogError,
            L"RegQueryValue HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion \"%s\" failed 0x%x",
            valueName, status);
        return false;
    }
    folder = buffer;
    return true;
}

} // namespace prodsweep
