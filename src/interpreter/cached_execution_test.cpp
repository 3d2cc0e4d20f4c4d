// Carrying out what was recorded: order, events, statuses, progress.
#include "interpreter/product_uninstall.h"

#include "environment/log.h"
#include "registry/split_key_path.h"
#include "support/com_scope.h"
#include "support/file_faults.h"
#include "support/import_patch.h"
#include "support/locked_path.h"
#include "support/log_recorder.h"
#include "support/process.h"
#include "support/registered_service.h"
#include "support/registry_sandbox.h"
#include "support/removal_pass.h"
#include "support/running_victim.h"
#include "support/shortcut_maker.h"
#include "support/system_answers.h"
#include "support/wow64_mode.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

namespace prodsweep {
namespace {

using test::RemovalPass;
using test::StageRecorder;
using testing::ElementsAre;
using testing::IsEmpty;

class CachedExecutionTest : public testing::Test
{
protected:
    CachedRegItem Key(const std::wstring& relative) const { return {sandbox.Path(relative), L"", false, false}; }
    CachedRegItem Value(const std::wstring& relative, const wchar_t* name) const
    {
        return {sandbox.Path(relative), name, false, true};
    }
    [[nodiscard]] bool NeighboursIntact() const { return tree.CanariesIntact() && sandbox.CanariesIntact(); }

    test::ComScope com;
    test::LogRecorder log;
    test::TempTree tree;
    test::RegistrySandbox sandbox;
    const CSplitKeyPath hives; // fills the tables of hive names
    CheckList checkList;
    StageRecorder stages;
    RemovalPass pass{L"Product", L"C:\\none.xml", checkList, StageRecorder::Record};
};

TEST_F(CachedExecutionTest, NothingRecordedSendsNoEvent)
{
    EXPECT_TRUE(pass.ExecuteCachedOperations());
    EXPECT_THAT(StageRecorder::Lines(), IsEmpty());
    EXPECT_EQ(0, ProgressPercent.load());
}

TEST_F(CachedExecutionTest, KindsGoInTheirFixedOrder)
{
    pass.cachedDriverStops.push_back({{{L"name", L"prodsweep-none"}}, L"prodsweep-none"});
    pass.cachedTools.push_back({L"\"C:\\prodsweep-none.exe\" ", false, false, false});
    pass.cachedKills = {L"prodsweep-none.exe"};
    pass.cachedFolders = {tree.AddFolder(L"folder")};
    pass.cachedFiles = {tree.AddFile(L"file.txt")};
    pass.cachedShortcuts.push_back({tree.AddFolder(L"links"), L"a.exe", false});
    sandbox.AddText(L"key", L"v", L"data");
    pass.cachedRegItems = {Key(L"key")};
    pass.ExecuteCachedOperations();
    // 331 points in all; disabling what the first stage has recorded comes on top of them.
    EXPECT_THAT(StageRecorder::Lines(),
                ElementsAre("11:2 at 21%", "9:2 at 42%", "7:2 at 63%", "8:0 at 84%", "3:0 at 86%", "2:0 at 88%",
                            "4:0 at 90%", "5:0 at 91%", "6:0 at 91%"));
}

TEST_F(CachedExecutionTest, FolderFileAndKeyAreGoneAndTheirNeighboursStay)
{
    tree.AddFile(L"folder\\sub\\a.txt");
    const std::wstring file = tree.AddFile(L"file.txt", FILE_ATTRIBUTE_READONLY);
    sandbox.AddText(L"key\\sub", L"v", L"data");
    sandbox.AddText(L"values", L"v1", L"data");
    sandbox.AddText(L"values", L"w", L"data");
    pass.cachedFolders = {tree.Path(L"folder")};
    pass.cachedFiles = {file};
    pass.cachedRegItems = {Key(L"key"), Value(L"values", L"v*")};
    pass.ExecuteCachedOperations();
    EXPECT_FALSE(test::Exists(tree.Path(L"folder")));
    EXPECT_FALSE(test::Exists(file));
    EXPECT_FALSE(sandbox.HasKey(L"key"));
    EXPECT_FALSE(sandbox.HasValue(L"values", L"v1"));
    EXPECT_TRUE(sandbox.HasValue(L"values", L"w"));
    EXPECT_TRUE(NeighboursIntact());
}

TEST_F(CachedExecutionTest, KeySearchesAloneAreSkipped)
{
    sandbox.AddText(L"key", L"v", L"find me");
    pass.cachedRegKeySearches.push_back({sandbox.Path(), {L"find me"}, false, false});
    pass.ExecuteCachedOperations();
    EXPECT_TRUE(sandbox.HasKey(L"key"));
    EXPECT_THAT(StageRecorder::Lines(), IsEmpty());
}

TEST_F(CachedExecutionTest, KeySearchesRunInTheCompanyOfAPlainItemAndPushTheProgressPast100)
{
    sandbox.AddText(L"key", L"v", L"find me");
    sandbox.AddText(L"other", L"v", L"keep me");
    pass.cachedRegKeySearches.push_back({sandbox.Path(), {L"find me"}, false, false});
    pass.cachedRegItems = {Value(L"other", L"absent")};
    pass.ExecuteCachedOperations();
    EXPECT_FALSE(sandbox.HasKey(L"key"));
    EXPECT_TRUE(sandbox.HasValue(L"other", L"v"));
    EXPECT_THAT(StageRecorder::Lines(), ElementsAre("5:0 at 70%", "6:0 at 140%"));
}

TEST_F(CachedExecutionTest, StoppedServiceIsDisabledInTheNextStageAndWeighsTwice)
{
    test::RegisteredService service(L"stops");
    service.Start();
    const test::SleepUntilStopped wait(service);
    pass.cachedDriverStops.push_back({{{L"name", service.Name()}}, service.Name()});
    pass.ExecuteCachedOperations();
    EXPECT_EQ(static_cast<DWORD>(SERVICE_STOPPED), service.State());
    EXPECT_EQ(static_cast<DWORD>(SERVICE_DISABLED), service.StartType());
    EXPECT_TRUE(service.CanaryIntact());
    EXPECT_THAT(StageRecorder::Lines(), ElementsAre("11:0 at 70%", "9:0 at 140%"));
}

TEST_F(CachedExecutionTest, DriverThatIsListedForBothIsDisabledTwice)
{
    pass.cachedDriverStops.push_back({{{L"name", L"prodsweep-none"}}, L"prodsweep-none"});
    pass.cachedDisableDrivers = {L"prodsweep-none"};
    pass.ExecuteCachedOperations();
    EXPECT_EQ(2, log.Count(LogWarning, "CProductUninstall::ExecuteCachedOp_DisableDriver",
                           L"failed _ERROR_NOT_FOUND, \"prodsweep-none\""));
    EXPECT_TRUE(log.Has(LogWarning, "CProductUninstall::ExecuteCachedOp_DisableAndStopDriver", L"failed 2"));
}

TEST_F(CachedExecutionTest, StopWithoutANameAttributeIsToldOfAndStopsAllTheSame)
{
    pass.cachedDriverStops.push_back({{}, L"prodsweep-none"});
    pass.ExecuteCachedOperations();
    EXPECT_TRUE(log.Has(LogWarning, "CProductUninstall::ExecuteCachedOp_DisableAndStopDriver",
                        L"failed ProcessDisableDriver for prodsweep-none"));
    EXPECT_THAT(StageRecorder::Lines(), ElementsAre("11:2 at 70%"));
}

TEST_F(CachedExecutionTest, RunningProcessIsEndedAndOneThatIsNotThereIsFine)
{
    const std::wstring name = L"ps-exec-" + std::to_wstring(GetCurrentProcessId()) + L".exe";
    const test::RunningVictim victim(tree.Path(name));
    pass.cachedKills = {name, L"prodsweep-none.exe"};
    pass.ExecuteCachedOperations();
    EXPECT_EQ(0u, victim.ExitCode());
    EXPECT_THAT(StageRecorder::Lines(), ElementsAre("8:0 at 70%"));
    EXPECT_TRUE(log.Has(LogWarning, "CProductUninstall::ExecuteCachedOp_KillProcess",
                        L"failed _ERROR_NOT_FOUND, \"prodsweep-none.exe\""));
}

TEST_F(CachedExecutionTest, ProcessesThatCannotBeListedFailTheirStage)
{
    const test::ImportPatch patch(nullptr, "CreateToolhelp32Snapshot", test::NoSnapshot);
    pass.cachedKills = {L"a.exe"};
    pass.ExecuteCachedOperations();
    EXPECT_THAT(StageRecorder::Lines(), ElementsAre("8:2 at 70%"));
    EXPECT_TRUE(
        log.Has(LogWarning, "CProductUninstall::ExecuteCachedOp_KillProcess", L"failed _ERROR_UNKNOWN, \"a.exe\""));
}

TEST_F(CachedExecutionTest, ToolThatDoesNotStartFailsTheStageOfMethodsAndTools)
{
    pass.cachedTools.push_back({L"\"C:\\prodsweep-none.exe\" ", false, false, false});
    pass.ExecuteCachedOperations();
    EXPECT_THAT(StageRecorder::Lines(), ElementsAre("7:2 at 70%"));
    EXPECT_TRUE(log.Has(LogWarning, "CProductUninstall::ExecuteCachedOp_ExecTool",
                        L"failed _ERROR_UNKNOWN, \"\"C:\\prodsweep-none.exe\" \""));
}

TEST_F(CachedExecutionTest, FailedMethodFailsTheStageThoughTheToolRan)
{
    pass.cachedDllMethods.push_back({{{L"module", L"m.dll"}, {L"os", L"x32"}}, L""});
    pass.cachedTools.push_back({L"cmd /c exit 0", true, false, false});
    pass.ExecuteCachedOperations();
    EXPECT_THAT(StageRecorder::Lines(), ElementsAre("7:2 at 70%"));
}

TEST_F(CachedExecutionTest, ToolsRunOneAfterTheOtherInTheirOrder)
{
    const std::wstring trace = tree.Path(L"trace.txt");
    pass.cachedTools.push_back({L"cmd /c echo one>>" + trace, true, false, false});
    pass.cachedTools.push_back({L"cmd /c echo two>>" + trace, true, false, false});
    pass.ExecuteCachedOperations();
    EXPECT_THAT(StageRecorder::Lines(), ElementsAre("7:0 at 70%"));
    const test::ProcessResult shown = test::RunProcess(L"cmd /c type " + trace);
    EXPECT_EQ("one\r\ntwo\r\n", shown.output);
}

TEST_F(CachedExecutionTest, RedirectionIsBracketedForTheToolThatAsksForIt)
{
    test::Wow64Mode wow64;
    wow64.FailDisable(5);
    wow64.FailRevert(6);
    pass.cachedTools.push_back({L"cmd /c exit 0", true, false, true});
    pass.cachedTools.push_back({L"cmd /c exit 1", true, false, false});
    pass.ExecuteCachedOperations();
    EXPECT_THAT(wow64.Calls(), ElementsAre("disable", "revert"));
    EXPECT_TRUE(log.Has(LogWarning, "CProductUninstall::ExecuteCachedOp_ExecTool",
                        L"Wow64DisableWow64FsRedirection failed 0x5"));
    EXPECT_TRUE(log.Has(LogWarning, "CProductUninstall::ExecuteCachedOp_ExecTool",
                        L"Wow64RevertWow64FsRedirection failed 0x6"));
}

TEST_F(CachedExecutionTest, LockedFileIsPutOffAndThatIsNoFailure)
{
    const std::wstring path = tree.AddFile(L"locked.txt");
    {
        const test::LockedPath lock(path);
        pass.cachedFiles = {path};
        pass.ExecuteCachedOperations();
    }
    EXPECT_THAT(StageRecorder::Lines(), ElementsAre("2:0 at 70%"));
    EXPECT_THAT(pass.restartDeleteList, ElementsAre(path));
    EXPECT_TRUE(log.Has(LogTrace, "CProductUninstall::ExecuteCachedOp_DelFile",
                        L"failed _ERROR_FAILED delete file \"" + path + L"\""));
    EXPECT_TRUE(log.Has(LogTrace, "COperations::AddRestartDel", L"\"" + path + L"\""));
}

TEST_F(CachedExecutionTest, FileThatWentWithItsFolderIsNoFailure)
{
    const std::wstring file = tree.AddFile(L"app\\x.dll");
    pass.cachedFolders = {tree.Path(L"app")};
    pass.cachedFiles = {file};
    pass.ExecuteCachedOperations();
    EXPECT_THAT(StageRecorder::Lines(), ElementsAre("3:0 at 35%", "2:0 at 70%"));
    EXPECT_TRUE(log.Has(LogTrace, "CProductUninstall::ExecuteCachedOp_DelFile",
                        L"failed _ERROR_NOT_FOUND delete file \"" + file + L"\""));
}

TEST_F(CachedExecutionTest, FolderThatIsNotThereIsNoFailureAndOneThatCannotBeListedIs)
{
    const std::wstring folder = tree.AddFolder(L"unlisted");
    test::FileFaults faults;
    faults.Fail("FindFirstFileW", folder + L"\\*.*", ERROR_ACCESS_DENIED);
    pass.cachedFolders = {tree.Path(L"absent"), folder};
    pass.ExecuteCachedOperations();
    EXPECT_THAT(StageRecorder::Lines(), ElementsAre("3:2 at 70%"));
    EXPECT_TRUE(log.Has(LogTrace, "CProductUninstall::ExecuteCachedOp_DelFolder",
                        L"failed _ERROR_NOT_FOUND delete folder \"" + tree.Path(L"absent") + L"\""));
    EXPECT_TRUE(log.Has(LogError, "CProductUninstall::ExecuteCachedOp_DelFolder",
                        L"failed _ERROR_UNKNOWN delete folder \"" + folder + L"\""));
    EXPECT_THAT(pass.restartDeleteList, IsEmpty());
}

TEST_F(CachedExecutionTest, WhatStayingProductsUseIsLeftAloneAndThatIsASuccess)
{
    const std::wstring file = tree.AddFile(L"app\\shared.dll");
    tree.AddFile(L"app\\own.dll");
    sandbox.AddText(L"shared", L"v", L"data");
    checkList.push_back(test::Staying("<s op_code='del_file'><e name='" + test::Narrow(file) +
                                      "'/></s><k op_code='del_regkey'><e name='" +
                                      test::Narrow(sandbox.Path(L"shared")) + "'/></k>"));
    pass.cachedFolders = {tree.Path(L"app")};
    pass.cachedRegItems = {Key(L"shared")};
    pass.ExecuteCachedOperations();
    EXPECT_TRUE(test::Exists(file));
    EXPECT_FALSE(test::Exists(tree.Path(L"app\\own.dll")));
    EXPECT_TRUE(sandbox.HasValue(L"shared", L"v"));
    EXPECT_THAT(StageRecorder::Lines(), ElementsAre("3:0 at 63%", "5:0 at 70%", "6:0 at 70%"));
    EXPECT_THAT(pass.restartDeleteList, IsEmpty());
    EXPECT_TRUE(log.Has(LogTrace, "CProductUninstall::IsUsedRegKey",
                        L"\"" + sandbox.Path(L"shared") + L"\" used by \"" + checkList[0].DescriptorPath() + L"\""));
}

TEST_F(CachedExecutionTest, FolderAndValueInUseAreToldOf)
{
    const std::wstring folder = tree.AddFolder(L"shared");
    sandbox.AddText(L"key", L"v", L"data");
    checkList.push_back(test::Staying("<s op_code='del_folder'><e name='" + test::Narrow(folder) +
                                      "'/></s><k op_code='del_regvalue'><e key_path='" +
                                      test::Narrow(sandbox.Path(L"key")) + "' name='v'/></k>"));
    pass.cachedFolders = {folder};
    pass.cachedRegItems = {Value(L"key", L"v")};
    pass.ExecuteCachedOperations();
    const std::wstring by = L" used by \"" + checkList[0].DescriptorPath() + L"\"";
    EXPECT_TRUE(log.Has(LogTrace, "CProductUninstall::IsUsedFolder", L"\"" + folder + L"\"" + by));
    EXPECT_TRUE(
        log.Has(LogTrace, "CProductUninstall::IsUsedRegValue", L"\"" + sandbox.Path(L"key") + L"\" \"v\"" + by));
    EXPECT_TRUE(test::Exists(folder));
    EXPECT_TRUE(sandbox.HasValue(L"key", L"v"));
}

TEST_F(CachedExecutionTest, ShortcutsGoByTheirTarget)
{
    test::MakeShortcut(tree.AddFolder(L"links") + L"\\mine.lnk", L"C:\\App\\app.exe");
    test::MakeShortcut(tree.Path(L"links\\other.lnk"), L"C:\\App\\other.exe");
    pass.cachedShortcuts.push_back({tree.Path(L"links"), L"APP.EXE", false});
    pass.ExecuteCachedOperations();
    EXPECT_FALSE(test::Exists(tree.Path(L"links\\mine.lnk")));
    EXPECT_TRUE(test::Exists(tree.Path(L"links\\other.lnk")));
    EXPECT_THAT(StageRecorder::Lines(), ElementsAre("4:0 at 70%"));
}

TEST_F(CachedExecutionTest, ShortcutInUseIsLeftAloneAndThatIsASuccess)
{
    const std::wstring shared = tree.AddFolder(L"links") + L"\\shared.lnk";
    test::MakeShortcut(shared, L"C:\\App\\app.exe");
    checkList.push_back(
        test::Staying("<s op_code='del_shortcut'><e path='" + test::Narrow(shared) + "' target_name='app.exe'/></s>"));
    pass.cachedShortcuts.push_back({tree.Path(L"links"), L"app.exe", false});
    pass.ExecuteCachedOperations();
    EXPECT_TRUE(test::Exists(shared));
    EXPECT_THAT(StageRecorder::Lines(), ElementsAre("4:0 at 70%"));
}

TEST_F(CachedExecutionTest, ShortcutThatIsNotThereFailsItsStage)
{
    pass.cachedShortcuts.push_back({tree.Path(L"absent"), L"a.exe", false});
    pass.ExecuteCachedOperations();
    EXPECT_THAT(StageRecorder::Lines(), ElementsAre("4:2 at 70%"));
    EXPECT_TRUE(log.Has(LogTrace, "CProductUninstall::ExecuteCachedOp_DelShortcut",
                        L"COperations DelShortcut failed _ERROR_NOT_FOUND"));
}

TEST_F(CachedExecutionTest, AbsentKeysAndValuesAreLoggedAndAreNoFailure)
{
    pass.cachedRegKeySearches.push_back({sandbox.Path(L"none"), {L"a"}, false, false});
    pass.cachedRegItems = {Key(L"absent"), Value(L"gone", L"v")};
    pass.ExecuteCachedOperations();
    EXPECT_THAT(StageRecorder::Lines(), ElementsAre("5:0 at 70%", "6:0 at 105%"));
    for (const wchar_t* key : {L"none", L"absent"})
        EXPECT_TRUE(log.Has(LogError, "CProductUninstall::ExecuteCachedOp_DelRegKeys",
                            L"failed _ERROR_NOT_FOUND delete key \"" + sandbox.Path(key) + L"\""));
    EXPECT_TRUE(log.Has(LogError, "CProductUninstall::ExecuteCachedOp_DelRegValues",
                        L"failed _ERROR_NOT_FOUND delete key \"" + sandbox.Path(L"gone") + L"\""));
}

TEST_F(CachedExecutionTest, RefusedPatternFailsTheStageOfValues)
{
    sandbox.AddText(L"key", L"v", L"data");
    pass.cachedRegItems = {Value(L"key", L"a*b")};
    pass.ExecuteCachedOperations();
    EXPECT_THAT(StageRecorder::Lines(), ElementsAre("5:0 at 0%", "6:2 at 70%"));
    EXPECT_TRUE(log.Has(LogError, "CProductUninstall::ExecuteCachedOp_DelRegValues",
                        L"failed _ERROR_FAILED delete key \"" + sandbox.Path(L"key") + L"\""));
}

LSTATUS WINAPI RefuseToDelete(HKEY, const wchar_t*) { return ERROR_ACCESS_DENIED; }

TEST_F(CachedExecutionTest, KeyThatCannotBeDeletedFailsItsStage)
{
    sandbox.AddKey(L"key");
    const test::ImportPatch patch(nullptr, "RegDeleteKeyW", RefuseToDelete);
    pass.cachedRegItems = {Key(L"key")};
    pass.ExecuteCachedOperations();
    EXPECT_THAT(StageRecorder::Lines(), ElementsAre("5:2 at 70%", "6:0 at 70%"));
    EXPECT_TRUE(log.Has(LogError, "CProductUninstall::ExecuteCachedOp_DelRegKeys",
                        L"failed _ERROR_FAILED delete key \"" + sandbox.Path(L"key") + L"\""));
}

TEST_F(CachedExecutionTest, SearchThatCannotDeleteWhatItFoundFailsTheStageOfKeys)
{
    sandbox.AddText(L"key", L"v", L"find me");
    sandbox.AddText(L"other", L"v", L"data");
    const test::ImportPatch patch(nullptr, "RegDeleteKeyW", RefuseToDelete);
    pass.cachedRegKeySearches.push_back({sandbox.Path(L"key"), {L"find me"}, false, false});
    pass.cachedRegItems = {Value(L"other", L"v")};
    pass.ExecuteCachedOperations();
    EXPECT_THAT(StageRecorder::Lines(), ElementsAre("5:2 at 70%", "6:0 at 140%"));
    EXPECT_TRUE(log.Has(LogError, "CProductUninstall::ExecuteCachedOp_DelRegKeys",
                        L"failed _ERROR_FAILED delete key \"" + sandbox.Path(L"key") + L"\""));
}

TEST_F(CachedExecutionTest, MethodsAloneMakeTheStageOfMethodsAndTools)
{
    pass.cachedDllMethods.push_back(
        {{{L"module", test::ThisProgramsFolder() + L"method_dll.dll"}, {L"method_name", L"Succeed"}}, L""});
    pass.ExecuteCachedOperations();
    EXPECT_THAT(StageRecorder::Lines(), ElementsAre("7:0 at 70%"));
}

TEST_F(CachedExecutionTest, WhatIsPutOffWhileCarryingOutStandsBehindTheSortedList)
{
    const std::wstring path = tree.AddFile(L"a-locked.txt");
    const test::LockedPath lock(path);
    pass.restartDeleteList = {L"z:\\second", L"z:\\first"};
    pass.cachedFiles = {path};
    pass.PrepareCachedOperations();
    pass.ExecuteCachedOperations();
    EXPECT_THAT(pass.restartDeleteList, ElementsAre(L"z:\\first", L"z:\\second", path));
}

} // namespace
} // namespace prodsweep
