// A product's removal from end to end: events, progress, results.
#include "interpreter/product_uninstall.h"

#include "environment/log.h"
#include "support/callback_recorder.h"
#include "support/com_scope.h"
#include "support/handle_count.h"
#include "support/import_patch.h"
#include "support/locked_path.h"
#include "support/log_recorder.h"
#include "support/removal_pass.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

namespace prodsweep {
namespace {

using test::CallbackRecorder;
using test::Narrow;
using test::OneVersion;
using test::RemovalPass;
using test::StageRecorder;
using testing::ElementsAre;

WideStringList registered; // for deletion by the next restart

BOOL WINAPI AcceptMove(const wchar_t* path, const wchar_t*, DWORD)
{
    registered.emplace_back(path);
    return TRUE;
}
BOOL WINAPI RefuseMove(const wchar_t*, const wchar_t*, DWORD)
{
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

class ProductUninstallTest : public testing::Test
{
protected:
    ProductUninstallTest() { registered.clear(); }

    // Runs the removal with its progress at each event.
    bool Run(const std::string& xml)
    {
        const test::DescriptorFile descriptor(xml);
        return RunFile(descriptor.Path());
    }
    bool RunFile(const std::wstring& path)
    {
        RemovalPass removal(L"Product", path, checkList, StageRecorder::Record);
        const bool result = removal.Uninstall();
        restartRequired = removal.RestartRequired();
        return result;
    }

    test::ComScope com;
    test::LogRecorder log;
    test::TempTree tree;
    CheckList checkList;
    StageRecorder stages;
    bool restartRequired = false;
    // The system's list of deletions belongs to the whole prefix; these tests stay away from it.
    test::ImportPatch moveFile{nullptr, "MoveFileExW", AcceptMove};
};

TEST_F(ProductUninstallTest, MakingOneResetsTheProgress)
{
    ProgressPercent.exchange(77);
    const RemovalPass removal(L"Product", L"C:\\none.xml", checkList, nullptr);
    EXPECT_EQ(0, ProgressPercent.load());
}

TEST_F(ProductUninstallTest, RemovalTellsOfTheProductThenOfTheWalkThenOfItsStages)
{
    const CallbackRecorder recorder;
    const std::wstring file = tree.AddFile(L"a.txt");
    const test::DescriptorFile descriptor(OneVersion("<s op_code='del_file'><e name='" + Narrow(file) + "'/></s>"));
    CProductUninstall removal(L"Product", descriptor.Path(), checkList, CallbackRecorder::Record);
    EXPECT_TRUE(removal.Uninstall());
    using Call = CallbackRecorder::Call;
    EXPECT_EQ((std::vector<Call>{{13, 0, true, L"Product"}, {14, 0, false, {}}, {1, 0, false, {}}, {2, 0, false, {}}}),
              CallbackRecorder::Calls());
    EXPECT_FALSE(test::Exists(file));
    EXPECT_FALSE(removal.RestartRequired());
    EXPECT_TRUE(log.Has(LogTrace, "CProductUninstall::Uninstall", L"\"" + descriptor.Path() + L"\""));
    EXPECT_TRUE(log.Has(LogTrace, "CProductUninstall::Process", L"\"" + descriptor.Path() + L"\""));
    EXPECT_TRUE(log.Has(LogTrace, "CProductUninstall::Process", L"<- success"));
}

TEST_F(ProductUninstallTest, ProgressEndsAtAHundredWithEveryOperationDone)
{
    EXPECT_TRUE(Run(OneVersion("<s op_code='del_file'><e name='" + Narrow(tree.Path(L"a")) + "'/></s>")));
    EXPECT_THAT(StageRecorder::Lines(), ElementsAre("13:0 at 0%", "14:0 at 0%", "1:0 at 30%", "2:0 at 100%"));
}

TEST_F(ProductUninstallTest, DescriptorWithoutOperationsEndsAtThirty)
{
    EXPECT_TRUE(Run(OneVersion("")));
    EXPECT_EQ(30, ProgressPercent.load());
}

TEST_F(ProductUninstallTest, WalkIsWorthItsThirtyPointsWithoutAnyVersion)
{
    EXPECT_TRUE(Run("<uninstall_information><version_list/></uninstall_information>"));
    EXPECT_EQ(30, ProgressPercent.load());
}

TEST_F(ProductUninstallTest, VersionsShareTheWalksPointsAndTheRemainderComesLast)
{
    std::string names;
    for (int i = 0; i < 7; ++i)
        names += "<v" + std::to_string(i) + "/>";
    EXPECT_TRUE(Run("<uninstall_information><version_list>" + names + "</version_list></uninstall_information>"));
    EXPECT_EQ(30, ProgressPercent.load());
    EXPECT_TRUE(log.Has(LogWarning, "CProductUninstall::Process", L"the xml doesn't have <v6>"));
}

// Writes down the progress as each version begins.
class Sampling final : public CProductUninstall
{
public:
    using CProductUninstall::CProductUninstall;
    bool ProcessNTVersion(IXMLDOMNode* version, const std::wstring& appPath) override
    {
        samples.push_back(ProgressPercent.load());
        return CProductUninstall::ProcessNTVersion(version, appPath);
    }
    std::vector<std::int32_t> samples;
};

TEST_F(ProductUninstallTest, ProgressRisesWithEachVersionThatIsThrough)
{
    std::string names;
    std::string versions;
    for (int i = 0; i < 7; ++i)
    {
        names += "<v" + std::to_string(i) + "/>";
        // The third is absent, and earns its share all the same.
        if (i != 2)
            versions += "<v" + std::to_string(i) + "><win_nt/></v" + std::to_string(i) + ">";
    }
    const test::DescriptorFile descriptor("<uninstall_information><version_list>" + names + "</version_list>" +
                                          versions + "</uninstall_information>");
    Sampling removal(L"Product", descriptor.Path(), checkList, nullptr);
    EXPECT_TRUE(removal.Process());
    EXPECT_THAT(removal.samples, ElementsAre(0, 4, 12, 16, 20, 24));
    EXPECT_EQ(30, ProgressPercent.load());
}

TEST_F(ProductUninstallTest, VersionsAreTracedWithTheirResults)
{
    EXPECT_TRUE(Run("<uninstall_information><version_list><a/><b/></version_list><a><win_nt/></a><b/>"
                    "</uninstall_information>"));
    for (const wchar_t* line : {L"->ProcessVersion a", L"<-ProcessVersion a, result = true", L"->ProcessVersion b",
                                L"<-ProcessVersion b, result = false"})
        EXPECT_TRUE(log.Has(LogTrace, "CProductUninstall::Process", line));
    EXPECT_EQ(1, log.Count(LogError, "CProductUninstall::ProcessNTVersion", L"can't load \"win_nt\" node 0x1"));
}

TEST_F(ProductUninstallTest, FailedSectionIsLoggedAndSendsNoEventOfItsOwn)
{
    EXPECT_TRUE(Run(OneVersion("<s/><t op_code='del_file'><e/></t>")));
    EXPECT_EQ(2, log.Count(LogError, "CProductUninstall::ProcessNTVersion", L"ProcessSection failed"));
    EXPECT_THAT(StageRecorder::Lines(), ElementsAre("13:0 at 0%", "14:0 at 0%", "1:0 at 30%"));
}

TEST_F(ProductUninstallTest, LockedFileRequiresARestart)
{
    const std::wstring file = tree.AddFile(L"locked.txt");
    const test::LockedPath lock(file);
    EXPECT_TRUE(Run(OneVersion("<s op_code='del_file'><e name='" + Narrow(file) + "'/></s>")));
    EXPECT_TRUE(restartRequired);
}

// Somebody has the file open until its first deletion was refused.
const test::ImportPatch* deletion = nullptr;
bool fileIsOpen = false;

BOOL WINAPI RefuseFirstDeletion(const wchar_t* path)
{
    if (!fileIsOpen)
        return deletion->Original<decltype(RefuseFirstDeletion)>()(path);
    fileIsOpen = false;
    SetLastError(ERROR_SHARING_VIOLATION);
    return FALSE;
}

TEST_F(ProductUninstallTest, FileThatALaterStageDeletesIsRegisteredForTheRestartAllTheSame)
{
    const std::wstring folder = tree.AddFolder(L"folder");
    const std::wstring file = tree.AddFile(L"folder\\a.txt");
    const test::ImportPatch patch(nullptr, "DeleteFileW", RefuseFirstDeletion);
    deletion = &patch;
    fileIsOpen = true;

    EXPECT_TRUE(Run(OneVersion("<s op_code='del_folder'><e name='" + Narrow(folder) + "'/></s>" +
                               "<s op_code='del_file'><e name='" + Narrow(file) + "'/></s>")));

    EXPECT_FALSE(test::Exists(file));
    EXPECT_THAT(registered, ElementsAre(file, folder));
    EXPECT_TRUE(restartRequired);
}

TEST_F(ProductUninstallTest, RefusedRegistrationFailsTheRemovalAndStillRequiresTheRestart)
{
    const std::wstring file = tree.AddFile(L"locked.txt");
    const test::LockedPath lock(file);
    const test::ImportPatch refuse(nullptr, "MoveFileExW", RefuseMove);
    EXPECT_FALSE(Run(OneVersion("<s op_code='del_file'><e name='" + Narrow(file) + "'/></s>")));
    EXPECT_TRUE(restartRequired);
}

TEST_F(ProductUninstallTest, RestartRequiredByTheDescriptorAloneIsReported)
{
    EXPECT_TRUE(Run(OneVersion("<s op_code='kill_process'><e target_name='prodsweep-none.exe' "
                               "restart_required='yes'/></s>")));
    EXPECT_TRUE(restartRequired);
}

TEST_F(ProductUninstallTest, FailedOperationsDoNotFailTheRemoval)
{
    EXPECT_TRUE(Run(OneVersion("<s op_code='exec_tool'><e tool_name='C:\\prodsweep-none.exe'/></s>")));
    EXPECT_THAT(StageRecorder::Lines(), ElementsAre("13:0 at 0%", "14:0 at 0%", "1:0 at 30%", "7:2 at 100%"));
}

TEST_F(ProductUninstallTest, DescriptorThatIsNotThereFailsAndTheRestartListIsLookedAtAllTheSame)
{
    EXPECT_FALSE(RunFile(tree.Path(L"none.xml")));
    EXPECT_THAT(StageRecorder::Lines(), ElementsAre("13:0 at 0%", "14:0 at 0%", "1:1 at 0%"));
    EXPECT_TRUE(log.Has(LogError, "CProductUninstall::Uninstall", L"CProductConfig Process failed"));
    EXPECT_TRUE(log.Has(LogTrace, "CProductUninstall::DeleteAtRestart", L"RESTART DELETE :"));
    bool logged = false;
    for (const test::LogRecord& record : log.Records())
        logged = logged || (record.level == LogError && record.function == "CProductUninstall::Process" &&
                            record.text.starts_with(L"load \"" + tree.Path(L"none.xml") + L"\" failed 0x"));
    EXPECT_TRUE(logged);
}

TEST_F(ProductUninstallTest, WrongRootSendsTheCataloguesEventAndFails)
{
    const test::DescriptorFile descriptor("<other/>");
    EXPECT_FALSE(RunFile(descriptor.Path()));
    EXPECT_THAT(StageRecorder::Lines(), ElementsAre("13:0 at 0%", "14:0 at 0%", "0:2 at 0%"));
    EXPECT_TRUE(log.Has(LogError, "CProductUninstall::Process", L"failed load \"uninstall_information\" node 0x1"));
    EXPECT_TRUE(log.Has(LogError, "CProductUninstall::Process", L"failed \"" + descriptor.Path() + L"\""));
}

TEST_F(ProductUninstallTest, MarkedFileRequiresARestartThroughItsListAlone)
{
    // Any file that is there will do; the registration is patched away.
    EXPECT_TRUE(Run(OneVersion("<s op_code='del_file'><e path='windows_folder' name='#####explorer.exe'/></s>")));
    EXPECT_TRUE(restartRequired);
}

TEST_F(ProductUninstallTest, MissingListOfVersionsFailsWithoutAnEvent)
{
    EXPECT_FALSE(Run("<uninstall_information/>"));
    EXPECT_THAT(StageRecorder::Lines(), ElementsAre("13:0 at 0%", "14:0 at 0%"));
}

HRESULT WINAPI NoObjects(REFCLSID, IUnknown*, DWORD, REFIID, void**) { return REGDB_E_CLASSNOTREG; }

TEST_F(ProductUninstallTest, MissingParserIsToldOfByItsCode)
{
    const test::ImportPatch patch(nullptr, "CoCreateInstance", NoObjects);
    EXPECT_FALSE(RunFile(tree.Path(L"none.xml")));
    EXPECT_THAT(StageRecorder::Lines(), ElementsAre("13:0 at 0%", "14:0 at 0%", "1:3 at 0%"));
    EXPECT_TRUE(
        log.Has(LogError, "CProductUninstall::Process", L"CoCreateInstance CLSID_DOMDocument30 failed 0x80040154"));
}

TEST_F(ProductUninstallTest, RemovalWithoutACallbackGoesItsWay)
{
    const test::DescriptorFile descriptor(OneVersion(""));
    CProductUninstall removal(L"Product", descriptor.Path(), checkList, nullptr);
    EXPECT_TRUE(removal.Uninstall());
}

} // namespace
} // namespace prodsweep
