#include "forbidden_places.h"

#include <algorithm>
#include <iterator>

#include <shlobj.h>

namespace prodsweep {

namespace {

constexpr ForbiddenFolder folders[] = {
    {CSIDL_WINDOWS, L"", "the folder of Windows"},
    {CSIDL_WINDOWS, L"System32", "the system folder of Windows"},
    {CSIDL_WINDOWS, L"System32\\drivers", "the folder of the drivers"},
    {CSIDL_WINDOWS, L"System32\\config", "the folder of the registry's files"},
    {CSIDL_WINDOWS, L"SysWOW64", "the system folder for 32-bit programs"},
    {CSIDL_WINDOWS, L"SysNative", "the system folder of Windows"},
    {CSIDL_WINDOWS, L"System32\\drivers\\etc\\hosts", "the names of the network"},
    {CSIDL_WINDOWS, L"System32\\DriverStore", "the store of the drivers"},
    {CSIDL_WINDOWS, L"System32\\CatRoot", "the signatures of Windows"},
    {CSIDL_WINDOWS, L"System32\\CatRoot2", "the signatures of Windows"},
    {CSIDL_WINDOWS, L"System32\\Tasks", "the tasks of all programs"},
    {CSIDL_WINDOWS, L"System32\\wbem", "what the machine is managed through"},
    {CSIDL_WINDOWS, L"System32\\spool", "the printers of the machine"},
    {CSIDL_WINDOWS, L"System32\\winevt", "the event logs"},
    {CSIDL_WINDOWS, L"assembly", "the assemblies that programs share"},
    {CSIDL_WINDOWS, L"Boot", "what Windows starts from"},
    {CSIDL_WINDOWS, L"Microsoft.NET", "the assemblies that programs share"},
    {CSIDL_WINDOWS, L"Resources", "the themes of the desktop"},
    {CSIDL_WINDOWS, L"servicing", "the packages of Windows"},
    {CSIDL_WINDOWS, L"SoftwareDistribution", "the updates of Windows"},
    {CSIDL_WINDOWS, L"System", "the old system folder of Windows"},
    {CSIDL_WINDOWS, L"Temp", "the folder of temporary files"},
    {CSIDL_WINDOWS, L"explorer.exe", "the desktop"},
    {CSIDL_WINDOWS, L"regedit.exe", "the editor of the registry"},
    {noShellFolder, L"%SystemDrive%\\Boot", "what Windows starts from"},
    {noShellFolder, L"%SystemDrive%\\bootmgr", "what Windows starts from"},
    {noShellFolder, L"%SystemDrive%\\EFI", "what Windows starts from"},
    {noShellFolder, L"%SystemDrive%\\Recovery", "what Windows is repaired with"},
    {noShellFolder, L"%SystemDrive%\\System Volume Information", "the drive's own data"},
    {noShellFolder, L"%SystemDrive%\\$Recycle.Bin", "the recycle bin"},
    {noShellFolder, L"%SystemDrive%\\pagefile.sys", "the memory's file"},
    {CSIDL_WINDOWS, L"WinSxS", "the folder of the system's components"},
    {CSIDL_WINDOWS, L"Installer", "the folder of the packages that were installed"},
    {CSIDL_WINDOWS, L"Fonts", "the folder of the fonts"},
    {CSIDL_WINDOWS, L"inf", "the folder of the drivers' descriptions"},
    {CSIDL_SYSTEM, L"", "the system folder of Windows"},
    {CSIDL_SYSTEMX86, L"", "the system folder for 32-bit programs"},
    {CSIDL_PROGRAM_FILES, L"", "the folder of all programs"},
    {CSIDL_PROGRAM_FILESX86, L"", "the folder of all 32-bit programs"},
    {noShellFolder, L"%ProgramW6432%", "the folder of all programs"},
    {CSIDL_PROGRAM_FILES_COMMON, L"", "the folder of what programs share"},
    {CSIDL_PROGRAM_FILES_COMMONX86, L"", "the folder of what 32-bit programs share"},
    {noShellFolder, L"%CommonProgramW6432%", "the folder of what programs share"},
    {CSIDL_COMMON_APPDATA, L"", "the folder of all programs' data"},
    {CSIDL_COMMON_APPDATA, L"Microsoft", "the folder of Windows' own data"},
    {CSIDL_COMMON_APPDATA, L"Microsoft\\Windows", "the folder of Windows' own data"},
    {CSIDL_COMMON_DESKTOPDIRECTORY, L"", "the desktop of all users"},
    {CSIDL_COMMON_DOCUMENTS, L"", "the documents of all users"},
    {CSIDL_COMMON_STARTMENU, L"", "the start menu of all users"},
    {CSIDL_COMMON_PROGRAMS, L"", "the programs in the start menu of all users"},
    {CSIDL_COMMON_STARTUP, L"", "the autostart folder of all users"},
    {CSIDL_COMMON_MUSIC, L"", "the music of all users"},
    {CSIDL_COMMON_PICTURES, L"", "the pictures of all users"},
    {CSIDL_COMMON_VIDEO, L"", "the videos of all users"},
    {CSIDL_COMMON_TEMPLATES, L"", "the templates of all users"},
    // The user's own, wherever they were moved to. Those of the other users are looked for below their profiles.
    {CSIDL_PROFILE, L"", "the user's profile"},
    {CSIDL_APPDATA, L"", "the user's data of all programs"},
    {CSIDL_LOCAL_APPDATA, L"", "the user's data of all programs"},
    {CSIDL_DESKTOPDIRECTORY, L"", "the user's desktop"},
    {CSIDL_PERSONAL, L"", "the user's documents"},
    {CSIDL_MYMUSIC, L"", "the user's music"},
    {CSIDL_MYPICTURES, L"", "the user's pictures"},
    {CSIDL_MYVIDEO, L"", "the user's videos"},
    {CSIDL_FAVORITES, L"", "the user's favourites"},
    {CSIDL_STARTMENU, L"", "the user's start menu"},
    {CSIDL_PROGRAMS, L"", "the programs in the user's start menu"},
    {CSIDL_STARTUP, L"", "the user's autostart folder"},
    {CSIDL_SENDTO, L"", "the user's \"send to\" folder"},
    {CSIDL_RECENT, L"", "the user's recent documents"},
    {CSIDL_TEMPLATES, L"", "the user's templates"},
    {CSIDL_FONTS, L"", "the folder of the fonts"},
    {noShellFolder, L"%TEMP%", "the folder of temporary files"},
};

// Without them Windows, or nearly each program, does not start.
constexpr const wchar_t* systemFiles[] = {
    L"advapi32.dll", L"cmd.exe",          L"combase.dll",  L"comctl32.dll", L"comdlg32.dll", L"crypt32.dll",
    L"csrss.exe",    L"gdi32.dll",        L"hal.dll",      L"imm32.dll",    L"kernel32.dll", L"kernelbase.dll",
    L"lsass.exe",    L"msi.dll",          L"msiexec.exe",  L"msvcp140.dll", L"msvcp60.dll",  L"msvcrt.dll",
    L"mscoree.dll",  L"ntdll.dll",        L"ntoskrnl.exe", L"ole32.dll",    L"oleaut32.dll", L"reg.exe",
    L"regsvr32.exe", L"rpcrt4.dll",       L"rundll32.exe", L"sechost.dll",  L"services.exe", L"setupapi.dll",
    L"shell32.dll",  L"shlwapi.dll",      L"smss.exe",     L"svchost.exe",  L"ucrtbase.dll", L"user32.dll",
    L"userinit.exe", L"vcruntime140.dll", L"version.dll",  L"wininet.dll",  L"wininit.exe",  L"winload.efi",
    L"winload.exe",  L"winlogon.exe",     L"ws2_32.dll",
};

constexpr ForbiddenProfilePlace profilePlaces[] = {
    {L"", "a user's profile"},
    {L"AppData", "a user's data of all programs"},
    {L"AppData\\Local", "a user's data of all programs"},
    {L"AppData\\Local\\Microsoft\\Windows\\UsrClass.dat", "a user's settings of all programs"},
    {L"AppData\\Local\\Temp", "a user's temporary files"},
    {L"AppData\\LocalLow", "a user's data of all programs"},
    {L"AppData\\Roaming", "a user's data of all programs"},
    {L"AppData\\Roaming\\Microsoft\\Windows\\Start Menu", "a user's start menu"},
    {L"AppData\\Roaming\\Microsoft\\Windows\\Start Menu\\Programs", "the programs in a user's start menu"},
    {L"Contacts", "a user's contacts"},
    {L"Desktop", "a user's desktop"},
    {L"Documents", "a user's documents"},
    {L"Downloads", "a user's downloads"},
    {L"Favorites", "a user's favourites"},
    {L"Links", "a user's links"},
    {L"Music", "a user's music"},
    {L"NTUSER.DAT", "a user's settings of all programs"},
    {L"Pictures", "a user's pictures"},
    {L"Saved Games", "a user's saved games"},
    {L"Searches", "a user's searches"},
    {L"Videos", "a user's videos"},
};

constexpr const char* classes = "the registered file types and COM classes";
constexpr const char* comClasses = "all registered COM classes";

const ForbiddenKey keys[] = {
    {HKEY_LOCAL_MACHINE, L"", "the machine's settings"},
    {HKEY_CURRENT_USER, L"", "the user's settings"},
    {HKEY_USERS, L"", "all users' settings"},
    {HKEY_PERFORMANCE_DATA, L"", "the machine's counters"},
    {HKEY_DYN_DATA, L"", "the state of the machine's devices"},
    {HKEY_LOCAL_MACHINE, L"Software", "all programs' settings"},
    {HKEY_LOCAL_MACHINE, L"Software\\Wow6432Node", "all 32-bit programs' settings"},
    {HKEY_LOCAL_MACHINE, L"Software\\Policies", "the machine's policies"},
    {HKEY_LOCAL_MACHINE, L"Software\\Policies\\Microsoft", "the machine's policies"},
    {HKEY_LOCAL_MACHINE, L"Software\\Clients", "the default programs"},
    {HKEY_LOCAL_MACHINE, L"Software\\RegisteredApplications", "the default programs"},
    {HKEY_LOCAL_MACHINE, L"Software\\Microsoft", "Windows' own settings"},
    {HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Windows", "Windows' own settings"},
    {HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Windows\\CurrentVersion", "Windows' own settings"},
    {HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall",
     "the list of all installed programs"},
    {HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Windows\\CurrentVersion\\Installer",
     "the packages that were installed"},
    {HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Windows\\CurrentVersion\\Run", "the programs that start with Windows"},
    {HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Windows\\CurrentVersion\\RunOnce",
     "the programs that start with Windows"},
    {HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Windows\\CurrentVersion\\App Paths", "the paths of all programs"},
    {HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Windows\\CurrentVersion\\SharedDLLs", "the counts of all shared files"},
    {HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer", "the desktop's settings"},
    {HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Windows\\CurrentVersion\\Policies", "the machine's policies"},
    {HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Cryptography", "the keys and certificates of the machine"},
    {HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Ole", "how COM programs are started"},
    {HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\.NETFramework", "what programs of .NET stand on"},
    {HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Windows NT", "Windows' own settings"},
    {HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Windows NT\\CurrentVersion", "Windows' own settings"},
    {HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Windows NT\\CurrentVersion\\ProfileList", "the list of all users"},
    {HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Windows NT\\CurrentVersion\\Winlogon", "the logon's settings"},
    {HKEY_LOCAL_MACHINE, L"Software\\Classes", classes},
    {HKEY_LOCAL_MACHINE, L"Software\\Classes\\Wow6432Node", "the registered 32-bit COM classes"},
    {HKEY_LOCAL_MACHINE, L"Software\\Classes\\CLSID", comClasses},
    {HKEY_LOCAL_MACHINE, L"Software\\Classes\\AppID", "all registered COM programs"},
    {HKEY_LOCAL_MACHINE, L"Software\\Classes\\Interface", "all registered COM interfaces"},
    {HKEY_LOCAL_MACHINE, L"Software\\Classes\\TypeLib", "all registered COM type libraries"},
    {HKEY_LOCAL_MACHINE, L"Software\\Classes\\Installer", "the packages that were installed"},
    {HKEY_LOCAL_MACHINE, L"Software\\Classes\\*", "what applies to all files"},
    {HKEY_LOCAL_MACHINE, L"Software\\Classes\\Directory", "what applies to all folders"},
    {HKEY_LOCAL_MACHINE, L"Software\\Classes\\Folder", "what applies to all folders"},
    {HKEY_LOCAL_MACHINE, L"Software\\Classes\\Drive", "what applies to all drives"},
    {HKEY_LOCAL_MACHINE, L"Software\\Classes\\exefile", "how programs are started"},
    {HKEY_LOCAL_MACHINE, L"Software\\Classes\\.exe", "how programs are started"},
    {HKEY_LOCAL_MACHINE, L"Software\\Classes\\.dll", "how DLLs are registered"},
    {HKEY_LOCAL_MACHINE, L"Software\\Classes\\lnkfile", "how shortcuts are opened"},
    {HKEY_LOCAL_MACHINE, L"Software\\Classes\\.lnk", "how shortcuts are opened"},
    {HKEY_LOCAL_MACHINE, L"SYSTEM", "the system's settings"},
    {HKEY_LOCAL_MACHINE, L"SYSTEM\\Select", "which of the system's settings count"},
    {HKEY_LOCAL_MACHINE, L"SYSTEM\\Setup", "the system's settings"},
    {HKEY_LOCAL_MACHINE, L"SYSTEM\\MountedDevices", "the drives' letters"},
    {HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet", "the system's settings"},
    {HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Control", "the system's settings"},
    {HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Control\\Class", "the classes of devices"},
    {HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Control\\Session Manager", "the system's start"},
    {HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Environment",
     "the environment of all programs"},
    {HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Control\\Lsa", "the logon's settings"},
    {HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Control\\SafeBoot", "the system's start"},
    {HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Hardware Profiles\\Current", "the hardware profile"},
    {HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Hardware Profiles\\Current\\Software", "the hardware profile"},
    {HKEY_LOCAL_MACHINE,
     L"SYSTEM\\CurrentControlSet\\Hardware Profiles\\Current\\Software\\Microsoft\\Windows\\CurrentVersion",
     "the hardware profile"},
    {HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Hardware Profiles\\Current\\System\\CurrentControlSet\\Control",
     "the hardware profile"},
    {HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Hardware Profiles\\Current\\System\\CurrentControlSet\\Enum",
     "the hardware profile"},
    {HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Hardware Profiles\\Current\\System\\CurrentControlSet\\Services",
     "the hardware profile"},
    {HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Enum", "the devices of the machine"},
    {HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Services", "all services and drivers"},
    {HKEY_LOCAL_MACHINE, L"HARDWARE", "the devices of the machine"},
    {HKEY_LOCAL_MACHINE, L"SAM", "the accounts of the machine"},
    {HKEY_LOCAL_MACHINE, L"SECURITY", "the security settings of the machine"},
    {HKEY_CURRENT_USER, L"Software", "the user's settings of all programs"},
    {HKEY_CURRENT_USER, L"Software\\Wow6432Node", "the user's settings of all 32-bit programs"},
    {HKEY_CURRENT_USER, L"Software\\Policies", "the user's policies"},
    {HKEY_CURRENT_USER, L"Software\\Clients", "the user's default programs"},
    {HKEY_CURRENT_USER, L"Software\\RegisteredApplications", "the user's default programs"},
    {HKEY_CURRENT_USER, L"Software\\Classes", classes},
    {HKEY_CURRENT_USER, L"Software\\Classes\\Wow6432Node", "the user's registered 32-bit COM classes"},
    {HKEY_CURRENT_USER, L"Software\\Classes\\CLSID", comClasses},
    {HKEY_CURRENT_USER, L"Software\\Microsoft", "Windows' own settings"},
    {HKEY_CURRENT_USER, L"Software\\Microsoft\\Windows", "Windows' own settings"},
    {HKEY_CURRENT_USER, L"Software\\Microsoft\\Windows\\CurrentVersion", "Windows' own settings"},
    {HKEY_CURRENT_USER, L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall",
     "the list of the user's installed programs"},
    {HKEY_CURRENT_USER, L"Software\\Microsoft\\Windows\\CurrentVersion\\Run", "the programs that start with Windows"},
    {HKEY_CURRENT_USER, L"Software\\Microsoft\\Windows\\CurrentVersion\\RunOnce",
     "the programs that start with Windows"},
    {HKEY_CURRENT_USER, L"Software\\Microsoft\\Windows\\CurrentVersion\\App Paths", "the paths of all programs"},
    {HKEY_CURRENT_USER, L"Software\\Microsoft\\Windows\\CurrentVersion\\Installer", "the packages that were installed"},
    {HKEY_CURRENT_USER, L"Software\\Microsoft\\Windows NT", "Windows' own settings"},
    {HKEY_CURRENT_USER, L"Software\\Microsoft\\Windows NT\\CurrentVersion", "Windows' own settings"},
    {HKEY_CURRENT_USER, L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer", "the desktop's settings"},
    {HKEY_CURRENT_USER, L"System", "the user's settings of the system"},
    {HKEY_CURRENT_USER, L"System\\CurrentControlSet", "the user's settings of the system"},
    {HKEY_CURRENT_USER, L"System\\CurrentControlSet\\Control", "the user's settings of the system"},
    {HKEY_CURRENT_USER, L"Control Panel", "the user's settings"},
    {HKEY_CURRENT_USER, L"Environment", "the user's environment variables"},
};

// The default value has no name.
constexpr const wchar_t* winlogon = L"Software\\Microsoft\\Windows NT\\CurrentVersion\\Winlogon";
constexpr const wchar_t* sessionManager = L"SYSTEM\\CurrentControlSet\\Control\\Session Manager";
constexpr const wchar_t* environment = L"SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Environment";

const ForbiddenValue values[] = {
    {HKEY_LOCAL_MACHINE, winlogon, L"Shell", "what the logon starts"},
    {HKEY_LOCAL_MACHINE, winlogon, L"Userinit", "what the logon starts"},
    {HKEY_LOCAL_MACHINE, sessionManager, L"BootExecute", "what Windows starts with"},
    {HKEY_LOCAL_MACHINE, environment, L"ComSpec", "an environment variable of Windows"},
    {HKEY_LOCAL_MACHINE, environment, L"Path", "the search path of all programs, not of one"},
    {HKEY_LOCAL_MACHINE, environment, L"PATHEXT", "an environment variable of Windows"},
    {HKEY_LOCAL_MACHINE, environment, L"TEMP", "an environment variable of Windows"},
    {HKEY_LOCAL_MACHINE, environment, L"windir", "an environment variable of Windows"},
    {HKEY_CURRENT_USER, L"Environment", L"Path", "the user's search path of all programs, not of one"},
    {HKEY_LOCAL_MACHINE, L"Software\\Classes\\.exe", L"", "how programs are started"},
    {HKEY_LOCAL_MACHINE, L"Software\\Classes\\exefile\\shell\\open\\command", L"", "how programs are started"},
};

constexpr ForbiddenFile filesOfLibrary[] = {
    {L"", "the folder of prodsweep itself"},
    {L"prodsweep.dll", "the library itself"},
    {L"prodsweep.exe", "the program itself"},
    {L"log.dll", "the logger of the library"},
    {L"log.ini", "the settings of the logger"},
    {L"products.xml", "the catalogue of prodsweep itself"},
    {L"detection.xml", "the catalogue of prodsweep itself"},
    {L"intern", "the descriptors of prodsweep itself"},
    {L"extern", "the descriptors of prodsweep itself"},
};

constexpr CriticalName processes[] = {
    {L"csrss.exe", "Windows ends with it"},
    {L"dwm.exe", "it draws the desktop", CriticalName::Judgement::WarnedOf},
    // Products that are part of the desktop end it, and it starts anew.
    {L"explorer.exe", "it is the desktop", CriticalName::Judgement::WarnedOf},
    {L"lsass.exe", "Windows restarts without it"},
    {L"lsm.exe", "it keeps the sessions"},
    {L"services.exe", "Windows restarts without it"},
    {L"smss.exe", "Windows ends with it"},
    {L"svchost.exe", "most of Windows' services run in it"},
    {L"System", "it is Windows itself"},
    {L"wininit.exe", "Windows ends with it"},
    {L"winlogon.exe", "the user's session ends with it"},
};

constexpr const char* startDriver = "Windows does not start without it";
constexpr const char* networkDriver = "the network needs it";

constexpr CriticalName services[] = {
    {L"ACPI", startDriver},
    {L"AFD", networkDriver},
    {L"BFE", "the firewall stands on it"},
    {L"CLFS", startDriver},
    {L"CNG", startDriver},
    {L"CryptSvc", "signatures are checked by it"},
    {L"DcomLaunch", "Windows restarts without it"},
    {L"Dhcp", networkDriver},
    {L"disk", startDriver},
    {L"Dnscache", networkDriver},
    {L"EventLog", "most services stand on it"},
    {L"FltMgr", startDriver},
    {L"gpsvc", "the logon needs it"},
    {L"HidUsb", "the keyboard needs it"},
    {L"i8042prt", "the keyboard needs it"},
    {L"kbdclass", "the keyboard needs it"},
    {L"KeyIso", "the logon needs it"},
    {L"KSecDD", startDriver},
    {L"LSM", "it keeps the sessions"},
    {L"LanmanWorkstation", networkDriver},
    {L"mountmgr", startDriver},
    {L"mouclass", "the mouse needs it"},
    {L"MpsSvc", "it is the firewall"},
    {L"MSIServer", "packages are installed by it"},
    {L"NDIS", networkDriver},
    {L"Netlogon", "the logon needs it"},
    {L"nsi", networkDriver},
    {L"Ntfs", startDriver},
    {L"partmgr", startDriver},
    {L"pci", startDriver},
    {L"PlugPlay", "it watches the devices"},
    {L"Power", "it watches over the power"},
    {L"ProfSvc", "the logon needs it"},
    {L"RpcEptMapper", "most services stand on it"},
    {L"RpcSs", "most services stand on it"},
    {L"SamSs", "the logon needs it"},
    {L"Schedule", "Windows keeps itself in order by it"},
    {L"storahci", startDriver},
    {L"stornvme", startDriver},
    {L"Tcpip", networkDriver},
    {L"TrustedInstaller", "Windows is updated by it"},
    {L"volmgr", startDriver},
    {L"volsnap", startDriver},
    {L"Wdf01000", startDriver},
    {L"WinDefend", "it guards the machine"},
    {L"Winmgmt", "the machine is managed through it"},
    {L"wuauserv", "Windows is updated by it"},
};

} // namespace

std::span<const ForbiddenFolder> ForbiddenFolders() { return folders; }

std::span<const ForbiddenProfilePlace> ForbiddenProfilePlaces() { return profilePlaces; }

std::span<const ForbiddenKey> ForbiddenKeys() { return keys; }

std::span<const ForbiddenValue> ForbiddenValues() { return values; }

std::span<const wchar_t* const> ForbiddenSystemFiles() { return systemFiles; }

std::span<const ForbiddenFile> ForbiddenFilesOfLibrary() { return filesOfLibrary; }

std::span<const CriticalName> CriticalServices() { return services; }

const CriticalName* FindCriticalProcess(const std::wstring& name)
{
    const auto* const found =
        std::find_if(std::begin(processes), std::end(processes),
                     [&](const CriticalName& process) { return _wcsicmp(process.name, name.c_str()) == 0; });
    return found == std::end(processes) ? nullptr : found;
}

} // namespace prodsweep
