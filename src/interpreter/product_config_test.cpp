#include "environment/log.h"
#include "support/callback_recorder.h"
#include "support/com_scope.h"
#include "support/descriptor_file.h"
#include "support/dom.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/recording_pass.h"
#include "support/system_answers.h"

#include <gtest/gtest.h>

namespace prodsweep {
namespace {

using test::CallbackRecorder;
using test::OneVersion;
using Names = std::vector<std::string>;

CallbackRecorder::Call Event(int event, int code) { return {event, code, false, {}}; }

class ProductConfigTest : public testing::Test
{
protected:
    // Walks a descriptor with a pass that hears the events.
    bool Walk(const std::string& xml)
    {
        const test::DescriptorFile descriptor(xml);
        file = descriptor.Path();
        test::RecordingPass pass(file, &CallbackRecorder::Record);
        const bool result = pass.Process();
        operations = pass.Operations();
        calls = pass.calls;
        return result;
    }

    test::ComScope com;
    test::LogRecorder log;
    CallbackRecorder events;
    std::wstring file;
    Names operations;
    std::vector<test::RecordingPass::Call> calls;
};

TEST_F(ProductConfigTest, NoParserIsToldAndLogged)
{
    const test::ImportPatch patch(nullptr, "CoCreateInstance", test::RefuseToCreate);
    EXPECT_FALSE(Walk(OneVersion("")));
    EXPECT_EQ(std::vector{Event(1, 3)}, events.Calls());
    EXPECT_TRUE(
        log.Has(LogError, "CProductConfig::Process", L"CoCreateInstance CLSID_DOMDocument30 failed 0x80040154"));
}

TEST_F(ProductConfigTest, MissingFileIsToldAndLogged)
{
    test::RecordingPass pass(L"C:\\no such\\descriptor.xml", &CallbackRecorder::Record);
    EXPECT_FALSE(pass.Process());
    EXPECT_EQ(std::vector{Event(1, 1)}, events.Calls());
    EXPECT_TRUE(log.Has(LogError, "CProductConfig::Process", L"load \"C:\\no such\\descriptor.xml\" failed 0x1"));
}

TEST_F(ProductConfigTest, EntryIsTracedWithThePath)
{
    Walk(OneVersion(""));
    EXPECT_TRUE(log.Has(LogTrace, "CProductConfig::Process", L"\"" + file + L"\""));
    EXPECT_TRUE(log.Has(LogTrace, "CProductConfig::Process", L"<- success"));
}

TEST_F(ProductConfigTest, OtherRootIsToldAsEventZeroWithTwoLines)
{
    for (const char* xml : {"<other/>", "<Uninstall_Information><version_list/></Uninstall_Information>",
                            "<a><uninstall_information><version_list/></uninstall_information></a>"})
    {
        log.Clear();
        events.Calls().clear();
        EXPECT_FALSE(Walk(xml)) << xml;
        EXPECT_EQ(std::vector{Event(0, 2)}, events.Calls());
        EXPECT_TRUE(log.Has(LogError, "CProductConfig::Process", L"failed load \"uninstall_information\" node 0x1"));
        EXPECT_TRUE(log.Has(LogError, "CProductConfig::Process", L"failed \"" + file + L"\""));
    }
}

TEST_F(ProductConfigTest, MissingVersionListFailsWithoutAnEvent)
{
    EXPECT_FALSE(Walk("<uninstall_information><v1><win_nt/></v1></uninstall_information>"));
    EXPECT_TRUE(events.Calls().empty());
    EXPECT_TRUE(log.Has(LogError, "CProductConfig::ReadVersions", L"failed load version_list 0x1"));
}

TEST_F(ProductConfigTest, EmptyVersionListSucceedsAndDoesNothing)
{
    EXPECT_TRUE(Walk("<uninstall_information><version_list/><v1><win_nt><s op_code='del_file'><e/></s></win_nt>"
                     "</v1></uninstall_information>"));
    EXPECT_TRUE(operations.empty());
    EXPECT_TRUE(events.Calls().empty());
}

TEST_F(ProductConfigTest, ListedVersionWithoutAnElementIsSkipped)
{
    EXPECT_TRUE(Walk("<uninstall_information><version_list><v0/><v1/></version_list>"
                     "<v1><win_nt><s op_code='del_file'><e name='a'/></s></win_nt></v1></uninstall_information>"));
    EXPECT_TRUE(log.Has(LogWarning, "CProductConfig::Process", L"the xml doesn't have <v0>"));
    EXPECT_EQ(Names{"del_file a"}, operations);
}

TEST_F(ProductConfigTest, CommentInTheVersionListCountsAsAnAbsentVersion)
{
    EXPECT_TRUE(Walk("<uninstall_information><version_list><!--old--><v1/></version_list>"
                     "<v1><win_nt><s op_code='del_file'><e name='a'/></s></win_nt></v1></uninstall_information>"));
    EXPECT_TRUE(log.Has(LogWarning, "CProductConfig::Process", L"the xml doesn't have <#comment>"));
    EXPECT_EQ(Names{"del_file a"}, operations);
}

TEST_F(ProductConfigTest, VersionsAreWalkedInTheOrderOfTheListAndAsOftenAsListed)
{
    EXPECT_TRUE(Walk("<uninstall_information><version_list><v2/><v1/><v2/></version_list>"
                     "<v1><win_nt><s op_code='del_file'><e name='one'/></s></win_nt></v1>"
                     "<v2><win_nt><s op_code='del_file'><e name='two'/></s></win_nt></v2>"
                     "<v3><win_nt><s op_code='del_file'><e name='not listed'/></s></win_nt></v3>"
                     "</uninstall_information>"));
    EXPECT_EQ((Names{"del_file two", "del_file one", "del_file two"}), operations);
}

TEST_F(ProductConfigTest, OnlyTheFirstOfOneNameIsUsed)
{
    EXPECT_TRUE(Walk("<uninstall_information><version_list><v1/></version_list><version_list><v2/></version_list>"
                     "<v1><win_nt><s op_code='del_file'><e name='first'/></s></win_nt>"
                     "<win_nt><s op_code='del_file'><e name='second'/></s></win_nt></v1>"
                     "<v1><win_nt><s op_code='del_file'><e name='third'/></s></win_nt></v1>"
                     "<v2><win_nt><s op_code='del_file'><e name='fourth'/></s></win_nt></v2>"
                     "</uninstall_information>"));
    EXPECT_EQ(Names{"del_file first"}, operations);
}

TEST_F(ProductConfigTest, VersionNamesAreExact)
{
    EXPECT_TRUE(Walk("<uninstall_information><version_list><V1/></version_list>"
                     "<v1><win_nt><s op_code='del_file'><e/></s></win_nt></v1></uninstall_information>"));
    EXPECT_TRUE(operations.empty());
}

TEST_F(ProductConfigTest, FailedVersionShowsInTheLogOnly)
{
    EXPECT_TRUE(Walk("<uninstall_information><version_list><v1/><v2/></version_list><v1/>"
                     "<v2><win_nt><s op_code='del_file'><e name='a'/></s></win_nt></v2></uninstall_information>"));
    EXPECT_TRUE(log.Has(LogError, "CProductConfig::ProcessNTVersion", L"can't load \"win_nt\" node 0x1"));
    EXPECT_TRUE(log.Has(LogTrace, "CProductConfig::Process", L"->ProcessVersion v1"));
    EXPECT_TRUE(log.Has(LogTrace, "CProductConfig::Process", L"<-ProcessVersion v1, result = false"));
    EXPECT_TRUE(log.Has(LogTrace, "CProductConfig::Process", L"<-ProcessVersion v2, result = true"));
    EXPECT_EQ(Names{"del_file a"}, operations);
}

TEST_F(ProductConfigTest, EachSectionIsToldWithItsEventAndHowItEnded)
{
    EXPECT_TRUE(Walk(OneVersion("<s op_code='exec_tool'><e/></s><s op_code='kill_process'><e result='fail'/></s>"
                                "<s op_code='disableandstop_service'/>")));
    EXPECT_EQ((std::vector{Event(7, 0), Event(8, 2), Event(12, 0)}), events.Calls());
}

TEST_F(ProductConfigTest, OpCodeInCapitalsIsDispatchedAndTold)
{
    EXPECT_TRUE(Walk(OneVersion("<s op_code='DEL_FILE'><e name='a'/></s>")));
    EXPECT_EQ(Names{"del_file a"}, operations);
    EXPECT_EQ(std::vector{Event(2, 0)}, events.Calls());
}

TEST_F(ProductConfigTest, UnknownOpCodeFailsEachEntryAndIsNotTold)
{
    EXPECT_TRUE(Walk(OneVersion("<s op_code='del_disk'><e/><e/></s><s op_code='del_file'><e name='a'/></s>")));
    EXPECT_EQ(2, log.Count(LogError, "CProductConfig::ExecOperation", L"unknown op_code \"del_disk\""));
    EXPECT_EQ(2, log.Count(LogError, "CProductConfig::ProcessSection", L"ExecOperation failed"));
    EXPECT_EQ(1, log.Count(LogError, "CProductConfig::ProcessNTVersion", L"ProcessSection failed"));
    EXPECT_EQ(Names{"del_file a"}, operations);
    EXPECT_EQ(std::vector{Event(2, 0)}, events.Calls());
}

TEST_F(ProductConfigTest, SectionWithoutOpCodeFailsAndIsNotTold)
{
    for (const char* section : {"<s><e name='a'/></s>", "<!--note-->", "text", "<s OP_CODE='del_file'><e/></s>"})
    {
        log.Clear();
        events.Calls().clear();
        EXPECT_TRUE(Walk(OneVersion(section))) << section;
        EXPECT_TRUE(log.Has(LogError, "CProductConfig::ProcessSection", L"failed get attribute \"op_code\""));
        EXPECT_TRUE(log.Has(LogError, "CProductConfig::ProcessNTVersion", L"ProcessSection failed"));
        EXPECT_TRUE(operations.empty());
        EXPECT_TRUE(events.Calls().empty());
    }
}

TEST_F(ProductConfigTest, EntryBehindAFailedOneRunsAndTheSectionStaysFailed)
{
    EXPECT_TRUE(Walk(OneVersion("<s op_code='del_file'><e name='a' result='fail'/><e name='b'/></s>")));
    EXPECT_EQ((Names{"del_file a", "del_file b"}), operations);
    EXPECT_EQ(std::vector{Event(2, 2)}, events.Calls());
}

TEST_F(ProductConfigTest, SleepElementIsPassedOverInAnyCaseWhateverItHolds)
{
    EXPECT_TRUE(Walk(OneVersion("<s op_code='del_file'><sleep value='9'/><SLEEP name='b'>x</SLEEP><e name='a'/></s>")));
    EXPECT_EQ(2, log.Count(LogWarning, "CProductConfig::ProcessSection",
                           L"<sleep> not supported ! . use the 'sleep_after_exec' attribute instead"));
    EXPECT_EQ(Names{"del_file a"}, operations);
    EXPECT_EQ(std::vector{Event(2, 0)}, events.Calls());
}

TEST_F(ProductConfigTest, TextSleepIsAnOrdinaryEntryHere)
{
    EXPECT_TRUE(Walk(OneVersion("<s op_code='del_file'><e name='a'>sleep</e></s>")));
    EXPECT_EQ(Names{"del_file a"}, operations);
}

TEST_F(ProductConfigTest, CommentEndsItsSectionWithAFailure)
{
    EXPECT_TRUE(Walk(OneVersion("<s op_code='del_file'><e name='a'/><!--c--><e name='b'/></s>"
                                "<s op_code='del_folder'><e name='c'/></s>")));
    EXPECT_TRUE(log.Has(LogError, "CProductConfig::ProcessSection", L"failed get element attributes"));
    EXPECT_EQ((Names{"del_file a", "del_folder c"}), operations);
    EXPECT_EQ((std::vector{Event(2, 2), Event(3, 0)}), events.Calls());
}

TEST_F(ProductConfigTest, OpCodeOfAnEntryHasNoEffect)
{
    EXPECT_TRUE(Walk(OneVersion("<s op_code='del_file'><e name='a' op_code='del_folder'/></s>")));
    EXPECT_EQ(Names{"del_file a"}, operations);
    EXPECT_EQ(L"del_file", calls.at(0).attributes.at(L"op_code"));
}

TEST_F(ProductConfigTest, AttributesGoInUnderTheirExactSpelling)
{
    EXPECT_TRUE(Walk(OneVersion("<s op_code='del_file'><e name='a' Name='b' score='1' empty=''/></s>")));
    EXPECT_EQ(
        (AttributeMap{{L"Name", L"b"}, {L"empty", L""}, {L"name", L"a"}, {L"op_code", L"del_file"}, {L"score", L"1"}}),
        calls.at(0).attributes);
}

TEST_F(ProductConfigTest, EntriesAndTheirAttributesAreTraced)
{
    EXPECT_TRUE(Walk(OneVersion("<s op_code='Del_File'><thing path='p' name='a'/></s>")));
    EXPECT_TRUE(log.Has(LogTrace, "CProductConfig::ProcessSection", L"->node \"thing\""));
    EXPECT_TRUE(
        log.Has(LogTrace, "CProductConfig::ExecOperation", L"-> name = \"a\"; op_code = \"Del_File\"; path = \"p\"; "));
    EXPECT_TRUE(log.Has(LogTrace, "CProductConfig::ExecOperation", L"op_code = \"Del_File\""));
    EXPECT_TRUE(log.Has(LogTrace, "CProductConfig::ProcessSection", L"<-node \"thing\""));
}

TEST_F(ProductConfigTest, MapWithoutOpCodeIsRefused)
{
    test::RecordingPass pass;
    EXPECT_FALSE(pass.ExecOperation({{L"name", L"a"}}, L""));
    EXPECT_TRUE(log.Has(LogError, "CProductConfig::ExecOperation", L"no op_code"));
}

TEST_F(ProductConfigTest, WithoutACallbackTheWalkIsTheSame)
{
    const test::DescriptorFile descriptor(OneVersion("<s op_code='del_file'><e name='a'/></s>"));
    test::RecordingPass pass(descriptor.Path());
    EXPECT_TRUE(pass.Process());
    EXPECT_EQ(Names{"del_file a"}, pass.Operations());
}

class DefaultPass final : public CProductConfig
{
public:
    DefaultPass() : CProductConfig(L"") {}
};

TEST_F(ProductConfigTest, OperationsDoNothingAndSucceedUnlessReplaced)
{
    DefaultPass pass;
    log.Clear();
    EXPECT_TRUE(pass.ProcessDelFile({}, L"") && pass.ProcessDelFolder({}, L"") && pass.ProcessDelShortcut({}, L""));
    EXPECT_TRUE(pass.ProcessDelRegKey({}, L"") && pass.ProcessDelRegVal({}, L"") && pass.ProcessKillProcess({}, L""));
    EXPECT_TRUE(pass.ProcessExecTool({}, L"") && pass.ProcessSleep(60000) && pass.ProcessDisableDriver({}, L""));
    EXPECT_TRUE(pass.ProcessDisableService({}, L"") && pass.ProcessDisableAndStopDriver({}, L"") &&
                pass.ProcessDisableAndStopService({}, L""));
    EXPECT_TRUE(log.Records().empty());
}

} // namespace
} // namespace prodsweep
