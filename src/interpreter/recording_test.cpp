// What the walk of a removal records, and that it touches nothing.
#include "interpreter/product_uninstall.h"

#include "environment/log.h"
#include "environment/path.h"
#include "support/com_scope.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/removal_pass.h"
#include "support/system_answers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <windows.h>

#include <cerrno>
#include <memory>

namespace prodsweep {
namespace {

using test::Narrow;
using test::OneVersion;
using test::RemovalPass;
using testing::ElementsAre;
using testing::IsEmpty;

class RecordingTest : public testing::Test
{
protected:
    // Walks a descriptor whose one section has these entries; nothing is carried out.
    RemovalPass& Walk(const std::string& opCode, const std::string& entries, const CheckList& staying = {})
    {
        checkList = staying;
        const test::DescriptorFile descriptor(
            OneVersion("<s op_code='" + opCode + "'>" + entries + "</s>", {}, "<install_folder name='x'/>"));
        pass = std::make_unique<RemovalPass>(L"Product", descriptor.Path(), checkList, nullptr);
        log.Clear();
        EXPECT_TRUE(pass->Process());
        return *pass;
    }
    [[nodiscard]] testing::AssertionResult Failed(const std::string& function, const std::wstring& text) const
    {
        if (const auto logged = log.Has(LogError, "CProductUninstall::" + function, text); !logged)
            return logged;
        return log.Has(LogError, "CProductConfig::ProcessSection", L"ExecOperation failed");
    }

    test::ComScope com;
    test::LogRecorder log;
    test::TempTree tree;
    CheckList checkList;
    std::unique_ptr<RemovalPass> pass;
};

TEST_F(RecordingTest, FileBelowAKeywordIsResolvedAndCanonicalised)
{
    EXPECT_THAT(Walk("del_file", "<e path='program_files' name='App\\x\\..\\a.txt'/>").cachedFiles,
                ElementsAre(L"C:\\Program Files\\App\\a.txt"));
}

TEST_F(RecordingTest, FileWithoutAKeywordIsAWholePathMarkerIncluded)
{
    const RemovalPass& removal = Walk("del_file", "<e name='C:\\x\\..\\a.txt'/><e path='' name='#####b.txt'/>");
    EXPECT_THAT(removal.cachedFiles, ElementsAre(L"C:\\a.txt", L"#####b.txt"));
    EXPECT_THAT(removal.restartDeleteList, IsEmpty());
}

TEST_F(RecordingTest, FileInUseIsRecordedAllTheSame)
{
    const CheckList staying{test::Staying("<s op_code='del_file'><e name='C:\\a.txt'/></s>")};
    EXPECT_THAT(Walk("del_file", "<e name='C:\\a.txt'/>", staying).cachedFiles, ElementsAre(L"C:\\a.txt"));
}

class MarkedFileTest : public RecordingTest
{
public:
    // A file of this test's own below a folder that has a keyword.
    MarkedFileTest()
    {
        wchar_t folder[MAX_PATH] = {};
        GetEnvironmentVariableW(L"ProgramData", folder, MAX_PATH);
        name = L"prodsweep-marked-" + std::to_wstring(GetCurrentProcessId()) + L".txt";
        path = std::wstring(folder) + L"\\" + name;
        entry = "<e path='common_app_data' name='#####" + Narrow(name) + "'/>";
    }
    ~MarkedFileTest() override { DeleteFileW(path.c_str()); }

protected:
    void MakeFile() const
    {
        CloseHandle(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    }

    std::wstring name;
    std::wstring path;
    std::string entry;
};

TEST_F(MarkedFileTest, GoesStraightToTheRestartListAndStaysForNow)
{
    MakeFile();
    const RemovalPass& removal = Walk("del_file", entry);
    EXPECT_THAT(removal.restartDeleteList, ElementsAre(path));
    EXPECT_THAT(removal.cachedFiles, IsEmpty());
    EXPECT_TRUE(test::Exists(path));
    EXPECT_TRUE(log.Has(LogTrace, "CProductUninstall::AddRestartDel", L"\"" + path + L"\""));
}

TEST_F(MarkedFileTest, AbsentOneIsNotRecorded)
{
    const RemovalPass& removal = Walk("del_file", entry);
    EXPECT_THAT(removal.restartDeleteList, IsEmpty());
    EXPECT_TRUE(log.Has(LogTrace, "CProductUninstall::ProcessDelFile", L"##### \"" + path + L"\" ERROR_NOT_FOUND"));
}

// As for a file that may not be looked at.
int DenyStatus(const wchar_t*, struct _stat64*)
{
    errno = EACCES;
    SetLastError(ERROR_ACCESS_DENIED);
    return -1;
}

TEST_F(MarkedFileTest, OneThatCannotBeCheckedIsPutOffAllTheSame)
{
    MakeFile();
    const test::ImportPatch patch(nullptr, "_wstat64", DenyStatus);
    EXPECT_THAT(Walk("del_file", entry).restartDeleteList, ElementsAre(path));
    EXPECT_TRUE(log.Has(LogError, "COperations::CheckFile", L"_tstat for \"" + path + L"\" failed 0x5, errno=0xd"));
}

TEST_F(MarkedFileTest, OneInUseIsNotRecorded)
{
    MakeFile();
    const CheckList staying{test::Staying("<s op_code='del_file'>" + entry + "</s>")};
    EXPECT_THAT(Walk("del_file", entry, staying).restartDeleteList, IsEmpty());
    EXPECT_TRUE(log.Has(LogTrace, "CProductUninstall::ProcessDelFile", L"in use"));
    EXPECT_TRUE(log.Has(LogTrace, "CProductUninstall::IsUsedFile",
                        L"\"" + path + L"\" used by \"" + staying[0].DescriptorPath() + L"\""));
}

TEST_F(RecordingTest, FolderIsItsKeywordsOwnWithoutAName)
{
    EXPECT_THAT(Walk("del_folder", "<e path='program_files'/><e path='program_files' name='App\\'/><e name='C:\\x'/>")
                    .cachedFolders,
                ElementsAre(L"C:\\Program Files", L"C:\\Program Files\\App\\", L"C:\\x"));
}

TEST_F(RecordingTest, ShortcutTextsAreJoinedAndNotCanonicalised)
{
    const RemovalPass& removal = Walk("del_shortcut", "<e path='C:\\a\\..\\b' rel_shortcut='' target_name='app.exe'/>"
                                                      "<e path='Links' rel_shortcut='program_files' "
                                                      "target_name='x\\..\\app.exe' rel_target='program_files'/>");
    ASSERT_EQ(2u, removal.cachedShortcuts.size());
    EXPECT_EQ(L"C:\\a\\..\\b", removal.cachedShortcuts[0].shortcut);
    EXPECT_EQ(L"app.exe", removal.cachedShortcuts[0].target);
    EXPECT_FALSE(removal.cachedShortcuts[0].targetIsPath);
    EXPECT_EQ(L"C:\\Program Files\\Links", removal.cachedShortcuts[1].shortcut);
    EXPECT_EQ(L"C:\\Program Files\\x\\..\\app.exe", removal.cachedShortcuts[1].target);
    EXPECT_TRUE(removal.cachedShortcuts[1].targetIsPath);
}

TEST_F(RecordingTest, EmptyRelTargetCountsAsPresentAndIsNoFolder)
{
    EXPECT_THAT(Walk("del_shortcut", "<e path='C:\\b' target_name='a.exe' rel_target=''/>").cachedShortcuts, IsEmpty());
    EXPECT_TRUE(Failed("ProcessDelShortcut", L"failed get path for \"\""));
}

TEST_F(RecordingTest, ShortcutWithoutATargetIsNotRecorded)
{
    EXPECT_THAT(Walk("del_shortcut", "<e path='C:\\b'/>").cachedShortcuts, IsEmpty());
}

TEST_F(RecordingTest, KeyIsRecordedAsWrittenWithItsView)
{
    EXPECT_THAT(Walk("del_regkey", "<e name='HKLM\\a'/><e name='HKCU\\b' x32view='TRUE'/><e name='c' x32view='1'/>"
                                   "<e name='d' x32view='yes'/>")
                    .cachedRegItems,
                ElementsAre(CachedRegItem{L"HKLM\\a", L"", false, false}, CachedRegItem{L"HKCU\\b", L"", true, false},
                            CachedRegItem{L"c", L"", true, false}, CachedRegItem{L"d", L"", false, false}));
}

TEST_F(RecordingTest, SearchTextsAreSeparatedAndTheLastAlwaysCounts)
{
    const RemovalPass& removal = Walk("del_regkey", "<e name='k' data_str='a;;b'/><e name='k' data_str='a;'/>"
                                                    "<e name='k' data_str=''/>");
    EXPECT_THAT(removal.cachedRegItems, IsEmpty());
    ASSERT_EQ(3u, removal.cachedRegKeySearches.size());
    EXPECT_THAT(removal.cachedRegKeySearches[0].data, ElementsAre(L"a", L"", L"b"));
    EXPECT_THAT(removal.cachedRegKeySearches[1].data, ElementsAre(L"a", L""));
    EXPECT_THAT(removal.cachedRegKeySearches[2].data, ElementsAre(L""));
}

TEST_F(RecordingTest, OnlyTheExactYesAsksForACompleteMatch)
{
    const RemovalPass& removal = Walk(
        "del_regkey", "<e name='k' data_str='a' complete_str='yes'/><e name='k' data_str='a' complete_str='YES'/>");
    ASSERT_EQ(2u, removal.cachedRegKeySearches.size());
    EXPECT_TRUE(removal.cachedRegKeySearches[0].complete);
    EXPECT_FALSE(removal.cachedRegKeySearches[1].complete);
}

TEST_F(RecordingTest, ValueNameMayBeAPathBelowAKeyword)
{
    EXPECT_THAT(Walk("del_regvalue", "<e key_path='HKLM\\k' name='v*' x32view='true'/>"
                                     "<e key_path='HKLM\\k' name='x\\..\\a.dll' rel_name='program_files'/>")
                    .cachedRegItems,
                ElementsAre(CachedRegItem{L"HKLM\\k", L"v*", true, true},
                            CachedRegItem{L"HKLM\\k", L"C:\\Program Files\\a.dll", false, true}));
}

TEST_F(RecordingTest, ProcessWithoutATargetFailsWithoutAWord)
{
    EXPECT_THAT(Walk("kill_process", "<e target_name='a.exe'/><e/>").cachedKills, ElementsAre(L"a.exe"));
    EXPECT_EQ(1, log.Count(LogError, "CProductConfig::ProcessSection", L"ExecOperation failed"));
    for (const test::LogRecord& record : log.Records())
        EXPECT_NE("CProductUninstall::ProcessKillProcess", record.function);
}

TEST_F(RecordingTest, ServicesAndDriversShareTheirLists)
{
    EXPECT_THAT(Walk("disable_service", "<e name='a'/>").cachedDisableDrivers, ElementsAre(L"a"));
    EXPECT_THAT(Walk("disable_driver", "<e name='b'/>").cachedDisableDrivers, ElementsAre(L"b"));
    for (const char* opCode : {"disableandstop_service", "disableandstop_driver"})
    {
        const RemovalPass& removal = Walk(opCode, "<e name='c' extra='1'/>");
        ASSERT_EQ(1u, removal.cachedDriverStops.size());
        EXPECT_EQ(L"c", removal.cachedDriverStops[0].driverName);
        EXPECT_EQ(L"1", removal.cachedDriverStops[0].attributes.at(L"extra"));
        EXPECT_THAT(removal.cachedDisableDrivers, IsEmpty());
    }
}

TEST_F(RecordingTest, ToolIsQuotedAndABlankFollowsEvenWithoutACommandLine)
{
    EXPECT_THAT(Walk("exec_tool", "<e path='program_files' tool_name='App\\t.exe'/>"
                                  "<e tool_name='C:\\t.exe' cmd_line='/a /b' wait='YES' show_window='yes' "
                                  "disable_wow64_redir='Yes'/>")
                    .cachedTools,
                ElementsAre(CachedTool{L"\"C:\\Program Files\\App\\t.exe\" ", false, false, false},
                            CachedTool{L"\"C:\\t.exe\" /a /b", true, true, true}));
}

TEST_F(RecordingTest, ToolPathIsExpandedAndARelativeOneLiesBelowTheLibrary)
{
    std::wstring library;
    ASSERT_TRUE(CPath::GetCurrentPath(library));
    EXPECT_THAT(Walk("exec_tool", "<e tool_name='%SystemDrive%\\t.exe'/><e tool_name='tools\\t.exe'/>").cachedTools,
                ElementsAre(CachedTool{L"\"C:\\t.exe\" ", false, false, false},
                            CachedTool{L"\"" + library + L"tools\\t.exe\" ", false, false, false}));
}

TEST_F(RecordingTest, ToolInUseIsNotRecorded)
{
    const CheckList staying{
        test::Staying("<s op_code='exec_tool'><e tool_name='c:\\app\\tool.exe' cmd_line='/s/q'/></s>")};
    EXPECT_THAT(Walk("exec_tool", "<e tool_name='C:\\App\\Tool.EXE' cmd_line='/S  /Q'/>", staying).cachedTools,
                IsEmpty());
    EXPECT_TRUE(log.Has(LogTrace, "CProductUninstall::ProcessExecTool", L"in use"));
    EXPECT_TRUE(log.Has(LogTrace, "CProductUninstall::IsUsedTool",
                        L"\"C:\\App\\Tool.EXE\" \"/S  /Q\" used by \"" + staying[0].DescriptorPath() + L"\""));
}

TEST_F(RecordingTest, ToolForTheOtherKindOfSystemIsLeftOut)
{
    EXPECT_THAT(Walk("exec_tool", "<e tool_name='C:\\a.exe' os='x32'/><e tool_name='C:\\b.exe' os='x64'/>"
                                  "<e tool_name='C:\\c.exe' os='X32'/>")
                    .cachedTools,
                ElementsAre(CachedTool{L"\"C:\\b.exe\" ", false, false, false},
                            CachedTool{L"\"C:\\c.exe\" ", false, false, false}));
    EXPECT_TRUE(log.Has(LogSkipped, "CProductUninstall::ProcessExecTool",
                        L"Will not execute x32 operation on x64 OS! AppPath=C:\\Program Files\\x"));
}

TEST_F(RecordingTest, ToolFor64BitSystemsIsLeftOutOnOthers)
{
    const test::ImportPatch patch(nullptr, "GetSystemInfo", test::SayItIs32Bit);
    EXPECT_THAT(Walk("exec_tool", "<e tool_name='C:\\b.exe' os='x64'/>").cachedTools, IsEmpty());
    EXPECT_TRUE(log.Has(LogSkipped, "CProductUninstall::ProcessExecTool",
                        L"Will not execute x64 operation on x32 OS! AppPath=C:\\Program Files\\x"));
}

TEST_F(RecordingTest, DllMethodIsRecordedUnjudged)
{
    const RemovalPass& removal = Walk("exec_tool", "<e module='m.dll' os='x32' path='nowhere'/>");
    ASSERT_EQ(1u, removal.cachedDllMethods.size());
    EXPECT_EQ(L"m.dll", removal.cachedDllMethods[0].attributes.at(L"module"));
    EXPECT_EQ(L"C:\\Program Files\\x", removal.cachedDllMethods[0].appPath);
    EXPECT_THAT(removal.cachedTools, IsEmpty());
}

TEST_F(RecordingTest, RestartIsRequiredByAnyEntryThatIsDispatched)
{
    EXPECT_FALSE(Walk("del_file", "<e name='C:\\a' restart_required='no'/>").RestartRequired());
    EXPECT_TRUE(
        Walk("del_file", "<e name='C:\\a' restart_required='YES'/><e restart_required='yes'/>").RestartRequired());
    EXPECT_EQ(1, log.Count(LogTrace, "CProductUninstall::ExecOperation", L"RESTART REQUIRED"));
    // The handler fails for want of a name, and the attribute counts.
    EXPECT_TRUE(Walk("del_file", "<e restart_required='yes'/>").RestartRequired());
}

struct FaultRow
{
    const char* name;
    const char* opCode;
    const char* entry;
    const char* function;
    const wchar_t* text;
};

class RecordingFaultTest : public RecordingTest, public testing::WithParamInterface<FaultRow>
{};

TEST_P(RecordingFaultTest, EntryIsRefusedAndTheNextOneRuns)
{
    const RemovalPass& removal = Walk(GetParam().opCode, GetParam().entry);
    EXPECT_TRUE(Failed(GetParam().function, GetParam().text));
    EXPECT_TRUE(removal.cachedFiles.empty() && removal.cachedFolders.empty() && removal.cachedShortcuts.empty() &&
                removal.cachedRegItems.empty() && removal.cachedTools.empty() && removal.cachedDriverStops.empty() &&
                removal.cachedDisableDrivers.empty() && removal.cachedRegKeySearches.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Rows, RecordingFaultTest,
    testing::Values(
        FaultRow{"FileWithoutName", "del_file", "<e path='app_path'/>", "ProcessDelFile", L"no name"},
        FaultRow{"FolderWithEmptyNameIsNotTheRootOfTheDrive", "del_folder", "<e path='' name=''/>", "ProcessDelFolder",
                 L"no name, no path"},
        FaultRow{"FileBelowUnknownFolder", "del_file", "<e path='x' name='a'/>", "ProcessDelFile",
                 L"failed get path for \"x\""},
        FaultRow{"FolderWithoutAnything", "del_folder", "<e/>", "ProcessDelFolder", L"no name, no path"},
        FaultRow{"FolderBelowUnknownFolder", "del_folder", "<e path='x'/>", "ProcessDelFolder",
                 L"failed get path for \"x\""},
        FaultRow{"ShortcutWithoutPath", "del_shortcut", "<e target_name='a'/>", "ProcessDelShortcut", L"no path"},
        FaultRow{"ShortcutBelowUnknownFolder", "del_shortcut", "<e path='a' rel_shortcut='x' target_name='a'/>",
                 "ProcessDelShortcut", L"failed get path for \"x\""},
        FaultRow{"KeyWithoutName", "del_regkey", "<e/>", "ProcessDelRegKey", L"failed no name"},
        FaultRow{"ValueWithoutName", "del_regvalue", "<e key_path='k'/>", "ProcessDelRegVal", L"no key value name"},
        FaultRow{"ValueWithoutKey", "del_regvalue", "<e name='v'/>", "ProcessDelRegVal", L"no key path"},
        FaultRow{"ValueWithNeitherTellsOfBoth", "del_regvalue", "<e/>", "ProcessDelRegVal", L"no key path"},
        FaultRow{"ValueBelowUnknownFolder", "del_regvalue", "<e key_path='k' name='v' rel_name='x'/>",
                 "ProcessDelRegVal", L"unknow special folder \"x\""},
        FaultRow{"ToolBelowUnknownFolder", "exec_tool", "<e path='x' tool_name='t'/>", "ProcessExecTool",
                 L"unknown special folder \"x\""},
        FaultRow{"DriverWithoutName", "disable_driver", "<e/>", "ProcessDisableDriver", L"name attributte is missing"},
        FaultRow{"StopWithoutName", "disableandstop_service", "<e/>", "ProcessDisableAndStopDriver",
                 L"name attributte is missing"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(RecordingTest, ValueWithoutNameAndKeyLogsTheNameFirst)
{
    Walk("del_regvalue", "<e/>");
    std::vector<std::wstring> lines;
    for (const test::LogRecord& record : log.Records())
    {
        if (record.function == "CProductUninstall::ProcessDelRegVal")
            lines.push_back(record.text);
    }
    EXPECT_THAT(lines, ElementsAre(L"no key value name", L"no key path"));
}

TEST_F(RecordingTest, RelativeToolWithoutTheLibrarysFolderIsNotRecorded)
{
    const test::ImportPatch patch(nullptr, "GetModuleFileNameW", test::FailToNameTheModule);
    EXPECT_THAT(Walk("exec_tool", "<e tool_name='t.exe'/>").cachedTools, IsEmpty());
    EXPECT_TRUE(log.Has(LogError, "CProductConfig::ProcessSection", L"ExecOperation failed"));
}

} // namespace
} // namespace prodsweep
