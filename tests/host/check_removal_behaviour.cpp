// What a removal records of the samples, and what it takes away.
#include "host/check_behaviour.h"

#include "environment/wow64.h"
#include "support/log_recorder.h"
#include "support/running_victim.h"
#include "support/shortcut_maker.h"
#include "support/temp_tree.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <shlwapi.h>
#include <tlhelp32.h>

#include <iterator>

namespace prodsweep::test {
namespace {

// Carries out what the sample says; nothing in the samples that come here lies outside of what the tests made.
void Remove(const std::string& rule, const std::wstring& file)
{
    SampleRemoval removal(rule, file);
    removal->ExecuteCachedOperations();
}

class View32Key
{
public:
    View32Key()
    {
        HKEY key = nullptr;
        EXPECT_EQ(ERROR_SUCCESS, RegCreateKeyExW(HKEY_LOCAL_MACHINE, name, 0, nullptr, 0, KEY_WRITE | KEY_WOW64_32KEY,
                                                 nullptr, &key, nullptr));
        RegCloseKey(key);
    }
    [[nodiscard]] static bool IsThere()
    {
        HKEY key = nullptr;
        const bool found =
            RegOpenKeyExW(HKEY_LOCAL_MACHINE, name, 0, KEY_READ | KEY_WOW64_32KEY, &key) == ERROR_SUCCESS;
        if (found)
            RegCloseKey(key);
        return found;
    }
    ~View32Key() { RegDeleteKeyExW(HKEY_LOCAL_MACHINE, name, KEY_WOW64_32KEY, 0); }
    View32Key(const View32Key&) = delete;
    View32Key& operator=(const View32Key&) = delete;

private:
    static constexpr const wchar_t* name = L"Software\\Harbor Ledger";
};

// What stays of a shortcut to the program in the folder that the samples name.
bool ShortcutToProgramStays(const std::wstring& file)
{
    const std::wstring folder = FolderOf(L"local_app_data") + L"\\Harbor Ledger";
    CreateDirectoryW(folder.c_str(), nullptr);
    const std::wstring link = folder + L"\\Ledger.lnk";
    MakeShortcut(link, L"C:\\Harbor\\ledger.exe");
    Remove("shortcut-target-path", file);
    const bool stays = Exists(link);
    RemoveTree(folder);
    return stays;
}

// A value of the key, after a removal.
bool ValueStays(const std::string& rule, const std::wstring& file, const std::wstring& value)
{
    const HarborKey key;
    key.AddText({}, L"Other", L"x");
    Remove(rule, file);
    return key.HasValue({}, value);
}

// A key below it, whose value holds a text.
bool KeyStays(const std::string& rule, const std::wstring& file, const std::wstring& data)
{
    const HarborKey key;
    key.AddText(L"Shell", L"Path", data);
    Remove(rule, file);
    return key.HasKey(L"Shell");
}

// Whether the file "ledger.log" is still there, and how many paths wait for the restart.
using LogLeft = std::pair<bool, std::size_t>;

LogLeft LogAfterRemoval(const std::wstring& file)
{
    const std::wstring folder = FolderOf(L"local_app_data") + L"\\Harbor Ledger";
    const std::wstring log = folder + L"\\ledger.log";
    CreateDirectoryW(folder.c_str(), nullptr);
    CopyFileW(SamplePath("impossible-path", file).c_str(), log.c_str(), FALSE);
    SampleRemoval removal("impossible-path", file);
    removal->ExecuteCachedOperations();
    const LogLeft left{Exists(log), removal->restartDeleteList.size()};
    RemoveTree(folder);
    return left;
}

bool VictimStays(const std::wstring& file)
{
    const TempTree tree;
    const RunningVictim victim(tree.Path(L"harbor_ledger.exe"));
    SampleRemoval removal("process-name", file);
    // Of the whole sample only the processes.
    removal->cachedFiles.clear();
    removal->ExecuteCachedOperations();
    return victim.Runs();
}

void ShowX32ViewWithoutEffect()
{
    const View32Key key;
    EXPECT_FALSE(IsDetected("x32view-no-effect", L"bad.xml"));
    EXPECT_TRUE(IsDetected("x32view-no-effect", L"good.xml"));
    Remove("x32view-no-effect", L"bad.xml");
    EXPECT_TRUE(key.IsThere());
    Remove("x32view-no-effect", L"good.xml");
    EXPECT_FALSE(key.IsThere());
}

// Detection goes on below a key whose value holds none of the texts that it looks for. That the key counts as found
// all the same is another rule.
bool DetectionLooksBelow(const std::wstring& data)
{
    const HarborKey key;
    key.AddText({}, L"Path", data);
    key.AddText(L"4", L"Path", L"none");
    const LogRecorder log;
    EXPECT_TRUE(IsDetected("data-str-terminator", L"bad.xml"));
    return log.Count(4, "CRegKeyHelper::CheckKeySearch", LR"(RegOpenKeyEx "Software\Harbor Ledger\4" failed 0x2)") != 0;
}

void ShowDataStrTerminator()
{
    EXPECT_FALSE(DetectionLooksBelow(L"one.dll"));
    EXPECT_TRUE(DetectionLooksBelow(L"two.dll"));
    EXPECT_FALSE(KeyStays("data-str-terminator", L"bad.xml", L"one.dll"));
    EXPECT_FALSE(KeyStays("data-str-terminator", L"bad.xml", L"two.dll"));
    EXPECT_TRUE(KeyStays("data-str-terminator", L"bad.xml", L"none"));
}

// Ends the process of that name which this one started.
void EndChild(const wchar_t* name)
{
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof(entry);
    bool found = Process32FirstW(snapshot, &entry) != FALSE;
    while (found && (entry.th32ParentProcessID != GetCurrentProcessId() || std::wstring(name) != entry.szExeFile))
        found = Process32NextW(snapshot, &entry) != FALSE;
    CloseHandle(snapshot);
    ASSERT_TRUE(found);
    const HANDLE child = OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, entry.th32ProcessID);
    EXPECT_TRUE(TerminateProcess(child, 0));
    WaitForSingleObject(child, INFINITE);
    CloseHandle(child);
}

void ShowToolNotWaitedFor()
{
    {
        const HarborFolder folder(L"program_files");
        const std::wstring tool = folder.Add(L"Ledger\\unregister.exe", L"victim.exe"); // runs on
        SampleRemoval removal("tool-not-waited-for");
        removal->ExecuteCachedOperations();
        EXPECT_TRUE(Exists(tool));
        EXPECT_EQ((WideStringList{tool, folder.Path(L"Ledger")}), removal->restartDeleteList);
        EndChild(L"unregister.exe");
    }
    const HarborFolder folder(L"program_files");
    folder.Add(L"Ledger\\unregister.exe", L"tool.exe"); // ends by itself
    SampleRemoval removal("tool-not-waited-for", L"good.xml");
    removal->ExecuteCachedOperations();
    EXPECT_FALSE(folder.Has(L"Ledger"));
    EXPECT_TRUE(removal->restartDeleteList.empty());
}

constexpr Behaviour recordedBehaviour[] = {
    {"unknown-attribute",
     [] {
         EXPECT_FALSE(SampleRemoval("unknown-attribute")->cachedTools.at(0).wait);
         EXPECT_TRUE(SampleRemoval("unknown-attribute", L"good.xml")->cachedTools.at(0).wait);
     }},
    {"yes-value",
     [] {
         EXPECT_FALSE(SampleRemoval("yes-value")->cachedTools.at(0).wait);
         EXPECT_TRUE(SampleRemoval("yes-value", L"good.xml")->cachedTools.at(0).wait);
     }},
    {"version-listed-twice",
     [] {
         EXPECT_EQ(4U, SampleRemoval("version-listed-twice")->cachedDllMethods.size());
         EXPECT_EQ(2U, SampleRemoval("version-listed-twice", L"good.xml")->cachedDllMethods.size());
     }},
    {"op-code-on-entry",
     [] {
         SampleRemoval bad("op-code-on-entry");
         EXPECT_EQ(1U, bad->cachedFiles.size());
         EXPECT_TRUE(bad->cachedFolders.empty());
         EXPECT_EQ(1U, SampleRemoval("op-code-on-entry", L"good.xml")->cachedFolders.size());
     }},
    {"unused-attribute",
     [] {
         SampleRemoval bad("unused-attribute");
         EXPECT_TRUE(bad->cachedRegKeySearches.empty());
         EXPECT_EQ(1U, bad->cachedRegItems.size());
         EXPECT_TRUE(SampleRemoval("unused-attribute", L"good.xml")->cachedRegKeySearches.at(0).complete);
     }},
    {"complete-str-value",
     [] {
         EXPECT_FALSE(SampleRemoval("complete-str-value")->cachedRegKeySearches.at(0).complete);
         EXPECT_TRUE(SampleRemoval("complete-str-value", L"good.xml")->cachedRegKeySearches.at(0).complete);
     }},
    {"x32view-value", [] { EXPECT_FALSE(SampleRemoval("x32view-value")->cachedRegItems.at(0).x32view); }},
    {"drivers-case",
     [] {
         EXPECT_EQ(FolderOf(L"windows_system") + L"\\ledgerflt.sys", SampleRemoval("drivers-case")->cachedFiles.at(0));
         EXPECT_EQ(FolderOf(L"windows_system") + L"\\drivers\\ledgerflt.sys",
                   SampleRemoval("drivers-case", L"good.xml")->cachedFiles.at(0));
     }},
    {"keyword-x86",
     [] {
         EXPECT_EQ(FolderOf(L"program_files") + L"\\Harbor\\ledger.exe",
                   SampleRemoval("keyword-x86")->cachedFiles.at(0));
     }},
    {"relative-path",
     [] {
         EXPECT_TRUE(PathIsRelativeW(SampleRemoval("relative-path")->cachedFiles.at(0).c_str()));
         EXPECT_FALSE(PathIsRelativeW(SampleRemoval("relative-path", L"good.xml")->cachedFiles.at(0).c_str()));
     }},
    {"marker-without-path",
     [] {
         EXPECT_EQ(L"#####C:\\Harbor\\ledger.exe", SampleRemoval("marker-without-path")->cachedFiles.at(0));
         EXPECT_TRUE(SampleRemoval("marker-without-path", L"good.xml")->cachedFiles.empty());
     }},
    // Recorded and not carried out, here.
    {"dangerous-folder",
     [] { EXPECT_EQ(FolderOf(L"windows_folder"), SampleRemoval("dangerous-folder")->cachedFolders.at(0)); }},
    {"dangerous-key", [] { EXPECT_EQ(L"HKLM\\Software", SampleRemoval("dangerous-key")->cachedRegItems.at(0).key); }},
    {"dangerous-file",
     [] {
         EXPECT_EQ(FolderOf(L"windows_system") + L"\\kernel32.dll", SampleRemoval("dangerous-file")->cachedFiles.at(0));
     }},
    {"dangerous-value", [] { EXPECT_EQ(L"Path", SampleRemoval("dangerous-value")->cachedRegItems.at(0).valueName); }},
    {"dangerous-process", [] { EXPECT_EQ(L"svchost.exe", SampleRemoval("dangerous-process")->cachedKills.at(0)); }},
    {"dangerous-service", [] { EXPECT_EQ(L"RpcSs", SampleRemoval("dangerous-service")->cachedDisableDrivers.at(0)); }},
    {"redirection-no-effect",
     [] {
         EXPECT_TRUE(SampleRemoval("redirection-no-effect")->cachedTools.at(0).disableWow64Redir);
         EXPECT_FALSE(CWow64::Instance().IsWow64Process());
     }},
    {"tool-without-path",
     [] {
         const std::wstring program = SamplePath("tool-without-path", L"");
         const std::wstring own = program.substr(0, program.find(L"check_samples"));
         EXPECT_EQ(L'"' + own + L"unregister.exe\" ",
                   SampleRemoval("tool-without-path")->cachedTools.at(0).commandLine);
     }},
};

} // namespace

std::vector<Behaviour> RecordedBehaviour() { return {std::begin(recordedBehaviour), std::end(recordedBehaviour)}; }

std::vector<Behaviour> RemovedBehaviour()
{
    return {
        {"impossible-path",
         [] {
             EXPECT_EQ((LogLeft{true, 1}), LogAfterRemoval(L"bad.xml"));
             EXPECT_EQ((LogLeft{false, 0}), LogAfterRemoval(L"good.xml"));
         }},
        {"pattern-both-ends",
         [] {
             {
                 const HarborKey key;
                 EXPECT_FALSE(IsDetected("pattern-both-ends", L"bad.xml"));
                 EXPECT_TRUE(IsDetected("pattern-both-ends", L"good.xml"));
             }
             EXPECT_FALSE(ValueStays("pattern-both-ends", L"bad.xml", L"Ledger 4"));
         }},
        {"every-value",
         [] {
             EXPECT_FALSE(ValueStays("every-value", L"bad.xml", L"Other"));
             EXPECT_TRUE(ValueStays("every-value", L"good.xml", L"Other"));
         }},
        {"star-inside",
         [] {
             EXPECT_TRUE(ValueStays("star-inside", L"bad.xml", L"Ledger 4"));
             EXPECT_FALSE(ValueStays("star-inside", L"good.xml", L"Ledger 4"));
         }},
        {"search-never-runs",
         [] {
             EXPECT_TRUE(KeyStays("search-never-runs", L"bad.xml", L"C:\\ledger.dll"));
             EXPECT_FALSE(KeyStays("search-never-runs", L"good.xml", L"C:\\ledger.dll"));
         }},
        {"search-for-anything",
         [] {
             EXPECT_FALSE(KeyStays("search-for-anything", L"bad.xml", L"C:\\reader.dll"));
             EXPECT_TRUE(KeyStays("search-for-anything", L"good.xml", L"C:\\reader.dll"));
         }},
        {"shortcut-target-path",
         [] {
             EXPECT_TRUE(ShortcutToProgramStays(L"bad.xml"));
             EXPECT_FALSE(ShortcutToProgramStays(L"good.xml"));
         }},
        {"x32view-no-effect", &ShowX32ViewWithoutEffect},
        {"data-str-terminator", &ShowDataStrTerminator},
        {"tool-not-waited-for", &ShowToolNotWaitedFor},
        {"process-name",
         [] {
             EXPECT_TRUE(VictimStays(L"bad.xml"));
             EXPECT_FALSE(VictimStays(L"good.xml"));
         }},
    };
}

} // namespace prodsweep::test
